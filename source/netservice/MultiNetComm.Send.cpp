// From the callers to the sockets.
#include <poll.h>

#include <algorithm>
#include <climits>
#include <new>

#include "netservice/MultiNetComm.h"
#include "sdk_common/TimeSource.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr int FRAME_HEAD_SIZE = sizeof(LINK_FRAME_HEAD);
constexpr tint64 ROOM_WAIT = 15000 * 1000LL;  // microseconds
constexpr tint64 NO_DEADLINE = INT64_MAX;

// How long a sender waits for a socket or for room before it looks whether the link still lives.
constexpr int LOOK_INTERVAL = 10;  // milliseconds
constexpr tuint32 ROOM_INTERVAL = 1000;

constexpr int SYNC_BLOCK_TIME = 100;  // seconds

}  // namespace

int CSWL_MultiNetComm::SendData(int deviceID, const void* pBuf, int iLen, bool bBlock, bool bRawData) {
    if (!pBuf || iLen < 0) return -1;
    const USER user(m_users);
    const tint64 needed = tint64{iLen} + FRAME_HEAD_SIZE;
    const tint64 deadline = TimeSource().MonotonicMicroseconds() + ROOM_WAIT;
    LinkLock lock(m_listLinkSendLock);
    const LinkRef link = FindLink(deviceID);
    while (link && !link->bBroken && !link->bRemoved) {
        if (link->sendBuffer.GetDataSize() + needed <= link->bufferMaxLen) {
            return QueueMessage(*link, pBuf, iLen, bRawData) ? 0 : -1;
        }
        if (link->bufferMaxLen < needed) {
            if (!RaiseLimit(*link, needed)) return -1;
        } else if (!bBlock || !MakeRoom(*link, lock, deadline)) {
            return -1;
        }
    }
    if (link && link->bBroken) YLOG(YLOG_WARN, "pNetLinkResource->bBroken, m_deviceID = %d", deviceID);
    return -1;
}

// A message larger than the limit raises it, and the buffer with it where that is too small.
bool CSWL_MultiNetComm::RaiseLimit(COMM_LINK& link, tint64 needed) {
    if (needed >= INT_MAX) return false;
    const int missing = static_cast<int>(needed) - link.sendBuffer.GetTotalSize();
    if (missing > 0 && !link.sendBuffer.IncreaseSize(missing)) return false;
    link.bufferMaxLen = static_cast<int>(needed);
    return true;
}

bool CSWL_MultiNetComm::QueueMessage(COMM_LINK& link, const void* pBuf, int iLen, bool bRawData) {
    const int size = bRawData ? iLen : iLen + FRAME_HEAD_SIZE;
    if (size == 0) return true;
    if (size > link.sendBuffer.GetFreeSize()) return false;
    try {
        link.queuedSizes.push_back(size);
    } catch (const std::bad_alloc&) {
        return false;
    }
    const LINK_FRAME_HEAD head{LINK_FRAME_MARKER, iLen};
    if (!bRawData) link.sendBuffer.PushData(&head, FRAME_HEAD_SIZE);
    link.sendBuffer.PushData(pBuf, iLen);
    WatchForWriting(link);
    return true;
}

// Writes what the socket takes: everything, or only the rest of a message that is partly sent.
CSWL_MultiNetComm::DRAIN CSWL_MultiNetComm::DrainQueue(COMM_LINK& link, bool bFrontOnly) {
    while (!link.queuedSizes.empty() && (!bFrontOnly || link.bFrontStarted)) {
        const char* pData = link.sendBuffer.GetDataBuffer(0);
        const int waiting = bFrontOnly ? link.queuedSizes.front() : link.sendBuffer.GetDataSize();
        const int piece = std::min(waiting, static_cast<int>(link.sendBuffer.GetBufferTail() - pData));
        const int sent = SWL_Send(link.sock, pData, piece);
        if (sent < 0 && !SDK_SWL_EWOULDBLOCK()) {
            BreakLink(link, __LINE__);
            return DRAIN_BROKEN;
        }
        if (sent <= 0) return DRAIN_BLOCKED;
        CountSent(link, sent);
    }
    // Starting over keeps a link that sends little on its first pages.
    if (link.queuedSizes.empty()) link.sendBuffer.Empty();
    return DRAIN_DONE;
}

void CSWL_MultiNetComm::CountSent(COMM_LINK& link, int count) {
    link.sendBuffer.FreeBuffer(count);
    link.prevSendTime = Now();
    while (count > 0 && count >= link.queuedSizes.front()) {
        count -= link.queuedSizes.front();
        link.queuedSizes.pop_front();
        link.bFrontStarted = false;
    }
    if (count > 0) {
        link.queuedSizes.front() -= count;
        link.bFrontStarted = true;
    }
    TellRoom();
}

