// The application's side of soak and load: recorders, sessions and streams whose frames go through a ledger.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "tests/soak/FrameLedger.h"

/// Recorders, one session with each and a stream of each channel. HLX_Init is the caller's.
class CViewers {
public:
    /// Starts `count` recorders made of `config`, whose user and password are used for the logins.
    CViewers(unsigned count, CLASSIC_RECORDER_CONFIG config);
    ~CViewers();

    /// Logs in to each recorder and plays each channel. False when one refuses.
    bool Start();

    /// Stops streams and sessions; the recorders go on.
    void Stop();

    /// Matches what has come.
    void Settle();

    /// True once every stream has delivered `count` more frames than at the last Mark().
    bool AllRun(std::uint64_t count) const;
    void Mark();

    size_t Count() const { return m_recorders.size(); }
    CClassicRecorder& Recorder(size_t at) { return *m_recorders[at]; }
    CFrameLedger& Ledger() { return m_ledger; }

private:
    struct STREAM {
        CViewers* pOwner = nullptr;
        unsigned recorder = 0, channel = 0;
        POINTERHANDLE handle = 0;
        std::uint64_t mark = 0;
    };
    static void OnFrame(POINTERHANDLE lLiveHandle, HLX_FRAME_INFO frame, BYTE* pData, void* pUser);
    bool Play(unsigned recorder, LONG lUserID);

    const CLASSIC_RECORDER_CONFIG m_config;
    CFrameLedger m_ledger;
    std::vector<std::unique_ptr<CClassicRecorder>> m_recorders;
    std::vector<std::unique_ptr<STREAM>> m_streams;
    std::vector<LONG> m_sessions;
};

/// Bytes of this process that lie in memory, once the allocator has given back what it does not need.
double ResidentBytes();

/// Frames that the library's log in `folder` says it has dropped, over all streams.
std::uint64_t DroppedAsLogged(const std::filesystem::path& folder);
