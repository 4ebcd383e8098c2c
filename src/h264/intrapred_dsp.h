// Kernel table of the H.264 16x16 luma and chroma intra predictors, and the
// neighbour flags every intra predictor works from.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// Which neighbours of a block are available, from the library's edge flags
// (bits set for missing neighbours: 1 left, 4 above, 16 above-left, 32
// above-right).
struct Nbr {
    bool left, top, topLeft, topRight;
};
inline Nbr nbr_from_flags(unsigned edgeFlags) {
    return {!(edgeFlags & 1), !(edgeFlags & 4), !(edgeFlags & 16), !(edgeFlags & 32)};
}

// Whether 4x4/8x8 mode m (0..8) can be formed with these neighbours: the
// above-right samples are never required (the last sample above stands in).
inline bool nxn_mode_ok(unsigned m, Nbr n) {
    switch (m) {
        case 0: case 3: case 7: return n.top;
        case 1: case 8: return n.left;
        case 2: return true;
        default: return n.top && n.left && n.topLeft;
    }
}
// 16x16 modes 0 vertical, 1 horizontal, 2 DC, 3 plane; chroma 0 DC,
// 1 horizontal, 2 vertical, 3 plane.
inline bool luma16_mode_ok(unsigned m, Nbr n) {
    return m == 2 || (m == 0 && n.top) || (m == 1 && n.left) || (m == 3 && n.top && n.left && n.topLeft);
}
inline bool chroma_mode_ok(unsigned m, Nbr n) {
    return m == 0 || (m == 1 && n.left) || (m == 2 && n.top) || (m == 3 && n.top && n.left && n.topLeft);
}

// Availability bits the DC kernels read.
inline constexpr unsigned kAvailLeft = 1, kAvailTop = 2;
inline unsigned dc_avail(Nbr n) { return (n.left ? kAvailLeft : 0u) | (n.top ? kAvailTop : 0u); }

// Predicts one block in place; only the DC forms read `avail`.
using IntraPredFn = void (*)(Zep8u* p, Zep32s step, unsigned avail);

struct IntraPredDsp {
    IntraPredFn luma16[4];    // by 16x16 mode
    IntraPredFn chroma[2][4];  // [0 for 8x8 (4:2:0), 1 for 8x16 (4:2:2)][chroma mode]
};

void intrapred_init(IntraPredDsp& t, Isa level);
extern const IntraPredDsp g_intrapred_active __attribute__((visibility("hidden")));
inline const IntraPredDsp& intrapred_dsp() { return g_intrapred_active; }

#if ZEPVC_HAVE_X86
void intrapred_install_ssse3(IntraPredDsp& t);
#endif

}  // namespace zep
