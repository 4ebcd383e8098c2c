// The deinterlacer's per-sample choice on a vector of bytes, for any vector
// width: V supplies loads, byte absolute differences, unsigned less-than,
// select and the rounding average. Internal linkage per kernel file.
#pragma once

#include <immintrin.h>

#include "zepvc_types.h"

namespace zep::deint_x86 {
namespace {

// Sixteen samples per vector (SSSE3 and up).
struct V128 {
    using T = __m128i;
    static constexpr int N = 16;
    static T load(const Zep8u* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
    static void store(Zep8u* p, T v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
    static T absdiff(T a, T b) { return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }
    static T avg(T a, T b) { return _mm_avg_epu8(a, b); }
    // a < b unsigned: b - a saturates above zero.
    static T lt(T a, T b) { return _mm_xor_si128(_mm_cmpeq_epi8(_mm_subs_epu8(b, a), _mm_setzero_si128()), _mm_set1_epi8(-1)); }
    static T select(T m, T a, T b) { return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b)); }
};

template <class V>
inline typename V::T choose(const Zep8u* a, const Zep8u* b, int x) {
    using T = typename V::T;
    const T al = V::load(a + x - 1), ac = V::load(a + x), ar = V::load(a + x + 1);
    const T bl = V::load(b + x - 1), bc = V::load(b + x), br = V::load(b + x + 1);
    const T dL = V::absdiff(al, br), dR = V::absdiff(ar, bl), dV = V::absdiff(ac, bc);
    const T pV = V::avg(ac, bc);
    const T left = V::select(V::lt(dL, dV), V::avg(al, br), pV);
    const T right = V::select(V::lt(dR, dV), V::avg(ar, bl), pV);
    return V::select(V::lt(dL, dR), left, right);
}

// Interior of a row: vectors from x = 1, the last one overlapping its
// predecessor so that it ends at width - 2; short rows sample by sample.
template <class V, class Scalar>
inline void row(const Zep8u* a, const Zep8u* b, Zep8u* d, int width, Scalar scalar) {
    const int last = width - 2;  // last interior sample
    if (last < V::N) {
        scalar(a, b, d, width);
        return;
    }
    int x = 1;
    for (; x + V::N - 1 <= last; x += V::N) V::store(d + x, choose<V>(a, b, x));
    if (x <= last) V::store(d + last - V::N + 1, choose<V>(a, b, last - V::N + 1));
}

}  // namespace
}  // namespace zep::deint_x86
