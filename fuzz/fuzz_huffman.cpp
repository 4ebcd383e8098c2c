// Fuzz target: the Huffman table builders on arbitrary descriptions, the
// generic VLC decoders on arbitrary bytes with those tables, and the CAVLC
// block decoders fed those same (non-standard) tables. Nothing may crash, read
// more than one word past the last bit consumed (the stream buffer ends right
// after its padding) or write outside the one block.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "zepvc.h"

namespace {

struct Bytes {
    const uint8_t* p;
    size_t n;
    uint8_t u8() { return n ? (--n, *p++) : 0; }
    uint32_t u32() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = (v << 8) | u8();
        return v;
    }
};

constexpr Zep32s kScan[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Bytes in{data, size};
    // Description: levels 1..4 of 1..8 bits, codes of lengths 1..(sum) with
    // arbitrary bits and payloads (not necessarily prefix-free).
    std::vector<Zep32s> desc = {0};
    const int levels = 1 + in.u8() % 4;
    desc.push_back(levels);
    int total = 0;
    for (int i = 0; i < levels; ++i) {
        const int w = 1 + in.u8() % 8;
        desc.push_back(w);
        total += w;
    }
    const int maxLen = 1 + in.u8() % (total + 2);  // sometimes longer than the tables cover
    for (int len = 1; len <= maxLen; ++len) {
        const int count = in.u8() % 4;
        desc.push_back(count);
        for (int i = 0; i < count; ++i) {
            desc.push_back(static_cast<Zep32s>(in.u32()));
            desc.push_back(static_cast<Zep32s>(in.u32()));
            desc.push_back(static_cast<Zep32s>(in.u32()));  // run-level tables read a third word
        }
    }
    desc.push_back(-1);
    // The value table reads records of two words: rebuild a two-word view.
    std::vector<Zep32s> desc2(desc.begin(), desc.begin() + 2 + levels);
    {
        size_t k = 2 + levels;
        while (desc[k] >= 0) {
            const Zep32s count = desc[k++];
            desc2.push_back(count);
            for (Zep32s i = 0; i < count; ++i, k += 3) {
                desc2.push_back(desc[k]);
                desc2.push_back(desc[k + 1]);
            }
        }
        desc2.push_back(-1);
    }
    Zep32s* vt = nullptr;
    Zep32s* rt = nullptr;
    if (zepiHuffmanTableInitAlloc_32s(desc2.data(), &vt) != zepStatusOk) return 0;
    if (zepiHuffmanRunLevelTableInitAlloc_32s(desc.data(), &rt) != zepStatusOk) {
        zepiHuffmanTableFree_32s(vt);
        return 0;
    }
    const size_t dataWords = (in.n + 3) / 4;
    std::vector<Zep32u> words(2 * dataWords + 40, 0xFFFFFFFFu);
    for (size_t i = 0; in.n; ++i) words[i / 4] = (words[i / 4] & ~(0xFFu << (24 - 8 * (i % 4)))) | (Zep32u{in.u8()} << (24 - 8 * (i % 4)));
    const Zep32s* ct[3] = {vt, vt, vt};
    const Zep32s* many[16];
    for (auto& t : many) t = vt;
    Zep32u* p = words.data();
    Zep32s off = 31;
    for (int iter = 0; iter < 2048 && p < words.data() + dataWords; ++iter) {
        ZepStatus st;
        Zep16s num = 0;
        switch (iter % 4) {
            case 0: {
                Zep32s v;
                st = zepiDecodeHuffmanOne_1u32s(&p, &off, &v, vt);
                break;
            }
            case 1: {
                Zep8s r;
                Zep16s l;
                st = zepiDecodeHuffmanPair_1u16s(&p, &off, rt, &r, &l);
                break;
            }
            case 2: {
                std::unique_ptr<Zep16s[]> b(new Zep16s[16]);
                Zep16s* q = b.get();
                st = zepiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &q, iter % 9, (iter & 8) ? 15 : 16, ct, many, many,
                                                      kScan);
                break;
            }
            default: {
                std::unique_ptr<Zep32s[]> b(new Zep32s[(iter & 4) ? 8 : 4]);
                Zep32s* q = b.get();
                st = (iter & 4) ? zepiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(&p, &off, &num, &q, vt, many, many)
                                : zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s(&p, &off, &num, &q, vt, many, many);
            }
        }
        if (p + 1 >= words.data() + words.size()) std::abort();
        if (st != zepStatusOk) {
            if (--off < 0) off += 32, ++p;
        }
        off &= 31;
    }
    zepiHuffmanTableFree_32s(vt);
    zepiHuffmanTableFree_32s(rt);
    return 0;
}
