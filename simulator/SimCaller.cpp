#include "simulator/SimCaller.h"

#include <netdb.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <utility>

namespace {

constexpr auto CONNECT_WAIT = std::chrono::seconds(5);

struct TARGET {
    std::string sHost;
    std::string sPort;
};

bool IsPort(const std::string& sText) {
    unsigned port = 0;
    const char* pEnd = sText.data() + sText.size();
    const auto [pRest, error] = std::from_chars(sText.data(), pEnd, port);
    return error == std::errc() && pRest == pEnd && port >= 1 && port <= 65535;
}

/// Host and port of a target; an empty host when it is none.
TARGET SplitTarget(const std::string& sTarget) {
    const size_t colon = sTarget.rfind(':');
    if (colon == std::string::npos || !IsPort(sTarget.substr(colon + 1))) return {};
    std::string sHost = sTarget.substr(0, colon);
    const bool bBrackets = sHost.size() > 2 && sHost.front() == '[' && sHost.back() == ']';
    if (bBrackets) sHost = sHost.substr(1, sHost.size() - 2);
    if (!bBrackets && sHost.find_first_of("[]:") != std::string::npos) return {};
    return {sHost, sTarget.substr(colon + 1)};
}

}  // namespace

bool CSimCaller::IsTarget(const std::string& sTarget) { return !SplitTarget(sTarget).sHost.empty(); }

std::unique_ptr<CSimCaller> CSimCaller::Make(SIM_CALL call, std::string& sError) {
    const TARGET target = SplitTarget(call.sTarget);
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* pFound = nullptr;
    const int error = getaddrinfo(target.sHost.c_str(), target.sPort.c_str(), &hints, &pFound);
    if (error != 0) {
        sError = "The host of " + call.sTarget + " is not found: " + gai_strerror(error) + ".";
        return nullptr;
    }
    std::unique_ptr<CSimCaller> pCaller(new CSimCaller(std::move(call)));
    for (const addrinfo* pEntry = pFound; pEntry; pEntry = pEntry->ai_next) {
        ADDRESS& address = pCaller->m_addresses.emplace_back();
        std::memcpy(&address.bytes, pEntry->ai_addr, pEntry->ai_addrlen);
        address.length = pEntry->ai_addrlen;
    }
    freeaddrinfo(pFound);
    return pCaller;
}

CSimCaller::~CSimCaller() {
    if (m_sock >= 0) close(m_sock);
}

int CSimCaller::Step(SIM_TIME now, bool bWritable) {
    if (m_sock < 0) return now < m_due ? -1 : Begin(now);
    if (!bWritable) return now < m_due ? -1 : GiveUp(now, ETIMEDOUT);
    int error = 0;
    socklen_t length = sizeof(error);
    if (getsockopt(m_sock, SOL_SOCKET, SO_ERROR, &error, &length) != 0) error = errno;
    return error == 0 ? Connected() : GiveUp(now, error);
}

int CSimCaller::Begin(SIM_TIME now) {
    m_due = m_call.notBefore(now);
    if (m_due > now) return -1;
    const ADDRESS& address = m_addresses[m_next];
    m_sock = socket(address.bytes.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_sock < 0) return GiveUp(now, errno);
    if (connect(m_sock, reinterpret_cast<const sockaddr*>(&address.bytes), address.length) == 0) return Connected();
    if (errno != EINPROGRESS) return GiveUp(now, errno);
    m_due = now + CONNECT_WAIT;
    return -1;
}

int CSimCaller::Connected() {
    m_next = 0;
    m_due = SIM_TIME::max();
    return std::exchange(m_sock, -1);
}

int CSimCaller::GiveUp(SIM_TIME now, int error) {
    if (m_sock >= 0) close(m_sock);
    m_sock = -1;
    m_next = (m_next + 1) % m_addresses.size();
    m_due = m_next == 0 ? now + m_call.again : now;  // the other addresses of a name come first
    m_call.onVainCall("No link to " + m_call.sTarget + ": " + std::strerror(error) + ".");
    return -1;
}

void CSimCaller::OnLinkEnded(SIM_TIME now) { m_due = now + m_call.again; }
