// SSSE3 kernels of the block distortion metrics: the baseline every x86-64
// build of the library can count on.
#include <algorithm>

#include "block/metrics_dsp.h"
#include "block/metrics_entry.h"
#include "block/x86/metrics_simd.h"

namespace zep {
namespace {

using namespace x86;

// ---------------------------------------------------------------- packing
// W-sample rows packed to fill 16 bytes: 16 -> one row, 8 -> two, 4 -> four,
// 2 -> two rows in the low four bytes (rest zero). get(i) returns row i with
// its W samples in the low bytes.
template <int W>
constexpr int rows_per_reg = W == 16  ? 1
                             : W == 8 ? 2
                             : W == 4 ? 4
                                      : 2;

template <int W, class Get>
inline __m128i pack_rows(Get get) {
    if constexpr (W == 16)
        return get(0);
    else if constexpr (W == 8)
        return _mm_unpacklo_epi64(get(0), get(1));
    else if constexpr (W == 4)
        return _mm_unpacklo_epi64(_mm_unpacklo_epi32(get(0), get(1)), _mm_unpacklo_epi32(get(2), get(3)));
    else
        return _mm_cvtsi32_si128(_mm_cvtsi128_si32(_mm_unpacklo_epi16(get(0), get(1))));
}

template <int W>
inline __m128i src_rows(const Zep8u* s, Zep32s ss) {
    return pack_rows<W>([&](int i) { return AnyRows::window<0, W>(s + i * ss); });
}

template <int W, int Mode>
inline __m128i ref_rows(const Zep8u* r, Zep32s rs) {
    return pack_rows<W>([&](int i) { return hp_row<Mode, W>(r + i * rs, r + (i + 1) * rs); });
}

// ---------------------------------------------------------------- SAD / SSD, 8-bit
// Sum over the block of op(source rows, reference rows), op giving 32-bit lanes.
template <int W, int H, int Mode, class Op>
inline __m128i over_block(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Op op) {
    __m128i acc = _mm_setzero_si128();
    if constexpr (W == 16) {
        HpRows<Mode> ref(r, rs);
        for (int y = 0; y < H; ++y, s += ss) acc = _mm_add_epi32(acc, op(load16(s), ref.next()));
    } else {
        constexpr int R = rows_per_reg<W>;
        for (int y = 0; y < H; y += R, s += R * ss, r += R * rs)
            acc = _mm_add_epi32(acc, op(src_rows<W>(s, ss), ref_rows<W, Mode>(r, rs)));
    }
    return acc;
}

inline __m128i sad_epu8(__m128i a, __m128i b) { return _mm_sad_epu8(a, b); }

// Sum of squares of the 16 byte differences a - b, in 32-bit lanes.
inline __m128i sqr_diff_epu8(__m128i a, __m128i b) {
    const __m128i z = _mm_setzero_si128();
    __m128i lo = _mm_sub_epi16(_mm_unpacklo_epi8(a, z), _mm_unpacklo_epi8(b, z));
    __m128i hi = _mm_sub_epi16(_mm_unpackhi_epi8(a, z), _mm_unpackhi_epi8(b, z));
    return _mm_add_epi32(_mm_madd_epi16(lo, lo), _mm_madd_epi16(hi, hi));
}

template <int W, int H, int Mode>
void sad(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* out) {
    *out = hsum_sad(over_block<W, H, Mode>(s, ss, r, rs, sad_epu8));
}

template <int W, int H, int Mode>
void ssd(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* out) {
    *out = hsum_epi32(over_block<W, H, Mode>(s, ss, r, rs, sqr_diff_epu8));
}

template <int ModeF, int ModeB>
void sqrdiff_bi(const Zep8u* s, Zep32s ss, const Zep8u* f, Zep32s fs, const Zep8u* b, Zep32s bs, Zep32s* out) {
    __m128i acc = _mm_setzero_si128();
    HpRows<ModeF> fwd(f, fs);
    HpRows<ModeB> bwd(b, bs);
    for (int y = 0; y < 16; ++y, s += ss)
        acc = _mm_add_epi32(acc, sqr_diff_epu8(load16(s), _mm_avg_epu8(fwd.next(), bwd.next())));
    *out = hsum_epi32(acc);
}

// ---------------------------------------------------------------- SAD, 16-bit
template <int W, int H, int Mode>
void sad_16u(const Zep16u* s, Zep32s ss, const Zep16u* r, Zep32s rs, Zep32s* out) {
    __m128i acc = _mm_setzero_si128();
    for (int y = 0; y < H; ++y, s = step_ptr(s, ss, 1), r = step_ptr(r, rs, 1)) {
        const Zep16u* r1 = step_ptr(r, rs, 1);
        if constexpr (W == 4) {
            __m128i d = absdiff_epu16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(s)), hp_row_16u<Mode, 4>(r, r1));
            acc = _mm_add_epi32(acc, sum_pairs_epu16_biased(d));
        } else {
            for (int x = 0; x < W; x += 8) {
                __m128i d = absdiff_epu16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + x)),
                                          hp_row_16u<Mode>(r + x, r1 + x));
                acc = _mm_add_epi32(acc, sum_pairs_epu16_biased(d));
            }
        }
    }
    // Each 16-bit value carried a -32768 bias; W == 4 also summed 4 zero lanes a row.
    constexpr int lanes = W == 4 ? 8 * H : W * H;
    *out = hsum_epi32(acc) + 32768 * lanes;
}

