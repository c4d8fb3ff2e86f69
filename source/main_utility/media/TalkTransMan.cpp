#include "main_utility/media/TalkTransMan.h"

#include "sdk_common/ThreadState.h"

POINTERHANDLE CTalkTransMan::Start(LONG, BOOL, TALK_DATA_CALLBACK, void*) {
    return Failure(HLX_NOSUPPORT, POINTERHANDLE{-1});
}
BOOL CTalkTransMan::Stop(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
BOOL CTalkTransMan::GetAudioInfo(POINTERHANDLE, LPVOID, LONG) { return Failure(HLX_NOSUPPORT); }
BOOL CTalkTransMan::SendTalkData(POINTERHANDLE, const char*, DWORD) { return Failure(HLX_NOSUPPORT); }
