// Live channels of the classic recorder.
#include <algorithm>
#include <mutex>
#include <new>

#include "main_utility/device/classic/DVRNetDevice_V3.h"
#include "sdk_common/WireReader.h"

namespace {

constexpr tuint64 ChannelBit(LONG lChannel) { return tuint64{1} << lChannel; }

}  // namespace

bool CDVRNetDevice_V3::HasChannel(LONG lChannel) {
    return lChannel >= 0 && lChannel < std::min<LONG>(DeviceInfo().videoInputNum, MAX_CHANNELS);
}

BOOL CDVRNetDevice_V3::StartLiveChannel(LONG lChannel, BOOL bFirstStream, unsigned int bufid, unsigned int) {
    if (m_deviceStatus == NET_DEVICE_STATUS_DISCONNECT) return Failure(HLX_NETWORK_NOT_CONNECT);
    if (!HasChannel(lChannel)) return Failure(HLX_CHANNEL_ERROR);
    if (bufid == 0) return Failure(HLX_PARAMETER_ERROR);
    std::lock_guard guard(m_streamLock);
    const tuint64 sent = bFirstStream ? m_ullFirstStream.load() : m_ullFirstStream | m_ullSecondStream;
    if ((sent & ChannelBit(lChannel)) == 0) return OpenStream(lChannel, bFirstStream, bufid);
    StreamMask(bFirstStream) |= ChannelBit(lChannel);
    return AddTask(lChannel, bFirstStream, bufid);
}

bool CDVRNetDevice_V3::OpenStream(LONG lChannel, BOOL bFirstStream, unsigned int bufid) {
    const bool bAnyOpen = (m_ullFirstStream | m_ullSecondStream) != 0;
    if (!AddTask(lChannel, bFirstStream, bufid)) return false;
    StreamMask(bFirstStream) |= ChannelBit(lChannel);
    if (!SendStreamMasks(bAnyOpen ? CMD_REQUEST_STREAM_CHANGE : CMD_REQUEST_STREAM_START)) {
        StreamMask(bFirstStream) &= ~ChannelBit(lChannel);
        StopLiveHandle(lChannel, bFirstStream, bufid);
        return false;
    }
    const HLX_ERROR refusal = StreamRefusal();
    if (refusal == HLX_SUCCESS) return true;
    StopLiveHandle(lChannel, bFirstStream, bufid);
    StopLiveChannel(lChannel, bFirstStream, 0);
    return Failure(refusal);
}

bool CDVRNetDevice_V3::AddTask(LONG lChannel, BOOL bFirstStream, unsigned int bufid) try {
    std::lock_guard guard(m_ChanelTaskInfoLock);
    const auto isSame = [&](const DVR_CHANEL_TASKINFO& task) {
        return task.channel == lChannel && task.bFirstStream == bFirstStream;
    };
    auto task = std::ranges::find_if(m_ChanelTaskInfo, isSame);
    if (task == m_ChanelTaskInfo.end()) {
        task = m_ChanelTaskInfo.insert(task, DVR_CHANEL_TASKINFO{lChannel, bFirstStream, {}});
    }
    auto& handles = task->liveBufHandle;
    if (std::ranges::find(handles, bufid) != handles.end()) return true;
    const auto place = std::ranges::find(handles, 0u);
    if (place == handles.end()) return Failure(HLX_NORESOURCE);
    *place = bufid;
    return true;
} catch (const std::bad_alloc&) {
    return Failure(HLX_NORESOURCE);
}

bool CDVRNetDevice_V3::SendStreamMasks(tuint32 dwCmdType) {
    const tuint64 first = m_ullFirstStream;
    const tuint64 second = m_ullSecondStream;
    NET_LIVESTREAM_CTRL_INFO info = {};
    info.streamID = LIVE_STREAM_ID;
    info.fastVideoCH = first;
    info.secondVideoCH = second & ~first;
    info.audioCH = first | second;
    return SendRequestCmd(dwCmdType, BodyOf(info));
}

BOOL CDVRNetDevice_V3::HasStreamCapability() {
    const HLX_ERROR refusal = StreamRefusal();
    return refusal == HLX_SUCCESS || Failure(refusal);
}

