// A device that plays its side of recorded sessions, whole or maltreated.
#pragma once

#include "simulator/replay/ReplayScript.h"
#include "simulator/SimServer.h"

struct REPLAY_CONFIG {
    std::string sBind = "127.0.0.1";
    std::uint16_t port = 0;          // 0: any free one
    std::vector<REPLAY_LINK> links;  // the n-th connection is served as the n-th link; further ones are closed
    bool bLoop = false;              // after the last link the first is played again
    double speed = 1;                // pace; 0: without pauses
    size_t pieceSize = 0;            // most bytes sent at once; 0: as many as there are
    unsigned pieceSeed = 0;          // not 0: pieces are of random sizes up to pieceSize
    unsigned cutLink = 0;            // the connection that is cut, from 1; 0: none
    std::uint64_t cutAfter = 0;      // bytes sent on it before
    SIM_CUT cutHow = SIM_CUT::CLOSE;
    unsigned mutationSeed = 0;  // 0: bytes go out as recorded; else about one in `mutationRate` is another
    unsigned mutationRate = 100;
};

class CReplayServer {
public:
    explicit CReplayServer(REPLAY_CONFIG config) : m_config(std::move(config)) {}
    ~CReplayServer() { Stop(); }

    /// Listens and starts the thread. False with a sentence in `sError`.
    bool Start(std::string& sError);
    /// Closes all links and ends the thread.
    void Stop() { m_server.Stop(); }
    std::uint16_t Port() const { return m_server.Port(); }

private:
    const REPLAY_CONFIG m_config;
    CSimServer m_server;
};
