// Scalar reference kernels of the VC-1 family: the definition of the
// arithmetic, the fallback on every CPU and the oracle of the tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include "common/saturate.h"
#include "vc1/vc1_dsp.h"
#include "zepvc_types.h"

namespace zep {

// Helpers the SIMD kernels share are always inlined, so no out-of-line copy
// built with a SIMD target's flags can stand in for another translation unit's.
template <class T>
[[gnu::always_inline]] inline T* vc1_row(T* p, Zep32s step, int y) {
    using B = std::conditional_t<std::is_const_v<T>, const Zep8u, Zep8u>;
    return reinterpret_cast<T*>(reinterpret_cast<B*>(p) + static_cast<ptrdiff_t>(step) * y);
}

// Inverse bases, row k = basis function k.
inline constexpr int vc1_t8[8][8] = {
    {12, 12, 12, 12, 12, 12, 12, 12},     {16, 15, 9, 4, -4, -9, -15, -16}, {16, 6, -6, -16, -16, -6, 6, 16},
    {15, -4, -16, -9, 9, 16, 4, -15},     {12, -12, -12, 12, 12, -12, -12, 12}, {9, -16, 4, 15, -15, -4, 16, -9},
    {6, -16, 16, -6, -6, 16, -16, 6},     {4, -9, 15, -16, 16, -15, 9, -4}};
inline constexpr int vc1_t4[4][4] = {{17, 17, 17, 17}, {22, 10, -10, -22}, {17, -17, -17, 17}, {10, -22, 22, -10}};

// Forward matrices: the same bases scaled so that quantisation and the
// inverse transform give the residual back with the VC-1 norms.
inline constexpr int vc1_f8[8][8] = {
    {21845, 21845, 21845, 21845, 21845, 21845, 21845, 21845},
    {29026, 27212, 16327, 7257, -7257, -16327, -27212, -29026},
    {28728, 10773, -10773, -28728, -28728, -10773, 10773, 28728},
    {27212, -7257, -29026, -16327, 16327, 29026, 7257, -27212},
    {21845, -21845, -21845, 21845, 21845, -21845, -21845, 21845},
    {16327, -29026, 7257, 27212, -27212, -7257, 29026, -16327},
    {10773, -28728, 28728, -10773, -10773, 28728, -28728, 10773},
    {7257, -16327, 27212, -29026, 29026, -27212, 16327, -7257}};
inline constexpr int vc1_f4[4][4] = {
    {15420, 15420, 15420, 15420}, {19751, 8978, -8978, -19751}, {15420, -15420, -15420, 15420}, {8978, -19751, 19751, -8978}};

template <int N>
[[gnu::always_inline]] constexpr int vc1_inv_coef(int k, int j) {
    if constexpr (N == 8) return vc1_t8[k][j];
    else return vc1_t4[k][j];
}
template <int N>
[[gnu::always_inline]] constexpr int vc1_fwd_coef(int k, int j) {
    if constexpr (N == 8) return vc1_f8[k][j];
    else return vc1_f4[k][j];
}

// Inverse transform of a W x H block reading only the top-left RW x RH
// coefficients (the rest taken as zero). Reads everything before writing, so
// src and dst may be the same block.
template <int W, int H, int RW, int RH>
void vc1_ref_inv(const Zep16s* src, Zep32s srcStep, Zep16s* dst, Zep32s dstStep) {
    int c[8][8] = {};
    for (int y = 0; y < RH; ++y)
        for (int x = 0; x < RW; ++x) c[y][x] = vc1_row(src, srcStep, y)[x];
    int e[8][8];
    for (int y = 0; y < H; ++y)
        for (int j = 0; j < W; ++j) {
            int s = 0;
            for (int k = 0; k < W; ++k) s += vc1_inv_coef<W>(k, j) * c[y][k];
            e[y][j] = sat_s16((s + 4) >> 3);
        }
    for (int x = 0; x < W; ++x)
        for (int i = 0; i < H; ++i) {
            int s = 0;
            for (int k = 0; k < H; ++k) s += vc1_inv_coef<H>(k, i) * e[k][x];
            const int rnd = (H == 8 && i >= 4) ? 65 : 64;
            vc1_row(dst, dstStep, i)[x] = sat_s16((s + rnd) >> 7);
        }
}

// The DC-only inverse: every output is the same value.
template <int W, int H>
[[gnu::always_inline]] inline Zep16s vc1_inv_dc_value(int d0) {
    const int e = sat_s16((vc1_inv_coef<W>(0, 0) * d0 + 4) >> 3);
    return sat_s16((vc1_inv_coef<H>(0, 0) * e + 64) >> 7);
}

// Forward transform; the 32-bit sums wrap (computed unsigned, then read back
// as two's complement), as the 16-bit multiply-add kernels do.
template <int W, int H>
void vc1_ref_fwd(const Zep16s* src, Zep32s srcStep, Zep16s* dst, Zep32s dstStep) {
    constexpr int rowShift = W == 8 ? 12 : 11, colShift = H == 8 ? 20 : 19;
    int x[8][8], e[8][8];
    for (int y = 0; y < H; ++y)
        for (int j = 0; j < W; ++j) x[y][j] = vc1_row(src, srcStep, y)[j];
    for (int y = 0; y < H; ++y)
        for (int k = 0; k < W; ++k) {
            uint32_t s = 1u << (rowShift - 1);
            for (int j = 0; j < W; ++j) s += static_cast<uint32_t>(vc1_fwd_coef<W>(k, j) * x[y][j]);
            e[y][k] = sat_s16(static_cast<int32_t>(s) >> rowShift);
        }
    for (int c = 0; c < W; ++c)
        for (int k = 0; k < H; ++k) {
            uint32_t s = 1u << (colShift - 1);
            for (int j = 0; j < H; ++j) s += static_cast<uint32_t>(vc1_fwd_coef<H>(k, j) * e[j][c]);
            vc1_row(dst, dstStep, k)[c] = sat_s16(static_cast<int32_t>(s) >> colShift);
        }
}

// ---- Quantisation ----

// Division of y by the divisor of a class, on 16-bit values.
template <int Cls>
inline Zep16s vc1_divide(int y, const Vc1Divisor& d) {
    const int neg = y < 0;
    if constexpr (Cls == 0) {
        const int h = (y * d.mul) >> 16;
        return sat_s16((h >> d.shift) + neg);
    } else if constexpr (Cls == 1) {
        const int h = (y * d.mul) >> 16;
        return sat_s16((sat_s16(h + y) >> d.shift) + neg);
    } else {
        return static_cast<Zep16s>(sat_s16(y + (neg ? (1 << d.shift) - 1 : 0)) >> d.shift);
    }
}

inline int vc1_sign(int v) { return (v > 0) - (v < 0); }

template <int Cls, bool NonUniform>
inline Zep16s vc1_quant_value(int x, Zep32s dq) {
    const int y = NonUniform ? x - vc1_sign(x) * (dq >> 1) : x;
    return vc1_divide<Cls>(y, vc1_div_table[dq]);
}

template <int W, int H, int Cls, bool NonUniform, bool Intra>
void vc1_ref_quant(Zep16s* p, Zep32s step, Zep32s dq) {
    for (int y = 0; y < H; ++y) {
        Zep16s* r = vc1_row(p, step, y);
        for (int x = 0; x < W; ++x)
            if (!(Intra && x == 0 && y == 0)) r[x] = vc1_quant_value<Cls, NonUniform>(r[x], dq);
    }
}

template <bool NonUniform>
inline Zep16s vc1_dequant_value(int c, Zep32s dq) {
    // Unsigned: doubleQuant is unchecked and the result wraps to 16 bits anyway.
    uint32_t v = static_cast<uint32_t>(c) * static_cast<uint32_t>(dq);
    if (NonUniform) v += static_cast<uint32_t>(vc1_sign(c) * (dq >> 1));
    return wrap_s16(v);
}

template <int W, int H, bool NonUniform, bool Intra>
void vc1_ref_quant_inv(const Zep16s* src, Zep32s srcStep, Zep16s* dst, Zep32s dstStep, Zep32s dq, ZepSize* nz) {
    unsigned cols = 0, rows = Intra ? 1u : 0u;
    for (int y = 0; y < H; ++y) {
        const Zep16s* s = vc1_row(src, srcStep, y);
        Zep16s* d = vc1_row(dst, dstStep, y);
        for (int x = 0; x < W; ++x) {
            const Zep16s v = vc1_dequant_value<NonUniform>(s[x], dq);
            if (v != 0) cols |= 1u << x;
            if (Intra && x == 0 && y == 0) {
                d[x] = s[x];
            } else {
                if (v != 0) rows |= 1u << y;
                d[x] = v;
            }
        }
    }
    nz->width = cols ? 32 - __builtin_clz(cols) : 0;
    nz->height = rows ? 32 - __builtin_clz(rows) : 0;
}

// ---- Overlap smoothing ----

// Left-to-right saturating 16-bit arithmetic.
[[gnu::always_inline]] inline int vc1_adds(int a, int b) { return sat_s16(a + b); }
[[gnu::always_inline]] inline int vc1_subs(int a, int b) { return sat_s16(a - b); }

inline void vc1_smooth4(int x0, int x1, int x2, int x3, int r0, Zep16s y[4]) {
    const int r1 = 7 - r0;
    y[0] = static_cast<Zep16s>(vc1_adds(x0, vc1_adds(vc1_subs(x3, x0), r0) >> 3));
    y[1] = static_cast<Zep16s>(vc1_adds(x1, vc1_adds(vc1_subs(vc1_subs(vc1_adds(x2, x3), x0), x1), r1) >> 3));
    y[2] = static_cast<Zep16s>(vc1_adds(x2, vc1_adds(vc1_subs(vc1_subs(vc1_adds(x0, x1), x2), x3), r0) >> 3));
    y[3] = static_cast<Zep16s>(vc1_adds(x3, vc1_adds(vc1_subs(x0, x3), r1) >> 3));
}

// r0 of row `row` of a vertical stretch in a rounding mode.
inline int vc1_ver_r0(int mode, int row) { return mode == 1 ? 3 : (mode == 2 ? 4 : ((row & 1) ? 3 : 4)); }

// Horizontal edge: 8 columns, dst may be interleaved (dstPitch 2).
inline void vc1_ref_smooth_hor_cols(const Zep16s* up, Zep32s upStep, const Zep16s* lo, Zep32s loStep, Zep8u* dst,
                                    Zep32s dstStep, int dstPitch) {
    const Zep16s* u1 = vc1_row(up, upStep, 1);
    const Zep16s* l1 = vc1_row(lo, loStep, 1);
    for (int x = 0; x < 8; ++x) {
        Zep16s y[4];
        vc1_smooth4(up[x], u1[x], lo[x], l1[x], (x & 1) ? 3 : 4, y);
        for (int i = 0; i < 4; ++i) vc1_row(dst, dstStep, i - 2)[x * dstPitch] = clip_u8(y[i]);
    }
}

inline void vc1_ref_smooth_ver_rows(Zep16s* left, Zep32s leftStep, Zep16s* right, Zep32s rightStep, Zep8u* dst,
                                    Zep32s dstStep, int mode, int dstPitch) {
    for (int r = 0; r < 8; ++r) {
        Zep16s* a = vc1_row(left, leftStep, r);
        Zep16s* b = vc1_row(right, rightStep, r);
        Zep8u* d = vc1_row(dst, dstStep, r);
        Zep16s y[4];
        vc1_smooth4(a[0], a[1], b[0], b[1], vc1_ver_r0(mode, r), y);
        a[0] = y[0];
        a[1] = y[1];
        b[0] = y[2];
        b[1] = y[3];
        for (int i = 0; i < 4; ++i) d[(i - 2) * dstPitch] = clip_u8(y[i]);
    }
}

inline void vc1_ref_smooth_hor(const Zep16s* up, Zep32s upStep, const Zep16s* lo, Zep32s loStep, Zep8u* dst,
                               Zep32s dstStep) {
    vc1_ref_smooth_hor_cols(up, upStep, lo, loStep, dst, dstStep, 1);
}

inline void vc1_ref_smooth_ver(Zep16s* left, Zep32s leftStep, Zep16s* right, Zep32s rightStep, Zep8u* dst,
                               Zep32s dstStep, int mode) {
    vc1_ref_smooth_ver_rows(left, leftStep, right, rightStep, dst, dstStep, mode, 1);
}

inline void vc1_ref_smooth_hor_uv(const Zep16s* upU, Zep32s upStepU, const Zep16s* loU, Zep32s loStepU,
                                  const Zep16s* upV, Zep32s upStepV, const Zep16s* loV, Zep32s loStepV, Zep8u* dst,
                                  Zep32s dstStep) {
    vc1_ref_smooth_hor_cols(upU, upStepU, loU, loStepU, dst, dstStep, 2);
    vc1_ref_smooth_hor_cols(upV, upStepV, loV, loStepV, dst + 1, dstStep, 2);
}

inline void vc1_ref_smooth_ver_uv(Zep16s* leftU, Zep32s leftStepU, Zep16s* rightU, Zep32s rightStepU, Zep16s* leftV,
                                  Zep32s leftStepV, Zep16s* rightV, Zep32s rightStepV, Zep8u* dst, Zep32s dstStep) {
    vc1_ref_smooth_ver_rows(leftU, leftStepU, rightU, rightStepU, dst, dstStep, 0, 2);
    vc1_ref_smooth_ver_rows(leftV, leftStepV, rightV, rightStepV, dst + 1, dstStep, 0, 2);
}

// ---- Range mapping ----

inline void vc1_ref_range_map(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int width, int height,
                              int factor) {
    for (int y = 0; y < height; ++y) {
        const Zep8u* s = vc1_row(src, srcStep, y);
        Zep8u* d = vc1_row(dst, dstStep, y);
        for (int x = 0; x < width; ++x) d[x] = clip_u8((((s[x] - 128) * factor + 4) >> 3) + 128);
    }
}

// ---- Hadamard cost ----

// Rows then columns of H8 (natural order), exact in 32 bits.
template <class T>
void vc1_ref_hadamard(const T* src, Zep32s srcStep, Zep16s* dst, Zep32s* sum) {
    int a[8][8], b[8][8];
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) a[y][x] = vc1_row(src, srcStep, y)[x];
    for (int y = 0; y < 8; ++y)
        for (int k = 0; k < 8; ++k) {
            int s = 0;
            for (int j = 0; j < 8; ++j) s += (__builtin_popcount(k & j) & 1) ? -a[y][j] : a[y][j];
            b[y][k] = s;
        }
    int total = 0;
    for (int k = 0; k < 8; ++k)
        for (int x = 0; x < 8; ++x) {
            int s = 0;
            for (int j = 0; j < 8; ++j) s += (__builtin_popcount(k & j) & 1) ? -b[j][x] : b[j][x];
            dst[k * 8 + x] = sat_s16(s);
            total += std::abs(s);
        }
    *sum = total;
}

}  // namespace zep
