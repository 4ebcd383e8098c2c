// Benchmarks of the H.264 forward transform, quantisers and CAVLC syntax
// analysis. Each run walks a batch of different blocks, so data-dependent
// branches see realistic variety.
#include <array>
#include <vector>

#include "bench.h"

#include "h264/cavlcenc_dsp.h"
#include "h264/fwdquant_dsp.h"
#include "h264/fwdquant_ref.h"

namespace {

using zb::Case;
using zep::Isa;

constexpr int kBlocks = 64;
constexpr int kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};

// Residual-sized inputs (|x| < 256) and the zig-zag positions as scan positions.
struct Blocks {
    std::vector<Zep16s> r16 = std::vector<Zep16s>(16 * kBlocks), out16 = std::vector<Zep16s>(16 * kBlocks);
    std::vector<Zep32s> r32 = std::vector<Zep32s>(16 * kBlocks), out32 = std::vector<Zep32s>(16 * kBlocks);
    std::array<Zep16s, 16> scanPos{};
    std::array<Zep32s, 16> scan{}, scale{};
    std::array<Zep32s, 2 * kBlocks> counts{};
    Blocks() {
        auto mem = zb::random_buffer(2 * 16 * kBlocks, 17);
        for (int i = 0; i < 16 * kBlocks; ++i) r16[i] = r32[i] = static_cast<Zep16s>(mem->at<Zep16s>()[i] >> 7);
        for (int i = 0; i < 16; ++i) scanPos[kZigzag[i]] = static_cast<Zep16s>(i), scan[i] = kZigzag[i];
        for (int i = 0; i < 16; ++i) scale[i] = zep::fwdq_flat_mult[2][i] >> 4;
    }
    uint64_t digest() const {
        uint64_t h = zb::hash_bytes(out16.data(), out16.size() * 2);
        h = zb::hash_bytes(out32.data(), out32.size() * 4, h);
        return zb::hash_bytes(counts.data(), counts.size() * 4, h);
    }
};

// qp 28 inter: levels mostly 0 and +-1, as in a typical inter block.
constexpr int kQp = 28;
constexpr int kShiftFlat = 15 + kQp / 6, kShiftScale = 11 + kQp / 6;
constexpr Zep32s kRoundFlat = zep::fwdq_round15[kQp / 6], kRoundScale = zep::fwdq_round11[kQp / 6];

enum class Op { Fwd16, Fwd32, QuantFlat16, QuantScale16, Quant32, FwdQuant16, FwdQuant32 };

Case fwdquant(Isa level, Op op) {
    auto t = std::make_shared<zep::FwdQuantDsp>(zep::build_table(zep::fwdquant_init, level));
    auto b = std::make_shared<Blocks>();
    const Zep32s* flat = zep::fwdq_flat_mult[kQp % 6].data();
    // Quantiser inputs: the transformed blocks.
    for (int k = 0; k < kBlocks; ++k) {
        zep::ref::fwd4x4_16s(&b->r16[16 * k], &b->r16[16 * k]);
        zep::ref::fwd4x4_32s(&b->r32[16 * k], &b->r32[16 * k]);
    }
    if (op == Op::Fwd16 || op == Op::Fwd32 || op == Op::FwdQuant16 || op == Op::FwdQuant32) {
        // Undo: transform inputs are raw residuals.
        auto raw = std::make_shared<Blocks>();
        b->r16 = raw->r16;
        b->r32 = raw->r32;
    }
    auto run = [=] {
        for (int k = 0; k < kBlocks; ++k) {
            const Zep16s* s16 = &b->r16[16 * k];
            const Zep32s* s32 = &b->r32[16 * k];
            Zep16s* d16 = &b->out16[16 * k];
            Zep32s* d32 = &b->out32[16 * k];
            Zep32s* c = &b->counts[2 * k];
            switch (op) {
                case Op::Fwd16: t->fwd16(s16, d16); break;
                case Op::Fwd32: t->fwd32(s32, d32); break;
                case Op::QuantFlat16:
                    t->quant16Flat(s16, d16, c, c + 1, flat, b->scanPos.data(), kRoundFlat, kShiftFlat);
                    break;
                case Op::QuantScale16:
                    t->quant16(s16, d16, c, c + 1, b->scale.data(), b->scanPos.data(), kRoundScale, kShiftScale);
                    break;
                case Op::Quant32:
                    t->quant32(s32, d32, c, c + 1, flat, b->scanPos.data(), kRoundFlat, kShiftFlat);
                    break;
                case Op::FwdQuant16: {
                    Zep16s tmp[16];
                    t->fwd16(s16, tmp);
                    t->quant16Flat(tmp, d16, c, c + 1, flat, b->scanPos.data(), kRoundFlat, kShiftFlat);
                    break;
                }
                case Op::FwdQuant32: {
                    Zep32s tmp[16];
                    t->fwd32(s32, tmp);
                    t->quant32(tmp, d32, c, c + 1, flat, b->scanPos.data(), kRoundFlat, kShiftFlat);
                    break;
                }
            }
        }
    };
    return {run, [=] { return b->digest(); }, kBlocks};
}

