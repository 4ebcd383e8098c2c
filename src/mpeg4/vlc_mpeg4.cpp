// MPEG-4 Part 2 coefficient decoding: the intra and inter TCOEF codes with the
// three escape forms, the reversible codes of data-partitioned packets read
// forward, and read backward from the end of a partition to recover the
// blocks after a damaged spot; and the inter Reconstruct form.
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

struct Event {
    int last, run, level;  // level signed
};

// ---- TCOEF (VLC)

Zep32u vlc_lookup(uint32_t v, bool intra) {
    using namespace mpeg4;
    if (v >= 512) {
        const Zep32u* t = intra ? kMpeg4IntraSub0 : kMpeg4InterSub0;
        return t[(v >> 5) - 16];
    }
    if (v >= 128) {
        const Zep32u* t = intra ? kMpeg4IntraSub1 : kMpeg4InterSub1;
        return t[(v >> 2) - 32];
    }
    if (v >= 8) {
        const Zep32u* t = intra ? kMpeg4IntraSub2 : kMpeg4InterSub2;
        return t[v];
    }
    return 0;
}

// One table code and its sign; false for an invalid code. The escape comes
// back as level 255 (no sign read).
bool table_code(ByteReader& r, bool intra, Event& ev) {
    const Zep32u e = vlc_lookup(r.peek(12), intra);
    if (e == 0) return false;
    r.skip(static_cast<int>(e >> 24));
    ev.last = static_cast<int>(e & 0xFF);
    ev.run = static_cast<int>((e >> 8) & 0xFF);
    ev.level = static_cast<int>((e >> 16) & 0xFF);
    if (ev.level != 255 && r.read(1)) ev.level = -ev.level;
    return true;
}

bool vlc_event(ByteReader& r, bool intra, Event& ev) {
    if (!table_code(r, intra, ev)) return false;
    if (ev.level != 255) return true;
    const Zep32u* lmax = intra ? mpeg4::kLmaxIntra : mpeg4::kLmaxInter;
    const Zep32u* rmax = intra ? mpeg4::kRmaxIntra : mpeg4::kRmaxInter;
    if (r.read(1) == 0) {
        // Type 1: the level is offset by LMAX of the code's (last, run).
        if (!table_code(r, intra, ev) || ev.level == 255) return false;
        const int add = static_cast<int>(lmax[ev.last * 64 + ev.run]);
        ev.level = ev.level < 0 ? ev.level - add : ev.level + add;
        return true;
    }
    if (r.read(1) == 0) {
        // Type 2: the run is offset by RMAX + 1 of the code's (last, level).
        if (!table_code(r, intra, ev) || ev.level == 255) return false;
        ev.run += static_cast<int>(rmax[ev.last * 64 + (ev.level < 0 ? -ev.level : ev.level)]);
        return true;
    }
    // Type 3: fixed length.
    ev.last = static_cast<int>(r.read(1));
    ev.run = static_cast<int>(r.read(6));
    if (r.read(1) == 0) return false;
    ev.level = static_cast<int>(r.read(12) << 20) >> 20;
    if (r.read(1) == 0 || ev.level == 0 || ev.level == -2048) return false;
    return true;
}

// ---- RVLC forward

bool rvlc_fwd_event(ByteReader& r, bool intra, Event& ev) {
    const uint32_t v = r.peek(8);
    if (v < 8) return false;
    if (v < 16) {
        // 00001 + last + run(6) + 1 + level(11) + 1 + 0000s.
        r.skip(5);
        ev.last = static_cast<int>(r.read(1));
        ev.run = static_cast<int>(r.read(6));
        if (r.read(1) == 0) return false;
        const int mag = static_cast<int>(r.read(11));
        if (r.read(1) == 0 || mag == 0) return false;
        const uint32_t tail = r.read(5);
        if ((tail >> 1) != 0) return false;
        ev.level = (tail & 1) ? -mag : mag;
        return true;
    }
    Zep32u e = (intra ? mpeg4::kRvlcFwdIntraFirst : mpeg4::kRvlcFwdInterFirst)[v];
    if (e & 0x80000000u)
        e = (intra ? mpeg4::kRvlcFwdIntraSecond : mpeg4::kRvlcFwdInterSecond)[(e & 0xFFFF) * 128 + (r.peek(15) & 0x7F)];
    if (e == 0) return false;
    r.skip(static_cast<int>(e >> 24));
    ev.last = static_cast<int>(e & 0xFF);
    ev.run = static_cast<int>((e >> 8) & 0xFF);
    ev.level = static_cast<int>((e >> 16) & 0xFF);
    if (r.read(1)) ev.level = -ev.level;
    return true;
}

