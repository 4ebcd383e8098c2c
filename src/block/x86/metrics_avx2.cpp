// AVX2 kernels of the block distortion metrics: two 16-sample rows (or one
// row of 16-bit samples) a register, and vmpsadbw candidate runs.
#include "block/metrics_dsp.h"
#include "block/metrics_entry.h"
#include "block/x86/metrics_simd.h"

namespace zep {
namespace {

using namespace x86;

inline Zep32s hsum_epi32(__m256i v) {
    return x86::hsum_epi32(_mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1)));
}

inline __m256i pair(__m128i lo, __m128i hi) { return _mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1); }

// ---------------------------------------------------------------- SAD / SSD, 16 wide
template <int H, int Mode>
void sad16(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* out) {
    __m256i acc = _mm256_setzero_si256();
    for (int y = 0; y < H; y += 2, s += 2 * ss, r += 2 * rs)
        acc = _mm256_add_epi32(acc, _mm256_sad_epu8(load2x16(s, ss), hp_rows2x16<Mode>(r, rs)));
    __m128i a = _mm_add_epi32(_mm256_castsi256_si128(acc), _mm256_extracti128_si256(acc, 1));
    *out = _mm_cvtsi128_si32(_mm_add_epi32(a, _mm_unpackhi_epi64(a, a)));
}

inline __m256i sqr_diff_epu8(__m256i a, __m256i b) {
    const __m256i z = _mm256_setzero_si256();
    __m256i lo = _mm256_sub_epi16(_mm256_unpacklo_epi8(a, z), _mm256_unpacklo_epi8(b, z));
    __m256i hi = _mm256_sub_epi16(_mm256_unpackhi_epi8(a, z), _mm256_unpackhi_epi8(b, z));
    return _mm256_add_epi32(_mm256_madd_epi16(lo, lo), _mm256_madd_epi16(hi, hi));
}

template <int Mode>
void ssd16x16(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* out) {
    __m256i acc = _mm256_setzero_si256();
    for (int y = 0; y < 16; y += 2, s += 2 * ss, r += 2 * rs)
        acc = _mm256_add_epi32(acc, sqr_diff_epu8(load2x16(s, ss), hp_rows2x16<Mode>(r, rs)));
    *out = hsum_epi32(acc);
}

template <int ModeF, int ModeB>
void sqrdiff_bi(const Zep8u* s, Zep32s ss, const Zep8u* f, Zep32s fs, const Zep8u* b, Zep32s bs, Zep32s* out) {
    __m256i acc = _mm256_setzero_si256();
    for (int y = 0; y < 16; y += 2, s += 2 * ss, f += 2 * fs, b += 2 * bs) {
        __m256i p = _mm256_avg_epu8(hp_rows2x16<ModeF>(f, fs), hp_rows2x16<ModeB>(b, bs));
        acc = _mm256_add_epi32(acc, sqr_diff_epu8(load2x16(s, ss), p));
    }
    *out = hsum_epi32(acc);
}

// ---------------------------------------------------------------- SAD, 16-bit, 16 wide
template <int Mode>
inline __m256i hp_row16_16u(const Zep16u* r0, const Zep16u* r1) {
    auto ld = [](const Zep16u* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); };
    if constexpr (Mode == 0)
        return ld(r0);
    else if constexpr (Mode == 1)
        return _mm256_avg_epu16(ld(r0), ld(r1));
    else if constexpr (Mode == 2)
        return _mm256_avg_epu16(ld(r0), ld(r0 + 1));
    else {
        __m256i a = ld(r0), b = ld(r0 + 1), c = ld(r1), d = ld(r1 + 1);
        __m256i p = _mm256_avg_epu16(a, b), q = _mm256_avg_epu16(c, d);
        __m256i odd = _mm256_or_si256(_mm256_xor_si256(a, b), _mm256_xor_si256(c, d));
        __m256i fix = _mm256_and_si256(_mm256_and_si256(odd, _mm256_xor_si256(p, q)), _mm256_set1_epi16(1));
        return _mm256_sub_epi16(_mm256_avg_epu16(p, q), fix);
    }
}

