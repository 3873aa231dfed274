#include "conflib/configer.h"

#include "common/daemon_socket.h"
#include "common/string_util.h"
#include "conflib/escape_decode.h"
#include "conflib/semaphore.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

static constexpr size_t REQUEST_SIZE = 8192;
static constexpr size_t ECHO_SIZE = 1024;

/// Returns 0, or -1 for a request that the daemon would not understand. A text longer than the buffer is cut.
static int Format_Request(const ConfigerRequest *ptRequest, char *pszText, size_t uSize)
{
    if (ptRequest->szForm[0] == '\0' || ptRequest->pszPayload == nullptr)
        return -1;
    switch (ptRequest->iCommand) {
    case CONFIGER_GET: // A get carries the first and the third number, never the second.
        Format_Text(pszText, uSize, "get %s %d %d\n%s", ptRequest->szForm, ptRequest->iArg1, ptRequest->iArg3,
                    ptRequest->pszPayload);
        return 0;
    case CONFIGER_SET:
        Format_Text(pszText, uSize, "set %s %d %d %d\n%s", ptRequest->szForm, ptRequest->iArg1, ptRequest->iArg2,
                    ptRequest->iArg3, ptRequest->pszPayload);
        return 0;
    case CONFIGER_APPLY:
        if (ptRequest->szApplyArg[0] == '\0')
            return -1;
        Format_Text(pszText, uSize, "apply %s %d %d %s\n%s", ptRequest->szForm, ptRequest->iArg1, ptRequest->iArg2,
                    ptRequest->szApplyArg, ptRequest->pszPayload);
        return 0;
    default:
        return -1;
    }
}

static int Report_ReadFailure()
{
    const int iError = errno;
    printf(iError == EAGAIN ? "Read timeout (%d). %s\n" : "Read failed (%d). %s\n", iError, strerror(iError));
    return -1;
}

static int Read_Reply(int iSocket, char *pcReply, size_t uReplySize)
{
    const ssize_t lCount = Socket_Receive(iSocket, pcReply, uReplySize, WAIT_DAEMON);
    if (lCount < 0)
        return Report_ReadFailure();
    return static_cast<size_t>(lCount) == uReplySize ? -1 : 0;
}

static int Echo_Reply(int iSocket)
{
    char szChunk[ECHO_SIZE];
    for (;;) {
        const ssize_t lCount = Socket_Receive(iSocket, szChunk, sizeof szChunk - 1, WAIT_DAEMON);
        if (lCount < 0)
            return Report_ReadFailure();
        if (lCount == 0)
            return 0;
        szChunk[lCount] = '\0';
        printf("%s", szChunk);
    }
}

static int Exchange(int iSocket, const char *pszText, char *pcReply, size_t uReplySize)
{
    if (UnixSocket_Connect(iSocket, CONFIGER_SOCKET, WAIT_CONNECT) != 0) {
        printf("connect failed!");
        return -1;
    }
    const size_t uLength = strlen(pszText);
    const ssize_t lWritten = write(iSocket, pszText, uLength);
    if (lWritten != static_cast<ssize_t>(uLength))
        printf("write socket %d byte, but return %d\n", static_cast<int>(uLength), static_cast<int>(lWritten));

    if (Socket_TryLimit(iSocket) != 0) {
        printf("Socket option SO_RCVTIMEO not support\n");
        return -1;
    }
    return pcReply != nullptr ? Read_Reply(iSocket, pcReply, uReplySize) : Echo_Reply(iSocket);
}

int Configer_Control(const ConfigerRequest *ptRequest, char *pcReply, size_t uReplySize)
{
    char szText[REQUEST_SIZE];
    if (Format_Request(ptRequest, szText, sizeof szText - 1) != 0)
        return -1;
    Give_KeptSemaphore();
    const int iSocket = socket(AF_UNIX, SOCK_STREAM, 0);
    if (iSocket < 0) {
        printf("cannot create socket (%d).%s\n", errno, strerror(errno));
        return -1;
    }
    const int iResult = Exchange(iSocket, szText, pcReply, uReplySize);
    close(iSocket);
    return iResult;
}

int Compose_Set(const char *pszKey, const char *pszValue, char (&szPayload)[CONFIGER_SET_SIZE])
{
    Format_Text(szPayload, sizeof szPayload, "%s=%s", pszKey, pszValue);
    const int iLength = static_cast<int>(strlen(szPayload));
    int iDecodedLength = 0;
    EscapeDecodeString(szPayload, iLength, szPayload, &iDecodedLength, 1);
    if (iDecodedLength <= 0 || iDecodedLength > iLength)
        return -1;
    szPayload[iDecodedLength] = '\0';
    // The daemon takes one key per line: behind a line end the value could name any other key.
    return strpbrk(szPayload, "\r\n") == nullptr ? 0 : -1;
}

int Set_Configer(const char *pszKey, const char *pszValue)
{
    char szPayload[CONFIGER_SET_SIZE];
    if (Compose_Set(pszKey, pszValue, szPayload) != 0)
        return -1;
    ConfigerRequest tRequest = {};
    tRequest.iCommand = CONFIGER_SET;
    strcpy(tRequest.szForm, "NameValue");
    tRequest.iArg1 = CONFIGER_ARG1;
    tRequest.pszPayload = szPayload;
    char acReply[CONFIGER_SET_SIZE] = "";
    return Configer_Control(&tRequest, acReply, sizeof acReply);
}
