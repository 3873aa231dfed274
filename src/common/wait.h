/// How long a request waits for what may hang: a service that is silent, a lock that somebody keeps. Nothing is waited
/// for without a limit, and a request that meets it a hundred times must not wait a hundred times as long.
#pragma once

#include <stdint.h>

/// What is waited for. The waits of one kind in a request have a time together; when that is used up, each has a short
/// one. In milliseconds. The table stands for the rest of the request: what has been waited is taken off.
enum WaitKind { WAIT_LOCKS, WAIT_CONNECT, WAIT_DAEMON, WAIT_PTZ, WAIT_ANALYTICS, WAIT_KIND_COUNT };
struct WaitLimit {
    int32_t iTogether;
    int32_t iThenEach;
};
extern WaitLimit g_atWaitLimit[WAIT_KIND_COUNT];

/// One wait. A signal does not shorten it: what is interrupted goes on with what is left.
struct Wait {
    WaitKind eKind;
    int32_t iLimit;   ///< milliseconds
    uint32_t dwBegun; ///< on the monotonic clock (POSIX), in milliseconds modulo 2^32
};
Wait Begin_Wait(WaitKind eKind);
/// Takes the time since then off the limit, and returns it in milliseconds.
int32_t End_Wait(const Wait &tWait);

/// Milliseconds that are left of a wait; at least 1, since 0 means "for ever" to a socket, and so that what has come
/// meanwhile is still taken.
int32_t Left_OfWait(const Wait &tWait);
