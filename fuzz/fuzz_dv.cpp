// Fuzz target: the DV table builder on arbitrary source tables, and the
// segment decoders on arbitrary segments with the standard's table or with
// the table the input builds. The first byte picks the mode.
#include <cstdint>
#include <cstring>
#include <vector>

#include "zepvc.h"

namespace {

// Source table words from the input: the width is kept small so that the
// table stays within memory; everything else is as the bytes say.
std::vector<Zep32u> source(const uint8_t* d, size_t n, int width) {
    std::vector<Zep32u> t = {static_cast<Zep32u>(width), 0, 0};
    size_t i = 0;
    for (int len = 1; len <= width; ++len) {
        const Zep32u count = i < n ? d[i++] % 4 : 0;
        t.push_back(count);
        for (Zep32u k = 0; k < count; ++k) {
            Zep32u w[3] = {0, 0, 0};
            for (auto& v : w)
                for (int b = 0; b < 2 && i < n; ++b) v = (v << 8) | d[i++];
            t.insert(t.end(), w, w + 3);
        }
    }
    return t;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const uint8_t sel = data[0];
    ++data;
    --size;
    Zep32s scans[128];
    for (int i = 0; i < 128; ++i) scans[i] = (i * 37) & 63;
    const auto t1 = source(data, size, 1 + (sel & 7)), t2 = source(data + size / 2, size - size / 2, 1 + ((sel >> 3) & 7));
    Zep32u* table = nullptr;
    if (zepiInitAllocHuffmanTable_DV_32u(t1.data(), t2.data(), &table) != zepStatusOk) return 0;
    if (sel & 0x40) {
        // The decoders index the second table with 11 bits: only the 8/11 layout may decode.
        const auto a = source(data, size, 8), b = source(data, size, 11);
        zepiFreeHuffmanTable_DV_32u(table);
        if (zepiInitAllocHuffmanTable_DV_32u(a.data(), b.data(), &table) != zepStatusOk) return 0;
        std::vector<Zep8u> seg(400, 0);
        std::memcpy(seg.data(), data, size < 400 ? size : 400);
        std::vector<Zep16s> out(64 * 40);
        std::vector<Zep32u> params(40);
        if (sel & 0x80) zepiHuffmanDecodeSegment_DV100_8u16s(seg.data(), scans, table, out.data(), params.data());
        else zepiHuffmanDecodeSegment_DV_8u16s(seg.data(), scans, table, out.data(), params.data());
        zepiHuffmanDecodeSegmentOnePass_DV_8u16s(seg.data(), scans, table, out.data(), params.data(), sel & 1);
    }
    zepiFreeHuffmanTable_DV_32u(table);
    return 0;
}
