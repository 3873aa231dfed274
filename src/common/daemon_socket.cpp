#include "common/daemon_socket.h"

#include <stddef.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

void Socket_LimitWait(int iSocket)
{
    struct timeval tPatience = {};
    tPatience.tv_sec = SOCKET_PATIENCE_SECONDS;
    setsockopt(iSocket, SOL_SOCKET, SO_SNDTIMEO, &tPatience, sizeof tPatience);
    setsockopt(iSocket, SOL_SOCKET, SO_RCVTIMEO, &tPatience, sizeof tPatience);
}

int UnixSocket_Connect(int iSocket, const char *pszPath)
{
    Socket_LimitWait(iSocket);
    struct sockaddr_un tAddress = {};
    tAddress.sun_family = AF_UNIX;
    const size_t uLength = strnlen(pszPath, sizeof tAddress.sun_path);
    memcpy(tAddress.sun_path, pszPath, uLength);
    return connect(iSocket, reinterpret_cast<const struct sockaddr *>(&tAddress),
                   static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + uLength));
}