const zb::Register r0("h264enc", "TransformResidual4x4Fwd 16s", [](Isa l) { return fwdquant(l, Op::Fwd16); });
const zb::Register r1("h264enc", "TransformResidual4x4Fwd 32s", [](Isa l) { return fwdquant(l, Op::Fwd32); });
const zb::Register r2("h264enc", "QuantizeResidual4x4Fwd 16s built-in", [](Isa l) { return fwdquant(l, Op::QuantFlat16); });
const zb::Register r3("h264enc", "QuantizeResidual4x4Fwd 16s scale table", [](Isa l) { return fwdquant(l, Op::QuantScale16); });
const zb::Register r4("h264enc", "QuantizeResidual4x4Fwd 32s", [](Isa l) { return fwdquant(l, Op::Quant32); });
const zb::Register r5("h264enc", "Fwd transform + quantise 4x4 16s", [](Isa l) { return fwdquant(l, Op::FwdQuant16); });
const zb::Register r6("h264enc", "Fwd transform + quantise 4x4 32s", [](Isa l) { return fwdquant(l, Op::FwdQuant32); });

// CAVLC analysis of quantised blocks (qp 28 inter levels of the random residuals).
struct Quantised {
    std::vector<Zep16s> c16 = std::vector<Zep16s>(16 * kBlocks);
    std::vector<Zep32s> c32 = std::vector<Zep32s>(16 * kBlocks);
    std::vector<Zep8u> out = std::vector<Zep8u>(40 * kBlocks);
    std::vector<Zep32s> lv32 = std::vector<Zep32s>(16 * kBlocks);
    std::vector<Zep16s> lv16 = std::vector<Zep16s>(16 * kBlocks);
    std::array<Zep32s, 16> scan{};
    Quantised() {
        Blocks b;
        for (int k = 0; k < kBlocks; ++k) {
            Zep16s tmp[16];
            Zep32s n, last;
            // Smaller residuals on most blocks, for the sparse blocks of real coding.
            for (int i = 0; i < 16; ++i) b.r16[16 * k + i] = static_cast<Zep16s>(b.r16[16 * k + i] >> (k & 3));
            zep::ref::fwd4x4_16s(&b.r16[16 * k], tmp);
            // A coarser quantiser on half of the blocks, for sparser ones.
            const int qp = k & 1 ? 28 : 38;
            zep::ref::quant4x4<Zep16s>(tmp, &c16[16 * k], &n, &last, zep::fwdq_flat_mult[qp % 6].data(),
                                       b.scanPos.data(), zep::fwdq_round15[qp / 6], 15 + qp / 6);
            for (int i = 0; i < 16; ++i) c32[16 * k + i] = c16[16 * k + i];
        }
        scan = b.scan;
    }
    uint64_t digest() const {
        uint64_t h = zb::hash_bytes(out.data(), out.size());
        h = zb::hash_bytes(lv16.data(), lv16.size() * 2, h);
        return zb::hash_bytes(lv32.data(), lv32.size() * 4, h);
    }
};

enum class Enc { Block16, Block32, Block16Ac, Dc2x2, Dc2x4 };

Case cavlc(Isa level, Enc e) {
    auto t = std::make_shared<zep::CavlcEncDsp>(zep::build_table(zep::cavlcenc_init, level));
    auto q = std::make_shared<Quantised>();
    auto run = [=] {
        for (int k = 0; k < kBlocks; ++k) {
            Zep8u* o = &q->out[40 * k];
            switch (e) {
                case Enc::Block16:
                    t->block16(&q->c16[16 * k], 0, q->scan.data(), 15, o, o + 1, o + 2, o + 3, &q->lv16[16 * k], o + 4);
                    break;
                case Enc::Block16Ac:
                    t->block16(&q->c16[16 * k], 1, q->scan.data(), 15, o, o + 1, o + 2, o + 3, &q->lv16[16 * k], o + 4);
                    break;
                case Enc::Block32:
                    t->block32(&q->c32[16 * k], 0, q->scan.data(), 15, o, o + 1, o + 2, o + 3, &q->lv32[16 * k], o + 4);
                    break;
                case Enc::Dc2x2: t->dc2x2_16(&q->c16[16 * k], o, o + 1, o + 2, o + 3, &q->lv16[16 * k], o + 4); break;
                case Enc::Dc2x4: t->dc2x4_16(&q->c16[16 * k], o, o + 1, o + 2, o + 3, &q->lv16[16 * k], o + 4); break;
            }
        }
    };
    return {run, [=] { return q->digest(); }, kBlocks};
}

const zb::Register c0("h264enc", "EncodeCoeffsCAVLC 16s", [](Isa l) { return cavlc(l, Enc::Block16); });
const zb::Register c1("h264enc", "EncodeCoeffsCAVLC 16s startIdx 1", [](Isa l) { return cavlc(l, Enc::Block16Ac); });
const zb::Register c2("h264enc", "EncodeCoeffsCAVLC 32s", [](Isa l) { return cavlc(l, Enc::Block32); });
const zb::Register c3("h264enc", "EncodeChromaDcCoeffsCAVLC 2x2 16s", [](Isa l) { return cavlc(l, Enc::Dc2x2); });
const zb::Register c4("h264enc", "EncodeCoeffsCAVLCChromaDC2x4 16s", [](Isa l) { return cavlc(l, Enc::Dc2x4); });

}  // namespace
