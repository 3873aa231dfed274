// Matching names against the table must find exactly what the plain way finds: scan the cut name with the template,
// print the template with the numbers again, compare.
#include "param/dispatch.h"
#include "param/param_state.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

size_t Count_Entries()
{
    size_t uCount = 0;
    while (g_tDispatchTable[uCount].pszName != nullptr)
        ++uCount;
    return uCount;
}

const size_t g_uEntries = Count_Entries();

struct Match {
    std::string strTemplate;
    int32_t iIndex1;
    int32_t iIndex2;
    bool operator==(const Match &t) const
    {
        return strTemplate == t.strTemplate && iIndex1 == t.iIndex1 && iIndex2 == t.iIndex2;
    }
};

void PrintTo(const Match &t, std::ostream *pStream)
{
    *pStream << "\"" << t.strTemplate << "\" " << t.iIndex1 << " " << t.iIndex2;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
bool Plain_Match(const DispatchEntry &tEntry, const std::string &strName, int (&aiNumber)[2])
{
    const size_t uLength = strlen(tEntry.pszName);
    char acName[256] = "";
    char acPrinted[256] = "";
    memcpy(acName, strName.c_str(), std::min(strName.size(), uLength));
    memcpy(acPrinted, tEntry.pszName, uLength);
    if (tEntry.iIndexCount > 0) {
        if (sscanf(acName, tEntry.pszName, &aiNumber[0], &aiNumber[1]) != tEntry.iIndexCount)
            return false;
        memset(acPrinted, 0, sizeof acPrinted);
        snprintf(acPrinted, sizeof acPrinted, tEntry.pszName, aiNumber[0], aiNumber[1]);
    }
    return strncmp(acName, acPrinted, uLength) == 0;
}
#pragma GCC diagnostic pop

Match Plain_Find(const std::string &strName)
{
    for (const DispatchEntry *ptEntry = g_tDispatchTable; ptEntry->pszName != nullptr; ++ptEntry) {
        int aiNumber[2] = {1, 1};
        if (!Plain_Match(*ptEntry, strName, aiNumber))
            continue;
        return {ptEntry->pszName, ptEntry->iIndexCount > 0 ? aiNumber[0] - 1 : 0,
                ptEntry->iIndexCount > 1 ? aiNumber[1] - 1 : 0};
    }
    return {"", 0, 0};
}

Match Table_Find(const std::string &strName)
{
    ParamContext tContext = {};
    const DispatchEntry *ptEntry = Find_DispatchEntry(strName.c_str(), &tContext);
    if (ptEntry == nullptr)
        return {"", 0, 0};
    return {ptEntry->pszName, tContext.iIndex1, tContext.iIndex2};
}

std::string Fill_In(std::string strName, std::mt19937 &tRandom)
{
    static const char *const NUMBERS[] = {
        "1",   "2",           "10",         "0",           "-1",         "+1",        "01", " 1",
        "-0",  "2147483647",  "2147483648", "-2147483647", "1234567",    "-",         "",   "0x1",
        "1e3", "99999999999", "12345678",   "123456789",   "1234567890", "4294967297"};
    for (size_t uAt = strName.find("%d"); uAt != std::string::npos; uAt = strName.find("%d", uAt))
        strName.replace(uAt, 2, NUMBERS[tRandom() % std::size(NUMBERS)]);
    return strName;
}

} // namespace

TEST(Dispatch, FindsWhatThePlainScanFinds)
{
    std::mt19937 tRandom(20);
    int iMatched = 0;
    for (int iRound = 0; iRound < 60000; ++iRound) {
        std::string strName = Fill_In(g_tDispatchTable[tRandom() % g_uEntries].pszName, tRandom);
        switch (tRandom() % 5) {
        case 0: // runs on
            strName += Fill_In(g_tDispatchTable[tRandom() % g_uEntries].pszName, tRandom).substr(0, tRandom() % 9);
            break;
        case 1: // is short
            strName.resize(tRandom() % (strName.size() + 1));
            break;
        case 2: // has another character
            strName[tRandom() % strName.size()] = ".%d 019-hXe"[tRandom() % 11];
            break;
        default:
            break;
        }
        const Match tExpected = Plain_Find(strName);
        ASSERT_EQ(tExpected, Table_Find(strName)) << "name \"" << strName << "\"";
        iMatched += tExpected.strTemplate.empty() ? 0 : 1;
    }
    EXPECT_GT(iMatched, 10000) << "the names must not all be nonsense";
}

TEST(Dispatch, RefusesTemplatesThatItCannotHold)
{
    ParamContext tContext = {};
    const std::string strLong(256, 'a');
    const auto pfnParse = [&](const char *pszTemplate, int iLength, int iIndexCount) {
        return QuorvexDispatchParser(pszTemplate, strLong.c_str(), iLength, iIndexCount, &tContext);
    };
    EXPECT_EQ(pfnParse(strLong.c_str(), 256, 0), -1);
    EXPECT_EQ(pfnParse(strLong.c_str() + 1, 255, 0), 0);
    EXPECT_EQ(pfnParse("a", 1, 3), -1);
}

TEST(Getenv, RefusesWritesThatAPageOfAnotherSiteMade)
{
    static const struct {
        const char *pszOrigin, *pszHost, *pszForwarded;
        bool bRefused;
    } ROWS[] = {
        {nullptr, "cam", nullptr, false},
        {"", "cam", nullptr, false},
        {"http://cam:8080", "cam:8080", nullptr, false},
        {"https://CAM.Example", "cam.eXAMPLE", nullptr, false},
        {"https://cam.example", "10.0.0.7", "cam.example", false},
        {"http://cam", nullptr, nullptr, true},
        {"http://cam", "cam:8080", "", true},
        {"http://cam.evil", "cam", "cam", true},
        {"http://cam", "cam.evil", nullptr, true},
        {"http://", "", "", true},
        {"null", "null", "null", true},
    };
    setenv("SERVER_ADDR", "10.0.0.7", 1);
    setenv("REQUEST_METHOD", "POST", 1);
    for (const auto &tRow : ROWS) {
        const std::pair<const char *, const char *> ENVIRONMENT[] = {
            {"HTTP_ORIGIN", tRow.pszOrigin}, {"HTTP_HOST", tRow.pszHost}, {"HTTP_X_FORWARDED_HOST", tRow.pszForwarded}};
        for (const auto &[pszName, pszValue] : ENVIRONMENT)
            pszValue != nullptr ? setenv(pszName, pszValue, 1) : unsetenv(pszName);
        ParamContext tContext = {};
        EXPECT_EQ(Param_StateRoutine_Getenv(&tContext), -1) << "there is no body";
        EXPECT_STREQ(tContext.szErrorMsg,
                     tRow.bRefused ? "The request comes from another site\r\n" : "Get content length failed\r\n")
            << testing::PrintToString(tRow.pszOrigin);
    }
}
