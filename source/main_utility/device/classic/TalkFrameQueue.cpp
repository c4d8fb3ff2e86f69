#include "main_utility/device/classic/TalkFrameQueue.h"

#include "device_base/TalkArrival.h"
#include "main_utility/device/classic/ClassicFrame.h"
#include "sdk_common/WireReader.h"

void CTalkFrameQueue::Push(const FRAME_INFO& info, std::span<const std::byte> data) {
    if (data.size() > MAX_TALK_FRAME_BYTES) return;
    TALK_FRAME frame(info, std::make_unique<unsigned char[]>(data.size()));
    const std::span target(reinterpret_cast<std::byte*>(frame.second.get()), data.size());
    const bool bFormat = info.frameType == FRAME_TYPE_TALK_AUDIO_FORMAT;
    const bool bBlocked = !bFormat && !data.empty() && IsBlockedAudio(data.size());
    CWireReader reader(data);
    const auto format = bFormat ? reader.Read<WAVEFORMATEX>() : WAVEFORMATEX{};
    if (!reader.Good()) return;
    if (bBlocked) {
        frame.first.length = static_cast<tuint32>(UnpackAudio(data, target));
    } else if (!data.empty()) {
        std::memcpy(target.data(), data.data(), data.size());
    }

    {
        std::lock_guard guard(m_talkFrameLock);
        if (bFormat) m_talkWaveFormat = format;
        if (bBlocked) m_talkWaveFormat.nBlockAlign = AUDIO_BLOCK_SIZE;
        if (m_talkFrameList.size() >= MAX_TALK_FRAMES) m_talkFrameList.pop_front();
        m_talkFrameList.push_back(std::move(frame));
    }
    CTalkArrival::Instance().Tell();
}

bool CTalkFrameQueue::Pop(FRAME_INFO_EX& frame) {
    std::lock_guard guard(m_talkFrameLock);
    if (m_talkFrameList.empty()) return false;
    auto& front = m_talkFrameList.front();
    static_cast<FRAME_INFO&>(frame) = front.first;
    frame.pData = front.second.release();
    m_talkFrameList.pop_front();
    return true;
}

void CTalkFrameQueue::Release(const FRAME_INFO_EX& frame) { delete[] frame.pData; }

WAVEFORMATEX CTalkFrameQueue::WaveFormat() {
    std::lock_guard guard(m_talkFrameLock);
    return m_talkWaveFormat;
}

void CTalkFrameQueue::Clear() {
    std::lock_guard guard(m_talkFrameLock);
    m_talkFrameList.clear();
    m_talkWaveFormat = {};
}
