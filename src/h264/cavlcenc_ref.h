// Scalar reference of the H.264 CAVLC syntax analysis: one walk from the
// highest-frequency coefficient down, the definition the fast kernels match.
#pragma once

#include "zepvc_types.h"

namespace zep {

// The chroma DC walk orders: the standard's scans read backwards.
inline constexpr int kCavlcDc2x2Order[4] = {3, 2, 1, 0};
inline constexpr int kCavlcDc2x4Order[8] = {7, 5, 3, 6, 4, 1, 2, 0};

namespace ref {

// Walks `count` coefficients, get(0) being the highest-frequency one. Trailing
// ones are collected while every non-zero met so far is +-1, up to three; the
// sign bits shift in so that the first one met ends up most significant. Each
// coefficient's run_before is stored when the next lower one is met, so the
// run below the lowest coefficient (implied by total_zeros) is never stored,
// and zeros above the highest one are never counted.
template <class T, class Get>
inline void cavlc_walk(int count, Get get, Zep8u* pTrailingOnes, Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff,
                       Zep8u* pTotalZeros, T* pLevels, Zep8u* pRuns) {
    int t = 0, s = 0, n = 0, r = 0, z = 0;
    bool collecting = true;
    for (int i = 0; i < count; ++i) {
        const T c = get(i);
        if (c == 0) {
            ++r;
            continue;
        }
        if (collecting && (c == 1 || c == -1)) {
            ++t;
            s = ((s << 1) | (c < 0 ? 1 : 0)) & 0xFF;
            collecting = t < 3;
        } else {
            pLevels[n - t] = c;
            collecting = false;
        }
        if (n > 0) {
            pRuns[n - 1] = static_cast<Zep8u>(r);
            z += r;
        }
        ++n;
        r = 0;
    }
    *pTrailingOnes = static_cast<Zep8u>(t);
    *pTrailingOneSigns = static_cast<Zep8u>(s);
    *pNumCoeff = static_cast<Zep8u>(n);
    *pTotalZeros = static_cast<Zep8u>(n > 0 ? r + z : 0);
}

template <class T>
void cavlc_block(const T* src, int startIdx, const Zep32s* scan, int lastIdx, Zep8u* pTrailingOnes,
                 Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff, Zep8u* pTotalZeros, T* pLevels, Zep8u* pRuns) {
    cavlc_walk<T>(
        lastIdx - startIdx + 1, [&](int i) { return src[scan[lastIdx - i]]; }, pTrailingOnes, pTrailingOneSigns,
        pNumCoeff, pTotalZeros, pLevels, pRuns);
}

template <class T, int N, const int (&Order)[N]>
void cavlc_dc(const T* src, Zep8u* pTrailingOnes, Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff, Zep8u* pTotalZeros,
              T* pLevels, Zep8u* pRuns) {
    cavlc_walk<T>(
        N, [&](int i) { return src[Order[i]]; }, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels,
        pRuns);
}

}  // namespace ref
}  // namespace zep
