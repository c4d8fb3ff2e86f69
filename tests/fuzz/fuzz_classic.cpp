// Any bytes as messages of a classic recorder to a device that plays live channels, a playback and a download.
// Input: messages of two bytes of length and that many bytes; a length of 0xFFFF breaks the link, and the device logs in again.
#include "sdk_common/WireReader.h"
#include "unit/classic/TestRecorder.h"

namespace {

struct CSession {
    CSession() { Begin(); }
    void Begin() {
        m_recorder.m_device.SetNetHandle(&m_recorder);
        m_recorder.Login();
        m_recorder.m_device.StartLiveChannel(0, true, 0x401, 0);
        m_recorder.m_device.StartLiveChannel(0, false, 0x405, 1);
        LONG channel = 0;
        m_recorder.m_device.PlaybackByTime(&channel, 1, {}, {}, 10, true);
        m_recorder.m_device.DownLoadByTime(channel, true, {}, {});
        m_recorder.m_sent.clear();
    }
    void Drain() {
        for (auto* pRing : {&m_first, &m_second, &m_playback, &m_download}) pRing->Drain();
        FRAME_INFO_EX frame;
        while (m_recorder.m_device.GetTalkFrame(frame)) m_recorder.m_device.ReleaseTalkBuf(frame);
    }

    CTestRecorder m_recorder;
    CTestRing m_first{0x401}, m_second{0x405}, m_playback{PLAYBACK_BUFFER_ID(CTestRecorder::USER_ID, 0)},
        m_download{100};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
    CSession session;
    CWireReader reader(pData, size);
    while (reader.Left() >= 2) {
        const auto length = reader.Read<tuint16>();
        if (length == 0xFFFF) {
            session.m_recorder.BreakLink();
            session.Begin();
            continue;
        }
        const auto message = reader.Bytes(std::min<size_t>(length, reader.Left()));
        session.m_recorder.Receive(Bytes(reinterpret_cast<const char*>(message.data()), message.size()));
        session.Drain();
    }
    return 0;
}