template <int Mode>
void sad16x16_16u(const Zep16u* s, Zep32s ss, const Zep16u* r, Zep32s rs, Zep32s* out) {
    __m256i acc = _mm256_setzero_si256();
    const __m256i flip = _mm256_set1_epi16(static_cast<short>(0x8000)), ones = _mm256_set1_epi16(1);
    for (int y = 0; y < 16; ++y, s = step_ptr(s, ss, 1), r = step_ptr(r, rs, 1)) {
        __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s));
        __m256i b = hp_row16_16u<Mode>(r, step_ptr(r, rs, 1));
        __m256i d = _mm256_sub_epi16(_mm256_max_epu16(a, b), _mm256_min_epu16(a, b));
        acc = _mm256_add_epi32(acc, _mm256_madd_epi16(_mm256_xor_si256(d, flip), ones));
    }
    *out = hsum_epi32(acc) + 32768 * 256;
}

// ---------------------------------------------------------------- 16-bit rows of 16
inline __m256i load_row16(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }

// Pairwise sums of unsigned 16-bit lanes into 32-bit lanes, biased by -65536
// each (see sum_pairs_epu16_biased).
inline __m256i sum_pairs_epu16_biased(__m256i v) {
    return _mm256_madd_epi16(_mm256_xor_si256(v, _mm256_set1_epi16(static_cast<short>(0x8000))), _mm256_set1_epi16(1));
}

inline __m256i absdiff_epu16(__m256i a, __m256i b) {
    return _mm256_sub_epi16(_mm256_max_epu16(a, b), _mm256_min_epu16(a, b));
}

void blocks8x8_16u(const Zep16u* s, Zep32s ss, const Zep16u* r, Zep32s rs, Zep32u* out) {
    __m256i half[2];  // rows 0-7, 8-15
    for (__m256i& h : half) {
        h = _mm256_setzero_si256();
        for (int y = 0; y < 8; ++y, s = step_ptr(s, ss, 1), r = step_ptr(r, rs, 1))
            h = _mm256_add_epi32(h, sum_pairs_epu16_biased(absdiff_epu16(load_row16(s), load_row16(r))));
    }
    // Per lane (left block low, right block high): [top, bottom, top, bottom].
    __m256i v = _mm256_hadd_epi32(half[0], half[1]);
    v = _mm256_hadd_epi32(v, v);
    __m128i q = _mm_unpacklo_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_add_epi32(q, _mm_set1_epi32(64 * 32768)));
}

void blocks4x4_16u(const Zep16u* s, Zep32s ss, const Zep16u* r, Zep32s rs, Zep32u* out) {
    for (int by = 0; by < 4; ++by) {
        __m256i acc = _mm256_setzero_si256();
        for (int y = 0; y < 4; ++y, s = step_ptr(s, ss, 1), r = step_ptr(r, rs, 1))
            acc = _mm256_add_epi32(acc, sum_pairs_epu16_biased(absdiff_epu16(load_row16(s), load_row16(r))));
        __m256i v = _mm256_hadd_epi32(acc, acc);  // per lane [g0, g1, g0, g1]
        __m128i q = _mm_unpacklo_epi64(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * by), _mm_add_epi32(q, _mm_set1_epi32(16 * 32768)));
    }
}

// |a - b| of signed 16-bit lanes is max - min, exact as an unsigned value.
inline __m256i absdiff_16s(__m256i a, __m256i b) {
    return sum_pairs_epu16_biased(_mm256_sub_epi16(_mm256_max_epi16(a, b), _mm256_min_epi16(a, b)));
}

void frame_field_16s(const Zep16s* s, Zep32s ss, Zep32s* frame, Zep32s* field) {
    __m256i r0 = load_row16(s), r1 = load_row16(step_ptr(s, ss, 1));
    __m256i fr = absdiff_16s(r0, r1), fi = _mm256_setzero_si256();
    for (int y = 2; y < 16; ++y) {
        __m256i r2 = load_row16(step_ptr(s, ss, y));
        fr = _mm256_add_epi32(fr, absdiff_16s(r1, r2));
        fi = _mm256_add_epi32(fi, absdiff_16s(r0, r2));
        r0 = r1;
        r1 = r2;
    }
    *frame = hsum_epi32(fr) + 32768 * 16 * 15;
    *field = hsum_epi32(fi) + 32768 * 16 * 14;
}

