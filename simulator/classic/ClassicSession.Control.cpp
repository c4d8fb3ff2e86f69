// Control commands of a simulated recorder's link.
#include <mutex>

#include "simulator/classic/ClassicMessages.h"
#include "simulator/classic/ClassicSession.h"

void CClassicSession::ReplyYesNo(bool bYes, tuint32 yes, tuint32 no) { Reply(bYes ? yes : no, {}); }

void CClassicSession::OnReboot(SIM_BYTE_VIEW) { GoDown(m_state.config.rebootTime); }

void CClassicSession::OnShutDown(SIM_BYTE_VIEW) { GoDown(std::chrono::years(1)); }

void CClassicSession::GoDown(SIM_TIME::duration downTime) {
    Reply(CMD_REPLY_NO_AUTH, {});
    m_state.GoDown(m_now, downTime);
}

void CClassicSession::OnChangeTime(SIM_BYTE_VIEW body) {
    const auto info = ReadRecord<NET_CHANGE_TIME_INFO>(body);
    if (info) {
        using std::chrono::microseconds;
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        const std::lock_guard guard(m_state.lock);
        m_state.control.timeOffset =
            std::int64_t{info->time} * 1000000 - std::chrono::duration_cast<microseconds>(now).count();
    }
    ReplyYesNo(info.has_value(), CMD_REPLY_CHANAGE_TIME_SUCC, CMD_REPLY_CHANAGE_TIME_FAIL);
}

void CClassicSession::OnColorGet(SIM_BYTE_VIEW body) {
    const auto query = ReadRecord<NET_COLOR_QUERY>(body);
    if (!query || query->channel >= m_state.config.channels) return Reply(CMD_REPLY_CTRL_FAIL, {});
    // Written on this thread only.
    Reply(CMD_REPLY_CHNN_CTRL_COLOR, RecordBytes(m_state.control.colors[query->channel]));
}

void CClassicSession::OnColorSet(SIM_BYTE_VIEW body) {
    const std::lock_guard guard(m_state.lock);
    m_state.control.SetColor(body, m_state.config.channels, false);
}

void CClassicSession::OnColorSave(SIM_BYTE_VIEW body) {
    bool bDone = false;
    {
        const std::lock_guard guard(m_state.lock);
        bDone = m_state.control.SetColor(body, m_state.config.channels, true);
    }
    ReplyYesNo(bDone, CMD_REPLY_CFG_SUCC, CMD_REPLY_CFG_FAIL);
}

void CClassicSession::OnManualRecord(SIM_BYTE_VIEW body) {
    const std::lock_guard guard(m_state.lock);
    m_state.control.SetManualRecord(body, m_state.config.channels);
}

void CClassicSession::OnOpenAlarm(SIM_BYTE_VIEW body) {
    const std::lock_guard guard(m_state.lock);
    m_state.control.SetAlarmOutputs(body, true);
}

void CClassicSession::OnCleanAlarm(SIM_BYTE_VIEW body) {
    const std::lock_guard guard(m_state.lock);
    m_state.control.SetAlarmOutputs(body, false);
}

void CClassicSession::OnPtz(SIM_BYTE_VIEW body) {
    bool bDone = false;
    {
        const std::lock_guard guard(m_state.lock);
        bDone = m_state.control.DoPtz(body, m_state.config.channels);
    }
    ReplyYesNo(bDone, CMD_REPLY_PTZ_SEND_CMD_SUC, CMD_REPLY_PTZ_SEND_CMD_FAIL);
}

void CClassicSession::OnEnterCameras(SIM_BYTE_VIEW) {
    const bool bFree = m_state.cameraConfigurer == 0 || m_state.cameraConfigurer == m_link.Id();
    if (bFree) m_state.cameraConfigurer = m_link.Id();
    ReplyYesNo(bFree, CMD_REPLY_CFG_SUCC, CMD_REPLY_CFG_FAIL);
}

void CClassicSession::OnLeaveCameras(SIM_BYTE_VIEW) {
    if (m_state.cameraConfigurer == m_link.Id()) m_state.cameraConfigurer = 0;
}

void CClassicSession::OnGetCameras(SIM_BYTE_VIEW) {
    if (m_state.cameraConfigurer != m_link.Id()) return Reply(CMD_REPLY_NET_DEVICE_LOG_GET_FAIL, {});
    Reply(CMD_REPLY_NET_DEVICE_LOG_GET_SUCC, MakeCameraReply(m_state.config));
}

void CClassicSession::OnJpegStart(SIM_BYTE_VIEW body) {
    const auto wanted = ReadRecord<NET_JPEG_STREAM_INFO>(body);
    if (!wanted) return Reply(CMD_REPLY_CTRL_FAIL, {});
    m_masks.jpeg = wanted->jpegCH & ChannelMask(m_state.config.channels);
    m_pump.SetMasks(m_masks, m_now);
}

void CClassicSession::OnJpegStop(SIM_BYTE_VIEW) {
    m_masks.jpeg = 0;
    m_pump.SetMasks(m_masks, m_now);
}
