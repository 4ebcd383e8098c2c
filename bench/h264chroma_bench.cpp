// Benchmarks of the H.264 chroma interpolation and deblocking, the intra predictors and the 8x8
// reconstruction.
#include "bench.h"

#include <cstring>
#include <vector>

#include "h264/deblock_dsp.h"
#include "h264/interp_dsp.h"
#include "h264/intrapred_dsp.h"
#include "h264/recon8x8_dsp.h"
#include "zepvc.h"

namespace {

using zb::Case;
using zep::Isa;

// ---------------------------------------------------------------- interpolation

// A reference plane with 64-sample rows; the block sits one row and column in.
template <class T>
Case chroma(Isa level, int w, int h, int dx, int dy) {
    auto t = std::make_shared<zep::InterpDsp>(zep::build_table(zep::interp_init, level));
    auto src = zb::random_buffer(64 * 20 * sizeof(T), 5);
    auto dst = zb::random_buffer(16 * 16 * sizeof(T), 6);
    if constexpr (sizeof(T) == 2)
        for (int i = 0; i < 64 * 20; ++i) src->at<Zep16u>()[i] &= 1023;
    return {[=] {
                const T* s = src->at<T>(65 * sizeof(T));
                if constexpr (sizeof(T) == 1)
                    t->chroma8[zep::chroma_class(w)](s, 64, dst->at<T>(), 16, dx, dy, h);
                else
                    t->chroma16[zep::chroma_class(w)](s, 64, dst->at<T>(), 16, dx, dy, h);
            },
            [=] { return zb::hash_bytes(dst->at(), 16 * 16 * sizeof(T)); }};
}

const zb::Register c0("h264chroma", "Chroma interp 8u 8x8 dx 3 dy 5", [](Isa l) { return chroma<Zep8u>(l, 8, 8, 3, 5); });
const zb::Register c1("h264chroma", "Chroma interp 8u 8x16 dx 1 dy 6", [](Isa l) { return chroma<Zep8u>(l, 8, 16, 1, 6); });
const zb::Register c2("h264chroma", "Chroma interp 8u 4x4 dx 7 dy 2", [](Isa l) { return chroma<Zep8u>(l, 4, 4, 7, 2); });
const zb::Register c3("h264chroma", "Chroma interp 8u 2x2 dx 4 dy 4", [](Isa l) { return chroma<Zep8u>(l, 2, 2, 4, 4); });
const zb::Register c4("h264chroma", "Chroma interp 16u 8x8 dx 3 dy 5 10-bit", [](Isa l) { return chroma<Zep16u>(l, 8, 8, 3, 5); });
const zb::Register c5("h264chroma", "Chroma interp 16u 4x4 dx 3 dy 5 10-bit", [](Isa l) { return chroma<Zep16u>(l, 4, 4, 3, 5); });

// ---------------------------------------------------------------- deblocking

// A smooth chroma block of flat 4x4 blocks with small steps and noise, so
// that nearly every line passes the alpha/beta tests; restored before every
// call in aligned 16-byte pieces (see the luma deblocking benchmark).
template <class T>
Case chroma_deblock(Isa level, int kind, bool strongOuter, int depth) {
    constexpr int kStep = 32, kRows = 24;  // samples; the block sits 4 rows down, 16 bytes in
    constexpr int kLeft = 16 / sizeof(T);
    struct State {
        alignas(64) T pristine[kStep * kRows];
        alignas(64) T work[kStep * kRows];
        T alpha[2], beta[2], tc0[16];
        Zep8u bs[16];
    };
    auto st = std::make_shared<State>();
    std::mt19937 g(9);
    const int scale = 1 << (depth - 8);
    for (int y = 0; y < kRows; ++y)
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
    std::memcpy(st->work, st->pristine, sizeof(st->work));
    // Only the rows the kind may write (the block's 8 or 16 for vertical
    // edges, from one above to four above the end for horizontal ones), and
    // of each exactly the eight samples a vector kernel loads (from column -2
    // or 0), so that its loads are served by the restoring stores.
    const bool ver = kind == zep::kChromaVer420 || kind == zep::kChromaVer422;
    const int rows = kind >= zep::kChromaVer422 ? 16 : 8;
    const int rowFirst = ver ? 4 : 3, rowEnd = ver ? 4 + rows : 1 + rows, col = kLeft - (ver ? 2 : 0);
    return {[=] {
                State& s = *st;
                for (int y = rowFirst; y < rowEnd; ++y)
                    std::memcpy(s.work + y * kStep + col, s.pristine + y * kStep + col, 8 * sizeof(T));
                T* mb = s.work + 4 * kStep + kLeft;
                if constexpr (sizeof(T) == 1)
                    t->chroma8[kind](mb, kStep, s.alpha, s.beta, s.tc0, s.bs);
                else
                    t->chroma16[kind](mb, kStep, s.alpha, s.beta, s.tc0, s.bs, (1 << depth) - 1);
            },
            [=] { return zb::hash_bytes(st->work, sizeof(st->work)); }};
}

using zep::kChromaHor420, zep::kChromaHor422, zep::kChromaVer420, zep::kChromaVer422;
const zb::Register d0("h264chroma", "Chroma deblock 8u VerEdge 4:2:0 bS 2", [](Isa l) { return chroma_deblock<Zep8u>(l, kChromaVer420, false, 8); });
const zb::Register d1("h264chroma", "Chroma deblock 8u HorEdge 4:2:0 bS 2", [](Isa l) { return chroma_deblock<Zep8u>(l, kChromaHor420, false, 8); });
const zb::Register d2("h264chroma", "Chroma deblock 8u VerEdge 4:2:0 bS 4 outer", [](Isa l) { return chroma_deblock<Zep8u>(l, kChromaVer420, true, 8); });
const zb::Register d3("h264chroma", "Chroma deblock 8u VerEdge 4:2:2 bS 2", [](Isa l) { return chroma_deblock<Zep8u>(l, kChromaVer422, false, 8); });
const zb::Register d4("h264chroma", "Chroma deblock 8u HorEdge 4:2:2 bS 2", [](Isa l) { return chroma_deblock<Zep8u>(l, kChromaHor422, false, 8); });
const zb::Register d5("h264chroma", "Chroma deblock 16u VerEdge 4:2:0 bS 2 10-bit", [](Isa l) { return chroma_deblock<Zep16u>(l, kChromaVer420, false, 10); });
const zb::Register d6("h264chroma", "Chroma deblock 16u HorEdge 4:2:0 bS 2 10-bit", [](Isa l) { return chroma_deblock<Zep16u>(l, kChromaHor420, false, 10); });

}  // namespace

