#include "simulator/classic/ClassicSession.h"

#include <algorithm>
#include <iterator>

#include "simulator/classic/ClassicMessages.h"

const CClassicSession::COMMAND_ROW CClassicSession::COMMANDS[] = {
    {CMD_REQUEST_LOGIN, SIM_PHASE::LOGIN, &CClassicSession::OnLogin},
    {CMD_REQUEST_LOGOUT, SIM_PHASE::COMMAND, &CClassicSession::OnLogout},
    {CMD_REQUEST_DISK_START, SIM_PHASE::DISK, &CClassicSession::OnDiskStart},
    {CMD_REQUEST_STREAM_START, SIM_PHASE::STREAM, &CClassicSession::OnStreamStart},
    {CMD_REQUEST_STREAM_CHANGE, SIM_PHASE::STREAM, &CClassicSession::OnStreamStart},
    {CMD_REQUEST_STREAM_STOP, SIM_PHASE::STREAM, &CClassicSession::OnStreamStop},
    {CMD_REQUEST_LAST_STREAM_ERROR, SIM_PHASE::STREAM, &CClassicSession::OnLastStreamError},
    {CMD_REQUEST_KEYFRAME, SIM_PHASE::COMMAND, &CClassicSession::OnKeyFrame},
    {CMD_REQUEST_REBOOT, SIM_PHASE::COMMAND, &CClassicSession::OnReboot},
    {CMD_REQUEST_SHUTDOWN, SIM_PHASE::COMMAND, &CClassicSession::OnShutDown},
    {CMD_REQUEST_CHANGE_TIME, SIM_PHASE::COMMAND, &CClassicSession::OnChangeTime},
    {CMD_REQUEST_COLOR_GET, SIM_PHASE::COMMAND, &CClassicSession::OnColorGet},
    {CMD_REQUEST_COLOR_SET, SIM_PHASE::COMMAND, &CClassicSession::OnColorSet},
    {CMD_REQUEST_COLOR_SAVE, SIM_PHASE::COMMAND, &CClassicSession::OnColorSave},
    {CMD_REQUEST_MANUAL_REC, SIM_PHASE::COMMAND, &CClassicSession::OnManualRecord},
    {CMD_REQUEST_OPEN_ALARM, SIM_PHASE::COMMAND, &CClassicSession::OnOpenAlarm},
    {CMD_REQUEST_CLEAN_ALARM, SIM_PHASE::COMMAND, &CClassicSession::OnCleanAlarm},
    {CMD_REQUEST_PTZ_CTRL, SIM_PHASE::COMMAND, &CClassicSession::OnPtz},
    {CMD_REQUEST_CFG_ENTER_IPCAM, SIM_PHASE::COMMAND, &CClassicSession::OnEnterCameras},
    {CMD_REQUEST_CFG_LEAVE_IPCAM, SIM_PHASE::COMMAND, &CClassicSession::OnLeaveCameras},
    {CMD_REQUEST_NET_DEVICE_LOG_GET, SIM_PHASE::COMMAND, &CClassicSession::OnGetCameras},
    {CMD_REQUEST_DATA_SEARCH, SIM_PHASE::SEARCH, &CClassicSession::OnSearch},
    {CMD_REQUEST_DATA_LOCK, SIM_PHASE::SEARCH, &CClassicSession::OnLock},
    {CMD_REQUEST_DATA_UNLOCK, SIM_PHASE::SEARCH, &CClassicSession::OnUnlock},
    {CMD_REQUEST_DATA_DELETE, SIM_PHASE::SEARCH, &CClassicSession::OnDelete},
    {CMD_REQUEST_DATA_READ, SIM_PHASE::PLAYBACK, &CClassicSession::OnRead},
    {CMD_REQUEST_DATA_PAUSE, SIM_PHASE::PLAYBACK, &CClassicSession::OnPause},
    {CMD_REQUEST_DATA_RESUME, SIM_PHASE::PLAYBACK, &CClassicSession::OnResume},
    {CMD_REQUEST_DATA_FF, SIM_PHASE::PLAYBACK, &CClassicSession::OnFastForward},
    {CMD_REQUEST_DATA_REW, SIM_PHASE::PLAYBACK, &CClassicSession::OnReverse},
    {CMD_REQUEST_DATA_STOP, SIM_PHASE::PLAYBACK, &CClassicSession::OnStop},
    {CMD_REQUEST_DATA_INDEX, SIM_PHASE::PLAYBACK, &CClassicSession::OnIndex},
    {CMD_REQUEST_CHANGE_AUDIO, SIM_PHASE::PLAYBACK, &CClassicSession::OnChangeAudio},
    {CMD_REQUEST_LOG_INFO, SIM_PHASE::SEARCH, &CClassicSession::OnLogs},
    {CMD_REQUEST_EVENT_INFO, SIM_PHASE::SEARCH, &CClassicSession::OnEvents},
    {CMD_REQUEST_JPEG_START, SIM_PHASE::STREAM, &CClassicSession::OnJpegStart},
    {CMD_REQUEST_JPEG_CHANGE, SIM_PHASE::STREAM, &CClassicSession::OnJpegStart},
    {CMD_REQUEST_JPEG_STOP, SIM_PHASE::STREAM, &CClassicSession::OnJpegStop},
    {CMD_REQUEST_TALK_START, SIM_PHASE::TALK, &CClassicSession::OnTalkStart},
    {CMD_REQUEST_TALK_STREAM, SIM_PHASE::TALK, &CClassicSession::OnTalkStream},
    {CMD_REQUEST_TALK_STOP, SIM_PHASE::TALK, &CClassicSession::OnTalkStop},
};

