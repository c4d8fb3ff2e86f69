#include "main_utility/upkeep/DeviceMsgMan.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

#include "main_utility/device/NetDeviceMan.h"
#include "sdk_common/InCallback.h"
#include "sdk_common/RunFlag.h"
#include "sdk_common/ThreadState.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr tuint32 MESSAGE_INTERVAL = 1500;  // milliseconds

using InCallback = CInCallback<CDeviceMsgMan>;

/// What a poll gives, at most `most`. Its number is nobody's business but this thread's.
template <class Poll>
LONG Polled(Poll poll, LONG most) {
    const CThreadState::OwnNumber ownNumber;
    return std::min<LONG>(poll(), most);
}

}  // namespace

static_assert(sizeof(HLX_ALARMINFO) == 16 && sizeof(HLX_ALARMINFO_EX) == 200);
static_assert(sizeof(HLX_RECORD_STATUS) == 8 && sizeof(HLX_RECORD_STATUS_EX) == 12);

CDeviceMsgMan::CDeviceMsgMan() { m_callbackEnd.CreateWaitEvent(); }
CDeviceMsgMan::~CDeviceMsgMan() { Stop(); }

bool CDeviceMsgMan::Initial() {
    m_pDeviceMan = CNetDeviceMan::Instance();
    return true;
}

bool CDeviceMsgMan::Start() {
    m_IVMRuleStatus.reset(new (std::nothrow) char[RULE_STATUS_SIZE]);
    if (!m_IVMRuleStatus) return Failure(HLX_ALLOC_RESOURCE_ERROR);
    m_stopWait.CreateWaitEvent();
    m_hDVRMsgThread = PUB_CreateThread(DVRMessageThread, this, &m_bRunning);
    return m_hDVRMsgThread || Failure(HLX_PROGRAM_EXCEPTION);
}

void CDeviceMsgMan::Stop() {
    SetRunFlag(m_bRunning, false);
    m_stopWait.Close();
    PUB_ExitThread(&m_hDVRMsgThread, &m_bRunning);
    m_IVMRuleStatus.reset();
}

void CDeviceMsgMan::Quit() {
    std::lock_guard guard(m_listLock);
    m_listDeviceSetup.clear();
}

bool CDeviceMsgMan::InMessageCallback() { return InCallback::OnThisThread(); }

// ---- What the application asks for ----

POINTERHANDLE CDeviceMsgMan::SetupAlarmChan(LONG lUserID) {
    std::lock_guard guard(m_listLock);
    if (!IsListed(lUserID)) m_listDeviceSetup.push_back(lUserID);
    return lUserID;
}

BOOL CDeviceMsgMan::CloseAlarmChan(POINTERHANDLE lAlarmHandle, bool bMayWait) {
    {
        std::lock_guard guard(m_listLock);
        m_listDeviceSetup.remove(lAlarmHandle);
    }
    WaitForCall(bMayWait, [&] { return m_calledFor == lAlarmHandle; });
    return 1;
}

BOOL CDeviceMsgMan::SetDVRMessageCallBack(NET_MESSAGE_CALLBACK fMessageCallBack, void* pUser, bool bMayWait) {
    {
        std::lock_guard guard(m_listLock);
        m_fnMessageCBFun = fMessageCallBack;
        m_pCBFunUser = pUser;
    }
    WaitForCall(bMayWait && !fMessageCallBack, [&] { return m_calledForm == FORM::BASIC; });
    return 1;
}

BOOL CDeviceMsgMan::SetDVRMessageCallBackEx(NET_MESSAGE_CALLBACK_EX fMessageCallBack, void* pUser, bool bMayWait) {
    {
        std::lock_guard guard(m_listLock);
        m_fnMessageCBFunEx = fMessageCallBack;
        m_pCBFunUser = pUser;
    }
    WaitForCall(bMayWait && !fMessageCallBack, [&] { return m_calledForm == FORM::EXTENDED; });
    return 1;
}

/// Waits while the callback in progress is a wanted one. A message callback does not wait for itself.
template <class Wanted>
void CDeviceMsgMan::WaitForCall(bool bMayWait, Wanted wanted) {
    const auto quiet = [&] {
        std::lock_guard guard(m_listLock);
        return !m_bCalling || !wanted();
    };
    while (bMayWait && !InCallback::OnThisThread() && !quiet())
        m_callbackEnd.WaitForCond(CWaitEvent::WAIT_FOREVER, quiet);
}

