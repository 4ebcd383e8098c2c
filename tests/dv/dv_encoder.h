// A DV segment encoder for tests and benchmarks: the source tables of the
// table builder from the standard's codes, the AC bits of a block, and the
// placement of those bits over a segment as DV places them (own area, then
// the macroblock's free space, then the segment's).
#pragma once

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "dv/dv_codes.h"
#include "zepvc.h"

namespace dvt {

// The code table is the example decoder's generated one.
using zdec::dv::Code;
using zdec::dv::kCodes;

// ---- source tables as the header describes, from the standard's codes
inline std::vector<Zep32u> source_table(bool second) {
    const int width = second ? 11 : 8;
    std::map<int, std::vector<std::array<Zep32u, 3>>> byLen;
    for (const Code& c : kCodes) {
        std::string code = c.code;
        if ((code.size() > 8) != second) continue;
        if (second) code = code.substr(4);  // every long code begins with 1111
        const Zep32u run = c.run < 0 ? 255u : static_cast<Zep32u>(c.run);
        byLen[static_cast<int>(code.size())].push_back({static_cast<Zep32u>(std::stoul(code, nullptr, 2)), run,
                                                        static_cast<Zep32u>(c.amp)});
    }
    std::vector<Zep32u> t = {static_cast<Zep32u>(width), 0, 0};
    for (int len = 1; len <= width; ++len) {
        t.push_back(static_cast<Zep32u>(byLen[len].size()));
        for (auto& e : byLen[len]) t.insert(t.end(), e.begin(), e.end());
    }
    return t;
}

// ---- the test-side encoder
inline std::string code_for(int run, int amp) {
    for (const Code& c : kCodes)
        if (c.run == run && c.amp == amp) return c.code;
    return "";
}
inline std::string eob() { return code_for(-1, 0); }

// AC bits of one block: (run, amplitude) codes with signs, split as DV does
// when a pair has no code of its own.
inline std::string ac_bits(const std::vector<int>& scanCoefs) {
    std::string s;
    int run = 0;
    for (int i = 1; i < 64; ++i) {
        const int v = scanCoefs[i];
        if (v == 0) {
            ++run;
            continue;
        }
        const int amp = std::abs(v);
        std::string c = code_for(run, amp);
        if (c.empty()) {
            s += code_for(run - 1, 0);  // run - 1 zeros and a zero coefficient
            c = code_for(0, amp);
        }
        s += c;
        s += v < 0 ? '1' : '0';
        run = 0;
    }
    return s + eob();
}

struct Layout {
    int blocks, offset[8], bytes[8];
};
constexpr Layout kDv = {6, {4, 18, 32, 46, 60, 70}, {14, 14, 14, 14, 10, 10}};
constexpr Layout kDv100 = {8, {4, 14, 24, 34, 44, 52, 60, 68}, {10, 10, 10, 10, 8, 8, 8, 8}};

inline void put_bits(std::vector<Zep8u>& seg, int bitPos, const std::string& bits) {
    for (size_t i = 0; i < bits.size(); ++i) {
        const int p = bitPos + static_cast<int>(i);
        if (bits[i] == '1') seg[static_cast<size_t>(p >> 3)] |= static_cast<Zep8u>(0x80 >> (p & 7));
        else seg[static_cast<size_t>(p >> 3)] &= static_cast<Zep8u>(~(0x80 >> (p & 7)));
    }
}

// Places the blocks' AC bit strings; returns false when the segment cannot hold them.
inline bool distribute(std::vector<Zep8u>& seg, const Layout& L, const std::vector<std::string>& ac) {
    std::vector<std::string> rest(ac.size());
    std::vector<std::vector<std::pair<int, int>>> mbFree(5);  // absolute bit ranges
    for (int m = 0; m < 5; ++m)
        for (int j = 0; j < L.blocks; ++j) {
            const int k = m * L.blocks + j;
            const int start = 8 * (80 * m + L.offset[j]) + 12, end = 8 * (80 * m + L.offset[j] + L.bytes[j]);
            const int room = end - start;
            if (static_cast<int>(ac[static_cast<size_t>(k)].size()) <= room) {
                put_bits(seg, start, ac[static_cast<size_t>(k)]);
                if (start + static_cast<int>(ac[static_cast<size_t>(k)].size()) < end)
                    mbFree[static_cast<size_t>(m)].push_back({start + static_cast<int>(ac[static_cast<size_t>(k)].size()), end});
            } else {
                put_bits(seg, start, ac[static_cast<size_t>(k)].substr(0, static_cast<size_t>(room)));
                rest[static_cast<size_t>(k)] = ac[static_cast<size_t>(k)].substr(static_cast<size_t>(room));
            }
        }
    // Sequential fill of a list of free ranges with a block's remaining bits.
    auto fill = [&](std::vector<std::pair<int, int>>& free, size_t& cur, std::string& bits) {
        while (!bits.empty() && cur < free.size()) {
            auto& [from, to] = free[cur];
            const int take = std::min(to - from, static_cast<int>(bits.size()));
            put_bits(seg, from, bits.substr(0, static_cast<size_t>(take)));
            bits.erase(0, static_cast<size_t>(take));
            from += take;
            if (from == to) ++cur;
        }
    };
    std::vector<std::pair<int, int>> segFree;
    for (int m = 0; m < 5; ++m) {
        size_t cur = 0;
        for (int j = 0; j < L.blocks; ++j) fill(mbFree[static_cast<size_t>(m)], cur, rest[static_cast<size_t>(m * L.blocks + j)]);
        for (size_t i = cur; i < mbFree[static_cast<size_t>(m)].size(); ++i)
            if (mbFree[static_cast<size_t>(m)][i].first < mbFree[static_cast<size_t>(m)][i].second)
                segFree.push_back(mbFree[static_cast<size_t>(m)][i]);
    }
    size_t cur = 0;
    for (auto& r : rest) fill(segFree, cur, r);
    for (auto& r : rest)
        if (!r.empty()) return false;
    return true;
}

struct Segment {
    std::vector<Zep8u> bytes;
    std::vector<std::vector<int>> coefs;  // per block, scan order
    std::vector<int> mode, cls, qno;
};

// Random blocks (density chosen by the caller), retried until the segment holds them.
template <class Rng>
Segment make_segment(Rng& rng, const Layout& L, int density) {
    for (;;) {
        Segment s;
        s.bytes.resize(400);
        for (auto& b : s.bytes) b = static_cast<Zep8u>(rng.u32());  // unclaimed bits are noise
        const int n = 5 * L.blocks;
        s.coefs.assign(static_cast<size_t>(n), std::vector<int>(64, 0));
        s.mode.resize(static_cast<size_t>(n));
        s.cls.resize(static_cast<size_t>(n));
        for (int m = 0; m < 5; ++m) s.qno.push_back(rng.range(0, 15));
        std::vector<std::string> ac;
        for (int k = 0; k < n; ++k) {
            auto& c = s.coefs[static_cast<size_t>(k)];
            c[0] = rng.range(-256, 255);
            const int count = rng.range(0, density);
            for (int i = 0; i < count; ++i) {
                const int amp = rng.range(0, 5) ? rng.range(1, 4) : rng.range(1, 255);
                c[static_cast<size_t>(rng.range(1, 63))] = rng.coin() ? amp : -amp;
            }
            s.mode[static_cast<size_t>(k)] = rng.range(0, 1);
            s.cls[static_cast<size_t>(k)] = rng.range(0, 3);
            ac.push_back(ac_bits(c));
        }
        for (int m = 0; m < 5; ++m) {
            s.bytes[static_cast<size_t>(80 * m + 3)] = static_cast<Zep8u>((s.bytes[static_cast<size_t>(80 * m + 3)] & 0xF0) | s.qno[static_cast<size_t>(m)]);
            for (int j = 0; j < L.blocks; ++j) {
                const int k = m * L.blocks + j;
                const int dc = s.coefs[static_cast<size_t>(k)][0] & 0x1FF;
                const std::string head = std::string() + (dc & 256 ? '1' : '0') + (dc & 128 ? '1' : '0') + (dc & 64 ? '1' : '0') +
                                         (dc & 32 ? '1' : '0') + (dc & 16 ? '1' : '0') + (dc & 8 ? '1' : '0') +
                                         (dc & 4 ? '1' : '0') + (dc & 2 ? '1' : '0') + (dc & 1 ? '1' : '0') +
                                         (s.mode[static_cast<size_t>(k)] ? '1' : '0') + (s.cls[static_cast<size_t>(k)] & 2 ? '1' : '0') +
                                         (s.cls[static_cast<size_t>(k)] & 1 ? '1' : '0');
                put_bits(s.bytes, 8 * (80 * m + L.offset[j]), head);
            }
        }
        if (distribute(s.bytes, L, ac)) return s;
        density = std::max(1, density - 1);
    }
}

}  // namespace dvt