namespace {

/// A client that has logged out closes the link itself; one that does not loses it after this time.
constexpr auto LOGOUT_GRACE = std::chrono::seconds(1);

/// A text field of the client, which need not be terminated.
template <size_t SIZE>
std::string FieldText(const char (&field)[SIZE]) {
    return std::string(field, strnlen(field, SIZE));
}

std::chrono::milliseconds Milliseconds(std::int64_t value) {
    return std::chrono::milliseconds(std::clamp<std::int64_t>(value, 0, 3600000));
}

}  // namespace

CClassicSession::CClassicSession(CSimLink& link, CLASSIC_STATE& state)
    : m_link(link),
      m_state(state),
      m_pump(state.sources, state.config.speed, SIM_CLOCK::now()),
      m_sender(link, state),
      m_talk(state),
      m_playbacks(link, state, m_sender),
      m_now(SIM_CLOCK::now()),
      m_opened(m_now),
      m_nextHeartbeat(SIM_TIME::max()) {}

CClassicSession::~CClassicSession() { EndSession(); }

void CClassicSession::Tell(SIM_EVENT_KIND kind, std::uint64_t value, const std::string& sText) {
    m_state.Tell({kind, m_link.Id(), value, 0, 0, 0, sText});
}

std::optional<std::int64_t> CClassicSession::TakeFault(SIM_FAULT_KIND kind, SIM_PHASE phase) {
    const auto value = m_state.faults.Take(kind, phase);
    // What happens before the client spoke may concern a link that only comes and goes; nothing is told of those.
    if (value && m_link.HasSpoken()) Tell(SIM_EVENT_KIND::FAULT, 0, FaultName(kind));
    return value;
}

bool CClassicSession::Interrupted(SIM_PHASE phase) {
    static constexpr std::pair<SIM_FAULT_KIND, SIM_CUT> CUTS[] = {{SIM_FAULT_KIND::CLOSE, SIM_CUT::CLOSE},
                                                                  {SIM_FAULT_KIND::RESET, SIM_CUT::RESET},
                                                                  {SIM_FAULT_KIND::SILENT, SIM_CUT::SILENT}};
    for (const auto& [kind, cut] : CUTS) {
        if (!TakeFault(kind, phase)) continue;
        m_link.CutWhenSent(cut);
        return true;
    }
    return false;
}

void CClassicSession::OnOpen(SIM_TIME now) {
    m_now = now;
    if (m_state.IsDown(now)) return m_link.Cut(SIM_CUT::CLOSE);
    if (m_link.Way() == SIM_LINK_WAY::CALLED) Tell(SIM_EVENT_KIND::CALLED);
    ArmByteCut(false);
    if (Interrupted(SIM_PHASE::CONNECT)) return;
    const auto late = TakeFault(SIM_FAULT_KIND::HEAD_LATE, SIM_PHASE::CONNECT);
    m_firstBlockDue = now + Milliseconds(late.value_or(0));
    if (!late) SendFirstBlock();
}

