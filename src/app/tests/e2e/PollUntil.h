#pragma once

#include <chrono>
#include <functional>
#include <thread>

// Checks done() every interval_ms until it holds; false if it still does not at timeout_ms.
// For conditions that give no signal to wait on (another process's state); the timeout
// bounds a failure, it paces nothing.
inline bool pollUntil(const std::function<bool()>& done, int timeout_ms, int interval_ms = 10)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(interval_ms));
    }
    return true;
}
