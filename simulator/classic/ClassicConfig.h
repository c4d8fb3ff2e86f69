// What a simulated classic recorder is, has and does wrong.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "simulator/archive/ArchiveTypes.h"
#include "simulator/SimEvent.h"
#include "simulator/SimFault.h"

/// What the recorder says in a talk.
enum class SIM_TALK {
    ECHO,  // what it hears, after a while
    CLIP,  // its sound clip, again and again
    NONE,  // it refuses talks
};

struct CLASSIC_RECORDER_CONFIG {
    std::string sBind = "127.0.0.1";  // numeric address
    std::uint16_t port = 0;           // 0: any free one
    unsigned channels = 16;           // 1 to 64
    std::string sUser = "admin";
    std::string sPassword;
    unsigned maxSessions = 128;  // the next login is refused with 3

    // Clips by file name. Channel n streams number n modulo their count.
    std::string sMediaFolder;  // empty: see FindMediaFolder()
    std::vector<std::string> firstClips{"main-704x576-25.h264"};
    std::vector<std::string> secondClips{"sub-352x288-25.h264"};
    std::string sSoundClip = "speech-8000.alaw";
    std::string sJpegClip = "sub-352x288-25.mjpeg";  // pictures of all channels' JPEG streams
    unsigned soundUnits = 1;                         // units of 324 bytes in a sound frame, 1 to 25

    double speed = 1.0;                 // 2: twice as fast as real time; 0: as fast as the client reads
    std::uint32_t packLimit = 8192;     // a longer message goes in pieces of at most so many bytes; 1024 at least
    std::size_t queueLimit = 1u << 20;  // with more bytes waiting on a link its streams stand still
    std::chrono::milliseconds heartbeat{3000};  // from one to the next

    std::string sDeviceName = "Simulated recorder";
    std::uint16_t deviceID = 1;                  // product number
    std::int16_t productSubID = 0;               // custom product sub-id in the first block
    std::uint32_t registerID = 0;                // in the first block; clients know a recorder that calls in by it
    unsigned diskCount = 2;                      // 0 to 16
    unsigned cameraCount = 2;                    // connected cameras, 0 to 64
    std::chrono::milliseconds rebootDelay{200};  // from the reply to the end of the links
    std::chrono::milliseconds rebootTime{2000};  // links are closed as they come for so long

    std::string sCallIn;                        // HOST:PORT of a client that the recorder calls by itself; empty: none
    std::chrono::milliseconds callAgain{3000};  // from the end of that link, or of a vain try, to the next try

    ARCHIVE_CONFIG recordings;  // none by default
    SIM_TALK talk = SIM_TALK::ECHO;
    std::chrono::milliseconds talkDelay{500};  // from sound that comes to its echo
    bool bTalkUnits = false;                   // talk sound of both directions in units of 324 bytes
    std::string sTalkFile;                     // WAV file for what it hears; empty: none

    std::vector<SIM_FAULT> faults;
    bool bKeepDigests = false;  // keep a record of each frame sent and of talks, see TakeSentFrames()
    SIM_OBSERVER observer;      // may be empty
};
