/// Waits that a signal interrupts go on with what is left of them: a stopped and continued process must not take a
/// service for one that failed.
#pragma once

#include <stdint.h>

/// When a wait that begins now has run out, in milliseconds of the monotonic clock (POSIX).
int64_t Deadline_After(int64_t lMilliseconds);

/// Milliseconds until then; at least 1, since 0 means "for ever" to a socket, and so that what has come meanwhile is
/// still taken.
int64_t Deadline_Left(int64_t lDeadline);
