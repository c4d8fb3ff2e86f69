#include "WireClient.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

std::uint64_t Number(const BYTES& bytes, size_t at, size_t size) {
    std::uint64_t number = 0;
    for (size_t n = 0; n < size; ++n) number |= std::uint64_t{bytes.at(at + n)} << (8 * n);
    return number;
}
std::uint32_t Word(const BYTES& bytes, size_t at) { return static_cast<std::uint32_t>(Number(bytes, at, 4)); }
std::uint64_t Long(const BYTES& bytes, size_t at) { return Number(bytes, at, 8); }

static void Put(BYTES& bytes, std::uint64_t number, size_t size) {
    for (size_t n = 0; n < size; ++n) bytes.push_back(static_cast<std::uint8_t>(number >> (8 * n)));
}

static void BePatient(int sock) {
    const timeval patience{5, 0};
    setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
}

CWireListener::CWireListener() : m_sock(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    BePatient(m_sock);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    bind(m_sock, reinterpret_cast<sockaddr*>(&address), length);
    listen(m_sock, 16);
    if (getsockname(m_sock, reinterpret_cast<sockaddr*>(&address), &length) == 0) m_port = ntohs(address.sin_port);
}

CWireListener::~CWireListener() { close(m_sock); }

CWireClient::CWireClient(const CWireListener& listener)
    : m_sock(accept4(listener.Socket(), nullptr, nullptr, SOCK_CLOEXEC)) {
    BePatient(m_sock);
}

CWireClient::CWireClient(std::uint16_t port) : m_sock(ConnectLoopback(port)) { BePatient(m_sock); }

CWireClient::~CWireClient() { close(m_sock); }

BYTES CWireClient::Read(size_t length) {
    BYTES bytes(length);
    size_t got = 0;
    while (got < length) {
        const ssize_t part = recv(m_sock, bytes.data() + got, length - got, 0);
        if (part <= 0) break;
        got += static_cast<size_t>(part);
    }
    bytes.resize(got);
    return bytes;
}

bool CWireClient::ReadsEnd() {
    char byte;
    const ssize_t got = recv(m_sock, &byte, 1, 0);
    return got == 0 || (got < 0 && errno == ECONNRESET);
}

void CWireClient::Write(const BYTES& bytes) { send(m_sock, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

std::optional<WIRE_MESSAGE> CWireClient::Next() {
    const BYTES head = Read(8);
    if (head.size() < 8 || Word(head, 0) != 0x31313131) return std::nullopt;
    WIRE_MESSAGE message{static_cast<std::int32_t>(Word(head, 4)), {}};
    if (message.length >= 0) {
        message.payload = Read(static_cast<size_t>(message.length));
        if (message.payload.size() != static_cast<size_t>(message.length)) return std::nullopt;
        return message;
    }
    message.payload = Read(24);
    if (message.payload.size() < 24) return std::nullopt;
    const BYTES data = Read(Word(message.payload, 16));
    message.payload.insert(message.payload.end(), data.begin(), data.end());
    return message;
}

std::optional<WIRE_MESSAGE> CWireClient::Next(const std::function<bool(const WIRE_MESSAGE&)>& wanted) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    auto message = Next();
    while (message && !wanted(*message)) {
        // Heartbeats keep the reads alive.
        if (std::chrono::steady_clock::now() > deadline) return std::nullopt;
        message = Next();
    }
    return message;
}

std::optional<WIRE_MESSAGE> CWireClient::Next(std::uint32_t id) {
    return Next([id](const WIRE_MESSAGE& message) { return message.length > 0 && message.Id() == id; });
}

std::optional<WIRE_MESSAGE> CWireClient::NextFrame(std::uint32_t type, std::uint32_t channel) {
    return Next([&](const WIRE_MESSAGE& message) {
        return message.length > 0 && message.Id() == 0xA000001 && Word(message.payload, 20) == type &&
               Word(message.payload, 40) == channel;
    });
}

void CWireClient::Command(std::uint32_t id, const BYTES& body) {
    BYTES bytes{'1', '1', '1', '1'};
    Put(bytes, 16 + body.size(), 4);
    Put(bytes, id, 4);
    Put(bytes, 0, 4);
    Put(bytes, 4, 4);
    Put(bytes, body.size(), 4);
    bytes.insert(bytes.end(), body.begin(), body.end());
    Write(bytes);
}

void CWireClient::StartStreams(std::uint64_t first, std::uint64_t second, std::uint64_t sound, std::uint32_t id) {
    BYTES body;
    Put(body, 0, 4);
    for (const std::uint64_t mask : {first, second, std::uint64_t{0}, sound}) Put(body, mask, 8);
    Command(id, body);
}

BYTES LoginBody(const std::string& sUser, const std::string& sPassword, std::uint8_t version) {
    BYTES body(120);
    body[0] = 1;
    std::copy(sUser.begin(), sUser.end(), body.begin() + 8);
    std::copy(sPassword.begin(), sPassword.end(), body.begin() + 44);
    body[116] = version;
    return body;
}

std::optional<WIRE_MESSAGE> CWireClient::Login(const std::string& sUser, const std::string& sPassword) {
    if (Read(64).size() < 64) return std::nullopt;
    Command(257, LoginBody(sUser, sPassword));
    return Next([](const WIRE_MESSAGE& message) { return message.length > 0; });
}
