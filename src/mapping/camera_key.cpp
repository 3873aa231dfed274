#include "mapping/camera_key.h"

#include "common/int32.h"
#include "common/string_util.h"
#include "conflib/configer.h"
#include "conflib/snapshot.h"

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

CameraKey Make_Key(const char *pszFormat, ...)
{
    CameraKey tKey;
    va_list tArguments;
    va_start(tArguments, pszFormat);
    Format_Arguments(tKey.szKey, sizeof tKey.szKey, pszFormat, tArguments);
    va_end(tArguments);
    return tKey;
}

int Read_Key(char *pszText, size_t uSize, const char *pszKey)
{
    const int iResult = Configer_GetParamValueByXPath(pszKey, pszText, uSize);
    // A value that did not fit leaves no room for its terminator.
    if (iResult != 0)
        pszText[uSize - 1] = '\0';
    return iResult;
}

int Read_KeyOrLog(char *pszText, size_t uSize, const char *pszKey)
{
    const int iResult = Read_Key(pszText, uSize, pszKey);
    if (iResult != 0)
        syslog(LOG_INFO, "unable to get %s\n", pszKey);
    return iResult;
}

int Read_KeyTruncated(char *pszText, size_t uSize, const char *pszKey)
{
    return Configer_GetParamValueByXPath(pszKey, pszText, uSize - 1);
}

int Write_Key(const char *pszKey, const char *pszValue) { return Set_Configer(pszKey, pszValue); }

int Write_KeyNumber(const char *pszKey, int32_t iValue) { return Set_Configer(pszKey, Int32_ToText(iValue).szText); }

int Answer_Text(ParamContext *ptContext, const char *pszText)
{
    Copy_Text(ptContext->szValue, sizeof ptContext->szValue, pszText);
    return 0;
}

int Answer_Number(ParamContext *ptContext, int32_t iNumber)
{
    return Answer_Text(ptContext, Int32_ToText(iNumber).szText);
}

int Answer_Boolean(ParamContext *ptContext, bool bValue) { return Answer_Text(ptContext, bValue ? "true" : "false"); }

int Answer_Key(ParamContext *ptContext, const char *pszKey)
{
    return Read_Key(ptContext->szValue, sizeof ptContext->szValue, pszKey);
}

int Answer_BooleanKey(ParamContext *ptContext, const char *pszKey)
{
    char szFlag[4] = "";
    if (Read_Key(szFlag, sizeof szFlag, pszKey) != 0)
        return -1;
    return Answer_Boolean(ptContext, strcmp(szFlag, "1") == 0);
}

int Answer_StoredText(ParamContext *ptContext, char *pszStored)
{
    if (pszStored == nullptr)
        return -1;
    const bool bFits = strlen(pszStored) < sizeof ptContext->szValue;
    if (bFits)
        Answer_Text(ptContext, pszStored);
    free(pszStored);
    return bFits ? 0 : -1;
}

void Append_Answer(ParamContext *ptContext, const char *pszText)
{
    const size_t uLength = strlen(ptContext->szValue);
    Copy_Text(ptContext->szValue + uLength, sizeof ptContext->szValue - uLength, pszText);
}

void Cut_LastComma(ParamContext *ptContext)
{
    const size_t uLength = strlen(ptContext->szValue);
    if (uLength > 0 && ptContext->szValue[uLength - 1] == ',')
        ptContext->szValue[uLength - 1] = '\0';
}

int Rewrite_Value(ParamContext *ptContext, const WordPair *ptPairs, size_t uCount)
{
    for (size_t uPair = 0; uPair < uCount; ++uPair)
        if (strcmp(ptContext->szValue, ptPairs[uPair].pszPlatform) == 0)
            return Answer_Text(ptContext, ptPairs[uPair].pszCamera);
    return -1;
}

int Rewrite_ScaledValue(ParamContext *ptContext, int32_t iFactor)
{
    return Answer_Number(ptContext, Int32_Multiply(Int32_FromText(ptContext->szValue), iFactor));
}

int Rewrite_Boolean(ParamContext *ptContext)
{
    static constexpr WordPair WORDS[] = {{"true", "1"}, {"false", "0"}};
    return Rewrite_Value(ptContext, WORDS);
}

bool Value_InRange(const ParamContext *ptContext, int32_t iLow, int32_t iHigh)
{
    const int32_t iNumber = Int32_FromText(ptContext->szValue);
    return iNumber >= iLow && iNumber <= iHigh;
}
