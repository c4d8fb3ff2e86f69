// One connection of a simulated device.
#pragma once

#include <initializer_list>

#include "simulator/SimBytes.h"

/// How a link ends, or seems to.
enum class SIM_CUT {
    CLOSE,   // orderly
    RESET,   // RST
    SILENT,  // stays open; nothing is sent any more, what comes is thrown away
};

/// Who opened a link.
enum class SIM_LINK_WAY {
    ACCEPTED,  // the client
    CALLED,    // the device itself
};

/// What CSimLink::NextMessage found.
enum class SIM_INPUT { NONE, MESSAGE, HEARTBEAT, BAD };

/// A non-blocking socket with a queue of bytes to be sent and a cutter of link frames. Used by the server's thread
/// only.
class CSimLink {
public:
    /// Takes the socket over.
    CSimLink(int sock, unsigned id, SIM_LINK_WAY way);
    ~CSimLink();
    CSimLink(const CSimLink&) = delete;
    CSimLink& operator=(const CSimLink&) = delete;

    unsigned Id() const { return m_id; }
    SIM_LINK_WAY Way() const { return m_way; }
    int Socket() const { return m_sock; }

    /// Queues bytes without a frame around them.
    void SendRaw(SIM_BYTE_VIEW bytes);

    /// Queues one link frame whose payload is the parts, one behind the other.
    void SendMessage(std::initializer_list<SIM_BYTE_VIEW> parts);
    void SendHeartbeat() { SendMessage({}); }

    /// Bytes that wait in the queue.
    size_t Queued() const { return m_out.size() - m_outAt; }
    std::uint64_t BytesSent() const { return m_bytesSent; }
    bool HasSpoken() const { return m_bSpoken; }

    /// Ends the link at once; what is queued is lost.
    void Cut(SIM_CUT how);

    /// Ends the link when `bytes` have been sent since it was opened.
    void CutAfter(std::uint64_t bytes, SIM_CUT how);

    /// Ends the link once what is queued now has been sent. Nothing more is queued or taken from the client.
    void CutWhenSent(SIM_CUT how);

    bool IsOver() const { return m_bOver; }

    /// True while messages can still go out.
    bool IsUsable() const { return !m_bOver && !m_bSilent && !m_bEnding; }

    /// Writes what the socket takes.
    void Flush();

    /// Reads what the socket has; ends the link when the client closed it.
    void Receive();

    /// Cuts the next frame out of the bytes received. `message` is valid until the next call of Receive().
    SIM_INPUT NextMessage(SIM_BYTE_VIEW& message);

private:
    const int m_sock;
    const unsigned m_id;
    const SIM_LINK_WAY m_way;
    SIM_BYTES m_out;
    size_t m_outAt = 0;
    SIM_BYTES m_in;
    size_t m_inAt = 0;
    std::uint64_t m_bytesSent = 0;
    std::uint64_t m_cutAt = UINT64_MAX;
    SIM_CUT m_cutHow = SIM_CUT::CLOSE;
    bool m_bSpoken = false;
    bool m_bEnding = false;
    bool m_bOver = false;
    bool m_bSilent = false;
};
