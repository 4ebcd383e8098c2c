// Two-pass builder of the multi-level Huffman lookup tables.
//
// Pass 1 collects the codes (8 bytes each, in a temporary array), sorts them
// by their left-aligned bits and counts the distinct prefixes that need a
// sub-table at every deeper level, which gives the exact table size. Pass 2
// lays out the sub-tables in that sorted order, links them, and then fills the
// leaves in description order.
//
// Descriptions that are not prefix-free still give a well-formed table: links
// are never overwritten by leaves (a code that is a prefix of a longer code
// keeps only the entries the longer code leaves free), and of two codes with
// the same bits the later one wins. Codes longer than 32 bits or than the sum
// of the level widths cannot be looked up and are skipped.
#include "vlc/huffman.h"

#include <algorithm>
#include <cstdint>

namespace zep::vlc {

namespace {

struct CodeRec {  // the 8 bytes per code of the first pass
    Zep32u code;  // right-aligned, masked to len bits
    Zep32s len;
};

uint64_t left_aligned(Zep32u code, int len) { return static_cast<uint64_t>(code) << (64 - len); }

// n bits (1..32) of a left-aligned code starting at bit `start` (0 = first).
Zep32u bits_at(uint64_t key, int start, int n) { return static_cast<Zep32u>((key << start) >> (64 - n)); }

struct Levels {
    int count = 0;
    int width[kMaxLevels] = {};
    int cum[kMaxLevels + 1] = {};  // bits consumed before level i (cum[0] = 0)
    int max_len = 0;               // longest code that can be placed

