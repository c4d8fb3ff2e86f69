#include "Process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

#include <csignal>
#include <cstdlib>

namespace {

constexpr int LONGEST_WAIT_MILLISECONDS = 20'000;

struct DESCRIPTORS {
    int nInput, nOutput, nErrors;
};

// In the child: takes its place on the descriptors and becomes the program.
[[noreturn]] void Become(const Args& args, const PROCESS_OPTIONS& options, DESCRIPTORS own) {
    dup2(own.nInput, STDIN_FILENO);
    dup2(own.nOutput, STDOUT_FILENO);
    dup2(own.nErrors, STDERR_FILENO);
    for (const std::string& strEntry : options.environment) {
        const size_t nEqual = strEntry.find('=');
        if (nEqual == std::string::npos) {
            unsetenv(strEntry.c_str());
        } else {
            setenv(strEntry.substr(0, nEqual).c_str(), strEntry.substr(nEqual + 1).c_str(), 1);
        }
    }
    std::vector<char*> pointers;
    pointers.reserve(args.size() + 1);
    for (const std::string& strArg : args) pointers.push_back(const_cast<char*>(strArg.c_str()));
    pointers.push_back(nullptr);
    execv(pointers[0], pointers.data());
    _exit(127);
}

// Appends what is there; closes the descriptor at its end.
void Take(int& nFd, std::string& strText) {
    char buffer[65536];
    const ssize_t nRead = read(nFd, buffer, sizeof buffer);
    if (nRead > 0) {
        strText.append(buffer, static_cast<size_t>(nRead));
    } else {
        close(nFd);  // also at EIO: the other side of a terminal is gone
        nFd = -1;
    }
}

}  // namespace

Args operator+(Args first, const Args& more) {
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

bool Holds(const std::string& strText, const std::string& strPart) {
    return strText.find(strPart) != std::string::npos;
}

int64_t NumberBehind(const std::string& strText, const std::string& strMark) {
    const size_t nMark = strText.find(strMark);
    return nMark == std::string::npos ? -1 : std::stoll(strText.substr(nMark + strMark.size()));
}

CProcess::CProcess(const Args& args, const PROCESS_OPTIONS& options) {
    int input[2], output[2], errors[2];
    if (options.bTerminal) {
        int nSlave = -1;
        if (openpty(&m_nOutput, &nSlave, nullptr, nullptr, nullptr) != 0) abort();
        fcntl(m_nOutput, F_SETFD, FD_CLOEXEC);
        m_nPid = fork();
        if (m_nPid == 0) {
            login_tty(nSlave);
            Become(args, options, {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO});
        }
        close(nSlave);
    } else {
        if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) abort();
        m_nPid = fork();
        if (m_nPid == 0) Become(args, options, {input[0], output[1], errors[1]});
        const auto& strInput = options.strInput;
        EXPECT_EQ(write(input[1], strInput.data(), strInput.size()), static_cast<ssize_t>(strInput.size()));
        for (int nFd : {input[0], input[1], output[1], errors[1]}) close(nFd);
        m_nOutput = output[0];
        m_nErrors = errors[0];
    }
    m_nPidFd = static_cast<int>(syscall(SYS_pidfd_open, m_nPid, 0));
}

CProcess::~CProcess() {
    if (!m_bEnded) {
        Kill(SIGKILL);
        Reap();
    }
    for (int nFd : {m_nPidFd, m_nOutput, m_nErrors}) {
        if (nFd >= 0) close(nFd);
    }
}

// Waits for output once and takes it. bOpen turns false when both ends are closed.
void CProcess::Pump(bool& bOpen) {
    pollfd waits[] = {{m_nOutput, POLLIN, 0}, {m_nErrors, POLLIN, 0}};
    if (poll(waits, 2, LONGEST_WAIT_MILLISECONDS) == 0) {
        ADD_FAILURE() << "the program hangs; it told: " << m_strErrors;
        Kill(SIGKILL);
    }
    if (waits[0].revents != 0) Take(m_nOutput, m_strOutput);
    if (waits[1].revents != 0) Take(m_nErrors, m_strErrors);
    bOpen = m_nOutput >= 0 || m_nErrors >= 0;
}

bool CProcess::PumpUntil(const std::string& strHeard, const std::string& strText) {
    bool bOpen = true;
    while (bOpen && !Holds(strHeard, strText)) Pump(bOpen);
    return Holds(strHeard, strText);
}

bool CProcess::ReadUntil(const std::string& strText) { return PumpUntil(m_strOutput, strText); }

void CProcess::CloseOutput() {
    close(m_nOutput);
    m_nOutput = -1;
}

void CProcess::Type(const std::string& strText) {
    EXPECT_EQ(write(m_nOutput, strText.data(), strText.size()), static_cast<ssize_t>(strText.size()));
}

void CProcess::Kill(int nSignal) const { kill(m_nPid, nSignal); }

int CProcess::Reap() {
    if (m_bEnded) return m_nExit;
    int nStatus = 0;
    waitpid(m_nPid, &nStatus, 0);
    m_bEnded = true;
    m_nExit = WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -WTERMSIG(nStatus);
    return m_nExit;
}

int CProcess::Wait() {
    bool bOpen = m_nOutput >= 0 || m_nErrors >= 0;
    while (bOpen) Pump(bOpen);
    if (!EndsWithin(std::chrono::milliseconds(LONGEST_WAIT_MILLISECONDS))) {
        ADD_FAILURE() << "the program does not end";
        Kill(SIGKILL);
    }
    return Reap();
}

bool CProcess::EndsWithin(std::chrono::milliseconds longest) {
    pollfd wait{m_nPidFd, POLLIN, 0};
    return m_bEnded || poll(&wait, 1, static_cast<int>(longest.count())) > 0;
}

PROCESS_RESULT RunProcess(const Args& args, const PROCESS_OPTIONS& options) {
    CProcess process(args, options);
    const int nExit = process.Wait();
    return {nExit, process.Output(), process.Errors()};
}

CServer::CServer(const Args& args, const PROCESS_OPTIONS& options) : CProcess(args, options) {
    EXPECT_TRUE(ReadUntil("\n")) << Errors();
    m_strAddress = "127.0.0.1:" + std::to_string(NumberBehind(Output(), "\"port\":"));
}
