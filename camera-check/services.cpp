#include "ask.h"
#include "check.h"
#include "key_table.h"
#include "place.h"
#include "report.h"
#include "snapshot_tree.h"

#include "common/int32.h"
#include "common/wait.h"
#include "conflib/configer.h"
#include "conflib/semaphore.h"
#include "mapping/camera_key.h"
#include "mapping/general.h"
#include "mapping/ptz_io.h"

#include <arpa/inet.h>
#include <errno.h>
#include <net/if.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

static constexpr size_t NAME_SIZE = 64;

/// Why a service has not answered.
static const char *Get_Reason(int iError) { return iError == EAGAIN ? "it is silent" : strerror(iError); }

// The caller.

/// What is wrong with the value of a variable, what follows and what helps; null: nothing.
static const char *Find_AddressFault(const char *pszAddress)
{
    char szAddress[NAME_SIZE];
    snprintf(szAddress, sizeof szAddress, "%.*s", static_cast<int>(strcspn(pszAddress, "%")), pszAddress); // no zone
    unsigned char abAddress[sizeof(struct in6_addr)];
    // A C library without IPv6 cannot tell, and says so by -1.
    if (inet_pton(AF_INET, szAddress, abAddress) == 1 || inet_pton(AF_INET6, szAddress, abAddress) != 0)
        return nullptr;
    return "is no IP address, yet it is what parameters answer for the camera's own; let the web server set it";
}

static const char *Find_MethodFault(const char *pszMethod)
{
    return strcmp(pszMethod, "GET") == 0 || strcmp(pszMethod, "POST") == 0
               ? nullptr
               : "is neither GET nor POST, so the answer is \"Get an unknown HTTP method\"; ask with one of those";
}

static const char *Find_LengthFault(const char *pszLength)
{
    const char *pszEnd = pszLength;
    const int32_t iLength = Int32_FromText(pszLength, &pszEnd);
    if (pszEnd == pszLength || *pszEnd != '\0')
        return "is no number, so a write is answered as if it had no body; let the web server set it";
    return iLength >= 0 && iLength < static_cast<int32_t>(sizeof ParamContext::szRequest)
               ? nullptr
               : "is not 0 to 4095, so the answer is \"The post content length is too long\"; send fewer lines at a "
                 "time";
}

/// pfnFault: null where any value will do.
static void Check_Variable(const char *pszName, const char *pszFor, const char *(*pfnFault)(const char *pszValue))
{
    const char *pszValue = getenv(pszName);
    const char *pszFault = pszValue != nullptr && pfnFault != nullptr ? pfnFault(pszValue) : nullptr;
    if (pszValue == nullptr)
        Report_Bad("environment", "%s is not set, so %s is answered by one line of error; let the web server set it",
                   pszName, pszFor);
    else if (pszFault != nullptr)
        Report_Bad("environment", "%s=\"%s\" %s", pszName, pszValue, pszFault);
    else
        Report_Good("environment", "%s=%s", pszName, pszValue);
}

bool Is_CgiProgram() { return getenv("REQUEST_METHOD") != nullptr || getenv("GATEWAY_INTERFACE") != nullptr; }

void Check_Caller()
{
    Report_Good("user", "uid %d, gid %d; the web server's user is the one that counts", static_cast<int>(geteuid()),
                static_cast<int>(getegid()));
    if (!Is_CgiProgram()) {
        Report_Good("environment", "not looked at, as no web server has started this; put a copy into the folder of "
                                   "param.cgi for a moment and ask for it to have it checked");
        return;
    }
    Check_Variable("SERVER_ADDR", "every request", Find_AddressFault);
    Check_Variable("REQUEST_METHOD", "every request", Find_MethodFault);
    const char *pszMethod = getenv("REQUEST_METHOD");
    if (pszMethod != nullptr && strcmp(pszMethod, "POST") == 0)
        Check_Variable("CONTENT_LENGTH", "every write", Find_LengthFault);
    if (pszMethod != nullptr && strcmp(pszMethod, "GET") == 0)
        Check_Variable("QUERY_STRING", "every read", nullptr);
}

// The daemon's semaphore and snapshot.

