// Benchmarks of the edge-directed deinterlacer.
#include "bench.h"

#include "enhance/deinterlace_dsp.h"

namespace {

zb::Case deint(zep::Isa level, int width) {
    auto t = std::make_shared<zep::DeintDsp>(zep::build_table(zep::deint_init, level));
    auto a = zb::random_buffer(width, 61), b = zb::random_buffer(width, 62), d = zb::random_buffer(width, 63);
    return {[=] { t->row(a->at(), b->at(), d->at(), width); }, [=] { return zb::hash_bytes(d->at(), width); }};
}

const zb::Register d0("enhance", "Deinterlace edge-directed row 720", [](zep::Isa l) { return deint(l, 720); });
const zb::Register d1("enhance", "Deinterlace edge-directed row 1920", [](zep::Isa l) { return deint(l, 1920); });

}  // namespace
