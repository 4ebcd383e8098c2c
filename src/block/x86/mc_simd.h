// SIMD kernels of block compensation and differences, written once over two
// small vector abstractions and instantiated per ISA by the _ssse3 and _avx2
// translation units (include only from those). Everything here has internal
// linkage, so each unit keeps its own copies compiled with its own flags.
//
// Arithmetic: predictions, residual additions and differences work on 16-bit
// lanes, where every rounding of the reference is a plain add and shift; the
// copies and averages of 8-bit predictions use byte averages for the two-sample
// modes and 16-bit lanes for the four-sample mode.
#pragma once

#include <immintrin.h>

#include <cstring>
#include <type_traits>

#include "block/mc_dsp.h"

namespace zep {
namespace {

template <class T>
inline T* row_at(T* p, Zep32s step, int y) {
    using B = std::conditional_t<std::is_const_v<T>, const Zep8u, Zep8u>;
    return reinterpret_cast<T*>(reinterpret_cast<B*>(p) + static_cast<ptrdiff_t>(step) * y);
}

inline __m128i load_32(const void* p) {
    int v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(v);
}
inline __m128i load_16(const void* p) {
    uint16_t v;
    std::memcpy(&v, p, 2);
    return _mm_cvtsi32_si128(v);
}
inline void store_32(void* p, __m128i v) {
    int x = _mm_cvtsi128_si32(v);
    std::memcpy(p, &x, 4);
}
inline void store_16(void* p, __m128i v) {
    uint16_t x = static_cast<uint16_t>(_mm_cvtsi128_si32(v));
    std::memcpy(p, &x, 2);
}

// ---- 16-bit lanes: 8 samples ----
struct V128 {
    using R = __m128i;
    static constexpr int N = 8;
    static R set1(int v) { return _mm_set1_epi16(static_cast<short>(v)); }
    static R add(R a, R b) { return _mm_add_epi16(a, b); }
    static R sub(R a, R b) { return _mm_sub_epi16(a, b); }
    static R adds(R a, R b) { return _mm_adds_epi16(a, b); }
    static R avg(R a, R b) { return _mm_avg_epu16(a, b); }
    template <int S>
    static R shr(R a) { return _mm_srli_epi16(a, S); }
    // C samples (8, 4 or 2) of 8 bits, zero-extended.
    template <int C>
    static R load_u8(const Zep8u* p) {
        const __m128i z = _mm_setzero_si128();
        if constexpr (C == 8) return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), z);
        else if constexpr (C == 4) return _mm_unpacklo_epi8(load_32(p), z);
        else return _mm_unpacklo_epi8(load_16(p), z);
    }
    // Packed to 0..255 with unsigned saturation.
    template <int C>
    static void store_u8(Zep8u* p, R v) {
        const __m128i b = _mm_packus_epi16(v, v);
        if constexpr (C == 8) _mm_storel_epi64(reinterpret_cast<__m128i*>(p), b);
        else if constexpr (C == 4) store_32(p, b);
        else store_16(p, b);
    }
    template <int C>
    static R load_s16(const Zep16s* p) {
        if constexpr (C == 8) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        else if constexpr (C == 4) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        else return load_32(p);
    }
    template <int C>
    static void store_s16(Zep16s* p, R v) {
        if constexpr (C == 8) _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
        else if constexpr (C == 4) _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
        else store_32(p, v);
    }
    // Planar Cb and Cr residuals (8 each) as interleaved chunk k (0: pairs 0-3, 1: pairs 4-7).
    static R interleave_res(const Zep16s* u, const Zep16s* v, int k) {
        const R a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u));
        const R b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(v));
        return k == 0 ? _mm_unpacklo_epi16(a, b) : _mm_unpackhi_epi16(a, b);
    }
    // Interleaved differences of pairs 0-3 (d0) and 4-7 (d1) to 8 Cb and 8 Cr values.
    static void deinterleave_store(Zep16s* u, Zep16s* v, R d0, R d1) {
        const __m128i m = _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15);
        const R a = _mm_shuffle_epi8(d0, m), b = _mm_shuffle_epi8(d1, m);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(u), _mm_unpacklo_epi64(a, b));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(v), _mm_unpackhi_epi64(a, b));
    }
};