static void Get_ProcessName(int iPid, char (&szName)[NAME_SIZE])
{
    char szPath[32];
    snprintf(szPath, sizeof szPath, "/proc/%d/comm", iPid);
    snprintf(szName, sizeof szName, "which is no longer there");
    FILE *ptFile = fopen(szPath, "re");
    if (ptFile == nullptr)
        return;
    if (fgets(szName, sizeof szName, ptFile) != nullptr)
        szName[strcspn(szName, "\n")] = '\0';
    fclose(ptFile);
}

/// Returns the semaphore, taken; -1 when it cannot be had.
static int Check_Semaphore(key_t tKey)
{
    const int iSemaphore = semget(tKey, 1, 0);
    if (iSemaphore == -1) {
        Report_Bad("semaphore", "there is none with the key 0x%08x (%s), so no key can be read; start configer",
                   static_cast<unsigned int>(tKey), strerror(errno));
        return -1;
    }
    if (Take_Semaphore(iSemaphore) == 0) {
        const int iLeft = semctl(iSemaphore, 0, GETVAL);
        if (iLeft > 0)
            Report_Bad("semaphore",
                       "id %d lets %d in at a time, so a read may meet a write of configer's half done; restart "
                       "configer, and look for who else gives it back",
                       iSemaphore, iLeft + 1);
        else
            Report_Good("semaphore", "id %d, free", iSemaphore);
        return iSemaphore;
    }
    if (errno != EAGAIN) {
        Report_Bad(
            "semaphore",
            "id %d cannot be used (%s), so no key can be read; let configer give this user the right to alter it",
            iSemaphore, strerror(errno));
        return -1;
    }
    const int iPid = semctl(iSemaphore, 0, GETPID);
    char szName[NAME_SIZE];
    Get_ProcessName(iPid, szName);
    Report_Bad("semaphore",
               "id %d is not free within two seconds, so no key can be read; process %d (%s) has used it last: end or "
               "restart that one, and configer where it is no longer there",
               iSemaphore, iPid, szName);
    return -1;
}

static void Report_Damage(const TreeSummary &tSummary)
{
    Report_BeginBad("tree");
    Report_Say("%u damaged elements among %u, the first at \"", tSummary.dwDamaged, tSummary.dwElements);
    Report_SayEscaped(tSummary.szDamaged, strlen(tSummary.szDamaged));
    Report_Say("\": %s; keys behind it cannot be read; restart configer, and look for who else writes to the segment\n",
               tSummary.pszDamaged);
}

/// Whether the tree is one that keys can be looked for in.
static bool Check_Tree(SnapshotSegment *ptCopy)
{
    TreeSummary tSummary = {};
    if (Walk_Tree(ptCopy, nullptr, nullptr, &tSummary) != 0)
        Report_Bad("tree", "no memory for a walk; end what needs it");
    else if (tSummary.dwDamaged > 0)
        Report_Damage(tSummary);
    else if (tSummary.dwKeys == 0)
        Report_Bad("tree", "it is empty, so no key can be read; configer has not published its settings");
    else
        Report_Good("tree", "%u elements, %u keys, no damaged link", tSummary.dwElements, tSummary.dwKeys);
    return tSummary.dwDamaged == 0 && tSummary.dwKeys > 0;
}

/// Whether there is a snapshot that keys can be read from. The semaphore is given back when its copy has been taken.
static bool Check_Segment(key_t tKey, int iSemaphore)
{
    const int iSegment = shmget(tKey, 0, 0);
    struct shmid_ds tStatus = {};
    void *pSegment = iSegment != -1 ? shmat(iSegment, nullptr, 0) : nullptr;
    const bool bAttached = pSegment != nullptr && reinterpret_cast<intptr_t>(pSegment) != -1;
    const int iError = errno;
    SnapshotSegment tCopy = {};
    const bool bCopied = bAttached && shmctl(iSegment, IPC_STAT, &tStatus) == 0 &&
                         Copy_Segment(pSegment, tStatus.shm_segsz, &tCopy) == 0;
    if (iSemaphore != -1)
        Give_Semaphore(iSemaphore);
    if (bAttached)
        shmdt(pSegment);
    if (iSegment == -1) {
        Report_Bad("segment", "there is none with the key 0x%08x (%s), so no key can be read; start configer",
                   static_cast<unsigned int>(tKey), strerror(iError));
        return false;
    }
    if (!bCopied) {
        Report_Bad("segment",
                   "id %d cannot be attached for reading and writing and looked at (%s), so no key can be read; let "
                   "configer give this user the right",
                   iSegment, strerror(bAttached ? errno : iError));
        return false;
    }
    bool bReadable = false;
    const bool bRoom = tCopy.dwSize >= 2 * sizeof(uint32_t) + sizeof(SnapshotNode);
    if (bRoom) {
        Report_Good("segment", "id %d, %u bytes, mapped by configer at 0x%08x", iSegment, tCopy.dwSize,
                    tCopy.dwDaemonBase);
        bReadable = Check_Tree(&tCopy);
    } else {
        Report_Bad("segment",
                   "id %d has %u bytes, which is no room for a tree, so no key can be read; restart configer", iSegment,
                   tCopy.dwSize);
    }
    Release_Copy(&tCopy);
    return bReadable;
}

