#include "device_base/ReplyWaiter.h"

#include <algorithm>

void CReplyWaiter::NewLink() {
    std::lock_guard guard(m_lstReplyLock);
    m_bBroken = false;
    m_bClosed = true;
}

bool CReplyWaiter::Open() {
    m_recvEvent.CreateWaitEvent();
    std::lock_guard guard(m_lstReplyLock);
    m_bClosed = m_bBroken;
    return !m_bBroken;
}

void CReplyWaiter::Close() {
    {
        std::lock_guard guard(m_lstReplyLock);
        m_bClosed = true;
    }
    m_recvEvent.Close();
}

void CReplyWaiter::Break() {
    {
        std::lock_guard guard(m_lstReplyLock);
        m_bBroken = true;
        m_bClosed = true;
    }
    m_recvEvent.Close();
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
    {
        std::lock_guard guard(m_lstReplyLock);
        const bool bFull = m_replyCmdList.size() >= MAX_REPLIES || m_replyBytes + body.size() > MAX_REPLY_BYTES;
        if (!m_bAsking || (bFull && !m_replyCmdList.empty())) return;
        m_replyCmdList.push_back({cmdType, {body.begin(), body.end()}});
        m_replyBytes += body.size();
    }
    m_recvEvent.SetEvent();
}

/// Replies are kept only inside this scope.
class CReplyWaiter::CAskingScope {
public:
    explicit CAskingScope(CReplyWaiter& waiter) : m_askGuard(waiter.m_askLock), m_waiter(waiter) {
        m_waiter.SetAsking(true);
    }
    ~CAskingScope() { m_waiter.SetAsking(false); }
    CAskingScope(const CAskingScope&) = delete;
    CAskingScope& operator=(const CAskingScope&) = delete;

private:
    std::lock_guard<std::mutex> m_askGuard;
    CReplyWaiter& m_waiter;
};

HLX_ERROR CReplyWaiter::Ask(const std::function<HLX_ERROR()>& send, std::span<const tuint32> accepted,
                            REPLY_CMD_DATA& reply) {
    CAskingScope scope(*this);
    const HLX_ERROR error = send();
    return error == HLX_SUCCESS ? WaitForReply(accepted, reply) : error;
}

HLX_ERROR CReplyWaiter::WaitForReply(std::span<const tuint32> accepted, REPLY_CMD_DATA& reply) {
    for (tuint32 waited = 0;; waited += REPLY_ROUND_MS) {
        const bool bFallen = HasFallen();  // looked at first: a reply that came before the end counts
        if (TakeReply(accepted, reply)) return HLX_SUCCESS;
        if (bFallen) return HLX_NETWORK_NOT_CONNECT;
        if (waited >= REPLY_WAIT_MS) return HLX_NETWORK_RECV_TIMEOUT;
        m_recvEvent.WaitForCond(REPLY_ROUND_MS, [this] { return HasNews(); });
    }
}

bool CReplyWaiter::TakeReply(std::span<const tuint32> accepted, REPLY_CMD_DATA& reply) {
    std::lock_guard guard(m_lstReplyLock);
    while (!m_replyCmdList.empty()) {
        REPLY_CMD_DATA front = std::move(m_replyCmdList.front());
        m_replyCmdList.pop_front();
        m_replyBytes -= front.cmdParam.size();
        if (std::ranges::find(accepted, front.cmdType) == accepted.end()) continue;
        reply = std::move(front);
        return true;
    }
    return false;
}

void CReplyWaiter::SetAsking(bool bAsking) {
    std::lock_guard guard(m_lstReplyLock);
    m_bAsking = bAsking;
    m_bInterrupted = false;
    m_replyCmdList.clear();
    m_replyBytes = 0;
}

bool CReplyWaiter::HasNews() {
    std::lock_guard guard(m_lstReplyLock);
    return m_bClosed || m_bInterrupted || !m_replyCmdList.empty();
}

bool CReplyWaiter::HasFallen() {
    std::lock_guard guard(m_lstReplyLock);
    return m_bClosed || m_bInterrupted;
}
