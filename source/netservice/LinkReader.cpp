#include "netservice/LinkReader.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "sdk_common/SystemFault.h"
#include "sdk_common/WireReader.h"

namespace {

// From this many bytes on the rest of a message is worth being received where it belongs.
constexpr int ROOM_MINIMUM = 32 * 1024;
constexpr int FIRST_ROOM = 64 * 1024;
constexpr int FIRST_BUFFER = 2 * 1024;

constexpr int PACK_FLAG_SIZE = sizeof(PACKED_DATA_FLAG);
constexpr int PACKED_HEAD_SIZE = sizeof(PACKED_HEAD);
// Flag and head, as they stand before the body of a packed message.
constexpr int PACKED_PREFIX = PACK_FLAG_SIZE + PACKED_HEAD_SIZE;
static_assert(sizeof(LINK_FRAME_HEAD::length) == PACK_FLAG_SIZE,
              "the flag of a packed message takes the place of the length");

char* Reallocate(char* pOld, size_t size) {
    return SystemCall(SYSTEM_CALL::ALLOCATE, static_cast<char*>(nullptr),
                      [&](size_t) { return std::realloc(pOld, size); });
}

bool PackedLengthGood(tint32 length) { return length >= 0 && length <= INT_MAX - PACKED_PREFIX; }

}  // namespace

void CLinkReader::GiveAhead(std::span<char> bytes) {
    std::free(m_pKept);
    m_pKept = nullptr;
    m_bAheadKept = false;
    m_ahead = bytes;
}

std::span<char> CLinkReader::Take(size_t count) {
    const auto taken = m_ahead.first(count);
    m_ahead = m_ahead.subspan(count);
    return taken;
}

CLinkReader::STEP CLinkReader::Next() {
    m_message = {};
    for (;;) {
        const RESULT result = m_partial.dataSize == 0 ? TakeHead() : TakeBody();
        if (result) return *result;
    }
}

CLinkReader::RESULT CLinkReader::TakeHead() {
    constexpr size_t SIZE = sizeof(LINK_FRAME_HEAD);
    if (m_headSize == 0 && m_ahead.size() >= SIZE) {
        const auto bytes = Take(SIZE);
        return StartMessage(CWireReader(bytes.data(), SIZE).Read<LINK_FRAME_HEAD>(), true);
    }
    const auto bytes = Take(std::min(SIZE - m_headSize, m_ahead.size()));
    std::copy(bytes.begin(), bytes.end(), m_head + m_headSize);
    m_headSize += bytes.size();
    if (m_headSize < SIZE) return NEED_BYTES;
    m_headSize = 0;
    return StartMessage(CWireReader(m_head, SIZE).Read<LINK_FRAME_HEAD>(), false);
}

CLinkReader::RESULT CLinkReader::StartMessage(const LINK_FRAME_HEAD& head, bool bHeadBeforeAhead) {
    // Bytes that are no head are dropped eight by eight until one fits; the link stays.
    if (head.marker != LINK_FRAME_MARKER) return {};
    if (head.length == 0) {
        FreePartial();
        return HEARTBEAT;
    }
    if (head.length < 0) return StartPacked(bHeadBeforeAhead);
    m_partial.dataSize = head.length;
    return {};
}

CLinkReader::RESULT CLinkReader::StartPacked(bool bHeadBeforeAhead) {
    m_partial.dataType = 1;
    m_partial.dataSize = PACKED_HEAD_SIZE;
    if (!bHeadBeforeAhead || m_ahead.size() < sizeof(PACKED_HEAD)) return {};
    const tint32 length = CWireReader(m_ahead.data(), m_ahead.size()).Read<PACKED_HEAD>().dwLen;
    if (!PackedLengthGood(length)) return BROKEN;
    const size_t rest = sizeof(PACKED_HEAD) + static_cast<size_t>(length);
    if (m_ahead.size() < rest) return {};
    // All there: the flag goes where the frame's length stood, right before the head.
    char* pStart = m_ahead.data() - PACK_FLAG_SIZE;
    std::memcpy(pStart, &PACKED_DATA_FLAG, PACK_FLAG_SIZE);
    Take(rest);
    return Deliver({pStart, PACK_FLAG_SIZE + rest});
}

