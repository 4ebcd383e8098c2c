// Benchmarks of block compensation, differences and statistics.
#include "bench.h"

#include "block/mc_dsp.h"
#include "block/stats_dsp.h"

namespace {

using zb::Case;
using zep::Isa;
using zep::McDsp;
using zep::StatsDsp;

constexpr int kStep = 64;

// Pictures with spare rows and columns at 64-byte steps, the reference at an
// odd offset as motion vectors put it; outputs get their own buffer.
struct Io {
    std::shared_ptr<zb::Buffer> in = zb::random_buffer(kStep * 80, 7);
    std::shared_ptr<zb::Buffer> out = zb::random_buffer(kStep * 40, 9);
    const Zep8u* cur() { return in->at(); }
    const Zep8u* refF() { return in->at(kStep * 20 + 3); }
    const Zep8u* refB() { return in->at(kStep * 40 + 5); }
    // Residuals: a small range, as decoded blocks have.
    const Zep16s* res() { return in->at<Zep16s>(kStep * 60); }
    Zep8u* dst8() { return out->at(); }
    Zep16s* dst16() { return out->at<Zep16s>(kStep * 20); }
    Io() {
        for (int i = 0; i < kStep * 20 / 2; ++i) in->at<Zep16s>(kStep * 60)[i] = static_cast<Zep16s>((i * 37 % 121) - 60);
    }
    uint64_t digest() { return zb::hash_bytes(out->at(), out->size()); }
};

template <class Table>
std::shared_ptr<Table> table(void (*init)(Table&, Isa), Isa l) {
    return std::make_shared<Table>(zep::build_table(init, l));
}

Case mc16(Isa l, int index) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return {[=] { t->mc16[index](io->refF(), kStep, io->res(), 32, io->dst8(), kStep, 16); }, [=] { return io->digest(); }};
}

Case mcB16(Isa l, int index) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return {[=] { t->mcB16[index](io->refF(), kStep, io->refB(), kStep, io->res(), 32, io->dst8(), kStep, 16); },
            [=] { return io->digest(); }};
}

Case mc8(Isa l, int index) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return {[=] { t->mc8[index](io->refF(), kStep, io->res(), 16, io->dst8(), kStep, 8); }, [=] { return io->digest(); }};
}

Case mc4x4(Isa l, int mode) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return {[=] { t->mc4x4[mode](io->refF(), kStep, io->res(), 8, io->dst8(), kStep, 1); }, [=] { return io->digest(); }};
}

Case copy_hp16(Isa l, int index) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return {[=] { t->copyHp16x16[index](io->refF(), kStep, io->dst8(), kStep); }, [=] { return io->digest(); }};
}

Case interp_avg16(Isa l, int index) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    // In place: the output changes every call, so the digest is not stable; none.
    return {[=] { t->interpAvg16x16[index](io->refF(), kStep, io->dst8(), kStep); }};
}

Case diff16(Isa l, int mode) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return {[=] {
                t->diff16x16[mode](io->cur(), kStep, io->refF(), kStep, io->dst16(), 32, io->dst8(), kStep, 0);
            },
            [=] { return io->digest(); }};
}

Case diffB16(Isa l, int index) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return {[=] {
                t->diffB16x16[index](io->cur(), kStep, io->refF(), kStep, io->refB(), kStep, io->dst16(), 32, 1);
            },
            [=] { return io->digest(); }};
}