// ---------------------------------------------------------------- intra prediction


namespace {

zb::Case intra(zep::Isa level, int form, int mode) {
    auto t = std::make_shared<zep::IntraPredDsp>(zep::build_table(zep::intrapred_init, level));
    auto pic = zb::random_buffer(64 * 24, 41);
    const zep::IntraPredFn fn = form == 0 ? t->luma16[mode] : t->chroma[form - 1][mode];
    Zep8u* blk = pic->at(64 * 2 + 8);
    return {[=] { fn(blk, 64, zep::kAvailLeft | zep::kAvailTop); }, [=] { return zb::hash_bytes(pic->at(), 64 * 24); }};
}

const zb::Register ip0("h264intra", "Intra 16x16 plane", [](zep::Isa l) { return intra(l, 0, 3); });
const zb::Register ip1("h264intra", "Intra 16x16 DC", [](zep::Isa l) { return intra(l, 0, 2); });
const zb::Register ip2("h264intra", "Intra 16x16 horizontal", [](zep::Isa l) { return intra(l, 0, 1); });
const zb::Register ip3("h264intra", "Intra chroma 8x8 plane", [](zep::Isa l) { return intra(l, 1, 3); });
const zb::Register ip4("h264intra", "Intra chroma 8x8 DC", [](zep::Isa l) { return intra(l, 1, 0); });
const zb::Register ip5("h264intra", "Intra chroma 8x16 plane", [](zep::Isa l) { return intra(l, 2, 3); });

}  // namespace

// ---------------------------------------------------------------- 8x8 reconstruction


namespace {

zb::Case recon8(zep::Isa level) {
    auto t = std::make_shared<zep::Recon8x8Dsp>(zep::build_table(zep::recon8x8_init, level));
    auto pic = zb::random_buffer(32 * 8, 51);
    auto coef = zb::random_buffer(128, 52), work = zb::random_buffer(128, 53);
    auto scale = std::make_shared<std::vector<Zep16s>>(64, 20 * 16);
    for (int i = 0; i < 64; ++i) coef->at<Zep16s>()[i] = static_cast<Zep16s>(i < 10 ? (coef->at<Zep16s>()[i] % 16) : 0);
    return {[=] {
                std::memcpy(work->at(), coef->at(), 128);
                t->block(work->at<Zep16s>(), pic->at(), 32, scale->data(), 28);
            },
            [=] { return zb::hash_bytes(pic->at(), 32 * 8); }};
}

const zb::Register r8("h264intra", "Recon 8x8 block qp 28 (+copy of coefficients)", [](zep::Isa l) { return recon8(l); });

}  // namespace
