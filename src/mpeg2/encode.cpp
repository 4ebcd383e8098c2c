// The MPEG-2 encoder half: the reference encoders' quantisers, the run-level
// encode table built from the decoder's own code description, and the block
// writers whose output the block decoders read back.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "frame/alloc.h"
#include "frame/check.h"
#include "zepvc.h"

namespace zep {
namespace {

// ---- quantisation

ZepStatus quant_checks(const Zep16s* c, Zep32s qp, const Zep16s* w, const Zep32s* nz) {
    ZEP_CHECK_PTRS(c, nz);
    if (qp == 0) return zepStatusDivByZero;
    if (w)
        for (int i = 0; i < 64; ++i)
            if (w[i] == 0) return zepStatusDivByZero;
    if (qp < 0 || qp > 112) return zepStatusOutOfRange;
    return zepStatusOk;
}

int weight(const Zep16s* w, int i) { return w ? w[i] : 16; }

// (32 |c| + W / 2) / W: the coefficient in units of the weight.
int64_t weighted(int c, int w) {
    const int64_t a = std::llabs(c);
    return (32 * a + w / 2) / w;
}

Zep16s with_sign(int64_t mag, int c) {
    if (mag > 2047) mag = 2047;
    return static_cast<Zep16s>(c < 0 ? -mag : mag);
}

// ---- the encode table: (code << 8) | length by run * 128 + level + 64; then end of block, escape

constexpr int kLevels = 128, kEob = 64 * kLevels, kEscape = kEob + 1, kWords = kEob + 2;

// ---- the word-stream writer

class Writer {
public:
    Writer(Zep32u* word, int bit) : p_(word), bit_(bit) {}
    void put(uint32_t v, int n) {
        while (n > 0) {
            const int take = n < bit_ + 1 ? n : bit_ + 1;
            const uint32_t bits = (v >> (n - take)) & ((take == 32) ? 0xFFFFFFFFu : ((1u << take) - 1));
            const uint32_t below = bit_ == 31 ? 0xFFFFFFFFu : ((1u << (bit_ + 1)) - 1);
            *p_ = (*p_ & ~below) | (bits << (bit_ + 1 - take));
            bit_ -= take;
            n -= take;
            if (bit_ < 0) {
                ++p_;
                bit_ = 31;
            }
        }
    }
    void code(Zep32u entry) { put(entry >> 8, static_cast<int>(entry & 0xFF)); }
    void commit(Zep32u** pp, Zep32s* pBit) const {
        *pp = p_;
        *pBit = bit_;
    }

private:
    Zep32u* p_;
    int bit_;
};

Zep32u pair_code(const Zep32u* t, int run, int level) {
    if (run > 63 || level < -64 || level > 63) return 0;
    return t[run * kLevels + level + 64];
}

void put_pair(Writer& w, const Zep32u* t, int run, int level) {
    if (const Zep32u e = pair_code(t, run, level)) {
        w.code(e);
        return;
    }
    w.code(t[kEscape]);
    w.put(static_cast<uint32_t>(run), 6);
    w.put(static_cast<uint32_t>(level) & 0xFFF, 12);
}

bool levels_ok(const Zep16s* b, int from) {
    for (int i = from; i < 64; ++i)
        if (b[i] < -2047 || b[i] > 2047) return false;
    return true;
}

// The AC (or all) pairs of a block in scan order, from scan position `from`.
void put_pairs(Writer& w, const Zep32u* t, const Zep16s* b, const Zep32s* scan, int from, bool firstShort) {
    int run = 0;
    bool first = true;
    for (int i = from; i < 64; ++i) {
        const int v = b[scan[i] & 63];
        if (v == 0) {
            ++run;
            continue;
        }
        if (first && firstShort && run == 0 && (v == 1 || v == -1)) w.put(v < 0 ? 3u : 2u, 2);  // "1s"
        else put_pair(w, t, run, v);
        first = false;
        run = 0;
    }
    w.code(t[kEob]);
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiQuantIntra_MPEG2_16s_C1I(Zep16s* pSrcDst, Zep32s QP, const Zep16s* pQPMatrix,
                                                 Zep32s shiftDCVal, Zep32s* pCountNonZero) {
    if (const ZepStatus st = quant_checks(pSrcDst, QP, pQPMatrix, pCountNonZero); st != zepStatusOk) return st;
    const int shift = shiftDCVal & 3;
    int count = 0;
    for (int i = 1; i < 64; ++i) {
        const int c = pSrcDst[i];
        const int64_t x = weighted(c, weight(pQPMatrix, i));
        pSrcDst[i] = with_sign((x + ((3 * QP + 2) >> 2)) / (2 * QP), c);
        count += pSrcDst[i] != 0;
    }
    const int dc = pSrcDst[0], half = (1 << shift) >> 1;
    pSrcDst[0] = static_cast<Zep16s>(dc < 0 ? -((-dc + half) >> shift) : (dc + half) >> shift);
    count += pSrcDst[0] != 0;
    *pCountNonZero = count;
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiQuant_MPEG2_16s_C1I(Zep16s* pSrcDst, Zep32s QP, const Zep16s* pQPMatrix,
                                            Zep32s* pCountNonZero) {
    if (const ZepStatus st = quant_checks(pSrcDst, QP, pQPMatrix, pCountNonZero); st != zepStatusOk) return st;
    int count = 0;
    for (int i = 0; i < 64; ++i) {
        const int c = pSrcDst[i];
        pSrcDst[i] = with_sign(weighted(c, weight(pQPMatrix, i)) / (2 * QP), c);
        count += pSrcDst[i] != 0;
    }
    *pCountNonZero = count;
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiCreateRLEncodeTable(const Zep32s* pSrcTable, Zep32s** ppDstSpec) {
    ZEP_CHECK_PTRS(pSrcTable, ppDstSpec);
    Zep32u* t = static_cast<Zep32u*>(alloc_bytes(kWords * 4));
    if (t == nullptr) return zepStatusNoMemory;
    std::memset(t, 0, kWords * 4);
    // Description: ignored word, L, L level widths, then groups by length 1, 2, ... ended by a negative count.
    const Zep32s levels = pSrcTable[1];
    const Zep32s* p = pSrcTable + 2 + (levels > 0 ? levels : 0);
    for (int len = 1; *p >= 0 && len <= 32; ++len) {
        const Zep32s n = *p++;
        for (Zep32s k = 0; k < n; ++k, p += 3) {
            const Zep32u code = static_cast<Zep32u>(p[0]) & (len == 32 ? 0xFFFFFFFFu : ((1u << len) - 1));
            if (len > 24) continue;  // the entry keeps 24 bits of code
            const Zep32u entry = (code << 8) | static_cast<Zep32u>(len);
            const int run = p[1], level = p[2];
            if (run == 254) t[kEob] = entry;
            else if (run == 255) t[kEscape] = entry;
            else if (run >= 0 && run < 64 && level >= -64 && level < 64 && level != 0)
                t[run * kLevels + level + 64] = entry;
        }
    }
    if (t[kEob] == 0 || t[kEscape] == 0) {
        release(t);
        return zepStatusBitstreamErr;
    }
    *ppDstSpec = reinterpret_cast<Zep32s*>(t);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiPutIntraBlock(Zep32u** ppBitStream, Zep32s* pOffset, const Zep16s* pSrcBlock, Zep16s* pDCPred,
                                      const Zep32s* pRLTable, const Zep32u* pDCSizeCodes, const Zep32s* pScanMatrix) {
    ZEP_CHECK_PTRS(ppBitStream, pOffset, pSrcBlock, pDCPred, pRLTable, pDCSizeCodes, pScanMatrix);
    ZEP_CHECK_PTRS(*ppBitStream);
    const int diff = pSrcBlock[0] - *pDCPred;
    int size = 0;
    for (int a = diff < 0 ? -diff : diff; a; a >>= 1) ++size;
    if (size > 11 || !levels_ok(pSrcBlock, 1)) return zepStatusOutOfRange;
    Writer w(*ppBitStream, *pOffset & 31);
    w.code(pDCSizeCodes[size]);
    if (size) w.put(static_cast<uint32_t>(diff > 0 ? diff : diff + (1 << size) - 1), size);
    put_pairs(w, reinterpret_cast<const Zep32u*>(pRLTable), pSrcBlock, pScanMatrix, 1, false);
    *pDCPred = pSrcBlock[0];
    w.commit(ppBitStream, pOffset);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiPutNonIntraBlock(Zep32u** ppBitStream, Zep32s* pOffset, const Zep16s* pSrcBlock,
                                         const Zep32s* pRLTable, const Zep32s* pScanMatrix) {
    ZEP_CHECK_PTRS(ppBitStream, pOffset, pSrcBlock, pRLTable, pScanMatrix);
    ZEP_CHECK_PTRS(*ppBitStream);
    if (!levels_ok(pSrcBlock, 0)) return zepStatusOutOfRange;
    bool any = false;
    for (int i = 0; i < 64; ++i) any = any || pSrcBlock[i] != 0;
    if (!any) return zepStatusOk;
    Writer w(*ppBitStream, *pOffset & 31);
    put_pairs(w, reinterpret_cast<const Zep32u*>(pRLTable), pSrcBlock, pScanMatrix, 0, true);
    w.commit(ppBitStream, pOffset);
    return zepStatusOk;
}

}  // extern "C"
