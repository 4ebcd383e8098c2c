// Benchmarks of the MPEG-4 / H.263 inverse quantisation of an 8x8 block.
#include "bench.h"

#include <vector>

#include "mpeg4/quant_dsp.h"

namespace {

zb::Case inv(zep::Isa level, int kind) {
    auto t = std::make_shared<zep::QuantInvDsp>(zep::build_table(zep::quantinv_init, level));
    auto levels = std::make_shared<std::vector<Zep16s>>(64, 0);
    for (int i = 0; i < 64; ++i) (*levels)[i] = static_cast<Zep16s>(i < 20 ? (i * 7) % 11 - 5 : 0);
    auto w = std::make_shared<std::vector<Zep16u>>(64);
    for (int i = 0; i < 64; ++i) (*w)[i] = static_cast<Zep16u>(16 + i);
    // The block is reconstructed in place again and again: after the first calls its values sit
    // at the clamp limits, a fixed point every level reaches alike.
    auto work = std::make_shared<std::vector<Zep16s>>(*levels);
    return {[=] {
                if (kind == 0) t->h263(work->data(), 0, 63, 13);
                else t->matrixInter(work->data(), w->data(), 0, 63, 13, -2048, 2047);
            },
            [=] { return zb::hash_bytes(work->data(), 128); }};
}

const zb::Register q0("mpeg4", "QuantInv H.263 8x8", [](zep::Isa l) { return inv(l, 0); });
const zb::Register q1("mpeg4", "QuantInv MPEG-4 matrix 8x8", [](zep::Isa l) { return inv(l, 1); });

}  // namespace