// ---------------------------------------------------------------- interleaved channels
template <int Mode>
void sad8x8_c2(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* sad0, Zep32s* sad1) {
    const __m128i even = _mm_set1_epi16(0x00FF), z = _mm_setzero_si128();
    __m128i a0 = z, a1 = z;
    HpRows<Mode, 2> ref(r, rs);
    for (int y = 0; y < 8; ++y, s += ss) {
        __m128i a = load16(s), b = ref.next();
        __m128i d = _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
        a0 = _mm_add_epi32(a0, _mm_sad_epu8(_mm_and_si128(d, even), z));
        a1 = _mm_add_epi32(a1, _mm_sad_epu8(_mm_srli_epi16(d, 8), z));
    }
    *sad0 = hsum_sad(a0);
    *sad1 = hsum_sad(a1);
}

// ---------------------------------------------------------------- sub-block SADs
void blocks8x8_8u(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep16u* out) {
    __m128i top = _mm_setzero_si128(), bot = top;
    for (int y = 0; y < 8; ++y, s += ss, r += rs) top = _mm_add_epi32(top, _mm_sad_epu8(load16(s), load16(r)));
    for (int y = 0; y < 8; ++y, s += ss, r += rs) bot = _mm_add_epi32(bot, _mm_sad_epu8(load16(s), load16(r)));
    __m128i v = _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(top), _mm_castsi128_ps(bot), _MM_SHUFFLE(2, 0, 2, 0)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packs_epi32(v, v));
}

void blocks4x4_8u(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep16u* out) {
    const __m128i ones8 = _mm_set1_epi8(1), ones16 = _mm_set1_epi16(1);
    __m128i g[4];
    for (int by = 0; by < 4; ++by) {
        __m128i acc = _mm_setzero_si128();
        for (int y = 0; y < 4; ++y, s += ss, r += rs) {
            __m128i a = load16(s), b = load16(r);
            acc = _mm_add_epi16(acc, _mm_maddubs_epi16(_mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)), ones8));
        }
        g[by] = _mm_madd_epi16(acc, ones16);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packs_epi32(g[0], g[1]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), _mm_packs_epi32(g[2], g[3]));
}

inline __m128i absdiff_row8_16u(const Zep16u* s, const Zep16u* r) {
    return absdiff_epu16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(r)));
}

