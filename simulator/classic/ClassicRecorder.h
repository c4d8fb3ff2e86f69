// A simulated recorder of the classic family.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "simulator/archive/ArchiveStream.h"
#include "simulator/classic/ClassicConfig.h"
#include "simulator/classic/ClassicState.h"
#include "simulator/SimServer.h"

/// Listens on a port and serves any number of clients: login, device facts, live streams from clips. It may also call
/// one client by itself. One thread does it all; no thread and no descriptor is left after Stop() or destruction.
class CClassicRecorder {
public:
    explicit CClassicRecorder(CLASSIC_RECORDER_CONFIG config);
    ~CClassicRecorder();
    CClassicRecorder(const CClassicRecorder&) = delete;
    CClassicRecorder& operator=(const CClassicRecorder&) = delete;

    /// Whether the config can be served at all; a sentence in `sError` if not. Start() asks it too.
    bool CheckConfig(std::string& sError) const;

    /// Loads the clips, looks up the client to be called, listens and starts the thread. A recorder that runs gives
    /// true. False with a sentence in `sError`.
    bool Start(std::string& sError);

    /// Closes all links at once and ends the thread. May be called repeatedly; not from the observer. A stopped
    /// recorder may be started again, also on the same port.
    void Stop();

    /// The port listened on; 0 when stopped.
    std::uint16_t Port() const { return m_server.Port(); }

    /// The folder that the clips come from; known after Start().
    const std::string& MediaFolder() const { return m_sMediaFolder; }

    /// The recordings; made by the first Start(), and there until the recorder's end. May be asked from any thread.
    const CSimArchive& Archive() const;

    /// The frames that a stream of recordings has, deleted files left out, the end frame last. They live as long as the
    /// recorder and what is returned. After the first Start(), with recordings; any thread.
    ARCHIVE_SEQUENCE RecordedFrames(const ARCHIVE_REQUEST& request) const;

    // The following may be called from any thread, but not while Stop() runs.

    /// Replaces the faults; what already happened on a link stays.
    void SetFaults(std::vector<SIM_FAULT> faults);

    /// Adds one fault to those in force.
    void AddFault(const SIM_FAULT& fault);

    /// Changes the password for later logins.
    void SetPassword(const std::string& sPassword);

    /// Changes what goes on. Clients that are logged in are told soon what changed, others all of it behind their
    /// login; a recorder that was never given a status tells nothing.
    void SetStatus(const CLASSIC_STATUS& status);

    /// Changes one channel or sensor, 0 to 63, of one kind of status.
    void ChangeStatus(tuint64 CLASSIC_STATUS::*pKind, unsigned number, bool bOn);

    /// Ends all links, soon.
    void CutLinks(SIM_CUT how);

    /// Stops one channel's streams on all links, soon, until a client asks for streams anew. Other channels go on.
    void StopStreams(unsigned channel);

    /// Stops playbacks and downloads on all links in the middle, soon, until they are started or sought anew.
    void StopRecordings();

    /// Restarts, soon, as if a client had asked for it: see the config's rebootDelay and rebootTime.
    void Reboot();

    /// How often a request with this command id came, on all links.
    std::uint64_t CommandCount(tuint32 cmdType) const;

    /// What the recorder remembers of control commands.
    CClassicControl Control() const;

    /// Frames put on links, format frames among them.
    std::uint64_t FramesSent() const;

    /// Takes over the records of the frames put on links since the last call; the config's bKeepDigests makes them.
    std::vector<CLASSIC_SENT_FRAME> TakeSentFrames();

    /// Takes over the samples, A-law, that were heard in talks since the last call; the config's bKeepDigests keeps
    /// them.
    SIM_BYTES TakeTalkHeard();

private:
    bool LoadSources(std::string& sError);
    bool MakeArchive(std::string& sError);
    bool MakeCaller(std::string& sError);
    bool LoadClips(const std::vector<std::string>& names, bool bSound,
                   std::vector<std::shared_ptr<const CSimClip>>& clips, std::string& sError) const;

    const std::unique_ptr<CLASSIC_STATE> m_pState;
    std::string m_sMediaFolder;
    CSimServer m_server;  // its sessions use *m_pState
};
