// What H.263 and MPEG-4 share: the macroblock type and pattern codes, the
// vector difference codes, modified quantisation's tables, and a reference
// picture padded for vectors that point outside.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "vlc_desc.h"

namespace zdec::h263 {

enum MbType { kInter = 0, kInterQ, kInter4V, kIntra, kIntraQ, kInter4VQ };
inline constexpr int kStuffing = -1;

struct Code {
    const char* code;
    int value;
};
// MCBPC: type * 4 + chroma pattern.
inline constexpr Code kMcbpcI[] = {{"1", 12},     {"001", 13},    {"010", 14},    {"011", 15},
                        {"0001", 16},  {"000001", 17}, {"000010", 18}, {"000011", 19},
                        {"000000001", kStuffing}};
inline constexpr Code kMcbpcP[] = {{"1", 0},           {"0011", 1},          {"0010", 2},          {"000101", 3},
                        {"011", 4},         {"0000111", 5},       {"0000110", 6},       {"000000101", 7},
                        {"010", 8},         {"0000101", 9},       {"0000100", 10},      {"00000101", 11},
                        {"00011", 12},      {"00000100", 13},     {"00000011", 14},     {"0000011", 15},
                        {"000100", 16},     {"000000100", 17},    {"000000011", 18},    {"000000010", 19},
                        {"000000001", kStuffing},
                        {"00000000010", 20}, {"0000000001100", 21}, {"0000000001110", 22}, {"0000000001111", 23}};
// CBPY for intra macroblocks (inter ones take 15 minus it).
inline constexpr Code kCbpy[] = {{"0011", 0}, {"00101", 1}, {"00100", 2}, {"1001", 3},  {"00011", 4},  {"0111", 5},
                      {"000010", 6}, {"1011", 7}, {"00010", 8}, {"000011", 9}, {"0101", 10}, {"1010", 11},
                      {"0100", 12}, {"1000", 13}, {"0110", 14}, {"11", 15}};
// MVD magnitudes 1..32 in half samples (a sign bit follows, 1 negative).
inline constexpr const char* kMvd[32] = {"01",          "001",         "0001",        "000011",      "0000101",
                              "0000100",     "0000011",     "000001011",   "000001010",   "000001001",
                              "0000010001",  "0000010000",  "0000001111",  "0000001110",  "0000001101",
                              "0000001100",  "0000001011",  "0000001010",  "0000001001",  "0000001000",
                              "0000000111",  "0000000110",  "0000000101",  "0000000100",  "00000000111",
                              "00000000110", "00000000101", "00000000100", "00000000011", "00000000010",
                              "000000000011", "000000000010"};
inline constexpr int kDquant[4] = {-1, -2, 1, 2};
// Modified quantisation: QUANT changes by DQUANT 10 and 11 per prior QUANT, and the chroma QUANT.
inline int mq_change(int q, int bit) {
    if (q == 1) return bit ? 1 : 2;
    if (q <= 10) return bit ? 1 : -1;
    if (q <= 20) return bit ? 2 : -2;
    if (q <= 28) return bit ? 3 : -3;
    if (q == 29) return bit ? 2 : -3;
    if (q == 30) return bit ? 1 : -3;
    return bit ? -5 : -3;
}
inline constexpr uint8_t kMqChroma[32] = {0,  1,  2,  3,  4,  5,  6,  6,  7,  8,  9,  9,  10, 10, 11, 11,
                                   12, 12, 12, 13, 13, 13, 14, 14, 14, 14, 14, 15, 15, 15, 15, 15};

template <size_t N>
CodeList codes(const Code (&t)[N]) {
    CodeList c;
    for (const Code& e : t) c.push_back({e.code, {e.value}});
    return c;
}

struct Frame {
    static constexpr int kPad = 48;
    std::vector<uint8_t> mem;
    uint8_t *y = nullptr, *cb = nullptr, *cr = nullptr;
    int stride = 0, stride_c = 0, w = 0, h = 0;
    void allocate(int mbw, int mbh) {
        w = 16 * mbw;
        h = 16 * mbh;
        stride = w + 2 * kPad;
        stride_c = w / 2 + kPad;
        const size_t luma = static_cast<size_t>(stride) * static_cast<size_t>(h + 2 * kPad);
        const size_t chroma = static_cast<size_t>(stride_c) * static_cast<size_t>(h / 2 + kPad);
        mem.assign(luma + 2 * chroma, 128);
        y = mem.data() + static_cast<size_t>(kPad) * static_cast<size_t>(stride) + kPad;
        cb = mem.data() + luma + static_cast<size_t>(kPad / 2) * static_cast<size_t>(stride_c) + kPad / 2;
        cr = cb + chroma;
    }
};

inline void pad_plane(uint8_t* p, int stride, int w, int h, int pad) {
    for (int y = 0; y < h; ++y) {
        uint8_t* row = p + static_cast<ptrdiff_t>(y) * stride;
        std::memset(row - pad, row[0], static_cast<size_t>(pad));
        std::memset(row + w, row[w - 1], static_cast<size_t>(pad));
    }
    for (int y = 1; y <= pad; ++y) {
        std::memcpy(p - static_cast<ptrdiff_t>(y) * stride - pad, p - pad, static_cast<size_t>(w + 2 * pad));
        std::memcpy(p + static_cast<ptrdiff_t>(h - 1 + y) * stride - pad, p + static_cast<ptrdiff_t>(h - 1) * stride - pad,
                    static_cast<size_t>(w + 2 * pad));
    }
}

}  // namespace zdec::h263
