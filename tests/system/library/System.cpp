#include "System.h"

#include <cstdlib>

#include "protocol/ClassicProtocol.h"
#include "simulator/SimBytes.h"

namespace {

constexpr auto WAIT = std::chrono::seconds(20);

/// The public form of what the wire calls the frame, as the interface's tables have it.
DWORD PublicType(tuint32 wireType) {
    static const std::map<tuint32, DWORD> types{{1, 1}, {2, 2}, {3, 5}, {4, 6}};
    const auto found = types.find(wireType);
    return found == types.end() ? 0 : found->second;
}

DWORD PublicStream(tuint32 wireAttrib) { return (wireAttrib & 0x20 ? 0x40 : 0) | (wireAttrib & 0x40 ? 0x80 : 0); }

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
    RECEIVED_FRAME frame{info, {}, {}};
    const size_t length = info.length;
    const auto* pBytes = reinterpret_cast<const std::byte*>(pData);
    const size_t sure = length >= 3 ? length - 3 : 0;
    frame.digests[0] = DigestBytes({pBytes, sure});
    for (size_t more = 1; more <= 3 && length >= 3; ++more) {
        frame.digests[more] = DigestBytes({pBytes + sure + more - 1, 1}, frame.digests[more - 1]);
        frame.padding[3 - more] = pData[sure + more - 1];
    }
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

bool IsSame(const RECEIVED_FRAME& frame, const CLASSIC_SENT_FRAME& sent) {
    const DWORD padded = (sent.length + 3) / 4 * 4;
    if (frame.info.length != padded || frame.digests[3 - (padded - sent.length)] != sent.digest) return false;
    for (DWORD at = 0; at < padded - sent.length; ++at)
        if (frame.padding[at] != 0) return false;
    return (frame.info.keyFrame != 0) == sent.bKeyFrame;
}

void CSentFrames::Take(CClassicRecorder& recorder) {
    for (const CLASSIC_SENT_FRAME& frame : recorder.TakeSentFrames()) {
        m_sent[{frame.channel, PublicType(frame.frameType), PublicStream(frame.frameAttrib), frame.frameIndex}] = frame;
    }
}

const CLASSIC_SENT_FRAME* CSentFrames::Find(const RECEIVED_FRAME& frame) const {
    const DWORD stream = frame.info.frameAttrib & (DD_LIVE_FRAME_FIRST_STREAM | DD_LIVE_FRAME_SECOND_STREAM);
    const auto found = m_sent.find({frame.info.channel, frame.info.frameType, stream, frame.info.frameIndex});
    return found == m_sent.end() ? nullptr : &found->second;
}