HLX_ERROR CDVRNetDevice_V3::StreamRefusal() {
    REPLY_CMD_DATA reply;
    const HLX_ERROR error = AskQuietly(CMD_REQUEST_LAST_STREAM_ERROR, {}, {CMD_REPLY_LAST_STREAM_ERROR}, reply);
    if (error != HLX_SUCCESS && error != HLX_NETWORK_RECV_TIMEOUT) return error;
    const bool bRefused = CWireReader(reply.cmdParam).Read<tuint32>() == NETERR_STREAM_NO_RESOURCE;
    return bRefused ? LogRefusal(CMD_REQUEST_LAST_STREAM_ERROR, HLX_DVR_NORESOURCE) : HLX_SUCCESS;
}

BOOL CDVRNetDevice_V3::StopLiveChannel(LONG lChannel, BOOL bFirstStream, unsigned int) {
    if (lChannel < 0 || lChannel >= MAX_CHANNELS) return Failure(HLX_CHANNEL_ERROR);
    std::lock_guard guard(m_streamLock);
    const tuint64 bit = ChannelBit(lChannel);
    if ((StreamMask(bFirstStream).fetch_and(~bit) & bit) == 0) return true;
    if (!bFirstStream && (m_ullFirstStream & bit)) return true;
    const bool bAnyOpen = (m_ullFirstStream | m_ullSecondStream) != 0;
    return SendStreamMasks(bAnyOpen ? CMD_REQUEST_STREAM_CHANGE : CMD_REQUEST_STREAM_STOP);
}

BOOL CDVRNetDevice_V3::StopLiveHandle(LONG, BOOL, unsigned int bufid) {
    std::lock_guard guard(m_ChanelTaskInfoLock);
    for (auto& task : m_ChanelTaskInfo) std::ranges::replace(task.liveBufHandle, bufid, 0u);
    const auto hasNone = [](const DVR_CHANEL_TASKINFO& task) {
        return std::ranges::all_of(task.liveBufHandle, [](unsigned int id) { return id == 0; });
    };
    std::erase_if(m_ChanelTaskInfo, hasNone);
    return true;
}

BOOL CDVRNetDevice_V3::RequestKeyFrame(LONG lChannel, BOOL bFirstStream, unsigned int) {
    if (!HasChannel(lChannel)) return Failure(HLX_CHANNEL_ERROR);
    NET_LIVESTREAM_CTRL_INFO info = {};
    if (bFirstStream) {
        info.fastVideoCH = ChannelBit(lChannel);
    } else {
        info.secondVideoCH = ChannelBit(lChannel);
    }
    return SendRequestCmd(CMD_REQUEST_KEYFRAME, BodyOf(info));
}

// ---- JPEG pictures ----

bool CDVRNetDevice_V3::SendJpegMask(tuint32 dwCmdType) {
    const NET_JPEG_STREAM_INFO info = {LIVE_STREAM_ID, m_ullJpegStream};
    return SendRequestCmd(dwCmdType, BodyOf(info));
}

BOOL CDVRNetDevice_V3::StartJpegStream(LONG lChannel) {
    if (m_deviceStatus == NET_DEVICE_STATUS_DISCONNECT) return Failure(HLX_NETWORK_NOT_CONNECT);
    if (!HasChannel(lChannel)) return Failure(HLX_CHANNEL_ERROR);
    std::lock_guard guard(m_streamLock);
    const tuint64 before = m_ullJpegStream.fetch_or(ChannelBit(lChannel));
    if (before & ChannelBit(lChannel)) return true;
    if (SendJpegMask(before ? CMD_REQUEST_JPEG_CHANGE : CMD_REQUEST_JPEG_START)) return true;
    m_ullJpegStream &= ~ChannelBit(lChannel);
    return false;
}

BOOL CDVRNetDevice_V3::StopJpegStream(LONG lChannel) {
    if (lChannel < 0 || lChannel >= MAX_CHANNELS) return Failure(HLX_CHANNEL_ERROR);
    std::lock_guard guard(m_streamLock);
    const tuint64 before = m_ullJpegStream.fetch_and(~ChannelBit(lChannel));
    if ((before & ChannelBit(lChannel)) == 0) return true;
    return SendJpegMask(m_ullJpegStream ? CMD_REQUEST_JPEG_CHANGE : CMD_REQUEST_JPEG_STOP);
}
