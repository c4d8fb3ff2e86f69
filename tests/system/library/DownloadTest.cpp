// Downloads from a recorder with an archive, through the exported functions.
#include <cstring>
#include <fstream>
#include <thread>

#include "main_utility/media/framefile/FrameFileReader.h"
#include "Recorded.h"
#include "support/HeardLog.h"
#include "support/PaddedClip.h"

namespace {

constexpr int FINISHED = 100;
constexpr int NONE = 101;
constexpr int EARLY = 102;
constexpr int OFFLINE = 200;

class Downloads : public CRecordedTest {
protected:
    void SetUp() override {
        CSystemTest::SetUp();
        Open();
    }
    POINTERHANDLE Begin(LONG lChannel, tint64 start, tint64 stop, bool bCallBack, bool bFirst = true, int format = 1,
                        const char* pName = "x") {
        const DD_TIME startTime = Time(start);
        const DD_TIME stopTime = Time(stop);
        return HLX_GetFileByTimeExV2(m_lUserID, lChannel, &startTime, &stopTime, m_folder.File(pName).c_str(), format,
                                     bFirst, bCallBack, bCallBack ? OnData : nullptr, this);
    }
    static void OnData(POINTERHANDLE, UINT dataType, BYTE* pBuffer, UINT length, void* pUser) {
        auto& test = *static_cast<Downloads*>(pUser);
        if (dataType == NET_DVR_BACKUP_DATA_TYPE_NULL) return test.m_ends.push_back(*pBuffer);
        test.m_records.append(reinterpret_cast<const char*>(pBuffer), length);
        ++test.m_count;
        std::this_thread::sleep_for(std::chrono::milliseconds(test.m_pause));
    }
    /// The position that is not the way to 100.
    static int Await(POINTERHANDLE handle) {
        int position = 0;
        WaitUntil([&] { return (position = HLX_GetDownloadPos(handle)) >= FINISHED; });
        return position;
    }
    /// Compares the downloaded records with what the archive has.
    void Compare(const std::string& name, const ARCHIVE_SEQUENCE& expected, size_t count) const {
        CFrameFileReader reader;
        ASSERT_TRUE(reader.Open(name.c_str()));
        FILE_FRAME got;
        for (size_t i = 0; i < count; ++i) {
            const ARCHIVE_FRAME& want = expected.frames[i];
            ASSERT_EQ(reader.Next(got), FILE_STEP::FRAME) << i;
            ASSERT_EQ(got.head.frameType, TypeOf(want)) << i;
            ASSERT_EQ(got.head.keyFrame != 0, want.bKeyFrame) << i;
            ASSERT_EQ(got.head.nWidth, want.width) << i;
            ASSERT_EQ(got.head.nHeight, want.height) << i;
            ASSERT_EQ(+got.head.nStamp, want.time) << i;
            ASSERT_TRUE(DataOf(want) == std::string(reinterpret_cast<const char*>(got.data.data()), got.data.size()))
                << i;
        }
        EXPECT_EQ(reader.Next(got), FILE_STEP::WHOLE);
    }

