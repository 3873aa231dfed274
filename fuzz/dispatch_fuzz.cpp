// Matching a name against the parameter table must find what the plain way finds: scan the name, cut at the template's
// length, with the template; print the template with the numbers again; compare.
#include "fuzz.h"

#include "common/int32.h"
#include "param/dispatch.h"

static constexpr size_t PLAIN_SIZE = 256; // of both buffers

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
static bool Plain_Match(const DispatchEntry &tEntry, const char *pszName, int32_t *aiNumber)
{
    char acName[PLAIN_SIZE] = "";
    char acPrinted[PLAIN_SIZE] = "";
    const size_t uLength = strlen(tEntry.pszName);
    memcpy(acName, pszName, strnlen(pszName, uLength));
    if (tEntry.iIndexCount > 0 && sscanf(acName, tEntry.pszName, &aiNumber[0], &aiNumber[1]) != tEntry.iIndexCount)
        return false;
    snprintf(acPrinted, sizeof acPrinted, tEntry.pszName, aiNumber[0], aiNumber[1]);
    return strncmp(acName, acPrinted, uLength) == 0;
}
#pragma GCC diagnostic pop

static const DispatchEntry *Plain_Find(const char *pszName, int32_t *aiNumber)
{
    for (const DispatchEntry *ptEntry = g_tDispatchTable; ptEntry->pszName != nullptr; ++ptEntry) {
        aiNumber[0] = aiNumber[1] = 1;
        if (Plain_Match(*ptEntry, pszName, aiNumber))
            return ptEntry;
    }
    return nullptr;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pData, size_t uSize)
{
    const FuzzText acName = Make_Text(pData, uSize);
    int32_t aiNumber[2] = {};
    const DispatchEntry *ptPlain = Plain_Find(acName.data(), aiNumber);
    ParamContext tContext = {};
    Require(Find_DispatchEntry(acName.data(), &tContext) == ptPlain, "both ways find the same entry");
    if (ptPlain == nullptr)
        return 0;
    Require(ptPlain->iIndexCount < 1 || tContext.iIndex1 == Int32_Add(aiNumber[0], -1),
            "the first index is the number");
    Require(ptPlain->iIndexCount < 2 || tContext.iIndex2 == Int32_Add(aiNumber[1], -1), "so is the second");
    return 0;
}
