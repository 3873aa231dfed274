#include "common/int32.h"
#include "common/string_util.h"
#include "param/param_state.h"
#include "param/request.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int Fail_Request(ParamContext *ptContext, const char *pszLine)
{
    return Compose_Error_Message(ptContext, RESULT_REQUEST_ERROR, pszLine);
}

static int Read_Query(ParamContext *ptContext)
{
    ptContext->iMethod = METHOD_READ;
    const char *pszQuery = getenv("QUERY_STRING");
    if (pszQuery == nullptr)
        return Fail_Request(ptContext, "Get query string failed\r\n");
    // The appended "&" ends the last item like any other.
    const size_t uLength = strnlen(pszQuery, sizeof ptContext->szRequest - 2);
    memcpy(ptContext->szRequest, pszQuery, uLength);
    ptContext->szRequest[uLength] = '&';
    if (Take_ReadItem(ptContext) != ITEM_TAKEN)
        return Fail_Request(ptContext, "Incorrect query string format\r\n");
    ptContext->iState = PARAM_STATE_DISPATCH;
    return 0;
}

static bool Names_Host(const char *pszHost, const char *pszVariable)
{
    const char *pszNamed = getenv(pszVariable);
    return pszNamed != nullptr && stricmp(pszHost, pszNamed) == 0;
}

/// Whether a browser says that a page from elsewhere made this request: what is behind "://" in HTTP_ORIGIN (RFC 6454)
/// is neither the host that was asked (RFC 3875) nor the one that a proxy was asked for. Only browsers send an origin.
static bool Is_FromAnotherSite()
{
    static constexpr char SEPARATOR[] = "://";
    const char *pszOrigin = getenv("HTTP_ORIGIN");
    if (pszOrigin == nullptr || *pszOrigin == '\0')
        return false;
    const char *pcHost = strstr(pszOrigin, SEPARATOR);
    if (pcHost == nullptr)
        return true;
    pcHost += sizeof SEPARATOR - 1;
    return *pcHost == '\0' || !(Names_Host(pcHost, "HTTP_HOST") || Names_Host(pcHost, "HTTP_X_FORWARDED_HOST"));
}

static int Read_Body(ParamContext *ptContext)
{
    ptContext->iMethod = METHOD_WRITE;
    // The form of another site can send what a write looks like, and the browser adds the password that it remembers.
    if (Is_FromAnotherSite())
        return Fail_Request(ptContext, "The request comes from another site\r\n");
    const char *pszLength = getenv("CONTENT_LENGTH");
    if (pszLength == nullptr)
        return Fail_Request(ptContext, "Get content length failed\r\n");
    ptContext->iContentLength = Int32_FromText(pszLength);
    const size_t uLength = static_cast<uint32_t>(ptContext->iContentLength);
    if (uLength >= sizeof ptContext->szRequest)
        return Fail_Request(ptContext, "The post content length is too long\r\n");
    if (fread(ptContext->szRequest, 1, uLength, stdin) != uLength)
        return Fail_Request(ptContext, "Get the post body failed\r\n");

    switch (Take_WriteItem(ptContext)) {
    case ITEM_NONE:
        return Fail_Request(ptContext, "Incorrect Post body format\r\n");
    case ITEM_BAD_NAME:
        return Fail_Request(ptContext, "The parameter is too long\r\n");
    case ITEM_NO_END:
        return Fail_Request(ptContext, "Without the ending signal\r\n");
    case ITEM_TAKEN:
        ptContext->iState = PARAM_STATE_DISPATCH;
        break;
    }
    return 0;
}

/// Whether an address does not begin with a number: what scanf's "%d" would not convert. The end of the text is not a
/// failed conversion, so an empty address is no IPv6 one.
static bool Begins_WithoutNumber(const char *pszAddress)
{
    pszAddress += strspn(pszAddress, NUMBER_BLANKS);
    if (*pszAddress == '\0')
        return false;
    if (*pszAddress == '-' || *pszAddress == '+')
        ++pszAddress;
    return !Is_Digit(*pszAddress);
}

int Param_StateRoutine_Getenv(ParamContext *ptContext)
{
    ptContext->pszServerAddr = getenv("SERVER_ADDR");
    if (ptContext->pszServerAddr == nullptr)
        return Fail_Request(ptContext, "Get HTTP IP address failed\r\n");
    ptContext->bServerAddrIPv6 = Begins_WithoutNumber(ptContext->pszServerAddr) ? 1 : 0;

    const char *pszMethod = getenv("REQUEST_METHOD");
    if (pszMethod == nullptr)
        return Fail_Request(ptContext, "Get HTTP method failed\r\n");
    if (strcmp(pszMethod, "GET") == 0)
        return Read_Query(ptContext);
    if (strcmp(pszMethod, "POST") == 0)
        return Read_Body(ptContext);
    return Fail_Request(ptContext, "Get an unknown HTTP method\r\n");
}
