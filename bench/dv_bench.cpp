// Benchmarks of the DV segment decoders on segments made by the test-side
// encoder: a typical one and a dense one whose blocks overflow across
// macroblocks. The decoders are bit-serial: every level shows the same code.
#include "bench.h"

#include <algorithm>
#include <random>

#include "../tests/dv/dv_encoder.h"
#include "dv/convert_dsp.h"
#include "dv/dequant_dsp.h"

namespace {

struct Rng {
    std::mt19937 g{7};
    int range(int lo, int hi) { return lo + static_cast<int>(g() % static_cast<unsigned>(hi - lo + 1)); }
    bool coin() { return g() & 1; }
    unsigned u32() { return static_cast<unsigned>(g()); }
};

zb::Case segment(bool dv100, int density) {
    static Zep32u* table = [] {
        const auto a = dvt::source_table(false), b = dvt::source_table(true);
        Zep32u* t = nullptr;
        zepiInitAllocHuffmanTable_DV_32u(a.data(), b.data(), &t);
        return t;
    }();
    Rng rng;
    auto seg = std::make_shared<dvt::Segment>(dvt::make_segment(rng, dv100 ? dvt::kDv100 : dvt::kDv, density));
    auto scans = std::make_shared<std::vector<Zep32s>>(128);
    for (int i = 0; i < 128; ++i) (*scans)[static_cast<size_t>(i)] = i & 63;
    auto out = std::make_shared<std::vector<Zep16s>>(64 * 40);
    auto params = std::make_shared<std::vector<Zep32u>>(40);
    const auto fn = dv100 ? zepiHuffmanDecodeSegment_DV100_8u16s : zepiHuffmanDecodeSegment_DV_8u16s;
    return {[=] { fn(seg->bytes.data(), scans->data(), table, out->data(), params->data()); },
            [=] { return zb::hash_bytes(out->data(), out->size() * 2); }};
}

const zb::Register s0("dv", "Segment DV typical (4 coefficients a block)", [](zep::Isa) { return segment(false, 8); });
const zb::Register s1("dv", "Segment DV dense (overflowing)", [](zep::Isa) { return segment(false, 40); });
const zb::Register s2("dv", "Segment DV100 typical", [](zep::Isa) { return segment(true, 8); });
const zb::Register s3("dv", "Segment DV100 dense (overflowing)", [](zep::Isa) { return segment(true, 40); });

// Inverse quantisation with weighting of one block (typical amplitudes, a mix of classes).
zb::Case dequant(zep::Isa level) {
    const zep::DvDequantDsp t = zep::build_table(zep::dv_dequant_init, level);
    auto blk = std::make_shared<std::vector<Zep16s>>(64 * 30);
    auto src = std::make_shared<std::vector<Zep16s>>(64 * 30);
    Rng rng;
    for (Zep16s& v : *src) v = static_cast<Zep16s>(rng.range(0, 3) ? 0 : rng.range(-40, 40));
    auto f = std::make_shared<zep::DvFactors>();
    for (int i = 0; i < 64; ++i) f->iw[i] = 33000 + 400 * i, f->round[i] = 1 << (11 - i % 3), f->shift[i] = 12 - i % 3;
    return {[=] {
                std::copy(src->begin(), src->end(), blk->begin());
                for (int k = 0; k < 30; ++k) t.block(blk->data() + 64 * k, *f);
            },
            [=] { return zb::hash_bytes(blk->data(), blk->size() * 2); }};
}

// Five macroblocks of samples into a packed 4:2:2 picture.
zb::Case convert(zep::Isa level, bool is420) {
    const zep::DvConvertDsp t = zep::build_table(zep::dv_convert_init, level);
    auto src = std::make_shared<std::vector<Zep16s>>(64 * 30);
    Rng rng;
    for (Zep16s& v : *src) v = static_cast<Zep16s>(rng.range(-20, 275));
    auto pic = std::make_shared<std::vector<Zep8u>>(1440 * 16);
    return {[=] {
                for (int k = 0; k < 5; ++k)
                    (is420 ? t.mb420 : t.mb411)(src->data() + 384 * k, pic->data() + (is420 ? 32 : 64) * k, 1440);
            },
            [=] { return zb::hash_bytes(pic->data(), pic->size()); }};
}

const zb::Register d0("dv", "Inverse quantisation + weighting, 30 blocks", dequant);
const zb::Register c0("dv", "Segment to packed 4:2:2, 4:1:1 macroblocks", [](zep::Isa l) { return convert(l, false); });
const zb::Register c1("dv", "Segment to packed 4:2:2, 4:2:0 macroblocks", [](zep::Isa l) { return convert(l, true); });

}  // namespace
