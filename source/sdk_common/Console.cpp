#include "sdk_common/Console.h"

#include <limits.h>
#include <poll.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace {

constexpr int TURN_TRIES = 1000;

std::atomic<size_t> g_lost{0};  // lines since the last that went through

/// One thread at a time looks for room and takes it. A holder whose write blocks all the same is not waited for.
class CTurn {
public:
    CTurn() {
        for (int tries = 0; !m_bMine && tries < TURN_TRIES; ++tries) {
            if (tries > 0) sched_yield();
            m_bMine = !s_bTaken.exchange(true);
        }
    }
    ~CTurn() {
        if (m_bMine) s_bTaken = false;
    }
    CTurn(const CTurn&) = delete;
    CTurn& operator=(const CTurn&) = delete;

    bool IsMine() const { return m_bMine; }

private:
    static inline std::atomic<bool> s_bTaken{false};
    bool m_bMine = false;
};

bool WriteNow(std::string_view piece) {
    pollfd console{STDERR_FILENO, POLLOUT, 0};
    if (poll(&console, 1, 0) != 1 || console.revents != POLLOUT) return false;
    return write(STDERR_FILENO, piece.data(), piece.size()) == static_cast<ssize_t>(piece.size());
}

/// As many whole lines as a pipe with room takes at once, or a part of a longer line.
size_t PieceLength(std::string_view text) {
    if (text.size() <= PIPE_BUF) return text.size();
    const size_t last = text.rfind('\n', PIPE_BUF - 1);
    return last == std::string_view::npos ? PIPE_BUF : last + 1;
}

bool TellLost() {
    const size_t lost = g_lost;
    if (lost == 0) return true;
    char text[64] = {};
    const int length = std::snprintf(text, sizeof(text), "%zu console lines were lost\n", lost);
    if (!WriteNow({text, static_cast<size_t>(length)})) return false;
    g_lost -= lost;
    return true;
}

}  // namespace

void PrintConsole(std::string_view text) {
    const int error = errno;
    const CTurn turn;
    bool bGoes = turn.IsMine() && TellLost();
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, PieceLength(text));
        bGoes = bGoes && WriteNow(piece);
        if (!bGoes) g_lost += static_cast<size_t>(std::count(piece.begin(), piece.end(), '\n'));
        text.remove_prefix(piece.size());
    }
    errno = error;
}

void PrintConsoleF(const char* pFormat, ...) {
    char text[512] = {};
    va_list arguments;
    va_start(arguments, pFormat);
    const int length = std::vsnprintf(text, sizeof(text), pFormat, arguments);
    va_end(arguments);
    PrintConsole({text, static_cast<size_t>(std::clamp<int>(length, 0, sizeof(text) - 1))});
}
