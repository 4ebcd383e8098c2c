// AVS 8x8 block coefficient decoding with the context-adaptive 2-D VLCs:
// Exp-Golomb code numbers mapped through the current table to (run, level)
// pairs, escapes with reference levels, table switching as the largest level
// grows, and placement from the highest frequency down.
#include <cstdint>
#include <cstring>

#include "avs/avs_tables.h"
#include "common/bitstream.h"
#include "frame/check.h"
#include "zepvc.h"

namespace zep {
namespace {

constexpr int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
                             41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
                             30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
constexpr int kField[64] = {0,  8,  16, 1,  24, 32, 9,  17, 40, 48, 25, 2,  10, 56, 33, 18, 3,  41, 49, 26, 11, 19,
                            4,  57, 34, 12, 42, 27, 20, 50, 35, 28, 5,  13, 58, 43, 36, 21, 6,  29, 51, 44, 14, 22,
                            37, 59, 52, 30, 45, 60, 38, 53, 46, 61, 54, 7,  62, 15, 23, 31, 39, 47, 55, 63};

// A code number of order k: the zero bits before the first 1 bit (lz), then
// that bit and lz + k more as v; the number is v - 2^k. Prefixes of any
// length are read in full; numbers past 2^62 come back as 2^62 (they can only
// end the block).
uint64_t exp_golomb(WordReader& r, int k) {
    uint64_t lz = 0;
    while (r.peek(32) == 0) {
        r.skip(32);
        lz += 32;
    }
    lz += static_cast<uint64_t>(__builtin_clz(r.peek(32)));
    r.skip(static_cast<int>(lz % 32));
    r.skip(1);
    uint64_t total = lz + static_cast<uint64_t>(k), v = 1;
    const bool huge = total > 62;
    while (total > 0) {
        const int n = total > 32 ? 32 : static_cast<int>(total);
        const uint32_t bits = r.read(n);
        if (!huge) v = (v << n) | bits;
        total -= static_cast<uint64_t>(n);
    }
    return huge ? uint64_t{1} << 62 : v - (uint64_t{1} << k);
}

struct Pair {
    int run;
    int16_t level;
};

ZepStatus decode(Zep32u** pp, Zep32s* pOffset, Zep32s* pNumCoeff, Zep16s* dst, int scanType, bool fieldScan,
                 const avs::VlcTable* tables, int nTables) {
    WordReader r(*pp, *pOffset & 31);
    Pair pairs[65];
    int n = 0, p = 0, t = 0;
    uint64_t maxLevel = 0;
    while (p < 65) {
        const avs::VlcTable& tab = tables[t];
        const uint64_t code = exp_golomb(r, tab.order);
        int run;
        uint64_t mag;
        int16_t level;
        if (code < 59) {
            run = tab.pair[code][0];
            level = tab.pair[code][1];
            if (p + run > 63) break;
            mag = static_cast<uint64_t>(level < 0 ? -level : level);
        } else {
            const uint64_t r64 = (code - 59) >> 1;
            const uint64_t esc = exp_golomb(r, tab.escOrder);
            if (static_cast<uint64_t>(p) + r64 > 63) break;
            run = static_cast<int>(r64);
            const uint64_t ref = run > tab.runLimit ? 1 : tab.ref[run];
            mag = esc > (uint64_t{1} << 62) - ref ? uint64_t{1} << 62 : esc + ref;
            // Levels keep their low 16 bits; the magnitude chooses the table.
            level = static_cast<int16_t>((code & 1) ? -static_cast<int64_t>(mag) : static_cast<int64_t>(mag));
        }
        pairs[n++] = {run, level};
        p += run + 1;
        if (mag > maxLevel) {
            while (t + 1 < nTables && static_cast<uint64_t>(tables[t].maxLevel) < mag) ++t;
            maxLevel = static_cast<uint64_t>(tables[t].maxLevel);
        }
    }
    r.commit(pp, pOffset);
    std::memset(dst, 0, 64 * sizeof(Zep16s));
    *pNumCoeff = scanType != 0 ? 63 : p;
    const int* scan = fieldScan ? kField : kZigzag;
    int pos = -1;
    for (int i = n - 1; i >= 0; --i) {
        pos += pairs[i].run + 1;
        dst[scan[pos]] = pairs[i].level;
    }
    return zepStatusOk;
}

ZepStatus entry(Zep32u** pp, Zep32s* pOffset, Zep32s* pNumCoeff, Zep16s* dst, Zep32s scanType, bool field,
                const avs::VlcTable* tables, int nTables) {
    ZEP_CHECK_PTRS(pp);
    ZEP_CHECK_PTRS(*pp, pOffset, pNumCoeff, dst);
    return decode(pp, pOffset, pNumCoeff, dst, scanType, field, tables, nTables);
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiDecodeLumaBlockIntra_AVS_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep32s* pNumCoeff,
                                                       Zep16s* pDstCoeffs, Zep32s scanType) {
    return entry(ppBitStream, pBitOffset, pNumCoeff, pDstCoeffs, scanType, scanType & 1, avs::kIntraLumaTables, 7);
}

ZEPVC_API ZepStatus zepiDecodeLumaBlockInter_AVS_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep32s* pNumCoeff,
                                                       Zep16s* pDstCoeffs, Zep32s scanType) {
    return entry(ppBitStream, pBitOffset, pNumCoeff, pDstCoeffs, scanType, scanType & 1, avs::kInterLumaTables, 7);
}

ZEPVC_API ZepStatus zepiDecodeChromaBlock_AVS_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep32s* pNumCoeff,
                                                    Zep16s* pDstCoeffs, Zep32s scanType) {
    return entry(ppBitStream, pBitOffset, pNumCoeff, pDstCoeffs, scanType, scanType != 0, avs::kChromaTables, 5);
}

}  // extern "C"
