// The text of an exception, for tests that hold it to the letter.
#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <typeinfo>

/// Runs `action` and returns the text of the `Exception` that leaves it, which has to be exactly of
/// that type. Anything else fails the test and gives a text that names what happened.
template <class Exception, class Action>
std::string ThrownText(Action action) {
    try {
        action();
    } catch (const std::exception& thrown) {
        if (typeid(thrown) == typeid(Exception))
            return thrown.what();
        return std::string("(") + typeid(thrown).name() + ") " + thrown.what();
    }
    return "(nothing was thrown)";
}
