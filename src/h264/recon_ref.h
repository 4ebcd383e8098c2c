// Scalar references of the H.264 4x4 dequantisation, inverse transform and
// reconstruction: every sum saturates to 16 bits where the arithmetic is
// 16-bit, exactly where the SIMD kernels saturate.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/saturate.h"
#include "h264/recon_dsp.h"

namespace zep::ref {

// DC keeps the low 16 bits of ((c*s + round) >> right) << left; the other
// coefficients saturate after the right shift and lose bits in the left shift.
inline void dequant4x4(const Zep16s* c, const Zep16s* s, QpShift q, Zep16s* d) {
    d[0] = wrap_s16((static_cast<int64_t>(c[0] * s[0] + q.round) >> q.right) << q.left);
    for (int i = 1; i < 16; ++i)
        d[i] = wrap_s16(static_cast<int64_t>(sat_s16((c[i] * s[i] + q.round) >> q.right)) << q.left);
}

// Butterfly of one row or column; `bias` (0 rows, 32 columns) is added with
// saturation to the even terms and `shift` (0 or 6) applied to the outputs.
inline void butterfly16(Zep16s d0, Zep16s d1, Zep16s d2, Zep16s d3, int bias, int shift, Zep16s* o0, Zep16s* o1,
                        Zep16s* o2, Zep16s* o3) {
    Zep16s e0 = sat_s16(d0 + d2), e1 = sat_s16(d0 - d2);
    const Zep16s e2 = sat_s16((d1 >> 1) - d3), e3 = sat_s16(d1 + (d3 >> 1));
    e0 = sat_s16(e0 + bias);
    e1 = sat_s16(e1 + bias);
    *o0 = static_cast<Zep16s>(sat_s16(e0 + e3) >> shift);
    *o1 = static_cast<Zep16s>(sat_s16(e1 + e2) >> shift);
    *o2 = static_cast<Zep16s>(sat_s16(e1 - e2) >> shift);
    *o3 = static_cast<Zep16s>(sat_s16(e0 - e3) >> shift);
}

inline void itrans16(const Zep16s* in, Zep16s* out) {
    Zep16s t[16];
    for (int i = 0; i < 4; ++i)
        butterfly16(in[4 * i], in[4 * i + 1], in[4 * i + 2], in[4 * i + 3], 0, 0, &t[4 * i], &t[4 * i + 1],
                    &t[4 * i + 2], &t[4 * i + 3]);
    for (int j = 0; j < 4; ++j)
        butterfly16(t[j], t[4 + j], t[8 + j], t[12 + j], 32, 6, &out[j], &out[4 + j], &out[8 + j], &out[12 + j]);
}

// 32-bit version: plain wrapping arithmetic, no saturation.
inline void itrans32(const Zep32s* in, Zep32s* out) {
    auto bf = [](uint32_t d0, uint32_t d1, uint32_t d2, uint32_t d3, uint32_t bias, int shift, Zep32s* o0,
                 Zep32s* o1, Zep32s* o2, Zep32s* o3) {
        const uint32_t e0 = d0 + d2 + bias, e1 = d0 - d2 + bias;
        const uint32_t e2 = static_cast<uint32_t>(static_cast<Zep32s>(d1) >> 1) - d3;
        const uint32_t e3 = d1 + static_cast<uint32_t>(static_cast<Zep32s>(d3) >> 1);
        *o0 = static_cast<Zep32s>(e0 + e3) >> shift;
        *o1 = static_cast<Zep32s>(e1 + e2) >> shift;
        *o2 = static_cast<Zep32s>(e1 - e2) >> shift;
        *o3 = static_cast<Zep32s>(e0 - e3) >> shift;
    };
    Zep32s t[16];
    for (int i = 0; i < 4; ++i)
        bf(in[4 * i], in[4 * i + 1], in[4 * i + 2], in[4 * i + 3], 0, 0, &t[4 * i], &t[4 * i + 1], &t[4 * i + 2],
           &t[4 * i + 3]);
    for (int j = 0; j < 4; ++j)
        bf(t[j], t[4 + j], t[8 + j], t[12 + j], 32, 6, &out[j], &out[4 + j], &out[8 + j], &out[12 + j]);
}

inline Zep8u* row(Zep8u* p, Zep32s step, int y) { return p + static_cast<ptrdiff_t>(step) * y; }

inline void recon_block(Zep16s* c, Zep8u* dst, Zep32s step, const Zep16s* scale, QpShift q) {
    Zep16s d[16];
    dequant4x4(c, scale, q, d);
    itrans16(d, c);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) {
            Zep8u* p = row(dst, step, y) + x;
            *p = clip_u8(sat_s16(*p + c[4 * y + x]));
        }
}

// Transform bypass: the coefficients are the residual.
inline void bypass_block(const Zep16s* c, Zep8u* dst, Zep32s step) {
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) {
            Zep8u* p = row(dst, step, y) + x;
            *p = clip_u8(sat_s16(*p + c[4 * y + x]));
        }
}

inline void recon_inter_mb(Zep16s** ppCoeff, Zep8u* dst, Zep32s step, Zep32u cbp, const Zep16s* scale, QpShift q) {
    Zep16s* c = *ppCoeff;
    for (int k = 0; k < 16; ++k) {
        if (!(cbp & (2u << k))) continue;
        recon_block(c, row(dst, step, kBlockY[k]) + kBlockX[k], step, scale, q);
        c += 16;
    }
    *ppCoeff = c;
}

}  // namespace zep::ref
