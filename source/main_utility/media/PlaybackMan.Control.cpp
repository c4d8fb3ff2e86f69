// Steering playbacks.
#include <algorithm>
#include <limits>

#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/PlaybackMan.h"
#include "main_utility/media/PlaybackTurn.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/PubTime.h"

/// A control call, and what goes to the device behind it.
struct CPlaybackMan::CONTROL {
    DWORD dwCode;
    DWORD dwValue;
    tint32 oldSpeed = 0;
    DEVICE_VERSION family = DVR_VER_V3;
};

namespace {

bool IsReverse(const PLAY_CTRL& slot) { return slot.playStatus == N_PS_REW; }

/// A value as a speed; 0 is normal speed.
tint32 SpeedOf(DWORD dwValue) {
    if (dwValue == 0) return HLX_RPB_SPEED_1X;
    return static_cast<tint32>(std::min<DWORD>(dwValue, std::numeric_limits<tint32>::max()));
}

/// The speed at which a recorder is asked to play in reverse.
DWORD ReverseValue(DEVICE_VERSION family, DWORD dwValue) {
    if (family == NVR_VER_K7700) return std::clamp<DWORD>(dwValue, HLX_RPB_SPEED_1_32X, HLX_RPB_SPEED_32X);
    if (family != DVR_VER_V3 || dwValue > HLX_RPB_SPEED_32X) return dwValue;
    return dwValue <= HLX_RPB_SPEED_8X ? DWORD{HLX_RPB_SPEED_8X} : DWORD{HLX_RPB_SPEED_16X};
}

}  // namespace

BOOL CPlaybackMan::PlayBackControl(POINTERHANDLE lPlayHandle, DWORD dwControlCode, DWORD dwInValue, LPDWORD) {
    const Stream stream = FindOpen(lPlayHandle);
    if (!stream) return Failure(HLX_PARAMETER_ERROR);
    if (dwControlCode == HLX_PLAYCTRL_SETPOS) return SetPosition(stream, dwInValue);
    CONTROL control{dwControlCode, dwInValue};
    if (const auto session = m_pDeviceMan->GetDeviceResByUserID(stream->lDeviceHandle))
        control.family = session->eDVRVer;
    CTurn turn(*this, m_playLock);
    PLAY_CTRL* pSlot = Slot(*stream);
    if (!pSlot) return Failure(HLX_PARAMETER_ERROR);
    const bool bDevice = Steer(*pSlot, control);
    m_pWaker->Wake();
    // Sent under the lock: behind it, another thread could have given the stream's id to a new one.
    return !bDevice ||
           m_pDeviceMan->PlaybackCtrl(stream->lDeviceHandle, stream->streamID, control.dwCode, control.dwValue);
}

/// True if the device is to be told. Each call starts the pacing clock anew.
bool CPlaybackMan::Steer(PLAY_CTRL& slot, CONTROL& control) {
    control.oldSpeed = slot.playSpeed;
    // That a call for the volume sets the speed back is wanted.
    slot.playSpeed = control.dwCode == HLX_PLAYCTRL_AUDIOVOLUME ? tint32{HLX_RPB_SPEED_1X} : SpeedOf(control.dwValue);
    slot.bFirstFrame = true;
    switch (control.dwCode) {
        case HLX_PLAYCTRL_PAUSE:
            if (IsReverse(slot)) m_pDeviceMan->NeedJumpForward(slot.deviceID);
            slot.playStatus = N_PS_PAUSE;
            slot.bPlayNext = false;
            control.dwCode = HLX_PLAYCTRL_RESUME;  // flow control is what holds the device
            return true;
        case HLX_PLAYCTRL_FF:
            return SteerForward(slot, control);
        case HLX_PLAYCTRL_REW:
            SteerBackward(slot, control);
            return true;
        case HLX_PLAYCTRL_RESUME:
            slot.playStatus = N_PS_PLAY;
            slot.playSpeed = HLX_RPB_SPEED_1X;
            return true;
        case HLX_PLAYCTRL_STOP:
            slot.playStatus = N_PS_STOP;
            return true;
        case HLX_PLAYCTRL_FRAME:
            slot.bPlayNext = true;
            return false;
        default:
            return true;
    }
}

bool CPlaybackMan::SteerForward(PLAY_CTRL& slot, CONTROL& control) {
    const bool bWasReverse = IsReverse(slot);
    slot.playStatus = N_PS_FF;
    if (bWasReverse) {
        m_pDeviceMan->NeedJumpForward(slot.deviceID);
        SendControl(slot, HLX_PLAYCTRL_RESUME, control.dwValue);
        return true;
    }
    if (slot.playSpeed >= CPlayPacer::FIRST_KEY_SPEED) return true;
    if (control.oldSpeed < CPlayPacer::FIRST_KEY_SPEED) return false;  // the pacing alone does it
    SendControl(slot, HLX_PLAYCTRL_RESUME, control.dwValue);
    return true;
}

