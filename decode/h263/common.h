// What H.263 and MPEG-4 share: the macroblock type and pattern codes and
// modified quantisation's tables.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "frame.h"
#include "vlc_codes.h"

namespace zdec::h263 {

enum MbType { kInter = 0, kInterQ, kInter4V, kIntra, kIntraQ, kInter4VQ };
inline constexpr int kStuffing = -1;

// MCBPC: type * 4 + chroma pattern.
inline constexpr ValueCode kMcbpcI[] = {{"1", 12},     {"001", 13},    {"010", 14},    {"011", 15},
                        {"0001", 16},  {"000001", 17}, {"000010", 18}, {"000011", 19},
                        {"000000001", kStuffing}};
inline constexpr ValueCode kMcbpcP[] = {{"1", 0},           {"0011", 1},          {"0010", 2},          {"000101", 3},
                        {"011", 4},         {"0000111", 5},       {"0000110", 6},       {"000000101", 7},
                        {"010", 8},         {"0000101", 9},       {"0000100", 10},      {"00000101", 11},
                        {"00011", 12},      {"00000100", 13},     {"00000011", 14},     {"0000011", 15},
                        {"000100", 16},     {"000000100", 17},    {"000000011", 18},    {"000000010", 19},
                        {"000000001", kStuffing},
                        {"00000000010", 20}, {"0000000001100", 21}, {"0000000001110", 22}, {"0000000001111", 23}};
// CBPY for intra macroblocks (inter ones take 15 minus it).
inline constexpr ValueCode kCbpy[] = {{"0011", 0}, {"00101", 1}, {"00100", 2}, {"1001", 3},  {"00011", 4},  {"0111", 5},
                      {"000010", 6}, {"1011", 7}, {"00010", 8}, {"000011", 9}, {"0101", 10}, {"1010", 11},
                      {"0100", 12}, {"1000", 13}, {"0110", 14}, {"11", 15}};
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


using Frame = PaddedFrame;

}  // namespace zdec::h263