void CClassicSession::SendFirstBlock() {
    PRE_SEND_DATA block = MakeFirstBlock(m_state.config);
    if (const auto word = TakeFault(SIM_FAULT_KIND::HEAD_FLAG, SIM_PHASE::HEAD))
        block.dwFlag = static_cast<tuint32>(*word);
    if (const auto word = TakeFault(SIM_FAULT_KIND::HEAD_FAMILY, SIM_PHASE::HEAD)) {
        block.dwDevType = static_cast<tuint32>(*word);
    }
    if (const auto word = TakeFault(SIM_FAULT_KIND::HEAD_VERSION, SIM_PHASE::HEAD)) {
        block.dwProtocolVer = static_cast<tuint32>(*word);
    }
    m_firstBlockDue = SIM_TIME::max();
    m_phase = SIM_PHASE::HEAD;
    m_nextHeartbeat = m_now + m_state.config.heartbeat;
    if (const auto length = TakeFault(SIM_FAULT_KIND::HEAD_SHORT, SIM_PHASE::HEAD)) {
        const auto part = static_cast<size_t>(std::clamp<std::int64_t>(*length, 0, sizeof(block)));
        m_link.SendRaw(RecordBytes(block).first(part));
        m_link.CutWhenSent(SIM_CUT::SILENT);
        return;
    }
    m_link.SendRaw(RecordBytes(block));
    Interrupted(SIM_PHASE::HEAD);
}

void CClassicSession::ArmByteCut(bool bSpoken) {
    static constexpr std::pair<SIM_FAULT_KIND, SIM_CUT> CUTS[] = {{SIM_FAULT_KIND::CLOSE_AFTER, SIM_CUT::CLOSE},
                                                                  {SIM_FAULT_KIND::SILENT_AFTER, SIM_CUT::SILENT}};
    for (const auto& [kind, cut] : CUTS) {
        // A limit beyond the first block waits for the client's first word, so that a link that only comes and goes
        // does not use the fault up.
        const auto bytes = m_state.faults.Peek(kind, SIM_PHASE::CONNECT);
        const bool bBeyondHead = bytes && *bytes > static_cast<std::int64_t>(sizeof(PRE_SEND_DATA));
        if (!bytes || bBeyondHead != bSpoken) continue;
        TakeFault(kind, SIM_PHASE::CONNECT);
        m_link.CutAfter(static_cast<std::uint64_t>(std::max<std::int64_t>(*bytes, 0)), cut);
    }
}

void CClassicSession::OnSpoken() {
    Tell(SIM_EVENT_KIND::ACCEPTED);
    ArmByteCut(true);
    if (const auto life = TakeFault(SIM_FAULT_KIND::CLOSE_EVERY, SIM_PHASE::LOGIN))
        m_closeDue = SIM_CLOCK::now() + Milliseconds(*life);
}

void CClassicSession::OnBadInput() { Tell(SIM_EVENT_KIND::BAD_DATA, 0, "no link frame"); }

void CClassicSession::OnMessage(SIM_BYTE_VIEW message, SIM_TIME now) {
    m_now = now;
    const auto head = ReadRecord<PACKCMD>(message);
    if (!head || head->dataLen > message.size() - sizeof(PACKCMD)) {
        Tell(SIM_EVENT_KIND::BAD_DATA, 0, "no command");
        m_link.Cut(SIM_CUT::CLOSE);
        return;
    }
    m_state.CountCommand(head->cmdType);
    // A notified index comes with every few frames.
    if (head->cmdType != CMD_REQUEST_DATA_INDEX) Tell(SIM_EVENT_KIND::COMMAND, head->cmdType);

    const auto row = std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                                  [&](const COMMAND_ROW& entry) { return entry.cmdType == head->cmdType; });
    const auto body = message.subspan(sizeof(PACKCMD), head->dataLen);
    m_phase = row == std::end(COMMANDS) ? SIM_PHASE::COMMAND : PhaseOf(*row, body);
    if (Interrupted(m_phase)) return;
    if (!m_bLoggedIn && head->cmdType != CMD_REQUEST_LOGIN) {
        Reply(CMD_REPLY_NO_AUTH, {});
    } else if (row == std::end(COMMANDS)) {
        Reply(CMD_REPLY_NO_SUPPORT, {});
    } else {
        (this->*row->handler)(body);
    }
}

SIM_PHASE CClassicSession::PhaseOf(const COMMAND_ROW& row, SIM_BYTE_VIEW body) {
    if (row.phase != SIM_PHASE::PLAYBACK) return row.phase;
    // The id stands first but where a request's number stands before it.
    const size_t at = row.cmdType == CMD_REQUEST_DATA_READ ? sizeof(tuint32) : 0;
    const auto streamID = ReadRecord<tuint32>(body.subspan(std::min(at, body.size())));
    return streamID == DOWNLOAD_STREAM_ID ? SIM_PHASE::DOWNLOAD : SIM_PHASE::PLAYBACK;
}

