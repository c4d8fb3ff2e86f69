// The receiving side of the classic recorder: everything here runs on the engine's thread.
#include <algorithm>
#include <exception>
#include <mutex>

#include "main_utility/device/classic/ClassicFrame.h"
#include "main_utility/device/classic/DVRNetDevice_V3.h"
#include "sdk_common/Console.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/WireReader.h"

namespace {

/// Status messages carry their masks from here on.
constexpr size_t STATUS_MASK_OFFSET = sizeof(PACKCMD) + offsetof(NET_STATUS_MASK_INFO, ullMask);
static_assert(STATUS_MASK_OFFSET == 20);

constexpr unsigned int FULL_RING_PAUSE_MS = 1;

bool IsRecorded(tuint32 streamID) { return streamID >= PLAYBACK_STREAM_ID_FIRST && streamID <= DOWNLOAD_STREAM_ID; }
static_assert(PLAYBACK_STREAM_ID_LAST + 1 == DOWNLOAD_STREAM_ID);

}  // namespace

BOOL CDVRNetDevice_V3::OnReceiveData(const char* pBuf, int iLen) {
    try {
        if (!pBuf) {
            if (iLen == -1) OnLinkBroken();
        } else if (iLen > 0) {
            OnMessage(std::as_bytes(std::span(pBuf, static_cast<size_t>(iLen))));
        }
    } catch (const std::exception&) {
        LoseMessage(std::as_bytes(std::span(pBuf, static_cast<size_t>(iLen))));
    }
    return true;
}

/// No memory for a copy of this message. Where a frame was lost pictures go on with the next key frame.
void CDVRNetDevice_V3::LoseMessage(Body message) {
    const auto start = CWireReader(message).Read<tuint32>();
    if (start != PACKED_DATA_FLAG && start != CMD_REPLY_DATA_STREAM) return;
    std::lock_guard guard(m_ChanelTaskInfoLock);
    for (const auto& task : m_ChanelTaskInfo)
        for (const unsigned int bufferID : task.liveBufHandle)
            if (bufferID) m_pDataBufferMan->LoseFrame(bufferID);
}

void CDVRNetDevice_V3::OnLinkBroken() {
    m_replies.Break();
    m_combiner.Clear();
    if (m_deviceStatus.exchange(NET_DEVICE_STATUS_DISCONNECT) != NET_DEVICE_STATUS_CONNECTED) return;
    PrintConsole("Net Disconnected......\n");  // standard output may carry the application's stream
    m_baseLocalTime = 0;
    m_baseFrameTime = 0;
    ClearStreams();
}

void CDVRNetDevice_V3::OnMessage(Body message) {
    CWireReader reader(message);
    if (CWireReader(message).Read<tuint32>() == PACKED_DATA_FLAG) {
        reader.Skip(sizeof(PACKED_DATA_FLAG));
        return OnWholePackedMessage(m_combiner.AddPiece(reader.Rest()));
    }
    const auto head = reader.Read<PACKCMD>();
    if (!reader.Good()) return;
    if (head.cmdType > CMD_BASENUM_REPLY_STATUS && head.cmdType < CMD_END_REPLY_STATUS)
        return OnStatus(head.cmdType, message);
    if (head.cmdType == CMD_REPLY_DATA_STREAM) return OnStreamMessage(reader.Rest());
    const Body body = reader.Bytes(std::min<size_t>(head.dataLen, reader.Left()));
    NoteStreamAnswer(head.cmdType, body);
    NoteTalkStart(head.cmdType);
    m_replies.OnReply(head.cmdType, body);
}

void CDVRNetDevice_V3::OnStatus(tuint32 cmdType, Body message) {
    CWireReader reader(message);
    reader.Skip(STATUS_MASK_OFFSET);
    const bool bRecords = cmdType == CMD_REPLY_REC_STATUS;
    tuint64 masks[4] = {};
    for (size_t i = 0; i < (bRecords ? 4u : 1u); ++i) masks[i] = reader.Read<tuint64>();
    if (!reader.Good()) return;
    if (cmdType == CMD_REPLY_VIDEO_LOSS) m_ullVloss = masks[0];
    if (cmdType == CMD_REPLY_MOTION) m_ullMotion = masks[0];
    if (cmdType == CMD_REPLY_SENSOR) m_ullSensor = masks[0];
    if (!bRecords) return;
    m_ullManualRec = masks[0];
    m_ullScheduleRec = masks[1];
    m_ullMotionRec = masks[2];
    m_ullSensorRec = masks[3];
}

// ---- Frames ----

