// Sound input and output of this machine. There is none on this platform: nothing can be started.
#pragma once

#include "HLX.h"

using WAVEIN_DATA_CB_FUN = void (*)(unsigned char* pData, DWORD length, void* pUser);

/// A sound input. The callback comes on a thread of the input's own.
class CLinuxAudioIn {
public:
    virtual ~CLinuxAudioIn() = default;
    virtual bool CheckAudioDevice() { return false; }
    virtual bool Start(const WAVEFORMATEX&, WAVEIN_DATA_CB_FUN, void*) { return false; }
    /// No callback runs or comes after it.
    virtual void Stop() {}
    virtual void SetBuffSize(DWORD) {}
    virtual void SetBuffNum(DWORD) {}
};

/// A sound output.
class CLinuxAudioOut {
public:
    virtual ~CLinuxAudioOut() = default;
    virtual bool Start(const WAVEFORMATEX&) { return false; }
    virtual void Stop() {}
    virtual int WriteBuf(BYTE*, DWORD) { return 0; }
    virtual bool SetVolume(DWORD) { return false; }
    virtual DWORD GetVoume() { return 0; }  // spelled so
    virtual bool SetPlaybackRate(DWORD) { return false; }
};
