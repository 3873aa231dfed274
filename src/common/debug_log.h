/// Level-masked debug log for the camera's programs: to a file or standard output, and to a remote-console hook.
#pragma once

#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>

/// Bits of a message level that choose a sink; the other bits only select by the mask.
constexpr uint32_t DBG_LEVEL_TELNET = 0x80000000u; ///< to g_pfnTelnetDbgPrint
constexpr uint32_t DBG_LEVEL_FILE = 0x10000000u;   ///< to _db_fptr

using TelnetDbgPrint = int(const char *pszFormat, va_list tArguments);

extern uint32_t g_dwDbgLevel;               ///< which message classes are logged; 0 at start
extern TelnetDbgPrint *g_pfnTelnetDbgPrint; ///< remote-console hook; NullTelnetDbgPrint until a program replaces it
extern FILE *_db_fptr;                      ///< log stream; NULL until DbgLogInit

/// Sets the mask and opens the log file (pszPath may be NULL: standard output). Only the first call has an effect.
void DbgLogInit(uint32_t dwLevel, const char *pszPath);

/// Sets the mask, says so on standard output and returns what printf returned.
int DbgLog_SetLevel(uint32_t dwLevel);

/// Writes one message to the sinks that its level names, when the level and the mask have a bit in common.
void DbgLogFunction(uint32_t dwLevel, const char *pszFormat, ...) __attribute__((format(printf, 2, 3)));

/// Forwards one message to vsyslog (POSIX priorities).
void Dbg_Syslog(int iPriority, const char *pszFormat, ...) __attribute__((format(printf, 2, 3)));

/// Hands format and arguments to the remote-console hook and returns its result.
int __Telnet_AssertFail(const char *pszFormat, ...) __attribute__((format(printf, 1, 2)));

/// The default hook: ignores its arguments and returns 0.
TelnetDbgPrint NullTelnetDbgPrint;
