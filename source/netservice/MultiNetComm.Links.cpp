// Coming and going of links.
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <new>

#include "netservice/MultiNetComm.h"
#include "sdk_common/Console.h"
#include "sdk_common/SystemFault.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr int MINIMAL_SOCKET_BUFFER = 32000;

void RaiseSocketBuffer(SWL_socket_t sock, int iName) {
    int value = 0;
    socklen_t size = sizeof(value);
    if (getsockopt(static_cast<int>(sock), SOL_SOCKET, iName, &value, &size) != 0) return;
    if (value < MINIMAL_SOCKET_BUFFER) SWL_SetOption(sock, SOL_SOCKET, iName, MINIMAL_SOCKET_BUFFER);
}

}  // namespace

CSWL_MultiNetComm::LinkRef CSWL_MultiNetComm::FindLink(int deviceID) {
    for (const LinkRef& link : m_lstNetLink) {
        if (link->deviceID == deviceID && !link->bRemoved) return link;
    }
    return nullptr;
}

CSWL_MultiNetComm::LinkRef CSWL_MultiNetComm::LookUpLink(int deviceID) {
    const std::scoped_lock guard(m_lstLinkLock);
    return FindLink(deviceID);
}

// The socket is not in it yet: a link closes its socket when it goes.
CSWL_MultiNetComm::LinkRef CSWL_MultiNetComm::MakeLink(int deviceID) {
    LinkRef link = std::make_shared<COMM_LINK>();
    if (!link->sendBuffer.Init(m_sendBufSize)) return nullptr;
    link->deviceID = deviceID;
    link->bufferMaxLen = link->sendBuffer.GetTotalSize();
    link->prevRecvTime = link->prevSendTime = link->prevSystemTime = Now();
    link->serial = m_nextSerial++;
    return link;
}