/// A key of the table that the snapshot has a value for, to ask the daemon for the same; one that every camera has when
/// there is none. pszValue is empty then.
static FilledText Choose_Probe(bool bReadable, char *pszValue, size_t uSize)
{
    FilledText tKey = {"capability_nvideoin"};
    SnapshotOutcome eOutcome = bReadable ? Configer_LookUp(tKey, pszValue, uSize) : SNAPSHOT_NO_SUCH_KEY;
    for (const KeyUse *ptUse = g_atKeyUse; bReadable && ptUse->pszKey != nullptr; ++ptUse) {
        if (eOutcome == SNAPSHOT_UNAVAILABLE || (eOutcome == SNAPSHOT_READ && pszValue[0] != '\0'))
            break;
        if (strchr(ptUse->pszKey, '{') != nullptr)
            continue;
        tKey = Fill_Key(ptUse->pszKey, NO_PLACE);
        eOutcome = Configer_LookUp(tKey, pszValue, uSize);
    }
    if (eOutcome != SNAPSHOT_READ)
        pszValue[0] = '\0';
    return tKey;
}

/// What an answer means that is not the value in the snapshot. For a write any answer will do, unless it is long.
static void Report_Answer(const char *pszKey, const char *pszReply, size_t uLength, const char *pszValue)
{
    const char *pszWrites =
        uLength < CONFIGER_SET_SIZE ? "a write may be answered as done without being so" : "writes fail";
    if (uLength == 0)
        Report_Bad(
            "daemon",
            "an empty answer on %s to a question for %s, so %s, and a read of what it keeps to itself answers an "
            "empty text; restart configer",
            CONFIGER_SOCKET, pszKey, pszWrites);
    else
        Report_Bad(
            "daemon",
            "answers \"%.40s\" on %s to a question for %s, which is \"%.40s\" in its snapshot, so %s, and a read "
            "of what it keeps to itself answers the like; restart configer",
            pszReply, CONFIGER_SOCKET, pszKey, pszValue, pszWrites);
}

/// Asks the daemon for what its snapshot holds, and returns whether it answers that. A value that is changed between
/// the two is asked for once more.
static bool Check_Socket(bool bReadable)
{
    char szReply[512] = "";
    char szValue[512] = "";
    FilledText tKey;
    int32_t iSeconds = 0;
    int iResult = 0;
    int iError = 0;
    for (int iTry = 0; iTry < 2; ++iTry) {
        tKey = Choose_Probe(bReadable, szValue, sizeof szValue);
        const Wait tWait = Begin_Wait(WAIT_DAEMON);
        iResult = Ask_Configer(tKey, szReply, sizeof szReply);
        iError = errno;
        iSeconds = End_Wait(tWait) / 1000;
        if (iResult != 0 || strcmp(szReply, szValue) == 0)
            break;
    }
    size_t uLength = sizeof szReply;
    while (uLength > 0 && szReply[uLength - 1] == '\0')
        --uLength;
    const bool bGood = iResult == 0 && uLength > 0 && (szValue[0] == '\0' || strcmp(szReply, szValue) == 0);
    if (bGood)
        Report_Good("daemon", "answers a question on %s within %d s%s", CONFIGER_SOCKET, iSeconds + 1,
                    szValue[0] != '\0' ? ", as its snapshot does" : "");
    else if (iResult == 0)
        Report_Answer(tKey, szReply, uLength, szValue);
    else
        Report_Bad("daemon",
                   "no answer on %s after %d s (%s), so writes fail, and reads of what it keeps to itself%s; %s",
                   CONFIGER_SOCKET, iSeconds, iError != 0 ? Get_Reason(iError) : "it is too long",
                   iError == EAGAIN ? ", after 10 s each" : "",
                   iError == EACCES ? "let this user write to the socket" : "start configer again");
    return bGood;
}

