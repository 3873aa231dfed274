/// Talking to the camera's services without waiting for ever: every wait is one of a kind that common/wait.h limits.
#pragma once

#include "common/wait.h"

#include <stddef.h>
#include <sys/socket.h>
#include <sys/types.h>

/// connect and recv (POSIX) within a wait. One that takes longer fails with EAGAIN (a TCP connect with EINPROGRESS or
/// EALREADY). What is sent behind a connect may take as long as that might have.
int Socket_Connect(int iSocket, const struct sockaddr *ptAddress, socklen_t uLength, WaitKind eKind);
ssize_t Socket_Receive(int iSocket, void *pBuffer, size_t uSize, WaitKind eKind);

/// Socket_Connect of a Unix-domain stream socket, to a path of at most 108 characters. The address is as long as the
/// family field and the path, without the terminator.
int UnixSocket_Connect(int iSocket, const char *pszPath, WaitKind eKind);

/// Whether the waits of a socket can be limited at all: 0, or -1 with errno set.
int Socket_TryLimit(int iSocket);
