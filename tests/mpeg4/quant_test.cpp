// MPEG-4 and H.263 quantisation: spec records (sizes, alignment inside any
// buffer, marks, failed Init), the inverse quantisers against their formulas
// at every bit depth, the forward quantisers against theirs and back through
// the inverse, the format's worked values, kernel levels, and check order.
#include <cstdlib>
#include <vector>

#include "harness/harness.h"
#include "mpeg4/quant_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;

// A spec buffer at a deliberately odd address. Every buffer has the larger
// size: the checks that refuse a spec of the wrong kind read its mark where
// the expected kind keeps it.
struct Spec {
    std::vector<Zep8u> mem;
    void* p;
    explicit Spec(Zep32s, int misalign) : mem(412 + 64, 0xEE), p(mem.data() + 1 + misalign) {}
};

std::vector<Zep8u> random_matrix(Rng& rng) {
    std::vector<Zep8u> m(64);
    for (auto& v : m) v = static_cast<Zep8u>(rng.range(1, 255));
    return m;
}

int dc_scaler(int qp, bool luma) {
    if (qp <= 4) return 8;
    if (luma) return qp <= 8 ? 2 * qp : (qp <= 24 ? qp + 8 : 2 * qp - 16);
    return qp <= 24 ? (qp + 13) / 2 : qp - 6;
}

TEST(Mpeg4QuantSpec, SizesAlignmentMarksAndFailedInit) {
    Zep32s s[4];
    ASSERT_EQ(zepiQuantIntraGetSize_MPEG4(&s[0]), zepStatusOk);
    ASSERT_EQ(zepiQuantInterGetSize_MPEG4(&s[1]), zepStatusOk);
    ASSERT_EQ(zepiQuantInvIntraGetSize_MPEG4(&s[2]), zepStatusOk);
    ASSERT_EQ(zepiQuantInvInterGetSize_MPEG4(&s[3]), zepStatusOk);
    EXPECT_EQ(s[0], 412);
    EXPECT_EQ(s[1], 412);
    EXPECT_EQ(s[2], 156);
    EXPECT_EQ(s[3], 156);
    EXPECT_EQ(zepiQuantIntraGetSize_MPEG4(nullptr), zepStatusNullPtr);
    // Any alignment of the caller's buffer: the record stays inside it.
    for (int mis = 0; mis < 16; ++mis) {
        Spec sp(156, mis);
        const std::vector<Zep8u> before = sp.mem;
        ASSERT_EQ(zepiQuantInvInterInit_MPEG4(nullptr, sp.p, 8), zepStatusOk);
        const size_t start = static_cast<size_t>(static_cast<Zep8u*>(sp.p) - sp.mem.data());
        for (size_t i = 0; i < sp.mem.size(); ++i)
            if (i < start || i >= start + 156) {  // the record stays within its 156 bytes
                ASSERT_EQ(sp.mem[i], before[i]) << "byte " << i << " misalign " << mis;
            }
    }
    // A spec of the wrong kind is refused; a zero weight fails after the mark, matrixPresent kept.
    Rng rng(131);
    Spec inv(156, 3), fwd(412, 5);
    ASSERT_EQ(zepiQuantInvInterInit_MPEG4(nullptr, inv.p, 8), zepStatusOk);
    std::vector<Zep8u> m = random_matrix(rng);
    m[17] = 0;
    EXPECT_EQ(zepiQuantInvInterInit_MPEG4(m.data(), inv.p, 8), zepStatusQPErr);
    Zep16s blk[64] = {};
    blk[0] = 3;
    ASSERT_EQ(zepiQuantInvInter_MPEG4_16s_C1I(blk, 0, inv.p, 5), zepStatusOk);
    EXPECT_EQ(blk[0], 2 * 5 * 3 + 5);  // still the H.263 method: no matrix
    EXPECT_EQ(zepiQuantInvIntra_MPEG4_16s_C1I(blk, 0, inv.p, 5, 0), zepStatusContextMismatch);
    EXPECT_EQ(zepiQuantInvIntraInit_MPEG4(nullptr, inv.p, 13), zepStatusOutOfRange);
    EXPECT_EQ(zepiQuantInvIntraInit_MPEG4(nullptr, inv.p, 3), zepStatusOutOfRange);
    EXPECT_EQ(zepiQuantInterInit_MPEG4(nullptr, fwd.p, 13), zepStatusOk);  // no range check forward
    EXPECT_EQ(zepiQuantInterInit_MPEG4(nullptr, nullptr, 8), zepStatusNullPtr);
    Zep32s nz;
    EXPECT_EQ(zepiQuantIntra_MPEG4_16s_C1I(blk, fwd.p, 1, &nz, 0), zepStatusContextMismatch);
}