bool CSWL_MultiNetComm::EnterLink(int deviceID, SWL_socket_t sock) try {
    if (FindLink(deviceID)) return false;
    const LinkRef link = MakeLink(deviceID);
    if (!link) return false;
    std::list<LinkRef> entry{link};
    m_linkBySerial.emplace(link->serial, link);
    m_lstNetLink.splice(m_lstNetLink.end(), entry);
    link->sock = sock;
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

int CSWL_MultiNetComm::AddNewComm(int deviceID, SWL_socket_t sock) {
    if (sock < 0) return -1;
    const std::scoped_lock guard(m_lstLinkLock);
    const std::scoped_lock sendGuard(m_listLinkSendLock);
    if (m_sendBufSize == 0 || !EnterLink(deviceID, sock)) return -1;
    RaiseSocketBuffer(sock, SO_RCVBUF);
    RaiseSocketBuffer(sock, SO_SNDBUF);
    SWL_SetOption(sock, IPPROTO_TCP, TCP_NODELAY, 1);  // commands are small, and each is waited for
    return 0;
}

int CSWL_MultiNetComm::RemoveComm(int deviceID) {
    const std::scoped_lock guard(m_lstLinkLock);
    const std::scoped_lock sendGuard(m_listLinkSendLock);
    const LinkRef link = FindLink(deviceID);
    if (!link) return 0;
    MarkRemoved(link);
    TellRoom();
    Wake();  // under the locks: once Destroy has had them the wake-up may be closed
    return 0;
}

int CSWL_MultiNetComm::RemoveAllConnect() {
    {
        const std::scoped_lock guard(m_lstLinkLock);
        const std::scoped_lock sendGuard(m_listLinkSendLock);
        for (const LinkRef& link : m_lstNetLink) MarkRemoved(link);
        TellRoom();
    }
    UpdateRemoveComm();
    return 0;
}

void CSWL_MultiNetComm::MarkRemoved(const LinkRef& link) {
    if (!link->bRemoved.exchange(true)) ++m_removedCount;
}

void CSWL_MultiNetComm::UpdateRemoveComm() {
    if (m_removedCount == 0) return;
    const std::scoped_lock guard(m_lstLinkLock);
    const std::scoped_lock sendGuard(m_listLinkSendLock);
    const auto isRemoved = [](const LinkRef& link) { return link->bRemoved.load(); };
    for (auto place = m_lstNetLink.begin(); place != m_lstNetLink.end();) {
        const auto current = place++;
        if (isRemoved(*current)) m_tempDelNetLink.splice(m_tempDelNetLink.end(), m_lstNetLink, current);
    }
    m_removedCount = 0;
    for (const LinkRef& link : m_tempDelNetLink) CloseLink(link);
    m_tempDelNetLink.clear();
}

// What is queued gets one try to go out, a logout for instance. The memory goes with the last one who is still in the
// link.
void CSWL_MultiNetComm::CloseLink(const LinkRef& link) {
    if (!link->bBroken && link->bSendIdle && !link->bSyncSending) DrainQueue(*link, false);
    SetWatch(*link, 0);
    m_linkBySerial.erase(link->serial);
    SWL_CloseSocket(link->sock);
    link->sock = SWL_INVALID_SOCKET;
}

int CSWL_MultiNetComm::SetRecvMode(int deviceID, bool bAutoRecv) {
    const std::scoped_lock guard(m_lstLinkLock);
    const std::scoped_lock sendGuard(m_listLinkSendLock);
    const LinkRef link = FindLink(deviceID);
    if (!link) return -1;
    link->bAutoRecv = bAutoRecv;
    UpdateWatch(*link);
    return 0;
}

int CSWL_MultiNetComm::SetAutoRecvCallback(int deviceID, RECVASYN_CALLBACK pfRecvCallBack, void* pParam) {
    const std::scoped_lock guard(m_lstLinkLock);
    const std::scoped_lock sendGuard(m_listLinkSendLock);
    const LinkRef link = FindLink(deviceID);
    if (!link) return -1;
    link->pfRecvCallBack = pfRecvCallBack;
    link->pParam = pParam;
    link->bBreakTold = false;
    if (link->bBroken) {
        m_bBrokenWaiting = true;
        Wake();
    }
    UpdateWatch(*link);
    return 0;
}

void CSWL_MultiNetComm::SetBufferMaxLen(int deviceID, int bufferMaxLen) {
    const std::scoped_lock guard(m_lstLinkLock);
    const std::scoped_lock sendGuard(m_listLinkSendLock);
    const LinkRef link = FindLink(deviceID);
    if (link) link->bufferMaxLen = std::min(bufferMaxLen, link->sendBuffer.GetTotalSize());
}

bool CSWL_MultiNetComm::GetLinkResourceByLinkID(int deviceID, NET_LINK_RESOURCE*& pLink) {
    const std::scoped_lock guard(m_lstLinkLock);
    const LinkRef link = FindLink(deviceID);
    if (link) pLink = link.get();
    return link != nullptr;
}

void CSWL_MultiNetComm::UpdateWatch(COMM_LINK& link) {
    const bool bRead = MayRead(link);
    SetWatch(link, (link.watched & ~tuint32{EPOLLIN}) | (bRead ? tuint32{EPOLLIN} : 0));
    WatchForWriting(link);
    if (!bRead || !link.reader.HasAhead()) return;
    m_bKeptWaiting = true;
    Wake();
}

void CSWL_MultiNetComm::WatchForWriting(COMM_LINK& link) {
    const bool bMayWrite = !link.bBroken && !link.bRemoved && link.bSendIdle && !link.bSyncSending;
    const bool bWrite = bMayWrite && link.sendBuffer.GetDataSize() > 0;
    SetWatch(link, (link.watched & ~tuint32{EPOLLOUT}) | (bWrite ? tuint32{EPOLLOUT} : 0));
}

void CSWL_MultiNetComm::SetWatch(COMM_LINK& link, tuint32 wanted) {
    if (wanted == link.watched || link.sock < 0) return;
    epoll_event event{};
    event.events = wanted;
    event.data.u64 = link.serial;
    const int change = wanted == 0 ? EPOLL_CTL_DEL : link.watched == 0 ? EPOLL_CTL_ADD : EPOLL_CTL_MOD;
    const auto watch = [&](size_t) { return epoll_ctl(m_eventSet, change, static_cast<int>(link.sock), &event); };
    if (SystemCall(SYSTEM_CALL::EPOLL_CTL, -1, watch) == 0 || wanted == 0) {
        link.watched = wanted;
    } else {
        BreakLink(link, __LINE__);  // a link that nobody watches would hang for ever
    }
}

// Only marks the link. The engine's thread does the rest in TellBrokenLinks, so that no lock of the caller is held when
// the receiver is told and no buffer goes away under a receiver who is still reading it.
void CSWL_MultiNetComm::BreakLink(COMM_LINK& link, int iLine) {
    if (link.bBroken.exchange(true)) return;
    PrintConsoleF("%s, %d, pNetLinkResource->bBroken = true , m_deviceID = %d\n", "MultiNetComm", iLine, link.deviceID);
    YLOG(YLOG_WARN, "%s, %d, pNetLinkResource->bBroken = true , m_deviceID = %d\n", "MultiNetComm", iLine,
         link.deviceID);
    m_bBrokenWaiting = true;
    TellRoom();
    Wake();
}

void CSWL_MultiNetComm::TellBrokenLinks() {
    if (!m_bBrokenWaiting.exchange(false)) return;
    LinkRef link;
    RECVASYN_CALLBACK pfCallBack = nullptr;
    void* pParam = nullptr;
    while (TakeBrokenLink(link, pfCallBack, pParam)) pfCallBack(link->deviceID, pParam, nullptr, -1);
}

bool CSWL_MultiNetComm::TakeBrokenLink(LinkRef& link, RECVASYN_CALLBACK& pfCallBack, void*& pParam) {
    const std::scoped_lock guard(m_lstLinkLock);
    const std::scoped_lock sendGuard(m_listLinkSendLock);
    for (const LinkRef& candidate : m_lstNetLink) {
        if (!candidate->bBroken || candidate->bRemoved || candidate->bBreakTold) continue;
        candidate->reader.Release();
        SetWatch(*candidate, 0);
        if (!candidate->pfRecvCallBack) continue;
        candidate->bBreakTold = true;
        link = candidate;
        pfCallBack = candidate->pfRecvCallBack;
        pParam = candidate->pParam;
        return true;
    }
    return false;
}

void CSWL_MultiNetComm::Wake() {
    if (m_wakeFd >= 0) eventfd_write(m_wakeFd, 1);
}
