// Scalar reference of the H.264 8x8 block reconstruction.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/saturate.h"
#include "h264/recon8x8_dsp.h"

namespace zep::ref {

// One line of the 8x8 inverse transform, in place, `stride` apart; sums wrap
// at 32 bits as the vector lanes do, shifts are arithmetic.
inline void itrans8_line(uint32_t* d, int stride) {
    auto sra = [](uint32_t v, int n) { return static_cast<uint32_t>(static_cast<int32_t>(v) >> n); };
    const uint32_t d0 = d[0], d1 = d[stride], d2 = d[2 * stride], d3 = d[3 * stride], d4 = d[4 * stride],
                   d5 = d[5 * stride], d6 = d[6 * stride], d7 = d[7 * stride];
    const uint32_t a0 = d0 + d4, a4 = d0 - d4, a2 = sra(d2, 1) - d6, a6 = d2 + sra(d6, 1);
    const uint32_t b0 = a0 + a6, b2 = a4 + a2, b4 = a4 - a2, b6 = a0 - a6;
    const uint32_t a1 = d5 - d3 - d7 - sra(d7, 1), a3 = d1 + d7 - d3 - sra(d3, 1);
    const uint32_t a5 = d7 - d1 + d5 + sra(d5, 1), a7 = d3 + d5 + d1 + sra(d1, 1);
    const uint32_t b1 = a1 + sra(a7, 2), b7 = a7 - sra(a1, 2), b3 = a3 + sra(a5, 2), b5 = sra(a3, 2) - a5;
    const uint32_t f[8] = {b0 + b7, b2 + b5, b4 + b3, b6 + b1, b6 - b1, b4 - b3, b2 - b5, b0 - b7};
    for (int i = 0; i < 8; ++i) d[i * stride] = f[i];
}

// Dequantisation of one coefficient (32-bit result; left shifts wrap).
inline uint32_t dequant8x8(int c, int scale, int qp) {
    const uint32_t v = static_cast<uint32_t>(c * scale);
    if (qp >= 36) return v << (qp / 6 - 6);
    return static_cast<uint32_t>(static_cast<int32_t>(v + (1u << (5 - qp / 6))) >> (6 - qp / 6));
}

inline void recon8x8(Zep16s* c, Zep8u* dst, Zep32s step, const Zep16s* scale, int qp) {
    uint32_t d[64];
    for (int i = 0; i < 64; ++i) d[i] = dequant8x8(c[i], scale[i], qp);
    for (int i = 0; i < 8; ++i) itrans8_line(d + 8 * i, 1);
    for (int j = 0; j < 8; ++j) itrans8_line(d + j, 8);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const int r = static_cast<int32_t>(d[8 * y + x] + 32) >> 6;
            Zep8u* s = dst + static_cast<ptrdiff_t>(step) * y + x;
            *s = clip_u8(sat_s16(*s + r));
            c[8 * y + x] = sat_s16(r);
        }
}

}  // namespace zep::ref
