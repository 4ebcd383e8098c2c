// Benchmarks of the AVS weighted prediction.
#include "bench.h"

#include "avs/weight_dsp.h"

namespace {

zb::Case weight(zep::Isa level, bool wide) {
    auto t = std::make_shared<zep::AvsWeightDsp>(zep::build_table(zep::avs_weight_init, level));
    auto src = zb::random_buffer(32 * 16, 71), dst = zb::random_buffer(32 * 16, 72);
    const auto fn = wide ? t->w16 : t->w8;
    return {[=] { fn(src->at(), 32, dst->at(), 32, 37, -6, wide ? 16 : 8); },
            [=] { return zb::hash_bytes(dst->at(), 32 * 16); }};
}

const zb::Register a0("avs", "Weight prediction 16x16", [](zep::Isa l) { return weight(l, true); });
const zb::Register a1("avs", "Weight prediction 8x8", [](zep::Isa l) { return weight(l, false); });

}  // namespace
