// One link of a simulated classic recorder.
#pragma once

#include <deque>
#include <vector>

#include "simulator/classic/ClassicState.h"
#include "simulator/classic/ClassicTalk.h"
#include "simulator/classic/DataReplies.h"
#include "simulator/classic/FrameSender.h"
#include "simulator/classic/PlaybackSet.h"
#include "simulator/classic/StreamPump.h"
#include "simulator/SimServer.h"

/// First block, login, requests, streams and heartbeats of one link. Runs on the recorder's thread.
class CClassicSession : public CSimSession {
public:
    /// `link` and `state` outlive the session.
    CClassicSession(CSimLink& link, CLASSIC_STATE& state);
    ~CClassicSession() override;

    void OnOpen(SIM_TIME now) override;
    void OnSpoken() override;
    void OnMessage(SIM_BYTE_VIEW message, SIM_TIME now) override;
    void OnBadInput() override;
    SIM_TIME OnDue(SIM_TIME now) override;
    bool IsBlocked() const override { return m_bBlocked; }
    void OnClosed() override;

    /// Stops the channel's streams until streams are asked for anew; the other channels go on.
    void StopStreams(unsigned channel);

    /// Stops playbacks and downloads in the middle, until they are started or sought anew.
    void StopRecordings() { m_playbacks.HaltAll(); }

private:
    using HANDLER = void (CClassicSession::*)(SIM_BYTE_VIEW body);
    struct COMMAND_ROW {
        tuint32 cmdType;
        SIM_PHASE phase;  // for faults
        HANDLER handler;
    };
    struct DELAYED {
        SIM_TIME due;
        SIM_BYTES bytes;
    };
    struct PAGE {
        tuint32 cmdType;
        SIM_PHASE phase;
        SIM_BYTES body;
        bool bLast;  // of its result
        SIM_TIME due;
    };
    static const COMMAND_ROW COMMANDS[];

    void OnLogin(SIM_BYTE_VIEW body);
    void OnLogout(SIM_BYTE_VIEW body);
    void OnDiskStart(SIM_BYTE_VIEW body);
    void OnStreamStart(SIM_BYTE_VIEW body);
    void OnStreamStop(SIM_BYTE_VIEW body);
    void OnLastStreamError(SIM_BYTE_VIEW body);
    void OnKeyFrame(SIM_BYTE_VIEW body);

    // Control (ClassicSession.Control.cpp)
    void OnReboot(SIM_BYTE_VIEW body);
    void OnShutDown(SIM_BYTE_VIEW body);
    void OnChangeTime(SIM_BYTE_VIEW body);
    void OnColorGet(SIM_BYTE_VIEW body);
    void OnColorSet(SIM_BYTE_VIEW body);
    void OnColorSave(SIM_BYTE_VIEW body);
    void OnManualRecord(SIM_BYTE_VIEW body);
    void OnOpenAlarm(SIM_BYTE_VIEW body);
    void OnCleanAlarm(SIM_BYTE_VIEW body);
    void OnPtz(SIM_BYTE_VIEW body);
    void OnEnterCameras(SIM_BYTE_VIEW body);
    void OnLeaveCameras(SIM_BYTE_VIEW body);
    void OnGetCameras(SIM_BYTE_VIEW body);
    void OnJpegStart(SIM_BYTE_VIEW body);
    void OnJpegStop(SIM_BYTE_VIEW body);

    // Recordings (ClassicSession.Recordings.cpp)
    void OnSearch(SIM_BYTE_VIEW body);
    void OnLogs(SIM_BYTE_VIEW body);
    void OnEvents(SIM_BYTE_VIEW body);
    void OnLock(SIM_BYTE_VIEW body);
    void OnUnlock(SIM_BYTE_VIEW body);
    void OnDelete(SIM_BYTE_VIEW body);
    void OnChangeFiles(tuint32 cmdType, SIM_BYTE_VIEW body);
    void OnRead(SIM_BYTE_VIEW body);
    void OnPause(SIM_BYTE_VIEW body);
    void OnResume(SIM_BYTE_VIEW body);
    void OnFastForward(SIM_BYTE_VIEW body);
    void OnReverse(SIM_BYTE_VIEW body);
    void OnStop(SIM_BYTE_VIEW body);
    void OnControl(tuint32 cmdType, SIM_BYTE_VIEW body);
    void OnIndex(SIM_BYTE_VIEW body);
    void OnChangeAudio(SIM_BYTE_VIEW body);
    bool RefusedByFault(tuint32 nullCommand, SIM_BYTE_VIEW body);
    void Answer(CLASSIC_ANSWER answer);
    void SendPages(SIM_TIME now);
    void SpoilPage(PAGE& page);

    // Talk (ClassicSession.Talk.cpp)
    void OnTalkStart(SIM_BYTE_VIEW body);
    void OnTalkStream(SIM_BYTE_VIEW body);
    void OnTalkStop(SIM_BYTE_VIEW body);
    void PumpTalk(SIM_TIME now);

    void ReplyYesNo(bool bYes, tuint32 yes, tuint32 no);
    void GoDown(SIM_TIME::duration downTime);

    void SendFirstBlock();
    bool Interrupted(SIM_PHASE phase);
    void ArmByteCut(bool bSpoken);
    tuint32 LoginRefusal(SIM_BYTE_VIEW body);
    void EndSession();
    void SetMasks(const CLASSIC_STREAM_MASKS& masks);
    void Reply(tuint32 cmdType, SIM_BYTE_VIEW body);
    static SIM_PHASE PhaseOf(const COMMAND_ROW& row, SIM_BYTE_VIEW body);
    void SendDelayed(SIM_TIME now);
    void SendStatus();
    void PumpFrames(SIM_TIME now);
    void StopStreamsByFault();
    void Tell(SIM_EVENT_KIND kind, std::uint64_t value = 0, const std::string& sText = {});
    std::optional<std::int64_t> TakeFault(SIM_FAULT_KIND kind, SIM_PHASE phase);

    CSimLink& m_link;
    CLASSIC_STATE& m_state;
    CStreamPump m_pump;
    CLASSIC_STREAM_MASKS m_masks;  // what is being sent
    CFrameSender m_sender;
    CClassicTalk m_talk;
    CPlaybackSet m_playbacks;
    SIM_TIME m_now;  // of the call that is being served
    const SIM_TIME m_opened;
    SIM_TIME m_nextHeartbeat;
    SIM_TIME m_firstBlockDue = SIM_TIME::max();  // max once the block went out
    SIM_TIME m_closeDue = SIM_TIME::max();       // after a logout, or by a fault
    SIM_PHASE m_phase = SIM_PHASE::CONNECT;
    std::vector<DELAYED> m_delayed;  // in the order of sending
    std::deque<PAGE> m_pages;        // of results about recordings, in the order of sending
    size_t m_pageBytes = 0;          // in m_pages
    std::optional<CLASSIC_STATUS> m_toldStatus;
    bool m_bLoggedIn = false;
    bool m_bBlocked = false;
};
