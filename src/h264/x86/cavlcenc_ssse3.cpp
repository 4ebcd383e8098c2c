// SSSE3 kernels of the H.264 CAVLC syntax analysis. The block is put in scan
// order with byte shuffles built from the caller's scan table (no per-element
// loads, and no read outside the block whatever the table holds), one compare
// gives the non-zero mask, and the walk visits only the non-zero coefficients,
// highest scan index first; the runs fall out of the distances between bits.
#include <immintrin.h>

#include "h264/cavlcenc_dsp.h"

namespace zep {
namespace {

inline __m128i load128(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

// Visits the set bits of `nz` lowest first: bit j is walk position j (the
// highest scan index considered is position 0), so the loop-carried work is a
// clear-lowest-bit, not a bit scan. `span` is the number of walked positions;
// get(j) returns the coefficient at walk position j.
template <class T, class Get>
inline void walk_bits(unsigned nz, int span, Get get, Zep8u* pTrailingOnes, Zep8u* pTrailingOneSigns,
                      Zep8u* pNumCoeff, Zep8u* pTotalZeros, T* pLevels, Zep8u* pRuns) {
    if (nz == 0) {
        *pTrailingOnes = 0;
        *pTrailingOneSigns = 0;
        *pNumCoeff = 0;
        *pTotalZeros = 0;
        return;
    }
    const int first = __builtin_ctz(nz);
    int n = 0, t = 0, s = 0, prev = first;
    bool collecting = true;
    do {
        const int j = __builtin_ctz(nz);
        nz &= nz - 1;
        const T c = get(j);
        if (collecting && (c == 1 || c == -1)) {
            ++t;
            s = (s << 1) | (c < 0 ? 1 : 0);
            collecting = t < 3;
        } else {
            pLevels[n - t] = c;
            collecting = false;
        }
        if (n > 0) pRuns[n - 1] = static_cast<Zep8u>(j - prev - 1);
        prev = j;
        ++n;
    } while (nz != 0);
    *pTrailingOnes = static_cast<Zep8u>(t);
    *pTrailingOneSigns = static_cast<Zep8u>(s);
    *pNumCoeff = static_cast<Zep8u>(n);
    *pTotalZeros = static_cast<Zep8u>(span - first - n);
}

// Byte shuffles that gather 16-bit element scan[15 - j] of a 16-element block
// held in two registers into lane j (walk order: highest scan index first).
// Out-of-range table entries pick some element of the block (never memory
// outside it).
struct ScanGather {
    __m128i lo[2], hi[2];  // for output lanes 0..7 and 8..15, from source bytes 0..15 / 16..31
};

inline ScanGather scan_gather(const Zep32s* scan) {
    ScanGather g;
    const __m128i one = _mm_set1_epi16(1), bit7 = _mm_set1_epi8(static_cast<char>(0x80));
    const __m128i fifteen = _mm_set1_epi8(15), mask31 = _mm_set1_epi8(31);
    for (int h = 0; h < 2; ++h) {
        const __m128i pos = _mm_packs_epi32(_mm_shuffle_epi32(load128(scan + 12 - 8 * h), _MM_SHUFFLE(0, 1, 2, 3)),
                                            _mm_shuffle_epi32(load128(scan + 8 - 8 * h), _MM_SHUFFLE(0, 1, 2, 3)));
        const __m128i twice = _mm_add_epi16(pos, pos);
        // Low byte 2p, high byte 2p + 1, kept to 0..31.
        const __m128i idx =
            _mm_and_si128(_mm_or_si128(twice, _mm_slli_epi16(_mm_add_epi16(twice, one), 8)), mask31);
        const __m128i inHi = _mm_cmpgt_epi8(idx, fifteen);
        g.lo[h] = _mm_or_si128(idx, inHi);
        g.hi[h] = _mm_or_si128(idx, _mm_andnot_si128(inHi, bit7));
    }
    return g;
}

inline __m128i gather_half(const ScanGather& g, int h, __m128i src0, __m128i src1) {
    return _mm_or_si128(_mm_shuffle_epi8(src0, g.lo[h]), _mm_shuffle_epi8(src1, g.hi[h]));
}

// Bit i set when lane i (of two registers of eight 16-bit lanes) is non-zero.
inline unsigned nonzero_mask16(__m128i a, __m128i b) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i z = _mm_packs_epi16(_mm_cmpeq_epi16(a, zero), _mm_cmpeq_epi16(b, zero));
    return ~static_cast<unsigned>(_mm_movemask_epi8(z)) & 0xFFFFu;
}

// Walk positions of scan indexes startIdx..lastIdx.
inline unsigned walk_range(int startIdx, int lastIdx) { return (2u << (15 - startIdx)) - (1u << (15 - lastIdx)); }

void block16(const Zep16s* src, int startIdx, const Zep32s* scan, int lastIdx, Zep8u* pTrailingOnes,
             Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff, Zep8u* pTotalZeros, Zep16s* pLevels, Zep8u* pRuns) {
    const ScanGather g = scan_gather(scan);
    const __m128i s0 = load128(src), s1 = load128(src + 8);
    alignas(16) Zep16s inScan[16];
    const __m128i a = gather_half(g, 0, s0, s1), b = gather_half(g, 1, s0, s1);
    _mm_store_si128(reinterpret_cast<__m128i*>(inScan), a);
    _mm_store_si128(reinterpret_cast<__m128i*>(inScan + 8), b);
    walk_bits<Zep16s>(
        nonzero_mask16(a, b) & walk_range(startIdx, lastIdx), 16 - startIdx, [&](int j) { return inScan[j]; },
        pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
}

// The mask comes from the block saturated to 16 bits (which keeps non-zero
// values non-zero); the values themselves are read only for non-zero entries.
void block32(const Zep32s* src, int startIdx, const Zep32s* scan, int lastIdx, Zep8u* pTrailingOnes,
             Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff, Zep8u* pTotalZeros, Zep32s* pLevels, Zep8u* pRuns) {
    const ScanGather g = scan_gather(scan);
    const __m128i s0 = _mm_packs_epi32(load128(src), load128(src + 4));
    const __m128i s1 = _mm_packs_epi32(load128(src + 8), load128(src + 12));
    walk_bits<Zep32s>(
        nonzero_mask16(gather_half(g, 0, s0, s1), gather_half(g, 1, s0, s1)) & walk_range(startIdx, lastIdx),
        16 - startIdx, [&](int j) { return src[scan[15 - j]]; }, pTrailingOnes, pTrailingOneSigns, pNumCoeff,
        pTotalZeros, pLevels, pRuns);
}

// Chroma DC: the walk order is fixed, so a constant shuffle puts the block in
// walk order.
template <class T, int N>
void dc(const T* src, Zep8u* pTrailingOnes, Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff, Zep8u* pTotalZeros,
        T* pLevels, Zep8u* pRuns) {
    __m128i v;
    if constexpr (sizeof(T) == 2) {
        v = N == 4 ? _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src)) : load128(src);
    } else {
        v = N == 4 ? _mm_packs_epi32(load128(src), _mm_setzero_si128())
                   : _mm_packs_epi32(load128(src), load128(src + 4));
    }
    // Elements 3, 2, 1, 0 resp. 7, 5, 3, 6, 4, 1, 2, 0.
    const __m128i order = N == 4 ? _mm_setr_epi8(6, 7, 4, 5, 2, 3, 0, 1, -1, -1, -1, -1, -1, -1, -1, -1)
                                 : _mm_setr_epi8(14, 15, 10, 11, 6, 7, 12, 13, 8, 9, 2, 3, 4, 5, 0, 1);
    constexpr int kOrder[8] = {7, 5, 3, 6, 4, 1, 2, 0};
    const unsigned nz = nonzero_mask16(_mm_shuffle_epi8(v, order), _mm_setzero_si128()) & ((1u << N) - 1);
    walk_bits<T>(
        nz, N, [&](int j) { return src[N == 4 ? 3 - j : kOrder[j]]; }, pTrailingOnes, pTrailingOneSigns, pNumCoeff,
        pTotalZeros, pLevels, pRuns);
}

}  // namespace

void cavlcenc_install_ssse3(CavlcEncDsp& t) {
    t.block16 = block16;
    t.block32 = block32;
    t.dc2x2_16 = dc<Zep16s, 4>;
    t.dc2x2_32 = dc<Zep32s, 4>;
    t.dc2x4_16 = dc<Zep16s, 8>;
    t.dc2x4_32 = dc<Zep32s, 8>;
}

}  // namespace zep
