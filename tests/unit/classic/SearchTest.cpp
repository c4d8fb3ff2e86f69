// Searches: what is asked, what the records become, and what refusals and wrong replies give.

#include "protocol/ClassicRecordings.h"
#include "support/Test.h"
#include "TestRecorder.h"

namespace {

constexpr tuint32 START = 1'774'742'400, STOP = START + 86'400;  // 29 March 2026 in UTC
constexpr tuint32 INFO = CMD_REPLY_DATA_INFO, NONE = CMD_REPLY_DATA_NULL;
// By a clock that goes to summer time in between.
const DD_TIME FROM{0, 0, 1, 0, 29, 2, 126, START, 0}, TO{0, 0, 2, 1, 30, 2, 126, STOP, 0};

template <class Record>
Bytes Raw(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

class SearchTest : public testing::Test {
protected:
    SearchTest() {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        EXPECT_TRUE(m_recorder.LoggedIn());
        m_recorder.m_onSend = [this](tuint32) { m_answer(m_recorder.m_sent.back().substr(16, 4)); };
    }
    ~SearchTest() override { unsetenv("TZ"); }

    /// The records that were found, or the number of the failure; what was in the list stays ahead.
    template <class Record, class Search, class... Args>
    auto Find(Search search, Args... args) {
        return [=, this] {
            std::list<Record> list(1);
            const bool bDone = (m_device.*search)(args..., list);
            EXPECT_EQ(Raw(list.front()), Raw(Record{}));
            list.pop_front();
            EXPECT_TRUE(bDone || list.empty());
            Bytes found = bDone ? "" : std::to_string(LastError());
            for (const Record& record : list) found += Raw(record);
            return found;
        };
    }
    auto Change(BOOL (CDVRNetDevice_V3::*change)(HLX_REC_FILE*, LONG)) {
        return [=, this] { return (m_device.*change)(&m_file, 1) ? "" : std::to_string(LastError()); };
    }

    CTestRecorder m_recorder;
    CTestRecorder::CDevice& m_device = m_recorder.m_device;
    std::function<void(const Bytes& requestID)> m_answer;
    HLX_REC_FILE m_file{3, 1, FROM, TO, 4, 7, 9};
};

TEST_F(SearchTest, RequestsRecordsAndRefusals) {
    const Bytes span = Word(START) + Word(STOP), file = Word(3) + Word(1) + span + Word(4) + Word(7) + Word(9);
    HLX_LOG log{FROM, 1, 2, {}, 5, {}};  // its texts do not end on the wire
    std::memset(log.sNetUser, 'u', 35);
    std::memset(log.sContent, 'c', 511);
    using DEVICE = CDVRNetDevice_V3;
    const struct {
        std::function<Bytes()> search;
        tuint32 request;
        Bytes asked;
        tuint32 yes, no, kind;
        Bytes record, found;
    } rows[] = {
        {Find<DD_DATE>(&DEVICE::SearchRecDate), CMD_REQUEST_DATA_SEARCH, Word(1) + Bytes(16, 0), INFO, NONE, 1,
         Number(2026, 2) + "\x0C\x1F", Raw(DD_DATE{31, 11, 126})},
        {Find<HLX_REC_FILE>(&DEVICE::SearchRecFile, 5, 6, FROM, TO), CMD_REQUEST_DATA_SEARCH,
         Word(2) + Word(5) + Word(6) + span, INFO, NONE, 2, file, Raw(m_file)},
        {Find<HLX_REC_TIME>(&DEVICE::SearchRecTime, -1, 6, FROM, TO), CMD_REQUEST_DATA_SEARCH,
         Word(3) + Word(ALL_CHANNELS) + Word(6) + span, INFO, NONE, 3, Word(2) + span, Raw(HLX_REC_TIME{2, FROM, TO})},
        {Find<HLX_REC_EVENT>(&DEVICE::SearchRecEvent, 0, 6, FROM, TO), CMD_REQUEST_DATA_SEARCH,
         Word(4) + Word(0) + Word(6) + span, INFO, NONE, 4, Word(2) + span + Word(8),
         Raw(HLX_REC_EVENT{2, FROM, TO, 8})},
        {Find<HLX_LOG>(&DEVICE::SearchDVRLog, 9, FROM, TO), CMD_REQUEST_LOG_INFO, Word(9) + span, CMD_REPLY_LOG_INFO,
         CMD_REPLY_SYS_STATUS_FAIL, 0,
         Word(START) + Word(1) + Word(2) + Bytes(36, 'u') + Word(5) + Word(511) + Bytes(511, 'c'), Raw(log)},
        {Find<HLX_EVENT>(&DEVICE::SearchDVREvent, 3, 5, FROM, TO), CMD_REQUEST_EVENT_INFO, Word(3) + Mask(5) + span,
         CMD_REPLY_EVENT_INFO, CMD_REPLY_SYS_STATUS_FAIL, 0, Number(2, 2) + Number(8, 2) + span,
         Raw(HLX_EVENT{2, 8, FROM, TO})},
        {Change(&DEVICE::LockRecFile), CMD_REQUEST_DATA_LOCK, Word(1) + file, INFO, NONE, 5, {}, {}},
        {Change(&DEVICE::UnlockRecFile), CMD_REQUEST_DATA_UNLOCK, Word(1) + file, INFO, NONE, 5, {}, {}},
        {Change(&DEVICE::DeleteRecFile), CMD_REQUEST_DATA_DELETE, Word(1) + file, INFO, NONE, 5, {}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const auto part = [&](tuint32 more) {
            return Word(row.kind) + Word(more) + Word(!row.record.empty()) + row.record;
        };
        const auto said = [&](tuint32 cmdType, const Bytes& body) {
            m_answer = [&, cmdType, body](const Bytes& id) {
                m_recorder.Receive(Message(row.no, Word(~NumberAt(id, 0)) + Word(0)));  // to another request
                m_recorder.Receive(Message(row.yes, id + part(1)));
                m_recorder.Receive(Message(cmdType, id + body));
            };
            return row.search();
        };
        EXPECT_EQ(said(row.yes, part(0)), row.found + row.found);
        const Bytes& sent = m_recorder.m_sent.back();
        EXPECT_EQ(sent.substr(0, 4) + sent.substr(20), Word(row.request) + row.asked);
        EXPECT_EQ(said(row.no, Word(NET_DATA_REFUSED)), "86");
        EXPECT_EQ(said(row.no, Bytes(3, 0)), "13");
        for (size_t length = 0; length < part(0).size(); ++length)
            EXPECT_EQ(said(row.yes, part(0).substr(0, length)), "13") << length;
        for (const Bytes& wrong : {part(0) + "x", part(2), Word(row.kind + 1) + Mask(0),
                                   Word(row.kind) + Word(0) + Word(0x7FFFFFFF) + row.record})
            EXPECT_EQ(said(row.yes, wrong), "13");
    }
}

TEST_F(SearchTest, ArgumentsThatSendNothing) {
    std::list<HLX_REC_TIME> times;
    std::vector<HLX_REC_FILE> files(MAX_FILE_LIST + 1);
    EXPECT_TRUE(FailedWith(HLX_CHANNEL_ERROR, m_device.SearchRecTime(64, 1, FROM, TO, times)));
    EXPECT_TRUE(FailedWith(HLX_PARAMETER_ERROR, m_device.SearchRecTime(0, 1, TO, FROM, times)));
    for (const LONG lCount : {LONG{0}, LONG{-1}, LONG{MAX_FILE_LIST} + 1, LONG{1} << 32})
        EXPECT_TRUE(FailedWith(HLX_PARAMETER_ERROR, m_device.LockRecFile(files.data(), lCount))) << lCount;
    EXPECT_TRUE(m_recorder.m_sent.empty());
}

}  // namespace
