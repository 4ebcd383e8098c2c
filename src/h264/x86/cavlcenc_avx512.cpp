// AVX-512 kernels of the H.264 CAVLC syntax analysis, free of data-dependent
// branches: the block is permuted into walk order (highest scan index first)
// in one register of 32-bit lanes; mask registers mark the non-zero, +-1 and
// negative entries; the trailing ones are the lowest (at most three) +-1 bits
// before the first larger level (one pdep), their signs one pext; levels and
// non-zero positions are compressed into consecutive lanes, the runs are the
// differences of neighbouring positions, and masked stores write exactly the
// entries the reference writes.
#pragma GCC diagnostic ignored "-Wuninitialized"  // GCC 12 AVX-512 headers, see fwdquant_avx512.cpp
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include "h264/cavlcenc_dsp.h"

namespace zep {
namespace {

// 3-bit reversal: the first trailing one met goes to the most significant bit.
constexpr Zep8u kRev3[8] = {0, 4, 2, 6, 1, 5, 3, 7};

// c: coefficients in walk order (lane j = walk position j); range: the walk
// positions inside the block's range; span: their count from position 0.
template <class T>
inline void syntax(__m512i c, unsigned range, int span, Zep8u* pTrailingOnes, Zep8u* pTrailingOneSigns,
                   Zep8u* pNumCoeff, Zep8u* pTotalZeros, T* pLevels, Zep8u* pRuns) {
    const unsigned nz = _mm512_test_epi32_mask(c, c) & range;
    const unsigned ones = _mm512_cmpeq_epi32_mask(_mm512_abs_epi32(c), _mm512_set1_epi32(1)) & nz;
    const unsigned neg = _mm512_movepi32_mask(c);
    const unsigned big = nz & ~ones;
    // +-1 entries before the first larger level (all of them when there is none).
    const unsigned candidates = ones & ((big & (0u - big)) - 1u);
    const unsigned trailing = _pdep_u32(7u, candidates);
    const int t = _mm_popcnt_u32(trailing);
    const int n = _mm_popcnt_u32(nz);
    const unsigned others = nz & ~trailing;
    const __m512i levels = _mm512_maskz_compress_epi32(static_cast<__mmask16>(others), c);
    const __mmask16 levelMask = static_cast<__mmask16>((1u << _mm_popcnt_u32(others)) - 1u);
    if constexpr (sizeof(T) == 4) _mm512_mask_storeu_epi32(pLevels, levelMask, levels);
    else _mm256_mask_storeu_epi16(pLevels, levelMask, _mm512_cvtepi32_epi16(levels));
    const __m512i pos = _mm512_maskz_compress_epi32(static_cast<__mmask16>(nz),
                                                    _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13,
                                                                      14, 15));
    const __m512i next = _mm512_alignr_epi32(_mm512_setzero_si512(), pos, 1);
    const __m512i runs = _mm512_sub_epi32(_mm512_sub_epi32(next, pos), _mm512_set1_epi32(1));
    _mm_mask_storeu_epi8(pRuns, static_cast<__mmask16>(((1u << n) - 1u) >> 1), _mm512_cvtepi32_epi8(runs));
    *pTrailingOnes = static_cast<Zep8u>(t);
    *pTrailingOneSigns = static_cast<Zep8u>(kRev3[_pext_u32(neg, trailing)] >> (3 - t));
    *pNumCoeff = static_cast<Zep8u>(n);
    *pTotalZeros = static_cast<Zep8u>(n ? span - static_cast<int>(_tzcnt_u32(nz)) - n : 0);
}

// Walk position j holds scan index 15 - j; entries are taken modulo 16 by the
// permute, so no table value can make it read outside the block.
inline __m512i walk_order(__m512i raster, const Zep32s* scan) {
    const __m512i reversed = _mm512_permutexvar_epi32(
        _mm512_setr_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0), _mm512_loadu_si512(scan));
    return _mm512_permutexvar_epi32(reversed, raster);
}

inline unsigned walk_range(int startIdx, int lastIdx) { return (2u << (15 - startIdx)) - (1u << (15 - lastIdx)); }

void block16(const Zep16s* src, int startIdx, const Zep32s* scan, int lastIdx, Zep8u* pTrailingOnes,
             Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff, Zep8u* pTotalZeros, Zep16s* pLevels, Zep8u* pRuns) {
    const __m512i raster = _mm512_cvtepi16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(src)));
    syntax<Zep16s>(walk_order(raster, scan), walk_range(startIdx, lastIdx), 16 - startIdx, pTrailingOnes,
                   pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
}

void block32(const Zep32s* src, int startIdx, const Zep32s* scan, int lastIdx, Zep8u* pTrailingOnes,
             Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff, Zep8u* pTotalZeros, Zep32s* pLevels, Zep8u* pRuns) {
    syntax<Zep32s>(walk_order(_mm512_loadu_si512(src), scan), walk_range(startIdx, lastIdx), 16 - startIdx,
                   pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
}

}  // namespace

void cavlcenc_install_avx512(CavlcEncDsp& t) {
    t.block16 = block16;
    t.block32 = block32;
}

}  // namespace zep