// ---- RVLC backward: bits read from the current one toward the stream's start

class BackReader {
public:
    BackReader(const Zep8u* byte, int bit) : base_(byte), pos_(bit) {}
    uint32_t bit_at(int64_t pos) const {
        const Zep8u* b = base_ + (pos >> 3);  // pos may be negative: bytes before the start byte
        return (*b >> (7 - (pos & 7))) & 1u;
    }
    // The next n bits going backward, the first one read most significant.
    uint32_t peek(int n) const {
        uint32_t v = 0;
        for (int i = 0; i < n; ++i) v = (v << 1) | bit_at(pos_ - i);
        return v;
    }
    uint32_t read(int n) {
        const uint32_t v = peek(n);
        pos_ -= n;
        return v;
    }
    // A field written forward (most significant first) read backward.
    uint32_t read_field(int n) {
        uint32_t v = 0;
        for (int i = 0; i < n; ++i) v |= bit_at(pos_ - i) << i;
        pos_ -= n;
        return v;
    }
    int64_t pos() const { return pos_; }
    void set(int64_t pos) { pos_ = pos; }
    void commit(Zep8u** pp, Zep32s* pBit) const {
        *pp = const_cast<Zep8u*>(base_) + (pos_ >> 3);
        *pBit = static_cast<Zep32s>(pos_ & 7);
    }

private:
    const Zep8u* base_;
    int64_t pos_;
};

bool rvlc_back_event(BackReader& r, bool intra, Event& ev) {
    const uint32_t sign = r.read(1);
    const uint32_t v = r.peek(8);
    if (v < 8) return false;
    if (v < 16) {
        // Backward: s, 0000, 1, level, 1, run, last, 10000.
        r.read(4);
        if (r.read(1) == 0) return false;
        const int mag = static_cast<int>(r.read_field(11));
        if (r.read(1) == 0 || mag == 0) return false;
        ev.run = static_cast<int>(r.read_field(6));
        ev.last = static_cast<int>(r.read(1));
        if (r.read(5) != 0x10) return false;
        ev.level = sign ? -mag : mag;
        return true;
    }
    Zep32u e = (intra ? mpeg4::kRvlcBackIntraFirst : mpeg4::kRvlcBackInterFirst)[v];
    if (e & 0x80000000u)
        e = (intra ? mpeg4::kRvlcBackIntraSecond : mpeg4::kRvlcBackInterSecond)[(e & 0xFFFF) * 128 + (r.peek(15) & 0x7F)];
    if (e == 0) return false;
    r.read(static_cast<int>(e >> 24));
    ev.last = static_cast<int>(e & 0xFF);
    ev.run = static_cast<int>((e >> 8) & 0xFF);
    ev.level = static_cast<int>((e >> 16) & 0xFF);
    if (sign) ev.level = -ev.level;
    return true;
}

// ---- block walks

const Zep8u* scan_of(int scan, bool intra) {
    if (scan == 0) return kZigzag;
    if (scan == 1) return kAltVertical;
    if (scan == 2 && intra) return kAltHorizontal;
    return nullptr;
}

ZepStatus forward(Zep8u** pp, Zep32s* pOffset, Zep16s* coef, Zep32s* pIndx, bool rvlc, bool intra, bool keepDc,
                  const Zep8u* scan) {
    ByteReader r(*pp, *pOffset);
    const Zep16s dc = coef[0];
    std::memset(coef, 0, 64 * sizeof(Zep16s));
    int pos = -1;
    if (keepDc) {
        coef[0] = dc;
        pos = 0;
    }
    if (intra || rvlc) *pIndx = pos;
    for (;;) {
        Event ev;
        if (!(rvlc ? rvlc_fwd_event(r, intra, ev) : vlc_event(r, intra, ev))) return zepStatusVLCErr;
        pos += ev.run + 1;
        if (pos >= 64) {
            *pIndx = pos;
            return zepStatusVLCErr;
        }
        coef[scan ? scan[pos] : pos] = static_cast<Zep16s>(ev.level);
        if (ev.last) {
            *pIndx = pos;
            r.commit(pp, pOffset);
            return zepStatusOk;
        }
    }
}