/// The key of a snapshot that a process holds and that was made with another file in the daemon's place: a segment and
/// a semaphore of one key, with the daemon's project number in front. 0 when there is none.
static unsigned int Find_OtherKey(key_t tKey)
{
    FILE *ptFile = fopen("/proc/sysvipc/shm", "re");
    char szLine[512];
    unsigned int dwFound = 0;
    while (ptFile != nullptr && dwFound == 0 && fgets(szLine, sizeof szLine, ptFile) != nullptr) {
        int iOther = 0;
        int iHolders = 0;
        const bool bHeld = sscanf(szLine, "%d %*s %*s %*s %*s %*s %d", &iOther, &iHolders) == 2 && iHolders > 0;
        if (bHeld && iOther != tKey && static_cast<unsigned int>(iOther) >> 24 == CONFIGER_PROJECT &&
            semget(iOther, 1, 0) != -1)
            dwFound = static_cast<unsigned int>(iOther);
    }
    if (ptFile != nullptr)
        fclose(ptFile);
    return dwFound;
}

/// Whether the file that makes the key is that of the daemon that runs.
static bool Check_KeyFile(key_t tKey)
{
    if (tKey == -1) {
        Report_Bad("ftok file",
                   "%s: %s, so no key can be read; install it, or an empty file of that name, and start configer again",
                   CONFIGER_PROGRAM, strerror(errno));
        return false;
    }
    const bool bNone = semget(tKey, 1, 0) == -1 && errno == ENOENT && shmget(tKey, 0, 0) == -1 && errno == ENOENT;
    const unsigned int dwOther = bNone ? Find_OtherKey(tKey) : 0;
    if (dwOther != 0) {
        Report_Bad("ftok file",
                   "%s was replaced since configer started (its segment has the key 0x%08x, the file makes 0x%08x), so "
                   "no key can be read; restart configer",
                   CONFIGER_PROGRAM, dwOther, static_cast<unsigned int>(tKey));
        return false;
    }
    Report_Good("ftok file", "%s makes the key 0x%08x", CONFIGER_PROGRAM, static_cast<unsigned int>(tKey));
    return true;
}

DaemonHealth Check_Daemon()
{
    const key_t tKey = ftok(CONFIGER_PROGRAM, CONFIGER_PROJECT);
    bool bReadable = false;
    if (Check_KeyFile(tKey)) {
        const int iSemaphore = Check_Semaphore(tKey);
        bReadable = Check_Segment(tKey, iSemaphore) && iSemaphore != -1;
    }
    return {bReadable, Check_Socket(bReadable)};
}

// The other services.

/// Whether the pid file can be read, and names a process that is. What is said of one that is not there depends on
/// bFull.
static void Check_PidFile(bool bFull)
{
    FILE *ptFile = fopen(PTZ_PID_FILE, "re");
    const int iError = errno;
    if (ptFile == nullptr && iError == ENOENT && !bFull) {
        Report_Good("PTZ pid file", "none, and the camera's keys announce no full PTZ");
        return;
    }
    if (ptFile == nullptr) {
        Report_Bad("PTZ pid file", "%s %s (%s), so PTZ.Capabilities.EntityCount answers 0%s; %s", PTZ_PID_FILE,
                   iError == ENOENT ? "is not there" : "cannot be read by this user", strerror(iError),
                   bFull ? ", but the camera's keys announce PTZ" : "",
                   iError == ENOENT ? "start the PTZ daemon, or set capability_ptzenabled to 0"
                                    : "let the web server's user read it");
        return;
    }
    char szPid[16] = "";
    if (fgets(szPid, sizeof szPid, ptFile) == nullptr)
        szPid[0] = '\0';
    fclose(ptFile);
    const int32_t iPid = Int32_FromText(szPid);
    if (iPid > 0 && (kill(iPid, 0) == 0 || errno == EPERM))
        Report_Good("PTZ pid file", "%s names process %d", PTZ_PID_FILE, iPid);
    else
        Report_Bad("PTZ pid file",
                   "%s is left over from a process that has ended, so the camera answers to have PTZ; remove it, or "
                   "start the PTZ daemon",
                   PTZ_PID_FILE);
}

