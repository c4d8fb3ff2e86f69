#include "System.h"

#include <cstdlib>

#include "simulator/SimBytes.h"

namespace {

constexpr auto WAIT = std::chrono::seconds(20);

}  // namespace

CMovedTime& CFastTime::Clock() {
    static auto* s_pClock = new CMovedTime;  // outlives every thread
    return *s_pClock;
}

int Rounds(int few) {
    const char* pRounds = std::getenv("HLX_TEST_ROUNDS");
    return pRounds ? std::atoi(pRounds) : few;
}

void CSystemTest::SetUp() {
    CFastTime::Clock();
    ASSERT_TRUE(HLX_Init());
    HLX_Cleanup();  // what lives as long as the process is there from now on
    m_threads = ThreadCount();
    m_descriptors = OpenDescriptorCount();
    ASSERT_TRUE(HLX_Init());
}

void CSystemTest::TearDown() {
    EXPECT_TRUE(HLX_Cleanup());
    m_recorders.clear();
    EXPECT_TRUE(WaitUntil([&] { return ThreadCount() <= m_threads; }))
        << ThreadCount() << " threads, were " << m_threads;
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorCount() <= m_descriptors; }));
}

CLASSIC_RECORDER_CONFIG CSystemTest::Fast(unsigned channels, double speed) {
    CLASSIC_RECORDER_CONFIG config;
    config.channels = channels;
    config.speed = speed;
    config.sPassword = "secret";
    return config;
}

CClassicRecorder& CSystemTest::StartRecorder(CLASSIC_RECORDER_CONFIG config) {
    config.observer = m_events.Observer();
    m_recorders.push_back(std::make_unique<CClassicRecorder>(std::move(config)));
    std::string sError;
    EXPECT_TRUE(m_recorders.back()->Start(sError)) << sError;
    return *m_recorders.back();
}

LONG CSystemTest::Login(const char* sPassword, LPHLX_DEVICEINFO pInfo) {
    HLX_DEVICEINFO info{};
    return HLX_Login("127.0.0.1", m_recorders.back()->Port(), "admin", sPassword, pInfo ? pInfo : &info);
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
