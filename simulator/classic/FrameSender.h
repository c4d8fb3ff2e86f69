// Puts stream frames on a link: whole or in pieces, with the faults that concern them.
#pragma once

#include "simulator/classic/ClassicState.h"
#include "simulator/SimLink.h"

/// One for each link; used by the recorder's thread.
class CFrameSender {
public:
    CFrameSender(CSimLink& link, CLASSIC_STATE& state) : m_link(link), m_state(state) {}

    /// Queues one frame and notes it.
    void Send(const CLASSIC_FRAME& frame);

private:
    struct PIECE {
        PACKED_HEAD head;
        SIM_BYTE_VIEW data;
    };

    bool IsTurn(SIM_FAULT_KIND kind, tuint32 count);
    void SendPieces();
    void SpoilPieces(std::vector<PIECE>& pieces);
    void SendDisturbance();

    CSimLink& m_link;
    CLASSIC_STATE& m_state;
    SIM_BYTES m_message;   // PACKCMD, FRAME_INFO, data
    tuint32 m_frames = 0;  // sent on this link
    tuint32 m_packed = 0;  // of them in pieces; also the id of the last
};
