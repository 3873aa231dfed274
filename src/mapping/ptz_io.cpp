#include "mapping/ptz_io.h"

#include "common/daemon_socket.h"
#include "common/int32.h"
#include "common/log_identity.h"
#include "common/string_util.h"
#include "conflib/semaphore.h"
#include "mapping/camera_key.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

static constexpr size_t NUMBER_SIZE = 512; ///< room for a number whose key has no size of its own

// PTZ daemon.

static constexpr int CONNECT_ATTEMPTS = 10;
static constexpr unsigned int RETRY_SECONDS = 5;

enum PTZRow { PTZ_PAN = 2, PTZ_TILT, PTZ_ZOOM, PTZ_FOCUS, PTZ_IRIS, PTZ_POSITION, PTZ_PATTERN };

PTZCommandGroup g_tPTZDispatchTable[] = {
    {0, nullptr, 0},
    {1, nullptr, 0},
    {PTZ_PAN, "PanSpeed,", 0},
    {PTZ_TILT, "TiltSpeed,", 0},
    {PTZ_ZOOM, "ZoomSpeed,", 0},
    {PTZ_FOCUS, "FocusSpeed,", 0},
    {PTZ_IRIS, "IrisSpeed,", 0},
    {PTZ_POSITION, "Flip,GoHome,GotoPreset,SetPreset,ClearPreset,GetPTZPosition,GotoAbsolutePosition,", 0},
    {PTZ_PATTERN, "RecPatternStart,RecPatternStop,RunPattern,ClearPattern,", 0},
    {-1, nullptr, 0},
};

int Quorvex_PTZSupport(ParamContext *ptContext)
{
    // A named pipe in its place must not hold the request until somebody writes into it, and a stream would cost a page
    // of the heap and three system calls in every request.
    const int iFile = open(PTZ_PID_FILE, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ptContext->bPtzDaemonRunning = iFile >= 0 ? 1 : 0;
    if (iFile >= 0)
        close(iFile);
    return 0;
}

int SupportPTZType(const PTZCapability *ptCapability)
{
    if (ptCapability == nullptr)
        return PTZ_TYPE_UNKNOWN;
    if (ptCapability->iEnabled < 1)
        return PTZ_TYPE_OFF;
    if (ptCapability->iZoomModule < 1)
        return PTZ_TYPE_NO_ZOOM;
    return ptCapability->iBuiltInPanTilt < 1 ? PTZ_TYPE_ZOOM : PTZ_TYPE_FULL;
}

static void Mark_Supported(PTZRow eRow) { g_tPTZDispatchTable[eRow].iSupported = 1; }

static bool Is_Supported(PTZRow eRow) { return g_tPTZDispatchTable[eRow].iSupported == 1; }

int Quorvex_GetPTZCommand(ParamContext * /*ptContext*/)
{
    const PTZCapability tCapability = {Read_KeyNumber<4>("capability_ptzenabled"),
                                       Read_KeyNumber<2>("capability_camctrl_c0_zoommodule"),
                                       Read_KeyNumber<2>("capability_camctrl_c0_buildinpt")};
    const int iType = SupportPTZType(&tCapability);
    if (iType != PTZ_TYPE_FULL && iType != PTZ_TYPE_ZOOM)
        return 0;
    Mark_Supported(PTZ_ZOOM);
    Mark_Supported(PTZ_FOCUS);
    if (iType == PTZ_TYPE_ZOOM)
        return 0;
    Mark_Supported(PTZ_PAN);
    Mark_Supported(PTZ_TILT);
    Mark_Supported(PTZ_POSITION);
    if (CheckSupportPTZPattern() == 0)
        Mark_Supported(PTZ_PATTERN);
    return 0;
}

/// Reads "major.minor.patch.build"; what does not fit that form ends it, and the rest stays 0.
static void Parse_Version(const char *pszText, int32_t (&aiPart)[4])
{
    for (int32_t &iPart : aiPart) {
        const char *pszEnd = pszText;
        iPart = Int32_FromText(pszText, &pszEnd);
        if (pszEnd == pszText || *pszEnd != '.')
            return;
        pszText = pszEnd + 1;
    }
}

int CheckSupportPTZPattern()
{
    char szReply[256] = "";
    QvrxParam_UnixSocketClient(PTZ_SOCKET, "camctrl.cgi?getversion", szReply, sizeof szReply);
    const char *pcEqual = strchr(szReply, '=');
    if (pcEqual == nullptr)
        return -1;
    int32_t aiPart[4] = {};
    Parse_Version(pcEqual + 1, aiPart);
    // The lower parts count whatever the major is, so 6.0.0.0 has no patterns: the rule that drivers know.
    return aiPart[0] > 4 && (aiPart[1] > 0 || aiPart[2] > 0 || aiPart[3] > 18) ? 0 : -1;
}

static int Connect_Retrying(int iSocket, const char *pszPath)
{
    for (int iAttempt = 1; UnixSocket_Connect(iSocket, pszPath, WAIT_PTZ) != 0; ++iAttempt) {
        if (iAttempt == CONNECT_ATTEMPTS) {
            syslog(LOG_CRIT, "[%s] Connot connect to PTZCtrl for 10 times", LOG_IDENTITY);
            return -1;
        }
        // A daemon that let a whole wait run out hangs; trying again would only multiply the wait.
        const bool bHangs = errno == EAGAIN;
        syslog(LOG_CRIT, "[%s] Connot connect to PTZCtrl", LOG_IDENTITY);
        if (bHangs)
            return -1;
        sleep(RETRY_SECONDS);
    }
    return 0;
}

static int Ask_Connected(int iSocket, const char *pszRequest, char *pcReply, size_t uReplySize)
{
    if (write(iSocket, pszRequest, strlen(pszRequest)) < 0)
        return -1;
    if (pcReply == nullptr)
        return 0;
    memset(pcReply, 0, uReplySize < 4 ? uReplySize : 4);
    return uReplySize > 0 && Socket_Receive(iSocket, pcReply, uReplySize - 1, WAIT_PTZ) > 0 ? 0 : -1;
}

int QvrxParam_UnixSocketClient(const char *pszPath, const char *pszRequest, char *pcReply, size_t uReplySize)
{
    const int iSocket = socket(AF_UNIX, SOCK_STREAM, 0);
    if (iSocket < 0)
        return -1;
    int iResult = Connect_Retrying(iSocket, pszPath);
    if (iResult == 0)
        iResult = Ask_Connected(iSocket, pszRequest, pcReply, uReplySize);
    close(iSocket);
    return iResult;
}

static int Get_PTZ_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, ptContext->bPtzDaemonRunning == 1 ? "1" : "0");
}
const DispatchRecord g_tPTZ_EntityCount_Dispatch = {nullptr, nullptr, Get_PTZ_EntityCount_MappingRoutine};

