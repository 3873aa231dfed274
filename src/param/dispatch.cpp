#include "param/dispatch.h"

#include "common/int32.h"
#include "param/param_state.h"

#include <string.h>

static constexpr int TEMPLATE_MAX_LENGTH = 255;
static constexpr int INDEX_MAX_COUNT = 2;

/// Reads a 32-bit number as printf writes it: no plus sign, no leading zero. Returns its length; 0 when there is none.
static int Read_Number(const char *pcText, const char *pcEnd, int32_t *piNumber)
{
    const bool bNegative = pcText < pcEnd && *pcText == '-';
    const char *const pcFirst = pcText + (bNegative ? 1 : 0);
    const int64_t lLimit = bNegative ? -int64_t{INT32_MIN} : INT32_MAX;
    int64_t lNumber = 0;
    const char *pc = pcFirst;
    for (; pc < pcEnd && *pc >= '0' && *pc <= '9' && lNumber <= lLimit; ++pc)
        lNumber = lNumber * 10 + (*pc - '0');
    if (pc == pcFirst || lNumber > lLimit || (*pcFirst == '0' && pc - pcText > 1))
        return 0;
    *piNumber = static_cast<int32_t>(bNegative ? -lNumber : lNumber);
    return static_cast<int>(pc - pcText);
}

/// Compares a name with a template as QuorvexDispatchParser does. When they differ, *piAlike is how many of the first
/// characters another template must have in common with this one to differ from the name in the same way; 0 when that
/// cannot be told.
static int Compare_Name(const char *pszTemplate, const char *pszName, int iLength, int iIndexCount,
                        int32_t (&aiNumber)[INDEX_MAX_COUNT], int *piAlike)
{
    const char *const pcEnd = pszName + iLength;
    const char *pcTemplate = pszTemplate;
    const char *pcName = pszName;
    int iRead = 0;
    while (pcName < pcEnd && *pcTemplate != '\0') {
        if (*pcTemplate == '%' && iRead < iIndexCount) {
            const int iDigits = Read_Number(pcName, pcEnd, &aiNumber[iRead]);
            if (iDigits == 0)
                return -1;
            ++iRead;
            pcTemplate += 2;
            pcName += iDigits;
        } else if (*pcTemplate == *pcName) {
            ++pcTemplate;
            ++pcName;
        } else {
            // Behind a number longer than its "%d" a shorter template might have cut the name before this place.
            if (pcName - pszName <= pcTemplate - pszTemplate)
                *piAlike = static_cast<int>(pcTemplate - pszTemplate) + 1;
            return -1;
        }
    }
    return iRead == iIndexCount && (pcName == pcEnd || *pcName == '\0') ? 0 : -1;
}

static int Match_Name(const char *pszTemplate, const char *pszName, int iLength, int iIndexCount,
                      ParamContext *ptContext, int *piAlike)
{
    int32_t aiNumber[INDEX_MAX_COUNT] = {};
    *piAlike = 0;
    if (iLength > TEMPLATE_MAX_LENGTH || iIndexCount < 0 || iIndexCount > INDEX_MAX_COUNT ||
        Compare_Name(pszTemplate, pszName, iLength, iIndexCount, aiNumber, piAlike) != 0)
        return -1;
    if (iIndexCount >= 1)
        ptContext->iIndex1 = Int32_Add(aiNumber[0], -1);
    if (iIndexCount >= 2)
        ptContext->iIndex2 = Int32_Add(aiNumber[1], -1);
    return 0;
}

int QuorvexDispatchParser(const char *pszTemplate, const char *pszName, int iLength, int iIndexCount,
                          ParamContext *ptContext)
{
    int iAlike = 0;
    return Match_Name(pszTemplate, pszName, iLength, iIndexCount, ptContext, &iAlike);
}

const DispatchEntry *Find_DispatchEntry(const char *pszName, ParamContext *ptContext)
{
    const char *pszFailed = "";
    int iAlike = 0;
    for (const DispatchEntry *ptEntry = g_tDispatchTable; ptEntry->pszName != nullptr; ++ptEntry) {
        // Entries that begin like the one that has just failed, up to the place where it failed, fail there, too.
        if (iAlike > 0 && strncmp(ptEntry->pszName, pszFailed, static_cast<size_t>(iAlike)) == 0)
            continue;
        pszFailed = ptEntry->pszName;
        const int iLength = static_cast<int>(strlen(pszFailed));
        if (Match_Name(pszFailed, pszName, iLength, ptEntry->iIndexCount, ptContext, &iAlike) == 0)
            return ptEntry;
    }
    return nullptr;
}

int Param_StateRoutine_Dispatch(ParamContext *ptContext)
{
    const DispatchEntry *ptEntry = Find_DispatchEntry(ptContext->szParamName, ptContext);
    if (ptEntry == nullptr)
        return Compose_NonSupport_Message(ptContext, "Parameter is not supported\r\n");
    ptContext->pszParamName = ptContext->szParamName;
    ptContext->pfnCheck = ptEntry->ptRecord->pfnCheck;
    ptContext->pfnSet = ptEntry->ptRecord->pfnSet;
    ptContext->pfnGet = ptEntry->ptRecord->pfnGet;
    if (ptContext->iMethod == METHOD_READ) {
        ptContext->iState = PARAM_STATE_Mapping;
        return 0;
    }
    if (ptEntry->iAccess == ACCESS_READ_ONLY)
        return Compose_NonSupport_Message(ptContext, "Parameter is readOnly\r\n");
    ptContext->iState = PARAM_STATE_Parser;
    return 0;
}
