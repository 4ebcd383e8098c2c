// Benchmarks of the MPEG-2 and AVS block decoders: one typical block (about
// ten coefficients) decoded from the same words again and again. The decoders
// are bit-serial and have no vector kernels: every level shows the same code.
#include "bench.h"

#include <string>
#include <vector>

#include "../tests/mpeg2/huffman_build.h"
#include "zepvc.h"

namespace {

using zb::Case;
using zep::Isa;

struct Bits {
    std::string s;
    void put(const std::string& b) { s += b; }
    void eg(uint64_t n, int k) {
        const uint64_t v = n + (uint64_t{1} << k);
        int len = 0;
        while ((v >> len) > 1) ++len;
        s += std::string(static_cast<size_t>(len - k), '0');
        for (int i = len; i >= 0; --i) s += ((v >> i) & 1) ? '1' : '0';
    }
    std::shared_ptr<std::vector<Zep32u>> words() const {
        auto w = std::make_shared<std::vector<Zep32u>>((s.size() + 31) / 32 + 4, 0xFFFFFFFFu);
        for (size_t i = 0; i < w->size() * 32; ++i)
            if (i < s.size() && s[i] == '0') (*w)[i / 32] &= ~(1u << (31 - i % 32));
        return w;
    }
};

std::string code(const mpeg2t::RlCode* tab, size_t n, int run, int level) {
    for (size_t i = 0; i < n; ++i)
        if (tab[i].run == run && tab[i].level == (level < 0 ? -level : level)) return std::string(tab[i].code) + (level < 0 ? "1" : "0");
    return "";
}

// Ten coefficients: runs and levels of a typical coded block.
constexpr int kRuns[10] = {0, 0, 1, 0, 2, 0, 1, 3, 0, 5};
constexpr int kLevels[10] = {5, -3, 2, 1, -1, 2, -1, 1, 1, -1};

Case mpeg2(bool intra, bool b15) {
    static Zep32s* dcTab = mpeg2t::build_dc_table(mpeg2t::kDcLuma);
    static Zep32s* b14 = mpeg2t::build_ac_table(mpeg2t::kB14);
    static Zep32s* b15t = mpeg2t::build_ac_table(mpeg2t::kB15);
    Bits b;
    const auto* tab = b15 ? mpeg2t::kB15 : mpeg2t::kB14;
    const size_t n = b15 ? std::size(mpeg2t::kB15) : std::size(mpeg2t::kB14);
    if (intra) b.put("0111");  // dct_dc_size 2 ("01"), differential +3 ("11")
    for (int i = 0; i < 10; ++i) b.put(code(tab, n, kRuns[i], kLevels[i]));
    for (size_t i = 0; i < n; ++i)
        if (tab[i].run == -1) b.put(tab[i].code);
    auto words = b.words();
    auto out = std::make_shared<std::vector<Zep16s>>(64);
    auto scan = std::make_shared<std::vector<Zep32s>>(mpeg2t::kZigzag, mpeg2t::kZigzag + 64);
    auto w = std::make_shared<std::vector<Zep16s>>(64, 16);
    Zep32s* ac = b15 ? b15t : b14;
    auto run = [=] {
        Zep32u* p = words->data();
        Zep32s off = 31, size = 0;
        Zep16s pred = 128;
        return intra ? zepiReconstructDCTBlockIntra_MPEG2_32s(&p, &off, dcTab, ac, scan->data(), 12, w->data(), &pred, 3,
                                                              out->data(), &size)
                     : zepiReconstructDCTBlock_MPEG2_32s(&p, &off, b14, ac, scan->data(), 12, w->data(), out->data(),
                                                         &size);
    };
    if (run() != zepStatusOk) std::abort();  // the benchmark's block must be a valid one
    return {[=] { run(); },
            [=] { return zb::hash_bytes(out->data(), 128); }};
}

Case avs_luma() {
    // Ten (run, level) codes of the inter luma tables: table 0 code numbers for small levels,
    // then the end of block of the table reached (inter table 4 after a level of 5: code 2, order 2).
    Bits b;
    b.eg(60, 3);  // escape, run 0, level +5 ...
    b.eg(5 - 3, 0);  // ... above the reference level 3 of run 0 in table 0
    for (int c : {0, 1, 3, 4, 5, 6, 7, 8, 9}) b.eg(static_cast<uint64_t>(c), 2);  // table 4, its end of block is 2
    b.eg(2, 2);
    auto words = b.words();
    auto out = std::make_shared<std::vector<Zep16s>>(64);
    auto run = [=] {
        Zep32u* p = words->data();
        Zep32s off = 31, num = 0;
        zepiDecodeLumaBlockInter_AVS_1u16s(&p, &off, &num, out->data(), 0);
        return num;
    };
    if (run() < 10) std::abort();  // ten coefficients
    return {[=] { run(); },
            [=] { return zb::hash_bytes(out->data(), 128); }};
}

const zb::Register m0("blockvlc", "MPEG-2 intra block B-14 (10 coefficients)", [](Isa) { return mpeg2(true, false); });
const zb::Register m1("blockvlc", "MPEG-2 intra block B-15 (10 coefficients)", [](Isa) { return mpeg2(true, true); });
const zb::Register m2("blockvlc", "MPEG-2 non-intra block B-14 (10 coefficients)", [](Isa) { return mpeg2(false, false); });
const zb::Register a0("blockvlc", "AVS inter luma block (11 codes)", [](Isa) { return avs_luma(); });

}  // namespace
