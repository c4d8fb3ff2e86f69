// Alarms and status as the application hears them.

#include "System.h"

namespace {

struct CALL {
    bool bExtended;
    LONG lCommand, lUserID;
    std::vector<char> data;

    template <class Record>
    Record First() const {
        Record record{};
        if (data.size() >= sizeof(record)) std::memcpy(&record, data.data(), sizeof(record));
        return record;
    }
};

/// Takes the calls of both forms.
class CListener {
public:
    void Listen() {
        HLX_SetDVRMessageCallBack(OnMessage<false>, this);
        HLX_SetDVRMessageCallBackEx(OnMessage<true>, this);
    }
    std::vector<CALL> Calls() const {
        const std::lock_guard guard(m_lock);
        return m_calls;
    }
    size_t Count(const std::function<bool(const CALL&)>& wanted) const {
        const std::lock_guard guard(m_lock);
        return static_cast<size_t>(std::ranges::count_if(m_calls, wanted));
    }
    /// Waits for as many further calls for the session.
    bool Hears(LONG lUserID, size_t count = 1) const {
        const auto own = [&](const CALL& call) { return call.lUserID == lUserID; };
        const size_t before = Count(own);
        return WaitUntil([&] { return Count(own) >= before + count; });
    }

    /// Runs inside each callback, behind the note of it.
    std::function<void(LONG lUserID)> m_inCallback;

    template <bool EXTENDED>
    static BOOL OnMessage(LONG lCommand, LONG lUserID, char* pBuf, DWORD dwBufLen, void* pUser) {
        auto& self = *static_cast<CListener*>(pUser);
        {
            const std::lock_guard guard(self.m_lock);
            self.m_calls.push_back({EXTENDED, lCommand, lUserID, {pBuf, pBuf + dwBufLen}});
        }
        if (self.m_inCallback) self.m_inCallback(lUserID);
        return 0;
    }

private:
    mutable std::mutex m_lock;
    std::vector<CALL> m_calls;  // m_lock
};

class Messages : public CSystemTest {
protected:
    LONG LoginTo(const CLASSIC_STATUS& status) {
        StartRecorder(Beating()).SetStatus(status);
        return Login();
    }
    LONG LoginWithMotion() { return LoginTo({.motion = 1}); }