// The worked values of the format.
TEST(Mpeg4Quant, WorkedValues) {
    Spec s(412, 7), si(412, 1);
    std::vector<Zep8u> flat16(64, 16);
    ASSERT_EQ(zepiQuantInterInit_MPEG4(flat16.data(), s.p, 8), zepStatusOk);
    Zep16s blk[64] = {};
    blk[9] = 4094;
    blk[10] = -4094;
    Zep32s nz = -1;
    ASSERT_EQ(zepiQuantInter_MPEG4_16s_C1I(blk, s.p, 1, &nz), zepStatusOk);
    EXPECT_EQ(blk[9], 2047);
    EXPECT_EQ(blk[10], -2047);
    EXPECT_EQ(nz, 2);
    ASSERT_EQ(zepiQuantIntraInit_MPEG4(nullptr, si.p, 8), zepStatusOk);
    for (int sign : {1, -1}) {
        Zep16s b[64] = {};
        b[0] = static_cast<Zep16s>(sign * 2047 * 8);
        ASSERT_EQ(zepiQuantIntra_MPEG4_16s_C1I(b, si.p, 3, &nz, 0), zepStatusOk);
        EXPECT_EQ(b[0], sign * 2047);
        EXPECT_EQ(nz, 1);
    }
}

// Inverse quantisation at every bit depth, with and without a matrix,
// against the formulas written out here.
TEST(Mpeg4QuantInv, MatchesFormulasAtEveryDepth) {
    Rng rng(132);
    for (int bits = 4; bits <= 12; ++bits)
        for (int it = 0; it < 300; ++it) {
            const bool intra = it & 1, matrix = it & 2, luma = it & 4;
            const int maxQp = (1 << (bits - 3)) - 1, qp = rng.range(1, maxQp);
            const int lo = -(1 << (bits + 3)), hi = (1 << (bits + 3)) - 1;
            Spec s(156, rng.range(0, 15));
            const std::vector<Zep8u> m = random_matrix(rng);
            ASSERT_EQ((intra ? zepiQuantInvIntraInit_MPEG4 : zepiQuantInvInterInit_MPEG4)(matrix ? m.data() : nullptr, s.p, bits),
                      zepStatusOk);
            std::vector<Zep16s> c(64);
            const int big = it % 5 == 0 ? 32767 : 40;
            for (auto& v : c) v = static_cast<Zep16s>(rng.range(0, 2) ? 0 : rng.range(-big, big));
            const int last = rng.range(0, 3) ? 63 : rng.range(0, 63);
            std::vector<Zep16s> want = c;
            int64_t sum = 0;
            auto clampv = [&](int64_t v) { return static_cast<int>(std::clamp<int64_t>(v, lo, hi)); };
            if (intra) {
                want[0] = static_cast<Zep16s>(clampv(int64_t{c[0]} * dc_scaler(qp, luma)));
                sum += want[0];
            }
            for (int i = intra ? 1 : 0; i <= last; ++i) {
                const int64_t l = c[i];
                if (l == 0) continue;
                int64_t v;
                if (!matrix) v = (l < 0 ? -1 : 1) * (2 * qp * std::abs(l) + ((qp & 1) ? qp : qp - 1));
                else if (intra) v = m[i] * qp * 2 * l / 16;
                else v = m[i] * qp * (2 * l + (l > 0 ? 1 : -1)) / 16;
                want[i] = static_cast<Zep16s>(clampv(v));
                sum += want[i];
            }
            if (matrix) {
                if (intra && last < 1) {
                    if (want[0] % 2 == 0) want[63] = 1;
                } else if (sum % 2 == 0) {
                    want[63] = static_cast<Zep16s>(want[63] % 2 ? want[63] - 1 : want[63] + 1);
                }
            }
            const ZepStatus st = intra ? zepiQuantInvIntra_MPEG4_16s_C1I(c.data(), last, s.p, qp, luma ? 0 : 1)
                                       : zepiQuantInvInter_MPEG4_16s_C1I(c.data(), last, s.p, qp);
            ASSERT_EQ(st, zepStatusOk);
            ASSERT_TRUE(same_array(want, c, "bits " + std::to_string(bits) + " qp " + std::to_string(qp) +
                                                (intra ? " intra" : " inter") + (matrix ? " matrix" : "") +
                                                " last " + std::to_string(last)));
        }
}