#ifdef __AVX2__
// ---- 16-bit lanes: 16 samples (one 16-wide row) ----
struct V256 {
    using R = __m256i;
    static constexpr int N = 16;
    static R set1(int v) { return _mm256_set1_epi16(static_cast<short>(v)); }
    static R add(R a, R b) { return _mm256_add_epi16(a, b); }
    static R sub(R a, R b) { return _mm256_sub_epi16(a, b); }
    static R adds(R a, R b) { return _mm256_adds_epi16(a, b); }
    static R avg(R a, R b) { return _mm256_avg_epu16(a, b); }
    template <int S>
    static R shr(R a) { return _mm256_srli_epi16(a, S); }
    template <int C>
    static R load_u8(const Zep8u* p) {
        static_assert(C == 16);
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    template <int C>
    static void store_u8(Zep8u* p, R v) {
        const __m256i b = _mm256_permute4x64_epi64(_mm256_packus_epi16(v, v), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(b));
    }
    template <int C>
    static R load_s16(const Zep16s* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    template <int C>
    static void store_s16(Zep16s* p, R v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
    static R interleave_res(const Zep16s* u, const Zep16s* v, int) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(v));
        return _mm256_set_m128i(_mm_unpackhi_epi16(a, b), _mm_unpacklo_epi16(a, b));
    }
    static void deinterleave_store(Zep16s* u, Zep16s* v, R d) {
        const __m256i m = _mm256_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15,  //
                                           0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15);
        const __m256i s = _mm256_permute4x64_epi64(_mm256_shuffle_epi8(d, m), 0xD8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(u), _mm256_castsi256_si128(s));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(v), _mm256_extracti128_si256(s, 1));
    }
};
#endif

// The widest 16-bit vector that a W-sample row fills, and the samples per chunk.
template <class V, int W>
using Lanes = std::conditional_t<(W >= V::N), V, V128>;
template <class V, int W>
inline constexpr int kChunk = W < Lanes<V, W>::N ? W : Lanes<V, W>::N;

// Rounding constant of a mode: 1 - rnd for two samples, 2 - rnd for four.
template <int Mode>
constexpr int round_const(int rnd) { return Mode == 3 ? 2 - rnd : (Mode == 0 ? 0 : 1 - rnd); }

// Prediction of C samples at x of rows r0 (and r1 below), 16-bit lanes.
template <class V, int C, int Mode, int D>
inline typename V::R predict(const Zep8u* r0, const Zep8u* r1, typename V::R k) {
    if constexpr (Mode == 0) return V::template load_u8<C>(r0);
    else if constexpr (Mode == 1)
        return V::template shr<1>(V::add(V::add(V::template load_u8<C>(r0), V::template load_u8<C>(r1)), k));
    else if constexpr (Mode == 2)
        return V::template shr<1>(V::add(V::add(V::template load_u8<C>(r0), V::template load_u8<C>(r0 + D)), k));
    else {
        auto h0 = V::add(V::template load_u8<C>(r0), V::template load_u8<C>(r0 + D));
        auto h1 = V::add(V::template load_u8<C>(r1), V::template load_u8<C>(r1 + D));
        return V::template shr<2>(V::add(V::add(h0, h1), k));
    }
}

// ---- Compensation ----

template <class Vw, int W, int Mode, int D>
inline void mc_rows(const Zep8u* ref, Zep32s refStep, const Zep16s* res, Zep32s resStep, Zep8u* dst, Zep32s dstStep,
                    int h, int rnd) {
    using V = Lanes<Vw, W>;
    constexpr int C = kChunk<Vw, W>;
    const auto k = V::set1(round_const<Mode>(rnd));
    for (int y = 0; y < h; ++y) {
        const Zep8u* r0 = row_at(ref, refStep, y);
        const Zep8u* r1 = row_at(ref, refStep, y + 1);
        const Zep16s* e = row_at(res, resStep, y);
        Zep8u* d = row_at(dst, dstStep, y);
        for (int x = 0; x < W; x += C)
            V::template store_u8<C>(d + x, V::adds(predict<V, C, Mode, D>(r0 + x, r1 + x, k), V::template load_s16<C>(e + x)));
    }
}

