#include "simulator/classic/ClassicState.h"

namespace {

/// Digest and length of what is left of sound units without their prefixes.
void DigestSound(SIM_BYTE_VIEW data, CLASSIC_SENT_FRAME& sent) {
    sent.digest = DIGEST_START;
    for (; data.size() >= AUDIO_BLOCK_SIZE; data = data.subspan(AUDIO_BLOCK_SIZE)) {
        sent.digest = DigestBytes(data.subspan(AUDIO_BLOCK_PREFIX, AUDIO_BLOCK_DATA), sent.digest);
        sent.length += AUDIO_BLOCK_DATA;
    }
}

}  // namespace

void CLASSIC_STATE::CountCommand(tuint32 cmdType) {
    const std::lock_guard guard(lock);
    ++commands[cmdType];
}

void CLASSIC_STATE::NoteFrame(unsigned link, const CLASSIC_FRAME& frame) {
    CLASSIC_SENT_FRAME note;
    if (config.bKeepDigests) {
        const FRAME_INFO& info = frame.info;
        note = {link,
                info.channel,
                info.frameType,
                info.frameAttrib,
                info.frameIndex,
                info.keyFrame != 0,
                0,
                0,
                info.streamID,
                0};
        if (info.streamID != LIVE_STREAM_ID) note.time = info.time;
        if (info.frameType == FRAME_TYPE_AUDIO) {
            DigestSound(frame.data, note);
        } else {
            note.length = static_cast<tuint32>(frame.data.size());
            note.digest = DigestBytes(frame.data);
        }
    }
    const std::lock_guard guard(lock);
    ++framesSent;
    if (config.bKeepDigests) sent.push_back(note);
}

bool CLASSIC_STATE::IsPassword(const std::string& sGiven) {
    const std::lock_guard guard(lock);
    return sGiven == sPassword;
}

std::optional<CLASSIC_STATUS> CLASSIC_STATE::Status() {
    const std::lock_guard guard(lock);
    return status;
}

void CLASSIC_STATE::HearTalk(SIM_BYTE_VIEW samples) {
    if (pTalkFile) pTalkFile->Write(samples);
    if (!config.bKeepDigests) return;
    const std::lock_guard guard(lock);
    Append(talkHeard, samples);
}

void CLASSIC_STATE::GoDown(SIM_TIME now, SIM_TIME::duration downTime) {
    downFrom = now + config.rebootDelay;
    downUntil = downFrom + downTime;
    const std::lock_guard guard(lock);
    control.Restart();
}
