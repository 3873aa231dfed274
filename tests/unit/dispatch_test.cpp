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
    const auto Parse = [&](const char *pszTemplate, int iLength, int iIndexCount) {
        return QuorvexDispatchParser(pszTemplate, strLong.c_str(), iLength, iIndexCount, &tContext);
    };
    EXPECT_EQ(Parse(strLong.c_str(), 256, 0), -1);
    EXPECT_EQ(Parse(strLong.c_str() + 1, 255, 0), 0);
    EXPECT_EQ(Parse("a", 1, 3), -1);
}

TEST(Getenv, RefusesWhatAWebServerDidNotPassOnAndWritesThatAPageOfAnotherSiteMade)
{
    const char *const LENGTH = "Get content length failed";
    const char *const SITE = "The request comes from another site";
    const struct {
        std::vector<const char *> apszChange; // NAME=VALUE, or a NAME that is not there
        const char *pszMessage;
    } ROWS[] = {
        {{"SERVER_ADDR"}, "Get HTTP IP address failed"},
        {{"REQUEST_METHOD"}, "Get HTTP method failed"},
        {{"REQUEST_METHOD=get"}, "Get an unknown HTTP method"},
        {{"REQUEST_METHOD=GET", "QUERY_STRING"}, "Get query string failed"},
        {{"CONTENT_LENGTH=-1"}, "The post content length is too long"},
        {{"CONTENT_LENGTH=4096"}, "The post content length is too long"},
        {{"HTTP_ORIGIN="}, LENGTH},
        {{"HTTP_ORIGIN=http://cam:8080", "HTTP_HOST=cam:8080"}, LENGTH},
        {{"HTTP_ORIGIN=https://CAM.Example", "HTTP_HOST=cam.eXAMPLE"}, LENGTH},
        {{"HTTP_ORIGIN=https://cam.example", "HTTP_HOST=10.0.0.7", "HTTP_X_FORWARDED_HOST=cam.example"}, LENGTH},
        {{"HTTP_ORIGIN=http://cam", "HTTP_HOST"}, SITE},
        {{"HTTP_ORIGIN=http://cam", "HTTP_HOST=cam:8080", "HTTP_X_FORWARDED_HOST="}, SITE},
        {{"HTTP_ORIGIN=http://cam.evil", "HTTP_X_FORWARDED_HOST=cam"}, SITE},
        {{"HTTP_ORIGIN=http://cam", "HTTP_HOST=cam.evil"}, SITE},
        {{"HTTP_ORIGIN=http://", "HTTP_HOST=", "HTTP_X_FORWARDED_HOST="}, SITE},
        {{"HTTP_ORIGIN=null", "HTTP_HOST=null", "HTTP_X_FORWARDED_HOST=null"}, SITE},
    };
    char **ppszEnvironment = environ;
    for (const auto &tRow : ROWS) {
        char *pszNone = nullptr;
        std::vector<std::string> astrVariable = {"SERVER_ADDR=10.0.0.7", "REQUEST_METHOD=POST", "HTTP_HOST=cam"};
        astrVariable.insert(astrVariable.end(), tRow.apszChange.begin(), tRow.apszChange.end());
        environ = &pszNone;
        for (std::string &strVariable : astrVariable)
            putenv(strVariable.data()); // without a "=" it takes one away
        ParamContext tContext = {};
        EXPECT_EQ(Param_StateRoutine_Getenv(&tContext), -1);
        EXPECT_EQ(tContext.szErrorMsg, std::string(tRow.pszMessage) + "\r\n")
            << testing::PrintToString(tRow.apszChange);
    }
    environ = ppszEnvironment;
}
