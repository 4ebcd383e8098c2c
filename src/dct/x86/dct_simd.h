// SSE helpers shared by the DCT kernel files: pair constants, the 8x8
// transpose of 16-bit lanes, the rounding pack. Internal linkage, so each
// kernel file keeps its own copy compiled for its own instruction set.
#pragma once

#include <immintrin.h>

#include <cstddef>

#include "dct/dct_dsp.h"

namespace zep {
namespace dct_x86 {
namespace {

inline __m128i pair_const(int a, int b) {
    return _mm_set1_epi32(static_cast<int>((static_cast<unsigned>(b) << 16) | (static_cast<unsigned>(a) & 0xFFFFu)));
}

inline void transpose8x8(__m128i (&v)[8]) {
    const __m128i a0 = _mm_unpacklo_epi16(v[0], v[1]), a1 = _mm_unpackhi_epi16(v[0], v[1]);
    const __m128i a2 = _mm_unpacklo_epi16(v[2], v[3]), a3 = _mm_unpackhi_epi16(v[2], v[3]);
    const __m128i a4 = _mm_unpacklo_epi16(v[4], v[5]), a5 = _mm_unpackhi_epi16(v[4], v[5]);
    const __m128i a6 = _mm_unpacklo_epi16(v[6], v[7]), a7 = _mm_unpackhi_epi16(v[6], v[7]);
    const __m128i b0 = _mm_unpacklo_epi32(a0, a2), b1 = _mm_unpackhi_epi32(a0, a2);
    const __m128i b2 = _mm_unpacklo_epi32(a1, a3), b3 = _mm_unpackhi_epi32(a1, a3);
    const __m128i b4 = _mm_unpacklo_epi32(a4, a6), b5 = _mm_unpackhi_epi32(a4, a6);
    const __m128i b6 = _mm_unpacklo_epi32(a5, a7), b7 = _mm_unpackhi_epi32(a5, a7);
    v[0] = _mm_unpacklo_epi64(b0, b4);
    v[1] = _mm_unpackhi_epi64(b0, b4);
    v[2] = _mm_unpacklo_epi64(b1, b5);
    v[3] = _mm_unpackhi_epi64(b1, b5);
    v[4] = _mm_unpacklo_epi64(b2, b6);
    v[5] = _mm_unpackhi_epi64(b2, b6);
    v[6] = _mm_unpacklo_epi64(b3, b7);
    v[7] = _mm_unpackhi_epi64(b3, b7);
}

// The two interleaved halves of registers a and b.
struct Pairs {
    __m128i lo, hi;
    Pairs(__m128i a, __m128i b) : lo(_mm_unpacklo_epi16(a, b)), hi(_mm_unpackhi_epi16(a, b)) {}
};

template <int Shift>
inline __m128i round_pack(__m128i lo, __m128i hi) {
    const __m128i r = _mm_set1_epi32(1 << (Shift - 1));
    return _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(lo, r), Shift), _mm_srai_epi32(_mm_add_epi32(hi, r), Shift));
}

inline __m128i load(const Zep16s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// Stores a finished block (one row per register) in the kernel's output form.
template <DctOut Out>
inline void store_rows(const __m128i (&v)[8], void* dst, Zep32s dstStep) {
    for (int i = 0; i < 8; ++i) {
        if constexpr (Out == DctOut::Coeff16s) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(static_cast<Zep16s*>(dst) + 8 * i), v[i]);
        } else {
            Zep8u* p = static_cast<Zep8u*>(dst) + static_cast<ptrdiff_t>(i) * dstStep;
            __m128i r = v[i];
            if constexpr (Out == DctOut::Add8u)
                r = _mm_adds_epi16(r, _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)),
                                                        _mm_setzero_si128()));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(r, r));
        }
    }
}

inline void load_8u(const Zep8u* src, Zep32s srcStep, __m128i (&v)[8]) {
    for (int i = 0; i < 8; ++i)
        v[i] = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(src + static_cast<ptrdiff_t>(i) * srcStep)),
                                 _mm_setzero_si128());
}

// The block-level kernels around a level's two 1-D passes (P::inv<Shift> and
// P::fwd<Shift> on eight registers), and their installation.
template <class P, bool Transposed, DctOut Out>
void idct(const Zep16s* src, void* dst, Zep32s dstStep) {
    __m128i v[8];
    for (int i = 0; i < 8; ++i) v[i] = load(src + 8 * i);
    // The first pass runs along the rows: it wants column k in register k,
    // which is what a column-major block already is.
    if constexpr (!Transposed) transpose8x8(v);
    P::template inv<kDctShift1>(v);
    transpose8x8(v);
    P::template inv<kDctShift2>(v);
    store_rows<Out>(v, dst, dstStep);
}

template <class P>
inline void fdct_regs(__m128i (&v)[8], Zep16s* dst) {
    transpose8x8(v);
    P::template fwd<kDctShift1>(v);
    transpose8x8(v);
    P::template fwd<kDctShift2>(v);
    store_rows<DctOut::Coeff16s>(v, dst, 8);
}

template <class P>
void fdct(const Zep16s* src, Zep16s* dst) {
    __m128i v[8];
    for (int i = 0; i < 8; ++i) v[i] = load(src + 8 * i);
    fdct_regs<P>(v, dst);
}

template <class P>
void fdct_8u(const Zep8u* src, Zep32s srcStep, Zep16s* dst) {
    __m128i v[8];
    load_8u(src, srcStep, v);
    fdct_regs<P>(v, dst);
}

template <class P>
void install(DctDsp& t) {
    t.inv[0][0] = idct<P, false, DctOut::Coeff16s>;
    t.inv[0][1] = idct<P, false, DctOut::Clamp8u>;
    t.inv[0][2] = idct<P, false, DctOut::Add8u>;
    t.inv[1][0] = idct<P, true, DctOut::Coeff16s>;
    t.inv[1][1] = idct<P, true, DctOut::Clamp8u>;
    t.inv[1][2] = idct<P, true, DctOut::Add8u>;
    t.fwd = fdct<P>;
    t.fwd8u = fdct_8u<P>;
}

}  // namespace
}  // namespace dct_x86
}  // namespace zep
