// Talk of a simulated recorder's link.
#include "simulator/classic/ClassicSession.h"

void CClassicSession::OnTalkStart(SIM_BYTE_VIEW) {
    const bool bRefused = TakeFault(SIM_FAULT_KIND::TALK_REFUSE, SIM_PHASE::TALK).has_value();
    const bool bStarted = !bRefused && m_talk.Start(m_link.Id(), m_now);
    if (bStarted) Tell(SIM_EVENT_KIND::TALK, 1);
    ReplyYesNo(bStarted, CMD_REPLY_TALK_START_SUCC, CMD_REPLY_TALK_START_FAIL);
}

void CClassicSession::OnTalkStream(SIM_BYTE_VIEW body) {
    // What is on its way when a talk ends may still come.
    if (m_talk.IsOn() && !m_talk.Hear(body, m_now)) Tell(SIM_EVENT_KIND::BAD_DATA, 0, "no talk sound");
}

void CClassicSession::OnTalkStop(SIM_BYTE_VIEW) {
    if (m_talk.IsOn()) Tell(SIM_EVENT_KIND::TALK, 0);
    m_talk.Stop();
}

void CClassicSession::PumpTalk(SIM_TIME now) {
    CLASSIC_FRAME frame;
    while (m_link.IsUsable() && m_talk.NextFrame(now, frame)) m_sender.SendTalk(frame);
}
