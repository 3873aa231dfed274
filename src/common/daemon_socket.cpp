#include "common/daemon_socket.h"

#include "common/deadline.h"

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

int Socket_LimitWait(int iSocket, SocketPatience tPatience)
{
    return Set_Limit(iSocket, SO_SNDTIMEO, tPatience.iMilliseconds) == 0 &&
                   Set_Limit(iSocket, SO_RCVTIMEO, tPatience.iMilliseconds) == 0
               ? 0
               : -1;
}

/// Makes a call that the socket option iOption limits, again as often as a signal interrupts it.
template <typename TCall> static ssize_t Call_InTime(int iSocket, int iOption, SocketPatience *ptPatience, TCall tCall)
{
    const int32_t iLimit = ptPatience->iMilliseconds;
    const uint32_t dwDeadline = Deadline_After(iLimit);
    ssize_t lResult = tCall();
    int iError = errno;
    while (lResult < 0 && iError == EINTR) {
        Set_Limit(iSocket, iOption, Deadline_Left(dwDeadline));
        lResult = tCall();
        iError = errno;
        Set_Limit(iSocket, iOption, iLimit);
    }
    if (lResult < 0 && (iError == EAGAIN || iError == EINPROGRESS || iError == EALREADY))
        *ptPatience = SOCKET_IMPATIENCE;
    errno = iError;
    return lResult;
}

int Socket_Connect(int iSocket, const struct sockaddr *ptAddress, socklen_t uLength, SocketPatience *ptPatience)
{
    // An interrupted connect that is called again waits on for the same connection.
    return static_cast<int>(
        Call_InTime(iSocket, SO_SNDTIMEO, ptPatience, [=] { return connect(iSocket, ptAddress, uLength); }));
}

ssize_t Socket_Receive(int iSocket, void *pBuffer, size_t uSize, SocketPatience *ptPatience)
{
    return Call_InTime(iSocket, SO_RCVTIMEO, ptPatience, [=] { return recv(iSocket, pBuffer, uSize, 0); });
}

int UnixSocket_Connect(int iSocket, const char *pszPath, SocketPatience *ptPatience)
{
    struct sockaddr_un tAddress = {};
    tAddress.sun_family = AF_UNIX;
    const size_t uLength = strnlen(pszPath, sizeof tAddress.sun_path);
    memcpy(tAddress.sun_path, pszPath, uLength);
    Socket_LimitWait(iSocket, *ptPatience);
    return Socket_Connect(iSocket, reinterpret_cast<const struct sockaddr *>(&tAddress),
                          static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + uLength), ptPatience);
}
