#include "ask.h"

#include "common/daemon_socket.h"
#include "conflib/configer.h"
#include "mapping/ptz_io.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

void Limit_Waits()
{
    static constexpr WaitKind KINDS[] = {WAIT_LOCKS, WAIT_PTZ, WAIT_ANALYTICS};
    for (const WaitKind eKind : KINDS)
        g_atWaitLimit[eKind] = {ASK_MILLISECONDS, ASK_MILLISECONDS};
}

int Ask_Configer(const char *pszKey, char *pszReply, size_t uSize)
{
    ConfigerRequest tRequest = {};
    tRequest.iCommand = CONFIGER_GET;
    snprintf(tRequest.szForm, sizeof tRequest.szForm, "Value");
    tRequest.iArg1 = CONFIGER_ARG1;
    tRequest.pszPayload = pszKey;
    memset(pszReply, 0, uSize);
    errno = 0;
    return Configer_Control(&tRequest, pszReply, uSize);
}

/// Sends a text on a connected socket, receives what comes first and closes the socket.
static ssize_t Exchange(int iSocket, const char *pszRequest, char *pszReply, size_t uSize, WaitKind eKind)
{
    ssize_t lResult = write(iSocket, pszRequest, strlen(pszRequest));
    if (lResult >= 0)
        lResult = Socket_Receive(iSocket, pszReply, uSize - 1, eKind);
    const int iError = errno;
    pszReply[lResult > 0 ? lResult : 0] = '\0';
    close(iSocket);
    errno = iError;
    return lResult;
}

ssize_t Ask_Ptz(char *pszReply, size_t uSize)
{
    pszReply[0] = '\0';
    const int iSocket = socket(AF_UNIX, SOCK_STREAM, 0);
    if (UnixSocket_Connect(iSocket, PTZ_SOCKET, WAIT_PTZ) == 0)
        return Exchange(iSocket, "camctrl.cgi?getversion", pszReply, uSize, WAIT_PTZ);
    const int iError = errno;
    close(iSocket);
    errno = iError;
    return -1;
}

ssize_t Ask_Analytics(const char *pszPath, char *pszReply, size_t uSize)
{
    ParamContext tContext = {};
    pszReply[0] = '\0';
    errno = 0;
    if (Quorvex_TCPSocketClient(&tContext) != 0)
        return -1;
    char szRequest[128];
    snprintf(szRequest, sizeof szRequest, "GET %s HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: keep-alive\r\n\r\n",
             pszPath);
    return Exchange(tContext.iAnalyticsSocket, szRequest, pszReply, uSize, WAIT_ANALYTICS);
}

const char *Get_Reason(int iError) { return iError == EAGAIN ? "it is silent" : strerror(iError); }