template <class Vw, int W, int Mode, int Rnd, int D>
void mc_h(const Zep8u* ref, Zep32s refStep, const Zep16s* res, Zep32s resStep, Zep8u* dst, Zep32s dstStep, int h) {
    mc_rows<Vw, W, Mode, D>(ref, refStep, res, resStep, dst, dstStep, h, Rnd);
}

template <class Vw, int W, int H, int Mode>
void mc_small(const Zep8u* ref, Zep32s refStep, const Zep16s* res, Zep32s resStep, Zep8u* dst, Zep32s dstStep,
              int rnd) {
    mc_rows<Vw, W, Mode, 1>(ref, refStep, res, resStep, dst, dstStep, H, rnd);
}

template <class Vw, int W, int MF, int MB, int D>
inline void mc_bi_rows(const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep, const Zep16s* res,
                       Zep32s resStep, Zep8u* dst, Zep32s dstStep, int h, int rnd) {
    using V = Lanes<Vw, W>;
    constexpr int C = kChunk<Vw, W>;
    const auto kf = V::set1(round_const<MF>(rnd)), kb = V::set1(round_const<MB>(rnd));
    for (int y = 0; y < h; ++y) {
        const Zep8u *f0 = row_at(rf, fStep, y), *f1 = row_at(rf, fStep, y + 1);
        const Zep8u *b0 = row_at(rb, bStep, y), *b1 = row_at(rb, bStep, y + 1);
        const Zep16s* e = row_at(res, resStep, y);
        Zep8u* d = row_at(dst, dstStep, y);
        for (int x = 0; x < W; x += C) {
            auto p = V::avg(predict<V, C, MF, D>(f0 + x, f1 + x, kf), predict<V, C, MB, D>(b0 + x, b1 + x, kb));
            V::template store_u8<C>(d + x, V::adds(p, V::template load_s16<C>(e + x)));
        }
    }
}

template <class Vw, int W, int MF, int MB, int Rnd, int D>
void mc_bi_h(const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep, const Zep16s* res, Zep32s resStep,
             Zep8u* dst, Zep32s dstStep, int h) {
    mc_bi_rows<Vw, W, MF, MB, D>(rf, fStep, rb, bStep, res, resStep, dst, dstStep, h, Rnd);
}

template <class Vw, int W, int H, int MF, int MB>
void mc_bi_small(const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep, const Zep16s* res, Zep32s resStep,
                 Zep8u* dst, Zep32s dstStep, int rnd) {
    mc_bi_rows<Vw, W, MF, MB, 1>(rf, fStep, rb, bStep, res, resStep, dst, dstStep, H, rnd);
}

// Interleaved chroma, 16 bytes a row, planar residuals.
template <class Vw, int MF, int MB, bool Bi, int Rnd>
inline void mc_chroma_rows(const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep, const Zep16s* resU,
                           const Zep16s* resV, Zep32s resStep, Zep8u* dst, Zep32s dstStep, int h) {
    using V = Vw;
    constexpr int C = V::N;
    const auto kf = V::set1(round_const<MF>(Rnd)), kb = V::set1(round_const<MB>(Rnd));
    for (int y = 0; y < h; ++y) {
        const Zep8u *f0 = row_at(rf, fStep, y), *f1 = row_at(rf, fStep, y + 1);
        const Zep16s *u = row_at(resU, resStep, y), *v = row_at(resV, resStep, y);
        Zep8u* d = row_at(dst, dstStep, y);
        for (int k = 0; k < 16 / C; ++k) {
            auto p = predict<V, C, MF, 2>(f0 + k * C, f1 + k * C, kf);
            if constexpr (Bi) {
                const Zep8u *b0 = row_at(rb, bStep, y), *b1 = row_at(rb, bStep, y + 1);
                p = V::avg(p, predict<V, C, MB, 2>(b0 + k * C, b1 + k * C, kb));
            }
            V::template store_u8<C>(d + k * C, V::adds(p, V::interleave_res(u, v, k)));
        }
    }
}

