// Test-side H.264 CAVLC writer: encodes residual blocks with the code tables
// of the standard (read from the library's generated code descriptions, not
// from the decoders), so that decoders can be checked by round trips and
// encoders against an independent bit string.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zepvc_types.h"

namespace zt::cavlc {

class BitWriter {  // MSB-first bit writer
public:
    void put(uint32_t bits, int n);  // n = 0..32; the low n bits of `bits`, first bit most significant
    size_t bit_count() const { return bits_; }
    // Native 32-bit words, earliest bit = MSB of word 0, plus two spare zero words.
    std::vector<Zep32u> words() const;
    // Fills the last partial word's unused bits and the spare words with `fill`
    // bits instead of zeros (for streams that must not end in a run of zeros).
    std::vector<Zep32u> words_padded(bool ones) const;

private:
    std::vector<Zep32u> w_;
    size_t bits_ = 0;
};

struct Syntax {  // one residual block's CAVLC syntax elements
    int totalCoeff = 0, trailingOnes = 0;
    int levels[16] = {};  // all non-zero levels, highest frequency first (trailing ones included)
    int totalZeros = 0;
    int runs[16] = {};  // run_before per coefficient, highest frequency first
};

// nC: >= 0 for 4x4 blocks (class chosen from it), -1 chroma DC 2x2, -2 chroma DC 2x4.
void write_syntax(BitWriter& w, const Syntax& s, int nC, int maxNumCoeff);
// Computes the syntax of a block given in scan order (coeffs[0..maxNumCoeff-1]) and writes it.
Syntax syntax_of(const int* scanCoeffs, int maxNumCoeff);
void write_block(BitWriter& w, const int* scanCoeffs, int maxNumCoeff, int nC);

// Single syntax elements, for building streams by hand (corrupt ones included).
void write_coeff_token(BitWriter& w, int nC, int trailingOnes, int totalCoeff);
void write_total_zeros(BitWriter& w, int maxNumCoeff, int totalCoeff, int totalZeros);
void write_run_before(BitWriter& w, int zerosLeft, int run);
// One level with the given suffixLength; `adjusted` when it is the first
// non-trailing-one level of a block with fewer than 3 trailing ones.
// Returns the level_prefix written.
int write_level(BitWriter& w, int level, int suffixLength, bool adjusted);

// Exp-Golomb ue(v) / se(v).
void write_ue(BitWriter& w, uint32_t v);
void write_se(BitWriter& w, int32_t v);

// Code (bits, length) of a value in a code description; length 0 if absent.
struct Code {
    uint32_t bits = 0;
    int len = 0;
};
Code find_code(const Zep32s* desc, Zep32s value);

}  // namespace zt::cavlc
