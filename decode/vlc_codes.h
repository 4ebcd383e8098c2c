// Variable-length codes that several of the decoders share: the MPEG-1/2
// and H.261 macroblock address increments and coded block patterns, and the
// motion-vector difference magnitudes of MPEG-1/2, H.261, H.263 and MPEG-4.
#pragma once

#include <string>

#include "vlc_desc.h"

namespace zdec {

struct ValueCode {
    const char* code;
    int value;
};

template <size_t N>
CodeList value_codes(const ValueCode (&t)[N]) {
    CodeList c;
    for (const ValueCode& e : t) c.push_back({e.code, {e.value}});
    return c;
}

// Macroblock address increments 1..33 (escape and stuffing are read before the lookup).
inline constexpr const char* kMbIncrement[33] = {"1",           "011",         "010",         "0011",        "0010",
                               "00011",       "00010",       "0000111",     "0000110",     "00001011",
                               "00001010",    "00001001",    "00001000",    "00000111",    "00000110",
                               "0000010111",  "0000010110",  "0000010101",  "0000010100",  "0000010011",
                               "0000010010",  "00000100011", "00000100010", "00000100001", "00000100000",
                               "00000011111", "00000011110", "00000011101", "00000011100", "00000011011",
                               "00000011010", "00000011001", "00000011000"};

// Coded block pattern (4:2:0), by code; the all-zero pattern's code exists in MPEG-2 only.
inline constexpr ValueCode kCodedBlockPattern[] = {
    {"111", 60},       {"1101", 4},       {"1100", 8},       {"1011", 16},      {"1010", 32},
    {"10011", 12},     {"10010", 48},     {"10001", 20},     {"10000", 40},     {"01111", 28},
    {"01110", 44},     {"01101", 52},     {"01100", 56},     {"01011", 1},      {"01010", 61},
    {"01001", 2},      {"01000", 62},     {"001111", 24},    {"001110", 36},    {"001101", 3},
    {"001100", 63},    {"0010111", 5},    {"0010110", 9},    {"0010101", 17},   {"0010100", 33},
    {"0010011", 6},    {"0010010", 10},   {"0010001", 18},   {"0010000", 34},   {"00011111", 7},
    {"00011110", 11},  {"00011101", 19},  {"00011100", 35},  {"00011011", 13},  {"00011010", 49},
    {"00011001", 21},  {"00011000", 41},  {"00010111", 14},  {"00010110", 50},  {"00010101", 22},
    {"00010100", 42},  {"00010011", 15},  {"00010010", 51},  {"00010001", 23},  {"00010000", 43},
    {"00001111", 25},  {"00001110", 37},  {"00001101", 26},  {"00001100", 38},  {"00001011", 29},
    {"00001010", 45},  {"00001001", 53},  {"00001000", 57},  {"00000111", 30},  {"00000110", 46},
    {"00000101", 54},  {"00000100", 58},  {"000000111", 31}, {"000000110", 47}, {"000000101", 55},
    {"000000100", 59}, {"000000011", 27}, {"000000010", 39}, {"000000001", 0}};

// Motion-vector difference magnitudes 1..32 (a sign bit follows, 1 negative; 0 is "1").
inline constexpr const char* kMotionMagnitude[32] = {"01",          "001",         "0001",        "000011",      "0000101",
                              "0000100",     "0000011",     "000001011",   "000001010",   "000001001",
                              "0000010001",  "0000010000",  "0000001111",  "0000001110",  "0000001101",
                              "0000001100",  "0000001011",  "0000001010",  "0000001001",  "0000001000",
                              "0000000111",  "0000000110",  "0000000101",  "0000000100",  "00000000111",
                              "00000000110", "00000000101", "00000000100", "00000000011", "00000000010",
                              "000000000011", "000000000010"};

// The signed differences -n..n: "1" for zero, each magnitude's code with its sign bit.
inline CodeList motion_codes(int n) {
    CodeList c{{"1", {0}}};
    for (int i = 0; i < n; ++i) {
        c.push_back({std::string(kMotionMagnitude[i]) + "0", {i + 1}});
        c.push_back({std::string(kMotionMagnitude[i]) + "1", {-(i + 1)}});
    }
    return c;
}

}  // namespace zdec
