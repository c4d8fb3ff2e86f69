#include "Session.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Output.h"
#include "Password.h"

namespace {

// The library keeps silent about a file that it cannot write, so a first look is taken here.
EXIT_CODE CheckWritable(bool bJson, const std::string& strFile, mode_t mode) {
    const int nFd = open(strFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_CLOEXEC, mode);
    if (nFd < 0) return Fail(bJson, fmt::format("cannot write {}: {}", strFile, strerror(errno)), EXIT_FAILED);
    close(nFd);
    return EXIT_OK;
}

EXIT_CODE StartLog(const CONNECT_OPTIONS& options) {
    if (options.strLogFile.empty()) return EXIT_OK;
    if (const EXIT_CODE eExit = CheckWritable(options.bJson, options.strLogFile, 0640); eExit != EXIT_OK) return eExit;
    SilenceLibrary();  // it writes its log to standard error too
    HLX_SetLogToFile(1, options.strLogFile.c_str(), 0, YLOG_DEBUG);
    return EXIT_OK;
}

// The library looks for the file's name at its start.
EXIT_CODE StartTrace(const CONNECT_OPTIONS& options) {
    if (options.strTraceFile.empty()) return EXIT_OK;
    setenv("HLX_TRACE", options.strTraceFile.c_str(), 1);
    return CheckWritable(options.bJson, options.strTraceFile, 0600);
}

}  // namespace

CSession::~CSession() {
    if (m_lUserID > 0) HLX_Logout(m_lUserID);
    HLX_Cleanup();
}

EXIT_CODE CSession::Open(const CONNECT_OPTIONS& options, int64_t lChannel) {
    std::string strPassword;
    if (const EXIT_CODE eExit = ReadPassword(options, m_interrupt, strPassword); eExit != EXIT_OK) return eExit;
    const EXIT_CODE eExit = Login(options, strPassword);
    return eExit == EXIT_OK ? CheckChannel(options, lChannel) : eExit;
}

EXIT_CODE CSession::Login(const CONNECT_OPTIONS& options, std::string& strPassword) {
    if (const EXIT_CODE eExit = StartTrace(options); eExit != EXIT_OK) return eExit;
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

EXIT_CODE CSession::CheckChannel(const CONNECT_OPTIONS& options, int64_t lChannel) const {
    const int nChannels = m_info.videoInputNum;
    if (nChannels <= 0 || lChannel < nChannels) return EXIT_OK;
    return Fail(options.bJson, fmt::format("channel {} of 0 to {}", lChannel, nChannels - 1),
                ErrorRow(HLX_CHANNEL_ERROR));
}

EXIT_CODE RunInSession(const CONNECT_OPTIONS& options, CInterrupt& interrupt, int64_t lChannel,
                       const std::function<EXIT_CODE(const CSession&)>& fnWork) {
    EXIT_CODE eExit = EXIT_OK;
    {
        CSession session(interrupt);
        eExit = session.Open(options, lChannel);
        if (eExit == EXIT_OK) eExit = fnWork(session);
    }
    return interrupt.Signal() != 0 ? SignalExitCode(interrupt.Signal()) : eExit;
}

POINTERHANDLE StartLive(const CSession& session, int64_t lChannel, int64_t lStreamType, LIVE_DATA_CALLBACK fnOnFrame,
                        void* pUser) {
    HLX_CLIENTINFO request{};
    request.lChannel = static_cast<LONG>(lChannel);
    request.streamType = static_cast<LONG>(lStreamType);
    request.bNoDecode = 1;
    return HLX_LivePlay(session.UserID(), &request, fnOnFrame, pUser);
}

EXIT_CODE FailLast(bool bJson, const std::string& strWhat) {
    return Fail(bJson, strWhat, ErrorRow(HLX_GetLastError()));
}
