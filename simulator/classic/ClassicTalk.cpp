#include "simulator/classic/ClassicTalk.h"

#include <algorithm>

#include "simulator/FrameFormat.h"

namespace {

constexpr size_t MOST_ECHOES = 2048;  // that wait
constexpr auto UNIT_TIME = std::chrono::milliseconds(AUDIO_BLOCK_DATA / 8);

}  // namespace

bool CClassicTalk::Start(unsigned link, SIM_TIME now) {
    if (m_state.config.talk == SIM_TALK::NONE || m_state.talkingLink != 0) return false;
    m_state.talkingLink = m_link = link;
    m_bTellFormat = true;
    m_clipDue = now;
    m_clipPosition = 0;
    m_frameIndex = 0;
    return true;
}

void CClassicTalk::Stop() {
    if (!IsOn()) return;
    m_state.talkingLink = m_link = 0;
    m_echoes.clear();
}

bool CClassicTalk::Hear(SIM_BYTE_VIEW body, SIM_TIME now) {
    if (!IsOn() || body.empty() || body.size() > TALK_SEND_SIZE) return false;
    SIM_BYTES samples(body.begin(), body.end());
    if (m_state.config.bTalkUnits) {
        if (body.size() % AUDIO_BLOCK_SIZE != 0) return false;
        samples.clear();
        for (; !body.empty(); body = body.subspan(AUDIO_BLOCK_SIZE)) {
            if (!std::ranges::equal(body.first(AUDIO_BLOCK_PREFIX), RecordBytes(AUDIO_BLOCK_MARK))) return false;
            Append(samples, body.subspan(AUDIO_BLOCK_PREFIX, AUDIO_BLOCK_DATA));
        }
    }
    m_state.HearTalk(samples);
    const bool bEcho = m_state.config.talk == SIM_TALK::ECHO && m_echoes.size() < MOST_ECHOES;
    if (bEcho) m_echoes.push_back({now + m_state.config.talkDelay, std::move(samples)});
    return true;
}

SIM_TIME CClassicTalk::NextDue() const {
    if (!IsOn()) return SIM_TIME::max();
    if (m_bTellFormat || m_state.config.talk == SIM_TALK::CLIP) return m_clipDue;
    return m_echoes.empty() ? SIM_TIME::max() : m_echoes.front().due;
}

bool CClassicTalk::NextFrame(SIM_TIME now, CLASSIC_FRAME& frame) {
    if (NextDue() > now) return false;
    if (m_bTellFormat) {
        m_bTellFormat = false;
        MakeFormat(frame);
    } else if (m_state.config.talk == SIM_TALK::CLIP) {
        const auto& units = m_state.sources.pSound->Frames();
        MakeSound(units[m_clipPosition].data, frame);
        m_clipPosition = (m_clipPosition + 1) % units.size();
        m_clipDue += UNIT_TIME;
    } else {
        MakeSound(m_echoes.front().samples, frame);
        m_echoes.pop_front();
    }
    return true;
}

void CClassicTalk::FillInfo(CLASSIC_FRAME& frame, tuint32 frameType) {
    using std::chrono::microseconds;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    frame.info = {};
    frame.info.frameType = frameType;
    frame.info.frameAttrib = LIVE_FRAME_TALK;
    frame.info.frameIndex = m_frameIndex++;
    frame.info.time = std::chrono::duration_cast<microseconds>(now).count();
    frame.info.relativeTime = frame.info.time;
    frame.data = m_buffer;
    frame.info.length = static_cast<tuint32>(m_buffer.size());
}

void CClassicTalk::MakeFormat(CLASSIC_FRAME& frame) {
    SOUND_FORMAT format = ALawFormat(m_state.config.bTalkUnits ? AUDIO_BLOCK_SIZE : 1);
    const auto tag = m_state.faults.Take(SIM_FAULT_KIND::TALK_FORMAT, SIM_PHASE::TALK);
    if (tag) format.wFormatTag = static_cast<tuint16>(*tag);
    m_buffer.clear();
    Append(m_buffer, RecordBytes(format));
    FillInfo(frame, FRAME_TYPE_TALK_AUDIO_FORMAT);
}

void CClassicTalk::MakeSound(SIM_BYTE_VIEW samples, CLASSIC_FRAME& frame) {
    m_buffer.clear();
    if (!m_state.config.bTalkUnits) {
        Append(m_buffer, samples);
        return FillInfo(frame, FRAME_TYPE_TALK_AUDIO);
    }
    for (; samples.size() >= AUDIO_BLOCK_DATA; samples = samples.subspan(AUDIO_BLOCK_DATA)) {
        Append(m_buffer, RecordBytes(AUDIO_BLOCK_MARK));
        Append(m_buffer, samples.first(AUDIO_BLOCK_DATA));
    }
    FillInfo(frame, FRAME_TYPE_TALK_AUDIO);
}
