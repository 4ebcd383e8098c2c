// Shared pieces of the SIMD metrics kernels: reference-window loaders for the
// candidate runs and the run driver. Internal linkage, like hp_avg.h, because
// each including translation unit is built for a different instruction set.
#pragma once

#include <cstddef>
#include <utility>

#include "block/metrics_dsp.h"
#include "block/x86/hp_avg.h"

namespace zep::x86 {
namespace {

template <class T>
inline const T* step_ptr(const T* p, Zep32s step, int rows) {
    return reinterpret_cast<const T*>(reinterpret_cast<const Zep8u*>(p) + static_cast<std::ptrdiff_t>(step) * rows);
}

// Window loaders: window<Off, Bytes>(row) returns row[Off .. Off + Bytes - 1]
// in the low bytes of a register (the bytes above are unspecified), reading
// no memory outside the 16-byte aligned chunks that hold those bytes.

// Any address: unaligned loads that stop at the last byte asked for.
struct AnyRows {
    template <int Off, int Bytes>
    static __m128i window(const Zep8u* row) {
        const Zep8u* p = row + Off;
        if constexpr (Bytes == 16)
            return load16(p);
        else if constexpr (Bytes > 8) {
            // The two 8-byte halves overlap on equal bytes, so OR merges them.
            return _mm_or_si128(load8(p), _mm_slli_si128(load8(p + Bytes - 8), Bytes - 8));
        } else {
            uint64_t v = 0;
            std::memcpy(&v, p, Bytes);
            return _mm_cvtsi64_si128(static_cast<long long>(v));
        }
    }
};

// For rows whose address is M bytes past a 16-byte boundary (all offsets
// known at compile time): a window starting on a boundary is one aligned
// load; one whose 16-byte read ends in the chunk of its last wanted byte is
// one unaligned load; a short one an exact 8- or 4-byte load; anything else
// is two aligned chunks and a byte shift.
template <int M>
struct AlignedRows {
    template <int Off, int Bytes>
    static __m128i window(const Zep8u* row) {
        constexpr int o = M + Off, lo = o / 16, hi = (o + Bytes - 1) / 16, sh = o % 16;
        const Zep8u* base = row - M;
        if constexpr (sh == 0)
            return _mm_load_si128(reinterpret_cast<const __m128i*>(base + 16 * lo));
        else if constexpr ((o + 15) / 16 == hi)
            return load16(row + Off);
        else if constexpr (Bytes <= 8)
            return AnyRows::window<Off, Bytes>(row);
        else {
            __m128i c0 = _mm_load_si128(reinterpret_cast<const __m128i*>(base + 16 * lo));
            if constexpr (lo == hi)
                return _mm_srli_si128(c0, sh);
            else
                return _mm_alignr_epi8(_mm_load_si128(reinterpret_cast<const __m128i*>(base + 16 * hi)), c0, sh);
        }
    }
};

// Any address, when the bytes up to 16 past the window start are known to be
// readable (a later group of the run needs them): plain unaligned loads.
struct LooseRows {
    template <int Off, int Bytes>
    static __m128i window(const Zep8u* row) {
        if constexpr (Bytes > 8)
            return load16(row + Off);
        else
            return AnyRows::window<Off, Bytes>(row);
    }
};

// Candidate run over groups of eight candidates. `Level::group8<W, H, Rows>`
// computes the SADs of candidates pRef + 0..7 into out[0..7]; Level::argmin
// finds the first smallest SAD.
template <class Level, int W, int H, int M>
void run_aligned(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep16u* out, Zep32s count) {
    // Groups alternate between misalignment M and M + 8 (mod 16).
    for (Zep32s k = 0; k < count; k += 16) {
        Level::template group8<W, H, AlignedRows<M>>(s, ss, r + k, rs, out + k);
        if (k + 8 < count) Level::template group8<W, H, AlignedRows<(M + 8) & 15>>(s, ss, r + k + 8, rs, out + k + 8);
    }
}

template <class Level, int W, int H>
void run_any(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep16u* out, Zep32s count) {
    // Every group but the last may read ahead into bytes the next one needs.
    Zep32s k = 0;
    for (; k + 8 < count; k += 8) Level::template group8<W, H, LooseRows>(s, ss, r + k, rs, out + k);
    Level::template group8<W, H, AnyRows>(s, ss, r + k, rs, out + k);
}

template <class Level, int W, int H, int M>
void run_min_aligned(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep16u* out, Zep32s count, Zep32s* pMin) {
    run_aligned<Level, W, H, M>(s, ss, r, rs, out, count);
    *pMin = Level::argmin(out, count);
}

template <class Level, int W, int H>
void run_min_any(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep16u* out, Zep32s count, Zep32s* pMin) {
    run_any<Level, W, H>(s, ss, r, rs, out, count);
    *pMin = Level::argmin(out, count);
}

// Installs one level's run kernels for one block size: sixteen
// misalignment-specialised entries plus the general one.
template <class Level, int W, int H, int... M>
void install_run(RunTable<RunFn>& t, std::integer_sequence<int, M...>) {
    ((t.aligned[M] = run_aligned<Level, W, H, M>), ...);
    t.general = run_any<Level, W, H>;
}
template <class Level, int W, int H, int... M>
void install_run(RunTable<RunMinFn>& t, std::integer_sequence<int, M...>) {
    ((t.aligned[M] = run_min_aligned<Level, W, H, M>), ...);
    t.general = run_min_any<Level, W, H>;
}
template <class Level, int W, int H, class Table>
void install_run(Table& t) {
    install_run<Level, W, H>(t, std::make_integer_sequence<int, 16>{});
}

// Successive 16-sample reference rows of a half-sample mode. The modes that
// read the row below (1 and 3) keep what they computed for it and reuse it
// as the next row's top, halving their loads and averages. `Dx` is the byte
// distance to the right neighbour.
template <int Mode, int Dx = 1>
class HpRows {
public:
    HpRows(const Zep8u* r, Zep32s rs) : r_(r), rs_(rs) {
        if constexpr (Mode == 1) top_ = load16(r);
        if constexpr (Mode == 3) pair(r, top_, topOdd_);
    }
    __m128i next() {
        const Zep8u* r = r_;
        r_ += rs_;
        if constexpr (Mode == 0)
            return load16(r);
        else if constexpr (Mode == 2)
            return _mm_avg_epu8(load16(r), load16(r + Dx));
        else if constexpr (Mode == 1) {
            const __m128i below = load16(r_), v = _mm_avg_epu8(top_, below);
            top_ = below;
            return v;
        } else {
            // avg4_epu8 with both pair averages shared between rows.
            __m128i p = top_, pOdd = topOdd_;
            pair(r_, top_, topOdd_);
            const __m128i odd = _mm_or_si128(pOdd, topOdd_);
            const __m128i fix = _mm_and_si128(_mm_and_si128(odd, _mm_xor_si128(p, top_)), _mm_set1_epi8(1));
            return _mm_sub_epi8(_mm_avg_epu8(p, top_), fix);
        }
    }

private:
    static void pair(const Zep8u* r, __m128i& avg, __m128i& odd) {
        const __m128i a = load16(r), b = load16(r + Dx);
        avg = _mm_avg_epu8(a, b);
        odd = _mm_xor_si128(a, b);
    }
    const Zep8u* r_;
    Zep32s rs_;
    __m128i top_ = _mm_setzero_si128(), topOdd_ = _mm_setzero_si128();
};

// Lambdas of unrolled loops must be inlined: an out-of-line copy would keep
// the caller's accumulators in memory.
#define ZEP_INLINE_LAMBDA __attribute__((always_inline))

// Calls f.operator()<K>() for K = 0 .. N-1 (unrolled at compile time).
template <int N, class F>
[[gnu::always_inline]] inline void unroll(F&& f) {
    auto each = [&]<int... K>(std::integer_sequence<int, K...>) ZEP_INLINE_LAMBDA {
        (f.template operator()<K>(), ...);
    };
    each(std::make_integer_sequence<int, N>{});
}

inline Zep32s hsum_epi32(__m128i v) {
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0x4E));
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0xB1));
    return _mm_cvtsi128_si32(v);
}

// Sum of the two 64-bit halves of a psadbw accumulator.
inline Zep32s hsum_sad(__m128i acc) { return _mm_cvtsi128_si32(_mm_add_epi32(acc, _mm_unpackhi_epi64(acc, acc))); }

// |a - b| of unsigned 16-bit lanes.
inline __m128i absdiff_epu16(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu16(a, b), _mm_subs_epu16(b, a)); }

// Adds unsigned 16-bit lanes pairwise into 32-bit lanes, each lane biased by
// -65536 (pmaddwd is signed); callers add 32768 per 16-bit value summed.
inline __m128i sum_pairs_epu16_biased(__m128i v) {
    return _mm_madd_epi16(_mm_xor_si128(v, _mm_set1_epi16(static_cast<short>(0x8000))), _mm_set1_epi16(1));
}

}  // namespace
}  // namespace zep::x86
