#pragma once

#include <chrono>

namespace gatehall {

/// How long a test waits for what has to come, however busy the machine is. What must not take long
/// is made to take a multiple of it when it goes wrong.
inline constexpr std::chrono::seconds kPatience{60};

/// The same for poll(2).
inline constexpr int kPatienceMilliseconds =
    static_cast<int>(std::chrono::milliseconds(kPatience).count());

}  // namespace gatehall
