// Fuzz target: the MPEG-1 and MPEG-2 block decoders on arbitrary words, with
// the standards' tables. The first byte picks the function, the table and the
// parameters; the decoders have no stream length, so the words are followed
// by more zero words than the longest block can read (64 escapes).
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "../tests/mpeg2/code_tables.h"
#include "zepvc.h"

namespace {

std::vector<Zep32s> describe(const std::vector<std::pair<std::string, std::vector<int>>>& codes, std::vector<int> levels) {
    std::vector<Zep32s> d = {0, static_cast<Zep32s>(levels.size())};
    d.insert(d.end(), levels.begin(), levels.end());
    for (size_t len = 1; len <= 17; ++len) {
        std::vector<Zep32s> recs;
        int n = 0;
        for (auto& [code, payload] : codes)
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

template <size_t N>
Zep32s* ac_table(const mpeg2t::RlCode (&codes)[N]) {
    std::vector<std::pair<std::string, std::vector<int>>> c;
    for (const auto& r : codes) {
        if (r.run == -1) c.push_back({r.code, {254, 0}});
        else if (r.run == -2) c.push_back({r.code, {255, 0}});
        else if (r.run >= 0) {
            c.push_back({std::string(r.code) + "0", {r.run, r.level}});
            c.push_back({std::string(r.code) + "1", {r.run, -r.level}});
        }
    }
    Zep32s* t = nullptr;
    zepiHuffmanRunLevelTableInitAlloc_32s(describe(c, {8, 5, 4}).data(), &t);
    return t;
}

Zep32s* dc_table() {
    std::vector<std::pair<std::string, std::vector<int>>> c;
    for (const auto& d : mpeg2t::kDcChroma) c.push_back({d.code, {d.size}});
    Zep32s* t = nullptr;
    zepiHuffmanTableInitAlloc_32s(describe(c, {5, 5}).data(), &t);
    return t;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Zep32s* b14 = ac_table(mpeg2t::kB14);
    static Zep32s* b15 = ac_table(mpeg2t::kB15);
    static Zep32s* dc = dc_table();
    if (size < 2) return 0;
    const uint8_t sel = data[0], qp = static_cast<uint8_t>(data[1] | 1);
    data += 2;
    size -= 2;
    std::vector<Zep32u> words((size + 3) / 4 + 80, 0);
    std::memcpy(words.data(), data, size);
    Zep32s scan[64];
    for (int i = 0; i < 64; ++i) scan[i] = (sel & 8) ? mpeg2t::kAlternate[i] : mpeg2t::kZigzag[i];
    Zep16s w[64], blk[64], pred = static_cast<Zep16s>(sel);
    for (int i = 0; i < 64; ++i) w[i] = static_cast<Zep16s>(i * 4 + 1);
    Zep32u* p = words.data();
    Zep32s off = sel & 31, last = 0;
    const Zep32s* ac = (sel & 16) ? b15 : b14;
    switch (sel >> 6) {
        case 0: zepiReconstructDCTBlockIntra_MPEG2_32s(&p, &off, dc, ac, scan, qp, w, &pred, sel & 3, blk, &last); break;
        case 1: zepiReconstructDCTBlock_MPEG2_32s(&p, &off, b14, b14, scan, qp, (sel & 32) ? w : nullptr, blk, &last); break;
        case 2: zepiReconstructDCTBlockIntra_MPEG1_32s(&p, &off, dc, b14, scan, qp, w, &pred, blk, &last); break;
        default: zepiReconstructDCTBlock_MPEG1_32s(&p, &off, b14, b14, scan, qp, w, blk, &last); break;
    }
    return 0;
}
