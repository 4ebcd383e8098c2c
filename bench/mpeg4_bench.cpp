// Benchmarks of the MPEG-4 / H.263 inverse quantisation of an 8x8 block and
// of the coefficient decoders on a typical block.
#include "bench.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "../tests/mpeg4/vlc_codes.h"
#include "mpeg4/filter_dsp.h"
#include "mpeg4/obmc_dsp.h"
#include "mpeg4/qpel_dsp.h"
#include "mpeg4/quant_dsp.h"
#include "zepvc.h"

namespace {

zb::Case inv(zep::Isa level, int kind) {
    auto t = std::make_shared<zep::QuantInvDsp>(zep::build_table(zep::quantinv_init, level));
    auto levels = std::make_shared<std::vector<Zep16s>>(64, 0);
    for (int i = 0; i < 64; ++i) (*levels)[i] = static_cast<Zep16s>(i < 20 ? (i * 7) % 11 - 5 : 0);
    auto w = std::make_shared<std::vector<Zep16u>>(64);
    for (int i = 0; i < 64; ++i) (*w)[i] = static_cast<Zep16u>(16 + i);
    // The block is reconstructed in place again and again: after the first calls its values sit
    // at the clamp limits, a fixed point every level reaches alike.
    auto work = std::make_shared<std::vector<Zep16s>>(*levels);
    return {[=] {
                if (kind == 0) t->h263(work->data(), 0, 63, 13);
                else t->matrixInter(work->data(), w->data(), 0, 63, 13, -2048, 2047);
            },
            [=] { return zb::hash_bytes(work->data(), 128); }};
}

const zb::Register q0("mpeg4", "QuantInv H.263 8x8", [](zep::Isa l) { return inv(l, 0); });
const zb::Register q1("mpeg4", "QuantInv MPEG-4 matrix 8x8", [](zep::Isa l) { return inv(l, 1); });

}  // namespace

// ---------------------------------------------------------------- coefficient decoding

namespace {

// A typical block: ten (run, level) events, the last one marked last; codes
// from the given table with their signs.
template <size_t N>
std::shared_ptr<std::vector<Zep8u>> typical_block(const mpeg4t::Tcoef (&table)[N]) {
    const int runs[10] = {0, 0, 1, 0, 2, 0, 1, 3, 0, 4}, levels[10] = {3, -2, 1, 1, -1, 2, -1, 1, 1, -1};
    std::string bits;
    for (int i = 0; i < 10; ++i)
        for (const auto& c : table)
            if (c.last == (i == 9) && c.run == runs[i] && c.level == std::abs(levels[i])) {
                bits += std::string(c.code) + (levels[i] < 0 ? "1" : "0");
                break;
            }
    auto bytes = std::make_shared<std::vector<Zep8u>>(bits.size() / 8 + 8, 0);
    for (size_t i = 0; i < bits.size(); ++i)
        if (bits[i] == '1') (*bytes)[i / 8] |= static_cast<Zep8u>(0x80 >> (i % 8));
    return bytes;
}

zb::Case decode(int kind) {
    auto bytes = kind == 0 ? typical_block(mpeg4t::kMpeg4Intra) : typical_block(mpeg4t::kMpeg4Inter);
    auto coef = std::make_shared<std::vector<Zep16s>>(64);
    auto run = [=] {
        Zep8u* p = bytes->data();
        Zep32s off = 0, last = 0;
        if (kind == 0) return zepiDecodeCoeffsIntra_MPEG4_1u16s(&p, &off, coef->data(), &last, 0, 1, 0);
        if (kind == 1) return zepiDecodeCoeffsInter_MPEG4_1u16s(&p, &off, coef->data(), &last, 0, 0);
        return zepiDecodeCoeffsInter_H263_1u16s(&p, &off, coef->data(), &last, 0, 0);
    };
    if (run() != zepStatusOk) std::abort();  // the benchmark's block must decode
    return {[=] { run(); }, [=] { return zb::hash_bytes(coef->data(), 128); }};
}

const zb::Register v0("mpeg4", "Decode MPEG-4 intra block (10 coefficients)", [](zep::Isa) { return decode(0); });
const zb::Register v1("mpeg4", "Decode MPEG-4 inter block (10 coefficients)", [](zep::Isa) { return decode(1); });
const zb::Register v2("mpeg4", "Decode H.263 inter block (10 coefficients)", [](zep::Isa) { return decode(2); });

}  // namespace

// ---------------------------------------------------------------- in-loop filters

namespace {

zb::Case filt(zep::Isa level, int form) {
    auto t = std::make_shared<zep::FilterDsp>(zep::build_table(zep::filter_init, level));
    auto pic = zb::random_buffer(32 * 16, 91);
    return {[=] {
                if (form == 0) t->loop(pic->at(32 * 2 + 2), 32);
                else if (form == 1) t->horEdge(pic->at(32 * 8 + 4), 32, 1, 6);
                else t->verEdge(pic->at(32 * 4 + 8), 1, 32, 6);
            },
            [=] { return zb::hash_bytes(pic->at(), 32 * 16); }};
}

const zb::Register f0("mpeg4", "H.261 loop filter 8x8", [](zep::Isa l) { return filt(l, 0); });
const zb::Register f1("mpeg4", "H.263 Annex J horizontal edge", [](zep::Isa l) { return filt(l, 1); });
const zb::Register f2("mpeg4", "H.263 Annex J vertical edge", [](zep::Isa l) { return filt(l, 2); });

}  // namespace

// ---------------------------------------------------------------- overlapped block motion compensation

namespace {

zb::Case obmc(zep::Isa level) {
    auto t = std::make_shared<zep::ObmcDsp>(zep::build_table(zep::obmc_init, level));
    auto src = zb::random_buffer(5 * 16 * 8, 93);
    auto dst = zb::random_buffer(16 * 8, 94);
    zep::ObmcSources s;
    for (int i = 0; i < 5; ++i) s.p[i] = src->at(static_cast<size_t>(i) * 128), s.step[i] = 16;
    return {[=] {
                (void)src;  // keeps the sources alive for as long as the case runs
                t->block(s, dst->at(), 16);
            },
            [=] { return zb::hash_bytes(dst->at(), 128); }};
}

const zb::Register o0("mpeg4", "H.263 OBMC 8x8", [](zep::Isa l) { return obmc(l); });

}  // namespace

// ---------------------------------------------------------------- quarter-sample interpolation

namespace {

// One run predicts the block at all sixteen fractions in turn, so the figure
// is the mean over positions (from a plain copy to the four-plane diagonals).
zb::Case qpel(zep::Isa level, int n) {
    auto t = std::make_shared<zep::QpelDsp>(zep::build_table(zep::qpel_init, level));
    auto src = zb::random_buffer(32 * 17, 95);
    auto dst = zb::random_buffer(16 * 16 * 16, 96);
    return {[=] {
                for (int pos = 0; pos < 16; ++pos)
                    t->luma[zep::qpel_size_class(n)][pos](src->at(), 32, dst->at(static_cast<size_t>(pos) * 256), 16,
                                                          pos & 1);
            },
            [=] { return zb::hash_bytes(dst->at(), 16 * 256); },
            16};
}

const zb::Register qp0("mpeg4", "MPEG-4 QPel interpolation 8x8", [](zep::Isa l) { return qpel(l, 8); });
const zb::Register qp1("mpeg4", "MPEG-4 QPel interpolation 16x16", [](zep::Isa l) { return qpel(l, 16); });

}  // namespace
