#include "ask.h"
#include "check.h"
#include "report.h"
#include "snapshot_tree.h"

#include "common/wait.h"
#include "conflib/configer.h"
#include "conflib/semaphore.h"
#include "mapping/camera_key.h"
#include "mapping/general.h"
#include "mapping/ptz_io.h"

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

static constexpr char PROBE_KEY[] = "capability_nvideoin"; ///< a key that every camera has
static constexpr size_t NAME_SIZE = 64;

// The caller.

static void Check_Variable(const char *pszName, const char *pszFor)
{
    if (getenv(pszName) == nullptr)
        Report_Bad("environment", "%s is not set, so %s is answered by one line of error; let the web server set it",
                   pszName, pszFor);
    else
        Report_Good("environment", "%s=%s", pszName, getenv(pszName));
}

void Check_Caller()
{
    Report_Good("user", "uid %d, gid %d; the web server's user is the one that counts", static_cast<int>(geteuid()),
                static_cast<int>(getegid()));
    const char *pszMethod = getenv("REQUEST_METHOD");
    if (pszMethod == nullptr) {
        Report_Good("environment", "not looked at, as no web server has started this; put a copy into the folder of "
                                   "param.cgi for a moment and ask for it to have it checked");
        return;
    }
    Check_Variable("SERVER_ADDR", "every request");
    Check_Variable("REQUEST_METHOD", "every request");
    Check_Variable(strcmp(pszMethod, "POST") == 0 ? "CONTENT_LENGTH" : "QUERY_STRING",
                   strcmp(pszMethod, "POST") == 0 ? "every write" : "every read");
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

static void Check_Socket()
{
    char szReply[512];
    const Wait tWait = Begin_Wait(WAIT_DAEMON);
    const int iResult = Ask_Configer(PROBE_KEY, szReply, sizeof szReply);
    const int iError = errno;
    const int32_t iSeconds = End_Wait(tWait) / 1000;
    if (iResult == 0 && szReply[0] != '\0')
        Report_Good("daemon", "answers a question on %s within %d s", CONFIGER_SOCKET, iSeconds + 1);
    else
        Report_Bad("daemon", "%s on %s after %d s (%s), so writes fail, and reads of what it keeps to itself; %s",
                   iResult == 0 ? "an empty answer" : "no answer", CONFIGER_SOCKET, iSeconds,
                   iError != 0 ? strerror(iError) : "the connection was closed, or the answer is too long",
                   iError == EACCES ? "let this user write to the socket" : "start configer again");
}

bool Check_Daemon()
{
    const key_t tKey = ftok(CONFIGER_PROGRAM, CONFIGER_PROJECT);
    bool bReadable = false;
    if (tKey == -1) {
        Report_Bad("ftok file", "%s: %s, so no key can be read; install it, or an empty file of that name",
                   CONFIGER_PROGRAM, strerror(errno));
    } else {
        Report_Good("ftok file", "%s makes the key 0x%08x", CONFIGER_PROGRAM, static_cast<unsigned int>(tKey));
        const int iSemaphore = Check_Semaphore(tKey);
        bReadable = Check_Segment(tKey, iSemaphore) && iSemaphore != -1;
    }
    Check_Socket();
    return bReadable;
}

// The other services.

/// Whether the pid file is there and names a process that is.
static bool Check_PidFile()
{
    FILE *ptFile = fopen(PTZ_PID_FILE, "re");
    if (ptFile == nullptr)
        return false;
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
    return true;
}

void Check_Ptz()
{
    const PTZCapability tCapability = {Read_KeyNumber<4>("capability_ptzenabled"),
                                       Read_KeyNumber<2>("capability_camctrl_c0_zoommodule"),
                                       Read_KeyNumber<2>("capability_camctrl_c0_buildinpt")};
    const bool bFull = SupportPTZType(&tCapability) == PTZ_TYPE_FULL;
    if (!Check_PidFile()) {
        if (bFull)
            Report_Bad("PTZ pid file",
                       "%s is not there, so PTZ.Capabilities.EntityCount answers 0, but the camera's keys announce "
                       "PTZ; start the PTZ daemon, or set capability_ptzenabled to 0",
                       PTZ_PID_FILE);
        else
            Report_Good("PTZ pid file", "none, and the camera's keys announce no full PTZ");
    }
    if (!bFull) {
        Report_Good("PTZ daemon", "not asked by any request: the camera's keys announce no full PTZ");
        return;
    }
    char szReply[256];
    if (Ask_Ptz(szReply, sizeof szReply) > 0 && strchr(szReply, '=') != nullptr)
        Report_Good("PTZ daemon", "answers its version on %s", PTZ_SOCKET);
    else
        Report_Bad("PTZ daemon",
                   "no version on %s (%s); each request asks it, for 45 seconds when it refuses connections and for 30 "
                   "when it hangs; start it again, or set capability_ptzenabled to 0",
                   PTZ_SOCKET, szReply[0] != '\0' ? "the answer has none" : strerror(errno));
}

void Check_Network()
{
    char szReply[512];
    const ssize_t lReceived = Ask_Analytics("/VCA/Functions", szReply, sizeof szReply);
    const bool bConnected = lReceived >= 0 || errno == EAGAIN;
    if (lReceived > 0)
        Report_Good("analytics", "127.0.0.1 port 80 answers \"%.*s\"", static_cast<int>(strcspn(szReply, "\r\n")),
                    szReply);
    else
        Report_Bad("analytics",
                   "no answer from 127.0.0.1 port 80 (%s), so VideoInput.Capabilities.PeopleCountingSupported answers "
                   "%s, and CustomEvents.Capabilities.EventList lacks what it knows; start the service, or take it as "
                   "it is on a camera that has none",
                   lReceived == 0 ? "the connection was closed" : strerror(errno),
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