void blocks8x8_16u(const Zep16u* s, Zep32s ss, const Zep16u* r, Zep32s rs, Zep32u* out) {
    __m128i acc[4];  // top left, top right, bottom left, bottom right
    for (int b = 0; b < 4; b += 2) {
        acc[b] = acc[b + 1] = _mm_setzero_si128();
        for (int y = 0; y < 8; ++y, s = step_ptr(s, ss, 1), r = step_ptr(r, rs, 1)) {
            acc[b] = _mm_add_epi32(acc[b], sum_pairs_epu16_biased(absdiff_row8_16u(s, r)));
            acc[b + 1] = _mm_add_epi32(acc[b + 1], sum_pairs_epu16_biased(absdiff_row8_16u(s + 8, r + 8)));
        }
    }
    __m128i v = _mm_hadd_epi32(_mm_hadd_epi32(acc[0], acc[1]), _mm_hadd_epi32(acc[2], acc[3]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_add_epi32(v, _mm_set1_epi32(64 * 32768)));
}

void blocks4x4_16u(const Zep16u* s, Zep32s ss, const Zep16u* r, Zep32s rs, Zep32u* out) {
    for (int by = 0; by < 4; ++by) {
        __m128i lo = _mm_setzero_si128(), hi = lo;
        for (int y = 0; y < 4; ++y, s = step_ptr(s, ss, 1), r = step_ptr(r, rs, 1)) {
            lo = _mm_add_epi32(lo, sum_pairs_epu16_biased(absdiff_row8_16u(s, r)));
            hi = _mm_add_epi32(hi, sum_pairs_epu16_biased(absdiff_row8_16u(s + 8, r + 8)));
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * by),
                         _mm_add_epi32(_mm_hadd_epi32(lo, hi), _mm_set1_epi32(16 * 32768)));
    }
}

// ---------------------------------------------------------------- candidate runs
struct Ssse3Run {
    // psadbw per candidate; four candidates share an accumulator, one 16-bit
    // field each per 64-bit half (a half never exceeds 32640).
    template <int W, int H, class Rows>
    static void group8(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep16u* out) {
        if constexpr (W == 2) {
            // Two samples a row: compare both against the eight candidates'
            // samples at once instead of a psadbw per candidate.
            const __m128i z = _mm_setzero_si128();
            __m128i acc = z;
            for (int y = 0; y < 2; ++y, s += ss, r += rs) {
                const __m128i s0 = _mm_set1_epi8(static_cast<char>(s[0])), s1 = _mm_set1_epi8(static_cast<char>(s[1]));
                const __m128i r0 = Rows::template window<0, 8>(r), r1 = Rows::template window<1, 8>(r);
                __m128i d0 = _mm_or_si128(_mm_subs_epu8(r0, s0), _mm_subs_epu8(s0, r0));
                __m128i d1 = _mm_or_si128(_mm_subs_epu8(r1, s1), _mm_subs_epu8(s1, r1));
                acc = _mm_add_epi16(acc, _mm_add_epi16(_mm_unpacklo_epi8(d0, z), _mm_unpacklo_epi8(d1, z)));
            }
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), acc);
            return;
        }
        constexpr int R = rows_per_reg<W>;
        __m128i acc0 = _mm_setzero_si128(), acc1 = acc0;
        for (int y = 0; y < H; y += R, s += R * ss, r += R * rs) {
            const __m128i sv = src_rows<W>(s, ss);
            unroll<8>([&]<int K>() ZEP_INLINE_LAMBDA {
                __m128i v =
                    _mm_sad_epu8(sv, pack_rows<W>([&](int i) { return Rows::template window<K, W>(r + i * rs); }));
                if constexpr (K % 4) v = _mm_slli_epi64(v, 16 * (K % 4));
                if constexpr (K < 4)
                    acc0 = _mm_add_epi64(acc0, v);
                else
                    acc1 = _mm_add_epi64(acc1, v);
            });
        }
        acc0 = _mm_add_epi16(acc0, _mm_srli_si128(acc0, 8));
        acc1 = _mm_add_epi16(acc1, _mm_srli_si128(acc1, 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi64(acc0, acc1));
    }

    // First smallest value: the minimum by a signed min on flipped values,
    // then the first lane equal to it.
    static Zep32s argmin(const Zep16u* v, Zep32s count) {
        const __m128i flip = _mm_set1_epi16(static_cast<short>(0x8000));
        __m128i m = _mm_set1_epi16(0x7FFF);
        for (Zep32s k = 0; k < count; k += 8)
            m = _mm_min_epi16(m, _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(v + k)), flip));
        m = _mm_min_epi16(m, _mm_shuffle_epi32(m, 0x4E));
        m = _mm_min_epi16(m, _mm_shuffle_epi32(m, 0xB1));
        m = _mm_min_epi16(m, _mm_shufflelo_epi16(m, 0xB1));
        m = _mm_xor_si128(_mm_shuffle_epi32(_mm_shufflelo_epi16(m, 0), 0), flip);
        for (Zep32s k = 0;; k += 8) {
            int mask = _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(v + k)), m));
            if (mask) return k + __builtin_ctz(static_cast<unsigned>(mask)) / 2;
        }
    }
};

