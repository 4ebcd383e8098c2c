// DV variable-length code table and segment decoding. A block's AC codes are
// read from a chain of bit ranges: its own area first, then, when its bits
// overflow, the space left after the end of block of the other blocks of its
// macroblock, then that of the other macroblocks of the segment. Codes that
// straddle two ranges are completed from the next one.
#include <cstdint>
#include <cstring>

#include "frame/alloc.h"
#include "frame/check.h"
#include "zepvc.h"

namespace zep {
namespace {

constexpr int kEndOfBlockRun = 255;
constexpr Zep8u kNoCode = 255;

// ---- the lookup table

int table_width(const Zep32u* src) { return static_cast<int>(src[0] & 0xFF); }

void fill(Zep32u* entries, const Zep32u* src, int extraLength) {
    const int b = table_width(src);
    const Zep32u* p = src + 3;
    for (int len = 1; len <= b; ++len) {
        const Zep32u n = *p++;
        for (Zep32u k = 0; k < n; ++k, p += 3) {
            const Zep32u code = p[0], run = p[1] & 0xFF;
            const int level = static_cast<int>(p[2] << 22) >> 22;  // signed 10 bits
            const Zep32u first = (code << (b - len)) & ((1u << b) - 1);
            const Zep32u entry = static_cast<Zep32u>(len + extraLength) | (run << 8) |
                                 (static_cast<Zep32u>(static_cast<Zep16u>(level * 64)) << 16);
            for (Zep32u i = 0; i < (1u << (b - len)); ++i) entries[first + i] = entry;
        }
    }
}

// ---- bit chains

struct Range {
    const Zep8u* base;
    int pos, end;  // bit positions from base's first bit
};

// n (1..16) bits from bit pos of base, touching only the bytes that hold them.
inline uint32_t bits_at(const Zep8u* base, int pos, int n) {
    const int first = pos >> 3, last = (pos + n - 1) >> 3;
    uint32_t w = 0;
    for (int b = first; b <= last; ++b) w = (w << 8) | base[b];
    const int have = 8 * (last - first + 1);
    return (w >> (have - (pos & 7) - n)) & ((1u << n) - 1);
}

// Up to 16 next bits (zero-padded when fewer remain), and how many are real.
uint32_t peek16(const uint32_t pending, int pendingBits, Range* r, int nRanges, int cur, int& real) {
    uint32_t v = pending;
    int n = pendingBits;
    for (int i = cur; i < nRanges && n < 16; ++i) {
        const int take = r[i].end - r[i].pos < 16 - n ? r[i].end - r[i].pos : 16 - n;
        if (take <= 0) continue;
        v = (v << take) | bits_at(r[i].base, r[i].pos, take);
        n += take;
    }
    real = n;
    return v << (16 - n);
}

void skip(uint32_t& pending, int& pendingBits, Range* r, int nRanges, int& cur, int n) {
    const int fromPending = n < pendingBits ? n : pendingBits;
    pendingBits -= fromPending;
    pending &= pendingBits ? (1u << pendingBits) - 1 : 0;
    n -= fromPending;
    while (n > 0 && cur < nRanges) {
        const int take = n < r[cur].end - r[cur].pos ? n : r[cur].end - r[cur].pos;
        r[cur].pos += take;
        n -= take;
        if (r[cur].pos == r[cur].end) ++cur;
    }
}

struct Block {
    Zep16s* coef;
    const Zep32s* scan;
    int pos = 1;          // next scan position
    bool done = false;    // end of block, or a fault
    uint32_t pending = 0; // first bits of a code cut by the end of a range
    int pendingBits = 0;
};

enum class Step { Ended, Starved };

// Decodes codes of block b from the ranges [cur, nRanges); stops at the end
// of block (or a fault) or when the bits left cannot complete a code, which
// then become the block's pending bits.
Step decode(Block& b, Range* r, int nRanges, int& cur, const Zep32u* table) {
    for (;;) {
        int real;
        const uint32_t v = peek16(b.pending, b.pendingBits, r, nRanges, cur, real);
        Zep32u e = table[v >> 8];
        int len = e & 0xFF;
        if (len == kNoCode && (v >> 12) == 0xF) {
            e = table[256 + ((v >> 1) & 0x7FF)];
            len = e & 0xFF;
        }
        if (len == kNoCode) {
            if (real >= 16) {  // a code no table holds
                b.done = true;
                return Step::Ended;
            }
            // Too few bits to tell: keep them for the next source.
        } else {
            const int run = static_cast<int>((e >> 8) & 0xFF);
            const int amp = static_cast<Zep16s>(e >> 16) >> 6;
            const int total = len + (amp != 0 && run != kEndOfBlockRun ? 1 : 0);
            if (total <= real) {
                const bool negative = total > len && ((v >> (16 - total)) & 1);
                skip(b.pending, b.pendingBits, r, nRanges, cur, total);
                if (run == kEndOfBlockRun) {
                    b.done = true;
                    return Step::Ended;
                }
                b.pos += run;
                if (amp != 0) {
                    if (b.pos > 63) {
                        b.done = true;
                        return Step::Ended;
                    }
                    b.coef[b.scan[b.pos]] = static_cast<Zep16s>(negative ? -amp : amp);
                }
                b.pos += 1;
                continue;
            }
        }
        // Starved: whatever is left (fewer than 16 bits) becomes pending.
        const uint32_t keep = real ? v >> (16 - real) : 0;
        skip(b.pending, b.pendingBits, r, nRanges, cur, real);
        b.pending = keep;
        b.pendingBits = real;
        return Step::Starved;
    }
}

struct Layout {
    int blocks;        // per macroblock
    int offset[8];     // byte offset of each block in the macroblock
    int bytes[8];      // block area sizes
};
constexpr Layout kDv = {6, {4, 18, 32, 46, 60, 70}, {14, 14, 14, 14, 10, 10}};
constexpr Layout kDv100 = {8, {4, 14, 24, 34, 44, 52, 60, 68}, {10, 10, 10, 10, 8, 8, 8, 8}};

enum class Passes { Three, One, DcOnly };

ZepStatus segment(const Zep8u* s, const Zep32s* scans, const Zep32u* table, Zep16s* out, Zep32u* params,
                  const Layout& L, Passes passes) {
    ZEP_CHECK_PTRS(s, out, params);
    const int n = 5 * L.blocks;
    std::memset(out, 0, static_cast<size_t>(n) * 64 * sizeof(Zep16s));
    Block blk[40];
    // Free space after each block's end of block, block order within macroblock order.
    Range pool[40];
    int poolOf[5][2];  // [macroblock] -> first, count in `pool`
    for (int m = 0; m < 5; ++m) {
        const Zep8u* mb = s + 80 * m;
        const Zep32u qno = mb[3] & 0x0F;
        for (int j = 0; j < L.blocks; ++j) {
            const int k = m * L.blocks + j;
            const Zep8u* a = mb + L.offset[j];
            params[k] = (qno << 16) | (a[1] & 0x70u);
            Zep16s* c = out + 64 * k;
            c[0] = static_cast<Zep16s>(static_cast<int>((static_cast<uint32_t>(a[0]) << 1 | (a[1] >> 7)) << 23) >> 23);
            blk[k].coef = c;
            blk[k].scan = scans + ((a[1] & 0x40) ? 64 : 0);
        }
    }
    if (passes == Passes::DcOnly) return zepStatusOk;
    // Pass 1: every block in its own area.
    for (int m = 0; m < 5; ++m) {
        poolOf[m][0] = m * L.blocks;
        poolOf[m][1] = 0;
        for (int j = 0; j < L.blocks; ++j) {
            const int k = m * L.blocks + j;
            Range own = {s + 80 * m + L.offset[j], 12, 8 * L.bytes[j]};
            int cur = 0;
            const Step st = decode(blk[k], &own, 1, cur, table);
            if (st == Step::Ended && cur == 0 && own.pos < own.end && passes == Passes::Three)
                pool[poolOf[m][0] + poolOf[m][1]++] = own;
        }
    }
    if (passes == Passes::One) return zepStatusOk;
    // Pass 2: the unfinished blocks of each macroblock from its free space.
    for (int m = 0; m < 5; ++m) {
        Range* r = pool + poolOf[m][0];
        int cur = 0;
        for (int j = 0; j < L.blocks; ++j) {
            Block& b = blk[m * L.blocks + j];
            if (!b.done) decode(b, r, poolOf[m][1], cur, table);
        }
        // What is left moves to the segment's pool, in macroblock order.
        int kept = 0;
        for (int i = cur; i < poolOf[m][1]; ++i)
            if (r[i].pos < r[i].end) r[kept++] = r[i];
        poolOf[m][1] = kept;
    }
    // Pass 3: the blocks still unfinished, from the segment's free space.
    Range seg[40];
    int nSeg = 0;
    for (int m = 0; m < 5; ++m)
        for (int i = 0; i < poolOf[m][1]; ++i) seg[nSeg++] = pool[poolOf[m][0] + i];
    int cur = 0;
    for (int k = 0; k < n; ++k)
        if (!blk[k].done) decode(blk[k], seg, nSeg, cur, table);
    return zepStatusOk;
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiInitAllocHuffmanTable_DV_32u(const Zep32u* pSrcTable1, const Zep32u* pSrcTable2,
                                                     Zep32u** ppHuffTable) {
    ZEP_CHECK_PTRS(pSrcTable1, pSrcTable2, ppHuffTable);
    const int b1 = table_width(pSrcTable1), b2 = table_width(pSrcTable2);
    // Widths beyond 24 bits describe tables no allocation can hold.
    const int64_t words = b1 > 24 || b2 > 24 ? 0 : (int64_t{1} << b1) + (int64_t{1} << b2);
    Zep32u* t = words == 0 ? nullptr : static_cast<Zep32u*>(alloc_bytes(static_cast<Zep32s>(words * 4)));
    *ppHuffTable = t;
    if (t == nullptr) return zepStatusNoMemory;
    for (int64_t i = 0; i < words; ++i) t[i] = kNoCode;
    fill(t, pSrcTable1, 0);
    fill(t + (int64_t{1} << b1), pSrcTable2, 4);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiFreeHuffmanTable_DV_32u(Zep32u* pHuffTable) {
    ZEP_CHECK_PTRS(pHuffTable);
    release(pHuffTable);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiHuffmanDecodeSegment_DV_8u16s(const Zep8u* pStream, const Zep32s* pScanTables,
                                                      const Zep32u* pHuffTable, Zep16s* pBlock, Zep32u* pBlockParam) {
    return segment(pStream, pScanTables, pHuffTable, pBlock, pBlockParam, kDv, Passes::Three);
}

ZEPVC_API ZepStatus zepiHuffmanDecodeSegment_DV100_8u16s(const Zep8u* pStream, const Zep32s* pScanTables,
                                                         const Zep32u* pHuffTable, Zep16s* pBlock,
                                                         Zep32u* pBlockParam) {
    return segment(pStream, pScanTables, pHuffTable, pBlock, pBlockParam, kDv100, Passes::Three);
}

ZEPVC_API ZepStatus zepiHuffmanDecodeSegmentOnePass_DV_8u16s(const Zep8u* pStream, const Zep32s* pScanTables,
                                                             const Zep32u* pHuffTable, Zep16s* pBlock,
                                                             Zep32u* pBlockParam, Zep32s dcOnly) {
    return segment(pStream, pScanTables, pHuffTable, pBlock, pBlockParam, kDv,
                   dcOnly ? Passes::DcOnly : Passes::One);
}

}  // extern "C"