static int Get_PTZ_Capability_CommandList_MappingRoutine(ParamContext *ptContext)
{
    if (ptContext->bPtzDaemonRunning != 1)
        return -1;
    for (const PTZCommandGroup *ptGroup = g_tPTZDispatchTable; ptGroup->iId != -1; ++ptGroup)
        if (ptGroup->iSupported == 1)
            Append_Answer(ptContext, ptGroup->pszCommand);
    Cut_LastComma(ptContext);
    return 0;
}
const DispatchRecord g_tPTZ_Capability_CommandList_Dispatch = {nullptr, nullptr,
                                                               Get_PTZ_Capability_CommandList_MappingRoutine};

static int Get_PTZ_Capability_PresetNumber_MappingRoutine(ParamContext *ptContext)
{
    return Is_Supported(PTZ_POSITION) ? Answer_Key(ptContext, "capability_npreset") : Answer_Text(ptContext, "0");
}
const DispatchRecord g_tPTZ_Capability_PresetNumber_Dispatch = {nullptr, nullptr,
                                                                Get_PTZ_Capability_PresetNumber_MappingRoutine};

static int Get_PTZ_Capability_PatternNumber_MappingRoutine(ParamContext *ptContext)
{
    // Not the pattern row: platform drivers expect the four slots of every full PTZ camera.
    return Answer_Text(ptContext, Is_Supported(PTZ_POSITION) ? "4" : "0");
}
const DispatchRecord g_tPTZ_Capability_Pattern_Dispatch = {nullptr, nullptr,
                                                           Get_PTZ_Capability_PatternNumber_MappingRoutine};

// Storage.