// ---------------------------------------------------------------- SATD
// Rows d0..d3 hold two 4x4 difference blocks side by side (lanes 0-3, 4-7).
// Returns, per lane, half of the blocks' Hadamard sums: the vertical
// transform runs across the registers, a transpose brings columns into
// registers, one more butterfly stage, and the last stage is folded:
// |a + b| + |a - b| = 2 max(|a|, |b|).
inline __m128i satd_2x4x4_half(__m128i d0, __m128i d1, __m128i d2, __m128i d3) {
    __m128i s01 = _mm_add_epi16(d0, d1), t01 = _mm_sub_epi16(d0, d1);
    __m128i s23 = _mm_add_epi16(d2, d3), t23 = _mm_sub_epi16(d2, d3);
    __m128i v0 = _mm_add_epi16(s01, s23), v1 = _mm_sub_epi16(s01, s23);
    __m128i v2 = _mm_add_epi16(t01, t23), v3 = _mm_sub_epi16(t01, t23);
    __m128i a = _mm_unpacklo_epi16(v0, v1), b = _mm_unpacklo_epi16(v2, v3);
    __m128i c = _mm_unpackhi_epi16(v0, v1), e = _mm_unpackhi_epi16(v2, v3);
    __m128i a01 = _mm_unpacklo_epi32(a, b), a23 = _mm_unpackhi_epi32(a, b);  // block 0: columns 0|1, 2|3
    __m128i b01 = _mm_unpacklo_epi32(c, e), b23 = _mm_unpackhi_epi32(c, e);  // block 1
    __m128i sa = _mm_abs_epi16(_mm_add_epi16(a01, a23)), da = _mm_abs_epi16(_mm_sub_epi16(a01, a23));
    __m128i sb = _mm_abs_epi16(_mm_add_epi16(b01, b23)), db = _mm_abs_epi16(_mm_sub_epi16(b01, b23));
    // Pair each column-0+2 value with its column-1+3 partner (low vs high half).
    __m128i m0 = _mm_max_epi16(_mm_unpacklo_epi64(sa, sb), _mm_unpackhi_epi64(sa, sb));
    __m128i m1 = _mm_max_epi16(_mm_unpacklo_epi64(da, db), _mm_unpackhi_epi64(da, db));
    return _mm_add_epi16(m0, m1);
}

inline __m128i widen_diff(__m128i s, __m128i r) {
    const __m128i z = _mm_setzero_si128();
    return _mm_sub_epi16(_mm_unpacklo_epi8(s, z), _mm_unpacklo_epi8(r, z));
}

// Each unit adds at most 4080 to a lane; at most eight units (16x16) stay
// inside a signed 16-bit lane.
template <int W, int H>
void satd(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* out) {
    __m128i acc = _mm_setzero_si128();
    if constexpr (W == 4) {
        // Four rows of two vertically stacked blocks (rows y and y + 4) a unit.
        __m128i d[4];
        for (int i = 0; i < 4; ++i) {
            __m128i sv = load4(s + i * ss), rv = load4(r + i * rs);
            if constexpr (H == 8) {
                sv = _mm_unpacklo_epi32(sv, load4(s + (i + 4) * ss));
                rv = _mm_unpacklo_epi32(rv, load4(r + (i + 4) * rs));
            }
            d[i] = widen_diff(sv, rv);
        }
        acc = satd_2x4x4_half(d[0], d[1], d[2], d[3]);
    } else {
        for (int y = 0; y < H; y += 4, s += 4 * ss, r += 4 * rs)
            for (int x = 0; x < W; x += 8) {
                __m128i d[4];
                for (int i = 0; i < 4; ++i) d[i] = widen_diff(load8(s + i * ss + x), load8(r + i * rs + x));
                acc = _mm_add_epi16(acc, satd_2x4x4_half(d[0], d[1], d[2], d[3]));
            }
    }
    *out = 2 * hsum_epi32(_mm_madd_epi16(acc, _mm_set1_epi16(1)));
}

