#include "Recorded.h"

DD_TIME Time(std::int64_t seconds) {
    DD_TIME time{};
    HLX_FormatTime(seconds * 1000000, &time);
    return time;
}

DWORD TypeOf(const ARCHIVE_FRAME& frame) {
    switch (frame.frameType) {
        case FRAME_TYPE_VIDEO_FORMAT:
            return DD_FRAME_TYPE_VIDEO_FORMAT;
        case FRAME_TYPE_AUDIO_FORMAT:
            return DD_FRAME_TYPE_AUDIO_FORMAT;
        case FRAME_TYPE_END:
            return DD_FRAME_TYPE_END;
        default:
            return frame.frameType;
    }
}

std::string DataOf(const ARCHIVE_FRAME& frame) {
    constexpr size_t PREFIX = 4, BLOCK = 320;
    std::string data(reinterpret_cast<const char*>(frame.data.data()), frame.data.size());
    if (frame.frameType == FRAME_TYPE_AUDIO)
        for (size_t at = 0; at < data.size(); at += BLOCK) data.erase(at, PREFIX);
    return data.append((4 - data.size() % 4) % 4, 0);
}

ARCHIVE_PLACES::ARCHIVE_PLACES(const CSimArchive& archive) {
    std::int64_t before = 0;
    for (const ARCHIVE_FILE& file : archive.Files()) {
        if (file.channel == 0 && file.changeAt) change = file;
        if (file.channel == 0 && before && file.span.start > before + 1) gap = {before, file.span.start};
        if (file.channel == 0) before = file.span.stop;
        if (file.channel == 1) last = file;
    }
}

void CPlayed::Play(LONG lUserID, std::vector<LONG> channels, std::int64_t from, std::int64_t to, bool bFirst) {
    const DD_TIME start = Time(from), stop = Time(to);
    m_lHandle = HLX_PlayBackByTimeEx(lUserID, channels.data(), static_cast<LONG>(channels.size()), &start, &stop,
                                     nullptr, bFirst);
    ASSERT_GT(m_lHandle, 0) << HLX_GetLastError();
    HLX_SetPlayDataCallBack(m_lHandle, OnFrame, this);
}

BOOL CPlayed::Control(HLX_PLAYCTRL_TYPE code, std::int64_t value) const {
    return HLX_PlayBackControl(m_lHandle, code, static_cast<DWORD>(value), nullptr);
}

void CPlayed::OnFrame(POINTERHANDLE, HLX_FRAME_INFO info, BYTE* pData, void* pUser) {
    auto& played = *static_cast<CPlayed*>(pUser);
    if (played.m_inCallback) played.m_inCallback(info);
    const std::int64_t now = TimeSource().MonotonicMicroseconds();
    std::lock_guard guard(played.m_lock);
    played.m_frames.push_back({info, now, {reinterpret_cast<const char*>(pData), info.length}});
}

std::vector<PLAYED_FRAME> CPlayed::Frames() const {
    std::lock_guard guard(m_lock);
    return m_frames;
}

std::vector<PLAYED_FRAME> CPlayed::LastRun() const {
    std::vector<PLAYED_FRAME> frames = Frames();
    const auto first =
        std::find_if(frames.rbegin(), frames.rend(), [](const auto& frame) { return frame.info.frameIndex == 0; });
    if (first != frames.rend()) frames.erase(frames.begin(), first.base() - 1);
    return frames;
}

std::vector<PLAYED_FRAME> CPlayed::Pictures() const {
    std::vector<PLAYED_FRAME> frames = Frames();
    std::erase_if(frames, [](const PLAYED_FRAME& frame) {
        return frame.info.frameType != DD_FRAME_TYPE_VIDEO && frame.info.frameType != DD_FRAME_TYPE_END;
    });
    return frames;
}

size_t CPlayed::RunPictures() const {
    std::lock_guard guard(m_lock);
    size_t count = 0;
    for (size_t i = m_frames.size(); i-- > 0;) {
        count += m_frames[i].info.frameType == DD_FRAME_TYPE_VIDEO;
        if (m_frames[i].info.frameIndex == 0) break;
    }
    return count;
}

void CPlayed::Forget() {
    std::lock_guard guard(m_lock);
    m_frames.clear();
}

bool CPlayed::HasEnd() const {
    std::lock_guard guard(m_lock);
    return !m_frames.empty() && m_frames.back().info.frameType == DD_FRAME_TYPE_END;
}

bool CPlayed::Ended() const {
    return WaitUntil([&] { return HasEnd(); });
}

void ExpectRecorded(std::span<const PLAYED_FRAME> came, std::span<const ARCHIVE_FRAME> recorded) {
    ASSERT_EQ(came.size(), recorded.size());
    for (size_t i = 0; i < came.size(); ++i) {
        const HLX_FRAME_INFO& info = came[i].info;
        const ARCHIVE_FRAME& want = recorded[i];
        ASSERT_EQ(info.frameType, TypeOf(want)) << i;
        ASSERT_EQ(info.channel, want.channel) << i;
        ASSERT_EQ(info.keyFrame != 0, want.bKeyFrame) << i;
        ASSERT_EQ(info.width, want.width) << i;
        ASSERT_EQ(info.height, want.height) << i;
        ASSERT_EQ(info.time, want.time) << i;
        ASSERT_TRUE(came[i].data == DataOf(want)) << i;
    }
}

void CRecordedTest::Open(CLASSIC_RECORDER_CONFIG config) {
    config.recordings.days = 1;
    config.recordings.end = 1'700'000'000;
    m_pRecorder = &StartRecorder(std::move(config));
    m_places.emplace(m_pRecorder->Archive());
    m_lUserID = Login();
    ASSERT_GT(m_lUserID, 0);
}
