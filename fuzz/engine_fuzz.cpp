// The request engine between a hostile client and a hostile camera. An input is texts separated by bytes of 0xff:
// REQUEST_METHOD, SERVER_ADDR, CONTENT_LENGTH (empty: that of the body), faults, query or body, the files of g_atFile,
// and then the camera's answers in the order in which it is asked. "-" is no variable and no answer. The faults:
//
//   s no socket    c, p, a no connection to the configuration daemon, the PTZ daemon, the analytics service
//   w no write     r no read    f the configuration daemon fills the buffer    l the side files' lock is held
//   o no file can be written    0 to 3 that file is missing    4 no pid file    5 no folder to lock
#include "fuzz.h"

#include "conflib/snapshot.h"
#include "mapping/ptz_io.h"
#include "mapping/video.h"
#include "param/param_state.h"
#include "sxmlparser/sxmlparser.h"

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>

static constexpr size_t MEMORY_FILES = 4, XML_FILES = 3;
static struct {
    const char *pszPath;
    std::string strPlace; // where it really is
    int iFile;
    bool bWritten;
} g_atFile[] = {
    {"/etc/conf.d/config_quorvexVideo.xml", "", -1, false},  {"/etc/conf.d/config_quorvexMotion.xml", "", -1, false},
    {"/etc/conf.d/config_quorvexSystem.xml", "", -1, false}, {"/etc/CDF.xml", "", -1, false},
    {"/var/run/ptzcgid.pid", "/dev/null", -1, false},        {"/etc/conf.d", "/", -1, false},
};

static constexpr int CAMERA_SOCKET = 100000; // the one descriptor that is not the kernel's

static struct Camera {
    FuzzText acMethod, acAddress, acLength, acFaults, acRequest;
    std::vector<FuzzText> aacAnswer;
    size_t uAnswer; // the next one
    char cPeer;     // 'c', 'p' or 'a'
    int iSockets;
    unsigned int uSlept;
} g_tCamera;

static bool Fails(char cFault) { return strchr(g_tCamera.acFaults.data(), cFault) != nullptr; }

// Copies the next answer, which may hold anything, without a terminator. Returns its whole length, -1 for none.
static ssize_t Take_Answer(void *pBuffer, size_t uSize)
{
    if (g_tCamera.uAnswer == g_tCamera.aacAnswer.size())
        return -1;
    const FuzzText &acAnswer = g_tCamera.aacAnswer[g_tCamera.uAnswer++];
    memcpy(pBuffer, acAnswer.data(), std::min(acAnswer.size() - 1, uSize));
    return strcmp(acAnswer.data(), "-") == 0 ? -1 : static_cast<ssize_t>(acAnswer.size() - 1);
}

// In the place of the snapshot lookup.
SnapshotOutcome Configer_LookUp(const char *pszXPath, char *pszOutput, size_t uSize)
{
    Require(strlen(pszXPath) <= 127 && uSize > 0, "keys and buffers have bounds");
    const ssize_t lLength = Take_Answer(pszOutput, uSize);
    if (lLength < 0)
        return SNAPSHOT_NO_SUCH_KEY;
    if (static_cast<size_t>(lLength) >= uSize)
        return SNAPSHOT_DOES_NOT_FIT;
    memset(pszOutput + lLength, 0, uSize - static_cast<size_t>(lLength));
    return SNAPSHOT_READ;
}

int Configer_GetParamValueByXPath(const char *pszXPath, char *pszOutput, size_t uSize)
{
    return Configer_LookUp(pszXPath, pszOutput, uSize) == SNAPSHOT_READ ? 0 : -1;
}

static void Check_Set(const std::string &strRequest)
{
    static const std::string HEAD = "set NameValue 99 0 0\n";
    static const char *const KEYS[] = {"system_",     "network_", "videoin_c", "image_c",
                                       "tampering_c", "motion_c", "audioin_c", "do_i"};
    Require(strRequest.compare(0, HEAD.size(), HEAD) == 0, "the daemon is only told to set");
    const std::string strText = strRequest.substr(HEAD.size());
    Require(strText.size() <= 127 && strText.find('\0') == std::string::npos, "a set is a text of at most 127");
    const size_t uKey = strText.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_-");
    Require(strText.find_first_of("\r\n") == std::string::npos, "a set is one line");
    Require(uKey != std::string::npos && strText[uKey] == '=', "a set is key=value");
    Require(std::any_of(std::begin(KEYS), std::end(KEYS), [&](auto psz) { return strText.rfind(psz, 0) == 0; }),
            "the key is one of the product's");
}

static const char *Map_Path(const char *pszPath, bool bWrite)
{
    for (auto &tFile : g_atFile) {
        if (strcmp(pszPath, tFile.pszPath) != 0)
            continue;
        tFile.bWritten |= bWrite;
        return Fails(static_cast<char>('0' + (&tFile - g_atFile))) || (bWrite && Fails('o')) ? ""
                                                                                             : tFile.strPlace.c_str();
    }
    return pszPath;
}

