// What a simulated recorder's link is asked about recordings.
#include <algorithm>

#include "simulator/classic/ClassicSession.h"

namespace {

/// A client that asks on and takes nothing loses its link with more than this waiting for it.
constexpr size_t MAX_PAGE_BYTES = 256u << 20;

}  // namespace

void CClassicSession::OnSearch(SIM_BYTE_VIEW body) {
    if (RefusedByFault(CMD_REPLY_DATA_NULL, body)) return;
    Answer(AnswerSearch(m_state.archive, body, TakeFault(SIM_FAULT_KIND::WILD_TIMES, m_phase).has_value()));
}

void CClassicSession::OnLogs(SIM_BYTE_VIEW body) {
    if (RefusedByFault(CMD_REPLY_SYS_STATUS_FAIL, body)) return;
    Answer(AnswerLogs(m_state.archive, body, TakeFault(SIM_FAULT_KIND::WILD_TIMES, m_phase).has_value()));
}

void CClassicSession::OnEvents(SIM_BYTE_VIEW body) {
    if (RefusedByFault(CMD_REPLY_SYS_STATUS_FAIL, body)) return;
    Answer(AnswerEvents(m_state.archive, body, TakeFault(SIM_FAULT_KIND::WILD_TIMES, m_phase).has_value()));
}

void CClassicSession::OnLock(SIM_BYTE_VIEW body) { OnChangeFiles(CMD_REQUEST_DATA_LOCK, body); }

void CClassicSession::OnUnlock(SIM_BYTE_VIEW body) { OnChangeFiles(CMD_REQUEST_DATA_UNLOCK, body); }

void CClassicSession::OnDelete(SIM_BYTE_VIEW body) { OnChangeFiles(CMD_REQUEST_DATA_DELETE, body); }

void CClassicSession::OnChangeFiles(tuint32 cmdType, SIM_BYTE_VIEW body) {
    if (RefusedByFault(CMD_REPLY_DATA_NULL, body)) return;
    Answer(ChangeFiles(m_state.archive, cmdType, body));
}

void CClassicSession::OnRead(SIM_BYTE_VIEW body) {
    const tuint32 requestID = ReadRecord<tuint32>(body).value_or(0);
    const auto info = ReadRecord<NET_DATA_READ_INFO>(body);
    std::optional<tuint32> refusal = info ? std::nullopt : std::optional<tuint32>(NET_DATA_REFUSED);
    if (const auto reason = TakeFault(SIM_FAULT_KIND::REFUSE_DATA, m_phase)) {
        refusal = static_cast<tuint32>(*reason);
        if (info) m_playbacks.End(info->streamID);
    }
    if (!refusal) refusal = m_playbacks.Read(*info);
    const CLASSIC_ANSWER answer =
        refusal ? MakeNull(CMD_REPLY_DATA_NULL, requestID, *refusal) : MakeDone(requestID, NET_DATA_STREAM);
    Reply(answer.cmdType, answer.bodies.front());
}

void CClassicSession::OnPause(SIM_BYTE_VIEW body) { OnControl(CMD_REQUEST_DATA_PAUSE, body); }

void CClassicSession::OnResume(SIM_BYTE_VIEW body) { OnControl(CMD_REQUEST_DATA_RESUME, body); }

void CClassicSession::OnFastForward(SIM_BYTE_VIEW body) { OnControl(CMD_REQUEST_DATA_FF, body); }

void CClassicSession::OnReverse(SIM_BYTE_VIEW body) { OnControl(CMD_REQUEST_DATA_REW, body); }

void CClassicSession::OnStop(SIM_BYTE_VIEW body) { OnControl(CMD_REQUEST_DATA_STOP, body); }

void CClassicSession::OnControl(tuint32 cmdType, SIM_BYTE_VIEW body) {
    if (const auto info = ReadRecord<NET_DATA_CTRL_INFO>(body)) m_playbacks.Control(cmdType, *info);
}

void CClassicSession::OnIndex(SIM_BYTE_VIEW body) {
    if (const auto info = ReadRecord<NET_DATA_INDEX_INFO>(body)) m_playbacks.Notify(*info);
}

void CClassicSession::OnChangeAudio(SIM_BYTE_VIEW body) {
    if (const auto info = ReadRecord<NET_CHANGE_AUDIO_INFO>(body)) m_playbacks.SetSound(*info);
}

bool CClassicSession::RefusedByFault(tuint32 nullCommand, SIM_BYTE_VIEW body) {
    const auto reason = TakeFault(SIM_FAULT_KIND::REFUSE_DATA, m_phase);
    if (!reason) return false;
    Answer(MakeNull(nullCommand, ReadRecord<tuint32>(body).value_or(0), static_cast<tuint32>(*reason)));
    return true;
}

void CClassicSession::Answer(CLASSIC_ANSWER answer) {
    for (SIM_BYTES& body : answer.bodies) {
        const bool bLast = &body == &answer.bodies.back();
        m_pageBytes += body.size();
        m_pages.push_back({answer.cmdType, m_phase, std::move(body), bLast, m_now});
    }
    if (m_pageBytes > MAX_PAGE_BYTES) return m_link.Cut(SIM_CUT::RESET);
    SendPages(m_now);
}

void CClassicSession::SendPages(SIM_TIME now) {
    // What a fault delays holds up what stands behind it, so that a result stays in order.
    while (m_link.IsUsable() && m_delayed.empty() && !m_pages.empty() && m_pages.front().due <= now) {
        if (m_link.Queued() >= m_state.config.queueLimit) {
            m_bBlocked = true;
            return;
        }
        PAGE page = std::move(m_pages.front());
        m_pages.pop_front();
        m_pageBytes -= page.body.size();
        m_phase = page.phase;
        SpoilPage(page);
        Reply(page.cmdType, page.body);
    }
}

void CClassicSession::SpoilPage(PAGE& page) {
    auto head = ReadRecord<NET_DATA_REPLY_HEAD>(page.body);
    if (!head || head->kind > NET_DATA_EVENT) return;
    if (const auto more = TakeFault(SIM_FAULT_KIND::COUNT_LIE, page.phase)) head->count += static_cast<tuint32>(*more);
    const auto forever = page.bLast ? TakeFault(SIM_FAULT_KIND::MORE_FOREVER, page.phase) : std::nullopt;
    if (forever) head->bMore = 1;
    std::ranges::copy(RecordBytes(*head), page.body.begin());
    if (forever && *forever > 0) {
        m_pageBytes += page.body.size();
        m_pages.push_back(page);
        m_pages.back().due = m_now + std::chrono::milliseconds(std::min<std::int64_t>(*forever, 3600000));
    }
}
