// Fuzz target: the MPEG-1 and MPEG-2 block decoders on arbitrary words, with
// the standards' tables. The first byte picks the function, the table and the
// parameters; the decoders have no stream length, so the words are followed
// by more zero words than the longest block can read (64 escapes).
#include <cstdint>
#include <cstring>
#include <vector>

#include "../tests/mpeg2/huffman_build.h"
#include "zepvc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Zep32s* b14 = mpeg2t::build_ac_table(mpeg2t::kB14);
    static Zep32s* b15 = mpeg2t::build_ac_table(mpeg2t::kB15);
    static Zep32s* dc = mpeg2t::build_dc_table(mpeg2t::kDcChroma);
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
