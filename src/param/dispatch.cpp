#include "param/dispatch.h"

#include "common/int32.h"
#include "param/param_state.h"

#include <string.h>

static constexpr int INDEX_MAX_COUNT = 2;

/// Reads a 32-bit number as printf writes it: no plus sign, no leading zero. Returns its length; 0 when there is none.
/// pcText is before pcEnd.
static int Read_Number(const char *pcText, const char *pcEnd, int32_t *piNumber)
{
    const bool bNegative = *pcText == '-';
    const char *const pcFirst = pcText + (bNegative ? 1 : 0);
    const uint32_t dwLimit = INT32_MAX + (bNegative ? 1u : 0u);
    uint32_t dwNumber = 0;
    const char *pc = pcFirst;
    for (; pc < pcEnd && Is_Digit(*pc); ++pc) {
        const uint32_t dwDigit = static_cast<uint32_t>(*pc - '0');
        if (dwNumber > (dwLimit - dwDigit) / 10)
            return 0;
        dwNumber = dwNumber * 10 + dwDigit;
    }
    if (pc == pcFirst || (*pcFirst == '0' && pc - pcText > 1))
        return 0;
    *piNumber = static_cast<int32_t>(bNegative ? 0u - dwNumber : dwNumber);
    return static_cast<int>(pc - pcText);
}

/// The first place where a name does not go on like a template, when it was looked at: which character of the template
/// that is, and what the name has there. Before the first such place: none.
struct Parting {
    int iPlace;
    char cName;
};
constexpr Parting NO_PARTING = {-1, '\0'};

/// Compares a name with a template as QuorvexDispatchParser does, and remembers where they part.
static int Compare_Name(const char *pszTemplate, const char *pszName, int iLength, int iIndexCount,
                        int32_t (&aiNumber)[INDEX_MAX_COUNT], Parting *ptParting)
{
    const char *const pcEnd = pszName + iLength;
    const char *pcTemplate = pszTemplate;
    const char *pcName = pszName;
    int iRead = 0;
    while (pcName < pcEnd && *pcTemplate != '\0') {
        if (*pcTemplate == *pcName && (*pcTemplate != '%' || iRead == iIndexCount)) {
            ++pcTemplate;
            ++pcName;
            continue;
        }
        const bool bNumber = *pcTemplate == '%' && iRead < iIndexCount;
        const int iDigits = bNumber ? Read_Number(pcName, pcEnd, &aiNumber[iRead]) : 0;
        if (iDigits == 0) {
            // Behind a number longer than its "%d" a shorter template might have cut the name before this place.
            if (pcName - pszName <= pcTemplate - pszTemplate)
                *ptParting = {static_cast<int>(pcTemplate - pszTemplate), *pcName};
            return -1;
        }
        ++iRead;
        pcTemplate += 2;
        pcName += iDigits;
    }
    return iRead == iIndexCount && (pcName == pcEnd || *pcName == '\0') ? 0 : -1;
}

static int Match_Name(const char *pszTemplate, const char *pszName, int iLength, int iIndexCount,
                      ParamContext *ptContext, Parting *ptParting)
{
    int32_t aiNumber[INDEX_MAX_COUNT] = {};
    if (iLength > TEMPLATE_MAX_LENGTH || iIndexCount > INDEX_MAX_COUNT ||
        Compare_Name(pszTemplate, pszName, iLength, iIndexCount, aiNumber, ptParting) != 0)
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
    Parting tParting = NO_PARTING;
    return Match_Name(pszTemplate, pszName, iLength, iIndexCount, ptContext, &tParting);
}

/// Whether a template can match a name that has parted from another one. Up to there the name goes on like that other
/// template, so this one has to as well, and then to have what the name has there, or nothing more at all.
static bool May_Match(const DispatchEntry *ptEntry, Parting tParting)
{
    if (tParting.iPlace < 0 || tParting.iPlace >= ptEntry->iLength)
        return true;
    const char c = ptEntry->pszName[tParting.iPlace];
    return c == tParting.cName || (c == '%' && (tParting.cName == '-' || Is_Digit(tParting.cName)));
}

const DispatchEntry *Find_DispatchEntry(const char *pszName, ParamContext *ptContext)
{
    Parting tParting = NO_PARTING;
    for (const DispatchEntry *ptEntry = g_tDispatchTable; ptEntry->pszName != nullptr; ++ptEntry) {
        if (!May_Match(ptEntry, tParting))
            continue;
        if (Match_Name(ptEntry->pszName, pszName, ptEntry->iLength, ptEntry->iIndexCount, ptContext, &tParting) == 0)
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
        ptContext->iState = PARAM_STATE_MAPPING;
        return 0;
    }
    if (ptEntry->iAccess == ACCESS_READ_ONLY)
        return Compose_NonSupport_Message(ptContext, "Parameter is readOnly\r\n");
    ptContext->iState = PARAM_STATE_PARSER;
    return 0;
}
