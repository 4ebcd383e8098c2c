// Benchmarks of the DV segment decoders on segments made by the test-side
// encoder: a typical one and a dense one whose blocks overflow across
// macroblocks. The decoders are bit-serial: every level shows the same code.
#include "bench.h"

#include <random>

#include "../tests/dv/dv_encoder.h"

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

}  // namespace
