// Fuzz target: the MPEG-4, H.263 and H.261 coefficient encoders on arbitrary
// blocks; whatever an encoder accepts must decode back to the same block.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zepvc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1 + 128) return 0;
    const uint8_t sel = data[0];
    Zep16s c[64];
    std::memcpy(c, data + 1, 128);
    const int kind = sel % 6, scan = (sel >> 3) & 1;
    std::vector<Zep8u> bytes(2048, 0);
    Zep8u* p = bytes.data();
    Zep32s off = (sel >> 4) & 7;
    const Zep32s start = off;
    ZepStatus st;
    switch (kind) {
        case 0: st = zepiEncodeCoeffsInter_H263_16s1u(c, &p, &off, sel & 0x80, scan); break;
        case 1: st = zepiEncodeCoeffsIntra_H263_16s1u(c, &p, &off, 1, sel & 0x80, scan); break;
        case 2: st = zepiEncodeCoeffsInter_H261_16s1u(c, &p, &off); break;
        case 3: st = zepiEncodeCoeffsIntra_H261_16s1u(c, &p, &off); break;
        case 4: st = zepiEncodeCoeffsInter_MPEG4_16s1u(c, &p, &off, sel & 0x80, scan); break;
        default: st = zepiEncodeCoeffsIntra_MPEG4_16s1u(c, &p, &off, sel & 0x80, 0, scan); break;
    }
    if (st != zepStatusOk || (p == bytes.data() && off == start)) return 0;  // refused, or nothing to code
    Zep8u* q = bytes.data();
    Zep32s qoff = start, last;
    Zep16s d[64] = {};
    switch (kind) {
        case 0: st = zepiDecodeCoeffsInter_H263_1u16s(&q, &qoff, d, &last, sel & 0x80, scan); break;
        case 1: st = zepiDecodeCoeffsIntra_H263_1u16s(&q, &qoff, d, &last, 1, sel & 0x80, scan); break;
        case 2: st = zepiDecodeCoeffsInter_H261_1u16s(&q, &qoff, d, &last, 0); break;
        case 3: st = zepiDecodeCoeffsIntra_H261_1u16s(&q, &qoff, d, &last, 0); break;
        case 4: st = zepiDecodeCoeffsInter_MPEG4_1u16s(&q, &qoff, d, &last, sel & 0x80, scan); break;
        default: st = zepiDecodeCoeffsIntra_MPEG4_1u16s(&q, &qoff, d, &last, sel & 0x80, 0, scan); break;
    }
    if (st != zepStatusOk || q != p || qoff != off || std::memcmp(c, d, sizeof(c)) != 0) std::abort();
    return 0;
}
