// The talk of one link with a simulated classic recorder.
#pragma once

#include <deque>

#include "simulator/classic/ClassicState.h"

/// Says what the recorder says and when: what it heard, after a while, or a clip round and round. Its sound is A-law.
/// Used by the recorder's thread.
class CClassicTalk {
public:
    /// `state` outlives the talk.
    explicit CClassicTalk(CLASSIC_STATE& state) : m_state(state) {}
    ~CClassicTalk() { Stop(); }

    /// False while another link talks, or where the recorder has no talk.
    bool Start(unsigned link, SIM_TIME now);
    /// The bytes heard; without effect when there is no talk.
    void Stop();
    bool IsOn() const { return m_link != 0; }

    /// Takes the client's sound in, as it stands in the body of CMD_REQUEST_TALK_STREAM. False when it makes no sense.
    bool Hear(SIM_BYTE_VIEW body, SIM_TIME now);

    /// When the next frame is due; SIM_TIME::max() when nothing is to be said.
    SIM_TIME NextDue() const;

    /// The frame that is due at `now`, the format first; false when none is.
    bool NextFrame(SIM_TIME now, CLASSIC_FRAME& frame);

private:
    struct SOUND {
        SIM_TIME due;
        SIM_BYTES samples;
    };

    void FillInfo(CLASSIC_FRAME& frame, tuint32 frameType);
    void MakeFormat(CLASSIC_FRAME& frame);
    void MakeSound(SIM_BYTE_VIEW samples, CLASSIC_FRAME& frame);

    CLASSIC_STATE& m_state;
    unsigned m_link = 0;  // number of the link that talks; 0: no talk
    bool m_bTellFormat = false;
    std::deque<SOUND> m_echoes;
    SIM_TIME m_clipDue{};
    size_t m_clipPosition = 0;
    tuint32 m_frameIndex = 0;
    SIM_BYTES m_buffer;  // data of the frame in hand
};
