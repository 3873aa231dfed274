// The user, and what a web server must give a program.
#include "check.h"
#include "report.h"

#include "common/int32.h"
#include "param/param_context.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/// What is wrong with the value of a variable, what follows and what helps; null: nothing.
static const char *Find_AddressFault(const char *pszAddress)
{
    char szAddress[64];
    snprintf(szAddress, sizeof szAddress, "%.*s", static_cast<int>(strcspn(pszAddress, "%")), pszAddress); // no zone
    unsigned char abAddress[sizeof(struct in6_addr)];
    // A C library without IPv6 cannot tell, and says so by -1.
    if (inet_pton(AF_INET, szAddress, abAddress) == 1 || inet_pton(AF_INET6, szAddress, abAddress) != 0)
        return nullptr;
    return "is no IP address, yet it is what parameters answer for the camera's own; let the web server set it";
}

static const char *Find_MethodFault(const char *pszMethod)
{
    return strcmp(pszMethod, "GET") == 0 || strcmp(pszMethod, "POST") == 0
               ? nullptr
               : "is neither GET nor POST, so the answer is \"Get an unknown HTTP method\"; ask with one of those";
}

static const char *Find_LengthFault(const char *pszLength)
{
    const char *pszEnd = pszLength;
    const int32_t iLength = Int32_FromText(pszLength, &pszEnd);
    if (pszEnd == pszLength || *pszEnd != '\0')
        return "is no number, so a write is answered as if it had no body; let the web server set it";
    return iLength >= 0 && iLength < static_cast<int32_t>(sizeof ParamContext::szRequest)
               ? nullptr
               : "is not 0 to 4095, so the answer is \"The post content length is too long\"; send fewer lines at a "
                 "time";
}

/// pfnFault: null where any value will do.
static void Check_Variable(const char *pszName, const char *pszFor, const char *(*pfnFault)(const char *pszValue))
{
    const char *pszValue = getenv(pszName);
    const char *pszFault = pszValue != nullptr && pfnFault != nullptr ? pfnFault(pszValue) : nullptr;
    if (pszValue == nullptr)
        Report_Bad("environment", "%s is not set, so %s is answered by one line of error; let the web server set it",
                   pszName, pszFor);
    else if (pszFault != nullptr)
        Report_Bad("environment", "%s=\"%s\" %s", pszName, pszValue, pszFault);
    else
        Report_Good("environment", "%s=%s", pszName, pszValue);
}

bool Is_CgiProgram() { return getenv("REQUEST_METHOD") != nullptr || getenv("GATEWAY_INTERFACE") != nullptr; }

void Check_Caller()
{
    Report_Good("user", "uid %d, gid %d; the web server's user is the one that counts", static_cast<int>(geteuid()),
                static_cast<int>(getegid()));
    if (!Is_CgiProgram()) {
        Report_Good("environment", "not looked at, as no web server has started this; put a copy into the folder of "
                                   "param.cgi for a moment and ask for it to have it checked");
        return;
    }
    Check_Variable("SERVER_ADDR", "every request", Find_AddressFault);
    Check_Variable("REQUEST_METHOD", "every request", Find_MethodFault);
    const char *pszMethod = getenv("REQUEST_METHOD");
    if (pszMethod != nullptr && strcmp(pszMethod, "POST") == 0)
        Check_Variable("CONTENT_LENGTH", "every write", Find_LengthFault);
    if (pszMethod != nullptr && strcmp(pszMethod, "GET") == 0)
        Check_Variable("QUERY_STRING", "every read", nullptr);
}
