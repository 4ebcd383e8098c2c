// H.264 CAVLC residual decoding and the Exp-Golomb reader.
//
// The decoders read a private copy of the stream position and write it back
// only on success (or, when a table needed mid-decode is missing, where the
// decode stopped), so a corrupt block leaves the caller's position at entry.
//
// Beyond the syntax checks every caller relies on, corrupt streams and
// non-standard tables are caught where they could reach memory outside the
// block: a coeff_token with TotalCoeff above the block's coefficient count or
// more trailing ones than 3 or than TotalCoeff, a total_zeros larger than the
// free positions, and (chroma DC, which has no clamp) a run_before larger than
// zerosLeft all give zepStatusBitstreamErr; scan positions are taken modulo 16.
// Conforming streams with the standard's tables never meet these checks.
#include <algorithm>

#include "common/bitstream.h"
#include "frame/check.h"
#include "vlc/huffman.h"
#include "zepvc.h"

namespace zep {
namespace {

using Table = const Zep32u*;

// Zero bits before the next 1 bit; the 1 is consumed. Unbounded, as the syntax.
[[gnu::always_inline]] inline int read_zero_run(WordReader& r) {
    int n = 0;
    for (;;) {
        const uint32_t v = r.peek(32);
        if (v) {
            const int z = __builtin_clz(v);
            r.skip(z + 1);
            return n + z;
        }
        r.skip(32);
        n += 32;
    }
}

// Levels TrailingOnes..TotalCoeff-1 (trailing ones already in lv[0..t1-1]).
// Values are the 32-bit levels; the 16s decoders keep their low 16 bits.
void decode_levels(WordReader& r, int tc, int t1, int* lv) {
    static constexpr int kThreshold[6] = {0, 3, 6, 12, 24, 48};
    int sl = (tc > 10 && t1 < 3) ? 1 : 0;
    int prev = 0;
    for (int i = 0; i < tc - t1; ++i) {
        if (i == 1 && prev >= 4) sl = 2;
        else if (sl < 6 && prev > kThreshold[sl]) ++sl;
        const int adj = (i == 0 && t1 < 3) ? 1 : 0;
        const int lp = read_zero_run(r);
        int level;
        if (lp < 16) {
            int size, base;
            if (sl == 0) {
                size = lp < 14 ? 0 : (lp == 14 ? 4 : 12);
                base = lp < 14 ? 1 : (lp == 14 ? 8 : 16);
            } else {
                size = lp == 15 ? 12 : sl;
                base = (lp << (sl - 1)) + 1;
            }
            const int u = size ? static_cast<int>(r.read(size)) : lp;
            const int mag = (base + (u >> 1) + adj) & 0xFFFF;
            level = (u & 1) ? -mag : mag;
            prev = mag;
        } else {
            // Escape: only the low 16 bits of levelCode count, so of a suffix
            // longer than 16 bits only its last 16 bits are kept.
            const int n = lp - 3;
            uint32_t s;
            if (n > 16) {
                r.skip(n - 16);
                s = r.read(16);
            } else {
                s = r.read(n);
            }
            const uint32_t pow = n < 16 ? (1u << n) : 0u;
            uint32_t code = (15u << sl) + s + pow - 4096u + 2u * adj + (sl == 0 ? 15u : 0u);
            code &= 0xFFFF;
            level = (code & 1) ? ((-static_cast<int>(code) - 1) >> 1) : ((static_cast<int>(code) + 2) >> 1);
            prev = level < 0 ? -level : level;
        }
        lv[t1 + i] = level;
    }
}

// Trailing-one signs: first bit read is level 0 (highest frequency).
[[gnu::always_inline]] inline void read_trailing_ones(WordReader& r, int t1, int* lv) {
    if (t1 == 0) return;
    const uint32_t bits = r.read(t1);
    for (int i = 0; i < t1; ++i) lv[i] = ((bits >> (t1 - 1 - i)) & 1) ? -1 : 1;
}

[[gnu::always_inline]] inline bool token_ok(int tc, int t1, int maxCoeffs) {
    return tc <= maxCoeffs && t1 <= 3 && t1 <= tc;
}

enum class Outcome { Ok, MissingTable, Corrupt };

// total_zeros and the placement of the levels, shared by every block kind.
// Pos maps the index zerosLeft + remaining - 1 to the output element.
template <bool ClampRuns, class T, class Pos>
Outcome place(WordReader& r, int tc, int maxCoeffs, const int* lv, const Zep32s* const* tzTables,
              const Zep32s* const* rbTables, T* out, Pos pos) {
    int zerosLeft = 0;
    if (tc < maxCoeffs) {
        const auto* t = reinterpret_cast<Table>(tzTables[tc]);
        if (!t) return Outcome::MissingTable;
        const Zep32u e = vlc::lookup(r, t);
        if (vlc::is_invalid(e)) return Outcome::Corrupt;
        zerosLeft = static_cast<int>(e >> 8);
        if (zerosLeft < 0 || zerosLeft > maxCoeffs - tc) return Outcome::Corrupt;
    }
    for (int k = 0; k < tc; ++k) {
        const int remaining = tc - k;
        int run = zerosLeft;
        if (remaining > 1 && zerosLeft > 0) {
            const auto* t = reinterpret_cast<Table>(rbTables[zerosLeft]);
            if (!t) return Outcome::MissingTable;
            const Zep32u e = vlc::lookup(r, t);
            if (vlc::is_invalid(e)) return Outcome::Corrupt;
            run = static_cast<int>(e >> 8);
        }
        out[pos(zerosLeft + remaining - 1)] = static_cast<T>(lv[k]);
        if constexpr (ClampRuns) {
            zerosLeft -= std::min(zerosLeft, run);
        } else {
            if (run < 0 || run > zerosLeft) return Outcome::Corrupt;
            zerosLeft -= run;
        }
    }
    return Outcome::Ok;
}

template <class R>
ZepStatus finish(Outcome o, const WordReader& r, Zep32u** ppBitStream, Zep32s* pBitOffset, R** ppCoeffBuf, int n) {
    switch (o) {
        case Outcome::Ok:
            r.commit(ppBitStream, pBitOffset);
            *ppCoeffBuf += n;
            return zepStatusOk;
        case Outcome::MissingTable:
            r.commit(ppBitStream, pBitOffset);
            return zepStatusNullPtr;
        case Outcome::Corrupt:
        default:
            return zepStatusBitstreamErr;
    }
}

template <class T>
ZepStatus cavlc_4x4(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pNumCoeff, T** ppCoeffBuf, Zep32s vlcSelect,
                    int maxCoeffs, const Zep32s* const* ctTables, const Zep32s* const* tzTables,
                    const Zep32s* const* rbTables, const Zep32s* pScan) {
    WordReader r(*ppBitStream, *pBitOffset & 31);
    int tc, t1;
    if (vlcSelect < 8) {
        const Zep32u e = vlc::lookup(r, reinterpret_cast<Table>(ctTables[vlcSelect < 4 ? vlcSelect >> 1 : 2]));
        if (vlc::is_invalid(e)) return zepStatusBitstreamErr;
        t1 = static_cast<int>((e >> 8) & 0xFF);
        tc = static_cast<int>((e >> 16) & 0xFF);
    } else {
        const int c = static_cast<int>(r.read(6));
        t1 = c == 3 ? 0 : (c & 3);
        tc = c == 3 ? 0 : (c >> 2) + 1;
    }
    if (!token_ok(tc, t1, maxCoeffs)) return zepStatusBitstreamErr;
    *pNumCoeff = static_cast<Zep16s>(tc);
    int lv[16];
    read_trailing_ones(r, t1, lv);
    if (tc == 0) {
        r.commit(ppBitStream, pBitOffset);
        return zepStatusOk;
    }
    T* out = *ppCoeffBuf;
    std::fill(out, out + 16, T(0));
    decode_levels(r, tc, t1, lv);
    const int off = 16 - maxCoeffs;
    const Outcome o = place<true>(r, tc, maxCoeffs, lv, tzTables, rbTables, out,
                                  [&](int i) { return pScan[i + off] & 15; });
    return finish(o, r, ppBitStream, pBitOffset, ppCoeffBuf, 16);
}

// The 4:2:2 chroma DC scan into a 2-wide, 4-high raster.
constexpr int kScan2x4[8] = {0, 2, 1, 4, 6, 3, 5, 7};

template <int N, class T>
ZepStatus cavlc_chroma_dc(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pNumCoeff, T** ppCoeffBuf,
                          const Zep32s* ctTable, const Zep32s* const* tzTables, const Zep32s* const* rbTables) {
    WordReader r(*ppBitStream, *pBitOffset & 31);
    const Zep32u e = vlc::lookup(r, reinterpret_cast<Table>(ctTable));
    if (vlc::is_invalid(e)) return zepStatusBitstreamErr;
    const int t1 = static_cast<int>((e >> 8) & 0xFF);
    const int tc = static_cast<int>((e >> 16) & 0xFF);
    if (!token_ok(tc, t1, N)) return zepStatusBitstreamErr;
    *pNumCoeff = static_cast<Zep16s>(tc);
    int lv[16];
    read_trailing_ones(r, t1, lv);
    if (tc == 0) {
        r.commit(ppBitStream, pBitOffset);
        return zepStatusOk;
    }
    T* out = *ppCoeffBuf;
    std::fill(out, out + N, T(0));
    decode_levels(r, tc, t1, lv);
    Outcome o;
    if constexpr (N == 4)
        o = place<false>(r, tc, N, lv, tzTables, rbTables, out, [](int i) { return i; });
    else
        o = place<false>(r, tc, N, lv, tzTables, rbTables, out, [](int i) { return kScan2x4[i]; });
    return finish(o, r, ppBitStream, pBitOffset, ppCoeffBuf, N);
}

// The two shortest 2x2 chroma DC coeff_tokens, decoded without the table:
// "1" (one trailing one) with its sign and total_zeros in one 5-bit lookup,
// indexed by the four bits after the "1": sign, then up to three bits of
// total_zeros (1 -> 0, 01 -> 1, 001 -> 2, 000 -> 3). Entry: bits consumed
// after the "1" in the low byte, element index in the next.
constexpr uint16_t kDc420One[16] = {
    (3 << 8) | 4, (2 << 8) | 4, (1 << 8) | 3, (1 << 8) | 3, (0 << 8) | 2, (0 << 8) | 2, (0 << 8) | 2, (0 << 8) | 2,
    (3 << 8) | 4, (2 << 8) | 4, (1 << 8) | 3, (1 << 8) | 3, (0 << 8) | 2, (0 << 8) | 2, (0 << 8) | 2, (0 << 8) | 2,
};

ZepStatus cavlc_chroma_dc420_16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pNumCoeff, Zep16s** ppCoeffBuf,
                                 const Zep32s* ctTable, const Zep32s* const* tzTables,
                                 const Zep32s* const* rbTables) {
    WordReader r(*ppBitStream, *pBitOffset & 31);
    const uint32_t v = r.peek(5);
    if (v >= 16) {
        const uint16_t e = kDc420One[v & 15];
        r.skip(1 + (e & 0xFF));
        *pNumCoeff = 1;
        Zep16s* out = *ppCoeffBuf;
        out[0] = out[1] = out[2] = out[3] = 0;
        out[e >> 8] = (v & 8) ? -1 : 1;
        r.commit(ppBitStream, pBitOffset);
        *ppCoeffBuf += 4;
        return zepStatusOk;
    }
    if ((v >> 3) == 1) {
        r.skip(2);
        *pNumCoeff = 0;
        r.commit(ppBitStream, pBitOffset);
        return zepStatusOk;
    }
    return cavlc_chroma_dc<4>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, ctTable, tzTables, rbTables);
}

