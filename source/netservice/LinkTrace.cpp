#include "netservice/LinkTrace.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "protocol/ClassicCommands.h"
#include "protocol/ClassicProtocol.h"
#include "protocol/LinkFrame.h"
#include "protocol/TraceFile.h"
#include "sdk_common/TimeSource.h"

namespace {

constexpr size_t LONGEST_MESSAGE = 16 << 20;  // what is longer is left out
constexpr size_t ALL = static_cast<size_t>(-1);

/// Bytes that are never written, from the start of a message's body.
struct SECRET {
    tuint32 cmdType;
    size_t offset;
    size_t length;
};
constexpr SECRET SECRETS[] = {
    {CMD_REQUEST_LOGIN, offsetof(NET_LOGIN_INFO, password), sizeof(NET_LOGIN_INFO::password)},
    {CMD_REQUEST_CFG_SET, 0, ALL},
    {CMD_REQUEST_CFG_MODIFY_PASS, 0, ALL},
    {CMD_REQUEST_CFG_IMPORT, 0, ALL},
    {CMD_REPLY_CFG_DATA, 0, ALL},
    {CMD_REPLY_CFG_DEFAULT, 0, ALL},
    {CMD_REPLY_CFG_EXPROT_SUCC, 0, ALL},
};

void Blank(std::span<unsigned char> bytes, size_t offset, size_t length) {
    const size_t from = std::min(offset, bytes.size());
    std::ranges::fill(bytes.subspan(from, std::min(length, bytes.size() - from)), static_cast<unsigned char>(0));
}

template <class Record>
std::optional<Record> RecordAt(std::span<const unsigned char> bytes, size_t offset) {
    if (bytes.size() < offset + sizeof(Record)) return std::nullopt;
    Record record;
    std::memcpy(&record, bytes.data() + offset, sizeof(record));
    return record;
}

/// Size of the message that begins here; 0 while it cannot be told, all there is when it is none.
size_t MessageSize(std::span<const unsigned char> bytes) {
    const auto word = RecordAt<tuint32>(bytes, 0);
    if (!word) return 0;
    if (*word == SWL_HEADFLAG) return sizeof(PRE_SEND_DATA);
    if (*word != LINK_FRAME_MARKER) return bytes.size();
    const auto head = RecordAt<LINK_FRAME_HEAD>(bytes, 0);
    if (!head) return 0;
    if (head->length >= 0) return sizeof(*head) + static_cast<size_t>(head->length);
    const auto piece = RecordAt<PACKED_HEAD>(bytes, sizeof(*head));
    if (!piece) return 0;
    return piece->dwLen < 0 ? bytes.size() : sizeof(*head) + sizeof(*piece) + static_cast<size_t>(piece->dwLen);
}

void BlankSecrets(std::span<unsigned char> message) {
    const auto word = RecordAt<tuint32>(message, 0);
    if (word == SWL_HEADFLAG) {
        Blank(message, offsetof(PRE_SEND_DATA, dwEncryptParam), sizeof(PRE_SEND_DATA::dwEncryptParam));
        Blank(message, offsetof(PRE_SEND_DATA, loginNonce), sizeof(PRE_SEND_DATA::loginNonce));
    }
    const auto cmdType = RecordAt<tuint32>(message, sizeof(LINK_FRAME_HEAD));
    if (word != LINK_FRAME_MARKER || !cmdType) return;
    constexpr size_t BODY = sizeof(LINK_FRAME_HEAD) + sizeof(PACKCMD);
    for (const SECRET& secret : SECRETS) {
        if (secret.cmdType == *cmdType) Blank(message, BODY + secret.offset, secret.length);
    }
}

}  // namespace

std::atomic<bool> CLinkTrace::s_bOn{false};

CLinkTrace& CLinkTrace::Instance() {
    static CLinkTrace s_trace;
    return s_trace;
}