bool CDeviceMsgMan::IsListed(long long lUserID) const {
    return std::ranges::find(m_listDeviceSetup, lUserID) != m_listDeviceSetup.end();
}

// ---- The message thread ----

void* CDeviceMsgMan::DVRMessageThread(void* pParam) {
    auto& man = *static_cast<CDeviceMsgMan*>(pParam);
    while (RunFlagSet(man.m_bRunning)) {
        man.DVRMessageProc();
        man.m_stopWait.WaitForCond(MESSAGE_INTERVAL, [&] { return !RunFlagSet(man.m_bRunning); });
    }
    return nullptr;
}

/// One walk over the sessions that have an open channel at its start.
void CDeviceMsgMan::DVRMessageProc() try {
    std::vector<long long> walk;
    {
        std::lock_guard guard(m_listLock);
        walk.assign(m_listDeviceSetup.begin(), m_listDeviceSetup.end());
    }
    for (const long long lUserID : walk) {
        if (!RunFlagSet(m_bRunning)) return;
        TellSession(static_cast<LONG>(lUserID));
    }
} catch (const std::exception&) {
    // No memory: the rest of this walk is left out.
}

void CDeviceMsgMan::TellSession(LONG lUserID) {
    CNetDeviceMan& man = *m_pDeviceMan;
    TellRecords(lUserID, HLX_ALARM, FORM::BASIC, m_alarmInfo,
                [&](auto* pInfo) { return man.GetAlarmInfo(lUserID, pInfo, MAX_RECORDS); });
    TellRecords(lUserID, HLX_RECORD, FORM::BASIC, m_recordStatus,
                [&](auto* pStatus) { return man.GetRecordStatus(lUserID, pStatus, MAX_RECORDS); });
    TellRules(lUserID, FORM::BASIC);
    TellRecords(lUserID, HLX_ALARM, FORM::EXTENDED, m_alarmInfoEx,
                [&](auto* pInfo) { return man.GetAlarmInfoEx(lUserID, pInfo, MAX_RECORDS); });
    TellRecords(lUserID, HLX_RECORD, FORM::EXTENDED, m_recordStatusEx,
                [&](auto* pStatus) { return man.GetRecordStatusEx(lUserID, pStatus, MAX_RECORDS); });
    TellRules(lUserID, FORM::EXTENDED);
}

template <class Record, class Poll>
void CDeviceMsgMan::TellRecords(LONG lUserID, LONG lCommand, FORM form, RECORDS<Record>& records, Poll poll) {
    records.fill(Record{});
    const LONG count = Polled([&] { return poll(records.data()); }, MAX_RECORDS);
    if (count > 0) Deliver(lUserID, lCommand, form, records.data(), static_cast<size_t>(count) * sizeof(Record));
}

void CDeviceMsgMan::TellRules(LONG lUserID, FORM form) {
    char* const pStatus = m_IVMRuleStatus.get();
    std::fill_n(pStatus, RULE_STATUS_SIZE, '\0');
    const LONG length = Polled([&] { return m_pDeviceMan->GetIVMRuleStatus(lUserID, pStatus, RULE_STATUS_SIZE); },
                               LONG{RULE_STATUS_SIZE});
    if (length > 0) Deliver(lUserID, HLX_IVM_RULE, form, pStatus, static_cast<size_t>(length));
}

/// A channel that was closed since the walk began is told no more.
void CDeviceMsgMan::Deliver(LONG lUserID, LONG lCommand, FORM form, void* pData, size_t length) {
    NET_MESSAGE_CALLBACK fnMessage = nullptr;
    void* pUser = nullptr;
    {
        std::lock_guard guard(m_listLock);
        fnMessage = form == FORM::BASIC ? m_fnMessageCBFun : m_fnMessageCBFunEx;
        pUser = m_pCBFunUser;
        if (!fnMessage || !IsListed(lUserID)) return;
        m_calledFor = lUserID;
        m_calledForm = form;
        m_bCalling = true;
    }
    try {
        const InCallback inCallback;
        fnMessage(lCommand, lUserID, static_cast<char*>(pData), static_cast<DWORD>(length), pUser);
    } catch (...) {  // the application's own: the session's other messages are told all the same
        YLOG(YLOG_ERROR, "user %lld: a message callback threw an exception, message %lld", lUserID, lCommand);
    }
    {
        std::lock_guard guard(m_listLock);
        m_bCalling = false;
    }
    m_callbackEnd.PulseEvent();
}
