// The engine for links over plain TCP.
#pragma once

#include <sys/epoll.h>

#include <atomic>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "netservice/LinkReader.h"
#include "netservice/MultiNet.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"
#include "sdk_common/WaitEvent.h"

/// A link with what only this engine needs. Shared, so that it outlives its removal while someone is still in it.
struct COMM_LINK : NET_LINK_RESOURCE {
    ~COMM_LINK() { SWL_CloseSocket(sock); }

    tuint64 serial = 0;                 // tells links of one id apart; never used again
    CLinkReader reader{recvBuffer};     // guarded by m_lstLinkLock
    std::atomic<bool> bRemoved{false};  // set under both locks; the link is found by nobody any more
    std::atomic<bool> bBreakTold{false};
    tuint32 watched = 0;          // events asked of the system; guarded by m_listLinkSendLock
    std::deque<int> queuedSizes;  // bytes left of each message in sendBuffer; guarded by m_listLinkSendLock
    bool bFrontStarted = false;   // the first of them is partly sent
    bool bSyncSending = false;    // a thread is in a synchronous send; guarded by m_listLinkSendLock
};

/// One thread serves all links. It waits for sockets and for a wake-up in one kernel event set, so socket numbers have
/// no limit and no per-round sets of sockets need to be built; a socket is watched for reading while its messages go to
/// a callback, and for writing while bytes wait for it. An idle engine wakes at most a few times a second. Locks:
/// m_lstLinkLock, then m_listLinkSendLock. The list changes under both, so either is enough to read it.
class CSWL_MultiNetComm : public CSWL_MultiNet {
public:
    /// Bytes that one read takes from a socket at most.
    static constexpr int SCRATCH_SIZE = 256 * 1024;

    /// Milliseconds without receiving after which a link counts as dead.
    static constexpr LONGLONG DEAD_AFTER = 30000;

    CSWL_MultiNetComm() = default;
    ~CSWL_MultiNetComm() override;
    CSWL_MultiNetComm(const CSWL_MultiNetComm&) = delete;
    CSWL_MultiNetComm& operator=(const CSWL_MultiNetComm&) = delete;

    /// `sendBufSize`: bytes of each link's send buffer. False if it is below 16, the engine runs already or the system
    /// refuses; errno is ENOMEM then if memory is short.
    bool Init(int sendBufSize);
    bool Init(int sendBufSize, bool bSendSync) override;
    void Destroy() override;

    using CSWL_MultiNet::AddNewComm;
    int AddNewComm(int deviceID, SWL_socket_t sock) override;
    int RemoveComm(int deviceID) override;
    int RemoveAllConnect() override;
    int SendData(int deviceID, const void* pBuf, int iLen, bool bBlock, bool bRawData) override;
    int SendDataSync(int deviceID, const void* pBuf, int iLen, bool bBlock) override;
    int RecvData(int deviceID, char* pData, int iLen, bool bBlock, int lBlockTime) override;
    int SetRecvMode(int deviceID, bool bAutoRecv) override;
    int SetAutoRecvCallback(int deviceID, RECVASYN_CALLBACK pfRecvCallBack, void* pParam) override;
    void SetBufferMaxLen(int deviceID, int bufferMaxLen) override;
    int SendBuff(int deviceID, const void* pBuf, int iLen, bool bBlock, int lBlockTime) override;
    int RecvBuff(int deviceID, void* pBuf, int iLen, bool bBlock, int lBlockTime) override;
    void RecvThreadRun() override;
    void UpdateRemoveComm() override;
    using CSWL_MultiNet::GetLinkResourceByLinkID;
    bool GetLinkResourceByLinkID(int deviceID, NET_LINK_RESOURCE*& pLink) override;

private:
    using LinkRef = std::shared_ptr<COMM_LINK>;
    using LinkLock = std::unique_lock<CPUB_Lock>;
    // Counts a thread that may wait inside the engine.
    struct USER {
        explicit USER(std::atomic<int>& users) : m_users(users) { ++m_users; }
        ~USER() { --m_users; }
        std::atomic<int>& m_users;
    };
    enum DRAIN { DRAIN_DONE, DRAIN_BLOCKED, DRAIN_BROKEN };

    static LONGLONG Now();  // milliseconds of the monotonic clock

