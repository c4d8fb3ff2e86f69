// Accounts for every frame between a simulated recorder and the application.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "HLX.h"
#include "simulator/classic/ClassicRecorder.h"

/// What became of the frames.
struct LEDGER_TOTALS {
    std::uint64_t delivered = 0;   // whole, once and in order
    std::uint64_t atStart = 0;     // sent on a link before the first that arrived of its stream
    std::uint64_t withLink = 0;    // under way when their link fell
    std::uint64_t missing = 0;     // gaps on a link that stayed up
    std::uint64_t wrong = 0;       // arrived damaged, twice or out of order
    std::uint64_t underWay = 0;    // sent, and neither arrived nor overtaken yet
    std::uint64_t longestGap = 0;  // frames missing one behind the other
};

/// Sound and pictures of the first streams of any number of recorders. Frames are matched by what they are (index, digest of the
/// bytes), in the order of sending; what an arrived frame has overtaken is lost. Any thread.
class CFrameLedger {
public:
    /// A frame that the application got; the bytes are digested before the call returns.
    void Received(unsigned recorder, const HLX_FRAME_INFO& frame, const unsigned char* pData);

    /// Takes what the recorder sent since the last call and matches it with what has arrived.
    void Settle(unsigned recorder, CClassicRecorder& simulator);

    /// Sound and video frames of one channel that arrived.
    std::uint64_t Delivered(unsigned recorder, unsigned channel) const;

    LEDGER_TOTALS Totals() const;

    /// The first frames that are missing without a fallen link, or wrong: one line each.
    std::vector<std::string> Findings() const;

private:
    using STREAM = std::tuple<unsigned, DWORD, DWORD>;  // recorder, channel, public frame type
    struct ARRIVED {
        DWORD index = 0;
        DWORD length = 0;               // padded to a multiple of 4
        std::uint64_t digests[4] = {};  // with 0 to 3 bytes of padding left out
    };
    struct ACCOUNT {
        STREAM stream;
        std::deque<CLASSIC_SENT_FRAME> sent;
        std::deque<ARRIVED> arrived;
        unsigned link = 0;  // that of the last frame that arrived
    };

    static bool IsSame(const ARRIVED& arrived, const CLASSIC_SENT_FRAME& sent);
    ACCOUNT& AccountOf(const STREAM& stream);  // m_lock held, as below
    void Note(const ACCOUNT& account, const char* pWhat, DWORD index, unsigned link);
    void Match(ACCOUNT& account);
    void WriteOff(ACCOUNT& account, size_t overtaken);

    mutable std::mutex m_lock;
    std::map<STREAM, ACCOUNT> m_accounts;                           // m_lock
    std::map<std::pair<unsigned, DWORD>, std::uint64_t> m_arrived;  // m_lock; by recorder and channel
    std::vector<std::string> m_findings;                            // m_lock
    LEDGER_TOTALS m_totals;                                         // m_lock; without underWay
};
