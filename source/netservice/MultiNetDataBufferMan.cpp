#include "netservice/MultiNetDataBufferMan.h"

#include <algorithm>
#include <atomic>
#include <list>
#include <mutex>
#include <new>

#include "sdk_common/YLog4C.h"

namespace {

constexpr tuint32 RELEASE_WAIT = 10;  // milliseconds, as the next
constexpr tint64 MAXIMAL_WAIT = 3600 * 1000;
constexpr tint64 LOSS_LOG_INTERVAL = 10000;

tint64 NowMilliseconds() { return TimeSource().MonotonicMicroseconds() / 1000; }

}  // namespace

/// A run of records that the reader holds.
struct HANDED_RUN {
    unsigned char* pBuffer;
    int len;
};

/// A ring and the runs that its reader holds.
struct NET_DATA_BUFFER_MAN {
    unsigned int bufferID = 0;
    std::unique_ptr<CNetDataBufferMan> pDataBuffer;
    std::list<HANDED_RUN> toReleaseBufferList;  // oldest first; guarded by pReleaseLock, as is the next
    std::list<HANDED_RUN> spareRuns{1};         // for the runs to come, so that frames need no memory of ours
    std::unique_ptr<CPUB_Lock> pReleaseLock;
    std::atomic<bool> bRemoving{false};  // set under m_bufferArrayLock and pReleaseLock
    std::atomic<bool> bVoid{false};      // runs that were not released are lost
    std::atomic<bool> bWake{false};
    std::atomic<size_t> openRuns{0};        // size of the list, to be read without the lock
    std::atomic<unsigned int> lostTold{0};  // of GetLostFrames, those that stand in the log
    std::atomic<tint64> lossToldAt{0};      // milliseconds of the monotonic clock
    CWaitEvent dataEvent;
    CWaitEvent releaseEvent;
    std::shared_ptr<CWaker> pWaker;  // may be null

    void LogLoss() {
        const unsigned int lost = pDataBuffer->GetLostFrames();
        const unsigned int before = lostTold.exchange(lost);
        if (lost == before) return;
        lossToldAt = NowMilliseconds();
        YLOG(YLOG_WARN, "ring %x was full: %u frames dropped since the last such line, %u in all", bufferID,
             lost - before, lost);
    }
    /// The first loss is logged at once, then one line in a while tells of all.
    void NoteLoss() {
        if (lostTold == 0 || NowMilliseconds() - lossToldAt >= LOSS_LOG_INTERVAL) LogLoss();
    }
};

CMultiNetDataBufferMan* CMultiNetDataBufferMan::Instance() {
    // Never destroyed: frames may still arrive while the process ends.
    static auto* const pInstance = new CMultiNetDataBufferMan;
    return pInstance;
}

bool CMultiNetDataBufferMan::Initial() { return true; }

void CMultiNetDataBufferMan::Quit() {
    std::vector<BufferRef> all;
    {
        const std::scoped_lock guard(m_bufferArrayLock);
        all.swap(m_dataBufferArray);
    }
    for (const BufferRef& entry : all) {
        {
            const std::scoped_lock guard(*entry->pReleaseLock);
            entry->bRemoving = entry->bVoid = true;
        }
        entry->dataEvent.PulseEvent();
        entry->releaseEvent.PulseEvent();
        entry->pDataBuffer->Quit();
    }
}

std::vector<CMultiNetDataBufferMan::BufferRef>::iterator CMultiNetDataBufferMan::Place(unsigned int bufferID) {
    const auto isBelow = [](const BufferRef& entry, unsigned int id) { return entry->bufferID < id; };
    return std::lower_bound(m_dataBufferArray.begin(), m_dataBufferArray.end(), bufferID, isBelow);
}

bool CMultiNetDataBufferMan::IsAt(std::vector<BufferRef>::iterator place, unsigned int bufferID) {
    return place != m_dataBufferArray.end() && (*place)->bufferID == bufferID;
}