// One butterfly stage over pairs `Len` registers apart.
template <int Len, int N, class Add, class Sub>
inline void butterflies(__m128i (&v)[N], Add add, Sub sub) {
    for (int i = 0; i < N; i += 2 * Len)
        for (int j = i; j < i + Len; ++j) {
            __m128i a = v[j], b = v[j + Len];
            v[j] = add(a, b);
            v[j + Len] = sub(a, b);
        }
}

inline void transpose8x8_epi16(__m128i (&v)[8]) {
    __m128i a[8], b[8];
    for (int i = 0; i < 4; ++i) {
        a[i] = _mm_unpacklo_epi16(v[2 * i], v[2 * i + 1]);
        a[i + 4] = _mm_unpackhi_epi16(v[2 * i], v[2 * i + 1]);
    }
    for (int i = 0; i < 2; ++i)
        for (int h = 0; h < 2; ++h) {
            b[4 * h + 2 * i] = _mm_unpacklo_epi32(a[4 * h + 2 * i], a[4 * h + 2 * i + 1]);
            b[4 * h + 2 * i + 1] = _mm_unpackhi_epi32(a[4 * h + 2 * i], a[4 * h + 2 * i + 1]);
        }
    // b[0]: columns 0 and 1 of rows 0-3, b[1]: columns 2 and 3, b[2], b[3]: rows 4-7.
    for (int h = 0; h < 2; ++h)
        for (int i = 0; i < 2; ++i) {
            v[4 * h + 2 * i] = _mm_unpacklo_epi64(b[4 * h + i], b[4 * h + i + 2]);
            v[4 * h + 2 * i + 1] = _mm_unpackhi_epi64(b[4 * h + i], b[4 * h + i + 2]);
        }
}

const auto add16 = [](__m128i a, __m128i b) { return _mm_add_epi16(a, b); };
const auto sub16 = [](__m128i a, __m128i b) { return _mm_sub_epi16(a, b); };
const auto add32 = [](__m128i a, __m128i b) { return _mm_add_epi32(a, b); };
const auto sub32 = [](__m128i a, __m128i b) { return _mm_sub_epi32(a, b); };

// 8x8 Hadamard of 8-bit differences in 16-bit lanes (|coefficient| <= 16320;
// after five stages 8160, so the folded sums of four registers fit).
void sat8x8d_8u(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* out) {
    __m128i v[8];
    for (int y = 0; y < 8; ++y) v[y] = widen_diff(load8(s + y * ss), load8(r + y * rs));
    butterflies<1>(v, add16, sub16);
    butterflies<2>(v, add16, sub16);
    butterflies<4>(v, add16, sub16);
    transpose8x8_epi16(v);
    butterflies<1>(v, add16, sub16);
    butterflies<2>(v, add16, sub16);
    __m128i m = _mm_setzero_si128();
    for (int i = 0; i < 4; ++i) m = _mm_add_epi16(m, _mm_max_epi16(_mm_abs_epi16(v[i]), _mm_abs_epi16(v[i + 4])));
    *out = 2 * hsum_epi32(_mm_madd_epi16(m, _mm_set1_epi16(1)));
}

inline void transpose4x4_epi32(__m128i& a, __m128i& b, __m128i& c, __m128i& d) {
    __m128i t0 = _mm_unpacklo_epi32(a, b), t1 = _mm_unpackhi_epi32(a, b);
    __m128i t2 = _mm_unpacklo_epi32(c, d), t3 = _mm_unpackhi_epi32(c, d);
    a = _mm_unpacklo_epi64(t0, t2);
    b = _mm_unpackhi_epi64(t0, t2);
    c = _mm_unpacklo_epi64(t1, t3);
    d = _mm_unpackhi_epi64(t1, t3);
}

