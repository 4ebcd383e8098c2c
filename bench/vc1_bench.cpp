// Benchmarks of the VC-1 family: transforms, quantisers, overlap smoothing and
// range mapping.
#include <cstring>

#include "bench.h"
#include "vc1/vc1_dsp.h"

namespace {

using zb::Case;
using zep::Isa;
using zep::Vc1Dsp;

std::shared_ptr<Vc1Dsp> table(Isa l) { return std::make_shared<Vc1Dsp>(zep::build_table(zep::vc1_init, l)); }

// A block of coefficients (or residuals) in [-lim, lim] with only the top-left
// rw x rh non-zero, and an output block; 16-byte rows.
struct Blocks {
    std::shared_ptr<zb::Buffer> mem = zb::random_buffer(1024, 7);
    Blocks(int rw, int rh, int lim) {
        Zep16s* s = src();
        for (int i = 0; i < 64; ++i) {
            const int v = static_cast<int>(static_cast<uint16_t>(s[i]) % (2 * lim + 1)) - lim;
            s[i] = (i % 8 < rw && i / 8 < rh) ? static_cast<Zep16s>(v) : 0;
        }
    }
    Zep16s* src() { return mem->at<Zep16s>(0); }
    Zep16s* dst() { return mem->at<Zep16s>(256); }
    uint64_t digest() { return zb::hash_bytes(dst(), 128); }
};

Case inv(Isa l, int w, int h, int variant, int rw, int rh) {
    auto t = table(l);
    auto b = std::make_shared<Blocks>(rw, rh, 600);
    zep::Vc1XformFn f = w == 8 ? (h == 8 ? t->inv8x8[variant] : t->inv8x4[variant])
                               : (h == 8 ? t->inv4x8[variant] : t->inv4x4[variant]);
    return {[=] { f(b->src(), 16, b->dst(), 16); }, [=] { return b->digest(); }};
}

Case fwd(Isa l, int w, int h) {
    auto t = table(l);
    auto b = std::make_shared<Blocks>(8, 8, 255);
    zep::Vc1XformFn f = t->fwd[zep::vc1_size_index(w, h)];
    return {[=] { f(b->src(), 16, b->dst(), 16); }, [=] { return b->digest(); }};
}

// Forward quantisation in place on a fresh copy each call (the copy is part of
// every level's time).
Case quant(Isa l, bool intra, bool nonUniform, int dq) {
    auto t = table(l);
    auto b = std::make_shared<Blocks>(8, 8, 2000);
    const int cls = zep::vc1_div_table[dq].cls;
    zep::Vc1QuantFn f = intra ? t->quant_intra[nonUniform][cls] : t->quant_inter[nonUniform][3][cls];
    return {[=] {
                std::memcpy(b->dst(), b->src(), 128);
                f(b->dst(), 16, dq);
            },
            [=] { return b->digest(); }};
}

Case quant_inv(Isa l, bool intra, bool nonUniform) {
    auto t = table(l);
    auto b = std::make_shared<Blocks>(4, 4, 100);
    auto nz = std::make_shared<ZepSize>();
    zep::Vc1QuantInvFn f = intra ? t->quant_inv_intra[nonUniform] : t->quant_inv_inter[nonUniform][3];
    return {[=] { f(b->src(), 16, b->dst(), 16, 17, nz.get()); },
            [=] { return b->digest() ^ zb::hash_bytes(nz.get(), sizeof(ZepSize)); }};
}

// 16-bit sources with 64-byte rows, a picture with 64-byte rows.
struct Edge {
    std::shared_ptr<zb::Buffer> mem = zb::random_buffer(8192, 9);
    Edge() {
        Zep16s* s = src16();
        for (int i = 0; i < 1024; ++i) s[i] = static_cast<Zep16s>(static_cast<uint16_t>(s[i]) % 320 - 32);
    }
    Zep16s* src16() { return mem->at<Zep16s>(0); }
    Zep8u* pic() { return mem->at(4096); }
    uint64_t digest() { return zb::hash_bytes(mem->at(), 8192); }
};

Case smooth_hor(Isa l) {
    auto t = table(l);
    auto e = std::make_shared<Edge>();
    return {[=] { t->smooth_hor(e->src16(), 64, e->src16() + 64, 64, e->pic() + 256, 64); },
            [=] { return e->digest(); }};
}
Case smooth_ver(Isa l) {
    auto t = table(l);
    auto e = std::make_shared<Edge>();
    return {[=] { t->smooth_ver(e->src16() + 6, 64, e->src16() + 8, 64, e->pic() + 8, 64, 0); },
            [=] { return e->digest(); }};
}

// One 720x16 stretch of a plane.
Case range_map(Isa l) {
    auto t = table(l);
    auto m = zb::random_buffer(2 * 768 * 16, 5);
    return {[=] { t->range_map(m->at(), 768, m->at(768 * 16), 768, 720, 16, 16); },
            [=] { return zb::hash_bytes(m->at(768 * 16), 768 * 16); }};
}

Case hadamard(Isa l, bool residual) {
    auto t = table(l);
    auto b = std::make_shared<Blocks>(8, 8, 255);
    auto sum = std::make_shared<Zep32s>(0);
    if (residual)
        return {[=] { t->hadamard_16s(b->src(), 16, b->dst(), sum.get()); },
                [=] { return b->digest() ^ static_cast<uint64_t>(*sum); }};
    return {[=] { t->hadamard_8u(b->mem->at(1), 24, b->dst(), sum.get()); },
            [=] { return b->digest() ^ static_cast<uint64_t>(*sum); }};
}

const zb::Register r0("vc1", "Transform8x8Inv full", [](Isa l) { return inv(l, 8, 8, zep::kVc1InvFull, 8, 8); });
const zb::Register r1("vc1", "Transform8x8Inv 4x4 coefficients",
                      [](Isa l) { return inv(l, 8, 8, zep::kVc1Inv4x4, 4, 4); });
const zb::Register r2("vc1", "Transform8x8Inv 2x2 coefficients",
                      [](Isa l) { return inv(l, 8, 8, zep::kVc1Inv2x2, 2, 2); });
const zb::Register r3("vc1", "Transform8x8Inv DC", [](Isa l) { return inv(l, 8, 8, zep::kVc1InvDC, 1, 1); });
const zb::Register r4("vc1", "Transform8x4Inv full", [](Isa l) { return inv(l, 8, 4, zep::kVc1InvFull, 8, 4); });
const zb::Register r5("vc1", "Transform4x8Inv full", [](Isa l) { return inv(l, 4, 8, zep::kVc1InvFull, 4, 8); });
const zb::Register r6("vc1", "Transform4x4Inv full", [](Isa l) { return inv(l, 4, 4, zep::kVc1InvFull, 4, 4); });
const zb::Register r7("vc1", "Transform8x8Fwd", [](Isa l) { return fwd(l, 8, 8); });
const zb::Register r8("vc1", "Transform8x4Fwd", [](Isa l) { return fwd(l, 8, 4); });
const zb::Register r9("vc1", "Transform4x8Fwd", [](Isa l) { return fwd(l, 4, 8); });
const zb::Register r10("vc1", "Transform4x4Fwd", [](Isa l) { return fwd(l, 4, 4); });
const zb::Register r11("vc1", "QuantIntraUniform dq 19 (+copy)", [](Isa l) { return quant(l, true, false, 19); });
const zb::Register r12("vc1", "QuantInterNonuniform 8x8 dq 23 (+copy)",
                       [](Isa l) { return quant(l, false, true, 23); });
const zb::Register r13("vc1", "QuantInvIntraUniform", [](Isa l) { return quant_inv(l, true, false); });
const zb::Register r14("vc1", "QuantInvInterNonuniform 8x8", [](Isa l) { return quant_inv(l, false, true); });
const zb::Register r15("vc1", "Smoothing 8 columns of a horizontal edge", [](Isa l) { return smooth_hor(l); });
const zb::Register r16("vc1", "Smoothing 8 rows of a vertical edge", [](Isa l) { return smooth_ver(l); });
const zb::Register r18("vc1", "Hadamard8x8Sum 8u16s", [](Isa l) { return hadamard(l, false); });
const zb::Register r19("vc1", "Hadamard8x8Sum 16s", [](Isa l) { return hadamard(l, true); });
const zb::Register r17("vc1", "RangeMapping 720x16", [](Isa l) { return range_map(l); });

}  // namespace