extern "C" {
FILE *__real_fopen(const char *pszPath, const char *pszMode);
int __real_open(const char *pszPath, int iFlags, ...);
int __real_close(int iFile);
ssize_t __real_read(int iFile, void *pBuffer, size_t uSize);
ssize_t __real_write(int iFile, const void *pBuffer, size_t uSize);
unsigned int __real_sleep(unsigned int uSeconds);
char *__real_getenv(const char *pszName);

char *__wrap_getenv(const char *pszName)
{
    const std::pair<const char *, FuzzText *> atVariable[] = {{"REQUEST_METHOD", &g_tCamera.acMethod},
                                                              {"SERVER_ADDR", &g_tCamera.acAddress},
                                                              {"CONTENT_LENGTH", &g_tCamera.acLength},
                                                              {"QUERY_STRING", &g_tCamera.acRequest}};
    for (const auto &[pszKnown, pacValue] : atVariable)
        if (strcmp(pszName, pszKnown) == 0)
            return strcmp(pacValue->data(), "-") == 0 ? nullptr : pacValue->data();
    return __real_getenv(pszName);
}

FILE *__wrap_fopen(const char *pszPath, const char *pszMode)
{
    return __real_fopen(Map_Path(pszPath, pszMode[0] == 'w'), pszMode);
}

int __wrap_open(const char *pszPath, int iFlags, ...)
{
    return __real_open(Map_Path(pszPath, (iFlags & O_ACCMODE) != O_RDONLY), iFlags, 0600);
}
int __wrap_flock(int, int) { return Fails('l') ? (errno = EWOULDBLOCK, -1) : 0; }
int __wrap_poll(void *, unsigned long, int) { return 0; }
int __wrap_ioctl(int, unsigned long, ...) { return -1; }
int __wrap_setsockopt(int, int, int, const void *, socklen_t) { return 0; }

unsigned int __wrap_sleep(unsigned int uSeconds)
{
    if (uSeconds != 5) // the fuzzing engine's own
        return __real_sleep(uSeconds);
    g_tCamera.uSlept += uSeconds;
    return 0;
}

__attribute__((format(printf, 2, 3))) void __wrap_syslog(int, const char *pszFormat, ...)
{
    char szLine[1024];
    va_list tArguments;
    va_start(tArguments, pszFormat);
    vsnprintf(szLine, sizeof szLine, pszFormat, tArguments);
    va_end(tArguments);
}

int __wrap_socket(int, int, int)
{
    if (Fails('s'))
        return -1;
    Require(++g_tCamera.iSockets == 1, "one connection at a time");
    return CAMERA_SOCKET;
}

int __wrap_connect(int, const struct sockaddr *ptAddress, socklen_t uLength)
{
    const std::string strAddress(reinterpret_cast<const char *>(ptAddress), uLength);
    g_tCamera.cPeer = strAddress.find("/tmp/configer") == offsetof(sockaddr_un, sun_path)  ? 'c'
                      : strAddress.find("/tmp/ptzctrl") == offsetof(sockaddr_un, sun_path) ? 'p'
                                                                                           : 'a';
    errno = Fails('r') ? EAGAIN : ECONNREFUSED;
    return Fails(g_tCamera.cPeer) ? -1 : 0;
}

ssize_t __wrap_write(int iFile, const void *pBuffer, size_t uSize)
{
    if (iFile != CAMERA_SOCKET)
        return __real_write(iFile, pBuffer, uSize);
    const std::string strRequest(static_cast<const char *>(pBuffer), uSize);
    if (g_tCamera.cPeer == 'c')
        Check_Set(strRequest);
    return Fails('w') ? -1 : static_cast<ssize_t>(uSize);
}

ssize_t __wrap_read(int iFile, void *pBuffer, size_t uSize)
{
    if (iFile != CAMERA_SOCKET)
        return __real_read(iFile, pBuffer, uSize);
    errno = EAGAIN;
    if (Fails('r'))
        return -1;
    if (g_tCamera.cPeer != 'c')
        return std::min(Take_Answer(pBuffer, uSize), static_cast<ssize_t>(uSize));
    memset(pBuffer, 'x', uSize);
    return Fails('f') ? static_cast<ssize_t>(uSize) : 2;
}

ssize_t __wrap_send(int iSocket, const void *pBuffer, size_t uSize, int)
{
    return __wrap_write(iSocket, pBuffer, uSize);
}
ssize_t __wrap_recv(int iSocket, void *pBuffer, size_t uSize, int) { return __wrap_read(iSocket, pBuffer, uSize); }

int __wrap_close(int iFile)
{
    if (iFile != CAMERA_SOCKET)
        return __real_close(iFile);
    Require(--g_tCamera.iSockets == 0, "a connection is closed once");
    return 0;
}
}

