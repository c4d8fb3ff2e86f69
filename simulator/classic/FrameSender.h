// Puts stream frames on a link: whole or in pieces, with the faults that concern them.
#pragma once

#include "simulator/classic/ClassicState.h"
#include "simulator/SimLink.h"

/// One for each link; used by the recorder's thread.
class CFrameSender {
public:
    CFrameSender(CSimLink& link, CLASSIC_STATE& state) : m_link(link), m_state(state) {}

    /// Queues one frame and notes it. `phase`: that of its stream, for faults.
    void Send(const CLASSIC_FRAME& frame, SIM_PHASE phase = SIM_PHASE::STREAM);

    /// Queues a talk frame, which is none of a stream.
    void SendTalk(const CLASSIC_FRAME& frame);

private:
    struct PIECE {
        PACKED_HEAD head;
        SIM_BYTE_VIEW data;
    };

    bool IsTurn(SIM_FAULT_KIND kind, tuint32 count);
    void SendPieces();
    void SpoilPieces();
    void SendDisturbance();

    CSimLink& m_link;
    CLASSIC_STATE& m_state;
    SIM_PHASE m_phase = SIM_PHASE::STREAM;  // of the frame that is being sent
    SIM_BYTES m_message;                    // PACKCMD, FRAME_INFO, data
    std::vector<PIECE> m_pieces;            // of m_message
    tuint32 m_frames = 0;                   // sent on this link
    tuint32 m_packed = 0;                   // of them in pieces; also the id of the last
};
