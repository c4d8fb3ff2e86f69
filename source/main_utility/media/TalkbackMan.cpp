#include "main_utility/media/TalkbackMan.h"

#include "sdk_common/ThreadState.h"

POINTERHANDLE CTalkbackMan::StartTalk(LONG, BOOL, TALK_DATA_CALLBACK, void*) {
    return Failure(HLX_NOSUPPORT, POINTERHANDLE{-1});
}
BOOL CTalkbackMan::StopTalk(POINTERHANDLE) { return Failure(HLX_NOSUPPORT); }
BOOL CTalkbackMan::GetAudioInfo(POINTERHANDLE, LPVOID, LONG) { return Failure(HLX_NOSUPPORT); }
BOOL CTalkbackMan::SetVoiceComClientVolume(POINTERHANDLE, WORD) { return Failure(HLX_NOSUPPORT); }
