#include "simulator/classic/DataReplies.h"

#include <algorithm>

namespace {

/// A long result goes in messages of at most so many bytes of body.
constexpr size_t MAX_BODY = 64u << 10;

/// Cuts a result into bodies, each with its head.
class CAnswerWriter {
public:
    CAnswerWriter(tuint32 cmdType, tuint32 requestID, tuint32 kind) : m_head{requestID, kind, 0, 0} {
        m_answer.cmdType = cmdType;
        Begin();
    }

    void Add(SIM_BYTE_VIEW record, SIM_BYTE_VIEW text = {}) {
        if (m_answer.bodies.back().size() + record.size() + text.size() > MAX_BODY) {
            End(1);
            Begin();
        }
        Append(m_answer.bodies.back(), record);
        Append(m_answer.bodies.back(), text);
        ++m_head.count;
    }

    bool IsEmpty() const { return m_head.count == 0; }

    CLASSIC_ANSWER Take() {
        End(0);
        return std::move(m_answer);
    }

private:
    void Begin() {
        m_head.count = 0;
        Append(m_answer.bodies.emplace_back(), RecordBytes(m_head));
    }

    void End(tuint32 bMore) {
        m_head.bMore = bMore;
        std::ranges::copy(RecordBytes(m_head), m_answer.bodies.back().begin());
    }

    NET_DATA_REPLY_HEAD m_head;
    CLASSIC_ANSWER m_answer;
};

/// Puts times into records: those that are meant, or any.
class CTimeWriter {
public:
    explicit CTimeWriter(bool bWild) : m_bWild(bWild) {}

    tuint32 operator()(std::int64_t time) {
        if (!m_bWild) return static_cast<tuint32>(time);
        ++m_count;
        return m_count % 3 == 0 ? 0xFFFFFFFF : static_cast<tuint32>(ArchiveChance(m_count, 0));
    }

private:
    const bool m_bWild;
    tuint32 m_count = 0;
};

void AddDays(const CSimArchive& archive, CAnswerWriter& writer, bool bWild) {
    for (NET_REC_DATE_INFO day : archive.Days()) {
        if (bWild) day = {0, 255, 255};
        writer.Add(RecordBytes(day));
    }
}

void AddFiles(const CSimArchive& archive, const CSimArchive::QUERY& query, CAnswerWriter& writer, CTimeWriter time) {
    for (const size_t number : archive.FindFiles(query)) {
        const ARCHIVE_FILE& file = archive.Files()[number];
        const NET_REC_FILE_INFO info = {file.channel,          archive.IsLocked(number) ? 1u : 0u,
                                        time(file.span.start), time(file.span.stop),
                                        file.recType,          file.partition,
                                        file.fileIndex};
        writer.Add(RecordBytes(info));
    }
}

void AddTimes(const CSimArchive& archive, const CSimArchive::QUERY& query, CAnswerWriter& writer, CTimeWriter time) {
    for (const auto& [channel, span] : archive.FindTimes(query)) {
        const NET_REC_TIME_INFO info = {channel, time(span.start), time(span.stop)};
        writer.Add(RecordBytes(info));
    }
}

void AddRecEvents(const CSimArchive& archive, const CSimArchive::QUERY& query, CAnswerWriter& writer,
                  CTimeWriter time) {
    for (const ARCHIVE_REC_EVENT& event : archive.FindRecEvents(query)) {
        const NET_REC_EVENT_INFO info = {event.channel, time(event.span.start), time(event.span.stop), event.recType};
        writer.Add(RecordBytes(info));
    }
}

void AddLogs(const CSimArchive& archive, const NET_LOG_QUERY& query, CAnswerWriter& writer, CTimeWriter time) {
    for (const ARCHIVE_LOG& log : archive.FindLogs({query.startTime, query.stopTime}, query.logType)) {
        NET_LOG_INFO info{};
        info.time = time(log.time);
        info.majorType = log.majorType;
        info.minorType = log.minorType;
        std::memcpy(info.netUser, log.sUser.data(), std::min(log.sUser.size(), sizeof(info.netUser)));
        info.remoteHost = log.remoteHost;
        info.contentLength = static_cast<tuint32>(log.sContent.size());
        writer.Add(RecordBytes(info), std::as_bytes(std::span(log.sContent)));
    }
}

void AddEvents(const CSimArchive& archive, const NET_EVENT_QUERY& query, CAnswerWriter& writer, CTimeWriter time) {
    const ARCHIVE_SPAN span = {query.startTime, query.stopTime};
    for (const ARCHIVE_EVENT& event : archive.FindEvents(span, query.eventType, query.channelMask)) {
        const NET_EVENT_INFO info = {static_cast<tuint16>(event.channel), static_cast<tuint16>(event.type),
                                     time(event.span.start), time(event.span.stop)};
        writer.Add(RecordBytes(info));
    }
}

/// The result, or that there is none.
CLASSIC_ANSWER Finish(CAnswerWriter& writer, tuint32 nullCommand, tuint32 requestID) {
    if (writer.IsEmpty()) return MakeNull(nullCommand, requestID, NET_DATA_NOTHING_FOUND);
    return writer.Take();
}

/// Numbers of the files that a request names; empty when it makes no sense or one of them is not there.
std::vector<size_t> NamedFiles(const CSimArchive& archive, SIM_BYTE_VIEW body) {
    const auto head = ReadRecord<NET_FILE_LIST_HEAD>(body);
    if (!head || head->count > MAX_FILE_LIST || body.size() != sizeof(*head) + head->count * sizeof(NET_REC_FILE_INFO))
        return {};
    std::vector<size_t> numbers;
    for (body = body.subspan(sizeof(*head)); !body.empty(); body = body.subspan(sizeof(NET_REC_FILE_INFO))) {
        const auto info = *ReadRecord<NET_REC_FILE_INFO>(body);
        const auto number = archive.FindFile(info.channel, info.partition, info.fileIndex);
        if (!number) return {};
        numbers.push_back(*number);
    }
    return numbers;
}

tuint32 RequestID(SIM_BYTE_VIEW body) { return ReadRecord<tuint32>(body).value_or(0); }

/// Of a search for logs or events: `add` gives the writer what is found.
template <class Query, class Add>
CLASSIC_ANSWER AnswerQuery(SIM_BYTE_VIEW body, tuint32 reply, Add add) {
    const auto query = ReadRecord<Query>(body);
    if (!query) return MakeNull(CMD_REPLY_SYS_STATUS_FAIL, RequestID(body), NET_DATA_REFUSED);
    CAnswerWriter writer(reply, query->requestID, 0);
    add(*query, writer);
    return Finish(writer, CMD_REPLY_SYS_STATUS_FAIL, query->requestID);
}

}  // namespace