// ue(v) / se(v). Returns the 32-bit value through *value.
ZepStatus exp_golomb(Zep32u** ppBitStream, Zep32s* pBitOffset, bool isSigned, Zep32s* value) {
    WordReader r(*ppBitStream, *pBitOffset);
    if (r.read_bit()) {
        r.commit(ppBitStream, pBitOffset);
        *value = 0;
        return zepStatusOk;
    }
    const WordReader afterFirst = r;
    int zeros = 0;
    for (;;) {
        const uint32_t v = r.peek(8);
        if (v) {
            const int z = __builtin_clz(v) - 24;
            r.skip(z + 1);
            zeros += z;
            break;
        }
        r.skip(8);
        zeros += 8;
        // Already too long: stop scanning (the position is restored anyway).
        if (zeros > 31) break;
    }
    const int lz = 1 + zeros;
    if (lz > 32) {
        afterFirst.commit(ppBitStream, pBitOffset);
        return zepStatusBitstreamErr;
    }
    const uint32_t b = r.read(lz);
    const uint32_t codeNum = static_cast<uint32_t>((uint64_t{1} << lz) + b - 1);
    r.commit(ppBitStream, pBitOffset);
    if (!isSigned) *value = static_cast<Zep32s>(codeNum);
    else if (codeNum & 1) *value = static_cast<Zep32s>(static_cast<uint32_t>((uint64_t{codeNum} + 1) / 2));
    else *value = -static_cast<Zep32s>(codeNum / 2);
    return zepStatusOk;
}

