// Playback and download streams of the classic recorder.
#include <algorithm>
#include <mutex>

#include "main_utility/device/classic/DVRNetDevice_V3.h"
#include "protocol/ClassicRecordings.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/WireReader.h"

namespace {

/// Control codes and the commands that carry them.
struct PLAY_COMMAND {
    DWORD dwCode;
    tuint32 dwCmdType;
    bool bSpeed;  // the value is a speed and goes along
};

constexpr PLAY_COMMAND PLAY_COMMANDS[] = {
    {HLX_PLAYCTRL_PAUSE, CMD_REQUEST_DATA_PAUSE, false}, {HLX_PLAYCTRL_FF, CMD_REQUEST_DATA_FF, true},
    {HLX_PLAYCTRL_REW, CMD_REQUEST_DATA_REW, true},      {HLX_PLAYCTRL_RESUME, CMD_REQUEST_DATA_RESUME, false},
    {HLX_PLAYCTRL_STOP, CMD_REQUEST_DATA_STOP, false},
};

unsigned int RingOf(LONG lDeviceID, DWORD dwStreamID) {
    if (dwStreamID == DOWNLOAD_STREAM_ID) return DOWNLOAD_STREAM_ID;
    return PLAYBACK_BUFFER_ID(lDeviceID, dwStreamID - PLAYBACK_STREAM_ID_FIRST);
}

}  // namespace

CDVRNetDevice_V3::RECORD_STREAM* CDVRNetDevice_V3::RecordStream(DWORD dwStreamID) {
    const DWORD place = dwStreamID - PLAYBACK_STREAM_ID_FIRST;  // below the first it wraps beyond the last
    return place < m_recordStreams.size() ? &m_recordStreams[place] : nullptr;
}

std::optional<NET_DATA_READ_INFO> CDVRNetDevice_V3::ReadInfo(const LONG* pChannels, LONG lChannelNum,
                                                             const DD_TIME& start, const DD_TIME& stop) {
    if (!pChannels || lChannelNum < 1 || lChannelNum > LONG{MAX_STREAM_CHANNELS})
        return Failure(HLX_PARAMETER_ERROR, std::nullopt);
    NET_DATA_READ_INFO info = {};
    info.channelNum = static_cast<tuint32>(lChannelNum);
    for (LONG i = 0; i < lChannelNum; ++i) {
        if (!HasChannel(pChannels[i])) return Failure(HLX_CHANNEL_ERROR, std::nullopt);
        info.channels[i] = static_cast<tuint32>(pChannels[i]);
    }
    info.startTime = DDTimeToDVRTime32(start);
    info.stopTime = DDTimeToDVRTime32(stop);
    return info;
}

// ---- Start, seek and stop ----

BOOL CDVRNetDevice_V3::PlaybackByTime(LONG* pChannels, LONG lChannelNum, const DD_TIME& start, const DD_TIME& stop,
                                      DWORD dwStreamID, BOOL bFirstStream) {
    RECORD_STREAM* pStream = RecordStream(dwStreamID);
    if (!pStream) return Failure(HLX_PARAMETER_ERROR);
    auto info = ReadInfo(pChannels, lChannelNum, start, stop);
    if (!info) return false;
    info->streamID = dwStreamID;
    info->bFirstStream = bFirstStream ? 1 : 0;
    tuint64 channels = 0;
    for (LONG i = 0; i < lChannelNum; ++i) channels |= tuint64{1} << pChannels[i];
    {
        std::lock_guard guard(m_recordStreamLock);
        pStream->bKnown = true;
        pStream->bFirstStream = bFirstStream;
        pStream->channels = channels;
    }
    if (AskForStream(*info, *pStream)) return true;
    Forget(*pStream);
    return false;
}

BOOL CDVRNetDevice_V3::PlaybackSetTime(LONG* pChannels, LONG lChannelNum, const DD_TIME& start, const DD_TIME& stop,
                                       DWORD dwStreamID) {
    RECORD_STREAM* pStream = RecordStream(dwStreamID);
    if (!pStream) return Failure(HLX_PARAMETER_ERROR);
    auto info = ReadInfo(pChannels, lChannelNum, start, stop);
    if (!info) return false;
    info->streamID = dwStreamID;
    return AskForStream(*info, *pStream);
}

