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

/// What the one that asked says of a reply.
enum REPLY_VERDICT {
    REPLY_NOT_MINE,  // belongs to a request that nobody waits for any more: go on waiting
    REPLY_MORE,      // part of the result: another follows
    REPLY_DONE,      // the last, or one with which the request has failed
};

/// Replies of one device. Request and reply pair by id alone, so one request is under way at a time; others queue
/// behind it. A reply that nobody waits for is dropped. Locks: m_askLock, then an event's own, then m_lstReplyLock,
/// which is a leaf.
class CReplyWaiter {
public:
    static constexpr tuint32 REPLY_WAIT_MS = 10000;   // for a first reply, and for each from the one before
    static constexpr tuint32 RESULT_WAIT_MS = 60000;  // for a whole result of several replies

    /// Bounds of what is kept for one waiter that does not take it; a single reply of any length always fits.
    static constexpr size_t MAX_REPLY_BYTES = 16 * 1024 * 1024;
    static constexpr size_t REPLY_COST = 128;  // of one reply beside its body
    /// How long a reply for which there is no room holds the engine's thread.
    static constexpr tuint32 ROOM_WAIT_MS = 250;

    /// Called on the asking thread with each accepted reply, in order of arrival, with no lock that anybody else waits
    /// for. May take the reply's memory.
    using TAKE_REPLY = std::function<REPLY_VERDICT(REPLY_CMD_DATA& reply)>;

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

    /// Takes a reply in. Engine's thread; blocks only for a copy, or for as long as the one that asked has 16 MiB of
    /// replies to take, 250 ms at most. The reply that finds no room then is lost, and the request with it. The body is
    /// copied if a request waits for that id.
    void OnReply(tuint32 cmdType, std::span<const std::byte> body);

    /// Drops what is left from earlier requests, calls `send` and waits at most 10 s for a reply whose id is in
    /// `accepted`; other replies are dropped. Returns HLX_SUCCESS with the reply in `reply`, or the error number: that
    /// of `send`, HLX_NETWORK_NOT_CONNECT (link fell or session closed) or HLX_NETWORK_RECV_TIMEOUT. Sets no last
    /// error.
    HLX_ERROR Ask(const std::function<HLX_ERROR()>& send, std::span<const tuint32> accepted, REPLY_CMD_DATA& reply);

    /// The same for a result of any number of replies: `take` sees each and says whether the request goes on. Waits
    /// 10 s at most for the first reply and for each that follows a REPLY_MORE, 60 s in all; HLX_SUCCESS once `take`
    /// said REPLY_DONE. Further numbers: HLX_NETWORK_ERRORDATA (replies came faster than they were taken) and
    /// HLX_ALLOC_RESOURCE_ERROR (no memory to keep one), for a result with a hole is none.
    HLX_ERROR AskEach(const std::function<HLX_ERROR()>& send, std::span<const tuint32> accepted,
                      const TAKE_REPLY& take);

private:
    class CAskingScope;
    HLX_ERROR WaitForReplies(const TAKE_REPLY& take);
    bool NextReply(REPLY_CMD_DATA& reply);
    void SetAsking(bool bAsking, std::span<const tuint32> accepted);
    bool IsWanted(tuint32 cmdType);
    void AwaitRoom(size_t bytes);
    bool HasRoom(size_t bytes);
    void Keep(REPLY_CMD_DATA&& reply);
    bool HasNews();
    HLX_ERROR End();

    std::mutex m_askLock;  // held by the asking thread for the whole of a request
    CWaitEvent m_recvEvent;
    CWaitEvent m_roomEvent;
    CPUB_Lock m_lstReplyLock;                  // guards all below
    std::list<REPLY_CMD_DATA> m_replyCmdList;  // in order of arrival
    size_t m_replyBytes = 0;                   // what m_replyCmdList costs
    std::span<const tuint32> m_accepted;       // of the request under way
    HLX_ERROR m_lost = HLX_SUCCESS;            // why a reply to it was not kept
    bool m_bAsking = false;
    bool m_bInterrupted = false;  // the request under way
    bool m_bClosed = true;
    bool m_bBroken = false;
};