void CDVRNetDevice_V3::OnStreamMessage(Body body) {
    CWireReader reader(body);
    const auto wire = reader.Read<FRAME_INFO>();
    const Body data = reader.Bytes(wire.length);
    if (!reader.Good()) return;
    if (wire.frameType == FRAME_TYPE_TALK_AUDIO || wire.frameType == FRAME_TYPE_TALK_AUDIO_FORMAT) {
        return m_talkFrames.Push(wire, data);
    }
    if (wire.frameType != FRAME_TYPE_AUDIO || !IsBlockedAudio(data.size())) return DeliverFrame(wire, data);

    // A frame of more blocks than the buffer has room for loses the rest: a second of sound in one frame is no live
    // sound.
    FRAME_INFO unpacked = wire;
    unpacked.length = static_cast<tuint32>(UnpackAudio(data, m_pRecvAudioBuf));
    DeliverFrame(unpacked, Body(m_pRecvAudioBuf).first(unpacked.length));
}

void CDVRNetDevice_V3::OnWholePackedMessage(Body message) {
    if (message.empty()) return;
    CWireReader reader(message);
    const auto head = reader.Read<PACKCMD>();
    const auto wire = reader.Read<FRAME_INFO>();
    const Body data = reader.Bytes(wire.length);
    if (reader.Good() && head.cmdType == CMD_REPLY_DATA_STREAM) DeliverFrame(wire, data);
}

void CDVRNetDevice_V3::DeliverFrame(const FRAME_INFO& wire, Body data) {
    if (!ConvertFrameInfo(wire, m_sdkFrameInfo)) return;
    m_sdkFrameInfo.deviceID = static_cast<tuint32>(m_deviceID);
    const auto* pData = reinterpret_cast<const unsigned char*>(data.data());
    if (IsRecorded(wire.streamID)) return PushRecorded(wire.streamID, pData);
    NoteTimes(wire);
    // Any other stream id is live. It never names a ring: a recorder must not reach the rings of another.
    CollectReceivers();
    for (size_t i = 0; i < m_receiverCount; ++i)
        if (!PushFrame(m_receivers[i], pData)) return;
}

void CDVRNetDevice_V3::NoteTimes(const FRAME_INFO& wire) {
    const bool bMedia = wire.frameType == FRAME_TYPE_VIDEO || wire.frameType == FRAME_TYPE_AUDIO;
    if (bMedia && m_baseLocalTime == 0) {
        m_baseLocalTime = GetCurrTime();
        m_baseFrameTime = wire.relativeTime;
    }
    if ((wire.frameAttrib & (LIVE_FRAME_FIRST_STREAM | LIVE_FRAME_SECOND_STREAM)) == 0) return;
    m_dvrCurrentTime = wire.time;
    m_bGetDvrTime = true;
}

void CDVRNetDevice_V3::CollectReceivers() {
    const HLX_FRAME_INFO& frame = m_sdkFrameInfo;
    const bool bPicture = frame.frameType == DD_FRAME_TYPE_VIDEO || frame.frameType == DD_FRAME_TYPE_VIDEO_FORMAT;
    m_receiverCount = 0;
    std::lock_guard guard(m_ChanelTaskInfoLock);
    for (const auto& task : m_ChanelTaskInfo) {
        const tuint32 wanted = task.bFirstStream ? DD_LIVE_FRAME_FIRST_STREAM : DD_LIVE_FRAME_SECOND_STREAM;
        if (task.channel != static_cast<LONG>(frame.channel) || (bPicture && !(frame.frameAttrib & wanted))) continue;
        for (const unsigned int bufferID : task.liveBufHandle) {
            if (bufferID && m_receiverCount < m_receivers.size()) m_receivers[m_receiverCount++] = bufferID;
        }
    }
    if (frame.frameType == DD_FRAME_TYPE_JPEG && frame.channel < MAX_CHANNELS &&
        (m_ullJpegStream >> frame.channel & 1)) {
        // The ring of pictures need not have a task. It gets each picture once.
        const unsigned int pictures = LIVE_BUFFER_ID(m_deviceID, frame.channel, HLX_THIRD_STREAM);
        const auto end = m_receivers.begin() + m_receiverCount;
        if (end != m_receivers.end() && std::find(m_receivers.begin(), end, pictures) == end)
            m_receivers[m_receiverCount++] = pictures;
    }
}

/// False when the session ended meanwhile.
bool CDVRNetDevice_V3::PushFrame(unsigned int bufferID, const unsigned char* pData) {
    // A full ring holds the engine's thread: this is the back-pressure on the recorder. PushData gives the frame up by
    // itself.
    while (!m_pDataBufferMan->PushData(bufferID, m_sdkFrameInfo, pData)) {
        if (m_deviceStatus == NET_DEVICE_STATUS_DISCONNECT) return false;
        PUB_Sleep(FULL_RING_PAUSE_MS);
    }
    return true;
}
