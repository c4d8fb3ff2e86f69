// The records of a search, gathered from the replies as they come.
#pragma once

#include <list>

#include "device_base/ReplyWaiter.h"
#include "protocol/ClassicRecordings.h"
#include "sdk_common/WireReader.h"

/// Whatever a recorder says, no result is longer.
constexpr size_t MAX_SEARCH_RECORDS = 1048576;

/// Takes the replies to one request. A reply whose bytes are not those of the records that it counts, or that is of
/// another kind, fails the whole search with HLX_NETWORK_ERRORDATA; so does a result that is too long. May throw for
/// want of memory.
template <class Record>
class CSearchResult {
public:
    /// `yes`: the reply with records, any other is the null reply; `kind`: what its head must say.
    CSearchResult(tuint32 yes, tuint32 kind) : m_yes(yes), m_kind(kind) {}

    /// `toPublic(reader, record)` reads one record into a zeroed one; false for one that makes no sense.
    template <class ToPublic>
    REPLY_VERDICT Take(const REPLY_CMD_DATA& reply, ToPublic&& toPublic) {
        CWireReader reader(reply.cmdParam);
        if (reply.cmdType != m_yes) return TakeNull(reader);
        const auto head = reader.Read<NET_DATA_REPLY_HEAD>();
        if (!reader.Good() || head.kind != m_kind || head.bMore > 1) return Fail(HLX_NETWORK_ERRORDATA);
        if (!TakeRecords(reader, head.count, toPublic) || reader.Left()) return Fail(HLX_NETWORK_ERRORDATA);
        return head.bMore ? REPLY_MORE : REPLY_DONE;
    }

    HLX_ERROR Error() const { return m_error; }
    std::list<Record>& Records() { return m_records; }

private:
    template <class ToPublic>
    bool TakeRecords(CWireReader& reader, tuint32 count, ToPublic& toPublic) {
        if (count > MAX_SEARCH_RECORDS - m_records.size()) return false;
        for (tuint32 i = 0; i < count; ++i) {
            Record& record = m_records.emplace_back();
            if (!toPublic(reader, record) || !reader.Good()) return false;
        }
        return true;
    }

    /// Nothing was found, or the recorder refuses: one number for both.
    REPLY_VERDICT TakeNull(CWireReader& reader) {
        reader.Read<NET_DATA_NULL_INFO>();
        return Fail(reader.Good() ? HLX_FILE_NOFIND : HLX_NETWORK_ERRORDATA);
    }

    REPLY_VERDICT Fail(HLX_ERROR error) {
        m_error = error;
        return REPLY_DONE;
    }

    const tuint32 m_yes;
    const tuint32 m_kind;
    HLX_ERROR m_error = HLX_SUCCESS;
    std::list<Record> m_records;
};
