// Scalar reference of the 8x8 DCTs: each pass a plain matrix product.
#pragma once

#include <cstddef>

#include "common/saturate.h"
#include "dct/dct_dsp.h"

namespace zep::ref {

// One 1-D pass over the 8 lines of a block: out[line][n] = sat16((sum_k
// M(n, k) * in[line][k] + round) >> shift), the sum taken modulo 2^32 as the
// vector kernels' 32-bit lanes take it.
template <class Basis>
inline void dct_pass(const int (&in)[8][8], int (&out)[8][8], Basis m, int shift) {
    const uint32_t round = 1u << (shift - 1);
    for (int line = 0; line < 8; ++line)
        for (int n = 0; n < 8; ++n) {
            uint32_t s = round;
            for (int k = 0; k < 8; ++k) s += static_cast<uint32_t>(m(n, k) * in[line][k]);
            out[line][n] = sat_s16(static_cast<int32_t>(s) >> shift);
        }
}

inline int idct_basis(int n, int k) { return kIdctBasis[n][k]; }
inline int fdct_basis(int k, int n) { return kIdctBasis[n][k]; }

// Both passes; x[row][col] in, y[row][col] out. The first pass runs along the
// rows, the second along the columns.
template <class Basis>
inline void dct2d(const int (&x)[8][8], int (&y)[8][8], Basis m) {
    int t[8][8], tt[8][8], u[8][8];
    dct_pass(x, t, m, kDctShift1);  // t[row][n]
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j) tt[j][i] = t[i][j];  // tt[col][row]
    dct_pass(tt, u, m, kDctShift2);  // u[col][m]
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j) y[i][j] = u[j][i];
}

template <bool Transposed, DctOut Out>
void idct(const Zep16s* src, void* dst, Zep32s dstStep) {
    int x[8][8], y[8][8];
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j) x[i][j] = Transposed ? src[j * 8 + i] : src[i * 8 + j];
    dct2d(x, y, idct_basis);
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j) {
            if constexpr (Out == DctOut::Coeff16s) {
                static_cast<Zep16s*>(dst)[i * 8 + j] = static_cast<Zep16s>(y[i][j]);
            } else {
                Zep8u* p = static_cast<Zep8u*>(dst) + static_cast<ptrdiff_t>(i) * dstStep + j;
                // The residual joins the prediction with 16-bit saturation, then the sample clamp.
                const int v = Out == DctOut::Add8u ? sat_s16(*p + y[i][j]) : y[i][j];
                *p = clip_u8(v);
            }
        }
}

inline void fdct(const Zep16s* src, Zep16s* dst) {
    int x[8][8], y[8][8];
    for (int i = 0; i < 64; ++i) x[i / 8][i % 8] = src[i];
    dct2d(x, y, fdct_basis);
    for (int i = 0; i < 64; ++i) dst[i] = static_cast<Zep16s>(y[i / 8][i % 8]);
}

inline void fdct_8u(const Zep8u* src, Zep32s srcStep, Zep16s* dst) {
    Zep16s s[64];
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j) s[i * 8 + j] = src[static_cast<ptrdiff_t>(i) * srcStep + j];
    fdct(s, dst);
}

}  // namespace zep::ref
