#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Output.h"
#include "Session.h"
#include "SoundFile.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr size_t BLOCK_SAMPLES = 1600;  // the library sends blocks of 200 ms
constexpr auto BLOCK_TIME = 200ms;
constexpr auto LEAD = 2 * BLOCK_TIME;  // how far the sound may be ahead of the clock
constexpr auto FORMAT_WAIT = 5s;
constexpr auto INPUT_LOOK = 20ms;
constexpr auto FIGURES_EVERY = 500ms;
constexpr size_t MOST_WAITING = 10 * 60 * TALK_RATE;  // samples that nobody takes

// What the library's threads hear, for the main thread to write.
class CEar {
public:
    explicit CEar(CInterrupt& interrupt) : m_interrupt(interrupt) {}

    // Whose link is watched.
    void Watch(LONG lUserID) {
        m_lUserID = lUserID;
        HLX_SetSDKMessageCallBack(0, nullptr, OnSession, this);
    }

    static void OnSound(POINTERHANDLE, char* pBuffer, DWORD dwBufSize, BYTE, void* pUser) {
        auto& ear = *static_cast<CEar*>(pUser);
        {
            const std::lock_guard guard(ear.m_lock);
            const size_t nOld = ear.m_samples.size();
            if (nOld < MOST_WAITING) {
                ear.m_samples.resize(nOld + dwBufSize / 2);
                memcpy(ear.m_samples.data() + nOld, pBuffer, dwBufSize / 2 * 2);
            }
        }
        ear.m_interrupt.Wake();
    }

    static void OnSession(DWORD dwType, LONG lUserID, LONG, void* pUser) {
        auto& ear = *static_cast<CEar*>(pUser);
        if (dwType != NETWORK_DISCONNECT || lUserID != ear.m_lUserID) return;
        ear.m_bBroken = true;
        ear.m_interrupt.Wake();
    }

    SAMPLES Take() {
        const std::lock_guard guard(m_lock);
        return std::exchange(m_samples, {});
    }
    bool IsBroken() const { return m_bBroken; }

private:
    CInterrupt& m_interrupt;
    std::atomic<LONG> m_lUserID{-1};
    std::atomic<bool> m_bBroken{false};
    std::mutex m_lock;
    SAMPLES m_samples;  // m_lock
};

// Sends the source in blocks, at the pace of the clock.
class CMouth {
public:
    CMouth(POINTERHANDLE lTalk, CSoundSource* pSource) : m_lTalk(lTalk), m_pSource(pSource), m_start(Clock::now()) {}

    // Sends what is due. When to come again; max() once all was sent.
    Clock::time_point Speak();

    uint64_t Sent() const { return m_nSent; }
    uint64_t Lost() const { return m_nLost; }
    bool IsDone() const { return !m_pSource; }

private:
    void SendBlock();

    const POINTERHANDLE m_lTalk;
    CSoundSource* m_pSource;  // null once it ended, or where there is none
    Clock::time_point m_start;
    SAMPLES m_block;
    uint64_t m_nSent = 0;  // samples
    uint64_t m_nLost = 0;  // samples that the link did not take
};

void CMouth::SendBlock() {
    m_block.resize(BLOCK_SAMPLES);  // the last block ends in silence
    const bool bSent = HLX_VoiceComSendData(m_lTalk, reinterpret_cast<const char*>(m_block.data()), BLOCK_SAMPLES * 2);
    (bSent ? m_nSent : m_nLost) += BLOCK_SAMPLES;
    m_block.clear();
}

Clock::time_point CMouth::Speak() {
    while (m_pSource) {
        const auto due = m_start + BLOCK_TIME * ((m_nSent + m_nLost) / BLOCK_SAMPLES) - LEAD;
        const auto now = Clock::now();
        if (due > now) return due;
        bool bEnd = false;
        const SAMPLES more = m_pSource->Read(BLOCK_SAMPLES - m_block.size(), bEnd);
        m_block.insert(m_block.end(), more.begin(), more.end());
        if (m_block.size() == BLOCK_SAMPLES || (bEnd && !m_block.empty())) {
            SendBlock();
        } else if (!bEnd) {
            m_start = std::max(m_start, now - BLOCK_TIME * static_cast<int64_t>((m_nSent + m_nLost) / BLOCK_SAMPLES));
            return now + INPUT_LOOK;  // the input is slower than the clock, which waits for it
        }
        if (bEnd) m_pSource = nullptr;
    }
    return Clock::time_point::max();
}

// Waits until the device told how its sound is coded: nothing can be sent before.
EXIT_CODE WaitForFormat(POINTERHANDLE lTalk, const CEar& ear, CInterrupt& interrupt, bool bJson) {
    WAVEFORMATEX format{};
    const auto end = Clock::now() + FORMAT_WAIT;
    while (!HLX_GetAudioInfo(lTalk, &format, sizeof format)) {
        if (interrupt.Signal() != 0) return SignalExitCode(interrupt.Signal());
        if (ear.IsBroken()) return Fail(bJson, "talk", ErrorRow(HLX_NETWORK_NOT_CONNECT));
        if (Clock::now() >= end) return FailLast(bJson, "the device tells no sound format");
    }
    return EXIT_OK;
}

