// A client of a recorder that knows bytes and offsets only, so that the tests do not lean on the records under test.
#pragma once

#include <cstdint>

#include "support/Test.h"

using BYTES = std::vector<std::uint8_t>;

std::uint32_t Word(const BYTES& bytes, size_t at);
std::uint64_t Long(const BYTES& bytes, size_t at);

/// One link frame as it came: packed pieces have a negative length and their 24-byte head in `payload`.
struct WIRE_MESSAGE {
    std::int32_t length = 0;
    BYTES payload;
    std::uint32_t Id() const { return payload.size() >= 4 ? Word(payload, 0) : 0; }
};

/// A blocking socket; no read waits longer than 5 s.
class CWireClient : CUncopied {
public:
    explicit CWireClient(std::uint16_t port);
    /// Takes the next caller of a listening socket; none within 5 s leaves it closed.
    explicit CWireClient(const class CWireListener& listener);
    ~CWireClient();

    /// Up to `length` bytes; fewer when the link ended or the time is over.
    BYTES Read(size_t length);
    /// True when the link ends within the time, without a byte before.
    bool ReadsEnd();
    void Write(const BYTES& bytes);

    std::optional<WIRE_MESSAGE> Next();
    /// The next message for which `wanted` is true; others, heartbeats too, are dropped. Gives up after 5 s.
    std::optional<WIRE_MESSAGE> Next(const std::function<bool(const WIRE_MESSAGE&)>& wanted);
    std::optional<WIRE_MESSAGE> Next(std::uint32_t id);
    /// The next frame of a stream that comes in one message.
    std::optional<WIRE_MESSAGE> NextFrame(std::uint32_t type, std::uint32_t channel);

    void Command(std::uint32_t id, const BYTES& body = {});
    /// Asks for the channels' streams with CMD_REQUEST_STREAM_START.
    void StartStreams(std::uint64_t first, std::uint64_t second, std::uint64_t sound, std::uint32_t id = 513);
    /// Reads the first block and logs in; gives the reply.
    std::optional<WIRE_MESSAGE> Login(const std::string& sUser = "admin", const std::string& sPassword = "secret");

private:
    int m_sock;
};

/// Listens on a port of this machine that was free.
class CWireListener : CUncopied {
public:
    CWireListener();
    ~CWireListener();

    int Socket() const { return m_sock; }
    std::uint16_t Port() const { return m_port; }

private:
    int m_sock;
    std::uint16_t m_port = 0;
};

/// 120 bytes of a login request.
BYTES LoginBody(const std::string& sUser, const std::string& sPassword, std::uint8_t version = 4);
