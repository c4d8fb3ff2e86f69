#include "Session.h"

#include "Output.h"
#include "Password.h"

CSession::~CSession() {
    if (m_lUserID > 0) HLX_Logout(m_lUserID);
    HLX_Cleanup();
}

EXIT_CODE CSession::Open(const CONNECT_OPTIONS& options) {
    std::string strPassword;
    if (const EXIT_CODE eExit = ReadPassword(options, m_interrupt, strPassword); eExit != EXIT_OK) return eExit;
    if (!HLX_Init()) return FailLast(options.bJson, "cannot start the library");
    HLX_SetConnectTime(static_cast<DWORD>(options.connectWait.count()), 1);
    m_lUserID = HLX_Login(options.endpoint.strHost.c_str(), options.endpoint.wPort, options.strUser.c_str(),
                          strPassword.c_str(), &m_info);
    const DWORD dwError = HLX_GetLastError();
    ForgetPassword(strPassword);
    m_interrupt.QuitAtOnce(false);
    if (m_lUserID > 0) return EXIT_OK;
    return Fail(options.bJson, "cannot log in to " + EndpointText(options.endpoint), ErrorRow(dwError));
}

EXIT_CODE FailLast(bool bJson, const std::string& strWhat) {
    return Fail(bJson, strWhat, ErrorRow(HLX_GetLastError()));
}
