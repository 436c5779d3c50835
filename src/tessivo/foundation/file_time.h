// Windows file times: counts of 100 ns ticks since 1601-01-01 00:00 UTC.
//
//   std::int64_t seconds = tessivo::unixTimeFromFileTime(ticks);   // seconds since 1970
#pragma once

#include <cstdint>

namespace tessivo {

inline constexpr std::uint64_t kTicksPerSecond = 10000000;
inline constexpr std::uint64_t kWindowsEpochTicks = 116444736000000000ULL;  // 1601-01-01 to 1970-01-01
inline constexpr std::int64_t kWindowsEpochSeconds = 11644473600LL;

// Seconds since 1970 of the ticks read as a signed count: the quotient by
// 10^7 first (truncated toward zero), then the shift to 1970. A time before
// 1970 that is not a whole second therefore lands one second earlier than
// shifting first would give.
constexpr std::int64_t unixTimeFromFileTime(std::uint64_t ticks) {
    return static_cast<std::int64_t>(ticks) / static_cast<std::int64_t>(kTicksPerSecond) - kWindowsEpochSeconds;
}

}  // namespace tessivo
