// What a simulated archive holds, and the frames of its files.

#include "simulator/archive/ArchiveCalendar.h"
#include "simulator/archive/ArchiveStream.h"
#include "support/Test.h"

namespace {

constexpr std::int64_t END = 1795255200;  // 2026-11-21 10:00 UTC
constexpr std::int64_t SECOND = 1000000;

/// In a time zone of its own.
class Archive : public testing::Test {
protected:
    Archive() { setenv("TZ", "UTC", 1); }
    ~Archive() override { unsetenv("TZ"); }
};

std::shared_ptr<const CSimClip> Clip(const char* pName) {
    std::string sError;
    auto pClip = CSimClip::Load(std::string(HLX_SIM_SOURCE_MEDIA "/") + pName, sError);
    EXPECT_TRUE(pClip) << sError;
    return pClip;
}

ARCHIVE_CONFIG Config(unsigned days, std::uint64_t seed = 1) {
    ARCHIVE_CONFIG config;
    config.days = days;
    config.seed = seed;
    config.end = END;
    return config;
}

CArchiveMedia Media() {
    return CArchiveMedia({{Clip("main-704x576-25.h264")},
                          {Clip("sub-352x288-25.h265")},
                          Clip("sub-352x288-25.h264"),
                          Clip("speech-8000.alaw"),
                          1});
}

TEST_F(Archive, IsMadeFromItsSeed) {
    const CSimArchive one(Config(3), 2), same(Config(3), 2), other(Config(3, 2), 2);
    EXPECT_EQ(one.Files(), same.Files());
    EXPECT_NE(one.Files(), other.Files());
    const ARCHIVE_SPAN always = {0, INT64_MAX};
    EXPECT_EQ(one.FindLogs(always, 0xFFFFFFFF), same.FindLogs(always, 0xFFFFFFFF));
    EXPECT_EQ(one.FindEvents(always, 15, 3), same.FindEvents(always, 15, 3));
    EXPECT_EQ(one.FindLogs(always, 0xFFFFFFFF).size(), 20000u);
}

TEST_F(Archive, FramesFollowFromFileAndClip) {
    const CSimArchive archive(Config(1), 1);
    const CArchiveMedia media = Media();
    const auto& files = archive.Files();
    const auto file = std::ranges::find_if(files, [](const ARCHIVE_FILE& entry) { return entry.changeAt != 0; });
    ASSERT_NE(file, files.end());
    const ARCHIVE_SPAN span = {file->changeAt - 4, file->changeAt + 2};
    const ARCHIVE_SEQUENCE sequence = ArchiveFrames(archive, media, {{0}, true, span});
    const auto pMain = Clip("main-704x576-25.h264"), pSmall = Clip("sub-352x288-25.h264");
    std::vector<std::pair<tuint32, std::int64_t>> formats;
    std::int64_t last = 0;
    for (const ARCHIVE_FRAME& frame : sequence.frames) {
        const bool bFormat = frame.frameType == FRAME_TYPE_VIDEO_FORMAT || frame.frameType == FRAME_TYPE_AUDIO_FORMAT;
        if (bFormat) formats.emplace_back(frame.frameType, frame.time);
        EXPECT_TRUE(bFormat || frame.time > std::exchange(last, frame.time));
        if (frame.frameType != FRAME_TYPE_VIDEO) continue;
        const bool bChanged = frame.time >= file->changeAt * SECOND;
        const CSimClip& clip = bChanged ? *pSmall : *pMain;
        const auto number = (frame.time - (bChanged ? file->changeAt : file->span.start) * SECOND) / 40000;
        const SIM_FRAME& picture = clip.Frames()[static_cast<size_t>(number) % clip.Frames().size()];
        EXPECT_TRUE(std::ranges::equal(frame.data, picture.data)) << number;
        EXPECT_EQ(frame.bKeyFrame, picture.bKeyFrame);
        EXPECT_EQ(frame.width, clip.Width());
    }
    const std::vector<std::pair<tuint32, std::int64_t>> expected = {{FRAME_TYPE_VIDEO_FORMAT, span.start * SECOND},
                                                                    {FRAME_TYPE_AUDIO_FORMAT, span.start * SECOND},
                                                                    {FRAME_TYPE_VIDEO_FORMAT, file->changeAt * SECOND}};
    EXPECT_EQ(formats, expected);
    EXPECT_EQ(sequence.frames.size(), 3 + 6 * 25 * 2 + 1u);
    EXPECT_EQ(sequence.frames.back().frameType, FRAME_TYPE_END);
    EXPECT_EQ(sequence.frames.back().time, span.stop * SECOND);
}

}  // namespace