CLASSIC_ANSWER MakeDone(tuint32 requestID, tuint32 kind) {
    return CAnswerWriter(CMD_REPLY_DATA_INFO, requestID, kind).Take();
}

CLASSIC_ANSWER MakeNull(tuint32 cmdType, tuint32 requestID, tuint32 reason) {
    CLASSIC_ANSWER answer;
    answer.cmdType = cmdType;
    Append(answer.bodies.emplace_back(), RecordBytes(NET_DATA_NULL_INFO{requestID, reason}));
    return answer;
}

CLASSIC_ANSWER AnswerSearch(const CSimArchive& archive, SIM_BYTE_VIEW body, bool bWildTimes) {
    const auto info = ReadRecord<NET_DATA_SEARCH_INFO>(body);
    const bool bChannel = info && (info->kind == NET_DATA_DATE || info->channel == ALL_CHANNELS ||
                                   info->channel < archive.Channels() || archive.Files().empty());
    if (!info || !bChannel || info->kind < NET_DATA_DATE || info->kind > NET_DATA_EVENT)
        return MakeNull(CMD_REPLY_DATA_NULL, RequestID(body), NET_DATA_REFUSED);

    const CSimArchive::QUERY query = {{info->startTime, info->stopTime}, info->channel, info->recType};
    CAnswerWriter writer(CMD_REPLY_DATA_INFO, info->requestID, info->kind);
    const CTimeWriter time(bWildTimes);
    if (info->kind == NET_DATA_DATE) AddDays(archive, writer, bWildTimes);
    if (info->kind == NET_DATA_FILE) AddFiles(archive, query, writer, time);
    if (info->kind == NET_DATA_TIME) AddTimes(archive, query, writer, time);
    if (info->kind == NET_DATA_EVENT) AddRecEvents(archive, query, writer, time);
    return Finish(writer, CMD_REPLY_DATA_NULL, info->requestID);
}

CLASSIC_ANSWER AnswerLogs(const CSimArchive& archive, SIM_BYTE_VIEW body, bool bWildTimes) {
    return AnswerQuery<NET_LOG_QUERY>(body, CMD_REPLY_LOG_INFO, [&](const NET_LOG_QUERY& query, CAnswerWriter& writer) {
        AddLogs(archive, query, writer, CTimeWriter(bWildTimes));
    });
}

CLASSIC_ANSWER AnswerEvents(const CSimArchive& archive, SIM_BYTE_VIEW body, bool bWildTimes) {
    return AnswerQuery<NET_EVENT_QUERY>(body, CMD_REPLY_EVENT_INFO,
                                        [&](const NET_EVENT_QUERY& query, CAnswerWriter& writer) {
                                            AddEvents(archive, query, writer, CTimeWriter(bWildTimes));
                                        });
}

CLASSIC_ANSWER ChangeFiles(CSimArchive& archive, tuint32 cmdType, SIM_BYTE_VIEW body) {
    const std::vector<size_t> numbers = NamedFiles(archive, body);
    const bool bDelete = cmdType == CMD_REQUEST_DATA_DELETE;
    const bool bHeld = bDelete && std::ranges::any_of(numbers, [&](size_t file) { return archive.IsLocked(file); });
    if (numbers.empty() || bHeld) return MakeNull(CMD_REPLY_DATA_NULL, RequestID(body), NET_DATA_REFUSED);
    for (const size_t number : numbers) {
        if (bDelete) {
            archive.Delete(number);
        } else {
            archive.SetLocked(number, cmdType == CMD_REQUEST_DATA_LOCK);
        }
    }
    return MakeDone(RequestID(body), NET_DATA_CHANGE);
}
