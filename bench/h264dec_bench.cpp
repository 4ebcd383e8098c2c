// Benchmarks of the H.264 CAVLC decoders, the Exp-Golomb reader and the luma
// reconstruction kernels.
#include "bench.h"

#include <array>

#include "h264/cavlc_codes.h"
#include "h264/recon_dsp.h"
#include "zepvc.h"

// The test-side CAVLC writer (built from the same code descriptions) makes the
// benchmark streams.
#include "harness/cavlc_writer.h"

namespace {

using zb::Case;
using zep::Isa;

constexpr Zep32s kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
constexpr int kBlocks = 256;

struct Tables {
    std::vector<Zep32s*> own;
    Zep32s* ct[3];
    Zep32s* tz[16] = {};
    Zep32s* rb[15] = {};
    Zep32s* build(const Zep32s* d) {
        Zep32s* t = nullptr;
        zepiHuffmanTableInitAlloc_32s(d, &t);
        own.push_back(t);
        return t;
    }
    Tables() {
        using namespace zep::cavlc;
        for (int i = 0; i < 3; ++i) ct[i] = build(kCoeffTokenDesc[i]);
        for (int i = 1; i < 16; ++i) tz[i] = build(kTotalZeros4x4Desc[i]);
        for (int i = 1; i < 15; ++i) rb[i] = i <= 7 ? build(kRunBeforeDesc[i]) : rb[7];
    }
    ~Tables() {
        for (Zep32s* t : own) zepiHuffmanTableFree_32s(t);
    }
};

// A realistic mix: most blocks have 0..3 small coefficients concentrated at
// low frequencies, a few are dense with larger levels; nC follows the counts.
struct CavlcStream {
    Tables tables;
    std::vector<Zep32u> words;
    std::array<int, kBlocks> nC{};
    CavlcStream() {
        std::mt19937 g(7);
        zt::cavlc::BitWriter w;
        int prev = 0;
        for (int b = 0; b < kBlocks; ++b) {
            int c[16] = {};
            const int r = static_cast<int>(g() % 100);
            const int tc = r < 30 ? 0 : r < 75 ? 1 + static_cast<int>(g() % 3) : r < 92 ? 4 + static_cast<int>(g() % 5)
                                                                                   : 9 + static_cast<int>(g() % 8);
            for (int i = 0; i < tc; ++i) {
                const int pos = tc > 8 ? i : static_cast<int>(g() % (2 * tc + 2)) % 16;
                const int mag = g() % 4 ? 1 : 1 + static_cast<int>(g() % (tc > 8 ? 40 : 4));
                c[pos] = g() % 2 ? mag : -mag;
            }
            nC[b] = prev;
            zt::cavlc::write_block(w, c, 16, prev);
            prev = 0;
            for (int v : c) prev += v != 0;
        }
        words = w.words();
    }
};

Case cavlc_mix(Isa) {
    auto s = std::make_shared<CavlcStream>();
    auto out = std::make_shared<std::vector<Zep16s>>(16 * kBlocks);
    return {[=] {
                Zep32u* p = s->words.data();
                Zep32s off = 31;
                Zep16s* buf = out->data();
                Zep16s num;
                for (int b = 0; b < kBlocks; ++b)
                    zepiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &buf, s->nC[b], 16, s->tables.ct, s->tables.tz,
                                                     s->tables.rb, kZigzag);
            },
            [=] { return zb::hash_bytes(out->data(), out->size() * 2); }, kBlocks};
}

Case exp_golomb(Isa, bool isSigned) {
    auto words = std::make_shared<std::vector<Zep32u>>();
    {
        std::mt19937 g(3);
        zt::cavlc::BitWriter w;
        for (int i = 0; i < kBlocks; ++i) {
            const uint32_t v = g() % 8 ? g() % 16 : g() % 4096;  // header values: mostly small
            if (isSigned) zt::cavlc::write_se(w, static_cast<int32_t>(v) - 8);
            else zt::cavlc::write_ue(w, v);
        }
        *words = w.words();
    }
    auto sum = std::make_shared<Zep32s>(0);
    return {[=] {
                Zep32u* p = words->data();
                Zep32s off = 31, v, acc = 0;
                for (int i = 0; i < kBlocks; ++i) {
                    zepiDecodeExpGolombOne_H264_1u32s(&p, &off, &v, isSigned);
                    acc += v;
                }
                *sum = acc;
            },
            [=] { return zb::hash_bytes(sum.get(), sizeof(Zep32s)); }, kBlocks};
}

// Inter macroblock, all 16 blocks coded, typical qp 28 with flat scaling.
Case inter_mb(Isa level) {
    auto t = std::make_shared<zep::ReconDsp>(zep::build_table(zep::recon_init, level));
    auto mem = zb::random_buffer(16 * 64 + 512 * 2, 9);
    Zep16s* coeffs = mem->at<Zep16s>(16 * 64);
    for (int i = 0; i < 256; ++i) coeffs[i] = static_cast<Zep16s>((coeffs[i] % 9) - 4);
    auto scale = std::make_shared<std::array<Zep16s, 16>>();
    for (int i = 0; i < 16; ++i) (*scale)[i] = static_cast<Zep16s>(16 * ((i & 5) == 0 ? 16 : (i & 5) == 5 ? 25 : 20));
    return {[=] {
                Zep16s* p = mem->at<Zep16s>(16 * 64);
                t->inter_mb(&p, mem->at(), 64, 0x1FFFEu, scale->data(), zep::qp_shift(28));
            },
            [=] { return zb::hash_bytes(mem->at(), 16 * 64); }};
}

Case itrans16(Isa level) {
    auto t = std::make_shared<zep::ReconDsp>(zep::build_table(zep::recon_init, level));
    auto mem = zb::random_buffer(64, 4);
    return {[=] { t->itrans16(mem->at<Zep16s>(), mem->at<Zep16s>(32)); },
            [=] { return zb::hash_bytes(mem->at(32), 32); }};
}

const zb::Register r0("h264dec", "CAVLC 4x4 decode, realistic mix (per block)", cavlc_mix);
const zb::Register r1("h264dec", "Exp-Golomb ue(v) 1u32s (per value)", [](Isa l) { return exp_golomb(l, false); });
const zb::Register r2("h264dec", "Exp-Golomb se(v) 1u32s (per value)", [](Isa l) { return exp_golomb(l, true); });
const zb::Register r3("h264dec", "Inter MB recon, 16 coded blocks, qp 28", inter_mb);
const zb::Register r4("h264dec", "Inverse transform 4x4 16s", itrans16);

}  // namespace
