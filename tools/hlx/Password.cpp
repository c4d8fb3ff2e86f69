#include "Password.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Output.h"

namespace {

// Switches the echo of the terminal on standard input off for its lifetime.
class CNoEcho {
public:
    CNoEcho() {
        if (tcgetattr(STDIN_FILENO, &m_before) != 0) return;
        termios silent = m_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        m_bChanged = tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
    }
    ~CNoEcho() {
        if (m_bChanged) tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
    }
    CNoEcho(const CNoEcho&) = delete;
    CNoEcho& operator=(const CNoEcho&) = delete;

private:
    termios m_before{};
    bool m_bChanged = false;
};

// Reads up to the first line's end, or as much as shows that it is too long. 0, or the errno of the read that failed.
int ReadLine(int nFd, std::string& strLine) {
    char c = 0;
    while (strLine.size() <= LONGEST_PASSWORD) {
        const ssize_t nRead = read(nFd, &c, 1);
        if (nRead < 0 && errno == EINTR) continue;
        if (nRead < 0) return errno;
        if (nRead == 0 || c == '\n') return 0;
        if (c == '\r') continue;
        strLine += c;
    }
    return 0;
}

EXIT_CODE ReadPasswordFile(const CONNECT_OPTIONS& options, std::string& strPassword) {
    const bool bStandardInput = options.strPasswordFile == "-";
    const int nFd = bStandardInput ? STDIN_FILENO : open(options.strPasswordFile.c_str(), O_RDONLY | O_CLOEXEC);
    const int nErrno = nFd < 0 ? errno : ReadLine(nFd, strPassword);
    if (nFd >= 0 && !bStandardInput) close(nFd);
    if (nErrno == 0) return EXIT_OK;
    return Fail(options.bJson,
                fmt::format("cannot read the password from {}: {}", options.strPasswordFile, strerror(nErrno)),
                EXIT_USAGE);
}

EXIT_CODE PromptPassword(const CONNECT_OPTIONS& options, CInterrupt& interrupt, std::string& strPassword) {
    interrupt.QuitAtOnce(false);  // the echo must come back first
    int nErrno = 0;
    {
        CNoEcho noEcho;  // before the prompt, which a quick typist or program answers at once
        PrintNote(fmt::format("Password of {} at {}: ", options.strUser, EndpointText(options.endpoint)));
        pollfd waits[] = {{STDIN_FILENO, POLLIN, 0}, {interrupt.Fd(), POLLIN, 0}};
        while (poll(waits, 2, -1) < 0 && errno == EINTR) {
        }
        if (interrupt.Signal() == 0) nErrno = ReadLine(STDIN_FILENO, strPassword);
    }
    interrupt.QuitAtOnce(true);
    if (interrupt.Signal() != 0) return SignalExitCode(interrupt.Signal());
    if (nErrno == 0) return EXIT_OK;
    return Fail(options.bJson, fmt::format("cannot read the password: {}", strerror(nErrno)), EXIT_USAGE);
}

EXIT_CODE FindPassword(const CONNECT_OPTIONS& options, CInterrupt& interrupt, std::string& strPassword) {
    if (!options.strPasswordFile.empty()) return ReadPasswordFile(options, strPassword);
    if (const char* sPassword = getenv("HLX_PASSWORD")) {
        strPassword = sPassword;
        return EXIT_OK;
    }
    if (isatty(STDIN_FILENO) && isatty(STDERR_FILENO)) return PromptPassword(options, interrupt, strPassword);
    return Fail(options.bJson, "no password: set HLX_PASSWORD, or give --password-file FILE (- for standard input)",
                EXIT_USAGE);
}

}  // namespace

EXIT_CODE ReadPassword(const CONNECT_OPTIONS& options, CInterrupt& interrupt, std::string& strPassword) {
    strPassword.reserve(LONGEST_PASSWORD + 1);  // no copy of it stays behind in memory that was let go
    const EXIT_CODE eExit = FindPassword(options, interrupt, strPassword);
    if (eExit != EXIT_OK || strPassword.size() <= LONGEST_PASSWORD) return eExit;
    ForgetPassword(strPassword);
    return Fail(options.bJson, fmt::format("the password is longer than {} bytes", LONGEST_PASSWORD), EXIT_USAGE);
}

void ForgetPassword(std::string& strPassword) {
    explicit_bzero(strPassword.data(), strPassword.size());
    strPassword.clear();
}
