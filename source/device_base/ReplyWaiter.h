// The ask-and-wait of the device classes: replies come on the engine's thread, the asking thread takes the one that it
// wants.
#pragma once

#include <functional>
#include <list>
#include <mutex>
#include <span>
#include <vector>

#include "HLX.h"
#include "protocol/WireTypes.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/WaitEvent.h"

/// A reply as it came: its command id and a copy of its body.
struct REPLY_CMD_DATA {
    tuint32 cmdType = 0;
    std::vector<std::byte> cmdParam;
};

/// Replies of one device. Request and reply pair by id alone, so one request is under way at a time; others queue
/// behind it. A reply that nobody waits for is dropped. Locks: m_askLock, then the event's own, then m_lstReplyLock,
/// which is a leaf.
class CReplyWaiter {
public:
    /// 200 rounds of 50 ms; a round counts 50 ms whether it ended early or not.
    static constexpr tuint32 REPLY_WAIT_MS = 10000;
    static constexpr tuint32 REPLY_ROUND_MS = 50;

    /// Bounds of what is kept for one waiter; a single reply of any length always fits.
    static constexpr size_t MAX_REPLIES = 64;
    static constexpr size_t MAX_REPLY_BYTES = 16 * 1024 * 1024;

    /// A new link serves the device: forgets that the old one fell.
    void NewLink();

    /// A session begins on the link. False if the link fell already.
    bool Open();

    /// The session ends: a wait under way ends at once with HLX_NETWORK_NOT_CONNECT, and so does each new one until
    /// Open.
    void Close();

    /// The link fell. As Close, until NewLink; a reply that came before is still taken.
    void Break();

    /// Ends the wait that is under way, if there is one, with HLX_NETWORK_NOT_CONNECT. Any thread.
    void Interrupt();

    /// True if the link falls within `ms` milliseconds or has fallen.
    bool WaitForBreak(tuint32 ms);

    bool IsBroken();

    /// Takes a reply in. Engine's thread; blocks only for a copy. The body is copied if a request is under way.
    void OnReply(tuint32 cmdType, std::span<const std::byte> body);

    /// Drops what is left from earlier requests, calls `send` and waits at most 10 s for a reply whose id is in
    /// `accepted`; other replies are dropped. Returns HLX_SUCCESS with the reply in `reply`, or the error number: that
    /// of `send`, HLX_NETWORK_NOT_CONNECT (link fell or session closed) or HLX_NETWORK_RECV_TIMEOUT. Sets no last
    /// error.
    HLX_ERROR Ask(const std::function<HLX_ERROR()>& send, std::span<const tuint32> accepted, REPLY_CMD_DATA& reply);

private:
    class CAskingScope;
    HLX_ERROR WaitForReply(std::span<const tuint32> accepted, REPLY_CMD_DATA& reply);
    bool TakeReply(std::span<const tuint32> accepted, REPLY_CMD_DATA& reply);
    void SetAsking(bool bAsking);
    bool HasNews();
    bool HasFallen();

    std::mutex m_askLock;  // held by the asking thread for the whole of a request
    CWaitEvent m_recvEvent;
    CPUB_Lock m_lstReplyLock;                  // guards all below
    std::list<REPLY_CMD_DATA> m_replyCmdList;  // in order of arrival
    size_t m_replyBytes = 0;                   // bodies in m_replyCmdList
    bool m_bAsking = false;
    bool m_bInterrupted = false;  // the request under way
    bool m_bClosed = true;
    bool m_bBroken = false;
};
