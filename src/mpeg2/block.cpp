// MPEG-1 and MPEG-2 DCT block reconstruction: one block's coefficient codes
// decoded through the caller's Huffman tables, inverse-quantised into a
// row-major block. The two standards share the code walk and differ in the
// escape format, the arithmetic and the mismatch rule, which a Rules type
// supplies.
#include <cstdint>
#include <cstring>

#include "common/bitstream.h"
#include "frame/check.h"
#include "vlc/huffman.h"
#include "zepvc.h"

namespace zep {
namespace {

constexpr int kEndOfBlock = 254, kEscape = 255;

struct RunLevel {
    int run, level;
};

// Quantiser arithmetic of MPEG-2: 16-bit truncation of the level term, no
// saturation, division by 32 toward zero, mismatch control on entry 63.
struct Mpeg2 {
    static constexpr ZepStatus kFail = zepStatusVLCErr;
    static bool escape(WordReader& r, RunLevel& rl) {
        rl.run = static_cast<int>(r.read(6));
        rl.level = static_cast<int>(r.read(12) << 20) >> 20;  // 12-bit two's complement
        return true;
    }
    static int32_t div32(int32_t v) { return (v < 0 ? v + 31 : v) >> 5; }
    static int32_t intra(int level, int qp, int w) {
        const int16_t t = static_cast<int16_t>(2 * qp * level);
        return div32(static_cast<int32_t>(t) * w);
    }
    static int32_t inter(int level, int qp, int w) {
        const int16_t t = static_cast<int16_t>(2 * level + (level > 0) - (level < 0));
        return div32(static_cast<int32_t>(t) * w * qp);
    }
    static Zep16s store(int32_t v) { return static_cast<Zep16s>(v); }
    static void finish(Zep16s* blk, int64_t sum) {
        if ((sum & 1) == 0) blk[63] = static_cast<Zep16s>(blk[63] ^ 1);
    }
};

// MPEG-1: 8- or 16-bit escaped levels, division by 16 toward zero, even
// values made odd toward zero, clamp to the 12-bit range; no mismatch control.
struct Mpeg1 {
    static constexpr ZepStatus kFail = zepStatusBitstreamErr;
    static bool escape(WordReader& r, RunLevel& rl) {
        rl.run = static_cast<int>(r.read(6));
        const int b = static_cast<int>(r.read(8));
        if (b == 0) rl.level = static_cast<int>(r.read(8));
        else if (b == 128) rl.level = static_cast<int>(r.read(8)) - 256;
        else rl.level = b < 128 ? b : b - 256;
        return rl.level != 0;  // 0x00 followed by a level below 128 cannot be coded
    }
    static int32_t odd(int32_t v) {
        if ((v & 1) == 0 && v != 0) v += v > 0 ? -1 : 1;
        return v < -2048 ? -2048 : (v > 2047 ? 2047 : v);
    }
    static int32_t div16(int64_t v) { return static_cast<int32_t>(v / 16); }  // C++ division truncates toward zero
    static int32_t intra(int level, int qp, int w) { return odd(div16(int64_t{2} * level * qp * w)); }
    static int32_t inter(int level, int qp, int w) {
        return odd(div16(int64_t{2 * level + (level > 0) - (level < 0)} * qp * w));
    }
    static Zep16s store(int32_t v) { return static_cast<Zep16s>(v); }
    static void finish(Zep16s*, int64_t) {}
};

// One coefficient code: end of block (run 254), escape (255), or a pair.
template <class Rules>
bool next_code(WordReader& r, const Zep32u* table, RunLevel& rl) {
    const Zep32u e = vlc::lookup(r, table);
    rl.run = static_cast<int>((e >> 8) & 0xFF);
    rl.level = static_cast<int16_t>(e >> 16);
    if (rl.run == kEscape) return Rules::escape(r, rl);
    return true;
}

// The AC (or all, for non-intra) codes from position `pos`; returns the
// status, and on success the last position through *last.
template <class Rules, bool Intra>
ZepStatus walk(WordReader& r, const Zep32u* first, const Zep32u* ac, const Zep32s* scan, int qp, const Zep16s* w,
               Zep16s* blk, int64_t& sum, int& last) {
    int pos = Intra ? 0 : -1;
    bool firstCode = !Intra;
    for (;;) {
        RunLevel rl;
        if (firstCode && r.peek(1)) {
            // '1s': run 0, level +-1, the first coefficient's short code.
            r.skip(1);
            rl = {0, r.read_bit() ? -1 : 1};
        } else if (!next_code<Rules>(r, firstCode ? first : ac, rl)) {
            return Rules::kFail;
        }
        firstCode = false;
        if (rl.run == kEndOfBlock) break;
        pos += rl.run + 1;
        if (pos > 63) return Rules::kFail;
        const int idx = scan[pos] & 63;
        const int32_t v = Intra ? Rules::intra(rl.level, qp, w[idx]) : Rules::inter(rl.level, qp, w[idx]);
        blk[idx] = Rules::store(v);
        sum += v;
    }
    last = pos < 0 ? 0 : pos;
    return zepStatusOk;
}

template <class Rules>
ZepStatus intra_block(Zep32u** pp, Zep32s* pOffset, const Zep32s* dcTable, const Zep32s* acTable, const Zep32s* scan,
                      Zep16s qp, const Zep16s* w, Zep16s* pred, int shift, Zep16s* blk, Zep32s* pSize) {
    WordReader r(*pp, *pOffset & 31);
    const Zep32u e = vlc::lookup(r, reinterpret_cast<const Zep32u*>(dcTable));
    const int size = static_cast<int>(static_cast<Zep32s>(e) >> 8);
    if (vlc::is_invalid(e) || size < 0 || size > 16) return Rules::kFail;
    std::memset(blk, 0, 64 * sizeof(Zep16s));
    if (size > 0) {
        const int v = static_cast<int>(r.read(size));
        const int diff = (v >> (size - 1)) ? v : v + 1 - (1 << size);
        *pred = static_cast<Zep16s>(*pred + diff);
    }
    const int32_t dc = static_cast<int32_t>(static_cast<uint32_t>(*pred) << shift);
    blk[0] = static_cast<Zep16s>(dc);
    int64_t sum = dc;
    int last = 0;
    const ZepStatus st = walk<Rules, true>(r, nullptr, reinterpret_cast<const Zep32u*>(acTable), scan, qp, w, blk,
                                           sum, last);
    if (st != zepStatusOk) return st;
    Rules::finish(blk, sum);
    r.commit(pp, pOffset);
    *pSize = last;
    return zepStatusOk;
}

template <class Rules>
ZepStatus inter_block(Zep32u** pp, Zep32s* pOffset, const Zep32s* firstTable, const Zep32s* acTable,
                      const Zep32s* scan, Zep16s qp, const Zep16s* w, Zep16s* blk, Zep32s* pSize) {
    WordReader r(*pp, *pOffset & 31);
    std::memset(blk, 0, 64 * sizeof(Zep16s));
    int64_t sum = 0;
    int last = 0;
    const ZepStatus st = walk<Rules, false>(r, reinterpret_cast<const Zep32u*>(firstTable),
                                            reinterpret_cast<const Zep32u*>(acTable), scan, qp, w, blk, sum, last);
    if (st != zepStatusOk) return st;
    Rules::finish(blk, sum);
    r.commit(pp, pOffset);
    *pSize = last;
    return zepStatusOk;
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiReconstructDCTBlockIntra_MPEG2_32s(Zep32u** ppBitStream, Zep32s* pOffset,
                                                           const Zep32s* pDCSizeTable, const Zep32s* pACTable,
                                                           const Zep32s* pScanMatrix, Zep16s QP,
                                                           const Zep16s* pQPMatrix, Zep16s* pDCPred,
                                                           Zep32s shiftDCVal, Zep16s* pDstBlock, Zep32s* pDstSize) {
    ZEP_CHECK_PTRS(ppBitStream, pOffset, pDCSizeTable, pACTable, pScanMatrix, pQPMatrix, pDCPred, pDstBlock, pDstSize);
    ZEP_CHECK_PTRS(*ppBitStream);
    return intra_block<Mpeg2>(ppBitStream, pOffset, pDCSizeTable, pACTable, pScanMatrix, QP, pQPMatrix, pDCPred,
                              shiftDCVal & 31, pDstBlock, pDstSize);
}

ZEPVC_API ZepStatus zepiReconstructDCTBlock_MPEG2_32s(Zep32u** ppBitStream, Zep32s* pOffset, const Zep32s* pDCTable,
                                                      const Zep32s* pACTable, const Zep32s* pScanMatrix, Zep16s QP,
                                                      const Zep16s* pQPMatrix, Zep16s* pDstBlock, Zep32s* pDstSize) {
    // The weighting matrix is not required: without one the default non-intra
    // matrix (every weight 16) applies.
    ZEP_CHECK_PTRS(ppBitStream, pOffset, pDCTable, pACTable, pScanMatrix, pDstBlock, pDstSize);
    ZEP_CHECK_PTRS(*ppBitStream);
    static constexpr Zep16s kFlat[64] = {16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16,
                                         16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16,
                                         16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16,
                                         16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16};
    return inter_block<Mpeg2>(ppBitStream, pOffset, pDCTable, pACTable, pScanMatrix, QP,
                              pQPMatrix ? pQPMatrix : kFlat, pDstBlock, pDstSize);
}

ZEPVC_API ZepStatus zepiReconstructDCTBlockIntra_MPEG1_32s(Zep32u** ppBitStream, Zep32s* pOffset,
                                                           const Zep32s* pDCSizeTable, const Zep32s* pACTable,
                                                           const Zep32s* pScanMatrix, Zep16s QP,
                                                           const Zep16s* pQPMatrix, Zep16s* pDCPred,
                                                           Zep16s* pDstBlock, Zep32s* pDstSize) {
    ZEP_CHECK_PTRS(ppBitStream, pOffset, pDCSizeTable, pACTable, pScanMatrix, pQPMatrix, pDCPred, pDstBlock, pDstSize);
    ZEP_CHECK_PTRS(*ppBitStream);
    return intra_block<Mpeg1>(ppBitStream, pOffset, pDCSizeTable, pACTable, pScanMatrix, QP, pQPMatrix, pDCPred, 3,
                              pDstBlock, pDstSize);
}

ZEPVC_API ZepStatus zepiReconstructDCTBlock_MPEG1_32s(Zep32u** ppBitStream, Zep32s* pOffset, const Zep32s* pDCTable,
                                                      const Zep32s* pACTable, const Zep32s* pScanMatrix, Zep16s QP,
                                                      const Zep16s* pQPMatrix, Zep16s* pDstBlock, Zep32s* pDstSize) {
    ZEP_CHECK_PTRS(ppBitStream, pOffset, pDCTable, pACTable, pScanMatrix, pQPMatrix, pDstBlock, pDstSize);
    ZEP_CHECK_PTRS(*ppBitStream);
    return inter_block<Mpeg1>(ppBitStream, pOffset, pDCTable, pACTable, pScanMatrix, QP, pQPMatrix, pDstBlock,
                              pDstSize);
}

}  // extern "C"
