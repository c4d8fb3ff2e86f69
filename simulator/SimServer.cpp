#include "simulator/SimServer.h"

#include <netdb.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr auto ACCEPT_PAUSE = std::chrono::milliseconds(100);

/// Port of a bound socket.
std::uint16_t BoundPort(int sock) {
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    if (getsockname(sock, reinterpret_cast<sockaddr*>(&address), &length) != 0) return 0;
    char service[NI_MAXSERV] = {};
    if (getnameinfo(reinterpret_cast<sockaddr*>(&address), length, nullptr, 0, service, sizeof(service),
                    NI_NUMERICSERV) != 0) {
        return 0;
    }
    return static_cast<std::uint16_t>(std::stoul(service));
}

/// A socket that listens on the address; -1 with errno.
int OpenListener(const addrinfo& address) {
    const int sock = socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (sock < 0) return -1;
    const int on = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (bind(sock, address.ai_addr, address.ai_addrlen) == 0 && listen(sock, SOMAXCONN) == 0) return sock;
    const int error = errno;
    close(sock);
    errno = error;
    return -1;
}

}  // namespace

bool CSimServer::Listen(const std::string& sBind, std::uint16_t port, std::string& sError) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* pFound = nullptr;
    if (getaddrinfo(sBind.c_str(), std::to_string(port).c_str(), &hints, &pFound) != 0) {
        sError = "'" + sBind + "' is no numeric address.";
        return false;
    }
    m_listenSock = OpenListener(*pFound);
    freeaddrinfo(pFound);
    if (m_listenSock < 0) {
        sError =
            "Port " + std::to_string(port) + " of " + sBind + " cannot be listened on: " + std::strerror(errno) + ".";
        return false;
    }
    m_port = BoundPort(m_listenSock);
    return true;
}

bool CSimServer::Start(const std::string& sBind, std::uint16_t port, SESSION_MAKER maker, std::string& sError) {
    if (m_thread.joinable()) return true;
    m_wakeSock = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (m_wakeSock < 0) {
        sError = std::string("No event descriptor: ") + std::strerror(errno) + ".";
        return false;
    }
    if (!Listen(sBind, port, sError)) {
        CloseSockets();
        return false;
    }
    m_maker = std::move(maker);
    m_bStop = false;
    m_jobs.clear();
    m_thread = std::thread([this] { Run(); });
    return true;
}

void CSimServer::Stop() {
    if (!m_thread.joinable()) return;
    Post([this] {
        const std::lock_guard lock(m_jobLock);
        m_bStop = true;
    });
    m_thread.join();
    CloseSockets();
}

void CSimServer::CloseSockets() {
    if (m_listenSock >= 0) close(m_listenSock);
    if (m_wakeSock >= 0) close(m_wakeSock);
    m_listenSock = m_wakeSock = -1;
    m_port = 0;
    m_pCaller.reset();
}

void CSimServer::Post(std::function<void()> job) {
    if (m_wakeSock < 0) return;
    {
        const std::lock_guard lock(m_jobLock);
        m_jobs.push_back(std::move(job));
    }
    // A full counter wakes as well, so that a failed write loses nothing.
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_wakeSock, &one, sizeof(one));
}

void CSimServer::CutAllLinks(SIM_CUT how) {
    for (PEER& peer : m_peers) peer.pLink->Cut(how);
}

void CSimServer::ForEachSession(const std::function<void(CSimSession&)>& visit) {
    for (PEER& peer : m_peers) visit(*peer.pSession);
}

void CSimServer::Run() {
    const auto stopped = [this] {
        const std::lock_guard lock(m_jobLock);
        return m_bStop;
    };
    while (!stopped()) {
        Wait();
        RunJobs();
        if (m_bAccept) AcceptAll();
        CallOut();
        for (PEER& peer : m_peers) Serve(peer);
        DropEnded();
    }
    CutAllLinks(SIM_CUT::CLOSE);
    DropEnded();
}

