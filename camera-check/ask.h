/// Questions to the camera's services, as the checks and a recording ask them.
#pragma once

#include "conflib/snapshot.h"

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

constexpr int32_t ASK_MILLISECONDS = 2000;

/// Waits no longer than that from now on, each time, where the program itself would wait longer for a lock, the PTZ
/// daemon or the analytics service.
void Limit_Waits();

/// The value that the configuration daemon gives for a key. 0 or -1, as Configer_Control; an empty text counts as 0.
int Ask_Configer(const char *pszKey, char *pszReply, size_t uSize);

/// The first answer of the PTZ daemon to the question for its version, and of the analytics service to a GET. The
/// number of bytes, at most uSize - 1, which are terminated; -1 with errno set.
ssize_t Ask_Ptz(char *pszReply, size_t uSize);
ssize_t Ask_Analytics(const char *pszPath, char *pszReply, size_t uSize);

/// Why a service has not answered, from errno.
const char *Get_Reason(int iError);
