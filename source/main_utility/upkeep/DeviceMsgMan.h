// Alarms and status of devices.
#pragma once

#include <array>
#include <list>
#include <memory>

#include "HLX.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"
#include "sdk_common/WaitEvent.h"

class CNetDeviceMan;

/// Tells the application about alarms, records and rules of the devices with an open alarm channel: one thread asks
/// each of them every 1500 ms and calls the message callbacks with what is in force. A state that lasts is thus told
/// again each time.
///
/// Callbacks run on that thread, with no lock held and with the callback and its user value as they were set together.
/// Any thread may call the operations. Lock: m_listLock, a leaf.
class CDeviceMsgMan {
public:
    CDeviceMsgMan();
    ~CDeviceMsgMan();
    CDeviceMsgMan(const CDeviceMsgMan&) = delete;
    CDeviceMsgMan& operator=(const CDeviceMsgMan&) = delete;

    bool Initial();
    /// False with HLX_ALLOC_RESOURCE_ERROR (44) without memory, HLX_PROGRAM_EXCEPTION (78) without a thread.
    bool Start();
    /// Ends the thread once its callback in progress is back. Not from inside a callback. Safe on a manager that was
    /// never started.
    void Stop();
    /// Closes all alarm channels.
    void Quit();

    /// Opens the alarm channel of a session, once however often it is asked for. The handle is the user id; an id that
    /// is no session, or no more, is kept without effect.
    POINTERHANDLE SetupAlarmChan(LONG lUserID);
    /// Closes it; 1 also for an unknown handle. When it returns no callback for this session runs or comes any more.
    /// Inside a message callback, or without `bMayWait`, it returns at once, and a callback in progress is the last
    /// one for this session. `bMayWait` is for threads that no message callback may be waiting for.
    BOOL CloseAlarmChan(POINTERHANDLE lAlarmHandle, bool bMayWait);
    /// Null takes a callback off and waits, as CloseAlarmChan does, for its call in progress. Both forms share one user
    /// value, the last set. Returns 1.
    BOOL SetDVRMessageCallBack(NET_MESSAGE_CALLBACK fMessageCallBack, void* pUser, bool bMayWait);
    BOOL SetDVRMessageCallBackEx(NET_MESSAGE_CALLBACK_EX fMessageCallBack, void* pUser, bool bMayWait);

    /// True on the message thread while the application's callback runs.
    static bool InMessageCallback();

private:
    static constexpr LONG MAX_RECORDS = 256;        // of one kind, told of one session at a time
    static constexpr LONG RULE_STATUS_SIZE = 1024;  // bytes

    enum class FORM { BASIC, EXTENDED };

    template <class Record>
    using RECORDS = std::array<Record, MAX_RECORDS>;

    static void* DVRMessageThread(void* pParam);
    void DVRMessageProc();
    void TellSession(LONG lUserID);
    template <class Record, class Poll>
    void TellRecords(LONG lUserID, LONG lCommand, FORM form, RECORDS<Record>& records, Poll poll);
    void TellRules(LONG lUserID, FORM form);
    void Deliver(LONG lUserID, LONG lCommand, FORM form, void* pData, size_t length);
    bool IsListed(long long lUserID) const;  // m_listLock held
    template <class Wanted>
    void WaitForCall(bool bMayWait, Wanted wanted);

    CNetDeviceMan* m_pDeviceMan = nullptr;

    mutable CPUB_Lock m_listLock;
    NET_MESSAGE_CALLBACK m_fnMessageCBFun = nullptr;       // m_listLock
    NET_MESSAGE_CALLBACK_EX m_fnMessageCBFunEx = nullptr;  // m_listLock
    void* m_pCBFunUser = nullptr;                          // m_listLock
    std::list<long long> m_listDeviceSetup;                // m_listLock; user ids
    long long m_calledFor = 0;                             // m_listLock; user id of the callback in progress
    FORM m_calledForm = FORM::BASIC;                       // m_listLock; its form
    bool m_bCalling = false;                               // m_listLock
    CWaitEvent m_callbackEnd;                              // open as long as this object lives

    PUB_thread_t m_hDVRMsgThread = 0;
    bool m_bRunning = false;
    CWaitEvent m_stopWait;  // closed at Stop: ends the thread's pause

    // The thread's own.
    RECORDS<HLX_ALARMINFO> m_alarmInfo;
    RECORDS<HLX_ALARMINFO_EX> m_alarmInfoEx;
    RECORDS<HLX_RECORD_STATUS> m_recordStatus;
    RECORDS<HLX_RECORD_STATUS_EX> m_recordStatusEx;
    std::unique_ptr<char[]> m_IVMRuleStatus;  // RULE_STATUS_SIZE bytes from Start to Stop
};