    std::string m_records;
    std::atomic<size_t> m_count{0};
    std::vector<int> m_ends;
    int m_pause = 0;  // milliseconds
};

TEST_F(Downloads, BringWhatTheArchiveHas) {
    const struct {
        const char* pWhat;
        LONG lChannel;
        tint64 start, stop;
        bool bFirst;
        int position;
    } rows[] = {{"H.264", 0, m_places->change.changeAt - 60, m_places->change.changeAt - 50, true, FINISHED},
                {"H.265", 1, m_places->last.span.start + 3, m_places->last.span.start + 20, true, FINISHED},
                {"sub stream", 0, m_places->change.changeAt - 60, m_places->change.changeAt - 50, false, FINISHED},
                {"gap", 0, m_places->gap.start - 5, m_places->gap.stop + 5, true, FINISHED},
                {"size change", 0, m_places->change.changeAt - 10, m_places->change.changeAt + 10, true, FINISHED},
                {"past the end", 1, m_places->last.span.stop - 10, m_places->last.span.stop + 600, true, EARLY}};
    for (const auto& row : rows) {
        const ARCHIVE_SEQUENCE expected =
            Expected({static_cast<tuint32>(row.lChannel)}, row.start, row.stop, row.bFirst);
        for (const bool bCallBack : {false, true}) {
            SCOPED_TRACE(std::string(row.pWhat) + (bCallBack ? " by callback" : " to a file"));
            m_records.clear();
            m_ends.clear();
            const POINTERHANDLE handle = Begin(row.lChannel, row.start, row.stop, bCallBack, row.bFirst);
            ASSERT_GT(handle, 0) << HLX_GetLastError();
            EXPECT_EQ(Begin(0, row.start, row.stop, false, true, 1, "other"), -1);
            EXPECT_EQ(Await(handle), row.position);
            EXPECT_EQ(HLX_GetDownloadPos(handle), row.position) << "the end does not stay";
            EXPECT_TRUE(HLX_StopGetFile(handle));
            EXPECT_EQ(HLX_GetDownloadPos(handle), NONE);
            if (bCallBack) {
                EXPECT_EQ(m_ends, (std::vector<int>{NET_DVR_BACKUP_END, NET_DVR_BACKUP_STOP}));
                std::ofstream(m_folder.File("x")) << m_records;
            }
            Compare(m_folder.File("x"), expected, expected.frames.size());
        }
    }
}

/// Frames of which few fit the ring, and a callback that takes longer than the engine waits for room.
TEST_F(Downloads, LoseNoFrameHoweverLarge) {
    for (const size_t size : {75'000, 1'100'000}) {
        SCOPED_TRACE(size);
        CTempDir media;
        CLASSIC_RECORDER_CONFIG config = Fast(4);
        config.recordings.firstClips = {MakePaddedClip(media.Path(), size, 25)};
        Open(config);
        const tint64 start = m_places->last.span.start;
        const ARCHIVE_SEQUENCE expected = Expected({1}, start, start + 1);
        m_records.clear();
        m_pause = 12;
        const POINTERHANDLE handle = Begin(1, start, start + 1, true);
        ASSERT_GT(handle, 0) << HLX_GetLastError();
        EXPECT_EQ(Await(handle), FINISHED);
        EXPECT_TRUE(HLX_StopGetFile(handle));
        std::ofstream(m_folder.File("x")) << m_records;
        Compare(m_folder.File("x"), expected, expected.frames.size());
    }
}

TEST_F(Downloads, TellWhatBreaksThem) {
    const tint64 start = m_places->last.span.start;
    const struct {
        SIM_FAULT fault;
        LONG lChannel;
        tint64 stop;
        DWORD error;
    } refused[] = {{{SIM_FAULT_KIND::REFUSE_DATA, SIM_PHASE::DOWNLOAD, 0}, 1, start + 60, HLX_FILE_NOFIND},
                   {{SIM_FAULT_KIND::REFUSE_DATA, SIM_PHASE::DOWNLOAD, 1}, 1, start + 60, HLX_DVR_NORESOURCE},
                   {{SIM_FAULT_KIND::REFUSE_DATA, SIM_PHASE::DOWNLOAD, 2}, 1, start + 60, HLX_DVR_OPRATE_FAILED},
                   {{SIM_FAULT_KIND::NO_REPLY, SIM_PHASE::DOWNLOAD, 0}, 1, start + 60, HLX_NETWORK_RECV_TIMEOUT},
                   {{SIM_FAULT_KIND::SHORT_REPLY, SIM_PHASE::DOWNLOAD, 8}, 1, start + 60, HLX_NETWORK_ERRORDATA},
                   {{SIM_FAULT_KIND::DATA_STOP, SIM_PHASE::DOWNLOAD, 1}, 4, start + 60, HLX_CHANNEL_ERROR},
                   {{SIM_FAULT_KIND::DATA_STOP, SIM_PHASE::DOWNLOAD, 1}, -1, start + 60, HLX_CHANNEL_ERROR},
                   {{SIM_FAULT_KIND::DATA_STOP, SIM_PHASE::DOWNLOAD, 1}, 1, start - 1, HLX_PARAMETER_ERROR}};
    for (const auto& row : refused) {
        SCOPED_TRACE(FaultName(row.fault.kind) + std::to_string(row.fault.value));
        m_pRecorder->SetFaults({row.fault});
        const CFastTime fast(200);
        EXPECT_EQ(Begin(row.lChannel, start, row.stop, false), -1);
        EXPECT_EQ(HLX_GetLastError(), row.error);
    }
    m_pRecorder->SetFaults({});
    EXPECT_EQ(Begin(1, start, start + 60, false, true, 1, "no/folder"), -1);
    EXPECT_EQ(HLX_GetLastError(), HLX_CREATEFILE_ERROR);

    const ARCHIVE_SEQUENCE expected = Expected({1}, start, start + 60);
    m_pRecorder->SetFaults({{SIM_FAULT_KIND::DATA_CLOSE, SIM_PHASE::DOWNLOAD, 100, 1}});
    const POINTERHANDLE handle = Begin(1, start, start + 60, false);
    ASSERT_GT(handle, 0);
    EXPECT_EQ(Await(handle), OFFLINE);
    EXPECT_EQ(HLX_GetLastError(), HLX_NETWORK_FAIL_CONNECT);
    CFrameFileReader reader;
    ASSERT_TRUE(reader.Open(m_folder.File("x").c_str()));
    size_t count = 0;
    FILE_STEP step;
    for (FILE_FRAME frame; (step = reader.Next(frame)) == FILE_STEP::FRAME;) ++count;
    EXPECT_EQ(step, FILE_STEP::WHOLE);
    EXPECT_LE(count, 100u);
    EXPECT_GT(count, 80u);
    Compare(m_folder.File("x"), expected, count);
}

TEST_F(Downloads, EndWhileFramesPour) {
    const tint64 start = m_places->change.span.start;
    for (int way = 0; way < 3; ++way) {
        m_ends.clear();
        const POINTERHANDLE handle = Begin(0, start, start + 3000, true);
        ASSERT_GT(handle, 0);
        ASSERT_TRUE(WaitUntil([&] { return HLX_GetDownloadPos(handle) >= 1; }));
        if (way == 0) HLX_StopGetFile(handle);
        if (way == 1) HLX_Logout(m_lUserID);
        if (way == 2) HLX_Cleanup();
        // Whoever goes on writes here, too, which the thread sanitizer sees.
        EXPECT_EQ(m_ends, std::vector<int>{NET_DVR_BACKUP_STOP});
        m_records.clear();
        EXPECT_NE(HLX_GetDownloadPos(handle), FINISHED);
        if (way == 1) m_lUserID = Login();
    }
}

/// The last picture lies behind the stop and no end comes, so the position waits for 5 s.
TEST_F(Downloads, LogoutAndCleanupEndTheWaitForTheLastFrames) {
    const tint64 start = m_places->change.changeAt - 60, stop = start + 60;
    const ARCHIVE_SEQUENCE expected = Expected({0}, start, stop);
    const auto isBehind = [&](size_t frame) {  // as the position has it: in 32 bits
        const auto seconds = static_cast<tint64>(ArchiveChance(frame, DOWNLOAD_STREAM_ID)) / 1000000;
        const auto way = static_cast<std::int32_t>((static_cast<std::int32_t>(seconds) - start) * 100);
        return expected.frames[frame].frameType == FRAME_TYPE_VIDEO && way / (stop - start) > FINISHED * 2;
    };
    size_t last = 20;
    while (!isBehind(last)) ++last;
    const auto count = static_cast<tint64>(last) + 1;
    for (const bool bLogout : {true, false}) {
        m_pRecorder->SetFaults({{SIM_FAULT_KIND::WILD_TIMES, SIM_PHASE::DOWNLOAD, count, 1},
                                {SIM_FAULT_KIND::DATA_STOP, SIM_PHASE::DOWNLOAD, count, 1}});
        m_count = 0;
        m_ends.clear();
        const POINTERHANDLE handle = Begin(0, start, stop, true);
        ASSERT_GT(handle, 0);
        ASSERT_TRUE(WaitUntil([&] { return m_count > last; }));
        std::atomic<int> position{-1};
        std::thread poller([&] { position = HLX_GetDownloadPos(handle); });
        EXPECT_FALSE(WaitUntil([&] { return position != -1; }, std::chrono::milliseconds(50)));
        const auto before = std::chrono::steady_clock::now();
        EXPECT_TRUE(bLogout ? HLX_Logout(m_lUserID) : HLX_Cleanup());
        poller.join();
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(3));
        EXPECT_EQ(position, FINISHED);
        EXPECT_EQ(m_ends, std::vector<int>{NET_DVR_BACKUP_STOP});
        if (bLogout) m_lUserID = Login();
    }
}

TEST_F(Downloads, GoOnWithoutTheirFileOnAFullDisk) {
    const tint64 start = m_places->change.changeAt - 60, stop = start + 20;
    const ARCHIVE_SEQUENCE expected = Expected({0}, start, stop);
    const std::string file = m_folder.File("x");
    constexpr size_t ROOM = 300000;
    for (const bool bAvi : {false, true}) {
        CHeardLog log;
        {
            const CFullDisk full(ROOM);
            const POINTERHANDLE handle = Begin(0, start, stop, false, true, !bAvi);
            ASSERT_GT(handle, 0);
            EXPECT_EQ(Await(handle), FINISHED);
            EXPECT_TRUE(HLX_StopGetFile(handle));
        }
        EXPECT_EQ(log.Count(bAvi ? "writing failed or the file is full" : "cannot be written"), 1u) << log.Text();
        const size_t size = ReadBytes(file).size();
        EXPECT_TRUE(size > ROOM / 2 && size <= ROOM) << size;
        if (bAvi) continue;
        CFrameFileReader reader;
        ASSERT_TRUE(reader.Open(file.c_str()));
        size_t count = 0;
        FILE_STEP step;
        for (FILE_FRAME frame; (step = reader.Next(frame)) == FILE_STEP::FRAME;) ++count;
        EXPECT_EQ(step, FILE_STEP::WHOLE) << "no half frame";
        Compare(file, expected, count);
    }
    const POINTERHANDLE handle = Begin(0, start, stop, false);
    EXPECT_EQ(Await(handle), FINISHED);
    EXPECT_TRUE(HLX_StopGetFile(handle));
    Compare(file, expected, expected.frames.size());
}

TEST_F(Downloads, WriteAnAviThatBeginsAnewAtAnotherSize) {
    const POINTERHANDLE handle =
        Begin(0, m_places->change.changeAt - 3, m_places->change.changeAt + 3, true, true, 0, "x.avi");
    ASSERT_GT(handle, 0);
    EXPECT_EQ(Await(handle), FINISHED);
    EXPECT_TRUE(HLX_StopGetFile(handle));
    const std::string file = ReadBytes(m_folder.File("x.avi"));
    ASSERT_GT(file.size(), 2048u);
    const auto word = [&](size_t offset) {
        unsigned value = 0;
        std::memcpy(&value, &file[offset], sizeof(value));
        return value;
    };
    EXPECT_EQ(word(176), 352u);
    EXPECT_EQ(word(2020), 0u) << "not completed";
    unsigned pictures = 0;
    for (const ARCHIVE_FRAME& frame :
         Expected({0}, m_places->change.changeAt - 3, m_places->change.changeAt + 3).frames)
        pictures += frame.frameType == DD_FRAME_TYPE_VIDEO && frame.width == 352;
    EXPECT_EQ(word(140), pictures) << "length of the video";
}

}  // namespace
