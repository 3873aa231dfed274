// Numbers, texts and the arithmetic of the mapping routines.
#include "common/debug_log.h"
#include "common/decimal.h"
#include "common/int32.h"
#include "common/string_util.h"
#include "conflib/cdf_range.h"
#include "conflib/configer.h"
#include "mapping/ptz_io.h"
#include "mapping/video.h"
#include "sidestore/quorvex_xml_parser.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

std::string g_strHooked;

__attribute__((format(printf, 1, 0))) int Hook(const char *pszFormat, va_list tArguments)
{
    char szText[64];
    vsnprintf(szText, sizeof szText, pszFormat, tArguments);
    g_strHooked += szText;
    return 7;
}

} // namespace

TEST(Int32, ConvertsAndWraps)
{
    EXPECT_EQ(Int32_FromDouble(-1999.99), -1999);
    EXPECT_EQ(Int32_FromDouble(2147483647.5), INT32_MAX);
    EXPECT_EQ(Int32_FromDouble(-1e300), INT32_MIN);
    EXPECT_EQ(Int32_FromDouble(std::nan("")), 0);
    EXPECT_EQ(Int32_FromDouble(-std::numeric_limits<double>::infinity()), INT32_MIN);
    EXPECT_EQ(Int32_Multiply(3000000, 1000), -1294967296);
    EXPECT_EQ(Int32_Add(INT32_MIN, -1), INT32_MAX);
}

/// Where the host's library reads on; for all else see the fuzz target of ranges and decimal numbers.
TEST(Decimal, KnowsNoHexadecimalAndNoTagOfANumberThatIsNone)
{
    double dNumber = 5;
    EXPECT_STREQ(Decimal_FromText("0x10", &dNumber), "x10");
    EXPECT_EQ(dNumber, 0);
    EXPECT_STREQ(Decimal_FromText("NaN(1)", &dNumber), "(1)");
    EXPECT_TRUE(std::isnan(dNumber));
}

TEST(StringUtil, PacksVersions)
{
    EXPECT_EQ(VersionStringToFourCC("2.0.0.0"), 2u);
    EXPECT_EQ(VersionStringToFourCC("1.2.3.4.5"), 0x04030201u);
    EXPECT_EQ(VersionStringToFourCC("0.256"), 0x10000u);
    EXPECT_EQ(VersionStringToFourCC("...."), 0u);
    EXPECT_EQ(VersionStringToFourCC("1.1.1.100000000009"), 0x0010101u | (1000000000u << 24));
}

TEST(StringUtil, ComparesWithoutCase)
{
    constexpr struct {
        const char *pszLeft, *pszRight;
        int iResult;
    } CASES[] = {{"ABC", "abc", 0}, {"abc", "ab", -1}, {"ab", "abc", -1}, {"b", "A", 1},
                 {"", "", 0},       {"a", "B", -1},    {"\xe4", "z", 1}};
    for (const auto &t : CASES)
        EXPECT_EQ(stricmp(t.pszLeft, t.pszRight), t.iResult) << t.pszLeft << "|" << t.pszRight;
    EXPECT_EQ(memicmp("a\0B", "A\0b", 3), 0);
    EXPECT_EQ(memicmp("a\0C", "A\0b", 3), 1);
    EXPECT_EQ(memicmp("a", "b", 1), -1);
    EXPECT_EQ(memicmp("a", "b", 0), 0);
}

TEST(StringUtil, RemovesCharacters)
{
    const std::map<int, const char *> CASES = {
        {2, "AABBCC"}, {1, "AA:BBCC"}, {0, "AA:BB-CC"}, {-1, ""}, {99, "AABBCC"}};
    for (const auto &[iCount, pszLeft] : CASES) {
        char szText[] = "AA:BB-CC";
        removeChar(szText, "-:", iCount);
        EXPECT_STREQ(szText, pszLeft) << iCount;
    }
}

