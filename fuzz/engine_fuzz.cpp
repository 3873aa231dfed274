// The request engine between a hostile client and a hostile camera. It is cut off from the machine at the product's own
// seams: the lookup of keys, the configuration daemon's client, the side files and the capability file are this file's,
// and so is the far end of every connection. An input is texts separated by bytes of 0xff: REQUEST_METHOD, SERVER_ADDR,
// CONTENT_LENGTH (empty: that of the body), faults, query or body, and then the camera's answers in the order in which
// it is asked. "-" is no variable and no answer. The faults:
//
//   c no write of a key    o no write of a side file    s no connection    4 no pid file of the PTZ daemon
#include "fuzz.h"

#include "conflib/cdf_range.h"
#include "conflib/configer.h"
#include "conflib/snapshot.h"
#include "mapping/ptz_io.h"
#include "mapping/video.h"
#include "param/param_state.h"
#include "sidestore/side_value.h"

#include <errno.h>
#include <stdarg.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

static FuzzInput g_tAnswers;
static FuzzText g_acFaults;
static int g_iPeer = -1; // the far end of the last connection

static bool Fails(char cFault) { return strchr(g_acFaults.data(), cFault) != nullptr; }

/// Copies the next answer, which may hold anything. Returns its whole length, -1 for none.
static ssize_t Take_Answer(void *pBuffer, size_t uSize)
{
    const bool bNone = g_tAnswers.uSize == 0;
    const FuzzText acAnswer = Take_Text(&g_tAnswers, SEPARATOR);
    memcpy(pBuffer, acAnswer.data(), std::min(acAnswer.size(), uSize));
    return bNone || strcmp(acAnswer.data(), "-") == 0 ? -1 : static_cast<ssize_t>(acAnswer.size() - 1);
}

// Keys.

int Configer_GetParamValueByXPath(const char *pszXPath, char *pszOutput, size_t uSize)
{
    Require(strlen(pszXPath) <= 127 && uSize > 0, "keys and buffers have bounds");
    const ssize_t lLength = Take_Answer(pszOutput, uSize);
    return lLength < 0 || static_cast<size_t>(lLength) >= uSize ? -1 : 0;
}

int Set_Configer(const char *pszKey, const char *pszValue)
{
    Require(strspn(pszKey, "abcdefghijklmnopqrstuvwxyz0123456789_-") == strlen(pszKey),
            "a key is made of key characters");
    Require(strstr(pszValue, "\r\n") == nullptr, "a write is one line");
    return Fails('c') ? -1 : 0;
}

// Side files and the capability file.

char *Read_SideText(const SidePlace &)
{
    char szText[600] = "";
    return Take_Answer(szText, sizeof szText - 1) < 0 ? nullptr : strdup(szText);
}

int Store_SideText(const SidePlace &, const char *) { return Fails('o') ? -1 : 0; }

int Get_Range_FromCDF(const char *, QuorvexFloatRange *ptRange, int32_t)
{
    char szText[64] = "";
    Take_Answer(szText, sizeof szText - 1);
    return sscanf(szText, "%f~%f", &ptRange->fLower, &ptRange->fUpper) == 2 ? 0 : -1;
}

// The PTZ daemon and the analytics service, which have answered before they are asked; and what else is the machine's.

extern "C" {
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
int connect(int iSocket, const struct sockaddr *, socklen_t)
{
    int aiEnd[2];
    char acAnswer[8192];
    errno = EAGAIN;
    if (Fails('s') || socketpair(AF_UNIX, SOCK_STREAM, 0, aiEnd) != 0)
        return -1;
    const ssize_t lLength = Take_Answer(acAnswer, sizeof acAnswer);
    Require(send(aiEnd[1], acAnswer, lLength > 0 ? static_cast<size_t>(lLength) : 0, 0) >= 0, "a service can answer");
    shutdown(aiEnd[1], SHUT_WR);
    close(g_iPeer);
    g_iPeer = aiEnd[1];
    const int iResult = dup2(aiEnd[0], iSocket);
    close(aiEnd[0]);
    return iResult < 0 ? -1 : 0;
}

int __real_open(const char *pszPath, int iFlags, ...);
int __wrap_open(const char *pszPath, int iFlags, ...) // the door to the side files is replaced: nothing is created
{
    const bool bPidFile = strcmp(pszPath, "/var/run/ptzcgid.pid") == 0;
    return bPidFile && Fails('4') ? -1 : __real_open(bPidFile ? "/dev/null" : pszPath, iFlags);
}

/// As the C library does it, so that a format from outside does its harm here.
__attribute__((format(printf, 2, 3))) void syslog(int, const char *pszFormat, ...)
{
    char szLine[1024];
    va_list tArguments;
    va_start(tArguments, pszFormat);
    vsnprintf(szLine, sizeof szLine, pszFormat, tArguments);
    va_end(tArguments);
}
}

