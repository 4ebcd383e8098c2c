// Fuzz target: the MPEG-4, H.263 and H.261 coefficient decoders (MPEG-4
// reversible codes both ways) and the intra DC decoders on arbitrary bytes. The decoders take no length: the input is
// followed by zero bytes (an invalid code) beyond the longest block a decoder
// can read (64 escapes with extended levels), so any read past them is a fault.
#include <cstdint>
#include <cstring>
#include <vector>

#include "zepvc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const uint8_t sel = data[0], qp = static_cast<uint8_t>(1 + data[1] % 31);
    data += 2;
    size -= 2;
    // 300 zero bytes on each side: the backward readers walk toward the front.
    std::vector<Zep8u> bytes(size + 600, 0);
    std::memcpy(bytes.data() + 300, data, size);
    Zep8u* p = bytes.data() + 300;
    Zep32s off = sel & 7, last = 0;
    Zep16s coef[64] = {};
    const int scan = (sel >> 3) & 3;
    if (sel & 0x80) {
        switch ((sel >> 5) & 3) {
            case 0: zepiDecodeCoeffsIntra_MPEG4_1u16s(&p, &off, coef, &last, sel & 1, sel & 2, scan); break;
            case 1: zepiDecodeCoeffsInter_MPEG4_1u16s(&p, &off, coef, &last, sel & 1, scan); break;
            case 2:
                p = bytes.data() + 300 + (size ? size - 1 : 0);
                zepiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(&p, &off, coef, &last, sel & 2);
                break;
            default:
                p = bytes.data() + 300 + (size ? size - 1 : 0);
                zepiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(&p, &off, coef, &last);
                break;
        }
        return 0;
    }
    switch ((sel >> 5) % 4 + ((sel & 1) ? 4 : 0)) {
        case 0: zepiDecodeCoeffsIntra_H263_1u16s(&p, &off, coef, &last, sel & 1, sel & 2, scan); break;
        case 1: zepiDecodeCoeffsInter_H263_1u16s(&p, &off, coef, &last, sel & 2, scan); break;
        case 2: zepiDecodeCoeffsIntra_H261_1u16s(&p, &off, coef, &last, scan - 1); break;
        case 3: zepiDecodeCoeffsInter_H261_1u16s(&p, &off, coef, &last, scan - 1); break;
        case 4: zepiReconstructCoeffsIntra_H263_1u16s(&p, &off, coef, &last, sel & 1, qp, sel & 2, scan, sel & 4); break;
        case 5: zepiReconstructCoeffsInter_H261_1u16s(&p, &off, coef, &last, qp); break;
        case 6: {
            Zep16s dc;
            zepiDecodeDCIntra_MPEG4_1u16s(&p, &off, &dc, sel & 1);
            break;
        }
        default: {
            Zep16u dc;
            zepiDecodeDCIntra_H263_1u16s(&p, &off, &dc);
            break;
        }
    }
    return 0;
}
