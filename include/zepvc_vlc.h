/* zepvc Huffman table construction and generic VLC decoding. Included by zepvc.h.
 *
 * Word-stream decoders take a pointer to the pointer to the current 32-bit
 * word and a pointer to the index 31..0 of the next bit in it (31 = most
 * significant); both are updated. Reads may look one word ahead. */
#ifndef ZEPVC_VLC_H
#define ZEPVC_VLC_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- Huffman tables ----
 * A code description is an array of 32s: one ignored word, the number of
 * lookup levels L (1..32), L level widths in bits (1..20 each), then for code
 * lengths 1, 2, ... a count N followed by N records, a negative count ending
 * the list. Records are (code, value) for value tables and (code, run, level)
 * for run-level tables; codes are right-aligned. Codes longer than the sum of
 * the widths (or than 32 bits) are skipped. Values are 24-bit two's
 * complement; runs 8 bits, levels 16 bits. A description with L or a width out
 * of range, or whose table would exceed 2^24 words, gives zepStatusNoMemory,
 * as does a failed allocation (nothing stays allocated). */

/* Builds a single-value lookup table; the caller frees it with zepiHuffmanTableFree_32s. */
ZEPVC_API ZepStatus zepiHuffmanTableInitAlloc_32s(const Zep32s* pSrcTable, Zep32s** ppDstSpec);
/* Builds a run-level lookup table; freed with zepiHuffmanTableFree_32s. */
ZEPVC_API ZepStatus zepiHuffmanRunLevelTableInitAlloc_32s(const Zep32s* pSrcTable, Zep32s** ppDstSpec);
/* Releases a table built by either InitAlloc function. */
ZEPVC_API ZepStatus zepiHuffmanTableFree_32s(Zep32s* pDecodeTable);

/* ---- Generic VLC decoding (only the low 5 bits of *pOffset are used) ---- */
/* Decodes one value; on an invalid code returns zepStatusBitstreamErr with 0xF0F1 in *pDst
 * and the position where the lookup ended. */
ZEPVC_API ZepStatus zepiDecodeHuffmanOne_1u32s(Zep32u** ppBitStream, Zep32s* pOffset, Zep32s* pDst,
                                               const Zep32s* pDecodeTable);
/* Decodes one run-level pair; on an invalid code returns zepStatusBitstreamErr, position unchanged,
 * nothing written. */
ZEPVC_API ZepStatus zepiDecodeHuffmanPair_1u16s(Zep32u** ppBitStream, Zep32s* pOffset, const Zep32s* pDecodeTable,
                                                Zep8s* pFirst, Zep16s* pSecond);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_VLC_H */
