#include "device_base/ReplyWaiter.h"

#include <algorithm>
#include <new>

#include "sdk_common/TimeSource.h"

void CReplyWaiter::NewLink() {
    std::lock_guard guard(m_lstReplyLock);
    m_bBroken = false;
    m_bClosed = true;
}

bool CReplyWaiter::Open() {
    m_recvEvent.CreateWaitEvent();
    m_roomEvent.CreateWaitEvent();
    std::lock_guard guard(m_lstReplyLock);
    m_bClosed = m_bBroken;
    return !m_bBroken;
}

void CReplyWaiter::Close() {
    {
        std::lock_guard guard(m_lstReplyLock);
        m_bClosed = true;
        m_bInterrupted = m_bAsking;  // also for one that looks only when the next link is there
    }
    m_recvEvent.Close();
    m_roomEvent.Close();
}

void CReplyWaiter::Break() {
    {
        std::lock_guard guard(m_lstReplyLock);
        m_bBroken = true;
        m_bClosed = true;
        m_bInterrupted = m_bAsking;
    }
    m_recvEvent.Close();
    m_roomEvent.Close();
}

void CReplyWaiter::Interrupt() {
    {
        std::lock_guard guard(m_lstReplyLock);
        m_bInterrupted = m_bAsking;
    }
    m_recvEvent.SetEvent();
}

bool CReplyWaiter::WaitForBreak(tuint32 ms) {
    m_recvEvent.WaitForCond(ms, [this] { return IsBroken(); });
    return IsBroken();
}

bool CReplyWaiter::IsBroken() {
    std::lock_guard guard(m_lstReplyLock);
    return m_bBroken;
}

void CReplyWaiter::OnReply(tuint32 cmdType, std::span<const std::byte> body) {
    if (!IsWanted(cmdType)) return;
    AwaitRoom(body.size());
    try {
        Keep({cmdType, {body.begin(), body.end()}});
    } catch (const std::bad_alloc&) {
        std::lock_guard guard(m_lstReplyLock);
        if (IsWanted(cmdType)) m_lost = HLX_ALLOC_RESOURCE_ERROR;
    }
    m_recvEvent.SetEvent();
}

bool CReplyWaiter::IsWanted(tuint32 cmdType) {
    std::lock_guard guard(m_lstReplyLock);
    const bool bTaken = m_bAsking && !m_bClosed && !m_bInterrupted && m_lost == HLX_SUCCESS;
    return bTaken && std::ranges::find(m_accepted, cmdType) != m_accepted.end();
}

void CReplyWaiter::AwaitRoom(size_t bytes) {
    const tint64 begin = TimeSource().MonotonicMicroseconds();
    while (!HasRoom(bytes) && TimeSource().MonotonicMicroseconds() - begin < tint64{ROOM_WAIT_MS} * 1000) {
        m_roomEvent.WaitForCond(ROOM_WAIT_MS, [&] { return HasRoom(bytes); });
    }
}

/// Also true when nobody takes it any more.
bool CReplyWaiter::HasRoom(size_t bytes) {
    std::lock_guard guard(m_lstReplyLock);
    const bool bFits = m_replyCmdList.empty() || m_replyBytes + REPLY_COST + bytes <= MAX_REPLY_BYTES;
    return bFits || !m_bAsking || m_bClosed;
}

void CReplyWaiter::Keep(REPLY_CMD_DATA&& reply) {
    std::lock_guard guard(m_lstReplyLock);
    const size_t bytes = reply.cmdParam.size();
    if (!IsWanted(reply.cmdType)) return;  // another request by now
    if (!HasRoom(bytes)) {
        m_lost = HLX_NETWORK_ERRORDATA;
        return;
    }
    m_replyCmdList.push_back(std::move(reply));
    m_replyBytes += REPLY_COST + bytes;
}

