// H.263 and H.261 coefficient decoding (and the intra DC decoders of H.263 and
// MPEG-4): one block's run-level codes from a byte stream, through the packed
// tables, the escapes, the scans; the Reconstruct forms inverse-quantise as
// they place. A failure restores the caller's stream position.
#include <cstdint>
#include <cstring>

#include "common/bitstream.h"
#include "frame/check.h"
#include "mpeg4/scans.h"
#include "mpeg4/vlc_tables.h"
#include "zepvc.h"

namespace zep {
namespace {

using mpeg4::kAltHorizontal;
using mpeg4::kAltVertical;
using mpeg4::kZigzag;

const Zep8u* scan_table(int scan, bool horizontalAllowed) {
    if (scan == 0) return kZigzag;
    if (scan == 1) return kAltVertical;
    if (scan == 2 && horizontalAllowed) return kAltHorizontal;
    return nullptr;  // no scan: values stay in scan order
}

// How each decoded value is stored: as the level, or inverse-quantised the
// H.263 way (sign(L) (2 QP |L| + QP'), QP' = QP or QP - 1 for even QP, or
// 2 QP |L| for Annex I, clamped to [-2048, 2047]).
struct Store {
    int qp = 0;  // 0: store levels
    bool advIntra = false;
    Zep16s operator()(int level) const {
        if (qp == 0) return static_cast<Zep16s>(level);
        const int64_t m = int64_t{2} * qp * (level < 0 ? -level : level) + (advIntra ? 0 : ((qp & 1) ? qp : qp - 1));
        const int64_t v = level < 0 ? -m : m;
        return static_cast<Zep16s>(v < -2048 ? -2048 : (v > 2047 ? 2047 : v));
    }
};

struct Result {
    ZepStatus status;
    int last;  // last position written, or the start position when none
};

// ---- H.263

Zep32u h263_lookup(uint32_t v, bool adv) {
    using namespace mpeg4;
    if (v >= 1024) {
        const Zep32u* t = adv ? kH263AdvIntraSub0 : kH263Sub0;
        return t[(v >> 6) - 16];
    }
    if (v >= 256) {
        const Zep32u* t = adv ? kH263AdvIntraSub1 : kH263Sub1;
        return t[(v >> 3) - 32];
    }
    if (v >= 16) {
        const Zep32u* t = adv ? kH263AdvIntraSub2 : kH263Sub2;
        return t[(v >> 1) - 8];
    }
    return 0;
}

Result h263_codes(ByteReader& r, Zep16s* coef, int start, const Zep8u* scan, bool adv, bool modQuant, Store store) {
    int pos = start, written = start;
    for (;;) {
        const uint32_t v = r.peek(13);
        int last, run, level;
        if ((v >> 6) == 3) {
            r.skip(7);
            last = static_cast<int>(r.read(1));
            run = static_cast<int>(r.read(6));
            level = static_cast<int8_t>(r.read(8));
            if (level == 0) return {zepStatusVLCErr, written};
            if (level == -128) {
                if (!modQuant) return {zepStatusVLCErr, written};
                // Annex T: an 11-bit level, its 5 low bits first, then the 6 signed high bits.
                const int lo = static_cast<int>(r.read(5));
                const int hi = static_cast<int>(r.read(6) << 26) >> 26;
                level = hi * 32 + lo;
                if (level == 0) return {zepStatusVLCErr, written};
            }
            run += 1;
        } else {
            const Zep32u e = h263_lookup(v, adv);
            if (e == 0) return {zepStatusVLCErr, written};
            const int len = static_cast<int>(e >> 24);
            last = static_cast<int>(e & 0xFF);
            run = static_cast<int>((e >> 8) & 0xFF);
            level = static_cast<int>((e >> 16) & 0xFF);
            if ((v >> (13 - len)) & 1) level = -level;
            r.skip(len);
        }
        pos += run;
        if (pos > 63) return {zepStatusVLCErr, written};
        coef[scan ? scan[pos] : pos] = store(level);
        written = pos;
        if (last) return {zepStatusOk, pos};
    }
}

// ---- H.261

Zep32u h261_lookup(uint32_t v) {
    using namespace mpeg4;
    if (v >= 2560) return kH261Sub0[v >> 9];
    if (v >= 512) return kH261Sub1[v >> 6];
    if (v >= 32) return kH261Sub2[v >> 1];
    return 0;
}

Result h261_codes(ByteReader& r, Zep16s* coef, int start, const Zep8u* scan, bool inter, Store store) {
    int pos = start, written = start;
    if (inter && r.peek(1)) {
        // '1s': the first coefficient, run 0, level +-1; only here is it a code.
        const int level = r.read(2) & 1 ? -1 : 1;
        pos = 0;
        coef[scan ? scan[0] : 0] = store(level);
        written = 0;
    }
    for (;;) {
        const uint32_t v = r.peek(14);
        int run, level;
        if ((v >> 8) == 1) {
            r.skip(6);
            run = static_cast<int>(r.read(6)) + 1;
            level = static_cast<int8_t>(r.read(8));
            if (level == 0 || level == -128) return {zepStatusVLCErr, written};
        } else {
            const Zep32u e = h261_lookup(v);
            if (e == 0) return {zepStatusVLCErr, written};
            const int len = static_cast<int>(e >> 16);
            run = static_cast<int>(e & 0xFF);
            level = static_cast<int>((e >> 8) & 0xFF);
            if (level && ((v >> (14 - len)) & 1)) level = -level;
            r.skip(len);
        }
        pos += run;
        if (pos >= 127) return {zepStatusOk, written};  // end of block
        if (pos > 63) return {zepStatusVLCErr, written};
        coef[scan ? scan[pos] : pos] = store(level);
        written = pos;
    }
}

// ---- shared entry handling

ZepStatus check(Zep8u** pp, Zep32s* pOffset, const void* out, const Zep32s* pIndx) {
    ZEP_CHECK_PTRS(pp, pOffset, out, pIndx);
    ZEP_CHECK_PTRS(*pp);
    if (*pOffset < 0 || *pOffset > 7) return zepStatusBitOffsetErr;
    return zepStatusOk;
}

// INTRADC: 8 bits, 0 and 128 invalid, 255 stands for 128.
bool intradc(ByteReader& r, int& dc) {
    const int code = static_cast<int>(r.peek(8));
    if (code == 0 || code == 128) return false;
    r.skip(8);
    dc = code == 255 ? 128 : code;
    return true;
}

ZepStatus finish(ByteReader& r, Zep8u** pp, Zep32s* pOffset, Zep32s* pIndx, Result res) {
    *pIndx = res.last;
    if (res.status == zepStatusOk) r.commit(pp, pOffset);
    return res.status;
}

ZepStatus h263_intra(Zep8u** pp, Zep32s* pOffset, Zep16s* coef, Zep32s* pIndx, bool adv, bool modQuant, int scan,
                     Store store) {
    ByteReader r(*pp, *pOffset);
    const Zep16s dc = coef[0];
    std::memset(coef, 0, 64 * sizeof(Zep16s));
    if (!adv) coef[0] = dc;
    return finish(r, pp, pOffset, pIndx,
                  h263_codes(r, coef, adv ? -1 : 0, scan_table(scan, true), adv, modQuant, store));
}

ZepStatus h261_block(Zep8u** pp, Zep32s* pOffset, Zep16s* coef, Zep32s* pIndx, bool intra, int scan, Store store) {
    ByteReader r(*pp, *pOffset);
    int dc = 0;
    if (intra && !intradc(r, dc)) {
        *pIndx = -1;
        return zepStatusVLCErr;
    }
    std::memset(coef, 0, 64 * sizeof(Zep16s));
    const Zep8u* s = scan == -1 ? nullptr : kZigzag;
    const Result res = h261_codes(r, coef, intra ? 0 : -1, s, !intra, store);
    // The DC is written whatever the AC decoding returned.
    if (intra) coef[0] = static_cast<Zep16s>(store.qp ? dc * 8 : dc);
    return finish(r, pp, pOffset, pIndx, res);
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiDecodeDCIntra_H263_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16u* pDC) {
    ZEP_CHECK_PTRS(ppBitStream, pBitOffset, pDC);
    ZEP_CHECK_PTRS(*ppBitStream);
    if (*pBitOffset < 0 || *pBitOffset > 7) return zepStatusBitOffsetErr;
    ByteReader r(*ppBitStream, *pBitOffset);
    int dc;
    if (!intradc(r, dc)) return zepStatusVLCErr;
    r.commit(ppBitStream, pBitOffset);
    *pDC = static_cast<Zep16u>(dc);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiDecodeDCIntra_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pDC,
                                                  Zep32s blockType) {
    ZEP_CHECK_PTRS(ppBitStream, pBitOffset, pDC);
    ZEP_CHECK_PTRS(*ppBitStream);
    if (*pBitOffset < 0 || *pBitOffset > 7) return zepStatusBitOffsetErr;
    ByteReader r(*ppBitStream, *pBitOffset);
    int size;
    if (blockType == 0) {
        // 011 0, 11 1, 10 2, 010 3, 001 4, then 000 and further zeros count on from 5.
        const uint32_t v = r.peek(3);
        if (v == 3) size = 0, r.skip(3);
        else if (v >= 6) size = 1, r.skip(2);
        else if (v >= 4) size = 2, r.skip(2);
        else if (v == 2) size = 3, r.skip(3);
        else if (v == 1) size = 4, r.skip(3);
        else {
            r.skip(3);
            size = 5;
            while (size <= 12 && r.read(1) == 0) ++size;
        }
    } else {
        // 11 0, 10 1, 01 2, then 00 and further zeros count on from 3.
        const uint32_t v = r.peek(2);
        if (v != 0) size = 3 - static_cast<int>(v), r.skip(2);
        else {
            r.skip(2);
            size = 3;
            while (size <= 12 && r.read(1) == 0) ++size;
        }
    }
    if (size > 12) return zepStatusVLCErr;
    int diff = 0;
    if (size > 0) {
        const int v = static_cast<int>(r.read(size));
        diff = (v >> (size - 1)) ? v : v - ((1 << size) - 1);
        if (size > 8 && r.read(1) == 0) return zepStatusVLCErr;  // marker bit
    }
    r.commit(ppBitStream, pBitOffset);
    *pDC = static_cast<Zep16s>(diff);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiDecodeCoeffsIntra_H263_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                     Zep32s* pIndxLastNonZero, Zep32s advIntraFlag, Zep32s modQuantFlag,
                                                     Zep32s scan) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    return h263_intra(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, advIntraFlag != 0, modQuantFlag != 0, scan, {});
}

ZEPVC_API ZepStatus zepiDecodeCoeffsInter_H263_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                     Zep32s* pIndxLastNonZero, Zep32s modQuantFlag, Zep32s scan) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    ByteReader r(*ppBitStream, *pBitOffset);
    std::memset(pCoef, 0, 64 * sizeof(Zep16s));
    return finish(r, ppBitStream, pBitOffset, pIndxLastNonZero,
                  h263_codes(r, pCoef, -1, scan_table(scan, false), false, modQuantFlag != 0, {}));
}

