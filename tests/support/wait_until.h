// Waiting on a condition with a deadline, never for a fixed time.
#pragma once

#include <chrono>
#include <thread>

namespace OvxTest {

// Calls condition until it holds, resting briefly between calls; false when it still does
// not hold after the deadline.
template <class Condition>
bool WaitUntil(Condition condition, std::chrono::seconds deadline = std::chrono::seconds(20)) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}  // namespace OvxTest
