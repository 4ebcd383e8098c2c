// The AVS 2-D VLC tables of the block decoders (intra luma, inter luma and
// chroma, seven, seven and five tables), generated from the standard's tables.
#pragma once

#include <cstdint>

namespace zep::avs {

struct VlcTable {
    int8_t pair[59][2];  // (run, level) by code number; run 64 is the end of block
    uint8_t ref[32];     // reference level of an escape, by run (runs up to runLimit)
    int maxLevel;        // largest level magnitude that keeps this table current
    int order;           // Exp-Golomb order of the code numbers while it is current
    int runLimit;        // escapes with a longer run use reference level 1
    int escOrder;        // Exp-Golomb order of the escape's level difference
};

extern const VlcTable kIntraLumaTables[7];
extern const VlcTable kInterLumaTables[7];
extern const VlcTable kChromaTables[5];

}  // namespace zep::avs
