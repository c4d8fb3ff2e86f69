#pragma once

#include <functional>
#include <string>

#include "ExitCodes.h"
#include "HLX.h"
#include "Interrupt.h"
#include "Options.h"

// The library in use and one login to a device; the destructor logs out and cleans the library up.
class CSession {
public:
    explicit CSession(CInterrupt& interrupt) : m_interrupt(interrupt) {}
    ~CSession();
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

    // Finds the password and logs in, which may take the connect wait and the device's reply waits. EXIT_OK, or the
    // code to end with after the failure was told. A signal that comes meanwhile ends the process at once. A channel that
    // the device cannot have is a failure, too; -1 is none.
    EXIT_CODE Open(const CONNECT_OPTIONS& options, int64_t lChannel = -1);

    LONG UserID() const { return m_lUserID; }
    const HLX_DEVICEINFO& Info() const { return m_info; }

private:
    EXIT_CODE Login(const CONNECT_OPTIONS& options, std::string& strPassword);
    EXIT_CODE CheckChannel(const CONNECT_OPTIONS& options, int64_t lChannel) const;

    CInterrupt& m_interrupt;
    LONG m_lUserID = -1;
    HLX_DEVICEINFO m_info{};
};

// Logs in as CSession::Open, does the work and logs out. A signal that came meanwhile decides the exit code.
EXIT_CODE RunInSession(const CONNECT_OPTIONS& options, CInterrupt& interrupt, int64_t lChannel,
                       const std::function<EXIT_CODE(const CSession&)>& fnWork);

// Asks for a live stream; lStreamType is an HLX_STREAM_TYPE value. 0 or -1 after a failure, with the library's last error.
POINTERHANDLE StartLive(const CSession& session, int64_t lChannel, int64_t lStreamType, LIVE_DATA_CALLBACK fnOnFrame,
                        void* pUser);

// Tells the library's last error as the failure of strWhat; the exit code that belongs to it.
EXIT_CODE FailLast(bool bJson, const std::string& strWhat);
