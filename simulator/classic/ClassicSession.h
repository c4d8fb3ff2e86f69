// One link of a simulated classic recorder.
#pragma once

#include <vector>

#include "simulator/classic/ClassicState.h"
#include "simulator/classic/FrameSender.h"
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
    void ReplyYesNo(bool bYes, tuint32 yes, tuint32 no);
    void GoDown(SIM_TIME::duration downTime);

    void SendFirstBlock();
    bool Interrupted(SIM_PHASE phase);
    void ArmByteCut(bool bSpoken);
    tuint32 LoginRefusal(SIM_BYTE_VIEW body);
    void EndSession();
    void SetMasks(const CLASSIC_STREAM_MASKS& masks);
    void Reply(tuint32 cmdType, SIM_BYTE_VIEW body);
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
    SIM_TIME m_now;  // of the call that is being served
    const SIM_TIME m_opened;
    SIM_TIME m_nextHeartbeat;
    SIM_TIME m_firstBlockDue = SIM_TIME::max();  // max once the block went out
    SIM_TIME m_closeDue = SIM_TIME::max();       // after a logout, or by a fault
    SIM_PHASE m_phase = SIM_PHASE::CONNECT;
    std::vector<DELAYED> m_delayed;  // in the order of sending
    std::optional<CLASSIC_STATUS> m_toldStatus;
    bool m_bLoggedIn = false;
    bool m_bBlocked = false;
};
