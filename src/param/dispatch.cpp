#include "param/dispatch.h"

#include "common/int32.h"
#include "param/param_state.h"

#include <string.h>

static constexpr int TEMPLATE_MAX_LENGTH = 255;
static constexpr int INDEX_MAX_COUNT = 2;

static constexpr int PAST_ANY_NAME = TEMPLATE_MAX_LENGTH + 1;

/// Reads a 32-bit number as printf writes it. Stores the number and returns its length; 0 when it is none. *piLooked is
/// the number of characters looked through, the one behind the number not counted.
static int Read_Number(const char *pcText, int iRoom, int32_t *piNumber, int *piLooked)
{
    const int iSign = iRoom > 0 && pcText[0] == '-' ? 1 : 0;
    const int64_t lLimit = iSign != 0 ? -static_cast<int64_t>(INT32_MIN) : INT32_MAX;
    int64_t lNumber = 0;
    int iEnd = iSign;
    for (; iEnd < iRoom && pcText[iEnd] >= '0' && pcText[iEnd] <= '9'; ++iEnd)
        if (lNumber <= lLimit)
            lNumber = lNumber * 10 + (pcText[iEnd] - '0');
    *piLooked = iEnd;
    if (iEnd == iSign || lNumber > lLimit || (pcText[iSign] == '0' && iEnd > 1))
        return 0;
    *piNumber = static_cast<int32_t>(iSign != 0 ? -lNumber : lNumber);
    return iEnd;
}

/// Walks template and name on, side by side, as far as the template is long.
static bool Match_Template(const char *pszTemplate, const char *pszName, int iLength, int iIndexCount,
                           TemplateWalk *ptWalk)
{
    while (ptWalk->iName < iLength && pszTemplate[ptWalk->iTemplate] != '\0') {
        const char *pcName = pszName + ptWalk->iName;
        if (ptWalk->iRead < iIndexCount && pszTemplate[ptWalk->iTemplate] == '%') {
            int iLooked = 0;
            const int iRoom = iLength - ptWalk->iName;
            const int iNumberLength = Read_Number(pcName, iRoom, &ptWalk->aiNumber[ptWalk->iRead], &iLooked);
            if (iNumberLength == 0) {
                ptWalk->iSeen = iLooked < iRoom ? ptWalk->iName + iLooked : PAST_ANY_NAME;
                return false;
            }
            ++ptWalk->iRead;
            ptWalk->iTemplate += 2;
            ptWalk->iName += iNumberLength;
        } else if (*pcName == pszTemplate[ptWalk->iTemplate]) {
            ++ptWalk->iTemplate;
            ++ptWalk->iName;
        } else {
            ptWalk->iSeen = ptWalk->iName;
            return false;
        }
    }
    ptWalk->iSeen = PAST_ANY_NAME;
    return ptWalk->iRead == iIndexCount && (ptWalk->iName == iLength || pszName[ptWalk->iName] == '\0');
}

int QuorvexDispatchParser(const char *pszTemplate, const char *pszName, int iLength, int iIndexCount,
                          ParamContext *ptContext, TemplateWalk *ptWalk)
{
    if (iLength > TEMPLATE_MAX_LENGTH || iIndexCount < 0 || iIndexCount > INDEX_MAX_COUNT ||
        !Match_Template(pszTemplate, pszName, iLength, iIndexCount, ptWalk))
        return -1;
    if (iIndexCount >= 1)
        ptContext->iIndex1 = Int32_Add(ptWalk->aiNumber[0], -1);
    if (iIndexCount >= 2)
        ptContext->iIndex2 = Int32_Add(ptWalk->aiNumber[1], -1);
    return 0;
}

const DispatchEntry *Find_DispatchEntry(const char *pszName, ParamContext *ptContext)
{
    TemplateWalk tWalk = {};
    for (size_t uEntry = 0; uEntry < g_tDispatchHint.size(); ++uEntry) {
        // An entry that is like its neighbour beyond the place where the name parted from that one parts from it there,
        // too; one that is like it up to there goes on from there.
        const DispatchHint tHint = g_tDispatchHint[uEntry];
        if (tHint.byShared < tWalk.iTemplate || tHint.byLength <= tWalk.iSeen)
            tWalk = {};
        else if (tHint.byShared > tWalk.iTemplate)
            continue;
        const DispatchEntry *ptEntry = &g_tDispatchTable[uEntry];
        if (QuorvexDispatchParser(ptEntry->pszName, pszName, tHint.byLength, ptEntry->iIndexCount, ptContext, &tWalk) ==
            0)
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
