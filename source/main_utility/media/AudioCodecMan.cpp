#include "main_utility/media/AudioCodecMan.h"

#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <new>

#include "main_utility/media/audio/ADPCMAudioCodec.h"
#include "main_utility/media/audio/G711Codec.h"
#include "main_utility/media/audio/G726Codec.h"
#include "sdk_common/ThreadState.h"

namespace {

constexpr LONG LONGEST_INPUT = std::numeric_limits<LONG>::max() / 16;  // what it decodes to can still be told

template <class Codec>
CAudioCodec* Make() {
    return new (std::nothrow) Codec;
}

constexpr struct {
    WORD wFormatTag;
    CAudioCodec* (*make)();
} CODECS[] = {
    {AUDIO_TAG_ALAW, Make<CG711Codec>},
    {AUDIO_TAG_ULAW, Make<CG711Codec>},
    {AUDIO_TAG_ADPCM, Make<CADPCMAudioCodec>},
    {AUDIO_TAG_G726, Make<CG726Codec>},
};

}  // namespace

CAudioCodecMan* CAudioCodecMan::Instance() {
    static CAudioCodecMan instance;
    return &instance;
}

CAudioCodecMan::~CAudioCodecMan() {
    while (!m_listAudioCodec.IsEmpty()) delete m_listAudioCodec.RemoveHead().pAudioCodec;
}

POINTERHANDLE CAudioCodecMan::OpenAudioCodec(const void* pAudioInfo, LONG) {
    if (!pAudioInfo) return Failure(HLX_PARAMETER_ERROR, POINTERHANDLE{-1});
    WAVEFORMATEX format;
    std::memcpy(&format, pAudioInfo, sizeof(format));
    for (const auto& row : CODECS) {
        if (row.wFormatTag != format.wFormatTag) continue;
        std::unique_ptr<CAudioCodec> codec(row.make());
        if (!codec) return Failure(HLX_ALLOC_RESOURCE_ERROR, POINTERHANDLE{-1});
        codec->Initial(&format);  // one that cannot do its format is opened all the same, and refuses each frame
        const auto lCodecHandle = reinterpret_cast<POINTERHANDLE>(codec.get());
        const std::lock_guard guard(m_audioCodecLock);
        if (!m_listAudioCodec.AddTail({lCodecHandle, codec.get()}))
            return Failure(HLX_ALLOC_RESOURCE_ERROR, POINTERHANDLE{-1});
        codec.release();
        return lCodecHandle;
    }
    return Failure(HLX_AUDIO_MODE_ERROR, POINTERHANDLE{-1});
}

CAudioCodecMan::CODEC_LIST::POS CAudioCodecMan::Find(POINTERHANDLE lCodecHandle) {
    auto pos = m_listAudioCodec.GetHeadPosition();
    while (pos && m_listAudioCodec.GetAt(pos).lCodecHandle != lCodecHandle) pos = m_listAudioCodec.NextNode(pos);
    return pos;
}

CAudioCodec* CAudioCodecMan::Codec(POINTERHANDLE lCodecHandle) {
    const auto pos = Find(lCodecHandle);
    return pos ? m_listAudioCodec.GetAt(pos).pAudioCodec : nullptr;
}

BOOL CAudioCodecMan::CloseAudioCodec(POINTERHANDLE lCodecHandle) {
    const std::lock_guard guard(m_audioCodecLock);
    const auto pos = Find(lCodecHandle);
    if (!pos) return false;
    CAudioCodec* pAudioCodec = m_listAudioCodec.GetAt(pos).pAudioCodec;
    m_listAudioCodec.RemoveAt(pos);
    pAudioCodec->Quit();
    delete pAudioCodec;
    return true;
}

void CAudioCodecMan::GetPCMWaveFormat(POINTERHANDLE lCodecHandle, WAVEFORMATEX* pWaveFormat) {
    const std::lock_guard guard(m_audioCodecLock);
    const CAudioCodec* pAudioCodec = Codec(lCodecHandle);
    if (pAudioCodec && pWaveFormat) pAudioCodec->GetDecFormat(pWaveFormat);
}