// ---------------------------------------------------------------- SATD
// Four 4x4 blocks side by side (16 columns) or two pairs stacked (8 columns,
// rows y in the low lane, y + 4 in the high lane); the same steps as the
// SSSE3 kernel, lane by lane.
inline __m256i satd_4x4x4_half(__m256i d0, __m256i d1, __m256i d2, __m256i d3) {
    __m256i s01 = _mm256_add_epi16(d0, d1), t01 = _mm256_sub_epi16(d0, d1);
    __m256i s23 = _mm256_add_epi16(d2, d3), t23 = _mm256_sub_epi16(d2, d3);
    __m256i v0 = _mm256_add_epi16(s01, s23), v1 = _mm256_sub_epi16(s01, s23);
    __m256i v2 = _mm256_add_epi16(t01, t23), v3 = _mm256_sub_epi16(t01, t23);
    __m256i a = _mm256_unpacklo_epi16(v0, v1), b = _mm256_unpacklo_epi16(v2, v3);
    __m256i c = _mm256_unpackhi_epi16(v0, v1), e = _mm256_unpackhi_epi16(v2, v3);
    __m256i a01 = _mm256_unpacklo_epi32(a, b), a23 = _mm256_unpackhi_epi32(a, b);
    __m256i b01 = _mm256_unpacklo_epi32(c, e), b23 = _mm256_unpackhi_epi32(c, e);
    __m256i sa = _mm256_abs_epi16(_mm256_add_epi16(a01, a23)), da = _mm256_abs_epi16(_mm256_sub_epi16(a01, a23));
    __m256i sb = _mm256_abs_epi16(_mm256_add_epi16(b01, b23)), db = _mm256_abs_epi16(_mm256_sub_epi16(b01, b23));
    __m256i m0 = _mm256_max_epi16(_mm256_unpacklo_epi64(sa, sb), _mm256_unpackhi_epi64(sa, sb));
    __m256i m1 = _mm256_max_epi16(_mm256_unpacklo_epi64(da, db), _mm256_unpackhi_epi64(da, db));
    return _mm256_add_epi16(m0, m1);
}

inline __m256i widen_diff(__m128i s, __m128i r) {
    return _mm256_sub_epi16(_mm256_cvtepu8_epi16(s), _mm256_cvtepu8_epi16(r));
}

// A lane gains at most 4080 a unit; at most four units per lane here.
template <int W, int H>
void satd(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* out) {
    static_assert((W == 16 && H % 4 == 0) || (W == 8 && H % 8 == 0));
    __m256i acc = _mm256_setzero_si256();
    constexpr int rowsPerUnit = W == 16 ? 4 : 8;
    for (int y = 0; y < H; y += rowsPerUnit, s += rowsPerUnit * ss, r += rowsPerUnit * rs) {
        __m256i d[4];
        for (int i = 0; i < 4; ++i) {
            if constexpr (W == 16)
                d[i] = widen_diff(load16(s + i * ss), load16(r + i * rs));
            else
                d[i] = widen_diff(_mm_unpacklo_epi64(load8(s + i * ss), load8(s + (i + 4) * ss)),
                                  _mm_unpacklo_epi64(load8(r + i * rs), load8(r + (i + 4) * rs)));
        }
        acc = _mm256_add_epi16(acc, satd_4x4x4_half(d[0], d[1], d[2], d[3]));
    }
    *out = 2 * hsum_epi32(_mm256_madd_epi16(acc, _mm256_set1_epi16(1)));
}

