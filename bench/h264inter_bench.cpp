// Benchmarks of the H.264 luma interpolation, deblocking and weighted prediction.
#include "bench.h"

#include <cstring>

#include "h264/deblock_dsp.h"
#include "h264/interp_dsp.h"
#include "h264/weight16_dsp.h"
#include "h264/weight_dsp.h"
#include "zepvc.h"

namespace {

using zb::Case;
using zep::Isa;

// ---------------------------------------------------------------- interpolation

// A reference picture with 64-byte rows; the block sits 3 rows and columns in.
Case interp8(Isa level, int w, int h, int dx, int dy) {
    auto t = std::make_shared<zep::InterpDsp>(zep::build_table(zep::interp_init, level));
    auto src = zb::random_buffer(64 * 40, 5);
    auto dst = zb::random_buffer(32 * 16, 6);
    const auto fn = t->luma8[(w >> 3) & 3][dy * 4 + dx];
    return {[=] { fn(src->at(64 * 3 + 3), 64, dst->at(), 32, h); },
            [=] { return zb::hash_bytes(dst->at(), 32 * 16); }};
}

Case interp16(Isa level, int w, int h, int dx, int dy, int depth) {
    auto t = std::make_shared<zep::InterpDsp>(zep::build_table(zep::interp_init, level));
    auto src = zb::random_buffer(128 * 40, 7);
    Zep16u* s = src->at<Zep16u>();
    for (int i = 0; i < 64 * 40; ++i) s[i] &= static_cast<Zep16u>((1 << depth) - 1);
    auto dst = zb::random_buffer(64 * 16, 8);
    const auto fn = t->luma16[w >> 3][dy * 4 + dx];
    return {[=] { fn(src->at<Zep16u>(128 * 3 + 6), 64, dst->at<Zep16u>(), 32, h, (1 << depth) - 1); },
            [=] { return zb::hash_bytes(dst->at(), 64 * 16); }};
}

const zb::Register i0("h264inter", "Interp 8u 16x16 dx 2 dy 2", [](Isa l) { return interp8(l, 16, 16, 2, 2); });
const zb::Register i1("h264inter", "Interp 8u 16x16 dx 1 dy 3", [](Isa l) { return interp8(l, 16, 16, 1, 3); });
const zb::Register i2("h264inter", "Interp 8u 16x16 dx 2 dy 0", [](Isa l) { return interp8(l, 16, 16, 2, 0); });
const zb::Register i3("h264inter", "Interp 8u 16x16 dx 3 dy 2", [](Isa l) { return interp8(l, 16, 16, 3, 2); });
const zb::Register i4("h264inter", "Interp 8u 8x8 dx 2 dy 2", [](Isa l) { return interp8(l, 8, 8, 2, 2); });
const zb::Register i5("h264inter", "Interp 8u 8x8 dx 1 dy 1", [](Isa l) { return interp8(l, 8, 8, 1, 1); });
const zb::Register i6("h264inter", "Interp 8u 4x4 dx 2 dy 1", [](Isa l) { return interp8(l, 4, 4, 2, 1); });
const zb::Register i7("h264inter", "Interp 16u 16x16 dx 2 dy 2 10-bit", [](Isa l) { return interp16(l, 16, 16, 2, 2, 10); });
const zb::Register i8("h264inter", "Interp 16u 16x16 dx 1 dy 3 9-bit", [](Isa l) { return interp16(l, 16, 16, 1, 3, 9); });

// ---------------------------------------------------------------- deblocking

// A smooth macroblock of flat 4x4 blocks with small steps and noise, so that
// nearly every line passes the alpha/beta tests. The filter works in place,
// so every call first restores the picture, in aligned 16-byte pieces with the
// macroblock on a 16-byte boundary: the kernels' loads then never straddle two
// of the copy's stores (a stall no decoder sees, since its picture was
// written long before).
template <class T>
Case deblock(Isa level, bool vertical, bool strongOuter, int depth) {
    constexpr int kStep = 32, kSize = kStep * 24;  // samples; 4 rows above, 4 below
    constexpr int kLeft = 16 / sizeof(T);          // samples left of the macroblock
    struct State {
        alignas(64) T pristine[kSize];
        alignas(64) T work[kSize];
        T alpha[2], beta[2], tc0[16];
        Zep8u bs[16];
    };
    auto st = std::make_shared<State>();
    std::mt19937 g(9);
    const int scale = 1 << (depth - 8);
    for (int y = 0; y < 24; ++y)
        for (int x = 0; x < kStep; ++x)
            st->pristine[y * kStep + x] =
                static_cast<T>((100 + ((x >> 2) * 5 + (y >> 2) * 3) % 9 + static_cast<int>(g() % 3)) * scale);
    st->alpha[0] = st->alpha[1] = static_cast<T>(20 * scale);
    st->beta[0] = st->beta[1] = static_cast<T>(7 * scale);
    for (int i = 0; i < 16; ++i) {
        st->bs[i] = strongOuter && i < 4 ? 4 : 2;
        st->tc0[i] = static_cast<T>(2 * scale);
    }
    auto t = std::make_shared<zep::DeblockDsp>(zep::build_table(zep::deblock_init, level));
    const int dir = vertical ? 0 : 1;
    const size_t rowFirst = vertical ? 4 : 1, rowEnd = vertical ? 20 : 19;
    std::memcpy(st->work, st->pristine, sizeof(st->work));
    return {[=] {
                State& s = *st;
                // Only the rows the filter may write: the macroblock's 16 for
                // vertical edges, from 3 above to 3 below for horizontal ones.
                for (size_t i = rowFirst * kStep * sizeof(T); i < rowEnd * kStep * sizeof(T); i += 16)
                    std::memcpy(reinterpret_cast<char*>(s.work) + i, reinterpret_cast<const char*>(s.pristine) + i, 16);
                T* mb = s.work + 4 * kStep + kLeft;
                if constexpr (sizeof(T) == 1)
                    t->luma8[dir](mb, kStep, s.alpha, s.beta, s.tc0, s.bs);
                else
                    t->luma16[dir](mb, kStep, s.alpha, s.beta, s.tc0, s.bs, (1 << depth) - 1);
            },
            [=] { return zb::hash_bytes(st->work, sizeof(st->work)); }};
}

const zb::Register d0("h264inter", "Deblock 8u VerEdge bS 2", [](Isa l) { return deblock<Zep8u>(l, true, false, 8); });
const zb::Register d1("h264inter", "Deblock 8u HorEdge bS 2", [](Isa l) { return deblock<Zep8u>(l, false, false, 8); });
const zb::Register d2("h264inter", "Deblock 8u VerEdge bS 4 outer, 2 inner", [](Isa l) { return deblock<Zep8u>(l, true, true, 8); });
const zb::Register d3("h264inter", "Deblock 16u VerEdge bS 2 10-bit", [](Isa l) { return deblock<Zep16u>(l, true, false, 10); });
const zb::Register d4("h264inter", "Deblock 16u HorEdge bS 2 10-bit", [](Isa l) { return deblock<Zep16u>(l, false, false, 10); });

// ---------------------------------------------------------------- weighting

// How the entry points feed the kernel: two sources into a third block, the
// averaging form over its second source, the one-directional form in place
// with the block as both sources (its second weight 0).
enum class Feed { Bi, Average, OneDir };

Case weight(Isa level, int w, int h, zep::WeightParams p, Feed feed) {
    auto t = std::make_shared<zep::WeightDsp>(zep::build_table(zep::weight_init, level));
    auto a = zb::random_buffer(64 * 16, 11), b = zb::random_buffer(64 * 16, 12), d = zb::random_buffer(64 * 16, 13);
    const auto fn = t->block[zep::weight_class(w) * 4 + zep::weight_class(h)];
    const Zep8u* first = feed == Feed::OneDir ? d->at() : a->at();
    const Zep8u* second = feed == Feed::Bi ? b->at() : d->at();
    // In place, the values drift over the timing runs but the time does not;
    // the digest comes from one call on fresh buffers.
    // The closure keeps the buffers alive.
    return {[=, keep = std::make_pair(a, b)] { fn(first, 64, second, 64, d->at(), 64, p); },
            [=] { return zb::hash_bytes(d->at(), 64 * 16); }};
}

const zb::Register w0("h264inter", "Weight explicit bi 16x16", [](Isa l) { return weight(l, 16, 16, {45, 19, 32, 6, 3}, Feed::Bi); });
const zb::Register w1("h264inter", "Weight explicit bi 8x8", [](Isa l) { return weight(l, 8, 8, {45, 19, 32, 6, 3}, Feed::Bi); });
const zb::Register w2("h264inter", "Weight implicit bi 4x4", [](Isa l) { return weight(l, 4, 4, {40, 24, 32, 6, 0}, Feed::Bi); });
const zb::Register w3("h264inter", "Weight 2x2 explicit bi", [](Isa l) { return weight(l, 2, 2, {45, 19, 32, 6, 3}, Feed::Bi); });
const zb::Register w4("h264inter", "Weight one-dir 16x16 (in place)", [](Isa l) { return weight(l, 16, 16, {37, 0, 16, 5, -4}, Feed::OneDir); });
const zb::Register w5("h264inter", "Weight average 16x16 (in place)", [](Isa l) { return weight(l, 16, 16, {37, 27, 16, 5, -4}, Feed::Average); });

}  // namespace

