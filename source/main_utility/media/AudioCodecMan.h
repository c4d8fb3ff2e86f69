// Audio codecs by handle.
#pragma once

#include "HLX.h"

/// Codecs are refused with HLX_NOSUPPORT. Any thread.
class CAudioCodecMan {
public:
    static CAudioCodecMan* Instance();
    CAudioCodecMan(const CAudioCodecMan&) = delete;
    CAudioCodecMan& operator=(const CAudioCodecMan&) = delete;

    bool Initial() { return true; }
    void Quit() {}

    /// The codec handle, or -1.
    POINTERHANDLE OpenAudioCodec(void* pAudioInfo, LONG infoLen);
    BOOL EncodeAudioFrame(POINTERHANDLE lCodecHandle, BYTE* pIn, LONG inLen, BYTE* pOut, LONG* pOutLen);
    BOOL DecodeAudioFrame(POINTERHANDLE lCodecHandle, BYTE* pIn, LONG inLen, BYTE* pOut, LONG* pOutLen);
    /// An unknown handle is ignored.
    void CloseAudioCodec(POINTERHANDLE) {}

private:
    CAudioCodecMan() = default;
};
