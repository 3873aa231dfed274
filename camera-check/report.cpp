#include "report.h"

#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <unistd.h>

static constexpr char GOOD_LINE[] = "good  %s: ";
static constexpr char BAD_LINE[] = "bad   %s: ";

static FILE *g_ptOutput;
static int g_iBadCount;

int Report_Open()
{
    const int iOutput = dup(STDOUT_FILENO);
    const int iNowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    g_ptOutput = iOutput >= 0 ? fdopen(iOutput, "w") : nullptr;
    if (g_ptOutput == nullptr || iNowhere < 0)
        return -1;
    dup2(iNowhere, STDOUT_FILENO);
    dup2(iNowhere, STDERR_FILENO);
    return 0;
}

void Report_Good(const char *pszWhat, const char *pszFormat, ...)
{
    fprintf(g_ptOutput, GOOD_LINE, pszWhat);
    va_list tArguments;
    va_start(tArguments, pszFormat);
    vfprintf(g_ptOutput, pszFormat, tArguments);
    va_end(tArguments);
    fputc('\n', g_ptOutput);
}

void Report_Bad(const char *pszWhat, const char *pszFormat, ...)
{
    Report_BeginBad(pszWhat);
    va_list tArguments;
    va_start(tArguments, pszFormat);
    vfprintf(g_ptOutput, pszFormat, tArguments);
    va_end(tArguments);
    fputc('\n', g_ptOutput);
}

void Report_BeginBad(const char *pszWhat)
{
    fprintf(g_ptOutput, BAD_LINE, pszWhat);
    ++g_iBadCount;
}

void Report_Say(const char *pszFormat, ...)
{
    va_list tArguments;
    va_start(tArguments, pszFormat);
    vfprintf(g_ptOutput, pszFormat, tArguments);
    va_end(tArguments);
}

void Report_SayEscaped(const char *pcText, size_t uLength)
{
    for (size_t u = 0; u < uLength; ++u) {
        const unsigned char cByte = static_cast<unsigned char>(pcText[u]);
        const char *pszShort = cByte == '\\'   ? "\\\\"
                               : cByte == '\r' ? "\\r"
                               : cByte == '\n' ? "\\n"
                               : cByte == '\t' ? "\\t"
                                               : nullptr;
        if (pszShort != nullptr)
            fputs(pszShort, g_ptOutput);
        else
            fprintf(g_ptOutput, cByte >= 0x20 && cByte < 0x7f ? "%c" : "\\x%02x", cByte);
    }
}

int Report_BadCount() { return g_iBadCount; }

int Report_Close()
{
    const bool bWritten = ferror(g_ptOutput) == 0;
    return fclose(g_ptOutput) == 0 && bWritten ? 0 : -1;
}
