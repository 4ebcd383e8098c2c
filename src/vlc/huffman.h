// Multi-level Huffman lookup tables: the builder behind the exported
// InitAlloc functions and the lookup every word-stream VLC decoder shares
// (the H.264 CAVLC decoders read their code tables through it too).
//
// Table layout (32-bit words):
//   word 0            bits B of the first lookup level
//   words 1..2^B      first-level entries, indexed by the next B stream bits
//   sub-tables        a header word with their width n, then 2^n entries
// Entry forms:
//   leaf   (payload << 8) | g      g = peeked bits that are not part of the code
//   link   (header index << 8) | 0x80
//   empty  0xF0F101                payload 0xF0F1 (no code), g = 1
// Sub-tables follow the first level grouped by level (all second-level
// sub-tables, then all third-level ones, ...), and within a level in
// ascending order of the code prefix that leads to them.
#pragma once

#include "common/bitstream.h"
#include "frame/alloc.h"
#include "zepvc_types.h"

namespace zep::vlc {

inline constexpr Zep32u kLinkFlag = 0x80;
inline constexpr Zep32u kInvalidPayload = 0xF0F1;
inline constexpr Zep32u kEmptyEntry = (kInvalidPayload << 8) | 1;
// Widest lookup level the builder accepts, and the largest table (in words)
// whose sub-table indices still fit the 24 bits of a link.
inline constexpr int kMaxLevelBits = 20;
inline constexpr int kMaxLevels = 32;
inline constexpr Zep32s kMaxTableWords = 1 << 24;

enum class Payload { Value, RunLevel };

// Builds a table from a code description (see zepiHuffmanTableInitAlloc_32s).
// Returns zepStatusOk and the table in *out, or zepStatusNoMemory (nothing
// left allocated, *out untouched). The allocator seam lets tests make each
// allocation fail in turn.
ZepStatus build_table(const Zep32s* desc, Payload kind, Zep32u** out, Allocator allocate = zepMalloc,
                      Releaser release_fn = zepFree);

// Decodes one code: peeks and consumes each level's bits, follows links, then
// gives back the spare bits of the leaf. Returns the leaf entry.
[[gnu::always_inline]] inline Zep32u lookup(WordReader& r, const Zep32u* t) {
    Zep32u e = t[1 + r.read(static_cast<int>(t[0]))];
    while (e & kLinkFlag) {
        const Zep32u* s = t + (e >> 8);
        e = s[1 + r.read(static_cast<int>(s[0]))];
    }
    r.give_back(static_cast<int>(e & 0x7F));
    return e;
}

[[gnu::always_inline]] inline bool is_invalid(Zep32u entry) { return (entry >> 8) == kInvalidPayload; }

}  // namespace zep::vlc