    CListener m_listener;
    const CFastTime m_fast{20};
};

TEST_F(Messages, BothFormsGetTheirOwnRecordsInOrder) {
    CListener earlier;
    HLX_SetDVRMessageCallBack(CListener::OnMessage<false>, &earlier);
    const LONG id = LoginTo({.motion = 4, .sensor = 2, .manualRec = 1, .sensorRec = 8});
    ASSERT_EQ(HLX_SetupAlarmChan(id), id);
    // The record status is what the recorder tells last.
    EXPECT_TRUE(WaitUntil([&] { return earlier.Count([](const CALL& call) { return call.lCommand == HLX_RECORD; }); }));
    HLX_SetDVRMessageCallBackEx(CListener::OnMessage<true>, &m_listener);  // and its user value for both
    EXPECT_TRUE(m_listener.Hears(id, 11));
    EXPECT_EQ(earlier.Count([](const CALL& call) { return call.bExtended; }), 0u);

    const struct {
        bool bExtended;
        LONG lCommand;
        size_t bytes;
    } round[] = {
        {false, HLX_ALARM, 2 * 16}, {false, HLX_RECORD, 2 * 8}, {true, HLX_ALARM, 2 * 200}, {true, HLX_RECORD, 2 * 12}};
    const auto calls = m_listener.Calls();
    const auto begin =
        std::ranges::find_if(calls, [](const CALL& call) { return !call.bExtended && call.lCommand == HLX_ALARM; });
    ASSERT_GE(calls.end() - begin, 8);
    for (size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(begin[static_cast<long>(i)].bExtended, round[i % 4].bExtended) << i;
        EXPECT_EQ(begin[static_cast<long>(i)].lCommand, round[i % 4].lCommand) << i;
        EXPECT_EQ(begin[static_cast<long>(i)].data.size(), round[i % 4].bytes) << i;
    }
    EXPECT_EQ(begin[0].First<HLX_ALARMINFO>().dwChannel, 2u);
    EXPECT_EQ(begin[1].First<HLX_RECORD_STATUS>().dwRecordType, DWORD{DD_RECORD_TYPE_MANUAL});
    EXPECT_EQ(begin[2].First<HLX_ALARMINFO_EX>().dwChannel, 2u);
    EXPECT_EQ(begin[3].First<HLX_RECORD_STATUS_EX>().dwRecordStatus, DWORD{DD_RECORD_STATUS_ON});
}

TEST_F(Messages, AChannelSetUpTwiceIsToldOnceAndWhatEndsIsToldNoMore) {
    const LONG first = LoginWithMotion(), second = LoginWithMotion();
    for (const LONG id : {first, first, second, second, LONG{4711}}) EXPECT_EQ(HLX_SetupAlarmChan(id), id);
    HLX_SetDVRMessageCallBack(CListener::OnMessage<false>, &m_listener);
    ASSERT_TRUE(m_listener.Hears(second, 3));
    const auto calls = m_listener.Calls();
    for (size_t i = 1; i < calls.size(); ++i) EXPECT_NE(calls[i - 1].lUserID, calls[i].lUserID) << i;

    m_recorders[0]->SetStatus({});
    EXPECT_TRUE(WaitUntil([&] {
        const auto now = m_listener.Calls();
        return std::all_of(now.end() - 3, now.end(), [&](const CALL& call) { return call.lUserID == second; });
    }));
    EXPECT_TRUE(HLX_CloseAlarmChan(4711));
    EXPECT_TRUE(HLX_CloseAlarmChan(4712)) << "also one that was never opened";
}

TEST_F(Messages, ABrokenSessionIsSilentUntilItIsBack) {
    const CTold told(500);
    m_listener.Listen();
    const LONG broken = LoginWithMotion(), other = LoginWithMotion();
    for (const LONG id : {broken, other}) HLX_SetupAlarmChan(id);
    ASSERT_TRUE(m_listener.Hears(broken));
    m_recorders[0]->SetFaults({{SIM_FAULT_KIND::CLOSE, SIM_PHASE::LOGIN, 0, 1000000}});
    m_recorders[0]->CutLinks(SIM_CUT::RESET);
    ASSERT_TRUE(WaitUntil([&] { return told.m_breaks == 1; }));
    ASSERT_TRUE(m_listener.Hears(other, 2));
    const auto own = [&](const CALL& call) { return call.lUserID == broken; };
    const size_t before = m_listener.Count(own);
    ASSERT_TRUE(m_listener.Hears(other, 4));
    EXPECT_EQ(m_listener.Count(own), before);

    m_recorders[0]->SetStatus({.videoLoss = 8});
    m_recorders[0]->SetFaults({});
    const auto today = [&](const CALL& call) {
        return own(call) && call.First<HLX_ALARMINFO>().dwAlarmType == HLX_ALARM_TYPE_VLOSS;
    };
    EXPECT_TRUE(WaitUntil([&] { return m_listener.Count(today) > 0; }));
}

TEST_F(Messages, AnEndWaitsForTheCallbackAndIsFinal) {
    const LONG id = LoginWithMotion();
    const struct {
        const char* pName;
        bool bExtended;  // the form that is heard as well
        std::function<BOOL()> end;
    } rows[] = {
        {"close", true, [&] { return HLX_CloseAlarmChan(id); }},
        {"basic off", false, [] { return HLX_SetDVRMessageCallBack(nullptr, nullptr); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pName);
        std::promise<void> entered;
        std::atomic<bool> bEnding{false}, bEnded{false}, bEndedTooEarly{false};
        CListener listener;
        listener.m_inCallback = [&](LONG) {
            entered.set_value();
            WaitUntil([&] { return bEnding.load(); });
            bEndedTooEarly = WaitUntil([&] { return bEnded.load(); }, std::chrono::milliseconds(50));
        };
        listener.Listen();
        if (!row.bExtended) HLX_SetDVRMessageCallBackEx(nullptr, &listener);
        HLX_SetupAlarmChan(id);
        EXPECT_EQ(entered.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
        bEnding = true;
        EXPECT_TRUE(row.end());
        bEnded = true;
        EXPECT_FALSE(bEndedTooEarly);
        EXPECT_EQ(listener.Calls().size(), 1u) << "nothing came of the extended form";
    }
}

/// A message callback may stop the stream and wait for its thread.
TEST_F(Messages, AFrameCallbackWaitsForNoMessageCallback) {
    const LONG id = LoginWithMotion();
    std::atomic<bool> bInMessage{false}, bEnded{false}, bEndedMeanwhile{false};
    CReceiver receiver;
    receiver.m_inCallback = [&](POINTERHANDLE, const HLX_FRAME_INFO&) {
        if (bInMessage && !bEnded)
            bEnded = HLX_CloseAlarmChan(id) && HLX_SetDVRMessageCallBack(nullptr, nullptr) &&
                     HLX_SetDVRMessageCallBackEx(nullptr, nullptr);
    };
    m_listener.m_inCallback = [&](LONG) {
        bInMessage = true;
        bEndedMeanwhile = WaitUntil([&] { return bEnded.load(); });
    };
    ASSERT_GT(receiver.Play(id, 0), 0);
    m_listener.Listen();
    HLX_SetupAlarmChan(id);
    EXPECT_TRUE(WaitUntil([&] { return bEnded.load(); }, std::chrono::seconds(20)));
    HLX_CloseAlarmChan(id);  // waits for the callback
    EXPECT_TRUE(bEndedMeanwhile);
}

TEST_F(Messages, WhatACallbackMayDo) {
    const struct {
        const char* pName;
        std::function<bool(LONG id)> act;
        bool bLast;  // no further callback comes for this session
    } rows[] = {
        {"close", [](LONG id) { return HLX_CloseAlarmChan(id) == 1; }, true},
        {"logout", [](LONG id) { return HLX_Logout(id) == 1; }, true},
        {"throw", [](LONG id) -> bool { throw id; }, false},
        {"cleanup", [](LONG) { return !HLX_Cleanup() && HLX_GetLastError() == HLX_OPER_NOPERMIT; }, false},
    };
    const LONG other = LoginWithMotion();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pName);
        const LONG id = LoginWithMotion();
        std::atomic<bool> bDone{true};
        CListener listener;
        listener.m_inCallback = [&](LONG lUserID) {
            if (lUserID == id) bDone = bDone && row.act(id);
        };
        listener.Listen();
        for (const LONG channel : {id, other}) HLX_SetupAlarmChan(channel);
        const auto own = [&](const CALL& call) { return call.lUserID == id; };
        EXPECT_TRUE(WaitUntil([&] { return listener.Count(own) >= (row.bLast ? 1u : 3u); }));
        EXPECT_TRUE(listener.Hears(other, 4));
        EXPECT_EQ(listener.Count(own) == 1, row.bLast);
        EXPECT_TRUE(bDone);
        for (const LONG channel : {id, other}) HLX_CloseAlarmChan(channel);
    }
}

}  // namespace