CLinkReader::RESULT CLinkReader::TakeBody() {
    const size_t want = static_cast<size_t>(m_partial.dataSize - m_partial.recvSize);
    if (m_partial.recvSize == 0 && m_partial.dataType == 0 && m_ahead.size() >= want) return Deliver(Take(want));
    const int count = static_cast<int>(std::min(want, m_ahead.size()));
    if (count > 0) {
        if (!Grow(m_partial.recvSize + count)) return BROKEN;
        std::memcpy(m_partial.pData + m_partial.recvSize, Take(count).data(), count);
        m_partial.recvSize += count;
    }
    if (m_partial.recvSize < m_partial.dataSize) return NEED_BYTES;
    if (m_partial.dataType == 1) return EndPackedHead();
    return Deliver({m_partial.pData, static_cast<size_t>(m_partial.dataSize)});
}

CLinkReader::RESULT CLinkReader::EndPackedHead() {
    const tint32 length = CWireReader(m_partial.pData, PACKED_HEAD_SIZE).Read<PACKED_HEAD>().dwLen;
    if (!PackedLengthGood(length)) return BROKEN;
    m_partial.dataType = 0;
    m_partial.dataSize = PACKED_PREFIX + length;
    if (!Grow(PACKED_PREFIX)) return BROKEN;
    std::memmove(m_partial.pData + PACK_FLAG_SIZE, m_partial.pData, PACKED_HEAD_SIZE);
    std::memcpy(m_partial.pData, &PACKED_DATA_FLAG, PACK_FLAG_SIZE);
    m_partial.recvSize = PACKED_PREFIX;
    return {};
}

CLinkReader::STEP CLinkReader::Deliver(std::span<char> message) {
    m_message = message;
    m_partial.dataSize = 0;
    m_partial.recvSize = 0;
    m_partial.dataType = 0;
    return MESSAGE;
}

// Twice what is there already is the most that is taken in advance.
bool CLinkReader::Grow(int wanted) {
    if (wanted <= m_partial.buffSize) return true;
    const tint64 generous = std::max<tint64>(FIRST_BUFFER, tint64{m_partial.buffSize} * 2);
    const tint64 size = std::max<tint64>(wanted, std::min<tint64>(generous, m_partial.dataSize));
    char* pLarger = Reallocate(m_partial.pData, static_cast<size_t>(size));
    if (!pLarger) return false;
    m_partial.pData = pLarger;
    m_partial.buffSize = static_cast<int>(size);
    return true;
}

std::span<char> CLinkReader::Room() {
    const int left = m_partial.dataSize - m_partial.recvSize;
    if (!m_ahead.empty() || m_partial.dataType != 0 || left < ROOM_MINIMUM) return {};
    const tint64 wanted = tint64{m_partial.recvSize} + std::max(m_partial.recvSize, FIRST_ROOM);
    if (m_partial.recvSize == m_partial.buffSize || m_partial.buffSize < FIRST_ROOM) {
        if (!Grow(static_cast<int>(std::min<tint64>(wanted, m_partial.dataSize)))) return {};
    }
    const int end = std::min(m_partial.buffSize, m_partial.dataSize);
    return {m_partial.pData + m_partial.recvSize, static_cast<size_t>(end - m_partial.recvSize)};
}

int CLinkReader::TakeRaw(void* pTarget, int length) {
    if (length <= 0) return 0;
    char* pOut = static_cast<char*>(pTarget);
    const size_t fromHead = std::min(m_headSize, static_cast<size_t>(length));
    std::memcpy(pOut, m_head, fromHead);
    std::memmove(m_head, m_head + fromHead, m_headSize - fromHead);
    m_headSize -= fromHead;
    const auto bytes = Take(std::min(static_cast<size_t>(length) - fromHead, m_ahead.size()));
    std::copy(bytes.begin(), bytes.end(), pOut + fromHead);
    return static_cast<int>(fromHead + bytes.size());
}

bool CLinkReader::KeepAhead() {
    if (m_ahead.empty() || m_bAheadKept) return true;
    char* pCopy = Reallocate(nullptr, m_ahead.size());
    if (!pCopy) {
        m_ahead = {};
        return false;
    }
    std::copy(m_ahead.begin(), m_ahead.end(), pCopy);
    m_ahead = {pCopy, m_ahead.size()};
    std::free(m_pKept);
    m_pKept = pCopy;
    m_bAheadKept = true;
    return true;
}

void CLinkReader::FreePartial() {
    std::free(m_partial.pData);
    m_partial = {};
}

void CLinkReader::Release() {
    FreePartial();
    GiveAhead({});
    m_headSize = 0;
    m_message = {};
}
