// What is recorded on a classic recorder: dates, files, times, events and the log; files locked, unlocked, deleted.
#include <algorithm>
#include <cstring>
#include <new>

#include "main_utility/device/classic/DVRNetDevice_V3.h"
#include "main_utility/device/classic/SearchResult.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/WireReader.h"

namespace {

constexpr tuint32 LOG_KIND = 0;  // of the replies that need none

/// The record of replies that carry none.
struct NO_RECORD {};

bool ToPublic(CWireReader&, NO_RECORD&) { return false; }

/// False for a record that makes no sense.
bool ToPublic(CWireReader& reader, DD_DATE& date) {
    const auto wire = reader.Read<NET_REC_DATE_INFO>();
    date.mday = wire.day;
    date.month = static_cast<tuint8>(wire.month - 1);
    date.year = static_cast<tuint16>(wire.year - 1900);
    return wire.year >= 1900 && wire.month >= 1 && wire.month <= 12 && wire.day >= 1 && wire.day <= 31;
}

/// What a channel's files, times and recorded events have in common.
template <class Wire, class Record>
void TakeSpan(const Wire& wire, Record& record) {
    record.dwChannel = wire.channel;
    record.startTime = DVRTime32ToDDTime(wire.startTime);
    record.stopTime = DVRTime32ToDDTime(wire.stopTime);
}

bool ToPublic(CWireReader& reader, HLX_REC_FILE& file) {
    const auto wire = reader.Read<NET_REC_FILE_INFO>();
    TakeSpan(wire, file);
    file.bFileLocked = wire.bLocked;
    file.dwRecType = wire.recType;
    file.dwPartition = wire.partition;
    file.dwFileIndex = wire.fileIndex;
    return true;
}

bool ToPublic(CWireReader& reader, HLX_REC_TIME& time) {
    const auto wire = reader.Read<NET_REC_TIME_INFO>();
    TakeSpan(wire, time);
    return true;
}

bool ToPublic(CWireReader& reader, HLX_REC_EVENT& event) {
    const auto wire = reader.Read<NET_REC_EVENT_INFO>();
    TakeSpan(wire, event);
    event.dwRecType = wire.recType;
    return true;
}

/// Neither text need end on the wire.
bool ToPublic(CWireReader& reader, HLX_LOG& log) {
    const auto wire = reader.Read<NET_LOG_INFO>();
    const auto content = reader.Bytes(wire.contentLength);
    if (!reader.Good() || content.size() > MAX_LOG_CONTENT) return false;
    log.strLogTime = DVRTime32ToDDTime(wire.time);
    log.dwMajorType = wire.majorType;
    log.dwMinorType = wire.minorType;
    CopyText(log.sNetUser, wire.netUser);
    log.dwRemoteHostAddr = wire.remoteHost;
    std::ranges::copy(content, std::as_writable_bytes(std::span(log.sContent)).begin());
    return true;
}

bool ToPublic(CWireReader& reader, HLX_EVENT& event) {
    const auto wire = reader.Read<NET_EVENT_INFO>();
    event.chnn = wire.channel;
    event.type = wire.type;
    event.startTime = DVRTime32ToDDTime(wire.startTime);
    event.endTime = DVRTime32ToDDTime(wire.endTime);
    return true;
}

NET_REC_FILE_INFO ToWire(const HLX_REC_FILE& file) {
    NET_REC_FILE_INFO wire = {};
    wire.channel = file.dwChannel;
    wire.bLocked = file.bFileLocked;
    wire.startTime = DDTimeToDVRTime32(file.startTime);
    wire.stopTime = DDTimeToDVRTime32(file.stopTime);
    wire.recType = file.dwRecType;
    wire.partition = file.dwPartition;
    wire.fileIndex = file.dwFileIndex;
    return wire;
}

struct SPAN {
    tuint32 startTime;
    tuint32 stopTime;
};

/// Nothing, with HLX_PARAMETER_ERROR, for a span that ends before it starts.
std::optional<SPAN> ToSpan(const DD_TIME& start, const DD_TIME& stop) {
    const SPAN span = {DDTimeToDVRTime32(start), DDTimeToDVRTime32(stop)};
    if (span.stopTime < span.startTime) return Failure(HLX_PARAMETER_ERROR, std::nullopt);
    return span;
}

}  // namespace

// ---- Searches ----

template <class Record>
bool CDVRNetDevice_V3::Search(const SEARCH_COMMANDS& commands, Body body, std::list<Record>& records) try {
    CSearchResult<Record> result(commands.yes, commands.kind);
    const auto toPublic = [](CWireReader& reader, Record& record) { return ToPublic(reader, record); };
    const auto take = [&](REPLY_CMD_DATA& reply) { return result.Take(reply, toPublic); };
    HLX_ERROR error = AskNumbered(commands.request, body, {commands.yes, commands.no}, std::cref(take));
    if (error == HLX_SUCCESS && result.Error() != HLX_SUCCESS) error = LogRefusal(commands.request, result.Error());
    if (error != HLX_SUCCESS) return Failure(error);
    records.splice(records.end(), result.Records());
    return true;
} catch (const std::bad_alloc&) {
    return Failure(LogRefusal(commands.request, HLX_ALLOC_RESOURCE_ERROR));
}