template <class T>
ZepStatus cavlc_4x4_entry(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pNumCoeff, T** ppCoeffBuf,
                          Zep32s vlcSelect, Zep16s maxCoeffs, const Zep32s* const* ppCoeffTokenTables,
                          const Zep32s* const* ppTotalZerosTables, const Zep32s* const* ppRunBeforeTables,
                          const Zep32s* pScan) {
    ZEP_CHECK_PTRS(ppBitStream, pBitOffset, ppCoeffBuf, pNumCoeff, ppCoeffTokenTables, ppTotalZerosTables,
                   ppRunBeforeTables, pScan);
    ZEP_CHECK_PTRS(*ppBitStream);
    ZEP_CHECK_PTRS(*ppCoeffBuf);
    if (maxCoeffs != 16 && maxCoeffs != 15) return zepStatusOutOfRange;
    if (vlcSelect < 0) return zepStatusOutOfRange;
    if (vlcSelect < 8 && !ppCoeffTokenTables[vlcSelect < 4 ? vlcSelect >> 1 : 2]) return zepStatusNullPtr;
    return cavlc_4x4(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, vlcSelect, maxCoeffs, ppCoeffTokenTables,
                     ppTotalZerosTables, ppRunBeforeTables, pScan);
}

template <int N, class T>
ZepStatus chroma_entry(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pNumCoeff, T** ppCoeffBuf,
                       const Zep32s* pCoeffTokenTable, const Zep32s* const* ppTotalZerosTables,
                       const Zep32s* const* ppRunBeforeTables) {
    ZEP_CHECK_PTRS(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, pCoeffTokenTable, ppTotalZerosTables,
                   ppRunBeforeTables);
    ZEP_CHECK_PTRS(*ppCoeffBuf, *ppBitStream);
    return cavlc_chroma_dc<N>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, pCoeffTokenTable, ppTotalZerosTables,
                              ppRunBeforeTables);
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiDecodeCAVLCCoeffs_H264_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pNumCoeff,
                                                     Zep16s** ppCoeffBuf, Zep32s vlcSelect, Zep16s maxCoeffs,
                                                     const Zep32s* const* ppCoeffTokenTables,
                                                     const Zep32s* const* ppTotalZerosTables,
                                                     const Zep32s* const* ppRunBeforeTables, const Zep32s* pScan) {
    return cavlc_4x4_entry(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, vlcSelect, maxCoeffs, ppCoeffTokenTables,
                           ppTotalZerosTables, ppRunBeforeTables, pScan);
}