// ---------------------------------------------------------------- weighting, 16-bit

namespace {

Case weight16(Isa level, int w, int h, zep::Weight16Params p) {
    auto t = std::make_shared<zep::Weight16Dsp>(zep::build_table(zep::weight16_init, level));
    auto a = zb::random_buffer(32 * 2 * 16, 21), b = zb::random_buffer(32 * 2 * 16, 22);
    auto d = zb::random_buffer(32 * 2 * 16, 23);
    const auto fn = t->block[zep::weight16_class(w)];
    return {[=] { fn(a->at<Zep16u>(), 32, b->at<Zep16u>(), 32, d->at<Zep16u>(), 32, p, h); },
            [=] { return zb::hash_bytes(d->at(), 32 * 2 * 16); }};
}

const zb::Register w16a("h264inter", "Weight16 explicit bi 16x16", [](Isa l) { return weight16(l, 16, 16, {45, 19, 32, 6, 3, 1023}); });
const zb::Register w16b("h264inter", "Weight16 implicit bi 8x8", [](Isa l) { return weight16(l, 8, 8, {40, 24, 32, 6, 0, 1023}); });
const zb::Register w16c("h264inter", "Weight16 default bi 4x4", [](Isa l) { return weight16(l, 4, 4, {1, 1, 1, 1, 0, 4095}); });

}  // namespace