static void Fill_Camera(FuzzInput tInput)
{
    constexpr uint8_t SEPARATOR = 0xff;
    for (FuzzText *pacText :
         {&g_tCamera.acMethod, &g_tCamera.acAddress, &g_tCamera.acLength, &g_tCamera.acFaults, &g_tCamera.acRequest})
        *pacText = Take_Text(&tInput, SEPARATOR);
    if (g_tCamera.acLength.size() == 1) {
        const std::string strLength = std::to_string(g_tCamera.acRequest.size() - 1);
        g_tCamera.acLength.assign(strLength.c_str(), strLength.c_str() + strLength.size() + 1);
    }
    for (size_t i = 0; i < MEMORY_FILES; i++) {
        if (g_atFile[i].iFile < 0)
            g_atFile[i].iFile = memfd_create("camera", 0);
        const FuzzText acText = Take_Text(&tInput, SEPARATOR);
        const bool bFilled =
            ftruncate(g_atFile[i].iFile, 0) == 0 && pwrite(g_atFile[i].iFile, acText.data(), acText.size() - 1, 0) >= 0;
        Require(bFilled, "the camera has its files");
        g_atFile[i].strPlace = "/proc/self/fd/" + std::to_string(g_atFile[i].iFile);
        g_atFile[i].bWritten = false;
    }
    while (tInput.uSize > 0)
        g_tCamera.aacAnswer.push_back(Take_Text(&tInput, SEPARATOR));
    for (PTZCommandGroup *ptGroup = g_tPTZDispatchTable; ptGroup->iId != -1; ptGroup++)
        ptGroup->iSupported = 0;
}

static constexpr int32_t REPLY_LIMIT = 4094;

template <size_t N> static bool Ends(const char (&acField)[N]) { return memchr(acField, '\0', N) != nullptr; }

// Runs the states one by one. The sanitizer does not see one field of the context run over into the next.
static void Run_States(ParamContext *ptContext)
{
    bool bItem = false;
    for (int iCall = 0; ptContext->iState != PARAM_STATE_Finish && iCall < PARAM_CALL_LIMIT; iCall++) {
        const int32_t iState = ptContext->iState, iLength = ptContext->iOutputLen;
        Require(iState > PARAM_STATE_Initial && iState < PARAM_STATE_Finish, "every state is one that can be run");
        Require(iState != PARAM_STATE_Dispatch || !bItem, "an item has its line before the next begins");
        bItem |= iState == PARAM_STATE_Dispatch;
        g_tParamStateRoutine[iState](ptContext);
        if (iState == PARAM_STATE_Compose) {
            Require(!bItem || ptContext->iOutputLen > iLength || iLength >= REPLY_LIMIT, "every item has a line");
            bItem = false;
        }
        Require(Ends(ptContext->szRequest) && Ends(ptContext->szParamName) && Ends(ptContext->szValue) &&
                    Ends(ptContext->szSetValue) && Ends(ptContext->szErrorMsg) && Ends(ptContext->szCodec),
                "every text ends inside its field");
        Require(memchr(ptContext->szOutput, '\0', REPLY_LIMIT + 1) != nullptr, "the reply is not too long");
    }
}

static void Check_Files()
{
    for (size_t i = 0; i < XML_FILES; i++) {
        SXMLParserContext *ptParser = nullptr;
        if (!g_atFile[i].bWritten || Fails('o') || SXMLParser_Initial(&ptParser) != 0)
            continue;
        Require(SXMLParser_ProcessFile(ptParser, g_atFile[i].strPlace.c_str(), SXML_MODE_TREE) == 0,
                "a file that was written can be read");
        SXMLParser_Release(&ptParser);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pData, size_t uSize)
{
    g_tCamera = {};
    Fill_Camera({pData, uSize});
    FILE *ptStdin = stdin, *ptStdout = stdout;
    char *pcPrinted = nullptr;
    size_t uPrinted = 0;
    stdin = fmemopen(g_tCamera.acRequest.data(), g_tCamera.acRequest.size() - 1, "r");
    stdout = open_memstream(&pcPrinted, &uPrinted);
    auto *ptContext = static_cast<ParamContext *>(calloc(1, sizeof(ParamContext)));
    Require(stdin != nullptr && stdout != nullptr && ptContext != nullptr, "there is memory");

    ptContext->iState = PARAM_STATE_Getenv;
    InitiateVideoParam(ptContext);
    Run_States(ptContext);

    fclose(stdin);
    fclose(stdout);
    stdin = ptStdin;
    stdout = ptStdout;
    const size_t uReply = strlen(ptContext->szOutput);
    Require(ptContext->iState != PARAM_STATE_Finish ||
                (uPrinted > uReply && memcmp(pcPrinted + uPrinted - uReply, ptContext->szOutput, uReply) == 0),
            "the reply is printed last");
    Require(g_tCamera.iSockets == 0 && g_tCamera.uSlept <= 45, "connections are closed, and nothing sleeps for long");
    Check_Files();
    free(pcPrinted);
    free(ptContext);
    return 0;
}