/// Replies are kept only inside this scope.
class CReplyWaiter::CAskingScope {
public:
    CAskingScope(CReplyWaiter& waiter, std::span<const tuint32> accepted)
        : m_askGuard(waiter.m_askLock), m_waiter(waiter) {
        m_waiter.SetAsking(true, accepted);
    }
    ~CAskingScope() {
        m_waiter.SetAsking(false, {});
        m_waiter.m_roomEvent.SetEvent();
    }
    CAskingScope(const CAskingScope&) = delete;
    CAskingScope& operator=(const CAskingScope&) = delete;

private:
    std::lock_guard<std::mutex> m_askGuard;
    CReplyWaiter& m_waiter;
};

HLX_ERROR CReplyWaiter::Ask(const std::function<HLX_ERROR()>& send, std::span<const tuint32> accepted,
                            REPLY_CMD_DATA& reply) {
    const auto take = [&reply](REPLY_CMD_DATA& first) {
        reply = std::move(first);
        return REPLY_DONE;
    };
    return AskEach(send, accepted, std::cref(take));  // by reference: needs no memory
}

HLX_ERROR CReplyWaiter::AskEach(const std::function<HLX_ERROR()>& send, std::span<const tuint32> accepted,
                                const TAKE_REPLY& take) {
    CAskingScope scope(*this, accepted);
    const HLX_ERROR error = send();
    return error == HLX_SUCCESS ? WaitForReplies(take) : error;
}

HLX_ERROR CReplyWaiter::WaitForReplies(const TAKE_REPLY& take) {
    const tint64 begin = TimeSource().MonotonicMicroseconds();
    tint64 heard = begin;
    for (;;) {
        const HLX_ERROR end = End();  // looked at first: a reply that came before the end counts
        REPLY_CMD_DATA reply;
        const bool bCame = NextReply(reply);
        if (!bCame && end != HLX_SUCCESS) return end;
        const REPLY_VERDICT verdict = bCame ? take(reply) : REPLY_NOT_MINE;
        if (verdict == REPLY_DONE) return HLX_SUCCESS;
        const tint64 now = TimeSource().MonotonicMicroseconds();
        if (verdict == REPLY_MORE) heard = now;
        const tint64 limit = std::min(heard + tint64{REPLY_WAIT_MS} * 1000, begin + tint64{RESULT_WAIT_MS} * 1000);
        if (now >= limit) return HLX_NETWORK_RECV_TIMEOUT;
        const auto left = static_cast<tuint32>((limit - now + 999) / 1000);
        if (!bCame) m_recvEvent.WaitForCond(left, [this] { return HasNews(); });
    }
}

bool CReplyWaiter::NextReply(REPLY_CMD_DATA& reply) {
    {
        std::lock_guard guard(m_lstReplyLock);
        if (m_replyCmdList.empty()) return false;
        reply = std::move(m_replyCmdList.front());
        m_replyCmdList.pop_front();
        m_replyBytes -= REPLY_COST + reply.cmdParam.size();
    }
    m_roomEvent.SetEvent();
    return true;
}

void CReplyWaiter::SetAsking(bool bAsking, std::span<const tuint32> accepted) {
    std::lock_guard guard(m_lstReplyLock);
    m_bAsking = bAsking;
    m_accepted = accepted;
    m_lost = HLX_SUCCESS;
    m_bInterrupted = false;
    m_replyCmdList.clear();
    m_replyBytes = 0;
}

bool CReplyWaiter::HasNews() {
    std::lock_guard guard(m_lstReplyLock);
    return m_bClosed || m_bInterrupted || m_lost != HLX_SUCCESS || !m_replyCmdList.empty();
}

/// Why no further reply is kept; HLX_SUCCESS as long as one may come.
HLX_ERROR CReplyWaiter::End() {
    std::lock_guard guard(m_lstReplyLock);
    return m_bClosed || m_bInterrupted ? HLX_NETWORK_NOT_CONNECT : m_lost;
}