ZEPVC_API ZepStatus zepiDecodeCAVLCCoeffs_H264_1u32s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pNumCoeff,
                                                     Zep32s** ppCoeffBuf, Zep32s vlcSelect, Zep16s maxCoeffs,
                                                     const Zep32s* const* ppCoeffTokenTables,
                                                     const Zep32s* const* ppTotalZerosTables,
                                                     const Zep32s* const* ppRunBeforeTables, const Zep32s* pScan) {
    return cavlc_4x4_entry(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, vlcSelect, maxCoeffs, ppCoeffTokenTables,
                           ppTotalZerosTables, ppRunBeforeTables, pScan);
}

ZEPVC_API ZepStatus zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset,
                                                             Zep16s* pNumCoeff, Zep16s** ppCoeffBuf,
                                                             const Zep32s* pCoeffTokenTable,
                                                             const Zep32s* const* ppTotalZerosTables,
                                                             const Zep32s* const* ppRunBeforeTables) {
    ZEP_CHECK_PTRS(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, pCoeffTokenTable, ppTotalZerosTables,
                   ppRunBeforeTables);
    ZEP_CHECK_PTRS(*ppCoeffBuf, *ppBitStream);
    return cavlc_chroma_dc420_16s(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, pCoeffTokenTable,
                                  ppTotalZerosTables, ppRunBeforeTables);
}

