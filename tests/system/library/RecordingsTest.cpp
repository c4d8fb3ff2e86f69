// Long results of searches against a simulated recorder with recordings.

#include "System.h"

namespace {

template <class Record>
std::vector<Record> All(POINTERHANDLE lFind, LONG (*next)(POINTERHANDLE, Record*), BOOL (*close)(POINTERHANDLE)) {
    std::vector<Record> records;
    Record record;
    while (next(lFind, &record) == HLX_FILE_SUCCESS) records.push_back(record);
    EXPECT_TRUE(close(lFind));
    return records;
}

class Recordings : public CSystemTest {
protected:
    void Open(unsigned days, unsigned logCount) {
        CLASSIC_RECORDER_CONFIG config = Fast(16);
        config.recordings.days = days;
        config.recordings.fileLength = 600;
        config.recordings.logCount = logCount;
        m_pRecorder = &StartRecorder(config);
        m_id = Login();
        ASSERT_GT(m_id, 0);
    }
    POINTERHANDLE FindLogs() const { return HLX_FindDVRLog(m_id, 0xFFFFFFFF, &m_from, &m_to); }
    POINTERHANDLE FindEvents() const { return HLX_FindEventInfo(m_id, 0xFF, ~ULONGLONG{0}, &m_from, &m_to); }

    CClassicRecorder* m_pRecorder = nullptr;
    LONG m_id = 0;
    const DD_TIME m_from{}, m_to{0, 0, 0, 0, 1, 0, 205, 0, 0};  // 1900 to 2105
};

TEST_F(Recordings, AreFoundWholeAndInOrder) {
    Open(6, 100'000);
    const CSimArchive& archive = m_pRecorder->Archive();
    const ARCHIVE_SPAN whole{0, 0xFFFFFFFF};
    EXPECT_GT(archive.Files().size(), 10'000u);
    EXPECT_TRUE(std::ranges::equal(
        All(HLX_FindFile(m_id, -1, &m_from, &m_to), HLX_FindNextFile, HLX_FindClose), archive.FindFiles({whole}),
        [&](const HLX_REC_FILE& found, size_t number) {
            const ARCHIVE_FILE& file = archive.Files()[number];
            return found.startTime.nTotalseconds == file.span.start && found.stopTime.nTotalseconds == file.span.stop &&
                   found.bFileLocked == archive.IsLocked(number) &&
                   std::tie(found.dwChannel, found.dwRecType, found.dwPartition, found.dwFileIndex) ==
                       std::tie(file.channel, file.recType, file.partition, file.fileIndex);
        }));
    const auto logs = archive.FindLogs(whole, 0xFFFFFFFF);
    EXPECT_EQ(logs.size(), 100'000u);
    EXPECT_TRUE(std::ranges::equal(All(FindLogs(), HLX_FindNextLog, HLX_FindLogClose), logs,
                                   [](const HLX_LOG& found, const ARCHIVE_LOG& there) {
                                       return found.strLogTime.nTotalseconds == there.time &&
                                              found.sNetUser == there.sUser && found.sContent == there.sContent;
                                   }));
}

TEST_F(Recordings, FaultsInALongResult) {
    Open(1, 20'000);
    const struct {
        const char* sFault;
        DWORD error;
        int rate = 1;
        bool bEvents = false;  // short records, of which a message holds many
    } rows[] = {{"count-lie@search=1", HLX_NETWORK_ERRORDATA},
                {"count-lie@search=2000000000", HLX_NETWORK_ERRORDATA},
                {"refuse-data@search=2", HLX_FILE_NOFIND},
                {"more-forever@search=0", HLX_NETWORK_RECV_TIMEOUT, 20},
                {"more-forever@search=1", HLX_NETWORK_ERRORDATA, 1, true},
                {"close-after=1000000", HLX_NETWORK_NOT_CONNECT}};
    const auto begin = [&](std::vector<SIM_FAULT> faults) {  // some act on a link from its begin
        m_pRecorder->SetFaults(std::move(faults));
        HLX_Logout(m_id);
        EXPECT_TRUE(WaitUntil([&] { return (m_id = Login()) > 0; }));
    };
    for (const auto& row : rows) {
        begin({Fault(row.sFault)});
        const CFastTime fast(row.rate);
        EXPECT_EQ(row.bEvents ? FindEvents() : FindLogs(), -1) << row.sFault;
        EXPECT_EQ(HLX_GetLastError(), row.error) << row.sFault;
    }
    begin({});
    EXPECT_NE(FindLogs(), -1);
}

}  // namespace
