#pragma once
// A bounded wait, so that no test can hang on something that never comes.

#include <chrono>
#include <thread>

namespace NSTesting
{
// Long enough for a loaded machine, short enough to fail fast in CI.
inline constexpr std::chrono::milliseconds kPatience{10'000};

template <class Predicate> bool WaitUntil(Predicate predicate, std::chrono::milliseconds timeout = kPatience)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!predicate())
    {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
} // namespace NSTesting
