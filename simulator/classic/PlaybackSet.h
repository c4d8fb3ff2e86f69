// The playbacks and the download of one link.
#pragma once

#include <memory>
#include <vector>

#include "simulator/classic/FrameSender.h"
#include "simulator/classic/PlaybackStream.h"

/// Starts, steers and sends streams of recordings, with the faults that concern them. Used by the recorder's thread.
class CPlaybackSet {
public:
    static constexpr size_t MAX_PLAYBACKS = 4;

    /// What is given outlives the set.
    CPlaybackSet(CSimLink& link, CLASSIC_STATE& state, CFrameSender& sender)
        : m_link(link), m_state(state), m_sender(sender) {}

    /// Starts a stream or takes one to another time; a NET_DATA_REASON when there is none afterwards.
    std::optional<tuint32> Read(const NET_DATA_READ_INFO& info);

    /// Body of CMD_REQUEST_DATA_PAUSE, _RESUME, _FF, _REW and _STOP; one of no stream is ignored, here and below.
    void Control(tuint32 cmdType, const NET_DATA_CTRL_INFO& info);
    void Notify(const NET_DATA_INDEX_INFO& info);
    void SetSound(const NET_CHANGE_AUDIO_INFO& info);

    /// Ends one stream, as a refusal does.
    void End(tuint32 streamID);
    void Clear() { m_streams.clear(); }

    /// The streams give no frame any more until they are started anew.
    void HaltAll();

    /// Sends one frame of each stream that may send; false when there was none.
    bool SendRound();

private:
    using STREAMS = std::vector<std::unique_ptr<CPlaybackStream>>;

    CPlaybackStream* Find(tuint32 streamID);
    bool IsSound(const NET_DATA_READ_INFO& info) const;
    bool SendOne(CPlaybackStream& stream);
    bool Spoil(CPlaybackStream& stream, CLASSIC_FRAME& frame);
    bool TakeAt(SIM_FAULT_KIND kind, SIM_PHASE phase, std::uint64_t frames);
    void Tell(tuint32 streamID, tuint64 channels, const char* pWhat) const;

    CSimLink& m_link;
    CLASSIC_STATE& m_state;
    CFrameSender& m_sender;
    STREAMS m_streams;  // in the order of their starts
};
