// Code descriptions for the library's Huffman table builders, made from codes
// written as strings of 0 and 1.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "bits.h"

namespace zdec {

// (code, payload): the payload is one value for value tables, (run, level) for run-level tables.
using CodeList = std::vector<std::pair<std::string, std::vector<int>>>;

// Ignored word, lookup levels and their widths, then the codes grouped by length, -1.
inline std::vector<Zep32s> describe(const CodeList& codes, const std::vector<int>& levels) {
    std::vector<Zep32s> d = {0, static_cast<Zep32s>(levels.size())};
    d.insert(d.end(), levels.begin(), levels.end());
    size_t max_len = 0;
    for (const auto& c : codes) max_len = std::max(max_len, c.first.size());
    for (size_t len = 1; len <= max_len; ++len) {
        std::vector<Zep32s> recs;
        int n = 0;
        for (const auto& [code, payload] : codes)
            if (code.size() == len) {
                recs.push_back(static_cast<Zep32s>(std::stoul(code, nullptr, 2)));
                recs.insert(recs.end(), payload.begin(), payload.end());
                ++n;
            }
        d.push_back(n);
        d.insert(d.end(), recs.begin(), recs.end());
    }
    d.push_back(-1);
    return d;
}

// A built lookup table, freed with the decoder that owns it.
class VlcTable {
public:
    VlcTable() = default;
    VlcTable(const CodeList& codes, const std::vector<int>& levels, bool run_level = false) {
        const std::vector<Zep32s> d = describe(codes, levels);
        const ZepStatus st = run_level ? zepiHuffmanRunLevelTableInitAlloc_32s(d.data(), &t_)
                                       : zepiHuffmanTableInitAlloc_32s(d.data(), &t_);
        if (st != zepStatusOk) throw std::bad_alloc();
    }
    ~VlcTable() {
        if (t_) zepiHuffmanTableFree_32s(t_);
    }
    VlcTable(VlcTable&& o) noexcept : t_(o.t_) { o.t_ = nullptr; }
    VlcTable& operator=(VlcTable&& o) noexcept {
        std::swap(t_, o.t_);
        return *this;
    }
    const Zep32s* get() const { return t_; }

    // One value through the library's decoder; an invalid code is a stream error naming the field.
    int decode(Bits& b, const char* what) const {
        Zep32s v = 0;
        if (zepiDecodeHuffmanOne_1u32s(b.word(), b.offset(), &v, t_) != zepStatusOk)
            fail(std::string("invalid code: ") + what);
        b.guard();
        return v;
    }

private:
    Zep32s* t_ = nullptr;
};

}  // namespace zdec
