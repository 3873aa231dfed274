/// Talking to the camera's services without waiting for ever: a service that hangs must not keep the web server's
/// process for good, and a request that asks it for a hundred values must not wait a hundred times.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/socket.h>
#include <sys/types.h>

/// How long one service is waited for at a time; each has a patience of its own. The first wait that runs out, of a
/// connect or of a receive, leaves it SOCKET_IMPATIENCE.
struct SocketPatience {
    int32_t iMilliseconds;
};
constexpr SocketPatience SOCKET_PATIENCE = {30000};
constexpr SocketPatience SOCKET_IMPATIENCE = {1000};

/// Limits every connect, send and receive on a socket; one that takes longer fails with EAGAIN (a TCP connect with
/// EINPROGRESS or EALREADY). 0, or -1 with errno set when the socket does not take the limit.
int Socket_LimitWait(int iSocket, SocketPatience tPatience);

/// connect and recv (POSIX) on a socket whose waits have just been limited to *ptPatience. A signal does not shorten
/// the wait.
int Socket_Connect(int iSocket, const struct sockaddr *ptAddress, socklen_t uLength, SocketPatience *ptPatience);
ssize_t Socket_Receive(int iSocket, void *pBuffer, size_t uSize, SocketPatience *ptPatience);

/// Socket_Connect of a Unix-domain stream socket, its waits limited, to a path of at most 108 characters. The address
/// is as long as the family field and the path, without the terminator.
int UnixSocket_Connect(int iSocket, const char *pszPath, SocketPatience *ptPatience);
