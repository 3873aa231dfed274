/// Waits that a signal interrupts go on with what is left of them: a stopped and continued process must not take a
/// service for one that failed.
#pragma once

#include <stdint.h>

/// When a wait of less than three weeks that begins now has run out, in milliseconds of the monotonic clock (POSIX),
/// modulo 2^32.
uint32_t Deadline_After(int32_t iMilliseconds);

/// Milliseconds until then; at least 1, since 0 means "for ever" to a socket, and so that what has come meanwhile is
/// still taken.
int32_t Deadline_Left(uint32_t dwDeadline);