    // Links (MultiNetComm.Links.cpp)
    LinkRef FindLink(int deviceID);  // either lock held
    LinkRef LookUpLink(int deviceID);
    LinkRef MakeLink(int deviceID);
    bool EnterLink(int deviceID, SWL_socket_t sock);  // both locks held
    void MarkRemoved(const LinkRef& link);            // both locks held
    void CloseLink(const LinkRef& link);              // both locks held
    void UpdateWatch(COMM_LINK& link);                // both locks held
    void WatchForWriting(COMM_LINK& link);            // m_listLinkSendLock held
    void SetWatch(COMM_LINK& link, tuint32 wanted);
    void BreakLink(COMM_LINK& link, int iLine);
    void TellBrokenLinks();
    bool TakeBrokenLink(LinkRef& link, RECVASYN_CALLBACK& pfCallBack, void*& pParam);
    void Wake();

    // The thread's rounds (MultiNetComm.cpp)
    static void* RecvThread(void* pParam);
    bool OpenEventSet();
    void CloseEventSet();
    void WaitForWork();
    void ServeReadyLinks();
    void ServeLink(const LinkRef& link, tuint32 events);
    void ServeKeptBytes();
    LinkRef NextKept(tuint64 behind);  // m_lstLinkLock held
    void ServeTimes();
    void CheckReceiveTime(COMM_LINK& link, LONGLONG now);
    LONGLONG SendHeartBeatIfDue(COMM_LINK& link, LONGLONG now);
    void WaitForUsersToLeave();

    // Receiving (MultiNetComm.Receive.cpp)
    void ReadStage(const LinkRef& link);
    bool MayRead(const COMM_LINK& link) const;   // m_lstLinkLock held
    int ReadSome(COMM_LINK& link, bool& bFull);  // as the next two with m_lstLinkLock held
    void DeliverMessages(const LinkRef& link, LinkLock& lock);
    void CallReceiver(const LinkRef& link, LinkLock& lock);
    int ReadNow(COMM_LINK& link, char* pBuf, int iLen);
    int RecvOnLink(const LinkRef& link, char* pBuf, int iLen, bool bBlock, int lBlockTime);

    // Sending (MultiNetComm.Send.cpp), with m_listLinkSendLock held; those with a lock argument give it up while they
    // wait. Deadlines are microseconds of the monotonic clock.
    bool RaiseLimit(COMM_LINK& link, tint64 needed);
    bool QueueMessage(COMM_LINK& link, const void* pBuf, int iLen, bool bRawData);
    DRAIN DrainQueue(COMM_LINK& link, bool bFrontOnly);
    void CountSent(COMM_LINK& link, int count);
    int SendPastQueue(const LinkRef& link, LinkLock& lock, const void* pBuf, int iLen, bool bBlock, int lBlockTime);
    bool FinishStartedMessage(const LinkRef& link, LinkLock& lock, tint64 deadline);
    int SendOnLink(const LinkRef& link, LinkLock& lock, const char* pBuf, int iLen, tint64 deadline);
    bool OnOwnThread() const { return m_servingThread == pthread_self(); }
    tint64 SyncDeadline(bool bBlock, int lBlockTime) const;
    bool MakeRoom(COMM_LINK& link, LinkLock& lock, tint64 deadline);
    bool WaitForSocket(COMM_LINK& link, LinkLock& lock, tint64 deadline);
    bool WaitForRoom(LinkLock& lock, tint64 deadline);
    void TellRoom();  // any thread, any lock

    std::list<LinkRef> m_lstNetLink;
    std::list<LinkRef>
        m_tempDelNetLink;  // waiting for the thread to close them; guarded by both locks, as m_lstNetLink
    std::unordered_map<tuint64, LinkRef> m_linkBySerial;
    CPUB_Lock m_lstLinkLock;
    CPUB_Lock m_listLinkSendLock;
    bool m_bSockThreadRun = false;
    PUB_thread_t m_threadId = 0;
    std::atomic<PUB_thread_t> m_servingThread{0};  // the engine's thread, as itself tells
    int m_sendBufSize = 0;
    tuint64 m_nextSerial = 1;  // guarded by m_lstLinkLock; 0 stands for the wake-up

    int m_eventSet = -1;
    int m_wakeFd = -1;
    std::atomic<int> m_removedCount{0};         // links marked removed that are still in the list
    std::atomic<bool> m_bBrokenWaiting{false};  // some link is broken and its receiver does not know
    std::atomic<bool> m_bKeptWaiting{false};    // some link in automatic mode holds bytes read ahead
    std::atomic<tuint32> m_roomCount{0};        // counts the moments at which a waiting sender should look again
    std::atomic<int> m_users{0};                // threads that may wait inside the engine
    CWaitEvent m_roomEvent;

    // The engine thread's own.
    std::unique_ptr<char[]> m_scratch;
    std::vector<epoll_event> m_events;
    int m_eventCount = 0;
    int m_idleWait = 0;  // milliseconds
};