/// The gate closes with the question: what the recorder sends before its answer belongs to the run before.
bool CDVRNetDevice_V3::AskForStream(NET_DATA_READ_INFO& info, RECORD_STREAM& stream) {
    info.requestID = NextRequestID();
    {
        std::lock_guard guard(m_recordStreamLock);
        if (!stream.bKnown) return Failure(HLX_PARAMETER_ERROR);
        info.bFirstStream = stream.bFirstStream ? 1 : 0;
        stream.gate = STREAM_AWAITED | info.requestID;
    }
    HLX_ERROR refusal = HLX_SUCCESS;
    const auto take = [&](REPLY_CMD_DATA& reply) {
        refusal = StreamAnswer(reply.cmdType, reply.cmdParam);
        return REPLY_DONE;
    };
    HLX_ERROR error =
        AskNumbered(CMD_REQUEST_DATA_READ, BodyOf(info), {CMD_REPLY_DATA_INFO, CMD_REPLY_DATA_NULL}, std::cref(take));
    if (error == HLX_SUCCESS && refusal != HLX_SUCCESS) error = LogRefusal(CMD_REQUEST_DATA_READ, refusal);
    if (error == HLX_SUCCESS && !IsKnown(stream)) {
        // Stopped by another thread, whose request may have gone out ahead of this one.
        SendStreamCtrl(CMD_REQUEST_DATA_STOP, info.streamID, 0);
        error = HLX_PARAMETER_ERROR;
    }
    if (error == HLX_SUCCESS) return true;
    ShutStream(stream, info.streamID);
    return Failure(error);
}

/// Forgets what the ring holds and lets no late answer open the gate.
void CDVRNetDevice_V3::ShutStream(RECORD_STREAM& stream, DWORD dwStreamID) {
    std::lock_guard guard(m_recordStreamLock);
    stream.gate = STREAM_SHUT;
    m_pDataBufferMan->DropData(RingOf(m_deviceID, dwStreamID));
}

bool CDVRNetDevice_V3::IsKnown(const RECORD_STREAM& stream) {
    std::lock_guard guard(m_recordStreamLock);
    return stream.bKnown;
}

/// What an answer to the start of a stream says; HLX_SUCCESS: it runs.
HLX_ERROR CDVRNetDevice_V3::StreamAnswer(tuint32 cmdType, Body body) {
    CWireReader reader(body);
    if (cmdType == CMD_REPLY_DATA_INFO) {
        const auto head = reader.Read<NET_DATA_REPLY_HEAD>();
        return reader.Good() && head.kind == NET_DATA_STREAM ? HLX_SUCCESS : HLX_NETWORK_ERRORDATA;
    }
    const auto null = reader.Read<NET_DATA_NULL_INFO>();
    if (!reader.Good()) return HLX_NETWORK_ERRORDATA;
    if (null.reason == NET_DATA_NOTHING_FOUND) return HLX_FILE_NOFIND;
    return null.reason == NET_DATA_NO_RESOURCE ? HLX_DVR_NORESOURCE : HLX_DVR_OPRATE_FAILED;
}

BOOL CDVRNetDevice_V3::StopPlayback(DWORD dwStreamID) {
    RECORD_STREAM* pStream = RecordStream(dwStreamID);
    if (!pStream) return Failure(HLX_PARAMETER_ERROR);
    Forget(*pStream);
    return SendStreamCtrl(CMD_REQUEST_DATA_STOP, dwStreamID, 0);
}

void CDVRNetDevice_V3::Forget(RECORD_STREAM& stream) {
    std::lock_guard guard(m_recordStreamLock);
    stream.bKnown = false;
    stream.gate = STREAM_SHUT;
}

BOOL CDVRNetDevice_V3::DownLoadByTime(LONG lChannel, BOOL bFirstStream, const DD_TIME& start, const DD_TIME& stop) {
    return PlaybackByTime(&lChannel, 1, start, stop, DOWNLOAD_STREAM_ID, bFirstStream);
}

BOOL CDVRNetDevice_V3::StopDownLoad(LONG) { return StopPlayback(DOWNLOAD_STREAM_ID); }

// ---- Control: sent at once or not at all, and not answered ----