struct FIGURES {
    uint64_t nSpoken = 0;  // samples
    uint64_t nLost = 0;
    uint64_t nHeard = 0;
};

double Seconds(uint64_t nSamples) { return static_cast<double>(nSamples) / TALK_RATE; }

std::string FiguresText(const FIGURES& figures) {
    std::string strText =
        fmt::format("{:.1f} s spoken, {:.1f} s heard", Seconds(figures.nSpoken), Seconds(figures.nHeard));
    if (figures.nLost > 0) strText += fmt::format(", {:.1f} s not taken by the link", Seconds(figures.nLost));
    return strText;
}

void Report(const FIGURES& figures, bool bJson) {
    ClearFigures();
    if (!bJson) return PrintNote(FiguresText(figures));
    PrintJson({{"event", "end"},
               {"spoken", Seconds(figures.nSpoken)},
               {"lost", Seconds(figures.nLost)},
               {"heard", Seconds(figures.nHeard)}});
}

// One talk from its format to its end.
class CTalk {
public:
    CTalk(const OPTIONS& options, CInterrupt& interrupt, CEar& ear, POINTERHANDLE lTalk, CSoundSource* pSource,
          CSoundSink* pSink)
        : m_options(options), m_interrupt(interrupt), m_ear(ear), m_mouth(lTalk, pSource), m_pSink(pSink) {
        if (options.talk.length > 0ms) m_end = Clock::now() + options.talk.length;
    }

    EXIT_CODE Run();
    FIGURES Figures() const { return {m_mouth.Sent(), m_mouth.Lost(), m_nHeard}; }

private:
    EXIT_CODE Listen();

    const OPTIONS& m_options;
    CInterrupt& m_interrupt;
    CEar& m_ear;
    CMouth m_mouth;
    CSoundSink* m_pSink;
    uint64_t m_nHeard = 0;  // samples
    Clock::time_point m_end = Clock::time_point::max();
};

EXIT_CODE CTalk::Listen() {
    const SAMPLES heard = m_ear.Take();
    m_nHeard += heard.size();
    const int nErrno = m_pSink && !heard.empty() ? m_pSink->Write(heard) : 0;
    if (nErrno == 0) return EXIT_OK;
    if (m_options.talk.strSave == "-") return nErrno == EPIPE ? EXIT_FAILED : PrintedExit(nErrno);
    return Fail(m_options.connect.bJson, fmt::format("cannot write {}: {}", m_options.talk.strSave, strerror(nErrno)),
                EXIT_FAILED);
}

EXIT_CODE CTalk::Run() {
    const bool bSpeaks = !m_mouth.IsDone();
    for (auto shown = Clock::now();;) {
        const auto due = m_mouth.Speak();
        if (const EXIT_CODE eExit = Listen(); eExit != EXIT_OK) return eExit;
        const auto now = Clock::now();
        if (bSpeaks && m_mouth.IsDone() && m_end == Clock::time_point::max()) m_end = now + LEAD + m_options.talk.tail;
        if (m_interrupt.Signal() != 0) return SignalExitCode(m_interrupt.Signal());
        if (m_ear.IsBroken()) return Fail(m_options.connect.bJson, "talk", ErrorRow(HLX_NETWORK_NOT_CONNECT));
        if (now >= m_end) return EXIT_OK;
        if (now >= shown) {
            PrintFigures(FiguresText(Figures()));
            shown = now + FIGURES_EVERY;
        }
        const auto next = std::min({due, m_end, FiguresShown() ? shown : now + 1h});
        m_interrupt.Wait(std::chrono::ceil<std::chrono::milliseconds>(std::max(next - now, Clock::duration::zero())));
    }
}

}  // namespace

EXIT_CODE RunTalk(const OPTIONS& options, CInterrupt& interrupt) {
    const TALK_OPTIONS& talk = options.talk;
    const bool bJson = options.connect.bJson;
    std::string strError;
    std::unique_ptr<CSoundSource> pSource;
    if (!talk.strFile.empty() && !(pSource = CSoundSource::Open(talk.strFile, strError)))
        return Fail(bJson, strError, EXIT_FAILED);
    CEar ear(interrupt);  // outlives the session, whose end ends the callbacks
    CSession session(interrupt);
    if (const EXIT_CODE eExit = session.Open(options.connect); eExit != EXIT_OK) return eExit;
    std::unique_ptr<CSoundSink> pSink;
    if (!talk.strSave.empty() && !(pSink = CSoundSink::Create(talk.strSave, strError)))
        return Fail(bJson, strError, EXIT_FAILED);

    ear.Watch(session.UserID());
    const POINTERHANDLE lTalk = HLX_StartVoiceCom_MR(session.UserID(), 1, CEar::OnSound, &ear);
    if (lTalk <= 0) return FailLast(bJson, "talk");
    EXIT_CODE eExit = WaitForFormat(lTalk, ear, interrupt, bJson);
    if (eExit == EXIT_OK) {
        CTalk running(options, interrupt, ear, lTalk, pSource.get(), pSink.get());
        eExit = running.Run();
        Report(running.Figures(), bJson);
    }
    HLX_StopVoiceCom(lTalk);
    return eExit;
}
