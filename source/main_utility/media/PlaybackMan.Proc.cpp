// The thread of all playbacks: from their rings, at their pace, to the application's callbacks and files.
#include <algorithm>
#include <cstring>
#include <mutex>

#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/PlaybackMan.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/InCallback.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/RunFlag.h"

/// Times are microseconds of the clock that nobody sets.
struct CPlaybackMan::ROUND {
    static constexpr tint64 NEVER = INT64_MAX;

    tint64 due = NEVER;      // when the next frame is due
    bool bProgress = false;  // a frame was let through or seen for the first time
    bool bSyncWaits = false;
    bool bGaveWay = false;  // somebody wants a lock

    void DueAt(tint64 moment) { due = std::min(due, moment); }
};

namespace {

constexpr size_t FRAME_HEAD = sizeof(HLX_FRAME_INFO);
constexpr tint64 NOTIFY_PAUSE = 100000;  // microseconds between two looks at a ring that stays empty
constexpr tint64 LONGEST_PAUSE = 3600 * 1000000LL;
constexpr tint64 LONGEST_TURN = 5000;  // microseconds of one stream before others get their turn

using InCallback = CInCallback<CPlaybackMan>;

tint64 Now() { return TimeSource().MonotonicMicroseconds(); }

template <class Format>
void KeepFormat(Format& format, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    if (frame.length >= sizeof(Format)) std::memcpy(&format, pData, sizeof(Format));
}

/// Of the frame's channel, which the stream has.
PLAYBACK_FORMATS& FormatsOf(PLAYBACK_STREAM_INFO& stream, const HLX_FRAME_INFO& frame) {
    return stream.formats[stream.PlaceOf(LONG{frame.channel})];
}

/// A frame that tells a format, made up from the head of another.
template <class Format>
HLX_FRAME_INFO FormatFrame(const HLX_FRAME_INFO& frame, DWORD frameType, const Format& format) {
    HLX_FRAME_INFO info = frame;
    info.frameType = frameType;
    info.length = sizeof(format);
    return info;
}

}  // namespace

bool CPlaybackMan::InFrameCallback() { return InCallback::OnThisThread(); }

void* CPlaybackMan::PlayBackDataThread(void* pParam) {
    static_cast<CPlaybackMan*>(pParam)->PlayBackDataProc();
    return nullptr;
}

void CPlaybackMan::PlayBackDataProc() {
    while (RunFlagSet(m_bPlaying)) {
        ROUND round;
        if (!m_isStartingPB) WalkSlots(round);
        if (m_waiting > 0) PUB_Sleep(1);  // with no lock held: they come in now
        if (round.bGaveWay || (round.bProgress && round.bSyncWaits)) continue;
        const tint64 left = std::clamp<tint64>(round.due == ROUND::NEVER ? 0 : round.due - Now(), 0, LONGEST_PAUSE);
        if (round.due == ROUND::NEVER)
            m_pWaker->Wait(CWaitEvent::WAIT_FOREVER);
        else if (left > 0)
            m_pWaker->Wait(static_cast<tuint32>((left + 999) / 1000));
    }
}

/// Begins behind the slot where the last walk gave way: one that catches up while others poll does not hold up the rest.
void CPlaybackMan::WalkSlots(ROUND& round) {
    std::lock_guard guard(m_playLock);
    const auto walk = [&](const auto& isTurn) {
        for (auto& [lUserID, slots] : m_playCtrl) {
            for (size_t i = 0; i < slots.size() && !round.bGaveWay; ++i) {
                const std::pair place(lUserID, i);
                if (!isTurn(place)) continue;
                WalkSlot(slots[i], round);
                if (round.bGaveWay) m_lastPlace = place;
            }
        }
    };
    const auto last = m_lastPlace;
    walk([&](const auto& place) { return place > last; });
    walk([&](const auto& place) { return place <= last; });
}

void CPlaybackMan::WalkSlot(PLAY_CTRL& slot, ROUND& round) {
    if (!CPlayPacer::IsRunning(slot)) return;
    if (!slot.dataBuffer && !TakeBlock(slot)) return OnNoData(slot, round);
    WalkBlock(slot, round);
    if (slot.needSleep) return;
    ReleaseBlock(slot);
    round.DueAt(0);  // more may have come meanwhile
}