bool CLinkTrace::Start(const char* sFileName) {
    Stop();
    const int fd = open(sFileName, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    const std::lock_guard guard(m_lock);
    m_file.reset(fdopen(fd, "w"));
    if (!m_file) return (void)close(fd), false;
    m_lastNumber = 0;
    m_start = TimeSource().MonotonicMicroseconds();
    std::fprintf(m_file.get(), "%s\n", TRACE_FIRST_LINE);
    s_bOn = true;
    return true;
}

void CLinkTrace::Stop() {
    const std::lock_guard guard(m_lock);
    s_bOn = false;
    m_file.reset();
    m_links.clear();
}

CLinkTrace::LINK* CLinkTrace::Find(SWL_socket_t sock) {
    const auto found = m_links.find(sock);
    return m_file && found != m_links.end() ? &found->second : nullptr;
}

void CLinkTrace::Opened(SWL_socket_t sock, const std::string& sPeer) try {
    const std::lock_guard guard(m_lock);
    if (!m_file) return;
    LINK& link = m_links.insert_or_assign(sock, LINK{++m_lastNumber, {TRACE_IN, {}}, {TRACE_OUT, {}}}).first->second;
    WriteLine(link, std::string(TRACE_OPEN) + " " + sPeer);
} catch (const std::bad_alloc&) {
    Stop();
}

void CLinkTrace::Received(SWL_socket_t sock, const void* pBytes, int iLen) try {
    const int error = errno;
    const std::lock_guard guard(m_lock);
    LINK* pLink = Find(sock);
    if (!pLink) return;
    if (iLen > 0) {
        Take(*pLink, pLink->in, {static_cast<const unsigned char*>(pBytes), static_cast<size_t>(iLen)});
    } else if (!pLink->bEnded && (iLen == 0 || (error != EAGAIN && error != EINTR))) {
        WriteBytes(*pLink, pLink->in, pLink->in.pending);
        pLink->in.pending.clear();
        WriteLine(*pLink, iLen == 0 ? TRACE_END : TRACE_RESET);
        pLink->bEnded = true;
    }
    errno = error;
} catch (const std::bad_alloc&) {
    Stop();
}

void CLinkTrace::Sent(SWL_socket_t sock, const void* pBytes, int iLen) try {
    const std::lock_guard guard(m_lock);
    LINK* pLink = Find(sock);
    if (pLink && iLen > 0)
        Take(*pLink, pLink->out, {static_cast<const unsigned char*>(pBytes), static_cast<size_t>(iLen)});
} catch (const std::bad_alloc&) {
    Stop();
}

void CLinkTrace::Closed(SWL_socket_t sock) try {
    const std::lock_guard guard(m_lock);
    if (LINK* pLink = Find(sock)) {
        for (WAY* pWay : {&pLink->in, &pLink->out}) WriteBytes(*pLink, *pWay, pWay->pending);
        WriteLine(*pLink, TRACE_CLOSE);
    }
    m_links.erase(sock);
} catch (const std::bad_alloc&) {
    Stop();
}

/// Writes the messages that are whole now. Nothing leaves before it is known which message it belongs to.
void CLinkTrace::Take(const LINK& link, WAY& way, std::span<const unsigned char> bytes) {
    Bytes& pending = way.pending;
    const size_t skipped = std::min(way.skip, bytes.size());
    way.skip -= skipped;
    pending.insert(pending.end(), bytes.begin() + static_cast<std::ptrdiff_t>(skipped), bytes.end());
    size_t at = 0;
    while (at < pending.size()) {
        const std::span left = std::span(pending).subspan(at);
        const size_t size = MessageSize(left);
        if (size > LONGEST_MESSAGE) {
            way.skip = size - std::min(size, left.size());
            at += size - way.skip;
            continue;
        }
        if (size == 0 || size > left.size()) break;
        WriteBytes(link, way, left.first(size));
        at += size;
    }
    pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(at));
}

void CLinkTrace::WriteBytes(const LINK& link, const WAY& way, std::span<unsigned char> message) {
    if (message.empty()) return;
    BlankSecrets(message);
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string line = std::string(way.sVerb) + " ";
    line.reserve(line.size() + message.size() * 2);
    for (const unsigned char byte : message) {
        line += DIGITS[byte >> 4];
        line += DIGITS[byte & 15];
    }
    WriteLine(link, line);
}

void CLinkTrace::WriteLine(const LINK& link, const std::string& sRest) {
    if (!m_file) return;  // the line before could not be written
    const long long time = TimeSource().MonotonicMicroseconds() - m_start;
    std::fprintf(m_file.get(), "%lld %u %s\n", time, link.number, sRest.c_str());
    if (std::fflush(m_file.get()) == 0) return;
    s_bOn = false;
    m_file.reset();
}