// 8x8 Hadamard of 16-bit sample differences in 32-bit lanes: columns 0-3 in
// l[], 4-7 in h[]; the column stage pairing i with i + 4 runs first across
// l/h, the two others after 4x4 transposes.
void sat8x8d_16u(const Zep16u* s, Zep32s ss, const Zep16u* r, Zep32s rs, Zep32s* out) {
    const __m128i z = _mm_setzero_si128();
    __m128i l[8], h[8];
    for (int y = 0; y < 8; ++y) {
        __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(step_ptr(s, ss, y)));
        __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(step_ptr(r, rs, y)));
        l[y] = _mm_sub_epi32(_mm_unpacklo_epi16(a, z), _mm_unpacklo_epi16(b, z));
        h[y] = _mm_sub_epi32(_mm_unpackhi_epi16(a, z), _mm_unpackhi_epi16(b, z));
    }
    butterflies<1>(l, add32, sub32);
    butterflies<2>(l, add32, sub32);
    butterflies<4>(l, add32, sub32);
    butterflies<1>(h, add32, sub32);
    butterflies<2>(h, add32, sub32);
    butterflies<4>(h, add32, sub32);
    __m128i acc = z;
    for (int y = 0; y < 8; y += 4) {
        __m128i q[2][4];
        for (int i = 0; i < 4; ++i) {
            q[0][i] = _mm_add_epi32(l[y + i], h[y + i]);
            q[1][i] = _mm_sub_epi32(l[y + i], h[y + i]);
        }
        for (auto& t : q) {
            transpose4x4_epi32(t[0], t[1], t[2], t[3]);
            butterflies<1>(t, add32, sub32);
            butterflies<2>(t, add32, sub32);
            for (__m128i x : t) acc = _mm_add_epi32(acc, _mm_abs_epi32(x));
        }
    }
    *out = hsum_epi32(acc);
}

// ---------------------------------------------------------------- difference, activity
void sub_sad8x8(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep16s* d, Zep32s ds, Zep32s* pSAD) {
    __m128i acc = _mm_setzero_si128();
    for (int y = 0; y < 8; ++y, s += ss, r += rs) {
        __m128i a = load8(s), b = load8(r);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(reinterpret_cast<Zep8u*>(d) + static_cast<std::ptrdiff_t>(ds) * y),
                         widen_diff(a, b));
        acc = _mm_add_epi32(acc, _mm_sad_epu8(a, b));
    }
    *pSAD = _mm_cvtsi128_si32(acc);
}

void frame_field_8u(const Zep8u* s, Zep32s ss, Zep32s* frame, Zep32s* field) {
    __m128i fr = _mm_setzero_si128(), fi = fr;
    __m128i r0 = load16(s), r1 = load16(s + ss);
    fr = _mm_sad_epu8(r0, r1);
    for (int y = 2; y < 16; ++y) {
        __m128i r2 = load16(s + y * ss);
        fr = _mm_add_epi32(fr, _mm_sad_epu8(r1, r2));
        fi = _mm_add_epi32(fi, _mm_sad_epu8(r0, r2));
        r0 = r1;
        r1 = r2;
    }
    *frame = hsum_sad(fr);
    *field = hsum_sad(fi);
}

// |a - b| of signed 16-bit lanes is max - min, exact modulo 2^16 and below it.
inline __m128i absdiff_row16_16s(const Zep16s* a, const Zep16s* b, int x) {
    __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + x));
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + x));
    return sum_pairs_epu16_biased(_mm_sub_epi16(_mm_max_epi16(u, v), _mm_min_epi16(u, v)));
}

void frame_field_16s(const Zep16s* s, Zep32s ss, Zep32s* frame, Zep32s* field) {
    __m128i fr = _mm_setzero_si128(), fi = fr;
    for (int y = 0; y < 15; ++y) {
        const Zep16s *a = step_ptr(s, ss, y), *b = step_ptr(s, ss, y + 1), *c = step_ptr(s, ss, y + 2);
        fr = _mm_add_epi32(fr, _mm_add_epi32(absdiff_row16_16s(a, b, 0), absdiff_row16_16s(a, b, 8)));
        if (y < 14) fi = _mm_add_epi32(fi, _mm_add_epi32(absdiff_row16_16s(a, c, 0), absdiff_row16_16s(a, c, 8)));
    }
    *frame = hsum_epi32(fr) + 32768 * 16 * 15;
    *field = hsum_epi32(fi) + 32768 * 16 * 14;
}

}  // namespace

