// Fuzz target: the CAVLC block decoders (standard tables) and the Exp-Golomb
// reader on arbitrary bytes. The stream is the input followed by padding of
// one bits (enough for any run of zeros in the input to end and for the
// longest escape suffix it can announce); the buffer ends exactly there, so a
// read more than one word past the last bit consumed, or a write outside the
// one block, is caught by the address sanitizer.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "h264/cavlc_codes.h"
#include "zepvc.h"

namespace {

struct Tables {
    Zep32s* ct[3];
    Zep32s* dc420;
    Zep32s* dc422;
    Zep32s* tz4x4[16] = {};
    Zep32s* tz420[4] = {};
    Zep32s* tz422[8] = {};
    Zep32s* rb[15] = {};
    static Zep32s* build(const Zep32s* d) {
        Zep32s* t = nullptr;
        if (zepiHuffmanTableInitAlloc_32s(d, &t) != zepStatusOk) std::abort();
        return t;
    }
    Tables() {  // lives for the whole run
        using namespace zep::cavlc;
        for (int i = 0; i < 3; ++i) ct[i] = build(kCoeffTokenDesc[i]);
        dc420 = build(kCoeffTokenDc420Desc);
        dc422 = build(kCoeffTokenDc422Desc);
        for (int i = 1; i < 16; ++i) tz4x4[i] = build(kTotalZeros4x4Desc[i]);
        for (int i = 1; i < 4; ++i) tz420[i] = build(kTotalZerosDc420Desc[i]);
        for (int i = 1; i < 8; ++i) tz422[i] = build(kTotalZerosDc422Desc[i]);
        for (int i = 1; i < 15; ++i) rb[i] = i <= 7 ? build(kRunBeforeDesc[i]) : rb[7];
    }
};

constexpr Zep32s kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Tables tb;
    if (size < 2) return 0;
    const uint8_t sel = data[0], nCbyte = data[1];
    data += 2;
    size -= 2;
    const size_t dataWords = (size + 3) / 4;
    std::vector<Zep32u> words(dataWords + dataWords + 40, 0xFFFFFFFFu);
    for (size_t i = 0; i < size; ++i) {
        Zep32u& w = words[i / 4];
        const int sh = 24 - 8 * static_cast<int>(i % 4);
        w = (w & ~(0xFFu << sh)) | (Zep32u{data[i]} << sh);
    }
    Zep32u* p = words.data();
    Zep32s off = 31 - (sel >> 3) % 32;
    const Zep32u* const dataEnd = words.data() + dataWords;
    for (int iter = 0; iter < 4096 && p < dataEnd; ++iter) {
        Zep16s num = 0;
        ZepStatus st;
        // Exact-size output blocks: a write outside the block is a sanitizer report.
        const int kind = (sel + iter) % 7;
        const int n = kind < 2 ? 16 : (kind < 4 ? 4 : 8);
        std::unique_ptr<Zep16s[]> b16(new Zep16s[n]);
        std::unique_ptr<Zep32s[]> b32(new Zep32s[n]);
        Zep16s* q16 = b16.get();
        Zep32s* q32 = b32.get();
        const Zep16s maxC = (nCbyte & 0x80) ? 15 : 16;
        const Zep32s nC = nCbyte % 20;
        switch (kind) {
            case 0: st = zepiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &q16, nC, maxC, tb.ct, tb.tz4x4, tb.rb, kZigzag); break;
            case 1: st = zepiDecodeCAVLCCoeffs_H264_1u32s(&p, &off, &num, &q32, nC, maxC, tb.ct, tb.tz4x4, tb.rb, kZigzag); break;
            case 2: st = zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&p, &off, &num, &q16, tb.dc420, tb.tz420, tb.rb); break;
            case 3: st = zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s(&p, &off, &num, &q32, tb.dc420, tb.tz420, tb.rb); break;
            case 4: st = zepiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(&p, &off, &num, &q16, tb.dc422, tb.tz422, tb.rb); break;
            case 5: st = zepiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(&p, &off, &num, &q32, tb.dc422, tb.tz422, tb.rb); break;
            default: {
                Zep32s v;
                Zep16s v16;
                st = (iter & 1) ? zepiDecodeExpGolombOne_H264_1u32s(&p, &off, &v, iter & 2)
                                : zepiDecodeExpGolombOne_H264_1u16s(&p, &off, &v16, iter & 2);
            }
        }
        if (num < 0 || num > 16) std::abort();
        if (p + 1 >= words.data() + words.size()) std::abort();  // consumed into the last word: padding too short
        if (st != zepStatusOk) {  // skip a bit and go on
            if (--off < 0) off += 32, ++p;
        }
    }
    return 0;
}
