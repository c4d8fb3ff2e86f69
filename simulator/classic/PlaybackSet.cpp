#include "simulator/classic/PlaybackSet.h"

#include <algorithm>

CPlaybackStream* CPlaybackSet::Find(tuint32 streamID) {
    const auto found =
        std::ranges::find_if(m_streams, [&](const auto& pStream) { return pStream->StreamID() == streamID; });
    return found == m_streams.end() ? nullptr : found->get();
}

void CPlaybackSet::Tell(tuint32 streamID, tuint64 channels, const char* pWhat) const {
    m_state.Tell({SIM_EVENT_KIND::RECORDING, m_link.Id(), streamID, channels, 0, 0, pWhat});
}

bool CPlaybackSet::IsSound(const NET_DATA_READ_INFO& info) const {
    const bool bDownload = info.streamID == DOWNLOAD_STREAM_ID;
    const bool bPlayback = info.streamID >= PLAYBACK_STREAM_ID_FIRST && info.streamID <= PLAYBACK_STREAM_ID_LAST;
    if ((!bDownload && !bPlayback) || info.startTime >= info.stopTime) return false;
    if (info.channelNum == 0 || info.channelNum > (bDownload ? 1 : MAX_STREAM_CHANNELS)) return false;
    tuint64 seen = 0;
    for (tuint32 n = 0; n < info.channelNum; ++n) {
        const tuint32 channel = info.channels[n];
        if (channel >= m_state.config.channels || ((seen >> channel) & 1) != 0) return false;
        seen |= tuint64{1} << channel;
    }
    return true;
}

std::optional<tuint32> CPlaybackSet::Read(const NET_DATA_READ_INFO& info) {
    const bool bRan = Find(info.streamID) != nullptr;
    End(info.streamID);
    if (!IsSound(info)) return NET_DATA_REFUSED;
    const auto playbacks = std::ranges::count_if(m_streams, [](const auto& pStream) { return !pStream->IsDownload(); });
    if (info.streamID != DOWNLOAD_STREAM_ID && static_cast<size_t>(playbacks) >= MAX_PLAYBACKS)
        return NET_DATA_NO_RESOURCE;
    if (m_state.archive.Files().empty()) return NET_DATA_NOTHING_FOUND;

    ARCHIVE_REQUEST request{{}, info.bFirstStream != 0, {info.startTime, info.stopTime}};
    tuint64 channels = 0;
    for (tuint32 n = 0; n < info.channelNum; ++n) {
        const tuint32 channel = info.channels[n];
        request.channels.push_back(channel);
        channels |= tuint64{1} << channel;
    }
    auto pStream = std::make_unique<CPlaybackStream>(m_state.archive, m_state.media, info.streamID, request);
    if (!pStream->HasFrames()) return NET_DATA_NOTHING_FOUND;
    m_streams.push_back(std::move(pStream));
    Tell(info.streamID, channels, bRan ? "seek" : "start");
    return std::nullopt;
}

void CPlaybackSet::End(tuint32 streamID) {
    std::erase_if(m_streams, [&](const auto& pStream) { return pStream->StreamID() == streamID; });
}

void CPlaybackSet::Control(tuint32 cmdType, const NET_DATA_CTRL_INFO& info) {
    CPlaybackStream* pStream = Find(info.streamID);
    if (!pStream) return;
    if (cmdType != CMD_REQUEST_DATA_STOP) return pStream->Control(cmdType, info.value);
    End(info.streamID);
    Tell(info.streamID, 0, "stop");
}

void CPlaybackSet::Notify(const NET_DATA_INDEX_INFO& info) {
    if (CPlaybackStream* pStream = Find(info.streamID)) pStream->Notify(info.frameIndex);
}

void CPlaybackSet::SetSound(const NET_CHANGE_AUDIO_INFO& info) {
    if (CPlaybackStream* pStream = Find(info.streamID)) pStream->SetSound(info.audioCH);
}

void CPlaybackSet::HaltAll() {
    for (const auto& pStream : m_streams) pStream->Halt();
}

bool CPlaybackSet::SendRound() {
    bool bSent = false;
    for (const auto& pStream : m_streams) bSent = (m_link.IsUsable() && SendOne(*pStream)) || bSent;
    return bSent;
}

bool CPlaybackSet::SendOne(CPlaybackStream& stream) {
    CLASSIC_FRAME frame;
    if (!stream.Peek(frame) || !Spoil(stream, frame)) return false;
    stream.Sent(frame);
    m_sender.Send(frame, stream.IsDownload() ? SIM_PHASE::DOWNLOAD : SIM_PHASE::PLAYBACK);
    if (frame.info.frameType == FRAME_TYPE_END) Tell(stream.StreamID(), 0, "end");
    return true;
}

bool CPlaybackSet::TakeAt(SIM_FAULT_KIND kind, SIM_PHASE phase, std::uint64_t frames) {
    const auto at = m_state.faults.Peek(kind, phase);
    if (!at || static_cast<std::uint64_t>(std::max<std::int64_t>(*at, 0)) != frames) return false;
    m_state.faults.Take(kind, phase);
    m_state.Tell({SIM_EVENT_KIND::FAULT, m_link.Id(), 0, 0, 0, 0, FaultName(kind)});
    return true;
}

bool CPlaybackSet::Spoil(CPlaybackStream& stream, CLASSIC_FRAME& frame) {
    const SIM_PHASE phase = stream.IsDownload() ? SIM_PHASE::DOWNLOAD : SIM_PHASE::PLAYBACK;
    const std::uint64_t frames = stream.FramesSent();
    if (TakeAt(SIM_FAULT_KIND::DATA_CLOSE, phase, frames)) {
        m_link.CutWhenSent(SIM_CUT::CLOSE);
        return false;
    }
    const bool bEnd = frame.info.frameType == FRAME_TYPE_END;
    const bool bStop = TakeAt(SIM_FAULT_KIND::DATA_STOP, phase, frames);
    if (bStop || (bEnd && m_state.faults.Take(SIM_FAULT_KIND::NO_END, phase))) {
        stream.Halt();
        return false;
    }
    const auto every = m_state.faults.Peek(SIM_FAULT_KIND::WILD_TIMES, phase);
    if (every && *every > 0 && (frames + 1) % static_cast<std::uint64_t>(*every) == 0) {
        m_state.faults.Take(SIM_FAULT_KIND::WILD_TIMES, phase);
        frame.info.time = static_cast<tint64>(ArchiveChance(frames, stream.StreamID()));
    }
    return true;
}
