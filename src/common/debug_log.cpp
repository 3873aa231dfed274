#include "common/debug_log.h"

#include <syslog.h>

uint32_t g_dwDbgLevel = 0;
TelnetDbgPrint *g_pfnTelnetDbgPrint = NullTelnetDbgPrint;
FILE *_db_fptr = nullptr;

void DbgLogInit(uint32_t dwLevel, const char *pszPath)
{
    static bool s_bInitialised = false;
    if (s_bInitialised)
        return;
    s_bInitialised = true;
    g_dwDbgLevel = dwLevel;
    printf("Debug Init:level = %d\r\n", static_cast<int32_t>(dwLevel));
    if (pszPath != nullptr) {
        printf("%s", pszPath);
        _db_fptr = fopen(pszPath, "wb");
    }
    if (_db_fptr == nullptr)
        _db_fptr = stdout;
}

int DbgLog_SetLevel(uint32_t dwLevel)
{
    g_dwDbgLevel = dwLevel;
    return printf("Change debug level to %d\r\n", static_cast<int32_t>(dwLevel));
}

void DbgLogFunction(uint32_t dwLevel, const char *pszFormat, ...)
{
    if ((dwLevel & g_dwDbgLevel) == 0)
        return;
    va_list tArguments;
    va_start(tArguments, pszFormat);
    if ((dwLevel & DBG_LEVEL_TELNET) != 0) {
        // The hook uses its list up; the file sink needs one of its own.
        va_list tCopy;
        va_copy(tCopy, tArguments);
        g_pfnTelnetDbgPrint(pszFormat, tCopy);
        va_end(tCopy);
    }
    if ((dwLevel & DBG_LEVEL_FILE) != 0 && _db_fptr != nullptr)
        vfprintf(_db_fptr, pszFormat, tArguments);
    va_end(tArguments);
}

void Dbg_Syslog(int iPriority, const char *pszFormat, ...)
{
    va_list tArguments;
    va_start(tArguments, pszFormat);
    vsyslog(iPriority, pszFormat, tArguments);
    va_end(tArguments);
}

int __Telnet_AssertFail(const char *pszFormat, ...)
{
    va_list tArguments;
    va_start(tArguments, pszFormat);
    const int iResult = g_pfnTelnetDbgPrint(pszFormat, tArguments);
    va_end(tArguments);
    return iResult;
}

int NullTelnetDbgPrint(const char * /*pszFormat*/, va_list /*tArguments*/) { return 0; }
