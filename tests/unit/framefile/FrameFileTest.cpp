#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "main_utility/media/framefile/FrameFileReader.h"
#include "main_utility/media/framefile/FrameFileWriter.h"
#include "support/Test.h"
#ifdef HLX_SYSTEM_FAULTS
#include "support/FaultPlan.h"
#endif

namespace {

SDK_FRAME_INFO Head(size_t length, WORD frameType = DD_FRAME_TYPE_VIDEO) {
    return {static_cast<unsigned int>(length), frameType, 1, 704, 576, 1'700'000'000'123'456};
}

std::string Bytes(const SDK_FRAME_INFO& head) { return {reinterpret_cast<const char*>(&head), sizeof(head)}; }

/// Sizes of all frames in the file, and how it ends.
struct CONTENT {
    std::vector<size_t> sizes;
    FILE_STEP end;
};
CONTENT Read(const std::string& name) {
    CFrameFileReader reader;
    CONTENT content{{}, FILE_STEP::FAILED};
    if (!reader.Open(name.c_str())) return content;
    for (FILE_FRAME frame; (content.end = reader.Next(frame)) == FILE_STEP::FRAME;) {
        content.sizes.push_back(frame.data.size());
        EXPECT_EQ(+frame.head.nStamp, 1'700'000'000'123'456);
        for (const std::byte byte : frame.data) EXPECT_EQ(byte, std::byte(frame.data.size()));
    }
    EXPECT_EQ(reader.Next(*std::make_unique<FILE_FRAME>()), content.end) << "the end is no end";
    return content;
}

bool Write(CFrameFileWriter& writer, size_t length) {
    return writer.Write(Head(length), std::string(length, static_cast<char>(length)).data());
}

TEST(FrameFile, GivesBackWhatWasWritten) {
    const CTempDir folder;
    const std::vector<size_t> sizes = {0, 1, 131051, 131052, 131053, 262144, 700000, 5, 262123, 4};
    CFrameFileWriter writer;
    ASSERT_TRUE(writer.Open(folder.File("x").c_str()));
    for (const size_t size : sizes) EXPECT_TRUE(Write(writer, size));
    EXPECT_TRUE(writer.Close());
    EXPECT_EQ(std::filesystem::file_size(folder.File("x")), writer.Bytes());
    const CONTENT content = Read(folder.File("x"));
    EXPECT_EQ(content.sizes, sizes);
    EXPECT_EQ(content.end, FILE_STEP::WHOLE);
}

TEST(FrameFile, TellsHowABrokenFileEnds) {
    const std::string frame = Bytes(Head(4, DD_FRAME_TYPE_NONE)) + std::string(4, 4);
    const struct {
        std::string rest;
        FILE_STEP end;
    } rows[] = {{"", FILE_STEP::WHOLE},
                {frame.substr(0, 19), FILE_STEP::CUT},
                {frame.substr(0, 20), FILE_STEP::CUT},
                {frame.substr(0, 23), FILE_STEP::CUT},
                {Bytes(Head(CFrameFileReader::LONGEST_FRAME)), FILE_STEP::CUT},
                {Bytes(Head(CFrameFileReader::LONGEST_FRAME + 1)) + frame, FILE_STEP::NO_FRAMES},
                {Bytes(Head(0xFFFFFFFF)) + frame, FILE_STEP::NO_FRAMES},
                {std::string(24, 0), FILE_STEP::NO_FRAMES},
                {Bytes(Head(4, 11)) + frame, FILE_STEP::NO_FRAMES}};
    const CTempDir folder;
    for (const auto& row : rows) {
        std::ofstream(folder.File("x"), std::ios::trunc) << frame << frame << row.rest;
        const CONTENT content = Read(folder.File("x"));
        EXPECT_EQ(content.sizes.size(), 2u);
        EXPECT_EQ(content.end, row.end) << &row - rows;
    }
    EXPECT_EQ(Read(folder.Path().string()).end, FILE_STEP::FAILED);
    ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(CFrameFileWriter().Open(folder.File("pipe").c_str())) << "nobody reads it";
}

TEST(FrameFile, EndsBehindAWholeFrameWhenTheDiskIsFull) {
    for (const size_t size : {1000u, 200000u, 300000u}) {  // gathered, and not
        const CTempDir folder;
        CFrameFileWriter writer;
        ASSERT_TRUE(writer.Open(folder.File("x").c_str()));
        {
            const CFullDisk full(1000000);
            for (size_t written = 0; written < 2000000; written += size) Write(writer, size);
            EXPECT_FALSE(writer.Flush());
        }
        EXPECT_FALSE(Write(writer, 1)) << "goes on behind a gap";
        EXPECT_FALSE(writer.Close());
        EXPECT_EQ(writer.Error(), EFBIG);
        const CONTENT content = Read(folder.File("x"));
        EXPECT_EQ(content.sizes.size(), 1000000 / (size + 20));
        EXPECT_EQ(content.end, FILE_STEP::WHOLE);
    }
}

#ifdef HLX_SYSTEM_FAULTS
TEST(FrameFile, SaysWhenThereIsNoMemory) {
    const CTempDir folder;
    std::ofstream(folder.File("x")) << Bytes(Head(700000)) << std::string(700000, 'x');
    CFrameFileReader reader;
    FILE_FRAME frame;
    ASSERT_TRUE(reader.Open(folder.File("x").c_str()));
    const CFaultsInForce faults({SYSTEM_CALL::ALLOCATE, 1, true, {ENOMEM}});
    EXPECT_EQ(reader.Next(frame), FILE_STEP::FAILED);
}
#endif

}  // namespace
