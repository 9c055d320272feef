// A header that does not compile after the platform's macros.
#pragma once

enum class Order { min, near, IN };