TEST(H263QuantInv, MatchesFormula) {
    Rng rng(133);
    for (int qp = 1; qp <= 31; ++qp)
        for (int it = 0; it < 60; ++it) {
            const bool intra = it & 1, adv = it & 2;
            std::vector<Zep16s> c(64);
            for (auto& v : c) {
                const int big = it % 7 ? 60 : 32767;
                v = static_cast<Zep16s>(rng.range(0, 1) ? 0 : rng.range(-big - 1, big));
            }
            const int last = rng.range(0, 2) ? 63 : rng.range(0, 63);
            std::vector<Zep16s> want = c;
            for (int i = 0; i <= last; ++i) {
                const int64_t l = c[i];
                if (intra && i == 0 && !adv) {
                    want[0] = static_cast<Zep16s>(std::clamp<int64_t>(l * 8, -32768, 32767));
                    continue;
                }
                if (l == 0) continue;
                const int64_t m = 2 * qp * std::abs(l) + (intra && adv ? 0 : ((qp & 1) ? qp : qp - 1));
                want[i] = static_cast<Zep16s>(std::clamp<int64_t>(l < 0 ? -m : m, -2048, 2047));
            }
            ASSERT_EQ(intra ? zepiQuantInvIntra_H263_16s_C1I(c.data(), last, qp, adv, 0)
                            : zepiQuantInvInter_H263_16s_C1I(c.data(), last, qp, 0),
                      zepStatusOk);
            ASSERT_TRUE(same_array(want, c, "qp " + std::to_string(qp) + (intra ? " intra" : " inter") +
                                                (adv ? " advanced" : "") + " last " + std::to_string(last)));
        }
}

// Forward quantisers: their documented paths, the intra DC rules, and the
// trip back through the inverse within half a step (plus the dead zone).
TEST(Quant, ForwardPathsAndRoundTrip) {
    Rng rng(134);
    for (int qp = 1; qp <= 31; ++qp)
        for (int it = 0; it < 40; ++it) {
            std::vector<Zep16s> c(64), q(64);
            for (auto& v : c) v = static_cast<Zep16s>(rng.range(-1500, 1500));
            // H.263 inter: the three integer paths.
            q = c;
            Zep32s nz = -1;
            const bool mq = it & 1;
            ASSERT_EQ(zepiQuantInter_H263_16s_C1I(q.data(), qp, &nz, mq), zepStatusOk);
            int count = 0;
            for (int i = 0; i < 64; ++i) {
                const int a = std::abs(c[i]);
                int want;
                if (qp == 1 && !mq) want = std::clamp(c[i] >> 1, -127, 127);
                else if (qp < 8 && !mq) want = (c[i] < 0 ? -1 : 1) * std::min((std::max(a - qp / 2, 0) * (65536 / (2 * qp) + 1)) >> 16, 127);
                else want = (c[i] < 0 ? -1 : 1) * std::min(std::max(a - qp / 2, 0) / (2 * qp), mq ? 2047 : 127);
                ASSERT_EQ(q[i], want) << "H.263 inter qp " << qp << " [" << i << "] " << c[i];
                count += want != 0;
            }
            EXPECT_EQ(nz, count);
            // H.263 intra: DC by eight with 0 -> 1 and 255 -> 254; round trip of the AC.
            q = c;
            q[0] = static_cast<Zep16s>(rng.range(0, 2047));
            const int dc = q[0];
            ASSERT_EQ(zepiQuantIntra_H263_16s_C1I(q.data(), qp, &nz, 0, 1), zepStatusOk);
            const int wantDc = (dc + 4) >> 3 == 0 ? 1 : ((dc + 4) >> 3 == 255 ? 254 : (dc + 4) >> 3);
            EXPECT_EQ(q[0], wantDc);
            ASSERT_EQ(zepiQuantInvIntra_H263_16s_C1I(q.data(), 63, qp, 0, 1), zepStatusOk);
            for (int i = 1; i < 64; ++i) ASSERT_LE(std::abs(q[i] - c[i]), 2 * qp + 1) << "H.263 intra qp " << qp;
            // MPEG-4 with a matrix at 8 bits: the round trip stays within one step of the weight.
            Spec fs(412, 3), is(156, 9);
            const std::vector<Zep8u> m = random_matrix(rng);
            ASSERT_EQ(zepiQuantInterInit_MPEG4(m.data(), fs.p, 8), zepStatusOk);
            ASSERT_EQ(zepiQuantInvInterInit_MPEG4(m.data(), is.p, 8), zepStatusOk);
            q = c;
            ASSERT_EQ(zepiQuantInter_MPEG4_16s_C1I(q.data(), fs.p, qp, &nz), zepStatusOk);
            const std::vector<Zep16s> levels = q;
            ASSERT_EQ(zepiQuantInvInter_MPEG4_16s_C1I(q.data(), 63, is.p, qp), zepStatusOk);
            for (int i = 0; i < 63; ++i)
                if (std::abs(levels[i]) < 2047) {  // levels at the limit cannot carry the value back
                    ASSERT_LE(std::abs(q[i] - c[i]), (m[i] * qp * 3) / 16 + 2) << "MPEG-4 inter qp " << qp << " weight " << int{m[i]};
                }
        }
}

