// Streams that come back: after their session did, or after they fell silent with the link up.
#include <algorithm>
#include <mutex>

#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/LiveMan.h"
#include "sdk_common/RunFlag.h"

namespace {

constexpr tuint32 FIRST_PAUSE = 3000;    // milliseconds before the first look, as the next ones
constexpr tuint32 RESTART_PAUSE = 1000;  // between stop and start, for the device's sake
constexpr tuint32 SILENCE_INTERVAL = 16000;
constexpr tuint32 SILENCE_PAUSE = 2000;  // before silent streams are looked for
constexpr time_t SILENT_AFTER = 15;      // seconds without a frame

}  // namespace

bool CLiveMan::StartResuming() {
    if (m_hThreadResumeOnReconnection) return true;
    m_resumeWait.CreateWaitEvent();
    m_hThreadResumeOnReconnection =
        PUB_CreateThread(ResumeOnReconnectionThread, this, &m_bResumeOnReconnectionProcessing);
    return m_hThreadResumeOnReconnection || Failure(HLX_PROGRAM_EXCEPTION);
}

void CLiveMan::StopResuming() {
    SetRunFlag(m_bResumeOnReconnectionProcessing, false);
    m_resumeWait.Close();
    PUB_ExitThread(&m_hThreadResumeOnReconnection, &m_bResumeOnReconnectionProcessing);
    std::lock_guard guard(m_listResumeOnReconnectionLock);
    m_listResumeOnReconnection.clear();
}

/// A newer recorder resumes channel by channel, the others the whole session at once.
void CLiveMan::ResumeOnReconnection(LONG lUserID, BOOL bIsK7KChannel, LONG channel, WORD videoInputNum) {
    if (!m_pDeviceMan->IsEnableReconn()) return;
    const bool bEachChannel = bIsK7KChannel && channel == -1;
    const LONG first = bEachChannel ? 0 : channel;
    const LONG last = bEachChannel ? LONG{videoInputNum} - 1 : channel;
    {
        std::lock_guard guard(m_listResumeOnReconnectionLock);
        for (LONG entryChannel = first; entryChannel <= last; ++entryChannel) {
            const ST_ResumeOnReconnection entry{lUserID, bIsK7KChannel, entryChannel, 0};
            m_listResumeOnReconnection.remove(entry);
            m_listResumeOnReconnection.push_back(entry);
        }
    }
    m_resumeWait.SetEvent();
}

void* CLiveMan::ResumeOnReconnectionThread(void* pParam) {
    const CThreadState::OwnNumber ownNumber;
    static_cast<CLiveMan*>(pParam)->ResumeOnReconnectionProc();
    return nullptr;
}

/// True when the whole time passed, false when the manager stops.
bool CLiveMan::Pause(tuint32 milliseconds) {
    const auto stopping = [&] { return !RunFlagSet(m_bResumeOnReconnectionProcessing); };
    const tint64 end = TimeSource().MonotonicMicroseconds() + tint64{milliseconds} * 1000;
    while (!stopping()) {
        const tint64 left = end - TimeSource().MonotonicMicroseconds();
        if (left <= 0) return true;
        m_resumeWait.WaitForCond(static_cast<tuint32>(left / 1000 + 1), stopping);  // woken by a new entry as well
    }
    return false;
}

void CLiveMan::ResumeOnReconnectionProc() {
    if (!Pause(FIRST_PAUSE)) return;
    tint64 nextLook = TimeSource().MonotonicMicroseconds() + tint64{SILENCE_INTERVAL} * 1000;
    const auto hasEntry = [&] {
        std::lock_guard guard(m_listResumeOnReconnectionLock);
        return !m_listResumeOnReconnection.empty();
    };
    while (RunFlagSet(m_bResumeOnReconnectionProcessing)) {
        const tint64 left = (nextLook - TimeSource().MonotonicMicroseconds()) / 1000;
        if (left > 0) m_resumeWait.WaitForCond(static_cast<tuint32>(left), hasEntry);
        if (hasEntry()) ResumeFront();
        if (TimeSource().MonotonicMicroseconds() < nextLook) continue;
        if (Pause(SILENCE_PAUSE)) RestartSilent();
        nextLook = TimeSource().MonotonicMicroseconds() + tint64{SILENCE_INTERVAL} * 1000;
    }
}

/// The streams that the session carries; what failed is tried again behind the others.
void CLiveMan::ResumeFront() {
    ST_ResumeOnReconnection entry{};
    {
        std::lock_guard guard(m_listResumeOnReconnectionLock);
        if (m_listResumeOnReconnection.empty()) return;
        entry = m_listResumeOnReconnection.front();
        m_listResumeOnReconnection.pop_front();
    }
    auto handles = Choose([&](const LIVE_STREAM_INFO& stream) {
        return stream.lDeviceHandle == entry.lUserID && (entry.channel < 0 || stream.channel == entry.channel) &&
               (entry.lLiveHandle == 0 || stream.lLiveHandle == entry.lLiveHandle);
    });
    if (entry.bIsK7KChannel && !handles.empty()) {
        handles.resize(1);
        entry.lLiveHandle = handles.front();
    }
    if (handles.empty() || Restart(handles)) return;
    std::lock_guard guard(m_listResumeOnReconnectionLock);
    m_listResumeOnReconnection.push_back(entry);
}

void CLiveMan::RestartSilent() {
    const time_t now = MonotonicSeconds();
    const auto handles = Choose([&](const LIVE_STREAM_INFO& stream) {
        return now - stream.tStreamDataLastTime > SILENT_AFTER && stream.streamType != HLX_THIRD_STREAM &&
               m_pDeviceMan->GetDeviceStatus(stream.lDeviceHandle) == NET_DEVICE_STATUS_CONNECTED;
    });
    if (!handles.empty()) Restart(handles);
}

std::vector<POINTERHANDLE> CLiveMan::Choose(const std::function<bool(const LIVE_STREAM_INFO&)>& wanted) {
    std::vector<POINTERHANDLE> handles;
    std::lock_guard guard(m_streamLock);
    for (const Stream& stream : m_streamInfoArray)
        if (!stream->bCapture && wanted(*stream)) handles.push_back(stream->lLiveHandle);
    return handles;
}

/// Stops all, waits once, starts all. m_streamLock is held for one stream at a time, so that a stop by the application waits for one
/// request at most. The device forgets the old receivers before the new ones are told, so that each frame arrives once.
bool CLiveMan::Restart(const std::vector<POINTERHANDLE>& handles) {
    for (const POINTERHANDLE handle : handles) {
        std::lock_guard guard(m_streamLock);
        if (const LIVE_STREAM_INFO* pStream = Find(handle)) StopDeviceSide(*pStream);
    }
    if (!Pause(RESTART_PAUSE)) return true;
    bool bAll = true;
    for (const POINTERHANDLE handle : handles) {
        if (!RunFlagSet(m_bResumeOnReconnectionProcessing)) return true;
        std::lock_guard guard(m_streamLock);
        const LIVE_STREAM_INFO* pStream = Find(handle);
        if (!pStream) continue;
        bAll =
            m_pDeviceMan->StartLiveChannel(pStream->lDeviceHandle, pStream->channel, IsFirstStream(pStream->streamType),
                                           pStream->bufferID, pStream->streamType) &&
            bAll;
    }
    return bAll;
}
