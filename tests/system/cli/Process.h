#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

using Args = std::vector<std::string>;

/// The words of both.
Args operator+(Args first, const Args& more);

struct PROCESS_OPTIONS {
    std::vector<std::string> environment;  // NAME=VALUE, added to ours; NAME alone is removed
    std::string strInput;                  // what stands on its standard input
    bool bTerminal = false;                // its three descriptors are a terminal of its own; Output() is what it shows
};

inline const PROCESS_OPTIONS WITH_PASSWORD{{"HLX_PASSWORD=secret"}, {}, false};

bool Holds(const std::string& strText, const std::string& strPart);

// The number behind a mark, -1 if the mark is not there.
int64_t NumberBehind(const std::string& strText, const std::string& strMark);

// A program that runs beside the test. Whatever happens, it is gone when this is. A wait that lasts longer than 20 s
// fails, so that a fault in a program cannot hang the tests.
class CProcess {
public:
    explicit CProcess(const Args& args, const PROCESS_OPTIONS& options = {});
    ~CProcess();
    CProcess(const CProcess&) = delete;
    CProcess& operator=(const CProcess&) = delete;

    // Takes output until it holds the text; false when the program ended before.
    bool ReadUntil(const std::string& strText);

    void CloseOutput();
    void Type(const std::string& strText);  // on its terminal
    void Kill(int nSignal) const;

    // Takes all output and waits for the end: the exit code, or minus the signal that ended it.
    int Wait();

    // Waits without reading the output; false when it still runs after that time.
    bool EndsWithin(std::chrono::milliseconds longest);

    const std::string& Output() const { return m_strOutput; }
    const std::string& Errors() const { return m_strErrors; }

private:
    void Pump(bool& bOpen);
    bool PumpUntil(const std::string& strHeard, const std::string& strText);
    int Reap();

    pid_t m_nPid = -1;
    int m_nPidFd = -1, m_nOutput = -1, m_nErrors = -1, m_nExit = 0;
    bool m_bEnded = false;
    std::string m_strOutput, m_strErrors;
};

// One that tells its port in its first line, in JSON.
class CServer : public CProcess {
public:
    explicit CServer(const Args& args, const PROCESS_OPTIONS& options = WITH_PASSWORD);
    const std::string& Address() const { return m_strAddress; }

private:
    std::string m_strAddress;
};

struct PROCESS_RESULT {
    int nExit;
    std::string strOutput, strErrors;
};
PROCESS_RESULT RunProcess(const Args& args, const PROCESS_OPTIONS& options = {});