static constexpr int32_t REPLY_LIMIT = 4094;

template <size_t N> static bool Ends(const char (&acField)[N]) { return memchr(acField, '\0', N) != nullptr; }

/// Runs the states one by one. The sanitizer does not see one field of the context run over into the next.
static void Run_States(ParamContext *ptContext)
{
    bool bItem = false;
    for (int iCall = 0; ptContext->iState != PARAM_STATE_FINISH && iCall < PARAM_CALL_LIMIT; iCall++) {
        const int32_t iState = ptContext->iState, iLength = ptContext->iOutputLen;
        Require(iState > PARAM_STATE_INITIAL && iState < PARAM_STATE_FINISH, "every state is one that can be run");
        Require(iState != PARAM_STATE_DISPATCH || !bItem, "an item has its line before the next begins");
        bItem |= iState == PARAM_STATE_DISPATCH;
        g_tParamStateRoutine[iState](ptContext);
        if (iState == PARAM_STATE_COMPOSE) {
            Require(!bItem || ptContext->iOutputLen > iLength || iLength >= REPLY_LIMIT, "every item has a line");
            bItem = false;
        }
        Require(Ends(ptContext->szRequest) && Ends(ptContext->szParamName) && Ends(ptContext->szValue) &&
                    Ends(ptContext->szSetValue) && Ends(ptContext->szErrorMsg) && Ends(ptContext->szCodec),
                "every text ends inside its field");
        Require(memchr(ptContext->szOutput, '\0', REPLY_LIMIT + 1) != nullptr, "the reply is not too long");
    }
}

/// A whole request with this text as standard input. The reply is the last that is printed.
static void Run_Request(FuzzText *pacText)
{
    FILE *ptStdin = stdin, *ptStdout = stdout;
    char *pcPrinted = nullptr;
    size_t uPrinted = 0;
    stdin = fmemopen(pacText->data(), pacText->size() - 1, "r");
    stdout = open_memstream(&pcPrinted, &uPrinted);
    auto *ptContext = static_cast<ParamContext *>(calloc(1, sizeof(ParamContext)));
    Require(stdin != nullptr && stdout != nullptr && ptContext != nullptr, "there is memory");
    ptContext->iState = PARAM_STATE_GETENV;
    InitiateVideoParam(ptContext);
    Run_States(ptContext);

    fclose(stdin);
    fclose(stdout);
    stdin = ptStdin;
    stdout = ptStdout;
    const size_t uReply = strlen(ptContext->szOutput);
    Require(ptContext->iState != PARAM_STATE_FINISH ||
                (uPrinted > uReply && memcmp(pcPrinted + uPrinted - uReply, ptContext->szOutput, uReply) == 0),
            "the reply is printed last");
    free(pcPrinted);
    free(ptContext);
}

static int Get_FreeDescriptor()
{
    const int iFree = dup(STDERR_FILENO);
    close(iFree);
    return iFree;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pData, size_t uSize)
{
    g_tAnswers = {pData, uSize};
    FuzzText aacField[5]; // as they stand in the input
    for (FuzzText &acField : aacField)
        acField = Take_Text(&g_tAnswers, SEPARATOR);
    auto &[acMethod, acAddress, acLength, acFaults, acText] = aacField;
    const std::string strBodyLength = std::to_string(acText.size() - 1);
    g_acFaults = acFaults;
    const std::pair<std::string, const char *> atVariable[] = {
        {"REQUEST_METHOD=", acMethod.data()},
        {"SERVER_ADDR=", acAddress.data()},
        {"CONTENT_LENGTH=", acLength.size() == 1 ? strBodyLength.c_str() : acLength.data()},
        {"QUERY_STRING=", acText.data()}};
    std::vector<std::string> astrVariable;
    astrVariable.reserve(std::size(atVariable));
    for (const auto &[strName, pszValue] : atVariable)
        if (strcmp(pszValue, "-") != 0)
            astrVariable.push_back(strName + pszValue);
    char *apszVariable[5] = {};
    for (size_t i = 0; i < astrVariable.size(); i++)
        apszVariable[i] = astrVariable[i].data();
    for (PTZCommandGroup *ptGroup = g_tPTZDispatchTable; ptGroup->iId != -1; ptGroup++)
        ptGroup->iSupported = 0;

    char **ppszEnvironment = environ;
    environ = apszVariable;
    const int iFree = Get_FreeDescriptor();
    Run_Request(&acText);
    close(g_iPeer);
    g_iPeer = -1;
    Require(Get_FreeDescriptor() == iFree, "connections are closed");
    environ = ppszEnvironment;
    return 0;
}
