// What the fragments of every page may take for granted.
#pragma once

#include <kq/kq.h>

#include <atomic>
#include <chrono>
#include <future>
#include <iostream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// NOLINTNEXTLINE(google-global-names-in-headers): so that a fragment stays short
using namespace kq::concurrency;
