// The kernel harness itself: a copied picture must not alias the original,
// or a test comparing "before" and "after" could never fail.
#include "harness/harness.h"
#include "harness/null_sweep.h"

namespace {

TEST(Harness, PictureCopiesAreDeepAndKeepGeometry) {
    zt::Rng rng(3);
    auto a = zt::Picture<Zep16s>::random(rng, 8, 4, 1);
    a.fill(zt::Pattern::Random, rng, -100, 100);
    zt::Picture<Zep16s> b = a;
    EXPECT_NE(b.data(), a.data());
    EXPECT_EQ(b.step(), a.step());
    EXPECT_EQ(reinterpret_cast<uintptr_t>(b.data()) & 63, reinterpret_cast<uintptr_t>(a.data()) & 63);
    EXPECT_EQ(b.block(), a.block());
    b.at(3, 2) = static_cast<Zep16s>(a.at(3, 2) + 1);
    EXPECT_NE(b.block(), a.block());
    zt::Picture<Zep16s> c(2, 2, 8);
    c = a;
    EXPECT_EQ(c.block(), a.block());
    EXPECT_NE(c.data(), a.data());
}

TEST(Harness, NegativeStepPutsFirstRowAtTheBottom) {
    zt::Picture<Zep8u> p(4, 3, -16, 0, 0);
    p.at(0, 0) = 1;
    p.at(0, 2) = 3;
    EXPECT_EQ(&p.at(0, 2) + 32, &p.at(0, 0));
}

}  // namespace

namespace {

// A function that forgets to check its second pointer must be caught.
ZepStatus checks_both(const Zep8u* a, Zep32s, Zep32s* b) { return (!a || !b) ? zepStatusNullPtr : zepStatusOk; }
ZepStatus checks_first(const Zep8u* a, Zep32s, Zep32s*) { return !a ? zepStatusNullPtr : zepStatusOk; }

TEST(Harness, NullSweepFindsAnUncheckedPointer) {
    Zep8u in = 0;
    Zep32s out = 0;
    EXPECT_TRUE(zt::null_sweep(checks_both, &in, 4, &out));
    EXPECT_FALSE(zt::null_sweep(checks_first, &in, 4, &out));
    EXPECT_TRUE(zt::null_sweep_except({2}, checks_first, &in, 4, &out));
}

}  // namespace
