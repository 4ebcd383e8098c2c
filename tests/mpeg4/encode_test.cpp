// H.263 and H.261 coefficient encoding: random blocks written by the encoders
// decode back exactly through the decoders (every scan, escape and annex the
// decoders read), the writer keeps the bits before its start, and the checks.
#include <vector>

#include "harness/harness.h"
#include "zepvc.h"

namespace {

using namespace zt;

std::vector<Zep16s> random_block(Rng& rng, int maxLevel, int from) {
    std::vector<Zep16s> c(64, 0);
    const int n = rng.range(0, rng.coin() ? 6 : 40);
    for (int k = 0; k < n; ++k) {
        const int a = rng.range(0, 3) ? rng.range(1, 3) : rng.range(1, maxLevel);
        c[static_cast<size_t>(rng.range(from, 63))] = static_cast<Zep16s>(rng.coin() ? a : -a);
    }
    return c;
}

TEST(H263Encode, BlocksDecodeBack) {
    Rng rng(201);
    for (int it = 0; it < 4000; ++it) {
        const bool intra = it & 1, adv = intra && (it & 2), modQuant = it & 4;
        const int scan = rng.range(0, intra ? 2 : 1);
        std::vector<Zep16s> c = random_block(rng, modQuant ? 1023 : 127, intra && !adv ? 1 : 0);
        if (intra && !adv) c[0] = 55;  // INTRADC, not coded here
        std::vector<Zep8u> bytes(400);
        for (auto& b : bytes) b = static_cast<Zep8u>(rng.u32());
        const Zep8u first = bytes[0];
        const int start = rng.range(0, 7);
        Zep8u* p = bytes.data();
        Zep32s off = start;
        ASSERT_EQ(intra ? zepiEncodeCoeffsIntra_H263_16s1u(c.data(), &p, &off, adv, modQuant, scan)
                        : zepiEncodeCoeffsInter_H263_16s1u(c.data(), &p, &off, modQuant, scan),
                  zepStatusOk);
        if (start) {
            ASSERT_EQ(bytes[0] >> (8 - start), first >> (8 - start));  // bits before the start kept
        }
        bool any = false;
        for (int i = intra && !adv ? 1 : 0; i < 64; ++i) any = any || c[static_cast<size_t>(i)];
        if (!any) {
            ASSERT_EQ(p, bytes.data());
            continue;
        }
        Zep8u* end = p;
        const Zep32s endOff = off;
        p = bytes.data();
        off = start;
        std::vector<Zep16s> d(64, 0);
        d[0] = 55;
        Zep32s last;
        ASSERT_EQ(intra ? zepiDecodeCoeffsIntra_H263_1u16s(&p, &off, d.data(), &last, adv, modQuant, scan)
                        : zepiDecodeCoeffsInter_H263_1u16s(&p, &off, d.data(), &last, modQuant, scan),
                  zepStatusOk) << "it " << it;
        ASSERT_TRUE(same_array(c, d, "it " + std::to_string(it)));
        ASSERT_EQ(p, end);
        ASSERT_EQ(off, endOff);
    }
}

TEST(Mpeg4Encode, BlocksDecodeBackWithEveryEscapeAndBothCodes) {
    Rng rng(203);
    for (int it = 0; it < 4000; ++it) {
        const bool intra = it & 1, rvlc = it & 2, dcApart = intra && (it & 4);
        const int scan = rng.range(0, intra ? 2 : 1);
        std::vector<Zep16s> c = random_block(rng, it % 5 ? 40 : 2047, dcApart ? 1 : 0);
        if (dcApart) c[0] = 77;
        bool any = false;
        for (int i = dcApart ? 1 : 0; i < 64; ++i) any = any || c[static_cast<size_t>(i)];
        if (!any) continue;
        std::vector<Zep8u> bytes(600);
        for (auto& b : bytes) b = static_cast<Zep8u>(rng.u32());
        const int start = rng.range(0, 7);
        Zep8u* p = bytes.data();
        Zep32s off = start;
        ASSERT_EQ(intra ? zepiEncodeCoeffsIntra_MPEG4_16s1u(c.data(), &p, &off, rvlc, dcApart, scan)
                        : zepiEncodeCoeffsInter_MPEG4_16s1u(c.data(), &p, &off, rvlc, scan),
                  zepStatusOk);
        Zep8u* end = p;
        const Zep32s endOff = off;
        p = bytes.data();
        off = start;
        std::vector<Zep16s> d(64, 0);
        d[0] = 77;
        Zep32s last;
        ASSERT_EQ(intra ? zepiDecodeCoeffsIntra_MPEG4_1u16s(&p, &off, d.data(), &last, rvlc, dcApart, scan)
                        : zepiDecodeCoeffsInter_MPEG4_1u16s(&p, &off, d.data(), &last, rvlc, scan),
                  zepStatusOk) << "it " << it;
        ASSERT_TRUE(same_array(c, d, "it " + std::to_string(it)));
        ASSERT_EQ(p, end);
        ASSERT_EQ(off, endOff);
    }
}

TEST(H261Encode, BlocksDecodeBack) {
    Rng rng(202);
    for (int it = 0; it < 4000; ++it) {
        const bool intra = it & 1;
        std::vector<Zep16s> c = random_block(rng, 127, intra ? 1 : 0);
        if (intra) c[0] = static_cast<Zep16s>(rng.range(1, 254));
        else if (rng.range(0, 3) == 0) c[0] = static_cast<Zep16s>(rng.coin() ? 1 : -1);  // the "1s" first code
        bool any = intra;
        for (Zep16s v : c) any = any || v;
        if (!any) c[5] = 2;  // an inter block codes at least one level
        std::vector<Zep8u> bytes(400, 0);
        Zep8u* p = bytes.data();
        Zep32s off = rng.range(0, 7);
        const Zep32s start = off;
        ASSERT_EQ(intra ? zepiEncodeCoeffsIntra_H261_16s1u(c.data(), &p, &off) : zepiEncodeCoeffsInter_H261_16s1u(c.data(), &p, &off),
                  zepStatusOk);
        Zep8u* end = p;
        const Zep32s endOff = off;
        p = bytes.data();
        off = start;
        std::vector<Zep16s> d(64);
        Zep32s last;
        ASSERT_EQ(intra ? zepiDecodeCoeffsIntra_H261_1u16s(&p, &off, d.data(), &last, 0)
                        : zepiDecodeCoeffsInter_H261_1u16s(&p, &off, d.data(), &last, 0),
                  zepStatusOk) << "it " << it;
        ASSERT_TRUE(same_array(c, d, "it " + std::to_string(it)));
        ASSERT_EQ(p, end);
        ASSERT_EQ(off, endOff);
    }
}

TEST(DcEncode, EveryDifferentialAndCodeDecodesBack) {
    for (int type = 0; type < 2; ++type)
        for (int diff = -4095; diff <= 4095; diff += (diff > -300 && diff < 300) ? 1 : 37) {
            std::vector<Zep8u> bytes(8, 0);
            Zep8u* p = bytes.data();
            Zep32s off = diff & 7;
            const Zep32s start = off;
            ASSERT_EQ(zepiEncodeDCIntra_MPEG4_16s1u(static_cast<Zep16s>(diff), &p, &off, type), zepStatusOk) << diff;
            Zep8u* end = p;
            const Zep32s endOff = off;
            p = bytes.data();
            off = start;
            Zep16s dc = 0;
            ASSERT_EQ(zepiDecodeDCIntra_MPEG4_1u16s(&p, &off, &dc, type), zepStatusOk) << diff;
            ASSERT_EQ(dc, diff);
            ASSERT_EQ(p, end);
            ASSERT_EQ(off, endOff);
        }
    for (int code = 1; code <= 254; ++code) {
        Zep8u bytes[4] = {};
        Zep8u* p = bytes;
        Zep32s off = 3;
        ASSERT_EQ(zepiEncodeDCIntra_H263_16s1u(static_cast<Zep16s>(code), &p, &off), zepStatusOk);
        p = bytes;
        off = 3;
        Zep16u dc;
        ASSERT_EQ(zepiDecodeDCIntra_H263_1u16s(&p, &off, &dc), zepStatusOk);
        ASSERT_EQ(dc, code);
    }
    Zep8u bytes[4] = {};
    Zep8u* p = bytes;
    Zep32s off = 0;
    EXPECT_EQ(zepiEncodeDCIntra_H263_16s1u(0, &p, &off), zepStatusOutOfRange);
    EXPECT_EQ(zepiEncodeDCIntra_MPEG4_16s1u(4096, &p, &off, 0), zepStatusOutOfRange);
    EXPECT_EQ(p, bytes);
}

TEST(CoeffEncode, ChecksAndRangesWriteNothing) {
    std::vector<Zep16s> c(64, 0);
    std::vector<Zep8u> bytes(64, 0xA5);
    const auto before = bytes;
    Zep8u* p = bytes.data();
    Zep8u* nul = nullptr;
    Zep32s off = 8;
    EXPECT_EQ(zepiEncodeCoeffsInter_H263_16s1u(nullptr, &p, &off, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiEncodeCoeffsInter_H263_16s1u(c.data(), &nul, &off, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiEncodeCoeffsInter_H263_16s1u(c.data(), &p, &off, 0, 0), zepStatusBitOffsetErr);
    off = 0;
    c[3] = 128;
    EXPECT_EQ(zepiEncodeCoeffsInter_H263_16s1u(c.data(), &p, &off, 0, 0), zepStatusOutOfRange);
    EXPECT_EQ(zepiEncodeCoeffsInter_H261_16s1u(c.data(), &p, &off), zepStatusOutOfRange);
    c[3] = 1024;
    EXPECT_EQ(zepiEncodeCoeffsIntra_H263_16s1u(c.data(), &p, &off, 0, 1, 0), zepStatusOutOfRange);
    c[3] = 0;
    c[0] = 0;
    EXPECT_EQ(zepiEncodeCoeffsIntra_H261_16s1u(c.data(), &p, &off), zepStatusOutOfRange);  // INTRADC 0
    EXPECT_EQ(bytes, before);
    EXPECT_EQ(p, bytes.data());
}

}  // namespace