void CSimServer::Wait() {
    const SIM_TIME now = SIM_CLOCK::now();
    SIM_TIME due = now + std::chrono::hours(1);
    std::vector<pollfd> sockets{{m_wakeSock, POLLIN, 0}, {m_listenSock, POLLIN, 0}, {-1, POLLOUT, 0}};
    if (now < m_acceptFrom) {
        sockets[1].events = 0;
        due = m_acceptFrom;
    }
    if (m_pCaller) {
        sockets[2].fd = m_pCaller->Socket();
        due = std::min(due, m_pCaller->Due());
    }
    for (const PEER& peer : m_peers) {
        const short events = peer.pLink->Queued() > 0 ? POLLIN | POLLOUT : POLLIN;
        sockets.push_back({peer.pLink->Socket(), events, 0});
        due = std::min(due, peer.due);
    }
    const auto wait = std::max(std::chrono::nanoseconds(0), std::chrono::nanoseconds(due - now));
    const timespec timeout{static_cast<time_t>(wait.count() / 1000000000),
                           static_cast<long>(wait.count() % 1000000000)};
    if (ppoll(sockets.data(), sockets.size(), &timeout, nullptr) <= 0) {
        for (pollfd& entry : sockets) entry.revents = 0;
    }
    m_bAccept = sockets[1].revents != 0;
    m_bCallDecided = sockets[2].revents != 0;
    size_t at = 3;
    for (PEER& peer : m_peers) peer.bReadable = (sockets[at++].revents & (POLLIN | POLLHUP | POLLERR)) != 0;
}

void CSimServer::RunJobs() {
    std::uint64_t woken = 0;
    [[maybe_unused]] const ssize_t got = read(m_wakeSock, &woken, sizeof(woken));
    std::vector<std::function<void()>> jobs;
    {
        const std::lock_guard lock(m_jobLock);
        jobs.swap(m_jobs);
    }
    for (const auto& job : jobs) job();
}

void CSimServer::AcceptAll() {
    for (;;) {
        const int sock = accept4(m_listenSock, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (sock < 0) {
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS) m_acceptFrom = SIM_CLOCK::now() + ACCEPT_PAUSE;
            if (errno == ECONNABORTED || errno == EINTR) continue;
            return;
        }
        AddPeer(sock, SIM_LINK_WAY::ACCEPTED);
    }
}

void CSimServer::CallOut() {
    if (!m_pCaller) return;
    const int sock = m_pCaller->Step(SIM_CLOCK::now(), m_bCallDecided);
    if (sock >= 0) AddPeer(sock, SIM_LINK_WAY::CALLED);
}

void CSimServer::AddPeer(int sock, SIM_LINK_WAY way) {
    PEER& peer = m_peers.emplace_back();
    peer.pLink = std::make_unique<CSimLink>(sock, ++m_lastLinkId, way);
    peer.pSession = m_maker(*peer.pLink);
    peer.pSession->OnOpen(SIM_CLOCK::now());
}

void CSimServer::Serve(PEER& peer) {
    const SIM_TIME now = SIM_CLOCK::now();
    if (peer.bReadable && !peer.pLink->IsOver()) {
        const bool bSpoken = peer.pLink->HasSpoken();
        peer.pLink->Receive();
        if (!bSpoken && peer.pLink->HasSpoken()) peer.pSession->OnSpoken();
        TakeMessages(peer, now);
    }
    peer.due = peer.pLink->IsUsable() ? peer.pSession->OnDue(now) : SIM_TIME::max();
    const size_t queued = peer.pLink->Queued();
    peer.pLink->Flush();
    if (peer.pLink->Queued() < queued && peer.pSession->IsBlocked()) peer.due = now;
}

void CSimServer::TakeMessages(PEER& peer, SIM_TIME now) {
    SIM_BYTE_VIEW message;
    for (;;) {
        const SIM_INPUT input = peer.pLink->NextMessage(message);
        if (input == SIM_INPUT::NONE) return;
        if (input == SIM_INPUT::MESSAGE) peer.pSession->OnMessage(message, now);
        if (input == SIM_INPUT::BAD) {
            peer.pSession->OnBadInput();
            peer.pLink->Cut(SIM_CUT::CLOSE);
        }
    }
}

void CSimServer::DropEnded() {
    for (auto it = m_peers.begin(); it != m_peers.end();) {
        if (!it->pLink->IsOver()) {
            ++it;
            continue;
        }
        it->pSession->OnClosed();
        it->pSession.reset();
        if (it->pLink->Way() == SIM_LINK_WAY::CALLED) m_pCaller->OnLinkEnded(SIM_CLOCK::now());
        it = m_peers.erase(it);
    }
}