tuint32 CClassicSession::LoginRefusal(SIM_BYTE_VIEW body) {
    if (const auto word = TakeFault(SIM_FAULT_KIND::REFUSE, SIM_PHASE::LOGIN)) return static_cast<tuint32>(*word);
    const auto login = ReadRecord<NET_LOGIN_INFO>(body);
    if (!login) return NETERR_LOGIN_FAIL_REFUSE;
    if (login->netprotocolver != CLASSIC_PROTOCOL_VERSION) return NETERR_LOGIN_FAIL_VERSION_ERR;
    const bool bKnown =
        FieldText(login->username) == m_state.config.sUser && m_state.IsPassword(FieldText(login->password));
    if (!bKnown) return NETERR_LOGIN_FAIL_USERPWD_ERR;
    if (!m_bLoggedIn && m_state.sessions >= m_state.config.maxSessions) return NETERR_LOGIN_FAIL_OVERFLOW;
    return 0;
}

void CClassicSession::OnLogin(SIM_BYTE_VIEW body) {
    const tuint32 refusal = LoginRefusal(body);
    if (refusal != 0) {
        Tell(SIM_EVENT_KIND::REFUSED, refusal);
        Reply(CMD_REPLY_LONGIN_FAIL, RecordBytes(refusal));
        return;
    }
    if (!m_bLoggedIn) ++m_state.sessions;
    m_bLoggedIn = true;
    m_toldStatus.reset();
    Tell(SIM_EVENT_KIND::LOGIN, 0, m_state.config.sUser);
    const NET_LOGIN_SUCCESS_REPLY reply = MakeLoginReply(m_state.config);
    Reply(CMD_REPLY_LONGIN_SUCC, RecordBytes(reply));
}

void CClassicSession::OnLogout(SIM_BYTE_VIEW) {
    Tell(SIM_EVENT_KIND::LOGOUT);
    EndSession();
    m_closeDue = std::min(m_closeDue, m_now + LOGOUT_GRACE);
}

void CClassicSession::EndSession() {
    if (!m_bLoggedIn) return;
    m_bLoggedIn = false;
    --m_state.sessions;
    OnLeaveCameras({});
    OnTalkStop({});
    m_masks = {};
    m_pages.clear();
    m_pageBytes = 0;
    m_playbacks.Clear();
    m_pump.SetMasks({}, m_now);
}

void CClassicSession::OnDiskStart(SIM_BYTE_VIEW) { Reply(CMD_REPLY_DISK_INFO, MakeDiskReply(m_state.config)); }

void CClassicSession::OnStreamStart(SIM_BYTE_VIEW body) {
    const auto wanted = ReadRecord<NET_LIVESTREAM_CTRL_INFO>(body);
    if (!wanted) {
        Reply(CMD_REPLY_CTRL_FAIL, {});
        return;
    }
    const tuint64 own = ChannelMask(m_state.config.channels);
    SetMasks({wanted->fastVideoCH & own, wanted->secondVideoCH & own, wanted->audioCH & own, m_masks.jpeg});
}

void CClassicSession::OnStreamStop(SIM_BYTE_VIEW) { SetMasks({0, 0, 0, m_masks.jpeg}); }

void CClassicSession::SetMasks(const CLASSIC_STREAM_MASKS& masks) {
    m_masks = masks;
    m_pump.SetMasks(masks, m_now);
    m_state.Tell({SIM_EVENT_KIND::STREAMS, m_link.Id(), 0, masks.first, masks.second, masks.sound, {}});
}

void CClassicSession::OnLastStreamError(SIM_BYTE_VIEW) {
    const auto word = static_cast<tuint32>(TakeFault(SIM_FAULT_KIND::NO_RESOURCE, SIM_PHASE::STREAM).value_or(0));
    Reply(CMD_REPLY_LAST_STREAM_ERROR, RecordBytes(word));
}

void CClassicSession::OnKeyFrame(SIM_BYTE_VIEW body) {
    if (const auto wanted = ReadRecord<NET_LIVESTREAM_CTRL_INFO>(body)) {
        m_pump.RequestKeyFrame(wanted->fastVideoCH, wanted->secondVideoCH);
    }
}