TEST(DebugLog, WritesToTheSinksOfItsLevel)
{
    const std::string strPath = testing::TempDir() + "debug_log_test";
    EXPECT_EXIT((DbgLogInit(1, nullptr), exit(_db_fptr == stdout ? 7 : 0)), testing::ExitedWithCode(7), "");
    testing::internal::CaptureStdout();
    DbgLogInit(DBG_LEVEL_FILE, strPath.c_str());
    DbgLogInit(1, nullptr);
    DbgLogFunction(1, "masked");
    DbgLogFunction(DBG_LEVEL_FILE, "one %d;", 1);
    DbgLog_SetLevel(DBG_LEVEL_FILE | DBG_LEVEL_TELNET);
    g_pfnTelnetDbgPrint = Hook;
    DbgLogFunction(DBG_LEVEL_FILE | DBG_LEVEL_TELNET, "two %s %d;", "both", 2);
    EXPECT_EQ(__Telnet_AssertFail("three %d;", 3), 7);
    DbgLogFunction(DBG_LEVEL_TELNET, "four;");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Debug Init:level = 268435456\r\n" + strPath + "Change debug level to -1879048192\r\n");
    EXPECT_EQ(g_strHooked, "two both 2;three 3;four;");
    fclose(_db_fptr);
    _db_fptr = nullptr;
    DbgLogFunction(DBG_LEVEL_FILE, "to nobody");
    FILE *ptFile = fopen(strPath.c_str(), "r");
    char szLog[64] = "";
    EXPECT_GT(fread(szLog, 1, sizeof szLog - 1, ptFile), 0u);
    fclose(ptFile);
    EXPECT_STREQ(szLog, "one 1;two both 2;");
    g_pfnTelnetDbgPrint = NullTelnetDbgPrint;
    EXPECT_EQ(__Telnet_AssertFail("to nobody"), 0);
}

