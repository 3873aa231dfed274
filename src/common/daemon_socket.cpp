#include "common/daemon_socket.h"

#include <errno.h>
#include <string.h>
#include <sys/time.h>
#include <sys/un.h>

static int Set_Limit(int iSocket, int iOption, int32_t iMilliseconds)
{
    struct timeval tLimit = {};
    tLimit.tv_sec = iMilliseconds / 1000;
    tLimit.tv_usec = static_cast<suseconds_t>(iMilliseconds % 1000) * 1000;
    return setsockopt(iSocket, SOL_SOCKET, iOption, &tLimit, sizeof tLimit);
}

int Socket_TryLimit(int iSocket) { return Set_Limit(iSocket, SO_RCVTIMEO, g_atWaitLimit[WAIT_DAEMON].iThenEach); }

/// Makes a call that the socket option iOption limits, again as often as a signal interrupts it.
template <typename TCall> static ssize_t Call_InTime(int iSocket, int iOption, WaitKind eKind, TCall tCall)
{
    const Wait tWait = Begin_Wait(eKind);
    Set_Limit(iSocket, iOption, tWait.iLimit);
    ssize_t lResult = tCall();
    while (lResult < 0 && errno == EINTR) {
        Set_Limit(iSocket, iOption, Left_OfWait(tWait));
        lResult = tCall();
    }
    const int iError = errno;
    End_Wait(tWait);
    errno = iError;
    return lResult;
}

int Socket_Connect(int iSocket, const struct sockaddr *ptAddress, socklen_t uLength, WaitKind eKind)
{
    // An interrupted connect that is called again waits on for the same connection.
    return static_cast<int>(
        Call_InTime(iSocket, SO_SNDTIMEO, eKind, [=] { return connect(iSocket, ptAddress, uLength); }));
}

ssize_t Socket_Receive(int iSocket, void *pBuffer, size_t uSize, WaitKind eKind)
{
    return Call_InTime(iSocket, SO_RCVTIMEO, eKind, [=] { return recv(iSocket, pBuffer, uSize, 0); });
}

int UnixSocket_Connect(int iSocket, const char *pszPath, WaitKind eKind)
{
    struct sockaddr_un tAddress = {};
    tAddress.sun_family = AF_UNIX;
    const size_t uLength = strnlen(pszPath, sizeof tAddress.sun_path);
    memcpy(tAddress.sun_path, pszPath, uLength);
    return Socket_Connect(iSocket, reinterpret_cast<const struct sockaddr *>(&tAddress),
                          static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + uLength), eKind);
}
