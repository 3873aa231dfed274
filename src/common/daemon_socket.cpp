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

/// What is called on a socket: connect with an address, recv without one.
struct SocketCall {
    const struct sockaddr *ptAddress;
    void *pBuffer;
    size_t uSize;
};

static ssize_t Make_Call(int iSocket, const SocketCall &tCall)
{
    // An interrupted connect that is called again waits on for the same connection.
    return tCall.ptAddress != nullptr ? connect(iSocket, tCall.ptAddress, static_cast<socklen_t>(tCall.uSize))
                                      : recv(iSocket, tCall.pBuffer, tCall.uSize, 0);
}

/// Makes a call within a wait, again as often as a signal interrupts it.
static ssize_t Call_InTime(int iSocket, WaitKind eKind, const SocketCall &tCall)
{
    const int iOption = tCall.ptAddress != nullptr ? SO_SNDTIMEO : SO_RCVTIMEO;
    const Wait tWait = Begin_Wait(eKind);
    Set_Limit(iSocket, iOption, tWait.iLimit);
    ssize_t lResult = Make_Call(iSocket, tCall);
    while (lResult < 0 && errno == EINTR) {
        Set_Limit(iSocket, iOption, Left_OfWait(tWait));
        lResult = Make_Call(iSocket, tCall);
    }
    const int iError = errno;
    End_Wait(tWait);
    errno = iError;
    return lResult;
}

int Socket_Connect(int iSocket, const struct sockaddr *ptAddress, socklen_t uLength, WaitKind eKind)
{
    return static_cast<int>(Call_InTime(iSocket, eKind, {ptAddress, nullptr, uLength}));
}

ssize_t Socket_Receive(int iSocket, void *pBuffer, size_t uSize, WaitKind eKind)
{
    return Call_InTime(iSocket, eKind, {nullptr, pBuffer, uSize});
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
