#include "tests/soak/Receiver.h"

#include "simulator/SimBytes.h"

namespace {

constexpr auto WAIT = std::chrono::seconds(20);

}  // namespace

CMovedTime& CFastTime::Clock() {
    static auto* s_pClock = new CMovedTime;  // outlives every thread
    return *s_pClock;
}

POINTERHANDLE CReceiver::Play(LONG lUserID, LONG lChannel, LONG lStreamType) {
    HLX_CLIENTINFO info{};
    info.lChannel = lChannel;
    info.streamType = lStreamType;
    const POINTERHANDLE lLiveHandle = HLX_LivePlay(lUserID, &info, OnFrame, this);
    if (lLiveHandle > 0) m_handles.push_back(lLiveHandle);
    return lLiveHandle;
}

CReceiver::~CReceiver() {
    for (const POINTERHANDLE handle : m_handles) HLX_StopLivePlay(handle);
}

void CReceiver::OnFrame(POINTERHANDLE lLiveHandle, HLX_FRAME_INFO info, BYTE* pData, void* pUser) {
    auto& self = *static_cast<CReceiver*>(pUser);
    if (self.m_inCallback) self.m_inCallback(lLiveHandle, info);
    if (self.m_pLedger) self.m_pLedger->Received(0, info, pData);
    const RECEIVED_FRAME frame{info, DigestBytes({reinterpret_cast<const std::byte*>(pData), info.length})};
    std::lock_guard guard(self.m_lock);
    self.m_frames.push_back(frame);
    ++self.m_counts[info.frameType];
    self.m_came.notify_all();
}

bool CReceiver::WaitForFrames(size_t count, DWORD frameType) const {
    std::unique_lock guard(m_lock);
    return m_came.wait_for(guard, WAIT, [&] {
        const auto found = m_counts.find(frameType);
        return found != m_counts.end() && found->second >= count;
    });
}

size_t CReceiver::Count(DWORD frameType) const {
    std::lock_guard guard(m_lock);
    const auto found = m_counts.find(frameType);
    return found == m_counts.end() ? 0 : found->second;
}

std::vector<RECEIVED_FRAME> CReceiver::Frames() const {
    std::lock_guard guard(m_lock);
    return m_frames;
}
