#include "simulator/replay/ReplayScript.h"

#include <map>
#include <sstream>
#include <string_view>

#include "protocol/LinkFrame.h"
#include "protocol/TraceFile.h"

namespace {

constexpr unsigned MAX_LINKS = 100000;

/// Value of a hexadecimal digit; -1 for any other character.
int DigitValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return -1;
}

bool ReadHex(std::string_view text, SIM_BYTES& bytes) {
    if (text.empty() || text.size() % 2 != 0) return false;
    for (size_t at = 0; at < text.size(); at += 2) {
        const int high = DigitValue(text[at]);
        const int low = DigitValue(text[at + 1]);
        if (high < 0 || low < 0) return false;
        bytes.push_back(static_cast<std::byte>(high << 4 | low));
    }
    return true;
}

/// A message of the client is waited for by its command id; heartbeats come and go by themselves.
std::optional<REPLAY_STEP> ExpectStep(const SIM_BYTES& bytes) {
    const auto head = ReadRecord<LINK_FRAME_HEAD>(bytes);
    if (!head || head->marker != LINK_FRAME_MARKER || head->length <= 0) return std::nullopt;
    const auto cmdType = ReadRecord<tuint32>(SIM_BYTE_VIEW(bytes).subspan(sizeof(*head)));
    if (!cmdType) return std::nullopt;
    return REPLAY_STEP{REPLAY_STEP_KIND::EXPECT, {}, {}, *cmdType};
}

class CTraceReader {
public:
    /// False for a line that is none of a record.
    bool TakeLine(const std::string& sLine) {
        std::istringstream words(sLine);
        long long time = 0;
        unsigned number = 0;
        std::string sVerb;
        std::string sRest;
        if (!(words >> time >> number >> sVerb) || number == 0 || number > MAX_LINKS) return false;
        words >> sRest;
        if (m_links.size() < number) m_links.resize(number);
        const std::chrono::microseconds at(time);
        auto [last, bFirst] = m_lastTimes.try_emplace(number, at);
        std::optional<REPLAY_STEP> step;
        if (!MakeStep(sVerb, sRest, step)) return false;
        if (!step) return true;
        step->pause = std::max(at - last->second, std::chrono::microseconds(0));
        last->second = at;
        m_links[number - 1].push_back(std::move(*step));
        return true;
    }

    std::vector<REPLAY_LINK> m_links;

private:
    static bool MakeStep(const std::string& sVerb, const std::string& sRest, std::optional<REPLAY_STEP>& step) {
        if (sVerb == TRACE_END) step = REPLAY_STEP{REPLAY_STEP_KIND::END, {}, {}, 0};
        if (sVerb == TRACE_RESET) step = REPLAY_STEP{REPLAY_STEP_KIND::RESET, {}, {}, 0};
        if (sVerb != TRACE_IN && sVerb != TRACE_OUT) return true;
        SIM_BYTES bytes;
        if (!ReadHex(sRest, bytes)) return false;
        if (sVerb == TRACE_OUT) {
            step = ExpectStep(bytes);
        } else {
            step = REPLAY_STEP{REPLAY_STEP_KIND::SEND, {}, std::move(bytes), 0};
        }
        return true;
    }

    std::map<unsigned, std::chrono::microseconds> m_lastTimes;
};

}  // namespace

std::optional<std::vector<REPLAY_LINK>> ReadTrace(std::istream& text, std::string& sError) {
    std::string sLine;
    if (!std::getline(text, sLine) || sLine != TRACE_FIRST_LINE) {
        sError = "This is no record of sessions: the first line is not '" + std::string(TRACE_FIRST_LINE) + "'.";
        return std::nullopt;
    }
    CTraceReader reader;
    for (size_t number = 2; std::getline(text, sLine); ++number) {
        // The last line of a record that was cut off may be incomplete.
        if (reader.TakeLine(sLine) || text.peek() == std::istream::traits_type::eof()) continue;
        sError = "Line " + std::to_string(number) + " is none of a record.";
        return std::nullopt;
    }
    return std::move(reader.m_links);
}
