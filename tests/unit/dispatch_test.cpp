// Matching names against the table must find exactly what the plain way finds: scan the cut name with the template,
// print the template with the numbers again, compare.
#include "common/string_util.h"
#include "param/dispatch.h"
#include "param/param_state.h"
#include "param/request.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
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

using Match = std::tuple<std::string, int32_t, int32_t>; // the template and its numbers, from 0

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
    for (size_t u = 0; u < g_uEntries; ++u) {
        int aiNumber[2] = {1, 1};
        if (Plain_Match(g_tDispatchTable[u], strName, aiNumber))
            return {g_tDispatchTable[u].pszName, aiNumber[0] - 1, aiNumber[1] - 1};
    }
    return {"", 0, 0};
}

Match Table_Find(const std::string &strName)
{
    ParamContext tContext = {};
    const DispatchEntry *ptEntry = Find_DispatchEntry(strName.c_str(), &tContext);
    return {ptEntry != nullptr ? ptEntry->pszName : "", tContext.iIndex1, tContext.iIndex2};
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
        const std::string strOther = Fill_In(g_tDispatchTable[tRandom() % g_uEntries].pszName, tRandom);
        std::string strName = Fill_In(g_tDispatchTable[tRandom() % g_uEntries].pszName, tRandom);
        const auto uKind = tRandom() % 5;
        if (uKind == 0)
            strName += strOther.substr(0, tRandom() % 9);
        else if (uKind == 1)
            strName.resize(tRandom() % (strName.size() + 1));
        else if (uKind == 2)
            strName[tRandom() % strName.size()] = ".%d 019-hXe"[tRandom() % 11];
        const Match tExpected = Plain_Find(strName);
        ASSERT_EQ(tExpected, Table_Find(strName)) << "name \"" << strName << "\"";
        iMatched += std::get<0>(tExpected).empty() ? 0 : 1;
    }
    EXPECT_GT(iMatched, 10000) << "the names must not all be nonsense";
}

TEST(Dispatch, RefusesTemplatesThatItCannotHold)
{
    ParamContext tContext = {};
    const std::string strLong(256, 'a');
    const char *psz = strLong.c_str();
    EXPECT_EQ(QuorvexDispatchParser(psz, psz, 256, 0, &tContext), -1);
    EXPECT_EQ(QuorvexDispatchParser(psz + 1, psz, 255, 0, &tContext), 0);
    EXPECT_EQ(QuorvexDispatchParser("a", psz, 1, 3, &tContext), -1);
    EXPECT_EQ(QuorvexDispatchParser("a%d", "a1", 1, 1, &tContext), -1) << "the number is behind the length";
    EXPECT_EQ(QuorvexDispatchParser("a%", "a%", 2, 0, &tContext), 0) << "without numbers a \"%\" is one";
    EXPECT_EQ(QuorvexDispatchParser("a%", "a1", 2, 0, &tContext), -1);
}

TEST(Request, TakesTheTextBetweenAKeyAndAnAmpersand)
{
    const std::tuple<const char *, const char *, int, std::string> ROWS[] = {
        {"a=1&b=22&", "b=", 2, "22"}, {"a=1&b=22&", "c=", 2, ""}, {"a=1&b=22", "b=", 2, ""},
        {"a=1&b=333&", "b=", 2, ""},  {"a=1&b=22&", "b=", 9, ""}, {"0a=1&", "a=", 2, ""},
        {"a0=1&", "0=", 2, ""}};
    for (const auto &[pszText, pszKey, iSkip, strExpected] : ROWS) {
        char acOutput[4] = "";
        EXPECT_EQ(GetStringValueFromText(pszText, pszKey, iSkip, acOutput, 2), strExpected.empty() ? -1 : 0) << pszText;
        EXPECT_EQ(acOutput, strExpected);
    }
}

TEST(States, ReplyWithWhatARoutineOrTheRequestLacks)
{
    const std::tuple<MappingRoutine *, const char *, const char *> ROWS[] = {
        {Param_StateRoutine_Mapping, "", "Parameter is not supported"},
        {Param_StateRoutine_Parser, "Other=1\r\n", "Unknown error in the front"},
        {Param_StateRoutine_Parser, "1=2\r\nName", "Unknown error in the middle"},
        {Param_StateRoutine_Parser, "Name=1", "Unknown error in the tail"}};
    for (const auto &[pfnRoutine, pszRequest, pszMessage] : ROWS) {
        ParamContext tContext = {};
        tContext.iMethod = METHOD_READ;
        tContext.pfnGet = [](ParamContext *) { return MAPPING_NOT_SUPPORTED; };
        Copy_Text(tContext.szParamName, sizeof tContext.szParamName, "Name");
        Copy_Text(tContext.szRequest, sizeof tContext.szRequest, pszRequest);
        EXPECT_EQ(pfnRoutine(&tContext), -1);
        EXPECT_EQ(tContext.szErrorMsg, std::string("#error.Name=501:") + pszMessage + "\r\n");
    }
    for (const ParamState eState : {PARAM_STATE_INITIAL, PARAM_STATE_FINISH})
        EXPECT_EQ(g_tParamStateRoutine[eState](nullptr), 0);
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
        // The first of a name counts, and a name alone stands in the way of none.
        std::vector<std::string> astrVariable(tRow.apszChange.begin(), tRow.apszChange.end());
        for (const std::string strPlain : {"SERVER_ADDR=10.0.0.7", "REQUEST_METHOD=POST", "HTTP_HOST=cam"})
            if (std::count(astrVariable.begin(), astrVariable.end(), strPlain.substr(0, strPlain.find('='))) == 0)
                astrVariable.push_back(strPlain);
        std::vector<char *> apszVariable(astrVariable.size() + 1);
        std::transform(astrVariable.begin(), astrVariable.end(), apszVariable.begin(),
                       [](std::string &strVariable) { return strVariable.data(); });
        environ = apszVariable.data();
        ParamContext tContext = {};
        EXPECT_EQ(Param_StateRoutine_Getenv(&tContext), -1);
        environ = ppszEnvironment;
        EXPECT_EQ(tContext.szErrorMsg, std::string(tRow.pszMessage) + "\r\n")
            << testing::PrintToString(tRow.apszChange);
    }
}
