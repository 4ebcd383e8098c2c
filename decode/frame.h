// A decoded 4:2:0 picture whose planes carry a border of replicated edge
// samples, so that motion compensation may read around (and, with its
// position clamped, far beyond) the picture without bounds checks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace zdec {

// Replicates a plane's edge samples into `pad` samples around it.
inline void pad_plane(uint8_t* p, int stride, int w, int h, int pad) {
    for (int y = 0; y < h; ++y) {
        uint8_t* row = p + static_cast<ptrdiff_t>(y) * stride;
        std::memset(row - pad, row[0], static_cast<size_t>(pad));
        std::memset(row + w, row[w - 1], static_cast<size_t>(pad));
    }
    const size_t span = static_cast<size_t>(w + 2 * pad);
    for (int y = 1; y <= pad; ++y) {
        std::memcpy(p - static_cast<ptrdiff_t>(y) * stride - pad, p - pad, span);
        std::memcpy(p + static_cast<ptrdiff_t>(h - 1 + y) * stride - pad, p + static_cast<ptrdiff_t>(h - 1) * stride - pad,
                    span);
    }
}

struct PaddedFrame {
    static constexpr int kPad = 48, kPadC = kPad / 2;
    std::vector<uint8_t> mem;
    uint8_t *y = nullptr, *cb = nullptr, *cr = nullptr;
    int stride = 0, stride_c = 0, w = 0, h = 0;

    void allocate(int mbw, int mbh) {
        w = 16 * mbw;
        h = 16 * mbh;
        stride = w + 2 * kPad;
        stride_c = w / 2 + 2 * kPadC;
        const size_t luma = static_cast<size_t>(stride) * static_cast<size_t>(h + 2 * kPad);
        const size_t chroma = static_cast<size_t>(stride_c) * static_cast<size_t>(h / 2 + 2 * kPadC);
        mem.assign(luma + 2 * chroma, 128);
        y = mem.data() + static_cast<size_t>(kPad) * static_cast<size_t>(stride) + kPad;
        cb = mem.data() + luma + static_cast<size_t>(kPadC) * static_cast<size_t>(stride_c) + kPadC;
        cr = cb + chroma;
    }
    void pad() {
        pad_plane(y, stride, w, h, kPad);
        pad_plane(cb, stride_c, w / 2, h / 2, kPadC);
        pad_plane(cr, stride_c, w / 2, h / 2, kPadC);
    }
};

}  // namespace zdec
