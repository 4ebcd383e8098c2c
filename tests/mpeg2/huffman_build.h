// Code descriptions for the library's Huffman builders from the MPEG-1/2 code
// tables (shared by the tests, the benchmark and the fuzz target): each
// (run, |level|) code with its sign bit appended, end of block as run 254,
// escape as run 255.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "mpeg2/code_tables.h"
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

template <size_t N>
CodeList run_level_codes(const RlCode (&codes)[N]) {
    CodeList c;
    for (const RlCode& r : codes) {
        if (r.run == -1) c.push_back({r.code, {254, 0}});
        else if (r.run == -2) c.push_back({r.code, {255, 0}});
        else if (r.run >= 0) {
            c.push_back({std::string(r.code) + "0", {r.run, r.level}});
            c.push_back({std::string(r.code) + "1", {r.run, -r.level}});
        }
    }
    return c;
}

template <size_t N>
CodeList dc_size_codes(const DcCode (&codes)[N]) {
    CodeList c;
    for (const DcCode& d : codes) c.push_back({d.code, {d.size}});
    return c;
}

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
    zepiHuffmanTableInitAlloc_32s(describe(dc_size_codes(codes), {5, 5}).data(), &t);
    return t;
}

}  // namespace mpeg2t