void Check_Ptz()
{
    const PTZCapability tCapability = {Read_KeyNumber<4>("capability_ptzenabled"),
                                       Read_KeyNumber<2>("capability_camctrl_c0_zoommodule"),
                                       Read_KeyNumber<2>("capability_camctrl_c0_buildinpt")};
    const bool bFull = SupportPTZType(&tCapability) == PTZ_TYPE_FULL;
    Check_PidFile(bFull);
    if (!bFull) {
        Report_Good("PTZ daemon", "not asked by any request: the camera's keys announce no full PTZ");
        return;
    }
    char szReply[256];
    errno = 0;
    const ssize_t lReceived = Ask_Ptz(szReply, sizeof szReply);
    const int iError = errno;
    if (lReceived > 0 && strchr(szReply, '=') != nullptr)
        Report_Good("PTZ daemon", "answers its version on %s", PTZ_SOCKET);
    else if (lReceived >= 0)
        Report_Bad("PTZ daemon",
                   "no version on %s (%s), so PTZ.1.Capabilities.CommandList has no patterns; start it again",
                   PTZ_SOCKET, lReceived == 0 ? "it closes the connection" : "the answer has none");
    else
        Report_Bad("PTZ daemon",
                   "no version on %s (%s); each request asks it, for 45 seconds when nobody listens and for 30 when it "
                   "hangs; start it again, or set capability_ptzenabled to 0",
                   PTZ_SOCKET, Get_Reason(iError));
}

void Check_Network()
{
    char szReply[512];
    const ssize_t lReceived = Ask_Analytics("/VCA/Functions", szReply, sizeof szReply);
    const int iError = errno;
    const bool bConnected = lReceived >= 0 || iError == EAGAIN || iError == ECONNRESET || iError == EPIPE;
    const int iLine = static_cast<int>(strcspn(szReply, "\r\n"));
    if (lReceived > 0 && strncmp(szReply, "HTTP/", strlen("HTTP/")) == 0)
        Report_Good("analytics", "127.0.0.1 port 80 answers \"%.*s\"", iLine, szReply);
    else if (lReceived > 0)
        Report_Bad(
            "analytics",
            "127.0.0.1 port 80 answers \"%.*s\", which is no HTTP, so people counting and the events of analytics "
            "hang on what words stand in it; start the service again",
            iLine < 40 ? iLine : 40, szReply);
    else
        Report_Bad("analytics",
                   "no answer from 127.0.0.1 port 80 (%s), so VideoInput.Capabilities.PeopleCountingSupported answers "
                   "%s, and CustomEvents.Capabilities.EventList lacks what it knows; start the service, or take it as "
                   "it is on a camera that has none",
                   lReceived == 0 ? "the connection was closed" : Get_Reason(iError),
                   bConnected ? "false" : "an internal error");

    struct ifreq tRequest = {};
    strcpy(tRequest.ifr_name, "eth0");
    const int iSocket = socket(AF_INET, SOCK_DGRAM, 0);
    const bool bAddress = ioctl(iSocket, SIOCGIFHWADDR, &tRequest) == 0;
    close(iSocket);
    char szAddress[32] = "";
    Catch_MAC(szAddress, sizeof szAddress);
    if (bAddress)
        Report_Good("eth0", "%s", szAddress);
    else
        Report_Bad("eth0",
                   "no such interface, so a camera without a serial number answers Network.1.MacAddress=%s; see to it "
                   "that system_info_serialnumber is set, or name the interface eth0",
                   szAddress);
}

void Check_Log()
{
    struct sockaddr_un tAddress = {AF_UNIX, "/dev/log"};
    const int iSocket = socket(AF_UNIX, SOCK_DGRAM, 0);
    struct pollfd tRoom = {iSocket, POLLOUT, 0};
    const bool bConnected =
        connect(iSocket, reinterpret_cast<const struct sockaddr *>(&tAddress), sizeof tAddress) == 0;
    const int iError = errno;
    if (!bConnected && iError != EPROTOTYPE)
        Report_Bad("system log", "nobody listens on %s (%s), so failures leave no line; start the system logger",
                   tAddress.sun_path, strerror(iError));
    else if (bConnected && poll(&tRoom, 1, ASK_MILLISECONDS) != 1)
        Report_Bad("system log",
                   "the logger does not empty %s, so every line costs a request up to a second or more; "
                   "start the system logger again",
                   tAddress.sun_path);
    else
        Report_Good("system log", "%s takes lines", tAddress.sun_path);
    close(iSocket);
}
