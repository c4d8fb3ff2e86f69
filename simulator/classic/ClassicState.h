// What all links of one simulated classic recorder share.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include "simulator/archive/ArchiveMedia.h"
#include "simulator/archive/SimArchive.h"
#include "simulator/classic/ClassicConfig.h"
#include "simulator/classic/ClassicControl.h"
#include "simulator/classic/StreamPump.h"
#include "simulator/SimEvent.h"
#include "simulator/SimFault.h"
#include "simulator/SimSoundFile.h"

/// A frame that was put on a link. Its digest is over what an application is given: sound without the units' prefixes.
struct CLASSIC_SENT_FRAME {
    unsigned link = 0;  // number of the link, from 1
    tuint32 channel = 0;
    tuint32 frameType = 0;    // a FRAME_TYPE
    tuint32 frameAttrib = 0;  // wire bits: 0x20 first stream, 0x40 second
    tuint32 frameIndex = 0;   // runs per link, channel and stream; sound has its own
    bool bKeyFrame = false;
    tuint32 length = 0;        // bytes under the digest
    std::uint64_t digest = 0;  // FNV-1a
    tuint32 streamID = 0;      // LIVE_STREAM_ID, or that of a playback or download
    std::int64_t time = 0;     // microseconds; 0 in live frames
    bool operator==(const CLASSIC_SENT_FRAME&) const = default;
};

/// What goes on at a recorder: bit n is channel n, or sensor n.
struct CLASSIC_STATUS {
    tuint64 motion = 0;
    tuint64 sensor = 0;
    tuint64 videoLoss = 0;
    tuint64 manualRec = 0;  // channels that record, by cause
    tuint64 scheduleRec = 0;
    tuint64 motionRec = 0;
    tuint64 sensorRec = 0;
};

/// Used by the recorder's thread; the members with a lock of their own by any.
struct CLASSIC_STATE {
    CLASSIC_RECORDER_CONFIG config;  // does not change after the start, but for what stands apart below
    CLASSIC_SOURCES sources;
    CFaultPlan faults;
    CArchiveMedia media;  // of the archive
    CSimArchive archive;  // made at the first start; changed on the recorder's thread only

    // The recorder's thread.
    unsigned sessions = 0;                     // logged in now
    unsigned cameraConfigurer = 0;             // number of the link that configures the cameras; 0 for none
    unsigned talkingLink = 0;                  // number of the link that talks; 0 for none
    std::unique_ptr<CSimSoundFile> pTalkFile;  // null: what is heard is not kept
    SIM_TIME downFrom = SIM_TIME::max();       // start of a restart: links that were there before are closed
    SIM_TIME downUntil = SIM_TIME::max();      // its end: until then links are closed as they come

    std::mutex lock;
    std::string sPassword;                      // lock
    std::map<tuint32, std::uint64_t> commands;  // lock; requests by command id
    std::vector<CLASSIC_SENT_FRAME> sent;       // lock
    std::uint64_t framesSent = 0;               // lock
    SIM_BYTES talkHeard;                        // lock; samples of all talks
    CClassicControl control;                    // lock; written on the recorder's thread only, which reads without
    std::optional<CLASSIC_STATUS> status;       // lock; none: nothing is told of it

    void Tell(const SIM_EVENT& event) const {
        if (config.observer) config.observer(event);
    }
    void CountCommand(tuint32 cmdType);
    void NoteFrame(unsigned link, const CLASSIC_FRAME& frame);
    bool IsPassword(const std::string& sGiven);
    std::optional<CLASSIC_STATUS> Status();
    void HearTalk(SIM_BYTE_VIEW samples);

    // On the recorder's thread.

    /// Ends the links after the config's reboot delay and takes none for `downTime` from then on.
    void GoDown(SIM_TIME now, SIM_TIME::duration downTime);
    bool IsDown(SIM_TIME now) const { return now >= downFrom && now < downUntil; }
};