/// Hands out the frames of the block until one must wait, somebody wants a lock, or a stream that is late has had its
/// turn: each leaves needSleep set.
void CPlaybackMan::WalkBlock(PLAY_CTRL& slot, ROUND& round) {
    const tint64 turnEnd = Now() + LONGEST_TURN;
    slot.needSleep = false;
    while (slot.readCursor + FRAME_HEAD <= slot.dataLen) {
        unsigned char* pFrame = slot.dataBuffer + slot.readCursor;
        HLX_FRAME_INFO frame;
        std::memcpy(&frame, pFrame, FRAME_HEAD);
        if (frame.length > slot.dataLen - slot.readCursor - FRAME_HEAD) return;
        const bool bOwn = frame.deviceID == slot.deviceID && frame.streamID == slot.streamID;
        slot.needSleep = bOwn && !PlayCtrl(slot, frame, round);
        if (slot.needSleep) return;
        round.bProgress = true;
        slot.readCursor += static_cast<tuint32>(FRAME_HEAD) + frame.length;
        round.bGaveWay = slot.needSleep = m_waiting > 0;
        if (round.bGaveWay) return;
        slot.needSleep = Now() > turnEnd;
        if (slot.needSleep) return round.DueAt(0);
    }
}

/// Channels that are played in step wait for each other. False: the frame is not due.
bool CPlaybackMan::PlayCtrl(PLAY_CTRL& slot, const HLX_FRAME_INFO& frame, ROUND& round) {
    if (!m_bPlaybackSync) return PlayCtrlEx(slot, frame, round);
    const size_t place = CPlaySync::PlaceOf(m_PlaySyncInfo, slot.streamID);
    if (place >= m_PlaySyncInfo.lChnNum) return true;
    round.bProgress = round.bProgress || m_PlaySyncInfo.curTime[place] != frame.time;
    if (!CPlaySync::MayPass(m_PlaySyncInfo, place, frame.time)) {
        round.bSyncWaits = true;
        return false;
    }
    const bool bThrough = PlayCtrlEx(slot, frame, round);
    if (slot.playStatus == N_PS_STOP) m_PlaySyncInfo.curTime[place] = CPlaySync::ENDED;
    return bThrough;
}

bool CPlaybackMan::PlayCtrlEx(PLAY_CTRL& slot, const HLX_FRAME_INFO& frame, ROUND& round) {
    const auto [verdict, bNotify] = CPlayPacer(slot).Decide(frame, Now());
    if (bNotify) Notify(slot, frame.frameIndex);
    if (verdict == PLAY_VERDICT::DELIVER) ProcessFrame(frame, slot.dataBuffer + slot.readCursor + FRAME_HEAD);
    if (verdict == PLAY_VERDICT::WAIT && slot.playStatus != N_PS_PAUSE) round.DueAt(slot.lastShowTime);
    return verdict != PLAY_VERDICT::WAIT;
}

void CPlaybackMan::Notify(PLAY_CTRL& slot, tuint32 frameIndex) {
    const CThreadState::OwnNumber ownNumber;
    const bool bDone = m_pDeviceMan->NotifyPlayIndex(slot.deviceID, slot.streamID, frameIndex, -1);
    CPlayPacer(slot).Notified(frameIndex, bDone);
}

/// The device may be waiting for an index that the link did not take, or for that of a frame that the ring did not: one
/// that was too large for it, or video behind that up to a key frame. Those wake nobody, so the ring is looked at.
void CPlaybackMan::OnNoData(PLAY_CTRL& slot, ROUND& round) {
    const CThreadState::OwnNumber ownNumber;
    const tuint32 last = m_pDataBufferMan->GetLastFrameIndex(RingOf(slot));
    m_pDeviceMan->NotifyPlayIndex_IPC(slot.deviceID, slot.streamID, last);
    if (slot.lastNotifyIndex < 0) return;  // nothing of this run has come
    const auto session = m_pDeviceMan->GetDeviceResByUserID(slot.deviceID);
    if (!session || session->pNetDevice->GetDeviceStatus() != NET_DEVICE_STATUS_CONNECTED) return;
    if (tint64{last} > slot.lastNotifyIndex)
        Notify(slot, last);
    else if (slot.failedIndex >= 0)
        Notify(slot, static_cast<tuint32>(slot.failedIndex));
    round.DueAt(Now() + NOTIFY_PAUSE);
}

// ---- Delivery ----

