#include "explain.h"

#include "key_table.h"
#include "report.h"

#include "mapping/video.h"
#include "param/dispatch.h"
#include "param/param_state.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/// Hands the item over as a web server would: a read in the environment, a write on standard input.
static int Prepare_Request(const char *pszItem, bool bWrite)
{
    char szRequest[sizeof ParamContext::szRequest];
    const int iLength = snprintf(szRequest, sizeof szRequest, bWrite ? "%s\r\n" : "req=%s", pszItem);
    int aiPipe[2];
    if (static_cast<size_t>(iLength) >= sizeof szRequest || pipe(aiPipe) != 0)
        return -1;
    char szLength[16];
    snprintf(szLength, sizeof szLength, "%d", iLength);
    setenv("SERVER_ADDR", "127.0.0.1", 0);
    setenv("REQUEST_METHOD", bWrite ? "POST" : "GET", 1);
    setenv("QUERY_STRING", szRequest, 1);
    setenv("CONTENT_LENGTH", szLength, 1);
    // No more than a pipe holds, so nobody has to read meanwhile.
    const bool bGiven = !bWrite || write(aiPipe[1], szRequest, static_cast<size_t>(iLength)) == iLength;
    dup2(aiPipe[0], STDIN_FILENO);
    close(aiPipe[0]);
    close(aiPipe[1]);
    return bGiven ? 0 : -1;
}

static void Say_Source(const char *pszItem)
{
    char szName[sizeof ParamContext::szParamName];
    snprintf(szName, sizeof szName, "%.*s", static_cast<int>(strcspn(pszItem, "=")), pszItem);
    ParamContext tContext = {};
    const DispatchEntry *ptEntry = Find_DispatchEntry(szName, &tContext);
    for (const ValueSource *ptSource = g_atValueSource; ptEntry != nullptr && ptSource->pszTemplate != nullptr;
         ++ptSource)
        if (strcmp(ptEntry->pszName, ptSource->pszTemplate) == 0)
            Report_Say("  other %s\n", ptSource->pszSource);
}

int Explain(const char *pszItem)
{
    const bool bWrite = strchr(pszItem, '=') != nullptr;
    if (Prepare_Request(pszItem, bWrite) != 0) {
        Report_Say("%s: too long for a request\n", pszItem);
        return 1;
    }
    ParamContext tContext = {};
    tContext.iState = PARAM_STATE_GETENV;
    Show_Accesses(true);
    Report_Say("at the start of every request:\n");
    InitiateVideoParam(&tContext);
    Report_Say(bWrite ? "a write of %s:\n" : "a read of %s:\n", pszItem);
    Say_Source(pszItem);
    Param_RunStates(&tContext);
    Report_Say(Has_Set() ? "answer, if configer takes what is set:\n" : "answer:\n");
    for (const char *pszLine = tContext.szOutput; *pszLine != '\0';) {
        const char *pcEnd = strstr(pszLine, "\r\n");
        const size_t uLength = pcEnd != nullptr ? static_cast<size_t>(pcEnd - pszLine) : strlen(pszLine);
        Report_SayEscaped(pszLine, uLength);
        Report_SayPlain("\n");
        pszLine += uLength + (pcEnd != nullptr ? strlen("\r\n") : 0);
    }
    const bool bTaken = tContext.iParseOffset > 0;
    return bTaken && tContext.szOutput[0] != '#' ? 0 : 1;
}
