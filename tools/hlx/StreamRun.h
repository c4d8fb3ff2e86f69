#pragma once

#include <memory>
#include <string>

#include "FrameWriter.h"
#include "Session.h"
#include "StreamReceiver.h"
#include "StreamReport.h"

// What a command line says about a stream, whatever the stream is.
struct STREAM_ORDER {
    bool bJson = false;
    std::string strCannot;              // what is told when the stream does not begin: "cannot open channel 3"
    std::string strOutput;              // where the video goes, empty for nowhere
    std::chrono::milliseconds stall{};  // without a frame for so long it is given up
    uint64_t nFrames = 0;               // 0: without end
};

// One stream of frames from its start to its end: shows its figures once a second, ends it at a signal, when nothing
// comes or nothing can be written, and tells how it ended. A command says how its stream starts and what else ends it.
class CStreamRun {
public:
    // pWriter takes the video; it may be null.
    CStreamRun(CInterrupt& interrupt, STREAM_ORDER order, CFrameWriter* pWriter);
    virtual ~CStreamRun() = default;
    CStreamRun(const CStreamRun&) = delete;
    CStreamRun& operator=(const CStreamRun&) = delete;

    EXIT_CODE Run(const CSession& session);

protected:
    using Clock = CStreamReceiver::Clock;
    using SNAPSHOT = CStreamReceiver::SNAPSHOT;

    // Asks the device for the stream; 0 or -1 after a failure, with the library's last error.
    virtual POINTERHANDLE Start(const CSession& session) = 0;

    // What a stream that was started needs before its frames count. False after a failure, as above.
    virtual bool Begin(POINTERHANDLE) { return true; }

    virtual void Stop(POINTERHANDLE lStream) = 0;

    // What ends this kind of stream besides the ends that all have; NONE while it goes on.
    virtual STREAM_END OwnEnd(const SNAPSHOT& snapshot, Clock::time_point now) const = 0;

    // When OwnEnd is to be asked at the latest.
    virtual Clock::time_point OwnDue(const SNAPSHOT&) const { return Clock::time_point::max(); }

    // Asked once a second: true when what was to be written does not arrive.
    virtual bool IsStuck(const SNAPSHOT&) { return false; }

    // The exit code of an end, after telling those that a person must know of.
    virtual EXIT_CODE Tell(STREAM_END eEnd, const SNAPSHOT& snapshot) const;

    CInterrupt& m_interrupt;
    const STREAM_ORDER m_order;
    CStreamReceiver m_receiver;

private:
    STREAM_END Follow();
    STREAM_END EndOf(const SNAPSHOT& snapshot, Clock::time_point now) const;
    Clock::time_point GivenUpAt(const SNAPSHOT& snapshot) const;
    void Finish(POINTERHANDLE lStream);
    void Drain();
    int WriterError() const { return m_pWriter ? m_pWriter->Error() : 0; }

    CFrameWriter* const m_pWriter;
    CStreamReport m_report;
    Clock::time_point m_begun;  // since when frames are waited for
};

// A writer for video: strOutput "-" is standard output, and a file is emptied when the first frame is there. Null for an
// empty strOutput, and after a failure, which was told and is in eExit.
std::unique_ptr<CFrameWriter> OpenVideoOutput(bool bJson, const std::string& strOutput, CInterrupt& interrupt,
                                              EXIT_CODE& eExit);

// Logs in and runs a stream whose video goes to strOutput, as above.
template <class StreamRun>
EXIT_CODE RunVideo(const OPTIONS& options, CInterrupt& interrupt, int64_t lChannel, const std::string& strOutput) {
    CSession session(interrupt);
    EXIT_CODE eExit = session.Open(options.connect, lChannel);
    if (eExit != EXIT_OK) return eExit;
    const auto writer = OpenVideoOutput(options.connect.bJson, strOutput, interrupt, eExit);
    return eExit == EXIT_OK ? StreamRun(options, interrupt, writer.get()).Run(session) : eExit;
}
