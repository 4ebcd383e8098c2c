// Benchmarks of the block distortion metrics.
#include "bench.h"

#include "block/metrics_dsp.h"
#include "zepvc.h"

namespace {

using zb::Case;
using zep::Isa;
using zep::MetricsDsp;

// A 16x16 block and a reference with one spare row and column, 64-byte steps.
struct SadInputs {
    std::shared_ptr<zb::Buffer> mem = zb::random_buffer(64 * 40, 3);
    const Zep8u* src() { return mem->at(); }
    const Zep8u* ref() { return mem->at(64 * 20 + 3); }
};

Case sad16x16(Isa level, int mode) {
    auto t = std::make_shared<MetricsDsp>(zep::build_table(zep::metrics_init, level));
    auto in = std::make_shared<SadInputs>();
    auto out = std::make_shared<Zep32s>(0);
    return {[=] { t->sad16x16[mode](in->src(), 64, in->ref(), 64, out.get()); },
            [=] { return zb::hash_bytes(out.get(), sizeof(Zep32s)); }};
}

const zb::Register r0("metrics", "SAD16x16 mcType 0", [](Isa l) { return sad16x16(l, 0); });
const zb::Register r1("metrics", "SAD16x16 mcType 4", [](Isa l) { return sad16x16(l, 1); });
const zb::Register r2("metrics", "SAD16x16 mcType 8", [](Isa l) { return sad16x16(l, 2); });
const zb::Register r3("metrics", "SAD16x16 mcType 12", [](Isa l) { return sad16x16(l, 3); });

}  // namespace