static int Get_Storage_Capabilities_RecordingControlSupported_MappingRoutine(ParamContext *ptContext)
{
    return Answer_BooleanKey(ptContext, "capability_supportsd");
}
const DispatchRecord g_tStorage_Capabilities_RecordingControlSupported_Dispatch = {
    nullptr, nullptr, Get_Storage_Capabilities_RecordingControlSupported_MappingRoutine};

static int Get_Storage_Device_Capabilities_FormatSupported_MappingRoutine(ParamContext *ptContext)
{
    return Answer_BooleanKey(ptContext, "capability_supportsd");
}
const DispatchRecord g_tStorage_Device_Capabilities_FormatSupported_Dispatch = {
    nullptr, nullptr, Get_Storage_Device_Capabilities_FormatSupported_MappingRoutine};

static int Get_Storage_Device_Capabilities_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    char szSupported[4] = "";
    if (Read_Key(szSupported, sizeof szSupported, "capability_supportsd") != 0)
        return -1;
    return Answer_Text(ptContext, strcmp(szSupported, "1") == 0 ? "1" : "0");
}
const DispatchRecord g_tStorage_Device_Capabilities_EntityCount_Dispatch = {
    nullptr, nullptr, Get_Storage_Device_Capabilities_EntityCount_MappingRoutine};

static int Get_Storage_MappingRoutine(ParamContext *ptContext)
{
    const bool bCard = Read_KeyNumber<NUMBER_SIZE>("capability_supportsd") == 1;
    const bool bSeamless = Read_KeyNumber<NUMBER_SIZE>("capability_localstorage_seamless") > 0;
    return Answer_Boolean(ptContext, bCard && bSeamless);
}
const DispatchRecord g_tVideoInput_StorageSupported_Dispatch = {nullptr, nullptr, Get_Storage_MappingRoutine};

// Digital output. A read answers the camera's word, although a write takes the platform's: drivers expect the
// difference.

static int Check_Do_State_Value_Routine(ParamContext *ptContext)
{
    static constexpr WordPair STATES[] = {{"open", "open"}, {"close", "grounded"}};
    return Rewrite_Value(ptContext, STATES);
}

static int Set_DO_State_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("do_i%d_normalstate", ptContext->iIndex1), ptContext->szValue);
}

static int Get_DO_State_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, Make_Key("do_i%d_normalstate", ptContext->iIndex1));
}
const DispatchRecord g_tDO_State_Dispatch = {Check_Do_State_Value_Routine, Set_DO_State_MappingRoutine,
                                             Get_DO_State_MappingRoutine};

// Analytics.

static constexpr in_port_t ANALYTICS_PORT = 80;
static constexpr char CAPABILITY_REQUEST[] =
    "GET /VCA/Capability HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: keep-alive\r\n\r\n";
static constexpr char FUNCTIONS_REQUEST[] =
    "GET /VCA/Functions HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: keep-alive\r\n\r\n";

/// Closes the connection and makes every later use of it fail, rather than reach a descriptor opened since.
static void Close_Analytics(ParamContext *ptContext)
{
    close(ptContext->iAnalyticsSocket);
    ptContext->iAnalyticsSocket = -1;
}

int Quorvex_TCPSocketClient(ParamContext *ptContext)
{
    // The configuration daemon need not wait with this program.
    Give_KeptSemaphore();
    ptContext->iAnalyticsSocket = socket(AF_INET, SOCK_STREAM, 0);
    if (ptContext->iAnalyticsSocket < 0) {
        syslog(LOG_CRIT, "TCP Socket failed");
        return -1;
    }
    const int iReuse = 1;
    setsockopt(ptContext->iAnalyticsSocket, SOL_SOCKET, SO_REUSEADDR, &iReuse, sizeof iReuse);
    struct sockaddr_in tAddress = {};
    tAddress.sin_family = AF_INET;
    tAddress.sin_port = htons(ANALYTICS_PORT);
    tAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (Socket_Connect(ptContext->iAnalyticsSocket, reinterpret_cast<const struct sockaddr *>(&tAddress),
                       sizeof tAddress, WAIT_ANALYTICS) != 0) {
        Close_Analytics(ptContext);
        syslog(LOG_CRIT, "connect failed");
        return -1;
    }
    return 0;
}

