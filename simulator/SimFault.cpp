#include "simulator/SimFault.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

namespace {

using KIND = SIM_FAULT_KIND;

constexpr SIM_FAULT_ROW FAULT_TABLE[] = {
    {KIND::REFUSE, "refuse", 4, "refuse the login: 1 version, 2 password, 3 too many links, 4 refused"},
    {KIND::HEAD_FLAG, "head-flag", 0x64616569, "first word of the first block"},
    {KIND::HEAD_SHORT, "head-short", 63, "send only so many bytes of the first block"},
    {KIND::HEAD_LATE, "head-late", 2000, "send the first block so many milliseconds late"},
    {KIND::HEAD_FAMILY, "head-family", 9, "device family in the first block"},
    {KIND::HEAD_VERSION, "head-version", 4000000001, "protocol version in the first block"},
    {KIND::CLOSE, "close", 0, "close the link"},
    {KIND::RESET, "reset", 0, "reset the link"},
    {KIND::SILENT, "silent", 0, "leave the link open and send nothing more"},
    {KIND::CLOSE_AFTER, "close-after", 100000, "close the link after so many bytes"},
    {KIND::SILENT_AFTER, "silent-after", 100000, "send nothing more after so many bytes"},
    {KIND::CLOSE_EVERY, "close-every", 30000, "close each link so many milliseconds after the client's first bytes"},
    {KIND::WRONG_REPLY, "wrong-reply", 0x20001, "send replies with this command id"},
    {KIND::SHORT_REPLY, "short-reply", 0, "cut the body of replies to so many bytes"},
    {KIND::REPLY_DELAY, "reply-delay", 500, "send replies so many milliseconds late"},
    {KIND::NO_REPLY, "no-reply", 0, "send no reply"},
    {KIND::NO_RESOURCE, "no-resource", 1002, "word that answers the question for the last stream error"},
    {KIND::REFUSE_DATA, "refuse-data", 1, "refuse recordings: 0 nothing found, 1 too many streams, 2 refused"},
    {KIND::COUNT_LIE, "count-lie", 1000, "results tell so many records more than they hold"},
    {KIND::MORE_FOREVER, "more-forever", 100,
     "results never end: send the last message every so many ms; 0: nothing more"},
    {KIND::WILD_TIMES, "wild-times", 10, "mad times in records, and in every nth frame of recordings"},
    {KIND::DATA_STOP, "data-stop", 100, "stop a stream of recordings after so many frames"},
    {KIND::DATA_CLOSE, "data-close", 100, "close the link after so many frames of a stream of recordings"},
    {KIND::NO_END, "no-end", 0, "leave out the end frame of recordings"},
    {KIND::STREAM_STOP, "stream-stop", 0, "stop the streams of this channel until streams are asked for anew"},
    {KIND::GARBAGE, "garbage", 50, "put eight bytes of garbage behind every nth frame"},
    {KIND::FRAME_LENGTH, "frame-length", 50, "every nth frame claims a million bytes too many"},
    {KIND::LINK_LENGTH, "link-length", 50, "after so many frames promise a message of two gigabytes"},
    {KIND::PIECE_LOST, "piece-lost", 2, "every nth packed message lacks its second piece"},
    {KIND::PIECE_SWAPPED, "piece-swapped", 2, "every nth packed message has its last two pieces swapped"},
    {KIND::PIECE_TOTALS, "piece-totals", 2, "every nth packed message has other totals in its last piece"},
    {KIND::TALK_REFUSE, "talk-refuse", 0, "refuse to talk"},
    {KIND::TALK_FORMAT, "talk-format", 85, "tell this tag as the format of the talk sound"},
};

constexpr std::pair<std::string_view, SIM_PHASE> PHASE_NAMES[] = {
    {"any", SIM_PHASE::ANY},       {"connect", SIM_PHASE::CONNECT},   {"head", SIM_PHASE::HEAD},
    {"login", SIM_PHASE::LOGIN},   {"disk", SIM_PHASE::DISK},         {"stream", SIM_PHASE::STREAM},
    {"search", SIM_PHASE::SEARCH}, {"playback", SIM_PHASE::PLAYBACK}, {"download", SIM_PHASE::DOWNLOAD},
    {"talk", SIM_PHASE::TALK},     {"command", SIM_PHASE::COMMAND}};

/// Cuts `sText` at the last `mark` and gives what stands behind it; nothing without the mark.
std::optional<std::string_view> CutTail(std::string_view& sText, char mark) {
    const size_t at = sText.rfind(mark);
    if (at == std::string_view::npos) return std::nullopt;
    const auto sTail = sText.substr(at + 1);
    sText = sText.substr(0, at);
    return sTail;
}

template <class Number>
bool ReadNumber(std::string_view sText, Number& number) {
    const int base = sText.starts_with("0x") ? 16 : 10;
    if (base == 16) sText.remove_prefix(2);
    const auto [pEnd, error] = std::from_chars(sText.data(), sText.data() + sText.size(), number, base);
    return error == std::errc() && pEnd == sText.data() + sText.size();
}

}  // namespace

