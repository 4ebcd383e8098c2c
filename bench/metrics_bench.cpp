// Benchmarks of the block distortion metrics: every kernel at every level,
// plus the cost of the entry point itself on the smallest block.
#include <array>
#include <type_traits>

#include "bench.h"
#include "block/metrics_dsp.h"
#include "zepvc.h"

namespace {

using zb::Case;
using zep::Isa;
using zep::MetricsDsp;

constexpr int kStep = 64;  // bytes, for every picture below
constexpr int kCalls = 8;  // calls per run(), on eight different blocks

// A source picture and a reference picture with spare rows and columns;
// block i of a batch sits i * 8 bytes further right, so the eight calls of a
// batch see different data and misalignments.
struct Inputs {
    std::shared_ptr<zb::Buffer> mem = zb::random_buffer(kStep * 80, 3);
    const Zep8u* src(int i) { return mem->at(8 * i); }
    const Zep8u* ref(int i) { return mem->at(kStep * 40 + 3 + 8 * i); }
    const Zep16u* src16(int i) { return mem->at<Zep16u>(8 * i); }
    const Zep16u* ref16(int i) { return mem->at<Zep16u>(kStep * 40 + 2 + 8 * i); }
};

std::shared_ptr<MetricsDsp> table(Isa l) {
    return std::make_shared<MetricsDsp>(zep::build_table(zep::metrics_init, l));
}

// `call(t, in, i, out)` runs one kernel on block i; the digest covers the
// outputs of the whole batch.
template <class Out, class Call>
Case batch(Isa l, int outsPerCall, Call call) {
    auto t = table(l);
    auto in = std::make_shared<Inputs>();
    auto out = std::make_shared<std::vector<Out>>(static_cast<size_t>(outsPerCall) * kCalls);
    return {[=] {
                for (int i = 0; i < kCalls; ++i) call(*t, *in, i, out->data() + i * outsPerCall);
            },
            [=] { return zb::hash_bytes(out->data(), out->size() * sizeof(Out)); }, kCalls};
}

void reg_sad8(const char* name, zep::SadFn MetricsDsp::*m) {
    zb::Register("metrics", name, [m](Isa l) {
        return batch<Zep32s>(l, 1, [m](const MetricsDsp& t, Inputs& in, int i, Zep32s* o) {
            (t.*m)(in.src(i), kStep, in.ref(i), kStep, o);
        });
    });
}

void reg_modes8(const std::string& name, zep::SadFn (MetricsDsp::*m)[4]) {
    for (int mode = 0; mode < 4; ++mode)
        zb::Register("metrics", name + " mcType " + std::to_string(4 * mode), [m, mode](Isa l) {
            return batch<Zep32s>(l, 1, [m, mode](const MetricsDsp& t, Inputs& in, int i, Zep32s* o) {
                (t.*m)[mode](in.src(i), kStep, in.ref(i), kStep, o);
            });
        });
}

void reg_modes16(const std::string& name, zep::Sad16uFn (MetricsDsp::*m)[4]) {
    for (int mode = 0; mode < 4; ++mode)
        zb::Register("metrics", name + " mcType " + std::to_string(4 * mode), [m, mode](Isa l) {
            return batch<Zep32s>(l, 1, [m, mode](const MetricsDsp& t, Inputs& in, int i, Zep32s* o) {
                (t.*m)[mode](in.src16(i), kStep, in.ref16(i), kStep, o);
            });
        });
}

// Candidate runs of 32 positions: the aligned-table path (64-byte step,
// 16-byte aligned results) at two misalignments, and the general one.
template <class Fn>
void reg_run(const std::string& name, zep::RunTable<Fn> MetricsDsp::*m) {
    for (int variant = 0; variant < 3; ++variant) {
        const int mis = variant == 1 ? 5 : 0;
        const Zep32s step = variant == 2 ? kStep - 1 : kStep;
        const char* what[] = {" 32 cand, aligned", " 32 cand, misaligned 5", " 32 cand, general"};
        zb::Register("metrics", name + what[variant], [m, mis, step](Isa l) {
            auto t = table(l);
            auto in = std::make_shared<Inputs>();
            auto out = std::make_shared<std::array<Zep16u, 40>>();
            auto pMin = std::make_shared<Zep32s>(0);
            const Zep8u* ref = in->mem->at(kStep * 40 + mis);
            return Case{[=] {
                            const Fn f = (t.get()->*m).pick(ref, step, out->data());
                            if constexpr (std::is_same_v<Fn, zep::RunFn>)
                                f(in->src(0), kStep, ref, step, out->data(), 32);
                            else
                                f(in->src(0), kStep, ref, step, out->data(), 32, pMin.get());
                        },
                        [=] { return zb::hash_bytes(out->data(), 64, static_cast<uint64_t>(*pMin)); }};
        });
    }
}

const bool registered = [] {
    reg_modes8("SAD16x16", &MetricsDsp::sad16x16);
    reg_modes8("SAD16x8", &MetricsDsp::sad16x8);
    reg_modes8("SAD8x8", &MetricsDsp::sad8x8);
    reg_sad8("SAD8x16", &MetricsDsp::sad8x16);
    reg_sad8("SAD8x4", &MetricsDsp::sad8x4);
    reg_sad8("SAD4x8", &MetricsDsp::sad4x8);
    reg_sad8("SAD4x4", &MetricsDsp::sad4x4);
    reg_modes16("SAD16x16_16u", &MetricsDsp::sad16x16_16u);
    reg_modes16("SAD8x8_16u", &MetricsDsp::sad8x8_16u);
    reg_modes16("SAD4x4_16u", &MetricsDsp::sad4x4_16u);
    for (int mode = 0; mode < 4; ++mode)
        zb::Register("metrics", "SAD8x8_C2 mcType " + std::to_string(4 * mode), [mode](Isa l) {
            return batch<Zep32s>(l, 2, [mode](const MetricsDsp& t, Inputs& in, int i, Zep32s* o) {
                t.sad8x8_c2[mode](in.src(i), kStep, in.ref(i), kStep, o, o + 1);
            });
        });
    zb::Register("metrics", "SAD16x16Blocks8x8_8u16u", [](Isa l) {
        return batch<Zep16u>(l, 4, [](const MetricsDsp& t, Inputs& in, int i, Zep16u* o) {
            t.blocks8x8_8u(in.src(i), kStep, in.ref(i), kStep, o);
        });
    });
    zb::Register("metrics", "SAD16x16Blocks4x4_8u16u", [](Isa l) {
        return batch<Zep16u>(l, 16, [](const MetricsDsp& t, Inputs& in, int i, Zep16u* o) {
            t.blocks4x4_8u(in.src(i), kStep, in.ref(i), kStep, o);
        });
    });
    zb::Register("metrics", "SAD16x16Blocks8x8_16u32u", [](Isa l) {
        return batch<Zep32u>(l, 4, [](const MetricsDsp& t, Inputs& in, int i, Zep32u* o) {
            t.blocks8x8_16u(in.src16(i), kStep, in.ref16(i), kStep, o);
        });
    });
    zb::Register("metrics", "SAD16x16Blocks4x4_16u32u", [](Isa l) {
        return batch<Zep32u>(l, 16, [](const MetricsDsp& t, Inputs& in, int i, Zep32u* o) {
            t.blocks4x4_16u(in.src16(i), kStep, in.ref16(i), kStep, o);
        });
    });
    reg_run("SAD16x16xN", &MetricsDsp::run16x16);
    reg_run("SAD8x8xN", &MetricsDsp::run8x8);
    reg_run("SAD4x4xN", &MetricsDsp::run4x4);
    reg_run("SAD2x2xN", &MetricsDsp::run2x2);
    reg_run("SAD16x16xNI", &MetricsDsp::runmin16x16);
    reg_run("SAD8x8xNI", &MetricsDsp::runmin8x8);
    reg_run("SAD4x4xNI", &MetricsDsp::runmin4x4);
    reg_sad8("SATD16x16", &MetricsDsp::satd16x16);
    reg_sad8("SATD16x8", &MetricsDsp::satd16x8);
    reg_sad8("SATD8x16", &MetricsDsp::satd8x16);
    reg_sad8("SATD8x8", &MetricsDsp::satd8x8);
    reg_sad8("SATD8x4", &MetricsDsp::satd8x4);
    reg_sad8("SATD4x8", &MetricsDsp::satd4x8);
    reg_sad8("SATD4x4", &MetricsDsp::satd4x4);
    reg_sad8("SAT8x8D_8u", &MetricsDsp::sat8x8d);
    zb::Register("metrics", "SAT8x8D_16u", [](Isa l) {
        return batch<Zep32s>(l, 1, [](const MetricsDsp& t, Inputs& in, int i, Zep32s* o) {
            t.sat8x8d_16u(in.src16(i), kStep, in.ref16(i), kStep, o);
        });
    });
    reg_modes8("SSD8x8", &MetricsDsp::ssd8x8);
    reg_modes8("SSD4x4", &MetricsDsp::ssd4x4);
    reg_modes8("SqrDiff16x16", &MetricsDsp::sqrdiff16x16);
    for (int mode = 0; mode < 4; ++mode)
        zb::Register("metrics", "SqrDiff16x16B mcType " + std::to_string(4 * mode) + "/12", [mode](Isa l) {
            return batch<Zep32s>(l, 1, [mode](const MetricsDsp& t, Inputs& in, int i, Zep32s* o) {
                t.sqrdiff16x16b[mode][3](in.src(i), kStep, in.ref(i), kStep, in.ref(i) + 21, kStep, o);
            });
        });
    zb::Register("metrics", "SubSAD8x8_8u16s", [](Isa l) {
        return batch<Zep16s>(l, 65, [](const MetricsDsp& t, Inputs& in, int i, Zep16s* o) {
            Zep32s sad;
            t.subsad8x8(in.src(i), kStep, in.ref(i), kStep, o, 16, &sad);
            o[64] = static_cast<Zep16s>(sad);
        });
    });
    zb::Register("metrics", "FrameFieldSAD16x16_8u", [](Isa l) {
        return batch<Zep32s>(l, 2, [](const MetricsDsp& t, Inputs& in, int i, Zep32s* o) {
            t.framefield_8u(in.src(i), kStep, o, o + 1);
        });
    });
    zb::Register("metrics", "FrameFieldSAD16x16_16s", [](Isa l) {
        return batch<Zep32s>(l, 2, [](const MetricsDsp& t, Inputs& in, int i, Zep32s* o) {
            t.framefield_16s(reinterpret_cast<const Zep16s*>(in.src16(i)), kStep, o, o + 1);
        });
    });

    // Entry-point overhead: the exported function (checks, then the table
    // built for this CPU) against the same level's kernel called directly.
    // Every column of the entry row runs the exported function; compare it
    // with the direct row's column of this CPU's level.
    zb::Register("metrics", "SAD4x4 kernel, called directly", [](Isa l) {
        return batch<Zep32s>(l, 1, [](const MetricsDsp& t, Inputs& in, int i, Zep32s* o) {
            t.sad4x4(in.src(i), kStep, in.ref(i), kStep, o);
        });
    });
    zb::Register("metrics", "SAD4x4 via zepiSAD4x4_8u32s (any column)", [](Isa l) {
        Case c = batch<Zep32s>(l, 1, [](const MetricsDsp&, Inputs& in, int i, Zep32s* o) {
            zepiSAD4x4_8u32s(in.src(i), kStep, in.ref(i), kStep, o, 0);
        });
        return c;
    });
    return true;
}();

}  // namespace