void CPlaybackMan::SteerBackward(PLAY_CTRL& slot, CONTROL& control) {
    control.dwValue = ReverseValue(control.family, control.dwValue);
    if (slot.playStatus == N_PS_STOP || slot.playStatus == N_PS_PAUSE) return;
    if (control.family == DVR_VER_V3 || control.family == NVR_VER_K7700) {
        slot.playStatus = N_PS_REW;
        slot.playSpeed = SpeedOf(control.dwValue);
        return;
    }
    // The others know two speeds, and a further call ends the reverse.
    const bool bEnds = IsReverse(slot) && control.oldSpeed > HLX_RPB_SPEED_8X;
    slot.playSpeed = bEnds ? HLX_RPB_SPEED_1X : IsReverse(slot) ? HLX_RPB_SPEED_16X : HLX_RPB_SPEED_8X;
    slot.playStatus = bEnds ? N_PS_PLAY : N_PS_REW;
    if (bEnds) control.dwCode = HLX_PLAYCTRL_RESUME;
    control.dwValue = static_cast<DWORD>(slot.playSpeed);
}

/// Ahead of the call's own command; its failure is that of the next.
void CPlaybackMan::SendControl(const PLAY_CTRL& slot, DWORD dwCode, DWORD dwValue) {
    const CThreadState::OwnNumber ownNumber;
    m_pDeviceMan->PlaybackCtrl(slot.deviceID, slot.streamID, dwCode, dwValue);
}

BOOL CPlaybackMan::SetPosition(const Stream& stream, DWORD dwSeconds) {
    return BeginSeek(*stream, dwSeconds) ? Seek(stream, dwSeconds) : Failure(HLX_PARAMETER_ERROR);
}

/// All streams rest before the first one is asked for: the time of one that still plays would let another pass.
void CPlaybackMan::SetPositionSync(DWORD dwSeconds) {
    Stream streams[PLAYBACK_SYNC_INFO::MAX_CHANNELS];
    {
        CTurn turn(*this, m_playLock);
        for (tuint32 i = 0; i < m_PlaySyncInfo.lChnNum; ++i) {
            const Stream stream = FindOpen(m_PlaySyncInfo.lPlayBackHandle[i]);
            if (stream && BeginSeek(*stream, dwSeconds)) streams[i] = stream;
        }
    }
    for (const Stream& stream : streams) {
        if (stream) Seek(stream, dwSeconds);
    }
}

/// The stream rests from here to EndSeek, and those in step with it wait for its first frame behind that.
bool CPlaybackMan::BeginSeek(PLAYBACK_STREAM_INFO& stream, DWORD dwSeconds) {
    CTurn turn(*this, m_playLock);
    PLAY_CTRL* pSlot = Slot(stream);
    if (!pSlot) return false;
    ReleaseBlock(*pSlot);
    pSlot->startTime = dwSeconds;
    pSlot->playStatus = N_PS_PLAY;
    pSlot->playSpeed = HLX_RPB_SPEED_1X;
    pSlot->bFirstFrame = true;
    pSlot->lastNotifyIndex = -1;
    pSlot->failedIndex = -1;
    pSlot->lastFrameTime = 0;
    pSlot->bSeeking = true;
    ++stream.users;
    CPlaySync::SetTime(m_PlaySyncInfo, stream.streamID, 0);
    return true;
}

/// Waits for the device with no lock held.
BOOL CPlaybackMan::Seek(const Stream& stream, DWORD dwSeconds) {
    const DD_TIME start = DVRTime32ToDDTime(dwSeconds);
    const BOOL bDone = m_pDeviceMan->PlaybackSetTime(stream->lDeviceHandle, stream->pChannel, stream->lChnNum, start,
                                                     stream->stopTime, stream->streamID);
    EndSeek(stream, bDone);
    return bDone;
}

/// The device's class has emptied the ring, with an answer and without; another seek's frames may be in it by now.
void CPlaybackMan::EndSeek(const Stream& stream, bool bDone) {
    CTurn turn(*this, m_playLock);
    Leave(*stream);
    PLAY_CTRL* pSlot = Slot(*stream);
    if (!pSlot) return;
    CPlaySync::SetTime(m_PlaySyncInfo, stream->streamID, bDone ? 0 : CPlaySync::ENDED);
    pSlot->bSeeking = stream->users > 0;
    m_pWaker->Wake();
}

BOOL CPlaybackMan::PlayBackControlSync(DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue) {
    if (dwControlCode == HLX_PLAYCTRL_SETPOS) {
        SetPositionSync(dwInValue);
        return false;
    }
    CTurn turn(*this, m_playLock);
    for (tuint32 i = 0; i < m_PlaySyncInfo.lChnNum; ++i)
        PlayBackControl(m_PlaySyncInfo.lPlayBackHandle[i], dwControlCode, dwInValue, lpOutValue);
    return false;
}