ZEPVC_API ZepStatus zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s(Zep32u** ppBitStream, Zep32s* pBitOffset,
                                                             Zep16s* pNumCoeff, Zep32s** ppCoeffBuf,
                                                             const Zep32s* pCoeffTokenTable,
                                                             const Zep32s* const* ppTotalZerosTables,
                                                             const Zep32s* const* ppRunBeforeTables) {
    return chroma_entry<4>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, pCoeffTokenTable, ppTotalZerosTables,
                           ppRunBeforeTables);
}

ZEPVC_API ZepStatus zepiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset,
                                                                Zep16s* pNumCoeff, Zep16s** ppCoeffBuf,
                                                                const Zep32s* pCoeffTokenTable,
                                                                const Zep32s* const* ppTotalZerosTables,
                                                                const Zep32s* const* ppRunBeforeTables) {
    return chroma_entry<8>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, pCoeffTokenTable, ppTotalZerosTables,
                           ppRunBeforeTables);
}

ZEPVC_API ZepStatus zepiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(Zep32u** ppBitStream, Zep32s* pBitOffset,
                                                                Zep16s* pNumCoeff, Zep32s** ppCoeffBuf,
                                                                const Zep32s* pCoeffTokenTable,
                                                                const Zep32s* const* ppTotalZerosTables,
                                                                const Zep32s* const* ppRunBeforeTables) {
    return chroma_entry<8>(ppBitStream, pBitOffset, pNumCoeff, ppCoeffBuf, pCoeffTokenTable, ppTotalZerosTables,
                           ppRunBeforeTables);
}

ZEPVC_API ZepStatus zepiDecodeExpGolombOne_H264_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pDst,
                                                      Zep8u isSigned) {
    ZEP_CHECK_PTRS(ppBitStream, pBitOffset, pDst);
    ZEP_CHECK_PTRS(*ppBitStream);
    if (static_cast<Zep32u>(*pBitOffset) > 31) return zepStatusBadArg;
    Zep32s v;
    const ZepStatus st = exp_golomb(ppBitStream, pBitOffset, isSigned != 0, &v);
    if (st == zepStatusOk) *pDst = static_cast<Zep16s>(v);
    return st;
}

ZEPVC_API ZepStatus zepiDecodeExpGolombOne_H264_1u32s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep32s* pDst,
                                                      Zep32s isSigned) {
    ZEP_CHECK_PTRS(ppBitStream, pBitOffset, pDst);
    ZEP_CHECK_PTRS(*ppBitStream);
    if (static_cast<Zep32u>(*pBitOffset) > 31) return zepStatusBadArg;
    Zep32s v;
    const ZepStatus st = exp_golomb(ppBitStream, pBitOffset, isSigned != 0, &v);
    if (st == zepStatusOk) *pDst = v;
    return st;
}

}  // extern "C"