ZEPVC_API ZepStatus zepiDecodeCoeffsIntra_H261_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                     Zep32s* pIndxLastNonZero, Zep32s scan) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    return h261_block(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, true, scan, {});
}

ZEPVC_API ZepStatus zepiDecodeCoeffsInter_H261_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                     Zep32s* pIndxLastNonZero, Zep32s scan) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    return h261_block(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, false, scan, {});
}

ZEPVC_API ZepStatus zepiReconstructCoeffsIntra_H263_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                          Zep32s* pIndxLastNonZero, Zep32s cbp, Zep32s QP,
                                                          Zep32s advIntraFlag, Zep32s scan, Zep32s modQuantFlag) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    if (QP < 1 || QP > 31) return zepStatusQPErr;
    const Store store{QP, advIntraFlag != 0};
    if (advIntraFlag)
        return h263_intra(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, true, modQuantFlag != 0, scan, store);
    ByteReader r(*ppBitStream, *pBitOffset);
    int dc;
    if (!intradc(r, dc)) {
        *pIndxLastNonZero = -1;
        return zepStatusVLCErr;
    }
    if (!cbp) {
        // Only the DC: the caller's other 63 entries stay as they are.
        pCoef[0] = static_cast<Zep16s>(dc * 8);
        *pIndxLastNonZero = 0;
        r.commit(ppBitStream, pBitOffset);
        return zepStatusOk;
    }
    std::memset(pCoef, 0, 64 * sizeof(Zep16s));
    pCoef[0] = static_cast<Zep16s>(dc * 8);
    return finish(r, ppBitStream, pBitOffset, pIndxLastNonZero,
                  h263_codes(r, pCoef, 0, kZigzag, false, modQuantFlag != 0, store));
}

ZEPVC_API ZepStatus zepiReconstructCoeffsInter_H263_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                          Zep32s* pIndxLastNonZero, Zep32s QP, Zep32s modQuantFlag) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    if (QP < 1 || QP > 31) return zepStatusQPErr;
    ByteReader r(*ppBitStream, *pBitOffset);
    std::memset(pCoef, 0, 64 * sizeof(Zep16s));
    return finish(r, ppBitStream, pBitOffset, pIndxLastNonZero,
                  h263_codes(r, pCoef, -1, kZigzag, false, modQuantFlag != 0, Store{QP, false}));
}

ZEPVC_API ZepStatus zepiReconstructCoeffsIntra_H261_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                          Zep32s* pIndxLastNonZero, Zep32s QP) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    if (QP < 1 || QP > 31) return zepStatusQPErr;
    return h261_block(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, true, 0, Store{QP, false});
}

ZEPVC_API ZepStatus zepiReconstructCoeffsInter_H261_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                          Zep32s* pIndxLastNonZero, Zep32s QP) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    if (QP < 1 || QP > 31) return zepStatusQPErr;
    return h261_block(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, false, 0, Store{QP, false});
}

}  // extern "C"