template <class Vw, int Mode, int Rnd>
void mc_chroma(const Zep8u* ref, Zep32s refStep, const Zep16s* resU, const Zep16s* resV, Zep32s resStep, Zep8u* dst,
               Zep32s dstStep, int h) {
    mc_chroma_rows<Vw, Mode, 0, false, Rnd>(ref, refStep, ref, refStep, resU, resV, resStep, dst, dstStep, h);
}

template <class Vw, int MF, int MB, int Rnd>
void mc_chroma_bi(const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep, const Zep16s* resU,
                  const Zep16s* resV, Zep32s resStep, Zep8u* dst, Zep32s dstStep, int h) {
    mc_chroma_rows<Vw, MF, MB, true, Rnd>(rf, fStep, rb, bStep, resU, resV, resStep, dst, dstStep, h);
}

// In-place residual and constant additions.
template <class Vw>
void add8x8(const Zep16s* res, Zep32s resStep, Zep8u* dst, Zep32s dstStep) {
    mc_rows<Vw, 8, 0, 1>(dst, dstStep, res, resStep, dst, dstStep, 8, 0);
}

inline void addc8x8(Zep8u* dst, Zep32s dstStep, int value) {
    const __m128i k = _mm_set1_epi16(static_cast<short>(value));
    for (int y = 0; y < 8; ++y) {
        Zep8u* d = row_at(dst, dstStep, y);
        V128::store_u8<8>(d, V128::adds(V128::load_u8<8>(d), k));
    }
}

// ---- Differences ----

template <class Vw, int W, int H, int Mode>
void get_diff(const Zep8u* cur, Zep32s curStep, const Zep8u* ref, Zep32s refStep, Zep16s* diff, Zep32s diffStep,
              Zep8u* pred, Zep32s predStep, int rnd) {
    using V = Lanes<Vw, W>;
    constexpr int C = kChunk<Vw, W>;
    const auto k = V::set1(round_const<Mode>(rnd));
    for (int y = 0; y < H; ++y) {
        const Zep8u *c = row_at(cur, curStep, y), *r0 = row_at(ref, refStep, y), *r1 = row_at(ref, refStep, y + 1);
        Zep16s* d = row_at(diff, diffStep, y);
        Zep8u* p = row_at(pred, predStep, y);
        for (int x = 0; x < W; x += C) {
            const auto v = predict<V, C, Mode, 1>(r0 + x, r1 + x, k);
            V::template store_u8<C>(p + x, v);
            V::template store_s16<C>(d + x, V::sub(V::template load_u8<C>(c + x), v));
        }
    }
}

template <class Vw>
void get_diff4x4(const Zep8u* cur, Zep32s curStep, const Zep8u* ref, Zep32s refStep, Zep16s* diff, Zep32s diffStep,
                 Zep8u* pred, Zep32s predStep, int mode, int rnd) {
    switch (mode & 3) {
        case 0: get_diff<Vw, 4, 4, 0>(cur, curStep, ref, refStep, diff, diffStep, pred, predStep, rnd); break;
        case 1: get_diff<Vw, 4, 4, 1>(cur, curStep, ref, refStep, diff, diffStep, pred, predStep, rnd); break;
        case 2: get_diff<Vw, 4, 4, 2>(cur, curStep, ref, refStep, diff, diffStep, pred, predStep, rnd); break;
        default: get_diff<Vw, 4, 4, 3>(cur, curStep, ref, refStep, diff, diffStep, pred, predStep, rnd); break;
    }
}