CMultiNetDataBufferMan::BufferRef CMultiNetDataBufferMan::FindLive(unsigned int bufferID) {
    const auto place = Place(bufferID);
    return IsAt(place, bufferID) && !(*place)->bRemoving ? *place : nullptr;
}

CMultiNetDataBufferMan::BufferRef CMultiNetDataBufferMan::Find(unsigned int bufferID) {
    const std::scoped_lock guard(m_bufferArrayLock);
    return FindLive(bufferID);
}

// The ring, maybe one being removed, whose oldest run starts at `pBuffer`.
CMultiNetDataBufferMan::BufferRef CMultiNetDataBufferMan::FindHolder(unsigned int bufferID,
                                                                     const unsigned char* pBuffer) {
    const std::scoped_lock guard(m_bufferArrayLock);
    for (auto place = Place(bufferID); IsAt(place, bufferID); ++place) {
        const std::scoped_lock releaseGuard(*(*place)->pReleaseLock);
        const std::list<HANDED_RUN>& runs = (*place)->toReleaseBufferList;
        if (!runs.empty() && runs.front().pBuffer == pBuffer) return *place;
    }
    return nullptr;
}

bool CMultiNetDataBufferMan::AddBuffer(unsigned int bufferID, int size, bool bLive,
                                       std::shared_ptr<CWaker> pWaker) try {
    const std::scoped_lock guard(m_bufferArrayLock);
    if (FindLive(bufferID)) return true;
    const BufferRef entry = std::make_shared<NET_DATA_BUFFER_MAN>();
    entry->bufferID = bufferID;
    entry->pWaker = std::move(pWaker);
    entry->pDataBuffer = std::make_unique<CNetDataBufferMan>();
    entry->pReleaseLock = std::make_unique<CPUB_Lock>();
    entry->dataEvent.CreateWaitEvent();
    entry->releaseEvent.CreateWaitEvent();
    if (!entry->pDataBuffer->Initial(size, bLive)) return false;
    m_dataBufferArray.insert(Place(bufferID), entry);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void CMultiNetDataBufferMan::RemoveBuffer(unsigned int bufferID) {
    const BufferRef entry = StartRemoval(bufferID);
    if (!entry) return;
    entry->dataEvent.PulseEvent();
    const auto isOver = [&] { return entry->openRuns == 0 || entry->bVoid; };
    while (!isOver()) entry->releaseEvent.WaitForCond(RELEASE_WAIT, isOver);
    entry->pDataBuffer->Quit();
    entry->LogLoss();
    Erase(entry);
}

CMultiNetDataBufferMan::BufferRef CMultiNetDataBufferMan::StartRemoval(unsigned int bufferID) {
    const std::scoped_lock guard(m_bufferArrayLock);
    const BufferRef entry = FindLive(bufferID);
    if (!entry) return nullptr;
    const std::scoped_lock releaseGuard(*entry->pReleaseLock);
    entry->bRemoving = true;
    return entry;
}

void CMultiNetDataBufferMan::Erase(const BufferRef& entry) {
    const std::scoped_lock guard(m_bufferArrayLock);
    const auto place = std::find(Place(entry->bufferID), m_dataBufferArray.end(), entry);
    if (place != m_dataBufferArray.end()) m_dataBufferArray.erase(place);
}

bool CMultiNetDataBufferMan::PushData(unsigned int bufferID, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    const BufferRef entry = Find(bufferID);
    if (!entry || entry->bRemoving) return true;
    const bool bStored = entry->pDataBuffer->PushData(frame, pData);
    if (bStored && entry->pDataBuffer->HasData()) {
        entry->dataEvent.SetEvent();
        if (entry->pWaker) entry->pWaker->Wake();
    }
    const bool bThrough = entry->pDataBuffer->ProcessPushDataFailed(frame, bStored, pData);
    if (bThrough && !bStored) entry->NoteLoss();
    return bThrough;
}

bool CMultiNetDataBufferMan::GetDataBuffer(unsigned int bufferID, unsigned char*& pBuffer, int& len) {
    const BufferRef entry = Find(bufferID);
    if (!entry) return false;
    const std::scoped_lock guard(*entry->pReleaseLock);
    if (entry->bRemoving) return false;
    std::list<HANDED_RUN>& spare = entry->spareRuns;
    try {
        if (spare.empty()) spare.push_back({});
    } catch (const std::bad_alloc&) {
        return false;
    }
    if (!entry->pDataBuffer->GetDataBuffer(pBuffer, len)) return false;
    spare.front() = {pBuffer, len};
    entry->toReleaseBufferList.splice(entry->toReleaseBufferList.end(), spare, spare.begin());
    ++entry->openRuns;
    return true;
}

void CMultiNetDataBufferMan::ReleaseDataBuffer(unsigned int bufferID, unsigned char* pBuffer, int len) {
    const BufferRef entry = FindHolder(bufferID, pBuffer);
    if (!entry) return;
    {
        const std::scoped_lock guard(*entry->pReleaseLock);
        std::list<HANDED_RUN>& runs = entry->toReleaseBufferList;
        if (runs.empty() || runs.front().pBuffer != pBuffer || runs.front().len != len) return;
        if (!entry->pDataBuffer->ReleaseDataBuffer(pBuffer, len)) return;
        entry->spareRuns.splice(entry->spareRuns.begin(), runs, runs.begin());
        --entry->openRuns;
    }
    if (entry->bRemoving) entry->releaseEvent.PulseEvent();
}

void CMultiNetDataBufferMan::DropData(unsigned int bufferID) {
    const BufferRef entry = Find(bufferID);
    if (entry) entry->pDataBuffer->DropData();
}

int CMultiNetDataBufferMan::GetFreeBufferSize(unsigned int bufferID) {
    const BufferRef entry = Find(bufferID);
    return entry ? entry->pDataBuffer->GetFreeBufferSize() : 0;
}

unsigned int CMultiNetDataBufferMan::GetLastFrameIndex(unsigned int bufferID) {
    const BufferRef entry = Find(bufferID);
    return entry ? entry->pDataBuffer->GetLastFrameIndex() : 0;
}

unsigned int CMultiNetDataBufferMan::GetLostFrames(unsigned int bufferID) {
    const BufferRef entry = Find(bufferID);
    return entry ? entry->pDataBuffer->GetLostFrames() : 0;
}

void CMultiNetDataBufferMan::SetChannelNeedIFrame(unsigned int bufferID, LONG lDeviceID, LONG lChannel,
                                                  DWORD streamAttrib, bool bNeed) {
    const BufferRef entry = Find(bufferID);
    if (entry) entry->pDataBuffer->SetChannelNeedIFrame(lDeviceID, lChannel, streamAttrib, bNeed);
}

void CMultiNetDataBufferMan::LoseFrame(unsigned int bufferID) {
    const BufferRef entry = Find(bufferID);
    if (entry) entry->pDataBuffer->LoseFrame();
}

bool CMultiNetDataBufferMan::WaitForData(unsigned int bufferID, tuint32 ms) {
    const BufferRef entry = Find(bufferID);
    if (!entry) return false;
    const tint64 end = ms == CWaitEvent::WAIT_FOREVER ? INT64_MAX : NowMilliseconds() + ms;
    bool bOver = false;
    const auto isOver = [&] {
        bOver = bOver || entry->bRemoving || entry->pDataBuffer->HasData() || entry->bWake.exchange(false);
        return bOver;
    };
    // An event may be late: the data that it tells of may have been taken already.
    for (tint64 left = ms; !isOver() && left > 0; left = end - NowMilliseconds()) {
        entry->dataEvent.WaitForCond(static_cast<tuint32>(std::min<tint64>(left, MAXIMAL_WAIT)), isOver);
    }
    return !entry->bRemoving && entry->pDataBuffer->HasData();
}

void CMultiNetDataBufferMan::WakeReader(unsigned int bufferID) {
    const BufferRef entry = Find(bufferID);
    if (!entry) return;
    entry->bWake = true;
    entry->dataEvent.PulseEvent();
}
