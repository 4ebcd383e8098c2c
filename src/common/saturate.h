// Saturating conversions shared by the kernels.
#pragma once

#include <cstdint>

namespace zep {

[[gnu::always_inline]] constexpr uint8_t clip_u8(int v) { return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); }
[[gnu::always_inline]] constexpr int16_t sat_s16(int64_t v) {
    return static_cast<int16_t>(v < -32768 ? -32768 : (v > 32767 ? 32767 : v));
}
[[gnu::always_inline]] constexpr int32_t sat_s32(int64_t v) {
    return static_cast<int32_t>(v < INT32_MIN ? INT32_MIN : (v > INT32_MAX ? INT32_MAX : v));
}
[[gnu::always_inline]] constexpr int clip(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }
// Two's-complement wrap to 16 bits (for arithmetic that wraps on purpose).
[[gnu::always_inline]] constexpr int16_t wrap_s16(int64_t v) { return static_cast<int16_t>(static_cast<uint16_t>(v)); }

}  // namespace zep