TEST(QuantInvKernels, EveryLevelMatchesReference) {
    const zep::QuantInvDsp ref = zep::build_table(zep::quantinv_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::QuantInvDsp k = zep::build_table(zep::quantinv_init, level);
        Rng rng(135);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 100; ++it) {
                std::vector<Zep16s> c(64);
                fill(c.data(), 64, pat, rng, -32768, 32767);
                std::vector<Zep16u> w(64);
                for (auto& v : w) v = static_cast<Zep16u>(rng.range(1, 255));
                const int qp = rng.range(1, 31), first = rng.range(0, 1), last = rng.range(0, 63);
                const int bits = rng.range(4, 8), lo = -(1 << (bits + 3)), hi = (1 << (bits + 3)) - 1;
                const std::string ctx = "qp " + std::to_string(qp) + " first " + std::to_string(first) + " last " + std::to_string(last);
                std::vector<Zep16s> a = c, b = c;
                ref.h263(a.data(), first, last, qp);
                k.h263(b.data(), first, last, qp);
                ASSERT_TRUE(same_array(a, b, context(level, pat, "h263 " + ctx)));
                for (int intra = 0; intra < 2; ++intra) {
                    a = c, b = c;
                    const int32_t sa = (intra ? ref.matrixIntra : ref.matrixInter)(a.data(), w.data(), first, last, qp, lo, hi);
                    const int32_t sb = (intra ? k.matrixIntra : k.matrixInter)(b.data(), w.data(), first, last, qp, lo, hi);
                    ASSERT_TRUE(same_array(a, b, context(level, pat, "matrix " + ctx)));
                    ASSERT_EQ(sa, sb) << ctx;
                }
            }
    }
}

TEST(Quant, ChecksInOrderAndWriteNothing) {
    Spec s(412, 0), is(156, 0);
    ASSERT_EQ(zepiQuantInterInit_MPEG4(nullptr, s.p, 6), zepStatusOk);  // QP 1..7 at 6 bits
    ASSERT_EQ(zepiQuantInvInterInit_MPEG4(nullptr, is.p, 6), zepStatusOk);
    std::vector<Zep16s> c(64, 77);
    const std::vector<Zep16s> before = c;
    Zep32s nz;
    EXPECT_EQ(zepiQuantInter_MPEG4_16s_C1I(nullptr, s.p, 99, &nz), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInter_MPEG4_16s_C1I(c.data(), s.p, 99, nullptr), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInter_MPEG4_16s_C1I(c.data(), is.p, 99, &nz), zepStatusContextMismatch);
    EXPECT_EQ(zepiQuantInter_MPEG4_16s_C1I(c.data(), s.p, 8, &nz), zepStatusQPErr);
    EXPECT_EQ(zepiQuantInter_MPEG4_16s_C1I(c.data(), s.p, 0, &nz), zepStatusQPErr);
    EXPECT_EQ(zepiQuantInvInter_MPEG4_16s_C1I(c.data(), 63, s.p, 3), zepStatusContextMismatch);
    EXPECT_EQ(zepiQuantInvInter_MPEG4_16s_C1I(c.data(), 63, is.p, 8), zepStatusQPErr);
    EXPECT_EQ(zepiQuantInvIntra_H263_16s_C1I(nullptr, -1, 0, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvIntra_H263_16s_C1I(c.data(), -1, 0, 0, 0), zepStatusQPErr);
    EXPECT_EQ(zepiQuantInvInter_H263_16s_C1I(c.data(), -1, 32, 0), zepStatusQPErr);
    EXPECT_EQ(zepiQuantInvInter_H263_16s_C1I(c.data(), -1, 31, 0), zepStatusOutOfRange);
    EXPECT_EQ(zepiQuantIntra_H263_16s_C1I(c.data(), 0, &nz, 0, 0), zepStatusQPErr);
    EXPECT_EQ(zepiQuantInter_H263_16s_C1I(c.data(), 5, nullptr, 0), zepStatusNullPtr);
    EXPECT_EQ(c, before);
}

}  // namespace
