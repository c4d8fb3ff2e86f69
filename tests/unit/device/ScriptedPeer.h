// A TCP peer on this machine that does with each connection what a test says.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "protocol/LinkFrame.h"
#include "support/Test.h"

/// Accepts on the loopback address until its end; `serve` runs on a thread per connection, which is closed behind it.
class CScriptedPeer {
public:
    using Serve = std::function<void(int sock)>;

    explicit CScriptedPeer(Serve serve, int family = AF_INET) : m_serve(std::move(serve)) {
        m_listen = socket(family, SOCK_STREAM, 0);
        sockaddr_storage address{};
        address.ss_family = static_cast<sa_family_t>(family);
        if (family == AF_INET)
            reinterpret_cast<sockaddr_in&>(address).sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        else
            reinterpret_cast<sockaddr_in6&>(address).sin6_addr = in6addr_loopback;
        socklen_t length = family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
        m_bBound = bind(m_listen, reinterpret_cast<sockaddr*>(&address), length) == 0 && listen(m_listen, 64) == 0;
        getsockname(m_listen, reinterpret_cast<sockaddr*>(&address), &length);
        m_port = ntohs(family == AF_INET ? reinterpret_cast<sockaddr_in&>(address).sin_port
                                         : reinterpret_cast<sockaddr_in6&>(address).sin6_port);
        m_accept = std::thread([this] { Accept(); });
    }

    ~CScriptedPeer() {
        m_bEnd = true;
        shutdown(m_listen, SHUT_RDWR);
        m_accept.join();
        for (auto& thread : m_threads) thread.join();
        close(m_listen);
    }

    bool Bound() const { return m_bBound; }
    unsigned short Port() const { return m_port; }

    /// Blocks until the other side has closed, the peer ends or `enough` says so.
    void AwaitClose(
        int sock, const std::function<bool()>& enough = [] { return false; }) const {
        char scrap[256];
        while (!m_bEnd && !enough()) {
            pollfd readable{sock, POLLIN, 0};
            if (poll(&readable, 1, 5) > 0 && recv(sock, scrap, sizeof(scrap), 0) <= 0) return;
        }
    }

private:
    void Accept() {
        for (;;) {
            const int sock = accept(m_listen, nullptr, nullptr);
            if (sock < 0) return;
            m_threads.emplace_back([this, sock] {
                m_serve(sock);
                close(sock);
            });
        }
    }

    Serve m_serve;
    int m_listen = -1;
    bool m_bBound = false;
    unsigned short m_port = 0;
    std::atomic<bool> m_bEnd{false};
    std::thread m_accept;
    std::vector<std::thread> m_threads;
};

/// The first block of a device of that family, as bytes.
inline std::string FirstBlock(tuint32 dwDevType, tuint32 dwProtocolVer, tint16 wProductSubID = 0) {
    std::string block(64, '\0');
    std::memcpy(&block[0], "head", 4);
    std::memcpy(&block[4], &dwDevType, 4);
    std::memcpy(&block[12], &dwProtocolVer, 4);
    std::memcpy(&block[62], &wProductSubID, 2);
    return block;
}

inline void SendAll(int sock, const std::string& bytes) { (void)!send(sock, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
