// Benchmarks of the 8x8 DCTs.
#include "bench.h"

#include "dct/dct_dsp.h"

namespace {

using zb::Case;
using zep::Isa;

// A coefficient block shaped like a decoder's: a handful of low frequencies.
std::shared_ptr<zb::Buffer> coefficients() {
    auto b = zb::random_buffer(128, 31);
    auto* c = b->at<Zep16s>();
    for (int i = 0; i < 64; ++i) c[i] = static_cast<Zep16s>((i / 8 + i % 8) < 4 ? (c[i] % 200) : 0);
    return b;
}

Case inv(Isa level, int transposed, zep::DctOut out) {
    auto t = std::make_shared<zep::DctDsp>(zep::build_table(zep::dct_init, level));
    auto src = coefficients();
    auto pic = zb::random_buffer(32 * 8, 32);
    const auto fn = t->inv[transposed][static_cast<int>(out)];
    if (out == zep::DctOut::Coeff16s) {
        auto dst = zb::random_buffer(128, 33);
        return {[=] { fn(src->at<Zep16s>(), dst->at(), 8); }, [=] { return zb::hash_bytes(dst->at(), 128); }};
    }
    return {[=] { fn(src->at<Zep16s>(), pic->at(), 32); }, [=] { return zb::hash_bytes(pic->at(), 32 * 8); }};
}

Case fwd(Isa level) {
    auto t = std::make_shared<zep::DctDsp>(zep::build_table(zep::dct_init, level));
    auto pic = zb::random_buffer(32 * 8, 34);
    auto dst = zb::random_buffer(128, 35);
    return {[=] { t->fwd8u(pic->at(), 32, dst->at<Zep16s>()); }, [=] { return zb::hash_bytes(dst->at(), 128); }};
}

const zb::Register i0("dct", "IDCT 8x8 16s", [](Isa l) { return inv(l, 0, zep::DctOut::Coeff16s); });
const zb::Register i1("dct", "IDCT 8x8 to 8u", [](Isa l) { return inv(l, 0, zep::DctOut::Clamp8u); });
const zb::Register i2("dct", "IDCT 8x8 added to 8u", [](Isa l) { return inv(l, 0, zep::DctOut::Add8u); });
const zb::Register i3("dct", "IDCT 8x8 transposed added to 8u", [](Isa l) { return inv(l, 1, zep::DctOut::Add8u); });
const zb::Register f0("dct", "FDCT 8x8 from 8u", [](Isa l) { return fwd(l); });

}  // namespace
