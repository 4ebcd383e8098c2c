// Entry points of the Huffman table builder and the generic word-stream VLC
// decoders: checks, then the shared builder or lookup.
#include "zepvc.h"

#include "common/bitstream.h"
#include "frame/alloc.h"
#include "frame/check.h"
#include "vlc/huffman.h"

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiHuffmanTableInitAlloc_32s(const Zep32s* pSrcTable, Zep32s** ppDstSpec) {
    ZEP_CHECK_PTRS(pSrcTable, ppDstSpec);
    return vlc::build_table(pSrcTable, vlc::Payload::Value, reinterpret_cast<Zep32u**>(ppDstSpec));
}

ZEPVC_API ZepStatus zepiHuffmanRunLevelTableInitAlloc_32s(const Zep32s* pSrcTable, Zep32s** ppDstSpec) {
    ZEP_CHECK_PTRS(pSrcTable, ppDstSpec);
    return vlc::build_table(pSrcTable, vlc::Payload::RunLevel, reinterpret_cast<Zep32u**>(ppDstSpec));
}

ZEPVC_API ZepStatus zepiHuffmanTableFree_32s(Zep32s* pDecodeTable) {
    ZEP_CHECK_PTRS(pDecodeTable);
    release(pDecodeTable);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiDecodeHuffmanOne_1u32s(Zep32u** ppBitStream, Zep32s* pOffset, Zep32s* pDst,
                                               const Zep32s* pDecodeTable) {
    ZEP_CHECK_PTRS(ppBitStream, pOffset, pDst, pDecodeTable);
    ZEP_CHECK_PTRS(*ppBitStream);
    WordReader r(*ppBitStream, *pOffset & 31);
    const Zep32u e = vlc::lookup(r, reinterpret_cast<const Zep32u*>(pDecodeTable));
    r.commit(ppBitStream, pOffset);
    if (vlc::is_invalid(e)) {
        *pDst = static_cast<Zep32s>(vlc::kInvalidPayload);
        return zepStatusBitstreamErr;
    }
    // Values are 24-bit two's complement: negative values come back negative.
    *pDst = static_cast<Zep32s>(e) >> 8;
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiDecodeHuffmanPair_1u16s(Zep32u** ppBitStream, Zep32s* pOffset, const Zep32s* pDecodeTable,
                                                Zep8s* pFirst, Zep16s* pSecond) {
    ZEP_CHECK_PTRS(ppBitStream, pOffset, pDecodeTable, pFirst, pSecond);
    ZEP_CHECK_PTRS(*ppBitStream);
    WordReader r(*ppBitStream, *pOffset & 31);
    const Zep32u e = vlc::lookup(r, reinterpret_cast<const Zep32u*>(pDecodeTable));
    if (vlc::is_invalid(e)) return zepStatusBitstreamErr;
    r.commit(ppBitStream, pOffset);
    *pFirst = static_cast<Zep8s>(e >> 8);
    *pSecond = static_cast<Zep16s>(e >> 16);
    return zepStatusOk;
}

}  // extern "C"
