#pragma once

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
    // code to end with after the failure was told. A signal that comes meanwhile ends the process at once.
    EXIT_CODE Open(const CONNECT_OPTIONS& options);

    LONG UserID() const { return m_lUserID; }
    const HLX_DEVICEINFO& Info() const { return m_info; }

private:
    CInterrupt& m_interrupt;
    LONG m_lUserID = -1;
    HLX_DEVICEINFO m_info{};
};

// EXIT_OK for a channel that the device may have; else HLX_CHANNEL_ERROR is told.
EXIT_CODE CheckChannel(const CSession& session, const CONNECT_OPTIONS& options, int64_t lChannel);

// Tells the library's last error as the failure of strWhat; the exit code that belongs to it.
EXIT_CODE FailLast(bool bJson, const std::string& strWhat);