template <class Vw, int W, int H, int MF, int MB>
void get_diff_bi(const Zep8u* cur, Zep32s curStep, const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep,
                 Zep16s* diff, Zep32s diffStep, int rnd) {
    using V = Lanes<Vw, W>;
    constexpr int C = kChunk<Vw, W>;
    const auto kf = V::set1(round_const<MF>(rnd)), kb = V::set1(round_const<MB>(rnd));
    for (int y = 0; y < H; ++y) {
        const Zep8u* c = row_at(cur, curStep, y);
        const Zep8u *f0 = row_at(rf, fStep, y), *f1 = row_at(rf, fStep, y + 1);
        const Zep8u *b0 = row_at(rb, bStep, y), *b1 = row_at(rb, bStep, y + 1);
        Zep16s* d = row_at(diff, diffStep, y);
        for (int x = 0; x < W; x += C) {
            auto p = V::avg(predict<V, C, MF, 1>(f0 + x, f1 + x, kf), predict<V, C, MB, 1>(b0 + x, b1 + x, kb));
            V::template store_s16<C>(d + x, V::sub(V::template load_u8<C>(c + x), p));
        }
    }
}

template <class Vw, int H, int MF, int MB, bool Bi>
inline void diff_chroma_rows(const Zep8u* cur, Zep32s curStep, const Zep8u* rf, Zep32s fStep, const Zep8u* rb,
                             Zep32s bStep, Zep16s* diffU, Zep32s uStep, Zep16s* diffV, Zep32s vStep, int rnd) {
    using V = Vw;
    constexpr int C = V::N;
    const auto kf = V::set1(round_const<MF>(rnd)), kb = V::set1(round_const<MB>(rnd));
    for (int y = 0; y < H; ++y) {
        const Zep8u *c = row_at(cur, curStep, y), *f0 = row_at(rf, fStep, y), *f1 = row_at(rf, fStep, y + 1);
        typename V::R d[16 / C];
        for (int k = 0; k < 16 / C; ++k) {
            auto p = predict<V, C, MF, 2>(f0 + k * C, f1 + k * C, kf);
            if constexpr (Bi) {
                const Zep8u *b0 = row_at(rb, bStep, y), *b1 = row_at(rb, bStep, y + 1);
                p = V::avg(p, predict<V, C, MB, 2>(b0 + k * C, b1 + k * C, kb));
            }
            d[k] = V::sub(V::template load_u8<C>(c + k * C), p);
        }
        if constexpr (C == 8) V::deinterleave_store(row_at(diffU, uStep, y), row_at(diffV, vStep, y), d[0], d[1]);
        else V::deinterleave_store(row_at(diffU, uStep, y), row_at(diffV, vStep, y), d[0]);
    }
}

template <class Vw, int H, int Mode>
void get_diff_chroma(const Zep8u* cur, Zep32s curStep, const Zep8u* ref, Zep32s refStep, Zep16s* diffU,
                     Zep32s uStep, Zep16s* diffV, Zep32s vStep, int rnd) {
    diff_chroma_rows<Vw, H, Mode, 0, false>(cur, curStep, ref, refStep, ref, refStep, diffU, uStep, diffV, vStep, rnd);
}

template <class Vw, int H, int MF, int MB>
void get_diff_chroma_bi(const Zep8u* cur, Zep32s curStep, const Zep8u* rf, Zep32s fStep, const Zep8u* rb,
                        Zep32s bStep, Zep16s* diffU, Zep32s uStep, Zep16s* diffV, Zep32s vStep, int rnd) {
    diff_chroma_rows<Vw, H, MF, MB, true>(cur, curStep, rf, fStep, rb, bStep, diffU, uStep, diffV, vStep, rnd);
}

template <class Vw, int W, int H>
void sub_8u(const Zep8u* src, Zep32s srcStep, const Zep8u* ref, Zep32s refStep, Zep16s* dst, Zep32s dstStep) {
    using V = Lanes<Vw, W>;
    constexpr int C = kChunk<Vw, W>;
    for (int y = 0; y < H; ++y) {
        const Zep8u *s = row_at(src, srcStep, y), *r = row_at(ref, refStep, y);
        Zep16s* d = row_at(dst, dstStep, y);
        for (int x = 0; x < W; x += C)
            V::template store_s16<C>(d + x, V::sub(V::template load_u8<C>(s + x), V::template load_u8<C>(r + x)));
    }
}

