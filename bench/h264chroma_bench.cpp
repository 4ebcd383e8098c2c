// Benchmarks of the H.264 chroma interpolation and deblocking and of the
// 16-bit weighted prediction.
#include "bench.h"

#include <cstring>

#include "h264/interp_dsp.h"
#include "zepvc.h"

namespace {

using zb::Case;
using zep::Isa;

// ---------------------------------------------------------------- interpolation

// A reference plane with 64-sample rows; the block sits one row and column in.
template <class T>
Case chroma(Isa level, int w, int h, int dx, int dy) {
    auto t = std::make_shared<zep::InterpDsp>(zep::build_table(zep::interp_init, level));
    auto src = zb::random_buffer(64 * 20 * sizeof(T), 5);
    auto dst = zb::random_buffer(16 * 16 * sizeof(T), 6);
    if constexpr (sizeof(T) == 2)
        for (int i = 0; i < 64 * 20; ++i) src->at<Zep16u>()[i] &= 1023;
    return {[=] {
                const T* s = src->at<T>(65 * sizeof(T));
                if constexpr (sizeof(T) == 1)
                    t->chroma8[zep::chroma_class(w)](s, 64, dst->at<T>(), 16, dx, dy, h);
                else
                    t->chroma16[zep::chroma_class(w)](s, 64, dst->at<T>(), 16, dx, dy, h);
            },
            [=] { return zb::hash_bytes(dst->at(), 16 * 16 * sizeof(T)); }};
}

const zb::Register c0("h264chroma", "Chroma interp 8u 8x8 dx 3 dy 5", [](Isa l) { return chroma<Zep8u>(l, 8, 8, 3, 5); });
const zb::Register c1("h264chroma", "Chroma interp 8u 8x16 dx 1 dy 6", [](Isa l) { return chroma<Zep8u>(l, 8, 16, 1, 6); });
const zb::Register c2("h264chroma", "Chroma interp 8u 4x4 dx 7 dy 2", [](Isa l) { return chroma<Zep8u>(l, 4, 4, 7, 2); });
const zb::Register c3("h264chroma", "Chroma interp 8u 2x2 dx 4 dy 4", [](Isa l) { return chroma<Zep8u>(l, 2, 2, 4, 4); });
const zb::Register c4("h264chroma", "Chroma interp 16u 8x8 dx 3 dy 5 10-bit", [](Isa l) { return chroma<Zep16u>(l, 8, 8, 3, 5); });
const zb::Register c5("h264chroma", "Chroma interp 16u 4x4 dx 3 dy 5 10-bit", [](Isa l) { return chroma<Zep16u>(l, 4, 4, 3, 5); });

}  // namespace