void CClassicSession::Reply(tuint32 cmdType, SIM_BYTE_VIEW body) {
    if (TakeFault(SIM_FAULT_KIND::NO_REPLY, m_phase)) return;
    if (const auto id = TakeFault(SIM_FAULT_KIND::WRONG_REPLY, m_phase)) cmdType = static_cast<tuint32>(*id);
    if (const auto length = TakeFault(SIM_FAULT_KIND::SHORT_REPLY, m_phase)) {
        body = body.first(std::min(body.size(), static_cast<size_t>(std::max<std::int64_t>(*length, 0))));
    }
    const PACKCMD head = MakeCommandHead(cmdType, body.size());
    const auto delay = TakeFault(SIM_FAULT_KIND::REPLY_DELAY, m_phase);
    if (!delay) {
        m_link.SendMessage({RecordBytes(head), body});
        return;
    }
    DELAYED& later = m_delayed.emplace_back();
    later.due = m_now + Milliseconds(*delay);
    Append(later.bytes, RecordBytes(head));
    Append(later.bytes, body);
}

void CClassicSession::SendDelayed(SIM_TIME now) {
    std::erase_if(m_delayed, [&](const DELAYED& later) {
        if (later.due > now) return false;
        m_link.SendMessage({later.bytes});
        return true;
    });
}

void CClassicSession::SendStatus() {
    if (!m_bLoggedIn) return;
    const auto status = m_state.Status();
    if (!status) return;
    for (const SIM_BYTES& message : MakeStatusMessages(m_toldStatus, *status)) m_link.SendMessage({message});
    m_toldStatus = status;
}

void CClassicSession::StopStreamsByFault() {
    const auto channel = m_state.faults.Peek(SIM_FAULT_KIND::STREAM_STOP);
    if (!channel || *channel < 0 || *channel > 63) return;
    const tuint64 bit = tuint64{1} << *channel;
    if (((m_masks.first | m_masks.second) & bit) == 0) return;
    TakeFault(SIM_FAULT_KIND::STREAM_STOP, SIM_PHASE::ANY);
    StopStreams(static_cast<unsigned>(*channel));
}

void CClassicSession::StopStreams(unsigned channel) {
    const tuint64 bit = tuint64{1} << channel;
    if (((m_masks.first | m_masks.second) & bit) == 0) return;
    SetMasks({m_masks.first & ~bit, m_masks.second & ~bit, m_masks.sound & ~bit, m_masks.jpeg});
}

void CClassicSession::PumpFrames(SIM_TIME now) {
    StopStreamsByFault();
    CLASSIC_FRAME frame;
    while (m_link.IsUsable()) {
        m_bBlocked = m_bBlocked || m_link.Queued() >= m_state.config.queueLimit;
        if (m_bBlocked) return;
        // Taking turns, neither live streams nor recordings wait for the others to be through. No frame of a recording
        // goes ahead of a late answer.
        const bool bRecordings = m_delayed.empty() && m_playbacks.SendRound();
        const bool bLive = m_link.IsUsable() && m_pump.NextFrame(now, frame);
        if (!bRecordings && !bLive) return;
        if (!bLive) continue;
        frame.info.time += m_state.control.timeOffset;
        m_sender.Send(frame);
    }
}

SIM_TIME CClassicSession::OnDue(SIM_TIME now) {
    m_now = now;
    if (now >= m_firstBlockDue) SendFirstBlock();
    SendDelayed(now);
    if (now >= m_nextHeartbeat) {
        m_link.SendHeartbeat();
        m_nextHeartbeat = now + m_state.config.heartbeat;
    }
    SendStatus();
    m_bBlocked = false;
    SendPages(now);
    PumpTalk(now);
    PumpFrames(now);
    const SIM_TIME closeDue = m_opened < m_state.downFrom ? std::min(m_closeDue, m_state.downFrom) : m_closeDue;
    if (now >= closeDue) m_link.CutWhenSent(SIM_CUT::CLOSE);
    SIM_TIME due = std::min({m_nextHeartbeat, m_firstBlockDue, closeDue, m_talk.NextDue()});
    for (const DELAYED& later : m_delayed) due = std::min(due, later.due);
    if (!m_pages.empty() && m_delayed.empty() && !m_bBlocked) due = std::min(due, m_pages.front().due);
    return m_bBlocked ? due : std::min(due, m_pump.NextDue());
}

void CClassicSession::OnClosed() {
    EndSession();
    const bool bKnown = m_link.HasSpoken() || m_link.Way() == SIM_LINK_WAY::CALLED;
    if (bKnown) Tell(SIM_EVENT_KIND::CLOSED, m_link.BytesSent());
}