// a - b of unsigned 16-bit samples saturated to 16s: the positive part capped
// at 32767 minus the negative part capped at 32768 (which wraps to -32768).
template <int W, int H>
void sub_16u(const Zep16u* src, Zep32s srcStep, const Zep16u* ref, Zep32s refStep, Zep16s* dst, Zep32s dstStep) {
    const __m128i capP = _mm_set1_epi16(32767), capN = _mm_set1_epi16(static_cast<short>(0x8000));
    for (int y = 0; y < H; ++y) {
        const Zep16u *s = row_at(src, srcStep, y), *r = row_at(ref, refStep, y);
        Zep16s* d = row_at(dst, dstStep, y);
        const __m128i a = V128::load_s16<W>(reinterpret_cast<const Zep16s*>(s));
        const __m128i b = V128::load_s16<W>(reinterpret_cast<const Zep16s*>(r));
        __m128i pos = _mm_subs_epu16(a, b), neg = _mm_subs_epu16(b, a);
        pos = _mm_sub_epi16(pos, _mm_subs_epu16(pos, capP));
        neg = _mm_sub_epi16(neg, _mm_subs_epu16(neg, capN));
        V128::store_s16<W>(d, _mm_sub_epi16(pos, neg));
    }
}

// ---- 8-bit predictions: copies and averages ----

// Byte vectors: one 16- or 8-byte row (B128) or two 16-byte rows (B256).
template <int W>
struct B128 {
    using R = __m128i;
    static constexpr int kRows = 1;
    static R load(const Zep8u* p, Zep32s) {
        if constexpr (W == 16) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        else return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    }
    static void store(Zep8u* p, Zep32s, R v) {
        if constexpr (W == 16) _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
        else _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
    }
    static R avg(R a, R b) { return _mm_avg_epu8(a, b); }
    static R odd(R a, R b) { return _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi8(1)); }
    static R sub8(R a, R b) { return _mm_sub_epi8(a, b); }
    static R lo16(R a) { return _mm_unpacklo_epi8(a, _mm_setzero_si128()); }
    static R hi16(R a) { return _mm_unpackhi_epi8(a, _mm_setzero_si128()); }
    static R add16(R a, R b) { return _mm_add_epi16(a, b); }
    static R set16(int v) { return _mm_set1_epi16(static_cast<short>(v)); }
    static R shr2(R a) { return _mm_srli_epi16(a, 2); }
    static R pack(R lo, R hi) { return _mm_packus_epi16(lo, hi); }
};

#ifdef __AVX2__
struct B256 {
    using R = __m256i;
    static constexpr int kRows = 2;
    static R load(const Zep8u* p, Zep32s step) {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
                                       _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + step)), 1);
    }
    static void store(Zep8u* p, Zep32s step, R v) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(v));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + step), _mm256_extracti128_si256(v, 1));
    }
    static R avg(R a, R b) { return _mm256_avg_epu8(a, b); }
    static R odd(R a, R b) { return _mm256_and_si256(_mm256_xor_si256(a, b), _mm256_set1_epi8(1)); }
    static R sub8(R a, R b) { return _mm256_sub_epi8(a, b); }
    static R lo16(R a) { return _mm256_unpacklo_epi8(a, _mm256_setzero_si256()); }
    static R hi16(R a) { return _mm256_unpackhi_epi8(a, _mm256_setzero_si256()); }
    static R add16(R a, R b) { return _mm256_add_epi16(a, b); }
    static R set16(int v) { return _mm256_set1_epi16(static_cast<short>(v)); }
    static R shr2(R a) { return _mm256_srli_epi16(a, 2); }
    static R pack(R lo, R hi) { return _mm256_packus_epi16(lo, hi); }
};
#endif

// Two-sample average; rounding down is the rounded-up average minus the odd bit.
template <class B, int Rnd>
inline typename B::R avg2(typename B::R a, typename B::R b) {
    if constexpr (Rnd == 0) return B::avg(a, b);
    else return B::sub8(B::avg(a, b), B::odd(a, b));
}