static int Ask_Analytics(ParamContext *ptContext, const char *pcRequest, size_t uRequestSize, char *pcReply,
                         size_t uReplySize)
{
    const bool bSent = send(ptContext->iAnalyticsSocket, pcRequest, uRequestSize, 0) >= 0;
    const ssize_t lReceived =
        bSent && uReplySize > 0 ? Socket_Receive(ptContext->iAnalyticsSocket, pcReply, uReplySize, WAIT_ANALYTICS) : -1;
    Close_Analytics(ptContext);
    if (lReceived < 0) {
        syslog(LOG_CRIT, "%s", bSent ? "TCP Socket revc failed\n" : "TCP Socket send failed\n");
        return -1;
    }
    return 0;
}

int Quorvex_GetPeopleCount_Value(ParamContext *ptContext, char *pcBuffer, size_t uSize)
{
    memset(pcBuffer, 0, uSize);
    Copy_Text(pcBuffer, uSize, CAPABILITY_REQUEST);
    return Ask_Analytics(ptContext, pcBuffer, uSize, pcBuffer, uSize);
}

int QuorvexEvent_GetSmartVCA_Value(ParamContext *ptContext, char *pcReply, size_t uSize)
{
    char acRequest[512] = "";
    memcpy(acRequest, FUNCTIONS_REQUEST, sizeof FUNCTIONS_REQUEST);
    return Ask_Analytics(ptContext, acRequest, sizeof acRequest, pcReply, uSize);
}

static int Get_VideoInput_Capabilities_PeopleCount_MappingRoutine(ParamContext *ptContext)
{
    char szBuffer[256 + 1] = "";
    if (Quorvex_TCPSocketClient(ptContext) != 0)
        return -1;
    Quorvex_GetPeopleCount_Value(ptContext, szBuffer, sizeof szBuffer - 1);
    return Answer_Boolean(ptContext, strstr(szBuffer, "3D-counting") != nullptr);
}
const DispatchRecord g_tVideoInput_Capability_PeopleCounting_Dispatch = {
    nullptr, nullptr, Get_VideoInput_Capabilities_PeopleCount_MappingRoutine};

// Custom events.

/// A word in a text of the camera and the event that it stands for.
struct EventWord {
    const char *pszWord;
    const char *pszEvent;
};

template <size_t N>
static void Append_Events(ParamContext *ptContext, const char *pszText, const EventWord (&atWords)[N])
{
    for (const EventWord &tWord : atWords)
        if (strstr(pszText, tWord.pszWord) != nullptr)
            Append_Answer(ptContext, tWord.pszEvent);
}

static int Get_CustomEventList_MappingRoutine(ParamContext *ptContext)
{
    static constexpr EventWord TAMPERING[] = {
        {"toodark", "Too Dark,"}, {"toobright", "Too Bright,"}, {"tooblurry", "Too Blurry,"}};
    static constexpr EventWord KEYS[] = {{"capability_npir", "PIR,"},
                                         {"capability_localstorage_smartsd", "SD,"},
                                         {"capability_thermal_temperaturedetection", "Temperature,"}};
    static constexpr EventWord FUNCTIONS[] = {
        {"FieldDetection", "FieldDetect,"}, {"AbandonObject", "AbandonDetect,"}, {"MissingObject", "MissingDetect,"}};

    char szModes[64] = "";
    if (Read_Key(szModes, sizeof szModes, "capability_tamperingmode") == 0)
        Append_Events(ptContext, szModes, TAMPERING);
    for (const EventWord &tKey : KEYS)
        if (Read_KeyNumber<NUMBER_SIZE>(tKey.pszWord) == 1)
            Append_Answer(ptContext, tKey.pszEvent);

    char szReply[512 + 1] = "";
    // Without a connection the question fails, too, and both are logged.
    Quorvex_TCPSocketClient(ptContext);
    if (QuorvexEvent_GetSmartVCA_Value(ptContext, szReply, sizeof szReply - 1) == 0)
        Append_Events(ptContext, szReply, FUNCTIONS);
    Cut_LastComma(ptContext);
    return 0;
}
const DispatchRecord g_tCustomEvent_List_Dispatch = {nullptr, nullptr, Get_CustomEventList_MappingRoutine};
