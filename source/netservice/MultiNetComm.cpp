// Life of the engine and the rounds of its thread.
#include "netservice/MultiNetComm.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "sdk_common/PubTime.h"
#include "sdk_common/RunFlag.h"
#include "sdk_common/SystemFault.h"
#include "sdk_common/TimeSource.h"

namespace {

constexpr int EVENTS_PER_ROUND = 64;
constexpr int MINIMAL_SEND_BUFFER = 16;

// Heartbeats of many links that come due one after the other share a wake-up.
constexpr int SHORTEST_IDLE_WAIT = 250;  // milliseconds, as below
constexpr int LONGEST_IDLE_WAIT = 1000;
constexpr unsigned int BROKEN_SET_WAIT = 3;

constexpr LONGLONG HEARTBEAT_AFTER = 7500;  // milliseconds without sending
constexpr LONGLONG CLOCK_JUMP = 60000;      // a longer silence was none: this machine was away
constexpr LONGLONG ENGINE_HELD_UP = 5000;   // the engine itself was away, which is no link's fault

constexpr tuint32 READ_EVENTS = EPOLLIN | EPOLLRDHUP | EPOLLHUP | EPOLLERR;
constexpr tuint32 WRITE_EVENTS = EPOLLOUT | EPOLLHUP | EPOLLERR;

}  // namespace

LONGLONG CSWL_MultiNetComm::Now() { return TimeSource().MonotonicMicroseconds() / 1000; }

CSWL_MultiNetComm::~CSWL_MultiNetComm() { CSWL_MultiNetComm::Destroy(); }

bool CSWL_MultiNetComm::Init(int sendBufSize, bool) { return Init(sendBufSize); }

bool CSWL_MultiNetComm::Init(int sendBufSize) {
    if (sendBufSize < MINIMAL_SEND_BUFFER || m_threadId != 0) return false;
    m_scratch.reset(new (std::nothrow) char[SCRATCH_SIZE]);
    if (!m_scratch) errno = ENOMEM;
    if (!m_scratch || !OpenEventSet()) return false;
    m_roomEvent.CreateWaitEvent();
    m_sendBufSize = sendBufSize;
    m_idleWait = SHORTEST_IDLE_WAIT;
    m_threadId = PUB_CreateThread(RecvThread, this, &m_bSockThreadRun);
    if (m_threadId != 0) return true;
    m_sendBufSize = 0;
    CloseEventSet();
    m_scratch.reset();
    return false;
}

bool CSWL_MultiNetComm::OpenEventSet() {
    try {
        m_events.resize(EVENTS_PER_ROUND);
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
    m_eventSet = SystemCall(SYSTEM_CALL::EPOLL_CREATE, -1, [](size_t) { return epoll_create1(EPOLL_CLOEXEC); });
    m_wakeFd = SystemCall(SYSTEM_CALL::EVENT_FD, -1, [](size_t) { return eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC); });
    epoll_event event{};
    event.events = EPOLLIN;
    const auto watchWake = [&](size_t) { return epoll_ctl(m_eventSet, EPOLL_CTL_ADD, m_wakeFd, &event); };
    if (SystemCall(SYSTEM_CALL::EPOLL_CTL, -1, watchWake) == 0) return true;
    CloseEventSet();
    return false;
}

void CSWL_MultiNetComm::CloseEventSet() {
    if (m_wakeFd >= 0) close(m_wakeFd);
    if (m_eventSet >= 0) close(m_eventSet);
    m_wakeFd = m_eventSet = -1;
}

void CSWL_MultiNetComm::Destroy() {
    if (m_threadId == 0) return;
    {
        const std::scoped_lock guard(m_lstLinkLock);
        const std::scoped_lock sendGuard(m_listLinkSendLock);
        for (const LinkRef& link : m_lstNetLink) MarkRemoved(link);
        m_sendBufSize = 0;  // from here on no link is taken
    }
    TellRoom();
    SetRunFlag(m_bSockThreadRun, false);
    Wake();
    PUB_ExitThread(&m_threadId, &m_bSockThreadRun);
    UpdateRemoveComm();
    WaitForUsersToLeave();
    CloseEventSet();
    m_scratch.reset();
}

void CSWL_MultiNetComm::WaitForUsersToLeave() {
    while (m_users > 0) {
        TellRoom();
        PUB_Sleep(1);
    }
}

void* CSWL_MultiNetComm::RecvThread(void* pParam) {
    static_cast<CSWL_MultiNetComm*>(pParam)->RecvThreadRun();
    return nullptr;
}

void CSWL_MultiNetComm::RecvThreadRun() {
    m_servingThread = pthread_self();
    while (RunFlagSet(m_bSockThreadRun)) {
        UpdateRemoveComm();
        TellBrokenLinks();
        WaitForWork();
        ServeReadyLinks();
        ServeKeptBytes();
        ServeTimes();
    }
    m_servingThread = 0;
}

