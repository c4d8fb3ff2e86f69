#include "Session.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Output.h"
#include "Password.h"

namespace {

// The library keeps silent about a log that it cannot write, so a first look is taken here.
EXIT_CODE StartLog(const CONNECT_OPTIONS& options) {
    if (options.strLogFile.empty()) return EXIT_OK;
    const int nFd = open(options.strLogFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_CLOEXEC, 0640);
    if (nFd < 0) {
        return Fail(options.bJson, fmt::format("cannot write {}: {}", options.strLogFile, strerror(errno)),
                    EXIT_FAILED);
    }
    close(nFd);
    SilenceLibrary();  // it writes its log to standard error too
    HLX_SetLogToFile(1, options.strLogFile.c_str(), 0, YLOG_DEBUG);
    return EXIT_OK;
}

}  // namespace

CSession::~CSession() {
    if (m_lUserID > 0) HLX_Logout(m_lUserID);
    HLX_Cleanup();
}

EXIT_CODE CSession::Open(const CONNECT_OPTIONS& options) {
    std::string strPassword;
    if (const EXIT_CODE eExit = ReadPassword(options, m_interrupt, strPassword); eExit != EXIT_OK) return eExit;
    if (!HLX_Init()) return FailLast(options.bJson, "cannot start the library");
    if (const EXIT_CODE eExit = StartLog(options); eExit != EXIT_OK) return eExit;
    HLX_SetConnectTime(static_cast<DWORD>(options.connectWait.count()), 1);
    m_lUserID = HLX_Login(options.endpoint.strHost.c_str(), options.endpoint.wPort, options.strUser.c_str(),
                          strPassword.c_str(), &m_info);
    const DWORD dwError = HLX_GetLastError();
    ForgetPassword(strPassword);
    m_interrupt.QuitAtOnce(false);
    if (m_lUserID > 0) return EXIT_OK;
    return Fail(options.bJson, "cannot log in to " + EndpointText(options.endpoint), ErrorRow(dwError));
}

EXIT_CODE CheckChannel(const CSession& session, const CONNECT_OPTIONS& options, int64_t lChannel) {
    const int nChannels = session.Info().videoInputNum;
    if (nChannels <= 0 || lChannel < nChannels) return EXIT_OK;
    return Fail(options.bJson, fmt::format("channel {} of 0 to {}", lChannel, nChannels - 1),
                ErrorRow(HLX_CHANNEL_ERROR));
}

EXIT_CODE FailLast(bool bJson, const std::string& strWhat) {
    return Fail(bJson, strWhat, ErrorRow(HLX_GetLastError()));
}
