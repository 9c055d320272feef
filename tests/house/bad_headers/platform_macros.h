// A header that brings the platform's macros along.
#pragma once

#include <windows.h>