bool CDVRNetDevice_V3::SendAtOnce(tuint32 dwCmdType, Body body) {
    HLX_ERROR error = HLX_NETWORK_NOT_CONNECT;
    if (m_deviceStatus == NET_DEVICE_STATUS_CONNECTED) error = SendFrame(dwCmdType, body, false);
    return error == HLX_SUCCESS || Failure(error);
}

bool CDVRNetDevice_V3::SendStreamCtrl(tuint32 dwCmdType, DWORD dwStreamID, DWORD dwValue) {
    const NET_DATA_CTRL_INFO info = {dwStreamID, IsFirstStreamOf(dwStreamID), dwValue};
    return SendAtOnce(dwCmdType, BodyOf(info));
}

tuint32 CDVRNetDevice_V3::IsFirstStreamOf(DWORD dwStreamID) {
    std::lock_guard guard(m_recordStreamLock);
    const RECORD_STREAM* pStream = RecordStream(dwStreamID);
    return pStream && pStream->bFirstStream ? 1 : 0;
}

BOOL CDVRNetDevice_V3::PlaybackCtrl(DWORD dwStreamID, DWORD dwCommand, DWORD dwValue) {
    RECORD_STREAM* pStream = RecordStream(dwStreamID);
    if (!pStream) return Failure(HLX_PARAMETER_ERROR);
    if (dwCommand == HLX_PLAYCTRL_STARTAUDIO) {
        std::unique_lock lock(m_recordStreamLock);
        const tuint64 channels = pStream->channels;
        lock.unlock();
        return ChangeAudioChannel(channels, dwStreamID);
    }
    if (dwCommand == HLX_PLAYCTRL_STOPAUDIO) return ChangeAudioChannel(0, dwStreamID);
    const auto* pRow = std::ranges::find(PLAY_COMMANDS, dwCommand, &PLAY_COMMAND::dwCode);
    if (pRow == std::end(PLAY_COMMANDS)) return true;
    return SendStreamCtrl(pRow->dwCmdType, dwStreamID, pRow->bSpeed ? dwValue : 0);
}

BOOL CDVRNetDevice_V3::NotifyPlayIndex(LONG lStreamID, LONG lFrameIndex, int iChannel) {
    const auto streamID = static_cast<DWORD>(lStreamID);
    const NET_DATA_INDEX_INFO info = {streamID, IsFirstStreamOf(streamID), static_cast<tuint32>(lFrameIndex),
                                      iChannel < 0 ? ALL_CHANNELS : static_cast<tuint32>(iChannel)};
    return SendAtOnce(CMD_REQUEST_DATA_INDEX, BodyOf(info));
}

BOOL CDVRNetDevice_V3::ChangeAudioChannel(ULONGLONG ullChannels, unsigned int uStreamID) {
    const NET_CHANGE_AUDIO_INFO info = {uStreamID, IsFirstStreamOf(uStreamID), ullChannels};
    return SendAtOnce(CMD_REQUEST_CHANGE_AUDIO, BodyOf(info));
}

// ---- Engine's thread ----

/// Opens the gate of the stream that an answer is for, and forgets what its ring still holds of the run before.
void CDVRNetDevice_V3::NoteStreamAnswer(tuint32 cmdType, Body body) {
    if (cmdType != CMD_REPLY_DATA_INFO && cmdType != CMD_REPLY_DATA_NULL) return;
    const auto requestID = CWireReader(body).Read<tuint32>();
    std::lock_guard guard(m_recordStreamLock);
    const auto awaits = [&](const RECORD_STREAM& stream) { return stream.gate == (STREAM_AWAITED | requestID); };
    const auto stream = std::ranges::find_if(m_recordStreams, awaits);
    if (stream == m_recordStreams.end()) return;
    const auto place = static_cast<DWORD>(stream - m_recordStreams.begin());
    m_pDataBufferMan->DropData(RingOf(m_deviceID, PLAYBACK_STREAM_ID_FIRST + place));
    stream->gate = StreamAnswer(cmdType, body) == HLX_SUCCESS ? STREAM_OPEN : STREAM_SHUT;
}

void CDVRNetDevice_V3::PushRecorded(DWORD dwStreamID, const unsigned char* pData) {
    const RECORD_STREAM* pStream = RecordStream(dwStreamID);
    if (pStream->gate == STREAM_OPEN) PushFrame(RingOf(m_deviceID, dwStreamID), pData);
}