// Prediction bytes of kRows rows starting at p (rows and the row below them).
template <class B, int Mode, int Rnd>
inline typename B::R predict_bytes(const Zep8u* p, Zep32s step) {
    if constexpr (Mode == 0) return B::load(p, step);
    else if constexpr (Mode == 1) return avg2<B, Rnd>(B::load(p, step), B::load(p + step, step));
    else if constexpr (Mode == 2) return avg2<B, Rnd>(B::load(p, step), B::load(p + 1, step));
    else {
        // Four samples: exact sums in 16-bit lanes, low and high halves.
        const auto a = B::load(p, step), b = B::load(p + 1, step);
        const auto c = B::load(p + step, step), d = B::load(p + step + 1, step);
        const auto k = B::set16(2 - Rnd);
        const auto lo = B::add16(B::add16(B::lo16(a), B::lo16(b)), B::add16(B::add16(B::lo16(c), B::lo16(d)), k));
        const auto hi = B::add16(B::add16(B::hi16(a), B::hi16(b)), B::add16(B::add16(B::hi16(c), B::hi16(d)), k));
        return B::pack(B::shr2(lo), B::shr2(hi));
    }
}

template <class B, int H, int Mode, int Rnd>
void copy_hp(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep) {
    for (int y = 0; y < H; y += B::kRows)
        B::store(row_at(dst, dstStep, y), dstStep, predict_bytes<B, Mode, Rnd>(row_at(src, srcStep, y), srcStep));
}

template <class B, int H, int Mode, int Rnd>
void interp_avg(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep) {
    for (int y = 0; y < H; y += B::kRows) {
        Zep8u* d = row_at(dst, dstStep, y);
        B::store(d, dstStep, B::avg(B::load(d, dstStep), predict_bytes<B, Mode, Rnd>(row_at(src, srcStep, y), srcStep)));
    }
}

template <class B, int H>
void average(const Zep8u* a, Zep32s aStep, const Zep8u* b, Zep32s bStep, Zep8u* dst, Zep32s dstStep) {
    for (int y = 0; y < H; y += B::kRows)
        B::store(row_at(dst, dstStep, y), dstStep,
                 B::avg(B::load(row_at(a, aStep, y), aStep), B::load(row_at(b, bStep, y), bStep)));
}

// ---- Table filling ----

template <class C>
constexpr int idx = C::value;

template <class Vw, int W, int D>
void fill_mc(McFn (&single)[8], McBFn (&bi)[32]) {
    fill_table(single, [](auto i) -> McFn { return mc_h<Vw, W, idx<decltype(i)> / 2, entry_rnd(idx<decltype(i)>), D>; });
    fill_table(bi, [](auto i) -> McBFn {
        constexpr int I = idx<decltype(i)>;
        return mc_bi_h<Vw, W, I / 8, (I / 2) % 4, entry_rnd(I), D>;
    });
}

template <class Vw, int W, int H>
void fill_small(McSmallFn (&single)[4], McBSmallFn (&bi)[16]) {
    fill_table(single, [](auto i) -> McSmallFn { return mc_small<Vw, W, H, idx<decltype(i)>>; });
    fill_table(bi, [](auto i) -> McBSmallFn { return mc_bi_small<Vw, W, H, idx<decltype(i)> / 4, idx<decltype(i)> % 4>; });
}

// Two rows a vector pay only where a row below is read (vertical modes); the
// other modes keep one row a vector (B1).
template <class B, class B1, int H>
void fill_copies(CopyFn (&copyT)[8], CopyFn (&avgT)[8]) {
    fill_table(copyT, [](auto i) -> CopyFn {
        constexpr int M = kAccMode[idx<decltype(i)> / 2];
        using BB = std::conditional_t<(M & 1) != 0, B, B1>;
        return copy_hp<BB, H, M, entry_rnd(idx<decltype(i)>)>;
    });
    fill_table(avgT, [](auto i) -> CopyFn {
        constexpr int M = kAccMode[idx<decltype(i)> / 2];
        using BB = std::conditional_t<(M & 1) != 0, B, B1>;
        return interp_avg<BB, H, M, entry_rnd(idx<decltype(i)>)>;
    });
}

