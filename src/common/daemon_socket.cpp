#include "common/daemon_socket.h"

#include <stddef.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

static struct timeval g_tPatience = {SOCKET_PATIENCE_SECONDS, 0};

void Socket_LimitWait(int iSocket)
{
    setsockopt(iSocket, SOL_SOCKET, SO_SNDTIMEO, &g_tPatience, sizeof g_tPatience);
    setsockopt(iSocket, SOL_SOCKET, SO_RCVTIMEO, &g_tPatience, sizeof g_tPatience);
}

void Socket_LosePatience() { g_tPatience.tv_sec = 1; }

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
