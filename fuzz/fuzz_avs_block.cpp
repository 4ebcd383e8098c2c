// Fuzz target: the three AVS block decoders on arbitrary words. The decoders
// read Exp-Golomb prefixes of any length and have no stream length, so the
// words are followed by as many all-ones words as there are input words
// (a prefix that ends there reads at most that many more bits) and a margin.
#include <cstdint>
#include <cstring>
#include <vector>

#include "zepvc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t sel = data[0];
    ++data;
    --size;
    const size_t n = (size + 3) / 4;
    std::vector<Zep32u> words(2 * n + 80, 0xFFFFFFFFu);
    std::memset(words.data(), 0, n * 4);
    std::memcpy(words.data(), data, size);
    Zep32u* p = words.data();
    Zep32s off = sel & 31, num = 0;
    Zep16s out[64];
    switch ((sel >> 5) % 3) {
        case 0: zepiDecodeLumaBlockIntra_AVS_1u16s(&p, &off, &num, out, sel >> 7); break;
        case 1: zepiDecodeLumaBlockInter_AVS_1u16s(&p, &off, &num, out, sel >> 7); break;
        default: zepiDecodeChromaBlock_AVS_1u16s(&p, &off, &num, out, sel >> 7); break;
    }
    return 0;
}