void metrics_install_ssse3(MetricsDsp& t) {
    fill_modes(t.sad16x16, []<int M> { return sad<16, 16, M>; });
    fill_modes(t.sad16x8, []<int M> { return sad<16, 8, M>; });
    fill_modes(t.sad8x8, []<int M> { return sad<8, 8, M>; });
    t.sad8x16 = sad<8, 16, 0>;
    t.sad8x4 = sad<8, 4, 0>;
    t.sad4x8 = sad<4, 8, 0>;
    t.sad4x4 = sad<4, 4, 0>;
    fill_modes(t.sad16x16_16u, []<int M> { return sad_16u<16, 16, M>; });
    fill_modes(t.sad8x8_16u, []<int M> { return sad_16u<8, 8, M>; });
    fill_modes(t.sad4x4_16u, []<int M> { return sad_16u<4, 4, M>; });
    fill_modes(t.sad8x8_c2, []<int M> { return sad8x8_c2<M>; });
    t.blocks8x8_8u = blocks8x8_8u;
    t.blocks4x4_8u = blocks4x4_8u;
    t.blocks8x8_16u = blocks8x8_16u;
    t.blocks4x4_16u = blocks4x4_16u;
    install_run<Ssse3Run, 16, 16>(t.run16x16);
    install_run<Ssse3Run, 8, 8>(t.run8x8);
    install_run<Ssse3Run, 4, 4>(t.run4x4);
    install_run<Ssse3Run, 2, 2>(t.run2x2);
    install_run<Ssse3Run, 16, 16>(t.runmin16x16);
    install_run<Ssse3Run, 8, 8>(t.runmin8x8);
    install_run<Ssse3Run, 4, 4>(t.runmin4x4);
    t.satd16x16 = satd<16, 16>;
    t.satd16x8 = satd<16, 8>;
    t.satd8x16 = satd<8, 16>;
    t.satd8x8 = satd<8, 8>;
    t.satd8x4 = satd<8, 4>;
    t.satd4x8 = satd<4, 8>;
    t.satd4x4 = satd<4, 4>;
    t.sat8x8d = sat8x8d_8u;
    t.sat8x8d_16u = sat8x8d_16u;
    fill_modes(t.ssd8x8, []<int M> { return ssd<8, 8, M>; });
    fill_modes(t.ssd4x4, []<int M> { return ssd<4, 4, M>; });
    fill_modes(t.sqrdiff16x16, []<int M> { return ssd<16, 16, M>; });
    fill_modes(t.sqrdiff16x16b[0], []<int M> { return sqrdiff_bi<0, M>; });
    fill_modes(t.sqrdiff16x16b[1], []<int M> { return sqrdiff_bi<1, M>; });
    fill_modes(t.sqrdiff16x16b[2], []<int M> { return sqrdiff_bi<2, M>; });
    fill_modes(t.sqrdiff16x16b[3], []<int M> { return sqrdiff_bi<3, M>; });
    t.subsad8x8 = sub_sad8x8;
    t.framefield_8u = frame_field_8u;
    t.framefield_16s = frame_field_16s;
}

ZEP_LOAD_TIME void metric_entries_ssse3(MetricEntries& e) {
    e.sad16x16 = modes_entry<sad<16, 16, 0>, sad<16, 16, 1>, sad<16, 16, 2>, sad<16, 16, 3>>;
    e.sad16x8 = modes_entry<sad<16, 8, 0>, sad<16, 8, 1>, sad<16, 8, 2>, sad<16, 8, 3>>;
    e.sad8x8 = modes_entry<sad<8, 8, 0>, sad<8, 8, 1>, sad<8, 8, 2>, sad<8, 8, 3>>;
    e.sad4x4 = ignored_mode_entry<sad<4, 4, 0>>;
    e.satd16x16 = fixed_entry<satd<16, 16>>;
    e.satd16x8 = fixed_entry<satd<16, 8>>;
    e.satd8x16 = fixed_entry<satd<8, 16>>;
    e.satd8x8 = fixed_entry<satd<8, 8>>;
    e.satd8x4 = fixed_entry<satd<8, 4>>;
    e.satd4x8 = fixed_entry<satd<4, 8>>;
    e.satd4x4 = fixed_entry<satd<4, 4>>;
}

}  // namespace zep