/// What the clients of the daemons want of the C library: pauses and log lines are recorded, and a connection leads to
/// the test, if it has an end for it.
namespace {
std::vector<unsigned int> g_auPause;
std::vector<std::string> g_astrLog;
int g_iDaemon = -1;
} // namespace

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int connect(int iSocket, const struct sockaddr *ptAddress, socklen_t uLength)
{
    if (g_iDaemon < 0)
        return static_cast<int>(syscall(SYS_connect, iSocket, ptAddress, uLength));
    return dup2(g_iDaemon, iSocket) < 0 ? -1 : 0;
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" unsigned int sleep(unsigned int uSeconds)
{
    g_auPause.push_back(uSeconds);
    return 0;
}

static void Record_Log(int iPriority, const char *pszFormat, va_list tArguments) __attribute__((format(printf, 2, 0)));
static void Record_Log(int iPriority, const char *pszFormat, va_list tArguments)
{
    char szText[128];
    vsnprintf(szText, sizeof szText, pszFormat, tArguments);
    g_astrLog.push_back(std::to_string(iPriority) + " " + szText);
}

extern "C" __attribute__((format(printf, 2, 3))) void syslog(int iPriority, const char *pszFormat, ...)
{
    va_list tArguments;
    va_start(tArguments, pszFormat);
    Record_Log(iPriority, pszFormat, tArguments);
    va_end(tArguments);
}

/// What a fortified call becomes.
/// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-inconsistent-declaration-parameter-name)
extern "C" __attribute__((format(printf, 3, 4))) void __syslog_chk(int iPriority, int /*iFlag*/, const char *pszFormat,
                                                                   ...)
{
    va_list tArguments;
    va_start(tArguments, pszFormat);
    Record_Log(iPriority, pszFormat, tArguments);
    va_end(tArguments);
}

/// The other end of the connection that is made while it is there.
struct Peer {
    int aiEnd[2] = {-1, -1};

    Peer() { g_iDaemon = socketpair(AF_UNIX, SOCK_STREAM, 0, aiEnd) == 0 ? aiEnd[1] : -1; }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;
    ~Peer()
    {
        close(aiEnd[0]);
        close(aiEnd[1]);
        g_iDaemon = -1;
    }
};

TEST(Ptz, TriesTenTimesInFortyFiveSeconds)
{
    char szReply[8] = "as was";
    g_astrLog.clear();
    EXPECT_EQ(QvrxParam_UnixSocketClient("/nonexistent/ptzctrl", "x", szReply, sizeof szReply), -1);
    EXPECT_EQ(g_auPause, std::vector<unsigned int>(9, 5));
    std::vector<std::string> astrExpected(9, "2 [Quorvex TELP package - param.cgi] Connot connect to PTZCtrl");
    astrExpected.push_back("2 [Quorvex TELP package - param.cgi] Connot connect to PTZCtrl for 10 times");
    EXPECT_EQ(g_astrLog, astrExpected);
    EXPECT_STREQ(szReply, "as was");
}

TEST(Ptz, WantsAnAnswerWhereThereIsRoomForOne)
{
    const Peer tPeer;
    char szReply[8] = "as was";
    EXPECT_EQ(QvrxParam_UnixSocketClient("/tmp/ptzctrl", "x", nullptr, 0), 0);
    EXPECT_EQ(QvrxParam_UnixSocketClient("/tmp/ptzctrl", "x", szReply, 0), -1);
    EXPECT_STREQ(szReply, "as was");
    EXPECT_EQ(write(tPeer.aiEnd[0], "1", 1), 1);
    EXPECT_EQ(QvrxParam_UnixSocketClient("/tmp/ptzctrl", "x", szReply, 2), 0);
    EXPECT_STREQ(szReply, "1");
    EXPECT_EQ(SupportPTZType(nullptr), PTZ_TYPE_UNKNOWN);
}

TEST(Video, FindsTheStreamThatANameSpeaksOf)
{
    const std::tuple<const char *, int32_t, int> ROWS[] = {{"VideoInput.1.h264.1.Bitrate", 5, 0},
                                                           {"VideoInput.1.h264.1.Bitrate", 6, -1},
                                                           {"VideoInput.1.h264.1.Bitrate", -1, -1},
                                                           {"VideoInput.1.vp8.1.Bitrate", 5, -1},
                                                           {"AudioInput.1.h264", -1, 0}};
    for (const auto &[pszName, iStream, iResult] : ROWS) {
        ParamContext tContext = {};
        tContext.pszParamName = pszName;
        tContext.atVideoInStream[0].aiH264Stream[0] = iStream;
        EXPECT_EQ(Get_VideoInput_StreamNum(&tContext), iResult) << pszName << " " << iStream;
    }
    int32_t iMinimum = 0;
    char szList[] = "7,-3000000000,5,,9";
    EXPECT_EQ(FindMinNbrInList(szList, ",", &iMinimum) * 10 + iMinimum, 5);
    QuorvexFloatRange tRange = {};
    EXPECT_EQ(QuorvexParseXMLFloatRange(nullptr, &tRange) + QuorvexParseXMLFloatRange(szList, nullptr), -2);
}

TEST(SideStore, NamesAnUnknownCodecAlsoWithoutACamera)
{
    g_astrLog.clear();
    EXPECT_EQ(Set_VideoGOP_to_QuorvexXMLFile(0, 0, "mjpeg", 30), -1);
    EXPECT_EQ(g_astrLog,
              std::vector<std::string>{"6 QuorvexXML: Set_VideoGOP_to_QuorvexXMLFile: Error Unknow codec: mjpeg"});
}

TEST(Configer, SaysWhatItIsToldAndEchoesTheWholeAnswerOfAnApply)
{
    const std::map<ConfigerCommand, const char *> SAID = {{CONFIGER_GET, "get Value 1 3\npayload"},
                                                          {CONFIGER_SET, "set Value 1 2 3\npayload"},
                                                          {CONFIGER_APPLY, "apply Value 1 2 network\npayload"}};
    const std::string strAnswer = "100%s" + std::string(3000, 'x');
    for (const auto &[eCommand, pszSaid] : SAID) {
        const Peer tPeer;
        EXPECT_GT(write(tPeer.aiEnd[0], strAnswer.c_str(), strAnswer.size()), 0);
        shutdown(tPeer.aiEnd[0], SHUT_WR);
        ConfigerRequest tRequest = {eCommand, "Value", "network", "payload", 1, 2, 3};
        char szText[4096] = "";
        testing::internal::CaptureStdout();
        EXPECT_EQ(Configer_Control(&tRequest, eCommand == CONFIGER_APPLY ? nullptr : szText, sizeof szText), 0);
        EXPECT_EQ(testing::internal::GetCapturedStdout() + szText, strAnswer);
        EXPECT_GT(read(tPeer.aiEnd[0], memset(szText, 0, sizeof szText), sizeof szText - 1), 0);
        EXPECT_STREQ(szText, pszSaid);
    }
    for (const ConfigerRequest &tRequest :
         {ConfigerRequest{CONFIGER_APPLY, "Value", "", "payload", 1, 2, 3},
          ConfigerRequest{CONFIGER_GET, "", "network", "payload", 1, 2, 3},
          ConfigerRequest{CONFIGER_GET, "Value", "network", nullptr, 1, 2, 3},
          ConfigerRequest{CONFIGER_APPLY + 1, "Value", "network", "payload", 1, 2, 3}})
        EXPECT_EQ(Configer_Control(&tRequest, nullptr, 0), -1);
}

static int g_iDecodedLength = -1; // what the platform's library says; below 0: what was decoded
extern "C" void __real_EscapeDecodeString(const char *, int, char *, int *, int);                         // NOLINT
extern "C" void __wrap_EscapeDecodeString(const char *p, int iLength, char *q, int *piDecoded, int iFlag) // NOLINT
{
    __real_EscapeDecodeString(p, iLength, q, piDecoded, iFlag);
    EXPECT_EQ(iFlag, 1);
    *piDecoded = g_iDecodedLength < 0 ? *piDecoded : g_iDecodedLength;
}

TEST(Configer, SetsWhatIsLeftBehindTheDecoding)
{
    char szPayload[CONFIGER_SET_SIZE] = "";
    for (const auto &[iLength, iResult] : {std::pair(0, -1), {4, -1}, {3, 0}, {1, 0}, {-1, 0}}) {
        g_iDecodedLength = iLength;
        EXPECT_EQ(Compose_Set("k", "v", szPayload), iResult) << iLength;
    }
    EXPECT_EQ(Compose_Set("k", "%4g%/1%:1%@1%G1%`1%00%%41%5B%6c+%4", szPayload), 0);
    EXPECT_STREQ(szPayload, "k=%4g%/1%:1%@1%G1%`1%00%A[l+%4");
    EXPECT_EQ(Compose_Set("k", "%0Ai=1", szPayload), -1);
}

TEST(Configer, SaysWhatTheDaemonDidNotTakeAndGoesOn)
{
    Peer tPeer;
    close(std::exchange(tPeer.aiEnd[0], -1));
    signal(SIGPIPE, SIG_IGN);
    testing::internal::CaptureStdout();
    EXPECT_EQ(Set_Configer("a", "b"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "write socket 24 byte, but return -1\n");
}

TEST(Analytics, WithoutRoomForAnAnswerTheQuestionHasFailed)
{
    for (const auto pfnAsk : {Quorvex_GetPeopleCount_Value, QuorvexEvent_GetSmartVCA_Value}) {
        Peer tPeer;
        ParamContext tContext = {};
        tContext.iAnalyticsSocket = tPeer.aiEnd[1];
        char cBuffer = 'a';
        g_astrLog.clear();
        EXPECT_EQ(pfnAsk(&tContext, &cBuffer, 0), -1);
        EXPECT_EQ(g_astrLog, std::vector<std::string>{"2 TCP Socket revc failed\n"});
        EXPECT_EQ(close(tPeer.aiEnd[1]), -1) << "the connection is still there";
        EXPECT_EQ(cBuffer, 'a');
    }
}