void CSWL_MultiNetComm::WaitForWork() {
    const bool bWorkWaits = m_bBrokenWaiting || m_bKeptWaiting;
    const tint64 microseconds = bWorkWaits ? 0 : tint64{m_idleWait} * 1000;
    bool bFailed = false;
    m_eventCount = 0;
    WaitOnClock(microseconds, [&](tint64 slice) {
        const int wait = static_cast<int>((slice + 999) / 1000);
        const int count = SystemCall(SYSTEM_CALL::EPOLL_WAIT, -1, [&](size_t) {
            return epoll_wait(m_eventSet, m_events.data(), EVENTS_PER_ROUND, wait);
        });
        m_eventCount = std::max(count, 0);
        bFailed = count < 0 && errno != EINTR;
        return m_eventCount > 0 || bFailed;
    });
    if (bFailed) PUB_Sleep(BROKEN_SET_WAIT);
}

void CSWL_MultiNetComm::ServeReadyLinks() {
    for (int i = 0; i < m_eventCount; ++i) {
        const tuint64 serial = m_events[i].data.u64;
        if (serial == 0) {
            eventfd_t count = 0;
            eventfd_read(m_wakeFd, &count);
            continue;
        }
        LinkRef link;
        {
            const std::scoped_lock guard(m_lstLinkLock);
            const auto place = m_linkBySerial.find(serial);
            if (place != m_linkBySerial.end()) link = place->second;
        }
        if (link) ServeLink(link, m_events[i].events);
    }
}

void CSWL_MultiNetComm::ServeLink(const LinkRef& link, tuint32 events) {
    if (events & READ_EVENTS) ReadStage(link);
    if ((events & WRITE_EVENTS) == 0) return;
    const std::scoped_lock guard(m_listLinkSendLock);
    const bool bMayWrite = link->bSendIdle && !link->bSyncSending;
    if (bMayWrite && (link->watched & EPOLLOUT)) DrainQueue(*link, false);
    WatchForWriting(*link);
}

void CSWL_MultiNetComm::ServeKeptBytes() {
    if (!m_bKeptWaiting.exchange(false)) return;
    LinkLock lock(m_lstLinkLock);
    for (LinkRef link = NextKept(0); link; link = NextKept(link->serial)) DeliverMessages(link, lock);
}

// Links stand in the list in the order of their serials; a receiver may change the list between two of them.
CSWL_MultiNetComm::LinkRef CSWL_MultiNetComm::NextKept(tuint64 behind) {
    for (const LinkRef& link : m_lstNetLink) {
        if (link->serial > behind && link->reader.HasAhead() && MayRead(*link)) return link;
    }
    return nullptr;
}

void CSWL_MultiNetComm::ServeTimes() {
    LONGLONG due = LONGEST_IDLE_WAIT;
    const std::scoped_lock guard(m_lstLinkLock);
    const std::scoped_lock sendGuard(m_listLinkSendLock);
    const LONGLONG now = Now();  // not before the locks: a link that came meanwhile would seem to be from the future
    for (const LinkRef& link : m_lstNetLink) {
        if (link->bBroken || link->bRemoved) continue;
        CheckReceiveTime(*link, now);
        due = std::min(due, SendHeartBeatIfDue(*link, now));
    }
    m_idleWait = static_cast<int>(std::clamp<LONGLONG>(due, SHORTEST_IDLE_WAIT, LONGEST_IDLE_WAIT));
}

void CSWL_MultiNetComm::CheckReceiveTime(COMM_LINK& link, LONGLONG now) {
    const bool bHeldUp = now - link.prevSystemTime > ENGINE_HELD_UP || now < link.prevSystemTime;
    if (bHeldUp || now < link.prevRecvTime) link.prevRecvTime = now;
    link.prevSystemTime = now;
    const LONGLONG silence = now - link.prevRecvTime;
    if (silence > CLOCK_JUMP) {
        link.prevRecvTime = now;
    } else if (silence > DEAD_AFTER) {
        BreakLink(link, __LINE__);
    }
}

// Milliseconds until the link wants to be asked again.
LONGLONG CSWL_MultiNetComm::SendHeartBeatIfDue(COMM_LINK& link, LONGLONG now) {
    const LONGLONG silence = now - link.prevSendTime;
    if (silence >= 0 && silence <= HEARTBEAT_AFTER) return HEARTBEAT_AFTER + 1 - silence;
    // Bytes that wait say by themselves that this side lives, and nothing may come between the parts of a message.
    if (!link.bSendIdle || link.bSyncSending || link.sendBuffer.GetDataSize() > 0) return HEARTBEAT_AFTER;
    link.sendBuffer.EmptyAndTrim();
    if (QueueMessage(link, nullptr, 0, false)) DrainQueue(link, false);
    WatchForWriting(link);
    link.prevSendTime = now;
    return HEARTBEAT_AFTER;
}