const zb::Register r_mc0("mc", "MC16x16 mcType 0", [](Isa l) { return mc16(l, 0); });
const zb::Register r_mc4("mc", "MC16x16 mcType 4", [](Isa l) { return mc16(l, 2); });
const zb::Register r_mc8("mc", "MC16x16 mcType 8", [](Isa l) { return mc16(l, 4); });
const zb::Register r_mc12("mc", "MC16x16 mcType 12", [](Isa l) { return mc16(l, 6); });
const zb::Register r_mc12d("mc", "MC16x16 mcType 12 round down", [](Isa l) { return mc16(l, 7); });
const zb::Register r_mcB("mc", "MC16x16B mcType 12/8", [](Isa l) { return mcB16(l, (3 * 4 + 2) * 2); });
const zb::Register r_mc8x8("mc", "MC8x8 mcType 12", [](Isa l) { return mc8(l, 6); });
const zb::Register r_mc4x4("mc", "MC4x4 mcType 12 round down", [](Isa l) { return mc4x4(l, 3); });
const zb::Register r_copy("mc", "Copy16x16", [](Isa l) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return Case{[=] { t->copy16x16(io->refF(), kStep, io->dst8(), kStep); }, [=] { return io->digest(); }};
});
const zb::Register r_chp1("mc", "Copy16x16HP acc 1", [](Isa l) { return copy_hp16(l, 2); });
const zb::Register r_chp2d("mc", "Copy16x16HP acc 2 round down", [](Isa l) { return copy_hp16(l, 5); });
const zb::Register r_chp3("mc", "Copy16x16HP acc 3", [](Isa l) { return copy_hp16(l, 6); });
const zb::Register r_ia3("mc", "InterpolateAverage16x16 acc 3", [](Isa l) { return interp_avg16(l, 6); });
const zb::Register r_avg("mc", "Average16x16", [](Isa l) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return Case{[=] { t->average16x16(io->refF(), kStep, io->refB(), kStep, io->dst8(), kStep); },
                [=] { return io->digest(); }};
});
const zb::Register r_avgI("mc", "Average16x16 in place", [](Isa l) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return Case{[=] { t->averageI16x16(io->refF(), kStep, io->dst8(), kStep); }};
});
const zb::Register r_add("mc", "Add8x8", [](Isa l) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return Case{[=] { t->add8x8(io->res(), 16, io->dst8(), kStep); }};
});
const zb::Register r_gd0("mc", "GetDiff16x16 mcType 0", [](Isa l) { return diff16(l, 0); });
const zb::Register r_gd4("mc", "GetDiff16x16 mcType 4", [](Isa l) { return diff16(l, 1); });
const zb::Register r_gd8("mc", "GetDiff16x16 mcType 8", [](Isa l) { return diff16(l, 2); });
const zb::Register r_gd12("mc", "GetDiff16x16 mcType 12", [](Isa l) { return diff16(l, 3); });
const zb::Register r_gdB("mc", "GetDiff16x16B mcType 12/4", [](Isa l) { return diffB16(l, 3 * 4 + 1); });
const zb::Register r_gdC("mc", "GetDiff8x8 C2P2 mcType 12", [](Isa l) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return Case{[=] {
                    t->diffChroma8x8[3](io->cur(), kStep, io->refF(), kStep, io->dst16(), 16, io->dst16() + 64, 16, 0);
                },
                [=] { return io->digest(); }};
});
const zb::Register r_sub("mc", "Sub16x16 8u16s", [](Isa l) {
    auto t = table(zep::mc_init, l);
    auto io = std::make_shared<Io>();
    return Case{[=] { t->sub16x16(io->cur(), kStep, io->refF(), kStep, io->dst16(), 32); }, [=] { return io->digest(); }};
});

// ---- Statistics ----

struct StatsIo {
    std::shared_ptr<zb::Buffer> in = zb::random_buffer(kStep * 40, 11);
    std::shared_ptr<zb::Buffer> out = zb::random_buffer(2048, 13);
    const Zep8u* src() { return in->at(); }
    const Zep8u* ref() { return in->at(kStep * 20 + 1); }
    uint64_t digest() { return zb::hash_bytes(out->at(), out->size()); }
};

template <class F>
Case stats_case(Isa l, F f) {
    auto t = table(zep::stats_init, l);
    auto io = std::make_shared<StatsIo>();
    return {[=] { f(*t, *io); }, [=] { return io->digest(); }};
}

const zb::Register s_var("stats", "Variance16x16", [](Isa l) {
    return stats_case(l, [](const StatsDsp& t, StatsIo& io) { t.variance16x16(io.src(), kStep, io.out->at<Zep32s>()); });
});
const zb::Register s_vs8("stats", "VarSum8x8 8u", [](Isa l) {
    return stats_case(l, [](const StatsDsp& t, StatsIo& io) {
        t.varSum8x8_8u(io.src(), kStep, io.out->at<Zep32s>(), io.out->at<Zep32s>(4));
    });
});
const zb::Register s_vs16("stats", "VarSum8x8 16s", [](Isa l) {
    return stats_case(l, [](const StatsDsp& t, StatsIo& io) {
        t.varSum8x8_16s(io.in->at<Zep16s>(), kStep, io.out->at<Zep32s>(), io.out->at<Zep32s>(4));
    });
});
const zb::Register s_cz("stats", "CountZeros8x8", [](Isa l) {
    return stats_case(l, [](const StatsDsp& t, StatsIo& io) {
        t.countZeros8x8(io.in->at<Zep16s>(), io.out->at<Zep32u>());
    });
});
const zb::Register s_vmd("stats", "VarMeanDiff16x16 mcType 12", [](Isa l) {
    return stats_case(l, [](const StatsDsp& t, StatsIo& io) {
        t.varMeanDiff16x16[3](io.src(), kStep, io.ref(), kStep, io.out->at<Zep32s>(), io.out->at<Zep32s>(16));
    });
});
const zb::Register s_mad("stats", "MeanAbsDev16x16", [](Isa l) {
    return stats_case(l, [](const StatsDsp& t, StatsIo& io) { t.mad16x16(io.src(), kStep, io.out->at<Zep32s>()); });
});
const zb::Register s_sd("stats", "SumsDiff16x16Blocks4x4 8u16s", [](Isa l) {
    return stats_case(l, [](const StatsDsp& t, StatsIo& io) {
        t.sumsDiff16x16(io.src(), kStep, io.ref(), kStep, io.out->at<Zep16s>(), io.out->at<Zep16s>(64));
    });
});
const zb::Register s_edge("stats", "EdgesDetect16x16 8u", [](Isa l) {
    return stats_case(l, [](const StatsDsp& t, StatsIo& io) {
        t.edges16x16_8u(io.src(), kStep, 100, 20, io.out->at());
    });
});

}  // namespace
