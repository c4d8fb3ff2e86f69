// Thin layer over the system's sockets. Every socket made here is non-blocking from the start.
#pragma once

#include <sys/socket.h>

#include "protocol/WireTypes.h"

/// A socket's value; SWL_INVALID_SOCKET means none.
using SWL_socket_t = tint64;
constexpr SWL_socket_t SWL_INVALID_SOCKET = -1;

/// The first call ignores SIGPIPE for the whole process; further calls are counted. Always 0. Any thread.
int SWL_Init();
/// Counts one SWL_Init down, never below 0. Always 0. Any thread.
int SWL_Quit();

/// A non-blocking, close-on-exec socket with SO_REUSEADDR; -1 with errno on failure. The caller owns it.
SWL_socket_t SWL_CreateSocket(int iDomain, int iType, int iProtocol);
int SWL_CloseSocket(SWL_socket_t sock);

/// Results of the next five as of the system call of the name: -1 with errno on failure.
int SWL_Shutdown(SWL_socket_t sock, int iHow);
int SWL_Bind(SWL_socket_t sock, const sockaddr* pAddr, socklen_t len);
int SWL_Listen(SWL_socket_t sock, int iBacklog);
/// The accepted socket belongs to the caller; it is close-on-exec and non-blocking.
SWL_socket_t SWL_Accept(SWL_socket_t sock, sockaddr* pAddr, socklen_t* pLen);
int SWL_SetOption(SWL_socket_t sock, int iLevel, int iName, int iValue);

/// Connects, waiting at most `iTimeOut` milliseconds of the clock in force (0: not at all). 0 when connected, else -1.
/// May be called again on the same socket to go on waiting.
int SWL_Connect(SWL_socket_t sock, const sockaddr* pServAddr, socklen_t len, int iTimeOut);

/// Sends or receives what goes at once, without SIGPIPE. Count of bytes, 0 for a receive from a peer that closed, -1
/// with errno. `iFlags` is not used.
int SWL_Send(SWL_socket_t sock, const void* pBuf, int iLen, int iFlags = 0);
int SWL_Recv(SWL_socket_t sock, void* pBuf, int iLen, int iFlags = 0);

/// True if the last SWL_ call of this thread failed only because it would have had to wait.
bool SDK_SWL_EWOULDBLOCK();

/// Prints "file line" and the text of errno to standard error.
void SWL_PrintError(const char* pFile, int iLine);