BOOL CAudioCodecMan::EncodeAudioFrame(POINTERHANDLE lCodecHandle, const BYTE* pIn, LONG inLen, BYTE* pOut,
                                      LONG* pOutLen) {
    return Convert(DIRECTION::ENCODE, lCodecHandle, {pIn, inLen, pOut, pOutLen, NO_BOUND});
}

BOOL CAudioCodecMan::DecodeAudioFrame(POINTERHANDLE lCodecHandle, const BYTE* pIn, LONG inLen, BYTE* pOut,
                                      LONG* pOutLen) {
    return Convert(DIRECTION::DECODE, lCodecHandle, {pIn, inLen, pOut, pOutLen, NO_BOUND});
}

BOOL CAudioCodecMan::EncodeBounded(POINTERHANDLE lCodecHandle, const BYTE* pIn, LONG inLen, BYTE* pOut, LONG lOutSize,
                                   LONG* pOutLen) {
    if (lOutSize < 0) return Failure(HLX_PARAMETER_ERROR);
    return Convert(DIRECTION::ENCODE, lCodecHandle, {pIn, inLen, pOut, pOutLen, lOutSize});
}

BOOL CAudioCodecMan::DecodeBounded(POINTERHANDLE lCodecHandle, const BYTE* pIn, LONG inLen, BYTE* pOut, LONG lOutSize,
                                   LONG* pOutLen) {
    if (lOutSize < 0) return Failure(HLX_PARAMETER_ERROR);
    return Convert(DIRECTION::DECODE, lCodecHandle, {pIn, inLen, pOut, pOutLen, lOutSize});
}

BOOL CAudioCodecMan::Convert(DIRECTION direction, POINTERHANDLE lCodecHandle, const FRAME& frame) {
    if (!frame.pIn || !frame.pOut || !frame.pOutLen) return Failure(HLX_PARAMETER_ERROR);
    if (frame.inLen < 0 || frame.inLen > LONGEST_INPUT) return Failure(HLX_PARAMETER_ERROR);
    const bool bDecode = direction == DIRECTION::DECODE;
    const std::lock_guard guard(m_audioCodecLock);
    CAudioCodec* pCodec = Codec(lCodecHandle);
    if (!pCodec) return Failure(HLX_PARAMETER_ERROR);
    if (frame.lOutSize != NO_BOUND) {
        const LONG lNeeded = bDecode ? pCodec->NeededInput() : 0;
        const LONG lMade = bDecode ? pCodec->DecodedSize(frame.inLen) : pCodec->EncodedSize(frame.inLen);
        if (frame.inLen < lNeeded || lMade > frame.lOutSize) return Failure(HLX_PARAMETER_ERROR);
    }
    const bool bDone = bDecode ? pCodec->DecodeBuf(frame.pIn, frame.inLen, frame.pOut, frame.pOutLen)
                               : pCodec->EncodeBuf(frame.pIn, frame.inLen, frame.pOut, frame.pOutLen);
    return bDone || Failure(HLX_AUDIO_MODE_ERROR);
}

LONG CAudioCodecMan::NeededInput(POINTERHANDLE lCodecHandle) {
    const std::lock_guard guard(m_audioCodecLock);
    const CAudioCodec* pCodec = Codec(lCodecHandle);
    return pCodec ? pCodec->NeededInput() : -1;
}

LONG CAudioCodecMan::DecodedSize(POINTERHANDLE lCodecHandle, LONG inLen) {
    const std::lock_guard guard(m_audioCodecLock);
    const CAudioCodec* pCodec = Codec(lCodecHandle);
    return pCodec && inLen >= 0 && inLen <= LONGEST_INPUT ? pCodec->DecodedSize(inLen) : -1;
}

LONG CAudioCodecMan::EncodedSize(POINTERHANDLE lCodecHandle, LONG inLen) {
    const std::lock_guard guard(m_audioCodecLock);
    const CAudioCodec* pCodec = Codec(lCodecHandle);
    return pCodec && inLen >= 0 && inLen <= LONGEST_INPUT ? pCodec->EncodedSize(inLen) : -1;
}