template <class Record>
bool CDVRNetDevice_V3::SearchData(tuint32 kind, LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                                  std::list<Record>& records) {
    const bool bAll = lChannel == -1 || lChannel == LONG{ALL_CHANNELS};
    if (!bAll && !HasChannel(lChannel)) return Failure(HLX_CHANNEL_ERROR);
    const auto span = ToSpan(start, stop);
    if (!span) return false;
    const NET_DATA_SEARCH_INFO info = {NextRequestID(), kind,          static_cast<tuint32>(lChannel), dwType,
                                       span->startTime, span->stopTime};
    return Search({CMD_REQUEST_DATA_SEARCH, CMD_REPLY_DATA_INFO, CMD_REPLY_DATA_NULL, kind}, BodyOf(info), records);
}

BOOL CDVRNetDevice_V3::SearchRecDate(std::list<DD_DATE>& dateList) {
    const NET_DATA_SEARCH_INFO info = {NextRequestID(), NET_DATA_DATE, 0, 0, 0, 0};
    return Search({CMD_REQUEST_DATA_SEARCH, CMD_REPLY_DATA_INFO, CMD_REPLY_DATA_NULL, NET_DATA_DATE}, BodyOf(info),
                  dateList);
}

BOOL CDVRNetDevice_V3::SearchRecTime(LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                                     std::list<HLX_REC_TIME>& timeList) {
    return SearchData(NET_DATA_TIME, lChannel, dwType, start, stop, timeList);
}

BOOL CDVRNetDevice_V3::SearchRecFile(LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                                     std::list<HLX_REC_FILE>& fileList) {
    return SearchData(NET_DATA_FILE, lChannel, dwType, start, stop, fileList);
}

BOOL CDVRNetDevice_V3::SearchRecEvent(LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                                      std::list<HLX_REC_EVENT>& eventList) {
    return SearchData(NET_DATA_EVENT, lChannel, dwType, start, stop, eventList);
}

BOOL CDVRNetDevice_V3::SearchDVRLog(DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                                    std::list<HLX_LOG>& logList) {
    const auto span = ToSpan(start, stop);
    if (!span) return false;
    const NET_LOG_QUERY query = {NextRequestID(), dwType, span->startTime, span->stopTime};
    return Search({CMD_REQUEST_LOG_INFO, CMD_REPLY_LOG_INFO, CMD_REPLY_SYS_STATUS_FAIL, LOG_KIND}, BodyOf(query),
                  logList);
}

BOOL CDVRNetDevice_V3::SearchDVREvent(DWORD dwType, ULONGLONG ullChannels, const DD_TIME& start, const DD_TIME& stop,
                                      std::list<HLX_EVENT>& eventList) {
    const auto span = ToSpan(start, stop);
    if (!span) return false;
    const NET_EVENT_QUERY query = {NextRequestID(), dwType, ullChannels, span->startTime, span->stopTime};
    return Search({CMD_REQUEST_EVENT_INFO, CMD_REPLY_EVENT_INFO, CMD_REPLY_SYS_STATUS_FAIL, LOG_KIND}, BodyOf(query),
                  eventList);
}

// ---- Files ----

bool CDVRNetDevice_V3::ChangeFiles(tuint32 dwCmdType, const HLX_REC_FILE* pFiles, LONG lFileNum) try {
    if (!pFiles || lFileNum < 1 || lFileNum > LONG{MAX_FILE_LIST}) return Failure(HLX_PARAMETER_ERROR);
    const NET_FILE_LIST_HEAD head = {NextRequestID(), static_cast<tuint32>(lFileNum)};
    std::vector<std::byte> body(sizeof(head) + head.count * sizeof(NET_REC_FILE_INFO));
    std::memcpy(body.data(), &head, sizeof(head));
    for (tuint32 i = 0; i < head.count; ++i) {
        const NET_REC_FILE_INFO file = ToWire(pFiles[i]);
        std::memcpy(body.data() + sizeof(head) + i * sizeof(file), &file, sizeof(file));
    }
    std::list<NO_RECORD> none;
    return Search({dwCmdType, CMD_REPLY_DATA_INFO, CMD_REPLY_DATA_NULL, NET_DATA_CHANGE}, body, none);
} catch (const std::bad_alloc&) {
    return Failure(LogRefusal(dwCmdType, HLX_ALLOC_RESOURCE_ERROR));
}

BOOL CDVRNetDevice_V3::LockRecFile(HLX_REC_FILE* pFiles, LONG lFileNum) {
    return ChangeFiles(CMD_REQUEST_DATA_LOCK, pFiles, lFileNum);
}

BOOL CDVRNetDevice_V3::UnlockRecFile(HLX_REC_FILE* pFiles, LONG lFileNum) {
    return ChangeFiles(CMD_REQUEST_DATA_UNLOCK, pFiles, lFileNum);
}

BOOL CDVRNetDevice_V3::DeleteRecFile(HLX_REC_FILE* pFiles, LONG lFileNum) {
    return ChangeFiles(CMD_REQUEST_DATA_DELETE, pFiles, lFileNum);
}
