#include "netservice/MultiNetDataBufferMan.h"

#include <algorithm>
#include <atomic>
#include <list>
#include <mutex>
#include <new>

namespace {

constexpr tuint32 RELEASE_WAIT = 10;  // milliseconds, as the next
constexpr tint64 MAXIMAL_WAIT = 3600 * 1000;

tint64 NowMilliseconds() { return TimeSource().MonotonicMicroseconds() / 1000; }

}  // namespace

/// A ring and the runs that its reader holds.
struct NET_DATA_BUFFER_MAN {
    unsigned int bufferID = 0;
    std::unique_ptr<CNetDataBufferMan> pDataBuffer;
    std::list<unsigned char*> toReleaseBufferList;  // oldest first; guarded by pReleaseLock
    std::unique_ptr<CPUB_Lock> pReleaseLock;
    std::atomic<bool> bRemoving{false};
    std::atomic<bool> bWake{false};
    std::atomic<size_t> openRuns{0};  // size of the list, to be read without the lock
    CWaitEvent dataEvent;
    CWaitEvent releaseEvent;
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
        entry->bRemoving = true;
        entry->dataEvent.PulseEvent();
        entry->pDataBuffer->Quit();
    }
}

std::vector<CMultiNetDataBufferMan::BufferRef>::iterator CMultiNetDataBufferMan::Place(unsigned int bufferID) {
    const auto isBelow = [](const BufferRef& entry, unsigned int id) { return entry->bufferID < id; };
    return std::lower_bound(m_dataBufferArray.begin(), m_dataBufferArray.end(), bufferID, isBelow);
}

CMultiNetDataBufferMan::BufferRef CMultiNetDataBufferMan::Find(unsigned int bufferID) {
    const std::scoped_lock guard(m_bufferArrayLock);
    const auto place = Place(bufferID);
    return place != m_dataBufferArray.end() && (*place)->bufferID == bufferID ? *place : nullptr;
}

bool CMultiNetDataBufferMan::AddBuffer(unsigned int bufferID, int size, bool bLive) try {
    const std::scoped_lock guard(m_bufferArrayLock);
    const auto place = Place(bufferID);
    if (place != m_dataBufferArray.end() && (*place)->bufferID == bufferID) return true;
    const BufferRef entry = std::make_shared<NET_DATA_BUFFER_MAN>();
    entry->bufferID = bufferID;
    entry->pDataBuffer = std::make_unique<CNetDataBufferMan>();
    entry->pReleaseLock = std::make_unique<CPUB_Lock>();
    entry->dataEvent.CreateWaitEvent();
    entry->releaseEvent.CreateWaitEvent();
    if (!entry->pDataBuffer->Initial(size, bLive)) return false;
    m_dataBufferArray.insert(place, entry);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void CMultiNetDataBufferMan::RemoveBuffer(unsigned int bufferID) {
    const BufferRef entry = Find(bufferID);
    if (!entry) return;
    {
        const std::scoped_lock guard(*entry->pReleaseLock);
        entry->bRemoving = true;
    }
    entry->dataEvent.PulseEvent();
    while (entry->openRuns > 0) entry->releaseEvent.WaitForCond(RELEASE_WAIT, [&] { return entry->openRuns == 0; });
    entry->pDataBuffer->Quit();
    Erase(entry);
}

void CMultiNetDataBufferMan::Erase(const BufferRef& entry) {
    const std::scoped_lock guard(m_bufferArrayLock);
    const auto place = Place(entry->bufferID);
    if (place != m_dataBufferArray.end() && *place == entry) m_dataBufferArray.erase(place);
}

bool CMultiNetDataBufferMan::PushData(unsigned int bufferID, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    const BufferRef entry = Find(bufferID);
    if (!entry || entry->bRemoving) return true;
    const bool bStored = entry->pDataBuffer->PushData(frame, pData);
    if (bStored && entry->pDataBuffer->HasData()) entry->dataEvent.SetEvent();
    return entry->pDataBuffer->ProcessPushDataFailed(frame, bStored, pData);
}

bool CMultiNetDataBufferMan::GetDataBuffer(unsigned int bufferID, unsigned char*& pBuffer, int& len) {
    const BufferRef entry = Find(bufferID);
    if (!entry) return false;
    const std::scoped_lock guard(*entry->pReleaseLock);
    if (entry->bRemoving) return false;
    try {
        entry->toReleaseBufferList.push_back(nullptr);
    } catch (const std::bad_alloc&) {
        return false;
    }
    if (!entry->pDataBuffer->GetDataBuffer(pBuffer, len)) {
        entry->toReleaseBufferList.pop_back();
        return false;
    }
    entry->toReleaseBufferList.back() = pBuffer;
    ++entry->openRuns;
    return true;
}

void CMultiNetDataBufferMan::ReleaseDataBuffer(unsigned int bufferID, unsigned char* pBuffer, int len) {
    const BufferRef entry = Find(bufferID);
    if (!entry) return;
    {
        const std::scoped_lock guard(*entry->pReleaseLock);
        if (entry->toReleaseBufferList.empty() || entry->toReleaseBufferList.front() != pBuffer) return;
        entry->toReleaseBufferList.pop_front();
        entry->pDataBuffer->ReleaseDataBuffer(pBuffer, len);
        --entry->openRuns;
    }
    if (entry->bRemoving) entry->releaseEvent.PulseEvent();
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
