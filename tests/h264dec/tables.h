// The standard's CAVLC decoding tables, built once through the public builder
// from the library's generated code descriptions.
#pragma once

#include <cstdint>
#include <vector>

#include "h264/cavlc_codes.h"
#include "zepvc.h"

namespace zt {

struct CavlcTables {
    Zep32s *ct[3] = {}, *dc420 = nullptr, *dc422 = nullptr;
    Zep32s *tz4x4[16] = {}, *tz420[4] = {}, *tz422[8] = {}, *rb[15] = {};
    std::vector<Zep32s*> owned;

    CavlcTables() {
        using namespace zep::cavlc;
        for (int i = 0; i < 3; ++i) ct[i] = build(kCoeffTokenDesc[i]);
        dc420 = build(kCoeffTokenDc420Desc);
        dc422 = build(kCoeffTokenDc422Desc);
        for (int i = 1; i < 16; ++i) tz4x4[i] = build(kTotalZeros4x4Desc[i]);
        for (int i = 1; i < 4; ++i) tz420[i] = build(kTotalZerosDc420Desc[i]);
        for (int i = 1; i < 8; ++i) tz422[i] = build(kTotalZerosDc422Desc[i]);
        for (int i = 1; i < 15; ++i) rb[i] = i <= 7 ? build(kRunBeforeDesc[i]) : rb[7];  // zerosLeft > 6 share one
    }
    ~CavlcTables() {
        for (Zep32s* t : owned) zepiHuffmanTableFree_32s(t);
    }
    CavlcTables(const CavlcTables&) = delete;
    CavlcTables& operator=(const CavlcTables&) = delete;

    Zep32s* build(const Zep32s* desc) {
        Zep32s* t = nullptr;
        if (zepiHuffmanTableInitAlloc_32s(desc, &t) != zepStatusOk) return nullptr;
        owned.push_back(t);
        return t;
    }
};

// The standard's 4x4 scans (zig-zag and field), scan index -> raster position.
inline constexpr Zep32s kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
inline constexpr Zep32s kField[16] = {0, 4, 1, 8, 12, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};

// Bit index of a word-stream position relative to the stream start.
inline int64_t bit_pos(const Zep32u* base, const Zep32u* word, Zep32s offset) {
    return (word - base) * 32 + (31 - offset);
}

}  // namespace zt
