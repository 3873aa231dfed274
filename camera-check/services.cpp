// The services beside the configuration daemon.
#include "ask.h"
#include "check.h"
#include "report.h"

#include "common/int32.h"
#include "mapping/camera_key.h"
#include "mapping/general.h"
#include "mapping/ptz_io.h"

#include <errno.h>
#include <fcntl.h>
#include <net/if.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

/// Whether the pid file can be read, and names a process that is. What is said of one that is not there depends on
/// bFull.
static void Check_PidFile(bool bFull)
{
    // A named pipe in its place must not hold the check.
    const int iFile = open(PTZ_PID_FILE, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const int iError = errno;
    if (iFile < 0 && iError == ENOENT && !bFull) {
        Report_Good("PTZ pid file", "none, and the camera's keys announce no full PTZ");
        return;
    }
    if (iFile < 0) {
        Report_Bad("PTZ pid file", "%s %s (%s), so PTZ.Capabilities.EntityCount answers 0%s; %s", PTZ_PID_FILE,
                   iError == ENOENT ? "is not there" : "cannot be read by this user", strerror(iError),
                   bFull ? ", but the camera's keys announce PTZ" : "",
                   iError == ENOENT ? "start the PTZ daemon, or set capability_ptzenabled to 0"
                                    : "let the web server's user read it");
        return;
    }
    char szPid[16] = "";
    struct stat tStatus = {};
    const bool bFile = fstat(iFile, &tStatus) == 0 && S_ISREG(tStatus.st_mode);
    if (bFile && read(iFile, szPid, sizeof szPid - 1) < 0)
        szPid[0] = '\0';
    close(iFile);
    const int32_t iPid = Int32_FromText(szPid);
    if (iPid > 0 && (kill(iPid, 0) == 0 || errno == EPERM))
        Report_Good("PTZ pid file", "%s names process %d", PTZ_PID_FILE, iPid);
    else
        Report_Bad("PTZ pid file", "%s %s, so the camera answers to have PTZ; remove it, or start the PTZ daemon",
                   PTZ_PID_FILE,
                   bFile ? "is left over from a process that has ended" : "is no file, but can be opened");
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
    else if (lReceived >= 0 || iError == ECONNRESET || iError == EPIPE)
        Report_Bad("PTZ daemon",
                   "no version on %s (%s), so PTZ.1.Capabilities.CommandList has no patterns; start it again",
                   PTZ_SOCKET, lReceived > 0 ? "the answer has none" : "it closes the connection");
    else
        Report_Bad("PTZ daemon",
                   "no version on %s (%s); each request asks it, for 45 seconds when nobody listens and for 30 when it "
                   "hangs; %s, or set capability_ptzenabled to 0",
                   PTZ_SOCKET, Get_Reason(iError),
                   iError == EACCES ? "let the web server's user write to the socket" : "start it again");
}

bool Has_HardwareAddress()
{
    struct ifreq tRequest = {};
    strcpy(tRequest.ifr_name, "eth0");
    const int iSocket = socket(AF_INET, SOCK_DGRAM, 0);
    const bool bAddress = ioctl(iSocket, SIOCGIFHWADDR, &tRequest) == 0;
    close(iSocket);
    return bAddress;
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
        Report_Bad("analytics",
                   "127.0.0.1 port 80 answers \"%.*s\", which does not begin as HTTP does, so people counting and the "
                   "events of analytics "
                   "hang on what words stand in it; start the service again",
                   iLine < 40 ? iLine : 40, szReply);
    else
        Report_Bad("analytics",
                   "no answer from 127.0.0.1 port 80 (%s), so VideoInput.Capabilities.PeopleCountingSupported answers "
                   "%s, and CustomEvents.Capabilities.EventList lacks what it knows; start the service, or take it as "
                   "it is on a camera that has none",
                   lReceived == 0 ? "the connection was closed" : Get_Reason(iError),
                   bConnected ? "false" : "an internal error");

    char szAddress[32] = "";
    Catch_MAC(szAddress, sizeof szAddress);
    if (Has_HardwareAddress())
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
        Report_Bad("system log", "%s takes no lines (%s), so failures leave none; %s", tAddress.sun_path,
                   strerror(iError),
                   iError == EACCES ? "let the web server's user write to it" : "start the system logger");
    else if (bConnected && poll(&tRoom, 1, ASK_MILLISECONDS) != 1)
        Report_Bad("system log",
                   "the logger does not empty %s, so every line costs a request up to a second or more; "
                   "start the system logger again",
                   tAddress.sun_path);
    else
        Report_Good("system log", "%s takes lines", tAddress.sun_path);
    close(iSocket);
}
