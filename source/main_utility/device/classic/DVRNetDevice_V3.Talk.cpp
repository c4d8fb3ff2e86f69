// Talk with a classic recorder.
#include <algorithm>
#include <mutex>

#include "main_utility/device/classic/DVRNetDevice_V3.h"

/// A refusal leaves the talk alone that is under way: only the recorder's consent (NoteTalkStart) forgets the sound and
/// the format of an earlier one.
BOOL CDVRNetDevice_V3::StartTalkback() {
    const REFUSAL refusal{CMD_REPLY_TALK_START_FAIL, HLX_DVR_VOICEOPENED};
    if (Ask(CMD_REQUEST_TALK_START, {}, CMD_REPLY_TALK_START_SUCC, refusal)) return true;
    // A recorder that did not answer may talk all the same. Quietly: the number of the failure stays.
    const DWORD error = CThreadState::Instance()->GetLastError();
    if (error == HLX_NETWORK_RECV_TIMEOUT) SendFrame(CMD_REQUEST_TALK_STOP, {}, false);
    return false;
}

BOOL CDVRNetDevice_V3::StopTalkback() {
    const bool bSent = SendAtOnce(CMD_REQUEST_TALK_STOP, {});
    m_talkFrames.Clear();
    return bSent;
}

/// Engine's thread, ahead of the first frame of the new talk.
void CDVRNetDevice_V3::NoteTalkStart(tuint32 cmdType) {
    if (cmdType != CMD_REPLY_TALK_START_SUCC) return;
    m_talkFrames.Clear();
    m_bNewTalk = true;
}

BOOL CDVRNetDevice_V3::SendTalkData(unsigned char* pData, unsigned int uLength) {
    if (!pData || uLength == 0) return Failure(HLX_PARAMETER_ERROR);
    if (m_deviceStatus == NET_DEVICE_STATUS_DISCONNECT) return Failure(HLX_NETWORK_NOT_CONNECT);
    const Body sound = std::as_bytes(std::span(pData, uLength));
    const bool bUnits = m_talkFrames.WaveFormat().nBlockAlign == AUDIO_BLOCK_SIZE;
    const std::lock_guard guard(m_sendAudioLock);
    if (m_bNewTalk.exchange(false)) m_sendAudioLength = 0;
    const HLX_ERROR error = bUnits ? SendTalkUnits(sound) : SendTalkPieces(sound);
    return error == HLX_SUCCESS || Failure(error);
}

HLX_ERROR CDVRNetDevice_V3::SendTalkPieces(Body sound) {
    while (!sound.empty()) {
        const Body piece = sound.first(std::min<size_t>(sound.size(), TALK_SEND_SIZE));
        // Sound that finds no room is late already: it is not waited for.
        const HLX_ERROR error = SendFrame(CMD_REQUEST_TALK_STREAM, piece, false);
        if (error != HLX_SUCCESS) return error;
        sound = sound.subspan(piece.size());
    }
    return HLX_SUCCESS;
}

/// Sends whole units; what does not fill one waits in the buffer for the next call.
HLX_ERROR CDVRNetDevice_V3::SendTalkUnits(Body sound) {
    while (!sound.empty()) {
        const size_t offset = m_sendAudioLength % AUDIO_BLOCK_SIZE;
        if (offset == 0) {
            std::ranges::copy(std::as_bytes(std::span(AUDIO_BLOCK_MARK)), m_sendAudioBuf.begin() + m_sendAudioLength);
            m_sendAudioLength += AUDIO_BLOCK_PREFIX;
        }
        const size_t room = AUDIO_BLOCK_SIZE - m_sendAudioLength % AUDIO_BLOCK_SIZE;
        const Body part = sound.first(std::min(sound.size(), room));
        std::ranges::copy(part, m_sendAudioBuf.begin() + m_sendAudioLength);
        m_sendAudioLength += part.size();
        sound = sound.subspan(part.size());

        const size_t whole = m_sendAudioLength - m_sendAudioLength % AUDIO_BLOCK_SIZE;
        const bool bFull = m_sendAudioLength + AUDIO_BLOCK_SIZE > m_sendAudioBuf.size();
        if (whole == 0 || !(bFull || sound.empty())) continue;
        const HLX_ERROR error = SendFrame(CMD_REQUEST_TALK_STREAM, Body(m_sendAudioBuf).first(whole), false);
        std::copy(m_sendAudioBuf.begin() + whole, m_sendAudioBuf.begin() + m_sendAudioLength, m_sendAudioBuf.begin());
        m_sendAudioLength -= whole;
        if (error != HLX_SUCCESS) return error;
    }
    return HLX_SUCCESS;
}
