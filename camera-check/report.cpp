#include "report.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static constexpr size_t PIECE_SIZE = 4096; ///< a longer piece of a line is cut

static FILE *g_ptOutput;
static FILE *g_ptAside;
static int g_iBadCount;

int Report_Open()
{
    // What the libraries print goes to a pipe that nobody reads. It needs no file, /dev/null included.
    int aiNowhere[2];
    const int iOutput = dup(STDOUT_FILENO);
    const int iAside = dup(STDERR_FILENO);
    g_ptOutput = iOutput >= 0 ? fdopen(iOutput, "w") : nullptr;
    g_ptAside = iAside >= 0 ? fdopen(iAside, "w") : nullptr;
    if (g_ptOutput == nullptr || pipe(aiNowhere) != 0)
        return -1;
    close(aiNowhere[0]);
    dup2(aiNowhere[1], STDOUT_FILENO);
    dup2(aiNowhere[1], STDERR_FILENO);
    return 0;
}

static void Put_Escaped(FILE *ptFile, const char *pcText, size_t uLength)
{
    for (size_t u = 0; u < uLength; ++u) {
        const unsigned char cByte = static_cast<unsigned char>(pcText[u]);
        const char *pszShort = cByte == '\\'   ? "\\\\"
                               : cByte == '\r' ? "\\r"
                               : cByte == '\n' ? "\\n"
                               : cByte == '\t' ? "\\t"
                                               : nullptr;
        if (pszShort != nullptr)
            fputs(pszShort, ptFile);
        else
            fprintf(ptFile, cByte >= 0x20 && cByte < 0x7f ? "%c" : "\\x%02x", cByte);
    }
}

__attribute__((format(printf, 2, 0))) static void Put_Piece(FILE *ptFile, const char *pszFormat, va_list tArguments);
__attribute__((format(printf, 3, 0))) static void Put_Line(const char *pszKind, const char *pszWhat,
                                                           const char *pszFormat, va_list tArguments);

/// Puts a piece of a line. Only a line feed that ends the format ends the line.
static void Put_Piece(FILE *ptFile, const char *pszFormat, va_list tArguments)
{
    char szPiece[PIECE_SIZE] = "";
    const size_t uFormat = strlen(pszFormat);
    const bool bEndsLine = uFormat > 0 && pszFormat[uFormat - 1] == '\n';
    const int iWhole = vsnprintf(szPiece, sizeof szPiece, pszFormat, tArguments);
    const bool bCut = iWhole >= static_cast<int>(sizeof szPiece);
    Put_Escaped(ptFile, szPiece, strlen(szPiece) - (bEndsLine && !bCut ? 1 : 0));
    if (bEndsLine)
        fputc('\n', ptFile);
}

static void Put_Line(const char *pszKind, const char *pszWhat, const char *pszFormat, va_list tArguments)
{
    Report_SayPlain(pszKind);
    Report_Say("%s: ", pszWhat);
    Put_Piece(g_ptOutput, pszFormat, tArguments);
    fputc('\n', g_ptOutput);
}

void Report_Good(const char *pszWhat, const char *pszFormat, ...)
{
    va_list tArguments;
    va_start(tArguments, pszFormat);
    Put_Line("good  ", pszWhat, pszFormat, tArguments);
    va_end(tArguments);
}

void Report_Bad(const char *pszWhat, const char *pszFormat, ...)
{
    ++g_iBadCount;
    va_list tArguments;
    va_start(tArguments, pszFormat);
    Put_Line("bad   ", pszWhat, pszFormat, tArguments);
    va_end(tArguments);
}

void Report_BeginBad(const char *pszWhat)
{
    ++g_iBadCount;
    Report_Say("bad   %s: ", pszWhat);
}

void Report_Say(const char *pszFormat, ...)
{
    va_list tArguments;
    va_start(tArguments, pszFormat);
    Put_Piece(g_ptOutput, pszFormat, tArguments);
    va_end(tArguments);
}

void Report_SayEscaped(const char *pcText, size_t uLength) { Put_Escaped(g_ptOutput, pcText, uLength); }

void Report_SayPlain(const char *pszText) { fputs(pszText, g_ptOutput); }

void Report_Aside(const char *pszFormat, ...)
{
    if (g_ptAside == nullptr)
        return;
    va_list tArguments;
    va_start(tArguments, pszFormat);
    Put_Piece(g_ptAside, pszFormat, tArguments);
    va_end(tArguments);
}

int Report_BadCount() { return g_iBadCount; }

int Report_Close()
{
    if (g_ptAside != nullptr)
        fclose(g_ptAside);
    const bool bWritten = ferror(g_ptOutput) == 0;
    return fclose(g_ptOutput) == 0 && bWritten ? 0 : -1;
}