    // Level (0-based) in which a code of length len ends.
    int level_of(int len) const {
        int k = 0;
        while (cum[k + 1] < len) ++k;
        return k;
    }
};

// Walks the code list of a description. f(len, record pointer) per code;
// returns the number of words per record.
template <class F>
void for_each_code(const Zep32s* desc, int levels, int recordWords, F&& f) {
    const Zep32s* p = desc + 2 + levels;
    for (int len = 1;; ++len) {
        const Zep32s n = *p++;
        if (n < 0) return;
        for (Zep32s i = 0; i < n; ++i, p += recordWords) f(len, p);
    }
}

}  // namespace

ZepStatus build_table(const Zep32s* desc, Payload kind, Zep32u** out, Allocator allocate, Releaser release_fn) {
    Levels lv;
    lv.count = desc[1];
    if (lv.count < 1 || lv.count > kMaxLevels) return zepStatusNoMemory;
    for (int i = 0; i < lv.count; ++i) {
        const Zep32s w = desc[2 + i];
        if (w < 1 || w > kMaxLevelBits) return zepStatusNoMemory;
        lv.width[i] = w;
        lv.cum[i + 1] = lv.cum[i] + w;
    }
    lv.max_len = std::min(lv.cum[lv.count], 32);
    const int recordWords = kind == Payload::Value ? 2 : 3;

    // ---- pass 1: collect, sort, count sub-tables.
    int64_t codes = 0;
    for_each_code(desc, lv.count, recordWords, [&](int len, const Zep32s*) {
        if (len <= lv.max_len) ++codes;
    });
    if (codes * static_cast<int64_t>(sizeof(CodeRec)) > INT32_MAX) return zepStatusNoMemory;
    CodeRec* recs = nullptr;
    if (codes > 0) {
        recs = static_cast<CodeRec*>(alloc_bytes(static_cast<Zep32s>(codes * sizeof(CodeRec)), allocate));
        if (!recs) return zepStatusNoMemory;
    }
    {
        int64_t i = 0;
        for_each_code(desc, lv.count, recordWords, [&](int len, const Zep32s* r) {
            if (len > lv.max_len) return;
            const Zep32u mask = len == 32 ? 0xFFFFFFFFu : ((1u << len) - 1);
            recs[i++] = {static_cast<Zep32u>(r[0]) & mask, len};
        });
    }
    std::sort(recs, recs + codes, [](const CodeRec& a, const CodeRec& b) {
        const uint64_t ka = left_aligned(a.code, a.len), kb = left_aligned(b.code, b.len);
        return ka != kb ? ka < kb : a.len < b.len;
    });

    // Sub-tables at level j (1-based > 0) belong to distinct prefixes of
    // cum[j] bits among the codes longer than cum[j]; in key order equal
    // prefixes are adjacent.
    int64_t words = 1 + (int64_t{1} << lv.width[0]);
    for (int j = 1; j < lv.count; ++j) {
        const int pre = lv.cum[j];
        bool have = false;
        Zep32u last = 0;
        int64_t n = 0;
        for (int64_t i = 0; i < codes; ++i) {
            if (recs[i].len <= pre) continue;
            const Zep32u p = bits_at(left_aligned(recs[i].code, recs[i].len), 0, pre);
            if (!have || p != last) ++n;
            have = true;
            last = p;
        }
        words += n * (1 + (int64_t{1} << lv.width[j]));
        if (words > kMaxTableWords) break;
    }
    if (words > kMaxTableWords) {
        release(recs, release_fn);
        return zepStatusNoMemory;
    }
    auto* t = static_cast<Zep32u*>(alloc_bytes(static_cast<Zep32s>(words * 4), allocate));
    if (!t) {
        release(recs, release_fn);
        return zepStatusNoMemory;
    }

    // ---- pass 2: layout and links.
    t[0] = static_cast<Zep32u>(lv.width[0]);
    std::fill(t + 1, t + words, kEmptyEntry);
    // Header index of the sub-table that a prefix reaches at level `depth`
    // (0 = the first level), following links laid down earlier.
    auto table_at = [&](uint64_t key, int depth) -> Zep32u {
        Zep32u base = 0;
        for (int j = 0; j < depth; ++j) base = t[base + 1 + bits_at(key, lv.cum[j], lv.width[j])] >> 8;
        return base;
    };
    Zep32u next = static_cast<Zep32u>(1 + (Zep32u{1} << lv.width[0]));
    for (int j = 1; j < lv.count; ++j) {
        const int pre = lv.cum[j];
        bool have = false;
        Zep32u last = 0;
        for (int64_t i = 0; i < codes; ++i) {
            if (recs[i].len <= pre) continue;
            const uint64_t key = left_aligned(recs[i].code, recs[i].len);
            const Zep32u p = bits_at(key, 0, pre);
            if (have && p == last) continue;
            have = true;
            last = p;
            const Zep32u parent = table_at(key, j - 1);
            t[parent + 1 + bits_at(key, lv.cum[j - 1], lv.width[j - 1])] = (next << 8) | kLinkFlag;
            t[next] = static_cast<Zep32u>(lv.width[j]);
            next += 1 + (Zep32u{1} << lv.width[j]);
        }
    }
    release(recs, release_fn);

    // ---- leaves, in description order.
    for_each_code(desc, lv.count, recordWords, [&](int len, const Zep32s* r) {
        if (len > lv.max_len) return;
        const Zep32u mask = len == 32 ? 0xFFFFFFFFu : ((1u << len) - 1);
        const uint64_t key = left_aligned(static_cast<Zep32u>(r[0]) & mask, len);
        const int k = lv.level_of(len);
        const Zep32u base = table_at(key, k);
        const int w = lv.width[k];
        const int used = len - lv.cum[k];  // 1..w
        const int spare = w - used;
        const Zep32u payload = kind == Payload::Value
                                   ? static_cast<Zep32u>(r[1]) << 8
                                   : (static_cast<Zep32u>(r[2]) << 16) | ((static_cast<Zep32u>(r[1]) & 0xFF) << 8);
        const Zep32u leaf = payload | static_cast<Zep32u>(spare);
        const Zep32u first = bits_at(key, lv.cum[k], used) << spare;
        Zep32u* e = t + base + 1 + first;
        for (Zep32u i = 0, n = Zep32u{1} << spare; i < n; ++i)
            if (!(e[i] & kLinkFlag)) e[i] = leaf;
    });

    *out = t;
    return zepStatusOk;
}

}  // namespace zep::vlc