std::span<const SIM_FAULT_ROW> FaultTable() { return FAULT_TABLE; }

const char* FaultName(SIM_FAULT_KIND kind) {
    const auto found = std::find_if(std::begin(FAULT_TABLE), std::end(FAULT_TABLE),
                                    [kind](const SIM_FAULT_ROW& row) { return row.kind == kind; });
    return found == std::end(FAULT_TABLE) ? "" : found->pName;
}

std::optional<SIM_FAULT> ParseFault(const std::string& sText, std::string& sError) {
    std::string_view sKind = sText;
    SIM_FAULT fault;
    const auto sTimes = CutTail(sKind, '*');
    const auto sValue = CutTail(sKind, '=');
    const auto sPhase = CutTail(sKind, '@');

    const auto row = std::find_if(std::begin(FAULT_TABLE), std::end(FAULT_TABLE),
                                  [&](const SIM_FAULT_ROW& entry) { return sKind == entry.pName; });
    if (row == std::end(FAULT_TABLE)) {
        sError = "There is no fault named '" + std::string(sKind) + "'.";
        return std::nullopt;
    }
    fault.kind = row->kind;
    fault.value = row->value;
    if ((sValue && !ReadNumber(*sValue, fault.value)) || (sTimes && !ReadNumber(*sTimes, fault.times))) {
        sError = "The fault '" + sText + "' has a number that is none.";
        return std::nullopt;
    }
    const auto phase = std::find_if(std::begin(PHASE_NAMES), std::end(PHASE_NAMES),
                                    [&](const auto& entry) { return sPhase.value_or("any") == entry.first; });
    if (phase == std::end(PHASE_NAMES)) {
        sError = "There is no phase named '" + std::string(*sPhase) + "'.";
        return std::nullopt;
    }
    fault.phase = phase->second;
    return fault;
}

namespace {

/// First fault of the kind that acts at the phase and is not used up; the end when there is none.
template <class Faults>
auto FindFault(Faults& faults, SIM_FAULT_KIND kind, SIM_PHASE phase) {
    return std::find_if(faults.begin(), faults.end(), [&](const SIM_FAULT& fault) {
        return fault.kind == kind && (fault.phase == SIM_PHASE::ANY || fault.phase == phase);
    });
}

}  // namespace

void CFaultPlan::Set(std::vector<SIM_FAULT> faults) {
    const std::lock_guard lock(m_lock);
    m_faults = std::move(faults);
    m_bAny = !m_faults.empty();
}

void CFaultPlan::Add(const SIM_FAULT& fault) {
    const std::lock_guard lock(m_lock);
    m_faults.push_back(fault);
    m_bAny = true;
}

std::optional<std::int64_t> CFaultPlan::Peek(SIM_FAULT_KIND kind, SIM_PHASE phase) const {
    if (!m_bAny) return std::nullopt;
    const std::lock_guard lock(m_lock);
    const auto found = FindFault(m_faults, kind, phase);
    if (found == m_faults.end()) return std::nullopt;
    return found->value;
}

std::optional<std::int64_t> CFaultPlan::Take(SIM_FAULT_KIND kind, SIM_PHASE phase) {
    if (!m_bAny) return std::nullopt;
    const std::lock_guard lock(m_lock);
    const auto found = FindFault(m_faults, kind, phase);
    if (found == m_faults.end()) return std::nullopt;
    const std::int64_t value = found->value;
    if (found->times > 0 && --found->times == 0) m_faults.erase(found);
    return value;
}