int CSWL_MultiNetComm::SendDataSync(int deviceID, const void* pBuf, int iLen, bool bBlock) {
    const USER user(m_users);
    LinkLock lock(m_listLinkSendLock);
    const LinkRef link = FindLink(deviceID);
    if (!link) return -2;
    const int sent = SendPastQueue(link, lock, pBuf, iLen, bBlock, bBlock ? SYNC_BLOCK_TIME : 0);
    if (sent > 0) {
        link->prevSendTime = Now();
        link->bSendIdle = sent == iLen;
        WatchForWriting(*link);
    }
    return sent;
}

int CSWL_MultiNetComm::SendBuff(int deviceID, const void* pBuf, int iLen, bool bBlock, int lBlockTime) {
    const USER user(m_users);
    LinkLock lock(m_listLinkSendLock);
    const LinkRef link = FindLink(deviceID);
    if (!link) return -2;
    return SendPastQueue(link, lock, pBuf, iLen, bBlock, lBlockTime);
}

// A queued message of which a part is out goes out whole first: nothing may stand between its parts.
int CSWL_MultiNetComm::SendPastQueue(const LinkRef& link, LinkLock& lock, const void* pBuf, int iLen, bool bBlock,
                                     int lBlockTime) {
    if (!pBuf || iLen < 0) return -1;
    const tint64 deadline = SyncDeadline(bBlock, lBlockTime);
    while (link->bSyncSending) {
        if (!WaitForRoom(lock, deadline)) return link->bBroken || link->bRemoved ? -1 : 0;
    }
    link->bSyncSending = true;
    WatchForWriting(*link);  // the engine's thread writes nothing into the middle of this
    int sent = 0;
    if (FinishStartedMessage(link, lock, deadline)) {
        sent = SendOnLink(link, lock, static_cast<const char*>(pBuf), iLen, deadline);
    }
    link->bSyncSending = false;
    if (link->bBroken || link->bRemoved) sent = -1;
    WatchForWriting(*link);
    TellRoom();
    return sent;
}

// On the engine's own thread nobody would find out that the peer is dead.
tint64 CSWL_MultiNetComm::SyncDeadline(bool bBlock, int lBlockTime) const {
    const tint64 now = TimeSource().MonotonicMicroseconds();
    const tint64 wanted = bBlock ? NO_DEADLINE : now + tint64{lBlockTime} * 1000000;
    return OnOwnThread() ? std::min<tint64>(wanted, now + DEAD_AFTER * 1000) : wanted;
}

bool CSWL_MultiNetComm::FinishStartedMessage(const LinkRef& link, LinkLock& lock, tint64 deadline) {
    while (link->bFrontStarted && !link->bBroken && !link->bRemoved) {
        if (DrainQueue(*link, true) == DRAIN_BLOCKED && !WaitForSocket(*link, lock, deadline)) return false;
    }
    return !link->bBroken && !link->bRemoved;
}

int CSWL_MultiNetComm::SendOnLink(const LinkRef& link, LinkLock& lock, const char* pBuf, int iLen, tint64 deadline) {
    int sent = 0;
    while (sent < iLen && !link->bBroken && !link->bRemoved) {
        const int count = SWL_Send(link->sock, pBuf + sent, iLen - sent);
        if (count < 0 && !SDK_SWL_EWOULDBLOCK()) {
            BreakLink(*link, __LINE__);
        } else if (count > 0) {
            sent += count;
        } else if (count == 0 || !WaitForSocket(*link, lock, deadline)) {
            break;
        }
    }
    return sent;
}

// False once the deadline has passed.
bool CSWL_MultiNetComm::WaitForSocket(COMM_LINK& link, LinkLock& lock, tint64 deadline) {
    if (TimeSource().MonotonicMicroseconds() >= deadline) return false;
    pollfd watched{static_cast<int>(link.sock), POLLOUT, 0};
    lock.unlock();
    ClockPoll(&watched, 1, LOOK_INTERVAL);
    lock.lock();
    return true;
}

// False once the deadline has passed. On the engine's own thread nobody else would write the queue out.
bool CSWL_MultiNetComm::MakeRoom(COMM_LINK& link, LinkLock& lock, tint64 deadline) {
    if (!OnOwnThread() || !link.bSendIdle || link.bSyncSending) return WaitForRoom(lock, deadline);
    const int waiting = link.sendBuffer.GetDataSize();
    if (DrainQueue(link, false) == DRAIN_BROKEN) return false;
    return link.sendBuffer.GetDataSize() < waiting || WaitForSocket(link, lock, deadline);
}

// Waits without the lock until somebody calls TellRoom. False once the deadline has passed.
bool CSWL_MultiNetComm::WaitForRoom(LinkLock& lock, tint64 deadline) {
    const tint64 left = deadline - TimeSource().MonotonicMicroseconds();
    if (left <= 0) return false;
    const tuint32 before = m_roomCount;
    lock.unlock();
    const tuint32 wait = static_cast<tuint32>(std::min<tint64>(left / 1000 + 1, ROOM_INTERVAL));
    m_roomEvent.WaitForCond(wait, [&] { return m_roomCount != before; });
    lock.lock();
    return true;
}

void CSWL_MultiNetComm::TellRoom() {
    ++m_roomCount;
    if (m_users > 0) m_roomEvent.PulseEvent();
}
