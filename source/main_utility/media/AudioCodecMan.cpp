#include "main_utility/media/AudioCodecMan.h"

#include "sdk_common/ThreadState.h"

CAudioCodecMan* CAudioCodecMan::Instance() {
    static CAudioCodecMan instance;
    return &instance;
}

POINTERHANDLE CAudioCodecMan::OpenAudioCodec(void*, LONG) { return Failure(HLX_NOSUPPORT, POINTERHANDLE{-1}); }
BOOL CAudioCodecMan::EncodeAudioFrame(POINTERHANDLE, BYTE*, LONG, BYTE*, LONG*) { return Failure(HLX_NOSUPPORT); }
BOOL CAudioCodecMan::DecodeAudioFrame(POINTERHANDLE, BYTE*, LONG, BYTE*, LONG*) { return Failure(HLX_NOSUPPORT); }
