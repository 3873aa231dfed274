/// Connecting to the camera's daemons without waiting for ever.
#pragma once

/// Bounds every later connect, send and receive on a socket to SOCKET_PATIENCE_SECONDS; one that takes longer fails
/// with EAGAIN or EINPROGRESS. A service that hangs must not keep the web server's process for good.
void Socket_LimitWait(int iSocket);
constexpr int SOCKET_PATIENCE_SECONDS = 30;

/// Shortens the waits of later sockets to a second, once one has run out: a request that asks a hanging service for a
/// hundred values must not wait a hundred times.
void Socket_LosePatience();

/// Connects a Unix-domain stream socket, with its waits limited, to a path of at most 108 characters. The address is as
/// long as the family field and the path, without the terminator. Returns what connect returns (POSIX): 0, or -1 with
/// errno set.
int UnixSocket_Connect(int iSocket, const char *pszPath);
