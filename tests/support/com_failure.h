// Failures of COM, for tests that hold them to the code.
#pragma once

#include <windows.h>

#include <comdef.h>
#include <gtest/gtest.h>

/// Runs `action` and returns the code of the `_com_error` that leaves it. Anything else fails the
/// test and gives S_OK.
template <class Action>
HRESULT ComFailureOf(Action action) {
    try {
        action();
    } catch (const _com_error& error) {
        return error.Error();
    } catch (const std::exception& other) {
        ADD_FAILURE() << "not a failure of COM: " << other.what();
        return S_OK;
    }
    ADD_FAILURE() << "nothing was thrown";
    return S_OK;
}
