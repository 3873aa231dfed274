#include "common/string_util.h"
#include "param/param_state.h"

#include <stdio.h>
#include <string.h>

static constexpr char ILLEGAL_SETTING[] = "An illegal setting parameter\r\n";

int Compose_Error_Message(ParamContext *ptContext, ParamResult eResult, const char *pszLine)
{
    Copy_Text(ptContext->szErrorMsg, sizeof ptContext->szErrorMsg, pszLine);
    ptContext->iResult = eResult;
    ptContext->iState = PARAM_STATE_COMPOSE;
    return -1;
}

int Compose_NonSupport_Message(ParamContext *ptContext, const char *pszMessage)
{
    char szLine[sizeof ptContext->szErrorMsg];
    snprintf(szLine, sizeof szLine, "#error.%s=501:%s", ptContext->szParamName, pszMessage);
    return Compose_Error_Message(ptContext, RESULT_PARAMETER_ERROR, szLine);
}

int Param_StateRoutine_Parser(ParamContext *ptContext)
{
    // The search starts at the first item of the request, not at the current one: a name that occurs earlier in the
    // body takes the value from there. Platform drivers are built around it.
    const char *pcName = strstr(ptContext->szRequest, ptContext->szParamName);
    if (pcName == nullptr)
        return Compose_NonSupport_Message(ptContext, "Unknown error in the front\r\n");
    const char *pcEqual = strchr(pcName, '=');
    if (pcEqual == nullptr)
        return Compose_NonSupport_Message(ptContext, "Unknown error in the middle\r\n");
    const char *pcEnd = strstr(pcEqual, "\r\n");
    if (pcEnd == nullptr)
        return Compose_NonSupport_Message(ptContext, "Unknown error in the tail\r\n");

    const size_t uLength = static_cast<size_t>(pcEnd - pcEqual) - 1;
    if (uLength >= sizeof ptContext->szSetValue)
        return Compose_NonSupport_Message(ptContext, ILLEGAL_SETTING);
    memcpy(ptContext->szValue, pcEqual + 1, uLength);
    memcpy(ptContext->szSetValue, pcEqual + 1, uLength);
    ptContext->iState = PARAM_STATE_CHECK;
    return 0;
}

int Param_StateRoutine_Check(ParamContext *ptContext)
{
    if (ptContext->pfnCheck != nullptr && ptContext->pfnCheck(ptContext) != 0)
        return Compose_NonSupport_Message(ptContext, ILLEGAL_SETTING);
    ptContext->iState = PARAM_STATE_MAPPING;
    return 0;
}

int Param_StateRoutine_Mapping(ParamContext *ptContext)
{
    const bool bRead = ptContext->iMethod == METHOD_READ;
    const int iResult = bRead ? ptContext->pfnGet(ptContext) : ptContext->pfnSet(ptContext);
    if (bRead && iResult == MAPPING_NOT_SUPPORTED)
        return Compose_NonSupport_Message(ptContext, "Parameter is not supported\r\n");
    if (iResult != 0)
        return Compose_NonSupport_Message(ptContext, "Internal error\r\n");
    ptContext->iResult = RESULT_SUCCESS;
    ptContext->iState = PARAM_STATE_COMPOSE;
    return 0;
}
