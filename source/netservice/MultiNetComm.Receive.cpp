// From the sockets to the receivers.
#include <poll.h>

#include "netservice/MultiNetComm.h"
#include "sdk_common/TimeSource.h"

namespace {

// One link may take this much of a round, so that the others get their turn.
constexpr int ROUND_BYTES = 1024 * 1024;

// How long a reader waits for a socket before it looks whether the link still lives.
constexpr int LOOK_INTERVAL = 10;  // milliseconds

}  // namespace

bool CSWL_MultiNetComm::MayRead(const COMM_LINK& link) const {
    return link.bAutoRecv && link.pfRecvCallBack && !link.bBroken && !link.bRemoved;
}

void CSWL_MultiNetComm::ReadStage(const LinkRef& link) {
    LinkLock lock(m_lstLinkLock);
    DeliverMessages(link, lock);
    bool bFull = true;
    for (int left = ROUND_BYTES; left > 0 && bFull && MayRead(*link);) {
        const int count = ReadSome(*link, bFull);
        if (count <= 0) return;
        left -= count;
        DeliverMessages(link, lock);
    }
}

// Bytes taken from the socket. Full: there may be more.
int CSWL_MultiNetComm::ReadSome(COMM_LINK& link, bool& bFull) {
    const std::span<char> room = link.reader.Room();
    const std::span<char> target = room.empty() ? std::span<char>(m_scratch.get(), SCRATCH_SIZE) : room;
    const int count = ReadNow(link, target.data(), static_cast<int>(target.size()));
    if (count <= 0) return count;
    bFull = static_cast<size_t>(count) == target.size();
    if (room.empty()) {
        link.reader.GiveAhead(target.first(count));
    } else {
        link.reader.Added(count);
    }
    return count;
}

// Messages are handed on from where they lie. The receiver may change the link's mode or end it at each of them; bytes
// that it does not want here any more are kept for RecvData.
void CSWL_MultiNetComm::DeliverMessages(const LinkRef& link, LinkLock& lock) {
    while (MayRead(*link)) {
        switch (link->reader.Next()) {
            case CLinkReader::NEED_BYTES:
                return;
            case CLinkReader::HEARTBEAT:
                break;
            case CLinkReader::MESSAGE:
                CallReceiver(link, lock);
                break;
            case CLinkReader::BROKEN:
                BreakLink(*link, __LINE__);
                break;
        }
    }
    if (!link->reader.KeepAhead()) BreakLink(*link, __LINE__);
}

void CSWL_MultiNetComm::CallReceiver(const LinkRef& link, LinkLock& lock) {
    const RECVASYN_CALLBACK pfCallBack = link->pfRecvCallBack;
    void* pParam = link->pParam;
    const std::span<char> message = link->reader.Message();
    lock.unlock();
    pfCallBack(link->deviceID, pParam, message.data(), static_cast<int>(message.size()));
    lock.lock();
}

// What the socket gives at once: 0 if nothing, -1 once the link is broken.
int CSWL_MultiNetComm::ReadNow(COMM_LINK& link, char* pBuf, int iLen) {
    if (link.bBroken || link.bRemoved) return -1;
    const int count = SWL_Recv(link.sock, pBuf, iLen);
    if (count > 0) link.prevRecvTime = Now();
    if (count > 0 || (count < 0 && SDK_SWL_EWOULDBLOCK())) return count > 0 ? count : 0;
    BreakLink(link, __LINE__);
    return -1;
}

int CSWL_MultiNetComm::RecvData(int deviceID, char* pData, int iLen, bool bBlock, int lBlockTime) {
    const USER user(m_users);
    const LinkRef link = LookUpLink(deviceID);
    if (!link) return -2;
    if (link->bAutoRecv) return 0;
    return RecvOnLink(link, pData, iLen, bBlock, lBlockTime);
}

int CSWL_MultiNetComm::RecvBuff(int deviceID, void* pBuf, int iLen, bool bBlock, int lBlockTime) {
    const USER user(m_users);
    const LinkRef link = LookUpLink(deviceID);
    if (!link) return -2;
    return RecvOnLink(link, static_cast<char*>(pBuf), iLen, bBlock, lBlockTime);
}

int CSWL_MultiNetComm::RecvOnLink(const LinkRef& link, char* pBuf, int iLen, bool bBlock, int lBlockTime) {
    if (!pBuf || iLen < 0) return -1;
    const tint64 deadline = TimeSource().MonotonicMicroseconds() + tint64{lBlockTime} * 1000000;
    for (int got = 0;;) {
        pollfd watched{-1, POLLIN, 0};
        {
            const std::scoped_lock guard(m_lstLinkLock);
            int count = link->reader.TakeRaw(pBuf + got, iLen - got);
            if (count == 0 && got < iLen) count = ReadNow(*link, pBuf + got, iLen - got);
            if (count < 0) return -1;
            got += count;
            if (got == iLen) return got;
            if (count > 0) continue;
            watched.fd = static_cast<int>(link->sock);
        }
        if ((!bBlock && got == 0) || TimeSource().MonotonicMicroseconds() >= deadline) return got;
        ClockPoll(&watched, 1, LOOK_INTERVAL);
    }
}
