// Fuzz target: the H.263 / H.261 coefficient decoders and the intra DC
// decoders on arbitrary bytes. The decoders take no length: the input is
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
    std::vector<Zep8u> bytes(size + 300, 0);
    std::memcpy(bytes.data(), data, size);
    Zep8u* p = bytes.data();
    Zep32s off = sel & 7, last = 0;
    Zep16s coef[64] = {};
    const int scan = (sel >> 3) & 3;
    switch ((sel >> 5) % 8) {
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
