// Downloads from a recorder with an archive, through the exported functions.
#include <cstring>
#include <fstream>

#include "main_utility/media/framefile/FrameFileReader.h"
#include "System.h"

namespace {

constexpr tint64 SECOND = 1000000;
constexpr int FINISHED = 100;
constexpr int NONE = 101;
constexpr int EARLY = 102;
constexpr int OFFLINE = 200;

DD_TIME Time(tint64 seconds) {
    DD_TIME time{};
    HLX_FormatTime(seconds * SECOND, &time);
    return time;
}

/// The DD_FRAME_TYPE_* of a recorded frame.
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

/// What a recorded frame brings: sound without the four bytes ahead of each block, all padded to a multiple of 4.
std::string DataOf(const ARCHIVE_FRAME& frame) {
    constexpr size_t PREFIX = 4;
    constexpr size_t BLOCK = 320;
    std::string data(reinterpret_cast<const char*>(frame.data.data()), frame.data.size());
    if (frame.frameType == FRAME_TYPE_AUDIO)
        for (size_t at = 0; at < data.size(); at += BLOCK) data.erase(at, PREFIX);
    return data.append((4 - data.size() % 4) % 4, 0);
}

class Downloads : public CSystemTest {
protected:
    void SetUp() override {
        CSystemTest::SetUp();
        CLASSIC_RECORDER_CONFIG config = Fast(4);
        config.recordings.days = 1;
        config.recordings.end = 1'700'000'000;
        m_pRecorder = &StartRecorder(config);
        m_lUserID = Login();
        ASSERT_GT(m_lUserID, 0);
        tint64 before = 0;
        for (const ARCHIVE_FILE& file : m_pRecorder->Archive().Files()) {
            if (file.channel == 0 && file.changeAt) m_change = file;
            if (file.channel == 0 && before && file.span.start > before + 1) m_gap = {before, file.span.start};
            if (file.channel == 0) before = file.span.stop;
            if (file.channel == 1) m_last = file;
        }
    }

    ARCHIVE_SEQUENCE Expected(tuint32 channel, tint64 start, tint64 stop, bool bFirst = true) const {
        return m_pRecorder->RecordedFrames({{channel}, bFirst, {start, stop}});
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

    CTempDir m_folder;
    CClassicRecorder* m_pRecorder = nullptr;
    LONG m_lUserID = 0;
    ARCHIVE_FILE m_change;  // of channel 0, in the middle of which the picture's size changes
    ARCHIVE_FILE m_last;    // of channel 1
    ARCHIVE_SPAN m_gap;     // between recordings of channel 0
    std::string m_records;
    std::vector<int> m_ends;
};

TEST_F(Downloads, BringWhatTheArchiveHas) {
    const struct {
        const char* pWhat;
        LONG lChannel;
        tint64 start, stop;
        bool bFirst;
        int position;
    } rows[] = {{"H.264", 0, m_change.changeAt - 60, m_change.changeAt - 50, true, FINISHED},
                {"H.265", 1, m_last.span.start + 3, m_last.span.start + 20, true, FINISHED},
                {"sub stream", 0, m_change.changeAt - 60, m_change.changeAt - 50, false, FINISHED},
                {"gap", 0, m_gap.start - 5, m_gap.stop + 5, true, FINISHED},
                {"size change", 0, m_change.changeAt - 10, m_change.changeAt + 10, true, FINISHED},
                {"past the end", 1, m_last.span.stop - 10, m_last.span.stop + 600, true, EARLY}};
    for (const auto& row : rows) {
        const ARCHIVE_SEQUENCE expected = Expected(static_cast<tuint32>(row.lChannel), row.start, row.stop, row.bFirst);
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

TEST_F(Downloads, TellWhatBreaksThem) {
    const tint64 start = m_last.span.start;
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

    const ARCHIVE_SEQUENCE expected = Expected(1, start, start + 60);
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
    const tint64 start = m_change.span.start;
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

TEST_F(Downloads, WriteAnAviThatBeginsAnewAtAnotherSize) {
    const POINTERHANDLE handle = Begin(0, m_change.changeAt - 3, m_change.changeAt + 3, true, true, 0, "x.avi");
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
    for (const ARCHIVE_FRAME& frame : Expected(0, m_change.changeAt - 3, m_change.changeAt + 3).frames)
        pictures += frame.frameType == DD_FRAME_TYPE_VIDEO && frame.width == 352;
    EXPECT_EQ(word(140), pictures) << "length of the video";
}

}  // namespace