template <class Vw, int W, int H>
void fill_diffs(DiffFn (&single)[4], DiffBFn (&bi)[16]) {
    fill_table(single, [](auto i) -> DiffFn { return get_diff<Vw, W, H, idx<decltype(i)>>; });
    fill_table(bi, [](auto i) -> DiffBFn { return get_diff_bi<Vw, W, H, idx<decltype(i)> / 4, idx<decltype(i)> % 4>; });
}

template <class Vw, int H>
void fill_diff_chroma(DiffChromaFn (&single)[4], DiffChromaBFn (&bi)[16]) {
    fill_table(single, [](auto i) -> DiffChromaFn { return get_diff_chroma<Vw, H, idx<decltype(i)>>; });
    fill_table(bi, [](auto i) -> DiffChromaBFn {
        return get_diff_chroma_bi<Vw, H, idx<decltype(i)> / 4, idx<decltype(i)> % 4>;
    });
}

// Vw: the widest 16-bit lanes of the level; B16: byte vectors of 16-wide rows.
template <class Vw, class B16>
void install_mc(McDsp& t) {
    using B8 = B128<8>;
    fill_mc<Vw, 16, 1>(t.mc16, t.mcB16);
    fill_mc<Vw, 8, 1>(t.mc8, t.mcB8);
    fill_mc<Vw, 16, 2>(t.mcUV, t.mcBUV);
    fill_small<Vw, 4, 8>(t.mc4x8, t.mcB4x8);
    fill_small<Vw, 4, 4>(t.mc4x4, t.mcB4x4);
    fill_small<Vw, 4, 2>(t.mc4x2, t.mcB4x2);
    fill_small<Vw, 2, 4>(t.mc2x4, t.mcB2x4);
    fill_small<Vw, 2, 2>(t.mc2x2, t.mcB2x2);
    fill_table(t.mcChroma, [](auto i) -> McChromaFn { return mc_chroma<Vw, idx<decltype(i)> / 2, entry_rnd(idx<decltype(i)>)>; });
    fill_table(t.mcChromaB, [](auto i) -> McChromaBFn {
        constexpr int I = idx<decltype(i)>;
        return mc_chroma_bi<Vw, I / 8, (I / 2) % 4, entry_rnd(I)>;
    });
    fill_copies<B16, B128<16>, 16>(t.copyHp16x16, t.interpAvg16x16);
    fill_copies<B16, B128<16>, 8>(t.copyHp16x8, t.interpAvg16x8);
    fill_copies<B8, B8, 8>(t.copyHp8x8, t.interpAvg8x8);
    fill_copies<B8, B8, 4>(t.copyHp8x4, t.interpAvg8x4);
    t.copy16x16 = copy_hp<B128<16>, 16, 0, 0>;
    t.copy8x8 = copy_hp<B8, 8, 0, 0>;
    t.average16x16 = average<B128<16>, 16>;
    t.average8x8 = average<B8, 8>;
    t.averageI16x16 = interp_avg<B128<16>, 16, 0, 0>;
    t.averageI8x8 = interp_avg<B8, 8, 0, 0>;
    t.add8x8 = add8x8<Vw>;
    t.addc8x8 = addc8x8;
    fill_diffs<Vw, 16, 16>(t.diff16x16, t.diffB16x16);
    fill_diffs<Vw, 16, 8>(t.diff16x8, t.diffB16x8);
    fill_diffs<Vw, 8, 16>(t.diff8x16, t.diffB8x16);
    fill_diffs<Vw, 8, 8>(t.diff8x8, t.diffB8x8);
    fill_diffs<Vw, 8, 4>(t.diff8x4, t.diffB8x4);
    t.diff4x4 = get_diff4x4<Vw>;
    fill_diff_chroma<Vw, 8>(t.diffChroma8x8, t.diffChromaB8x8);
    fill_diff_chroma<Vw, 4>(t.diffChroma8x4, t.diffChromaB8x4);
    t.sub16x16 = sub_8u<Vw, 16, 16>;
    t.sub8x8 = sub_8u<Vw, 8, 8>;
    t.sub4x4 = sub_8u<Vw, 4, 4>;
    t.sub8x8_16u = sub_16u<8, 8>;
    t.sub4x4_16u = sub_16u<4, 4>;
}

}  // namespace
}  // namespace zep
