// Streams that come back: after their session did, or after they fell silent with the link up.
#include <algorithm>
#include <mutex>
#include <new>
#include <set>

#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/LiveMan.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/RunFlag.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr tuint32 FIRST_PAUSE = 3000;        // milliseconds before the first look, as the next ones
constexpr tuint32 RESTART_PAUSE = 1000;      // between stop and start, for the device's sake
constexpr tuint32 RETRY_PAUSE = 5000;        // before a stream that could not be started is tried again
constexpr tuint32 SILENCE_INTERVAL = 16000;  // between looks for silent streams
constexpr tuint32 SILENCE_PAUSE = 2000;      // before such a look
constexpr time_t SILENT_AFTER = 15;          // seconds without a frame
constexpr tint64 SLOW_START = 5000000;  // microseconds; a device that takes longer is not asked for the next stream now

tint64 Monotonic() { return TimeSource().MonotonicMicroseconds(); }

}  // namespace

bool CLiveMan::StartResuming() {
    if (m_hThreadResumeOnReconnection) return true;
    m_resumeWait.CreateWaitEvent();
    m_bResumeEnded = false;
    m_hThreadResumeOnReconnection =
        PUB_CreateThread(ResumeOnReconnectionThread, this, &m_bResumeOnReconnectionProcessing);
    if (m_hThreadResumeOnReconnection) return true;
    m_bResumeEnded = true;
    return Failure(HLX_PROGRAM_EXCEPTION);
}

/// Ends the thread. A request to a silent device that it waits for is ended, too.
void CLiveMan::StopResuming() {
    SetRunFlag(m_bResumeOnReconnectionProcessing, false);
    m_resumeWait.Close();
    while (!m_bResumeEnded) {
        m_pDeviceMan->InterruptRequests();
        PUB_Sleep(10);
    }
    PUB_ExitThread(&m_hThreadResumeOnReconnection, &m_bResumeOnReconnectionProcessing);
    std::lock_guard guard(m_listResumeOnReconnectionLock);
    m_listResumeOnReconnection.clear();
}

/// A newer recorder resumes channel by channel, the others the whole session at once.
void CLiveMan::ResumeOnReconnection(LONG lUserID, BOOL bIsK7KChannel, LONG channel, WORD videoInputNum) try {
    if (!m_pDeviceMan->IsEnableReconn()) return;
    const bool bEachChannel = bIsK7KChannel && channel == -1;
    const LONG first = bEachChannel ? 0 : channel;
    const LONG last = bEachChannel ? LONG{videoInputNum} - 1 : channel;
    for (LONG entryChannel = first; entryChannel <= last; ++entryChannel)
        Enlist({lUserID, bIsK7KChannel, entryChannel, 0, 0});
    m_resumeWait.SetEvent();
} catch (const std::bad_alloc&) {  // the look for silent streams finds them
}

/// An entry for the same streams takes the place of an older one.
void CLiveMan::Enlist(const ST_ResumeOnReconnection& entry) {
    std::lock_guard guard(m_listResumeOnReconnectionLock);
    m_listResumeOnReconnection.remove_if([&](const auto& other) { return other.IsSame(entry); });
    m_listResumeOnReconnection.push_back(entry);
}

void* CLiveMan::ResumeOnReconnectionThread(void* pParam) {
    auto& man = *static_cast<CLiveMan*>(pParam);
    const CThreadState::OwnNumber ownNumber;
    man.ResumeOnReconnectionProc();
    man.m_bResumeEnded = true;
    return nullptr;
}

/// True when the whole time passed, false when the manager stops.
bool CLiveMan::Pause(tuint32 milliseconds) {
    const auto stopping = [&] { return !RunFlagSet(m_bResumeOnReconnectionProcessing); };
    const tint64 end = Monotonic() + tint64{milliseconds} * 1000;
    while (!stopping()) {
        const tint64 left = end - Monotonic();
        if (left <= 0) return true;
        m_resumeWait.WaitForCond(static_cast<tuint32>(left / 1000 + 1), stopping);  // woken by a new entry as well
    }
    return false;
}

void CLiveMan::ResumeOnReconnectionProc() {
    if (!Pause(FIRST_PAUSE)) return;
    tint64 nextLook = Monotonic() + tint64{SILENCE_INTERVAL} * 1000;
    while (RunFlagSet(m_bResumeOnReconnectionProcessing)) {
        const tint64 left = std::min(nextLook, NextDue()) - Monotonic();
        if (left > 0)
            m_resumeWait.WaitForCond(static_cast<tuint32>(left / 1000 + 1), [&] { return NextDue() <= Monotonic(); });
        try {
            ST_ResumeOnReconnection entry{};
            if (TakeDue(entry)) Resume(entry);
            if (Monotonic() < nextLook) continue;
            if (Pause(SILENCE_PAUSE)) RestartSilent();
        } catch (const std::bad_alloc&) {  // the next look for silent streams finds them
        }
        nextLook = Monotonic() + tint64{SILENCE_INTERVAL} * 1000;
    }
}

