// The MPEG-2 encoder half: blocks written by the run-level writers decode back
// through the block decoders (tables from one description for both sides),
// the writer keeps the bits before its start, the quantisers invert within a
// step, and the checks.
#include <memory>
#include <string>
#include <vector>

#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "huffman_build.h"
#include "zepvc.h"

namespace {

using namespace zt;
using namespace mpeg2t;

struct Tables {
    Zep32s *dec14 = build_ac_table(kB14), *dec15 = build_ac_table(kB15), *decDc = build_dc_table(kDcLuma);
    Zep32s *enc14 = nullptr, *enc15 = nullptr;
    std::vector<Zep32u> dcCodes;
    Tables() {
        EXPECT_EQ(zepiCreateRLEncodeTable(describe(run_level_codes(kB14), {8, 5, 4}).data(), &enc14), zepStatusOk);
        EXPECT_EQ(zepiCreateRLEncodeTable(describe(run_level_codes(kB15), {8, 5, 4}).data(), &enc15), zepStatusOk);
        for (const DcCode& d : kDcLuma)
            dcCodes.push_back((static_cast<Zep32u>(std::stoul(d.code, nullptr, 2)) << 8) | static_cast<Zep32u>(std::string(d.code).size()));
    }
    ~Tables() {
        for (Zep32s* t : {dec14, dec15, decDc, enc14, enc15}) zepiHuffmanTableFree_32s(t);
    }
};

int32_t dequant(bool intra, int level, int qp, int w) {
    const int16_t t = static_cast<int16_t>(intra ? 2 * qp * level : 2 * level + (level > 0 ? 1 : -1));
    return (intra ? int32_t{t} * w : int32_t{t} * w * qp) / 32;
}

TEST(Mpeg2Encode, BlocksWrittenDecodeBack) {
    Rng rng(171);
    Tables t;
    std::vector<Zep32s> scan(64);
    for (int it = 0; it < 3000; ++it) {
        const bool intra = it & 1, tableOne = intra && (it & 2);
        for (int i = 0; i < 64; ++i) scan[static_cast<size_t>(i)] = i;
        for (int i = 63; i > 1; --i) std::swap(scan[static_cast<size_t>(i)], scan[static_cast<size_t>(rng.range(1, i))]);
        std::vector<Zep16s> qf(64, 0);
        const int count = rng.range(intra ? 0 : 1, it % 7 ? 10 : 63);
        for (int k = 0; k < count; ++k) {
            const int a = rng.range(0, 4) ? rng.range(1, 3) : rng.range(1, 2047);
            qf[static_cast<size_t>(rng.range(intra ? 1 : 0, 63))] = static_cast<Zep16s>(rng.coin() ? a : -a);
        }
        Zep16s pred = static_cast<Zep16s>(rng.range(0, 255)), predIn = pred;
        const int shift = rng.range(0, 3);
        if (intra) qf[0] = static_cast<Zep16s>(std::clamp(pred + rng.range(-300, 300), 0, 2047 >> shift));
        // Words with noise; the writer starts at a random bit of the first.
        std::vector<Zep32u> words(80);
        for (auto& w : words) w = rng.u32();
        const Zep32u first = words[0];
        const int start = rng.range(0, 31);
        Zep32u* p = words.data();
        Zep32s off = start;
        const Zep32s* enc = tableOne ? t.enc15 : t.enc14;
        const ZepStatus st = intra ? zepiPutIntraBlock(&p, &off, qf.data(), &pred, enc, t.dcCodes.data(), scan.data())
                                   : zepiPutNonIntraBlock(&p, &off, qf.data(), enc, scan.data());
        const std::string ctx = std::string(intra ? "intra" : "non-intra") + (tableOne ? " B-15" : "") + " it " + std::to_string(it);
        ASSERT_EQ(st, zepStatusOk) << ctx;
        if (start < 31) {
            ASSERT_EQ(words[0] >> (start + 1), first >> (start + 1)) << ctx;  // bits before the start kept
        }
        Zep32u* end = p;
        const Zep32s endOff = off;
        // Decode with flat weights 16 and QP 1..: the expected values from the levels.
        const int qp = rng.range(1, 31);
        std::vector<Zep16s> w16(64, 16), out(64);
        Zep32s size;
        p = words.data();
        off = start;
        Zep16s dpred = predIn;
        const ZepStatus ds = intra ? zepiReconstructDCTBlockIntra_MPEG2_32s(&p, &off, t.decDc, tableOne ? t.dec15 : t.dec14,
                                                                           scan.data(), static_cast<Zep16s>(qp), w16.data(),
                                                                           &dpred, shift, out.data(), &size)
                                   : zepiReconstructDCTBlock_MPEG2_32s(&p, &off, t.dec14, t.dec14, scan.data(),
                                                                       static_cast<Zep16s>(qp), w16.data(), out.data(), &size);
        ASSERT_EQ(ds, zepStatusOk) << ctx;
        ASSERT_EQ(p, end) << ctx;
        ASSERT_EQ(off, endOff) << ctx;
        std::vector<Zep16s> want(64, 0);
        int64_t sum = 0;
        if (intra) {
            want[0] = static_cast<Zep16s>(qf[0] << shift);
            sum = want[0];
            ASSERT_EQ(pred, qf[0]) << ctx;
            ASSERT_EQ(dpred, qf[0]) << ctx;
        }
        for (int i = intra ? 1 : 0; i < 64; ++i)
            if (qf[static_cast<size_t>(i)]) {
                const int32_t v = dequant(intra, qf[static_cast<size_t>(i)], qp, 16);
                want[static_cast<size_t>(i)] = static_cast<Zep16s>(v);
                sum += v;
            }
        if (sum % 2 == 0) want[63] = static_cast<Zep16s>(want[63] ^ 1);
        ASSERT_TRUE(same_array(want, out, ctx));
    }
}

TEST(Mpeg2Encode, QuantisersInvertWithinAStep) {
    Rng rng(172);
    for (int it = 0; it < 2000; ++it) {
        const bool intra = it & 1;
        const int qp = rng.range(1, 112);
        std::vector<Zep16s> w(64), c(64);
        for (auto& v : w) v = static_cast<Zep16s>(rng.range(8, 80));
        for (auto& v : c) v = static_cast<Zep16s>(rng.range(-2000, 2000));
        if (intra) c[0] = static_cast<Zep16s>(rng.range(0, 2040));
        std::vector<Zep16s> q = c;
        Zep32s nz = -1;
        const int shift = rng.range(0, 3);
        ASSERT_EQ(intra ? zepiQuantIntra_MPEG2_16s_C1I(q.data(), qp, w.data(), shift, &nz)
                        : zepiQuant_MPEG2_16s_C1I(q.data(), qp, w.data(), &nz),
                  zepStatusOk);
        int count = 0;
        for (int i = 0; i < 64; ++i) {
            count += q[static_cast<size_t>(i)] != 0;
            if (intra && i == 0) {
                ASSERT_LE(std::abs((q[0] << shift) - c[0]), (1 << shift) / 2) << "DC";
                continue;
            }
            const int level = q[static_cast<size_t>(i)];
            // Levels at the limit, and those whose 2 QP L leaves 16 bits in the decoder, cannot come back.
            if (std::abs(level) == 2047 || std::abs(2 * qp * level) > 32767) continue;
            const int step = 2 * qp * w[static_cast<size_t>(i)] / 32 + 1;
            const int back = std::abs(dequant(intra, level, qp, w[static_cast<size_t>(i)]));
            if (level == 0) {
                ASSERT_LE(std::abs(c[static_cast<size_t>(i)]), 2 * step) << i;
            } else {
                ASSERT_LE(std::abs(back - std::abs(c[static_cast<size_t>(i)])), 2 * step) << i << " qp " << qp;
            }
        }
        ASSERT_EQ(nz, count);
    }
}

TEST(Mpeg2Encode, Checks) {
    Tables t;
    std::vector<Zep16s> b(64, 0), w(64, 16);
    Zep32s nz;
    EXPECT_EQ(zepiQuant_MPEG2_16s_C1I(nullptr, 0, w.data(), &nz), zepStatusNullPtr);
    EXPECT_EQ(zepiQuant_MPEG2_16s_C1I(b.data(), 0, w.data(), &nz), zepStatusDivByZero);
    w[9] = 0;
    EXPECT_EQ(zepiQuantIntra_MPEG2_16s_C1I(b.data(), 5, w.data(), 0, &nz), zepStatusDivByZero);
    EXPECT_EQ(zepiQuantIntra_MPEG2_16s_C1I(b.data(), 113, nullptr, 0, &nz), zepStatusOutOfRange);
    // Out-of-range levels and a DC step beyond 11 bits: nothing written.
    std::vector<Zep32u> words(4, 0xAAAAAAAAu);
    const auto before = words;
    Zep32u* p = words.data();
    Zep32s off = 31;
    std::vector<Zep32s> scan(64);
    for (int i = 0; i < 64; ++i) scan[static_cast<size_t>(i)] = i;
    b[5] = 2048;
    EXPECT_EQ(zepiPutNonIntraBlock(&p, &off, b.data(), t.enc14, scan.data()), zepStatusOutOfRange);
    b[5] = 0;
    b[0] = 3000;
    Zep16s pred = 0;
    EXPECT_EQ(zepiPutIntraBlock(&p, &off, b.data(), &pred, t.enc14, t.dcCodes.data(), scan.data()), zepStatusOutOfRange);
    EXPECT_EQ(words, before);
    EXPECT_EQ(pred, 0);
    Zep32s* e = nullptr;
    const std::vector<Zep32s> noEob = {0, 1, 8, 0, 1, 3, 0, 1, -1};
    EXPECT_EQ(zepiCreateRLEncodeTable(noEob.data(), &e), zepStatusBitstreamErr);
    EXPECT_EQ(zepiCreateRLEncodeTable(nullptr, &e), zepStatusNullPtr);
}

}  // namespace
