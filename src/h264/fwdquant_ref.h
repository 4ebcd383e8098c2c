// Scalar reference kernels of the H.264 4x4 forward transform and quantisers,
// and the constant tables the entry points resolve qp with.
#pragma once

#include <array>
#include <cstdint>

#include "common/saturate.h"
#include "zepvc_types.h"

namespace zep {

// Built-in flat multipliers, one raster-order row per qp % 6: positions with
// both coordinates even take the first value, both odd the third, the rest
// the second (the transform's row norms folded into the quantiser).
inline constexpr std::array<std::array<Zep32s, 16>, 6> fwdq_flat_mult = [] {
    constexpr Zep32s v[6][3] = {{13107, 8066, 5243}, {11916, 7490, 4660}, {10082, 6554, 4194},
                                {9362, 5825, 3647},  {8192, 5243, 3355},  {7282, 4559, 2893}};
    std::array<std::array<Zep32s, 16>, 6> t{};
    for (int r = 0; r < 6; ++r)
        for (int i = 0; i < 16; ++i) {
            const int odd = (i & 1) + ((i >> 2) & 1);
            t[r][i] = odd == 0 ? v[r][0] : (odd == 2 ? v[r][2] : v[r][1]);
        }
    return t;
}();

// floor(2^(base+k) / 6) for k = 0..15: the inter rounding at k, the intra one at k + 1.
constexpr std::array<Zep32s, 16> fwdq_round_table(int base) {
    std::array<Zep32s, 16> t{};
    for (int k = 0; k < 16; ++k) t[k] = static_cast<Zep32s>((int64_t{1} << (base + k)) / 6);
    return t;
}
inline constexpr std::array<Zep32s, 16> fwdq_round15 = fwdq_round_table(15);
inline constexpr std::array<Zep32s, 16> fwdq_round11 = fwdq_round_table(11);

// qp / 6 and qp % 6 for the whole 0..87 range.
inline constexpr int kFwdqMaxQp = 87;
struct FwdqDivMod {
    Zep8u div, mod;
};
inline constexpr std::array<FwdqDivMod, kFwdqMaxQp + 1> fwdq_qp_divmod = [] {
    std::array<FwdqDivMod, kFwdqMaxQp + 1> t{};
    for (int q = 0; q <= kFwdqMaxQp; ++q) t[q] = {static_cast<Zep8u>(q / 6), static_cast<Zep8u>(q % 6)};
    return t;
}();

namespace ref {

// Forward core butterfly on (x0, x1, x2, x3), with the caller's add/sub (which
// saturate in the 16-bit transform and wrap in the 32-bit one).
template <class T, class Add, class Sub>
inline void fwd_butterfly(T x0, T x1, T x2, T x3, T& y0, T& y1, T& y2, T& y3, Add add, Sub sub) {
    const T s0 = add(x0, x3), s1 = add(x1, x2);
    const T d0 = sub(x0, x3), d1 = sub(x1, x2);
    y0 = add(s0, s1);
    y1 = add(add(d0, d0), d1);
    y2 = sub(s0, s1);
    y3 = sub(sub(d0, d1), d1);
}

template <class T, class Add, class Sub>
inline void fwd4x4(const T* src, T* dst, Add add, Sub sub) {
    T t[16];
    for (int r = 0; r < 4; ++r) {
        const T* x = src + 4 * r;
        fwd_butterfly(x[0], x[1], x[2], x[3], t[4 * r], t[4 * r + 1], t[4 * r + 2], t[4 * r + 3], add, sub);
    }
    for (int c = 0; c < 4; ++c)
        fwd_butterfly(t[c], t[4 + c], t[8 + c], t[12 + c], dst[c], dst[4 + c], dst[8 + c], dst[12 + c], add, sub);
}

inline void fwd4x4_16s(const Zep16s* src, Zep16s* dst) {
    fwd4x4<Zep16s>(
        src, dst, [](Zep16s a, Zep16s b) { return sat_s16(int{a} + b); },
        [](Zep16s a, Zep16s b) { return sat_s16(int{a} - b); });
}

inline void fwd4x4_32s(const Zep32s* src, Zep32s* dst) {
    fwd4x4<Zep32s>(
        src, dst, [](Zep32s a, Zep32s b) { return static_cast<Zep32s>(static_cast<Zep32u>(a) + static_cast<Zep32u>(b)); },
        [](Zep32s a, Zep32s b) { return static_cast<Zep32s>(static_cast<Zep32u>(a) - static_cast<Zep32u>(b)); });
}

// One level: (|c| * m + rounding) >> shift in wrapping 32-bit arithmetic with
// an arithmetic shift, then the sign of c restored (also wrapping).
inline Zep32s quant_level(Zep32s c, Zep32s m, Zep32s rounding, int shift) {
    const Zep32u a = c < 0 ? 0u - static_cast<Zep32u>(c) : static_cast<Zep32u>(c);
    const Zep32s l = static_cast<Zep32s>(a * static_cast<Zep32u>(m) + static_cast<Zep32u>(rounding)) >> shift;
    return c < 0 ? static_cast<Zep32s>(0u - static_cast<Zep32u>(l)) : l;
}

template <class T>
void quant4x4(const T* src, T* dst, Zep32s* numLevels, Zep32s* lastScanPos, const Zep32s* mult,
              const Zep16s* scanPos, Zep32s rounding, int shift) {
    Zep32s n = 0, last = 0;
    for (int i = 0; i < 16; ++i) {
        const Zep32s l = quant_level(src[i], mult[i], rounding, shift);
        const T out = sizeof(T) == 2 ? static_cast<T>(sat_s16(l)) : static_cast<T>(l);
        dst[i] = out;
        if (out != 0) {
            ++n;
            if (scanPos[i] > last) last = scanPos[i];
        }
    }
    *numLevels = n;
    *lastScanPos = last;
}

}  // namespace ref
}  // namespace zep
