// H.264 DC transforms: the Hadamard transforms of the luma (4x4) and chroma
// (2x2, 2x4) DC matrices with their dequantisation, and the encoder's forward
// forms with quantisation. Plain 32/64-bit integer arithmetic: these run once
// per macroblock.
#pragma once

#include <cstdint>

namespace zep {

// In-place Hadamard of a rows x cols matrix (rows and cols 2 or 4), raster order.
inline void hadamard_dc(int* m, int rows, int cols) {
    auto line = [](int* v, int n, int stride) {
        if (n == 2) {
            const int a = v[0], b = v[stride];
            v[0] = a + b, v[stride] = a - b;
            return;
        }
        const int a = v[0], b = v[stride], c = v[2 * stride], d = v[3 * stride];
        v[0] = a + b + c + d, v[stride] = a + b - c - d, v[2 * stride] = a - b - c + d, v[3 * stride] = a - b + c - d;
    };
    for (int r = 0; r < rows; ++r) line(m + r * cols, cols, 1);
    for (int c = 0; c < cols; ++c) line(m + c, rows, cols);
}

// The DC scaling shared by the luma and the 4:2:2 chroma DC.
inline int dc_scale_by64(int f, int qp, int scale) {
    const int64_t v = static_cast<int64_t>(f) * scale;
    return static_cast<int>(qp >= 36 ? v << (qp / 6 - 6) : (v + (1 << (5 - qp / 6))) >> (6 - qp / 6));
}

// Luma DC (16 values) -> dcY.
inline void luma_dc_dequant(const int16_t* c, int* dc, int qp, int scale) {
    for (int i = 0; i < 16; ++i) dc[i] = c[i];
    hadamard_dc(dc, 4, 4);
    for (int i = 0; i < 16; ++i) dc[i] = dc_scale_by64(dc[i], qp, scale);
}

// Chroma DC, rows 2 (4:2:0, qp = QP'c) or 4 (4:2:2, qp = QP'c + 3); scale is
// LevelScale4x4(qp % 6, 0, 0).
inline void chroma_dc_dequant(const int16_t* c, int* dc, int rows, int qp, int scale) {
    for (int i = 0; i < 2 * rows; ++i) dc[i] = c[i];
    hadamard_dc(dc, rows, 2);
    for (int i = 0; i < 2 * rows; ++i)
        dc[i] = rows == 2 ? static_cast<int>(((static_cast<int64_t>(dc[i]) * scale) << (qp / 6)) >> 5)
                          : dc_scale_by64(dc[i], qp, scale);
}

}  // namespace zep