/// When the next entry is due; far away without one.
tint64 CLiveMan::NextDue() {
    std::lock_guard guard(m_listResumeOnReconnectionLock);
    tint64 due = Monotonic() + tint64{SILENCE_INTERVAL} * 1000;
    for (const auto& entry : m_listResumeOnReconnection) due = std::min(due, entry.notBefore);
    return due;
}

bool CLiveMan::TakeDue(ST_ResumeOnReconnection& entry) {
    std::lock_guard guard(m_listResumeOnReconnectionLock);
    const auto due = std::find_if(m_listResumeOnReconnection.begin(), m_listResumeOnReconnection.end(),
                                  [](const auto& candidate) { return candidate.notBefore <= Monotonic(); });
    if (due == m_listResumeOnReconnection.end()) return false;
    entry = *due;
    m_listResumeOnReconnection.erase(due);
    return true;
}

/// The streams that the session carries.
void CLiveMan::Resume(const ST_ResumeOnReconnection& entry) {
    auto streams = Choose([&](const LIVE_STREAM_INFO& stream) {
        return !stream.bCapture && stream.lDeviceHandle == entry.lUserID &&
               (entry.channel < 0 || stream.channel == entry.channel) &&
               (entry.lLiveHandle == 0 || stream.lLiveHandle == entry.lLiveHandle);
    });
    if (entry.bIsK7KChannel && streams.size() > 1) streams.resize(1);
    Restart(streams);
}

/// A stream that could not be started is tried again by itself after a while, unless its session is gone again: the
/// next return makes a new entry.
void CLiveMan::Restart(const std::vector<Stream>& streams) {
    for (const Stream& failed : StopAndStart(streams)) {
        if (!IsConnected(failed->lDeviceHandle)) continue;
        Enlist(
            {failed->lDeviceHandle, 0, failed->channel, failed->lLiveHandle, Monotonic() + tint64{RETRY_PAUSE} * 1000});
    }
}

/// A stream whose ring still holds frames is not silent, its reader is slow.
void CLiveMan::RestartSilent() {
    const time_t now = MonotonicSeconds();
    Restart(Choose([&](const LIVE_STREAM_INFO& stream) {
        return now - stream.tStreamDataLastTime > SILENT_AFTER && !stream.bCapture &&
               m_pDataBufferMan->GetFreeBufferSize(stream.bufferID) == LIVE_RING_SIZE &&
               IsConnected(stream.lDeviceHandle);
    }));
}

std::vector<CLiveMan::Stream> CLiveMan::Choose(const std::function<bool(const LIVE_STREAM_INFO&)>& wanted) {
    std::vector<Stream> streams;
    std::lock_guard guard(m_streamLock);
    for (const Stream& stream : m_streamInfoArray)
        if (!stream->bEnding && wanted(*stream)) streams.push_back(stream);
    return streams;
}

/// Stops all, waits once, starts all; gives those that could not be started. The device forgets the old receivers
/// before the new ones are told, so that each frame arrives once. A session that is slow to answer is not asked for the
/// rest of its streams now.
std::vector<CLiveMan::Stream> CLiveMan::StopAndStart(const std::vector<Stream>& streams) {
    for (const Stream& stream : streams) {
        std::lock_guard guard(m_streamLock);
        if (Find(stream->lLiveHandle) == stream.get()) StopDeviceSide(*stream);
    }
    std::vector<Stream> failed;
    if (streams.empty() || !Pause(RESTART_PAUSE)) return failed;
    std::set<LONG> slow;
    for (const Stream& stream : streams) {
        if (!RunFlagSet(m_bResumeOnReconnectionProcessing)) return {};
        const tint64 before = Monotonic();
        if (slow.contains(stream->lDeviceHandle) || !StartAgain(stream)) failed.push_back(stream);
        if (Monotonic() - before > SLOW_START) slow.insert(stream->lDeviceHandle);
    }
    return failed;
}

/// The request goes out with no lock of ours held, so that a stop by the application does not wait for it; what was
/// stopped meanwhile is taken back from the device.
bool CLiveMan::StartAgain(const Stream& stream) {
    const auto isListed = [&] { return Find(stream->lLiveHandle) == stream.get(); };
    {
        std::lock_guard guard(m_streamLock);
        if (!isListed()) return true;
    }
    const bool bStarted =
        m_pDeviceMan->StartLiveChannel(stream->lDeviceHandle, stream->channel, IsFirstStream(stream->streamType),
                                       stream->bufferID, stream->streamType);
    YLOG(bStarted ? YLOG_INFO : YLOG_WARN, "user %ld, channel %ld, stream %u: live %s started again, number %u",
         long{stream->lDeviceHandle}, long{stream->channel}, static_cast<unsigned>(stream->streamType),
         bStarted ? "is" : "not", bStarted ? 0U : static_cast<unsigned>(CThreadState::Instance()->GetLastError()));
    if (bStarted) stream->tStreamDataLastTime = MonotonicSeconds();
    std::lock_guard guard(m_streamLock);
    if (isListed()) return bStarted;
    if (!IsRingTaken(stream->bufferID, stream.get()))
        StopDeviceSide(*stream);  // else another stream has its place already
    return true;
}