// ---------------------------------------------------------------- candidate runs
struct Avx2Run {
    // vmpsadbw takes its source group and window offset per 128-bit lane, so
    // one instruction covers two (row, source group) pairs: 16 wide, one row's
    // groups 0/1 in the low lane and 2/3 in the high lane; 8 wide, rows y and
    // y + 1. (4x4 stays on SSE4.1, which is faster for so few rows.)
    template <int W, int H, class Rows>
    static void group8(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep16u* out) {
        static_assert(W == 16 || W == 8);
        __m256i acc = _mm256_setzero_si256();
        if constexpr (W == 16) {
            for (int y = 0; y < H; ++y, s += ss, r += rs) {
                const __m256i sv = _mm256_broadcastsi128_si256(load16(s));
                const __m256i w = pair(Rows::template window<0, 15>(r), Rows::template window<8, 15>(r));
                acc = _mm256_add_epi16(acc, _mm256_mpsadbw_epu8(w, sv, 0x10));  // groups 0 | 2, offset 0
                acc = _mm256_add_epi16(acc, _mm256_mpsadbw_epu8(w, sv, 0x3D));  // groups 1 | 3, offset 4
            }
        } else {
            for (int y = 0; y < H; y += 2, s += 2 * ss, r += 2 * rs) {
                const __m256i sv = pair(load8(s), load8(s + ss));
                const __m256i w = pair(Rows::template window<0, 15>(r), Rows::template window<0, 15>(r + rs));
                acc = _mm256_add_epi16(acc, _mm256_mpsadbw_epu8(w, sv, 0x00));  // group 0, offset 0
                acc = _mm256_add_epi16(acc, _mm256_mpsadbw_epu8(w, sv, 0x2D));  // group 1, offset 4
            }
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                         _mm_add_epi16(_mm256_castsi256_si128(acc), _mm256_extracti128_si256(acc, 1)));
    }

    static Zep32s argmin(const Zep16u* v, Zep32s count) {
        unsigned best = 0x10000;
        Zep32s at = 0;
        for (Zep32s k = 0; k < count; k += 8) {
            const unsigned m = static_cast<unsigned>(
                _mm_cvtsi128_si32(_mm_minpos_epu16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(v + k)))));
            if ((m & 0xFFFF) < best) {
                best = m & 0xFFFF;
                at = k + static_cast<Zep32s>(m >> 16);
            }
        }
        return at;
    }
};

}  // namespace

void metrics_install_avx2(MetricsDsp& t) {
    fill_modes(t.sad16x16, []<int M> { return sad16<16, M>; });
    fill_modes(t.sad16x8, []<int M> { return sad16<8, M>; });
    fill_modes(t.sqrdiff16x16, []<int M> { return ssd16x16<M>; });
    fill_modes(t.sqrdiff16x16b[0], []<int M> { return sqrdiff_bi<0, M>; });
    fill_modes(t.sqrdiff16x16b[1], []<int M> { return sqrdiff_bi<1, M>; });
    fill_modes(t.sqrdiff16x16b[2], []<int M> { return sqrdiff_bi<2, M>; });
    fill_modes(t.sqrdiff16x16b[3], []<int M> { return sqrdiff_bi<3, M>; });
    fill_modes(t.sad16x16_16u, []<int M> { return sad16x16_16u<M>; });
    t.blocks8x8_16u = blocks8x8_16u;
    t.blocks4x4_16u = blocks4x4_16u;
    t.framefield_16s = frame_field_16s;
    t.satd16x16 = satd<16, 16>;
    t.satd16x8 = satd<16, 8>;
    t.satd8x16 = satd<8, 16>;
    t.satd8x8 = satd<8, 8>;
    install_run<Avx2Run, 16, 16>(t.run16x16);
    install_run<Avx2Run, 8, 8>(t.run8x8);
    install_run<Avx2Run, 16, 16>(t.runmin16x16);
    install_run<Avx2Run, 8, 8>(t.runmin8x8);
}

ZEP_LOAD_TIME void metric_entries_avx2(MetricEntries& e) {
    e.sad16x16 = modes_entry<sad16<16, 0>, sad16<16, 1>, sad16<16, 2>, sad16<16, 3>>;
    e.sad16x8 = modes_entry<sad16<8, 0>, sad16<8, 1>, sad16<8, 2>, sad16<8, 3>>;
    e.satd16x16 = fixed_entry<satd<16, 16>>;
    e.satd16x8 = fixed_entry<satd<16, 8>>;
    e.satd8x16 = fixed_entry<satd<8, 16>>;
    e.satd8x8 = fixed_entry<satd<8, 8>>;
}

}  // namespace zep