ZepStatus backward(Zep8u** pp, Zep32s* pOffset, Zep16s* coef, Zep32s* pIndx, bool intra, bool keepDc) {
    BackReader r(*pp, *pOffset);
    const Zep16s dc = coef[0];
    std::memset(coef, 0, 64 * sizeof(Zep16s));
    int start = -1;
    if (keepDc) {
        coef[0] = dc;
        start = 0;
    }
    int p = 63, firstRun = 0;
    bool first = true;
    for (;;) {
        const int64_t before = r.pos();
        Event ev;
        if (!rvlc_back_event(r, intra, ev)) return zepStatusVLCErr;
        if (first && !ev.last) return zepStatusVLCErr;
        if (!first && ev.last) {
            // The preceding block's last code: not ours; the position stays on its last bit.
            r.set(before);
            break;
        }
        first = false;
        if (p <= start) {
            *pIndx = p;
            return zepStatusVLCErr;
        }
        coef[p] = static_cast<Zep16s>(ev.level);
        firstRun = ev.run;
        p -= ev.run + 1;
    }
    // The lowest coefficient was written at p + firstRun + 1; it belongs at start + firstRun + 1.
    const int from = p + firstRun + 1, to = start + firstRun + 1, shift = from - to;
    if (shift < 0) {  // more positions coded than the block holds
        *pIndx = p;
        return zepStatusVLCErr;
    }
    for (int i = to; i + shift <= 63; ++i) coef[i] = coef[i + shift];
    for (int i = 64 - shift; i <= 63; ++i) coef[i] = 0;
    *pIndx = 63 - shift;
    r.commit(pp, pOffset);
    return zepStatusOk;
}

ZepStatus check(Zep8u** pp, Zep32s* pOffset, const void* coef, const Zep32s* pIndx) {
    ZEP_CHECK_PTRS(pp, pOffset, coef, pIndx);
    ZEP_CHECK_PTRS(*pp);
    if (*pOffset < 0 || *pOffset > 7) return zepStatusBitOffsetErr;
    return zepStatusOk;
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiDecodeCoeffsIntra_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                      Zep32s* pIndxLastNonZero, Zep32s rvlcFlag, Zep32s dcDecodedFlag,
                                                      Zep32s scan) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    return forward(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, rvlcFlag != 0, true, dcDecodedFlag != 0,
                   scan_of(scan, true));
}

ZEPVC_API ZepStatus zepiDecodeCoeffsInter_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                      Zep32s* pIndxLastNonZero, Zep32s rvlcFlag, Zep32s scan) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    return forward(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, rvlcFlag != 0, false, false, scan_of(scan, false));
}

ZEPVC_API ZepStatus zepiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                              Zep32s* pIndxLastNonZero, Zep32s dcDecodedFlag) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    return backward(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, true, dcDecodedFlag != 0);
}

ZEPVC_API ZepStatus zepiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                              Zep32s* pIndxLastNonZero) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    return backward(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, false, false);
}

ZEPVC_API ZepStatus zepiReconstructCoeffsInter_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                           Zep32s* pIndxLastNonZero, Zep32s rvlcFlag, Zep32s scan,
                                                           const void* pQuantInvInterSpec, Zep32s QP) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero); st != zepStatusOk) return st;
    const Zep8u* s = scan == 1 ? kAltVertical : kZigzag;
    if (!rvlcFlag) {
        // The spec is checked before decoding on this path: a refused call reads nothing.
        Zep16s probe[64] = {};
        if (const ZepStatus st = zepiQuantInvInter_MPEG4_16s_C1I(probe, -1, pQuantInvInterSpec, QP);
            st != zepStatusOk)
            return st;
    }
    const ZepStatus st = forward(ppBitStream, pBitOffset, pCoef, pIndxLastNonZero, rvlcFlag != 0, false, false, s);
    if (st != zepStatusOk) return st;
    return zepiQuantInvInter_MPEG4_16s_C1I(pCoef, 63, pQuantInvInterSpec, QP);
}

}  // extern "C"
