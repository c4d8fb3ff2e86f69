// Misbehaviour that a simulated device can be told to show. A fault is data: a kind, a place and a number.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Where on a link's way a fault acts.
enum class SIM_PHASE {
    ANY,       // wherever its kind can act
    CONNECT,   // the link is accepted, nothing was sent
    HEAD,      // the first block was sent
    LOGIN,     // the login request came
    DISK,      // the disk request came
    STREAM,    // a request came that starts, changes or stops streams, or asks for their last error
    SEARCH,    // a request came that searches recordings, the log or events, or locks, unlocks or deletes files
    PLAYBACK,  // a request of a playback came; its frames
    DOWNLOAD,  // a request of a download came; its frames
    TALK,      // a request of a talk came
    COMMAND,   // any other request came
};

enum class SIM_FAULT_KIND {
    REFUSE,         // login refused with this word
    HEAD_FLAG,      // first word of the first block
    HEAD_SHORT,     // so many bytes of the first block, then nothing more
    HEAD_LATE,      // first block so many milliseconds late
    HEAD_FAMILY,    // device family in the first block
    HEAD_VERSION,   // protocol version in the first block
    CLOSE,          // the link is closed
    RESET,          // the link is reset
    SILENT,         // the link stays open, nothing is sent any more
    CLOSE_AFTER,    // the link is closed when so many bytes were sent on it
    SILENT_AFTER,   // nothing more after so many bytes
    CLOSE_EVERY,    // each link is closed so many milliseconds after the client's first bytes
    WRONG_REPLY,    // replies carry this command id
    SHORT_REPLY,    // bodies of replies are cut to so many bytes
    REPLY_DELAY,    // replies come so many milliseconds late
    NO_REPLY,       // replies are not sent
    NO_RESOURCE,    // word of the last stream error
    REFUSE_DATA,    // searches, files and streams of recordings are refused for this NET_DATA_REASON
    COUNT_LIE,      // results tell so many records more than they hold
    MORE_FOREVER,   // results never end: the last message comes again every so many milliseconds; 0: nothing more
    WILD_TIMES,     // records, and every nth frame of recordings, have a time that makes no sense
    DATA_STOP,      // a stream of recordings stops after so many frames
    DATA_CLOSE,     // the link is closed after so many frames of a stream of recordings
    NO_END,         // a stream of recordings has no end frame
    STREAM_STOP,    // the streams of this channel stop until streams are asked for anew
    GARBAGE,        // eight bytes that are no link head, behind every nth frame
    FRAME_LENGTH,   // every nth frame claims a million bytes more than it has
    LINK_LENGTH,    // after so many frames a link head promises two gigabytes
    PIECE_LOST,     // every nth packed message lacks its second piece
    PIECE_SWAPPED,  // every nth packed message has its last two pieces swapped
    PIECE_TOTALS,   // every nth packed message names other totals in its last piece
    TALK_REFUSE,    // talks are refused
    TALK_FORMAT,    // format tag of the talk sound
};

struct SIM_FAULT {
    SIM_FAULT_KIND kind = SIM_FAULT_KIND::CLOSE;
    SIM_PHASE phase = SIM_PHASE::ANY;
    std::int64_t value = 0;
    // Acts so many times; 0 for always. Before the client's first bytes each link counts, also one that only comes and
    // goes.
    unsigned times = 0;
};

/// One row of the table of kinds, which the option parser, the help text and the defaults come from.
struct SIM_FAULT_ROW {
    SIM_FAULT_KIND kind;
    const char* pName;
    std::int64_t value;  // when none is given
    const char* pHelp;
};
std::span<const SIM_FAULT_ROW> FaultTable();

/// Reads a fault from the text kind[@phase][=value][*times], for instance "refuse=2" or "close@login*3". A kind or
/// phase that is not known, or a number that is none, gives nothing and a sentence in `sError`.
std::optional<SIM_FAULT> ParseFault(const std::string& sText, std::string& sError);

/// The faults in force. May be asked and changed from any thread.
class CFaultPlan {
public:
    void Set(std::vector<SIM_FAULT> faults);
    void Add(const SIM_FAULT& fault);

    /// The value of the first fault of this kind that acts at `phase`, without using it up.
    std::optional<std::int64_t> Peek(SIM_FAULT_KIND kind, SIM_PHASE phase = SIM_PHASE::ANY) const;

    /// The same, and counts it as having acted.
    std::optional<std::int64_t> Take(SIM_FAULT_KIND kind, SIM_PHASE phase = SIM_PHASE::ANY);

private:
    mutable std::mutex m_lock;
    std::vector<SIM_FAULT> m_faults;   // m_lock
    std::atomic<bool> m_bAny = false;  // false: there is nothing to look for, and each frame would look often
};

const char* FaultName(SIM_FAULT_KIND kind);
