// A link that a device opens by itself, and opens again when it is gone.
#pragma once

#include <sys/socket.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "simulator/SimTime.h"

/// Whom a device calls, and when.
struct SIM_CALL {
    std::string sTarget;                              // HOST:PORT; an IPv6 address stands in brackets
    std::chrono::milliseconds again{};                // from the end of a link or of a vain try to the next try
    std::function<SIM_TIME(SIM_TIME now)> notBefore;  // earliest time of a try, `now` or later; on the server's thread
    std::function<void(const std::string&)> onVainCall;  // a sentence about it; on the server's thread
};

/// The way from one call to the next: at most one socket at a time that is being connected, or one link. Nothing
/// blocks; a try ends after 5 s. Used by the server's thread once it runs.
class CSimCaller {
public:
    /// Whether the text can be a target.
    static bool IsTarget(const std::string& sTarget);

    /// Looks the host up once, which takes as long as the system lets it. Nothing, with a sentence in `sError`, when
    /// that fails.
    static std::unique_ptr<CSimCaller> Make(SIM_CALL call, std::string& sError);

    ~CSimCaller();
    CSimCaller(const CSimCaller&) = delete;
    CSimCaller& operator=(const CSimCaller&) = delete;

    /// The socket that is being connected, to be watched for writing; -1 without one.
    int Socket() const { return m_sock; }

    /// When Step() wants to be called at the latest.
    SIM_TIME Due() const { return m_due; }

    /// Begins a try that is due, or ends one: `bWritable` tells that the socket has become so. The result is a
    /// connected socket, which then belongs to the one who asked, or -1.
    int Step(SIM_TIME now, bool bWritable);

    /// The link that came of the last connected socket is gone.
    void OnLinkEnded(SIM_TIME now);

private:
    struct ADDRESS {
        sockaddr_storage bytes{};
        socklen_t length = 0;
    };

    explicit CSimCaller(SIM_CALL call) : m_call(std::move(call)) {}
    int Begin(SIM_TIME now);
    int Connected();
    int GiveUp(SIM_TIME now, int error);

    const SIM_CALL m_call;
    std::vector<ADDRESS> m_addresses;  // never empty
    size_t m_next = 0;                 // address of the next try
    int m_sock = -1;
    SIM_TIME m_due{};  // next try, end of the one under way, or never while there is a link
};
