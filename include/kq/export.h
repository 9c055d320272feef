// Marks what the library exports.
#pragma once

/// `KQ_API` stands before every entity that lives in kq.dll. `KQ_BUILDING` is defined while the
/// library itself is compiled, and by nobody else.
#if defined(KQ_BUILDING)
#define KQ_API __declspec(dllexport)
#else
#define KQ_API __declspec(dllimport)
#endif
