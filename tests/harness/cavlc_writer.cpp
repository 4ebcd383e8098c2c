#include "cavlc_writer.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "h264/cavlc_codes.h"

namespace zt::cavlc {

void BitWriter::put(uint32_t bits, int n) {
    if (n < 0 || n > 32) throw std::invalid_argument("BitWriter::put: n out of range");
    for (int i = n - 1; i >= 0; --i) {
        const size_t word = bits_ >> 5;
        if (word >= w_.size()) w_.push_back(0);
        if ((bits >> i) & 1) w_[word] |= 1u << (31 - (bits_ & 31));
        ++bits_;
    }
}

std::vector<Zep32u> BitWriter::words() const {
    std::vector<Zep32u> v = w_;
    v.push_back(0);
    v.push_back(0);
    return v;
}

std::vector<Zep32u> BitWriter::words_padded(bool ones) const {
    std::vector<Zep32u> v = words();
    if (!ones) return v;
    const size_t used = bits_ & 31;
    if (used) v[bits_ >> 5] |= 0xFFFFFFFFu >> used;
    for (size_t i = (bits_ + 31) >> 5; i < v.size(); ++i) v[i] = 0xFFFFFFFFu;
    return v;
}

Code find_code(const Zep32s* desc, Zep32s value) {
    const Zep32s* p = desc + 2 + desc[1];
    for (int len = 1;; ++len) {
        const Zep32s n = *p++;
        if (n < 0) return {};
        for (Zep32s i = 0; i < n; ++i, p += 2)
            if (p[1] == value) return {static_cast<uint32_t>(p[0]), len};
    }
}

namespace {

void put_code(BitWriter& w, const Zep32s* desc, Zep32s value, const char* what) {
    const Code c = find_code(desc, value);
    if (c.len == 0) throw std::invalid_argument(std::string("no code for ") + what + " " + std::to_string(value));
    w.put(c.bits, c.len);
}

const Zep32s* coeff_token_desc(int nC) {
    using namespace zep::cavlc;
    if (nC == -1) return kCoeffTokenDc420Desc;
    if (nC == -2) return kCoeffTokenDc422Desc;
    if (nC < 0) throw std::invalid_argument("nC");
    if (nC < 2) return kCoeffTokenDesc[0];
    if (nC < 4) return kCoeffTokenDesc[1];
    if (nC < 8) return kCoeffTokenDesc[2];
    return kCoeffTokenFixedDesc;
}

}  // namespace

void write_coeff_token(BitWriter& w, int nC, int trailingOnes, int totalCoeff) {
    put_code(w, coeff_token_desc(nC), trailingOnes + 256 * totalCoeff, "coeff_token");
}

void write_total_zeros(BitWriter& w, int maxNumCoeff, int totalCoeff, int totalZeros) {
    using namespace zep::cavlc;
    const Zep32s* d = maxNumCoeff == 4 ? kTotalZerosDc420Desc[totalCoeff]
                      : maxNumCoeff == 8 ? kTotalZerosDc422Desc[totalCoeff]
                                         : kTotalZeros4x4Desc[totalCoeff];
    put_code(w, d, totalZeros, "total_zeros");
}

void write_run_before(BitWriter& w, int zerosLeft, int run) {
    put_code(w, zep::cavlc::kRunBeforeDesc[zerosLeft > 6 ? 7 : zerosLeft], run, "run_before");
}

// The standard's level coding seen from the encoder: levelCode from the
// level, then the shortest level_prefix whose suffix can carry it.
int write_level(BitWriter& w, int level, int suffixLength, bool adjusted) {
    if (level == 0) throw std::invalid_argument("zero level");
    int64_t code = level > 0 ? 2 * int64_t{level} - 2 : -2 * int64_t{level} - 1;
    if (adjusted) code -= 2;
    auto prefix = [&](int n) {  // n zeros then a one
        for (int z = n; z > 0; z -= 32) w.put(0, z < 32 ? z : 32);
        w.put(1, 1);
    };
    if (suffixLength == 0 && code < 14) {
        prefix(static_cast<int>(code));
        return static_cast<int>(code);
    }
    if (suffixLength == 0 && code < 30) {
        prefix(14);
        w.put(static_cast<uint32_t>(code - 14), 4);
        return 14;
    }
    if (suffixLength > 0 && (code >> suffixLength) < 15) {
        prefix(static_cast<int>(code >> suffixLength));
        w.put(static_cast<uint32_t>(code & ((1 << suffixLength) - 1)), suffixLength);
        return static_cast<int>(code >> suffixLength);
    }
    const int64_t rest = code - (suffixLength == 0 ? 30 : (int64_t{15} << suffixLength));
    if (rest < 4096) {
        prefix(15);
        w.put(static_cast<uint32_t>(rest), 12);
        return 15;
    }
    // Escape: level_prefix p >= 16 carries rest in p-3 bits as rest + 4096 - 2^(p-3).
    for (int p = 16; p <= 34; ++p) {
        const int64_t s = rest + 4096 - (int64_t{1} << (p - 3));
        if (s >= 0 && s < (int64_t{1} << (p - 3))) {
            prefix(p);
            w.put(static_cast<uint32_t>(s), p - 3);
            return p;
        }
    }
    throw std::invalid_argument("level too large");
}

void write_syntax(BitWriter& w, const Syntax& s, int nC, int maxNumCoeff) {
    write_coeff_token(w, nC, s.trailingOnes, s.totalCoeff);
    if (s.totalCoeff == 0) return;
    for (int i = 0; i < s.trailingOnes; ++i) w.put(s.levels[i] < 0 ? 1 : 0, 1);
    int suffixLength = (s.totalCoeff > 10 && s.trailingOnes < 3) ? 1 : 0;
    for (int i = s.trailingOnes; i < s.totalCoeff; ++i) {
        write_level(w, s.levels[i], suffixLength, i == s.trailingOnes && s.trailingOnes < 3);
        if (suffixLength == 0) suffixLength = 1;
        if (std::abs(s.levels[i]) > (3 << (suffixLength - 1)) && suffixLength < 6) ++suffixLength;
    }
    if (s.totalCoeff < maxNumCoeff) write_total_zeros(w, maxNumCoeff, s.totalCoeff, s.totalZeros);
    int zerosLeft = s.totalZeros;
    for (int i = 0; i < s.totalCoeff - 1 && zerosLeft > 0; ++i) {
        write_run_before(w, zerosLeft, s.runs[i]);
        zerosLeft -= s.runs[i];
    }
}

Syntax syntax_of(const int* scanCoeffs, int maxNumCoeff) {
    Syntax s;
    int last = -1;
    for (int i = maxNumCoeff - 1; i >= 0; --i) {
        if (scanCoeffs[i] == 0) continue;
        if (last >= 0) s.runs[s.totalCoeff - 1] = last - i - 1;
        s.levels[s.totalCoeff++] = scanCoeffs[i];
        last = i;
    }
    if (s.totalCoeff == 0) return s;
    s.runs[s.totalCoeff - 1] = last;  // zeros below the lowest coefficient
    for (int i = 0; i < s.totalCoeff && i < 3 && std::abs(s.levels[i]) == 1; ++i) s.trailingOnes = i + 1;
    for (int i = 0; i < s.totalCoeff; ++i) s.totalZeros += s.runs[i];
    return s;
}

void write_block(BitWriter& w, const int* scanCoeffs, int maxNumCoeff, int nC) {
    write_syntax(w, syntax_of(scanCoeffs, maxNumCoeff), nC, maxNumCoeff);
}

void write_ue(BitWriter& w, uint32_t v) {
    const uint64_t x = uint64_t{v} + 1;
    int n = 0;
    while ((x >> (n + 1)) != 0) ++n;
    w.put(0, n);
    if (n + 1 > 32) {
        w.put(static_cast<uint32_t>(x >> 32), n + 1 - 32);
        w.put(static_cast<uint32_t>(x), 32);
    } else {
        w.put(static_cast<uint32_t>(x), n + 1);
    }
}

void write_se(BitWriter& w, int32_t v) {
    write_ue(w, v > 0 ? static_cast<uint32_t>(2 * int64_t{v} - 1) : static_cast<uint32_t>(-2 * int64_t{v}));
}

}  // namespace zt::cavlc