void CPlaybackMan::ProcessFrame(const HLX_FRAME_INFO& frame, unsigned char* pData) {
    std::lock_guard guard(m_streamLock);
    for (const Stream& stream : m_streamInfoArray) {
        const bool bIts = stream->bOpen && stream->lDeviceHandle == LONG{frame.deviceID} &&
                          stream->streamID == frame.streamID && stream->HasChannel(frame.channel);
        if (bIts) ProcessFrame(*stream, frame, pData);
    }
}

void CPlaybackMan::ProcessFrame(PLAYBACK_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, unsigned char* pData) {
    if (stream.pPlayBackDataCallback) DeliverFrame(stream, frame, pData);
    PLAYBACK_FORMATS& formats = FormatsOf(stream, frame);
    if (frame.frameType == DD_FRAME_TYPE_VIDEO_FORMAT) KeepFormat(formats.bmpInfo, frame, pData);
    if (frame.frameType == DD_FRAME_TYPE_AUDIO_FORMAT) KeepFormat(formats.waveInfo, frame, pData);
    if (stream.pSave && stream.saveChannel == LONG{frame.channel}) SaveFrame(stream, frame, pData);
}

/// Until a format frame comes every frame has one ahead that is made up from the format seen last: the interface has it
/// so.
void CPlaybackMan::DeliverFrame(PLAYBACK_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, unsigned char* pData) {
    const InCallback inCallback;
    const auto deliver = [&](const HLX_FRAME_INFO& info, void* pBytes) {
        if (stream.pPlayBackDataCallback)  // a callback may take it off
            stream.pPlayBackDataCallback(stream.lPlayBackHandle, info, static_cast<BYTE*>(pBytes),
                                         stream.pPlayBackDataCBParam);
    };
    if (frame.frameType == DD_FRAME_TYPE_VIDEO_FORMAT) stream.bNeedVideoFormat = false;
    if (frame.frameType == DD_FRAME_TYPE_AUDIO_FORMAT) stream.bNeedAudioFormat = false;
    if (frame.frameType == DD_FRAME_TYPE_VIDEO && stream.bNeedVideoFormat) {
        BITMAPINFOHEADER format = FormatsOf(stream, frame).bmpInfo;
        deliver(FormatFrame(frame, DD_FRAME_TYPE_VIDEO_FORMAT, format), &format);
    }
    if (frame.frameType == DD_FRAME_TYPE_AUDIO && stream.bNeedAudioFormat) {
        WAVEFORMATEX format = FormatsOf(stream, frame).waveInfo;
        deliver(FormatFrame(frame, DD_FRAME_TYPE_AUDIO_FORMAT, format), &format);
    }
    deliver(frame, pData);
}

void CPlaybackMan::SaveFrame(PLAYBACK_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    const CThreadState::OwnNumber ownNumber;
    const auto saveFormat = [&](bool& bNeed, bool bKnown, DWORD frameType, const auto& format) {
        if (!bNeed || !bKnown) return;
        stream.pSave->SaveFile(FormatFrame(frame, frameType, format), reinterpret_cast<const unsigned char*>(&format));
        bNeed = false;
    };
    const PLAYBACK_FORMATS& formats = FormatsOf(stream, frame);
    bool bReady = true;
    if (frame.frameType == DD_FRAME_TYPE_VIDEO_FORMAT) stream.bNeedVFormat = false;
    if (frame.frameType == DD_FRAME_TYPE_AUDIO_FORMAT) stream.bNeedAFormat = false;
    if (frame.frameType == DD_FRAME_TYPE_VIDEO) {
        saveFormat(stream.bNeedVFormat, formats.bmpInfo.biSize == sizeof(BITMAPINFOHEADER), DD_FRAME_TYPE_VIDEO_FORMAT,
                   formats.bmpInfo);
        bReady = !stream.bNeedVFormat;
    } else if (frame.frameType == DD_FRAME_TYPE_AUDIO) {
        saveFormat(stream.bNeedAFormat, formats.waveInfo.nAvgBytesPerSec != 0, DD_FRAME_TYPE_AUDIO_FORMAT,
                   formats.waveInfo);
        bReady = !stream.bNeedAFormat;
    } else if (frame.frameType != DD_FRAME_TYPE_VIDEO_FORMAT && frame.frameType != DD_FRAME_TYPE_AUDIO_FORMAT) {
        return;
    }
    if (bReady) stream.pSave->SaveFile(frame, pData);
}
