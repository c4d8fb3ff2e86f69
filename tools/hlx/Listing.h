#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "HLX.h"
#include "Options.h"

// Lists of what a device found: how they are taken from the library and how they are shown.

// Lines for standard output, written in large pieces as they come.
class CListing {
public:
    // strHead stands above the first line; without a line it is not written.
    explicit CListing(std::string strHead = {}) : m_strHead(std::move(strHead)) {}

    // False once standard output takes no more.
    bool Add(std::string_view strLine);
    bool AddJson(const nlohmann::ordered_json& record);

    bool IsEmpty() const { return m_bEmpty; }

    // Writes the rest. 0, or the errno of the write that failed.
    int End();

private:
    const std::string m_strHead;
    std::string m_strLines;
    bool m_bEmpty = true;
    int m_nErrno = 0;
};

// Walks a search that was opened, `next` and `close` being the functions of its kind, and closes it. `use` takes a record
// and tells whether to go on. False when the search failed otherwise than by finding nothing; the number is the last
// error.
template <class Record, class Use>
bool TakeFound(POINTERHANDLE lFind, LONG (*next)(POINTERHANDLE, Record*), BOOL (*close)(POINTERHANDLE), Use use) {
    if (lFind == -1) return HLX_GetLastError() == HLX_FILE_NOFIND;
    Record record{};
    while (next(lFind, &record) == HLX_FILE_SUCCESS && use(record)) {
    }
    close(lFind);
    return true;
}

// The span that a command is about: up to now if no end was given, from the begin of its last day if no begin was.
struct SPAN {
    int64_t nFrom;
    int64_t nTo;
};
SPAN WholeSpan(const TIME_SPAN& span);

// "from 2026-11-21 00:00:00 to 2026-11-21 10:00:00 (local time here)"
std::string SpanText(const SPAN& span);

// {"local": ..., "utc": ...}
nlohmann::ordered_json TimeJson(const DD_TIME& time);

// "2026-11-21 10:00:00", local.
std::string ShortTimeText(int64_t nSeconds);

// What each line of a list of spans begins with: the columns, their head, and the same as JSON. strMore are the columns
// behind them.
std::string SpanHead(std::string_view strMore = {});
std::string SpanColumns(uint32_t dwChannel, const DD_TIME& start, const DD_TIME& stop);
nlohmann::ordered_json SpanJson(const char* sEvent, uint32_t dwChannel, const DD_TIME& start, const DD_TIME& stop);

// A DD_RECORD_TYPE_* or DD_EVENT_TYPE_* mask in words: "motion+sensor".
std::string RecordTypeText(uint32_t dwMask);
std::string EventTypeText(uint32_t dwMask);

// The masks of "motion,sensor". Nothing for other words.
std::optional<uint32_t> ParseEventTypes(std::string_view strText);

// Channel -1 stands for all channels of a device.
std::string ChannelText(int64_t lChannel);
