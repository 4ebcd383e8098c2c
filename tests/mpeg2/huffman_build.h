// Code descriptions for the library's Huffman builders from the MPEG-1/2 code
// tables (shared by the tests, the benchmark and the fuzz target): each
// (run, |level|) code with its sign bit appended, end of block as run 254,
// escape as run 255.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "mpeg2/codes.h"
#include "vlc_desc.h"
#include "zepvc.h"

namespace mpeg2t {

// The code tables are the example decoder's generated ones.
using zdec::CodeList;
using zdec::describe;
using zdec::mpeg2::DcCode;
using zdec::mpeg2::kAlternate;
using zdec::mpeg2::kB14;
using zdec::mpeg2::kB15;
using zdec::mpeg2::kDcChroma;
using zdec::mpeg2::kDcLuma;
using zdec::mpeg2::kZigzag;
using zdec::mpeg2::RlCode;
using zdec::mpeg2::run_level_codes;
using zdec::mpeg2::dc_codes;


// Built tables (null on failure); the caller frees them with zepiHuffmanTableFree_32s.
template <size_t N>
Zep32s* build_ac_table(const RlCode (&codes)[N]) {
    Zep32s* t = nullptr;
    zepiHuffmanRunLevelTableInitAlloc_32s(describe(run_level_codes(codes), {8, 5, 4}).data(), &t);
    return t;
}
template <size_t N>
Zep32s* build_dc_table(const DcCode (&codes)[N]) {
    Zep32s* t = nullptr;
    zepiHuffmanTableInitAlloc_32s(describe(dc_codes(codes), {5, 5}).data(), &t);
    return t;
}

}  // namespace mpeg2t
