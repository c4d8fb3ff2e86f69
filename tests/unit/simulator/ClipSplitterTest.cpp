// Cutting of streams into frames: the shipped clips against what ffprobe counts in them, and streams written by hand.
#include "simulator/ClipSplitter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <numeric>

#include "simulator/SimClip.h"
#include "support/TestSupport.h"

namespace {

struct CLIP_FACTS {
    const char* pFile;
    SIM_CODEC codec;
    std::uint32_t width, height;
    size_t frames, keyFrames, biggest;  // as ffprobe shows packets and their flags
};

class ClipFacts : public testing::TestWithParam<CLIP_FACTS> {};

TEST_P(ClipFacts, MatchWhatOthersCount) {
    const CLIP_FACTS& facts = GetParam();
    const auto file = std::filesystem::path(HLX_SIM_SOURCE_MEDIA) / facts.pFile;
    std::string sError;
    const auto pClip = CSimClip::Load(file, sError);
    ASSERT_TRUE(pClip) << sError;
    EXPECT_EQ(pClip->Codec(), facts.codec);
    EXPECT_EQ(pClip->Width(), facts.width);
    EXPECT_EQ(pClip->Height(), facts.height);
    EXPECT_EQ(pClip->FrameTime(), 40000);

    const auto& frames = pClip->Frames();
    EXPECT_EQ(frames.size(), facts.frames);
    EXPECT_EQ(std::count_if(frames.begin(), frames.end(), [](auto& frame) { return frame.bKeyFrame; }),
              static_cast<std::ptrdiff_t>(facts.keyFrames));
    size_t total = 0, biggest = 0;
    for (const SIM_FRAME& frame : frames) {
        total += frame.data.size();
        biggest = std::max(biggest, frame.data.size());
    }
    EXPECT_EQ(biggest, facts.biggest);
    EXPECT_EQ(total, std::filesystem::file_size(file));
}

INSTANTIATE_TEST_SUITE_P(Shipped, ClipFacts,
                         testing::Values(CLIP_FACTS{"main-704x576-25.h264", SIM_CODEC::H264, 704, 576, 200, 8, 16686},
                                         CLIP_FACTS{"sub-352x288-25.h264", SIM_CODEC::H264, 352, 288, 200, 8, 6936},
                                         CLIP_FACTS{"sub-352x288-25.h265", SIM_CODEC::H265, 352, 288, 200, 8, 6110},
                                         CLIP_FACTS{"sub-352x288-25.mjpeg", SIM_CODEC::MJPEG, 352, 288, 200, 200, 6293},
                                         CLIP_FACTS{"speech-8000.alaw", SIM_CODEC::ALAW, 0, 0, 298, 298, 320}));

struct SPLIT_CASE {
    const char* pName;
    SIM_CODEC codec;
    std::vector<int> stream;
    std::vector<size_t> lengths;  // of the frames
};

class SplitClipCase : public testing::TestWithParam<SPLIT_CASE> {};

TEST_P(SplitClipCase, CutsAt) {
    SIM_BYTES stream;
    for (const int byte : GetParam().stream) stream.push_back(static_cast<std::byte>(byte));
    std::vector<size_t> lengths;
    for (const SIM_FRAME& frame : SplitClip(GetParam().codec, stream)) lengths.push_back(frame.data.size());
    EXPECT_EQ(lengths, GetParam().lengths) << GetParam().pName;
}

INSTANTIATE_TEST_SUITE_P(
    ByHand, SplitClipCase,
    testing::Values(
        SPLIT_CASE{"empty", SIM_CODEC::H264, {}, {}}, SPLIT_CASE{"no start code", SIM_CODEC::H264, {1, 2, 3}, {}},
        SPLIT_CASE{"start code at the end", SIM_CODEC::H264, {0, 0, 1}, {}},
        SPLIT_CASE{"key, then not", SIM_CODEC::H264, {0, 0, 1, 0x65, 0x80, 0, 0, 1, 0x41, 0x80}, {5, 5}},
        SPLIT_CASE{"long start codes", SIM_CODEC::H264, {0, 0, 0, 1, 0x65, 0x80, 0, 0, 0, 1, 0x41, 0x80}, {6, 6}},
        SPLIT_CASE{"second slice", SIM_CODEC::H264, {0, 0, 1, 0x65, 0x80, 0, 0, 1, 0x65, 0x40}, {10}},
        SPLIT_CASE{
            "delimiter opens", SIM_CODEC::H264, {0, 0, 1, 0x65, 0x80, 0, 0, 1, 0x09, 0, 0, 1, 0x41, 0x80}, {5, 9}},
        SPLIT_CASE{"parameter sets ahead", SIM_CODEC::H264, {0, 0, 1, 0x67, 0, 0, 1, 0x68, 0, 0, 1, 0x65, 0x80}, {13}},
        SPLIT_CASE{"late first key", SIM_CODEC::H264, {0, 0, 1, 0x41, 0x80, 0, 0, 1, 0x65, 0x80}, {5}},
        SPLIT_CASE{"never a key", SIM_CODEC::H264, {0, 0, 1, 0x41, 0x80, 0, 0, 1, 0x41, 0x80}, {}},
        SPLIT_CASE{"H.265 slices",
                   SIM_CODEC::H265,
                   {0, 0, 1, 0x26, 1, 0x80, 0, 0, 1, 0x26, 1, 0x40, 0, 0, 1, 0x02, 1, 0x80},
                   {12, 6}},
        SPLIT_CASE{"picture in a thumbnail",
                   SIM_CODEC::MJPEG,
                   {0xFF, 0xD8, 0xFF, 0xE1, 0, 4, 0xFF, 0xD9, 0xFF, 0xDA, 0, 2, 7, 0xFF, 0xD9, 0xFF, 0xD8, 0xFF, 0xDA},
                   {15}},
        SPLIT_CASE{"segment beyond the end", SIM_CODEC::MJPEG, {0xFF, 0xD8, 0xFF, 0xE1, 0xFF, 0xFF, 0xFF, 0xD9}, {}},
        SPLIT_CASE{"half a unit", SIM_CODEC::ALAW, std::vector<int>(500, 0xD5), {320}}));

TEST(SimClip, RefusesWhatItCannotName) {
    const CTempDir folder;
    for (const char* pName :
         {"main.h264", "main-0x.h264", "-25.h264", "main-10x10-25x.h264", "main-10x10-0.h264", "main-10x10-25.avi"}) {
        std::ofstream(folder.File(pName)) << "x";
        std::string sError;
        EXPECT_FALSE(CSimClip::Load(folder.File(pName), sError)) << pName;
        EXPECT_NE(sError.find(pName), std::string::npos) << sError;
    }
}

TEST(SimClip, MediaFolderComesFromOptionThenEnvironment) {
    setenv("HLX_MEDIA", "/from/environment", 1);
    EXPECT_EQ(FindMediaFolder("/chosen"), "/chosen");
    EXPECT_EQ(FindMediaFolder(""), "/from/environment");
    unsetenv("HLX_MEDIA");
    EXPECT_TRUE(std::filesystem::exists(FindMediaFolder("") / "main-704x576-25.h264"));
}

}  // namespace
