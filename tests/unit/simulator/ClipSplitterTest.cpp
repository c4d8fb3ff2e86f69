// Cutting of streams, written by hand, into frames.
#include "simulator/ClipSplitter.h"

#include "simulator/SimClip.h"
#include "support/Test.h"

namespace {

struct SPLIT_CASE {
    const char* pName;
    SIM_CODEC codec;
    std::vector<int> stream;
    std::vector<size_t> lengths;  // of the frames
};

const SPLIT_CASE SPLIT_CASES[] = {
    {"empty", SIM_CODEC::H264, {}, {}},
    {"no start code", SIM_CODEC::H264, {1, 2, 3}, {}},
    {"start code at the end", SIM_CODEC::H264, {0, 0, 1}, {}},
    {"key, then not", SIM_CODEC::H264, {0, 0, 1, 0x65, 0x80, 0, 0, 1, 0x41, 0x80}, {5, 5}},
    {"long start codes", SIM_CODEC::H264, {0, 0, 0, 1, 0x65, 0x80, 0, 0, 0, 1, 0x41, 0x80}, {6, 6}},
    {"second slice", SIM_CODEC::H264, {0, 0, 1, 0x65, 0x80, 0, 0, 1, 0x65, 0x40}, {10}},
    SPLIT_CASE{"delimiter opens", SIM_CODEC::H264, {0, 0, 1, 0x65, 0x80, 0, 0, 1, 0x09, 0, 0, 1, 0x41, 0x80}, {5, 9}},
    {"parameter sets ahead", SIM_CODEC::H264, {0, 0, 1, 0x67, 0, 0, 1, 0x68, 0, 0, 1, 0x65, 0x80}, {13}},
    {"late first key", SIM_CODEC::H264, {0, 0, 1, 0x41, 0x80, 0, 0, 1, 0x65, 0x80}, {5}},
    {"never a key", SIM_CODEC::H264, {0, 0, 1, 0x41, 0x80, 0, 0, 1, 0x41, 0x80}, {}},
    {"H.265 slices",
     SIM_CODEC::H265,
     {0, 0, 1, 0x26, 1, 0x80, 0, 0, 1, 0x26, 1, 0x40, 0, 0, 1, 0x02, 1, 0x80},
     {12, 6}},
    {"picture in a thumbnail",
     SIM_CODEC::MJPEG,
     {0xFF, 0xD8, 0xFF, 0xE1, 0, 4, 0xFF, 0xD9, 0xFF, 0xDA, 0, 2, 7, 0xFF, 0xD9, 0xFF, 0xD8, 0xFF, 0xDA},
     {15}},
    {"segment beyond the end", SIM_CODEC::MJPEG, {0xFF, 0xD8, 0xFF, 0xE1, 0xFF, 0xFF, 0xFF, 0xD9}, {}},
    {"half a unit", SIM_CODEC::ALAW, std::vector<int>(500, 0xD5), {320}}};

TEST(SplitClip, CutsWhereAFrameBegins) {
    for (const SPLIT_CASE& row : SPLIT_CASES) {
        SIM_BYTES stream;
        for (const int byte : row.stream) stream.push_back(static_cast<std::byte>(byte));
        std::vector<size_t> lengths;
        for (const SIM_FRAME& frame : SplitClip(row.codec, stream)) lengths.push_back(frame.data.size());
        EXPECT_EQ(lengths, row.lengths) << row.pName;
    }
}

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

}  // namespace
