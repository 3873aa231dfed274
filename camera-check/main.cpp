// camera-check: what is wrong on a camera, seen as param.cgi sees it. It changes nothing there.
#include "ask.h"
#include "check.h"
#include "explain.h"
#include "report.h"
#include "version.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

static constexpr char THIS_PROGRAM[] = "/proc/self/exe";
static constexpr int EXIT_BAD = 1;
static constexpr int EXIT_USAGE = 2;

static constexpr char USAGE[] =
    "usage: camera-check [--explain NAME[=VALUE] | --record [--all] | --version [PROGRAM]]\n"
    "  Looks at all that param.cgi needs, as the user that starts it (let that be the web server's), and prints a\n"
    "  line per check, good or bad. The exit status is 1 when one is bad. Started by a web server as a CGI program,\n"
    "  it prints the same as text/plain.\n"
    "  --explain NAME[=VALUE]  what a read of this parameter, or a write of this value, looks at, each key with its\n"
    "                          value, and the answer; a write is not carried out. 1: the answer is an error\n"
    "  --record                prints the camera, its keys and files, as a model for the simulated one; what looks\n"
    "                          like a password is left out\n"
    "  --record --all          with that, too\n"
    "  --version [PROGRAM]     its own version and that of param.cgi, which is looked for where it is installed\n"
    "It changes nothing on the camera.\n";

/// The version of this program, and of the one that it tells of.
static void Say_Versions(const char *pszProgram)
{
    Report_Say("camera-check %s\n", Get_Version(THIS_PROGRAM));
    Report_Say("%s: %s\n", pszProgram, Get_Version(pszProgram));
}

static void Check_All()
{
    Report_Good("version", "camera-check %s", Get_Version(THIS_PROGRAM));
    if (access(PARAM_PROGRAM, R_OK | X_OK) == 0)
        Report_Good("version", "%s: %s", PARAM_PROGRAM, Get_Version(PARAM_PROGRAM));
    else
        Report_Bad("version", "%s: %s, so nothing answers there; %s", PARAM_PROGRAM, strerror(errno),
                   errno == ENOENT ? "install it" : "let the web server's user read and start it");
    Limit_Waits();
    Check_Caller();
    const DaemonHealth tDaemon = Check_Daemon();
    if (tDaemon.bReadable) {
        Check_Keys(tDaemon);
        Check_Files();
        Check_Ptz();
    } else {
        Report_Bad("keys", "not looked at, and neither are files and PTZ daemon, which depend on them; see to what is "
                           "bad above first");
    }
    Check_Network();
    Check_Log();
}

int main(int argc, char *argv[])
{
    // Nobody may ask for more than the check over the network, and some servers make arguments of a query.
    const bool bCgi = Is_CgiProgram();
    const char *pszOption = argc > 1 && !bCgi ? argv[1] : "";
    const bool bExplain = strcmp(pszOption, "--explain") == 0 && argc == 3;
    const bool bAll = argc == 3 && strcmp(argv[2], "--all") == 0;
    const bool bVersion = strcmp(pszOption, "--version") == 0 && argc <= 3;
    const bool bRecord = strcmp(pszOption, "--record") == 0 && (argc == 2 || bAll);
    if (pszOption[0] != '\0' && !bExplain && !bRecord && !bVersion) {
        const bool bHelp = strcmp(pszOption, "--help") == 0;
        fputs(USAGE, bHelp ? stdout : stderr);
        return bHelp ? EXIT_SUCCESS : EXIT_USAGE;
    }
    signal(SIGPIPE, SIG_IGN);
    // The libraries' own lines would stand in the camera's log as if requests had failed.
    openlog("camera-check", 0, LOG_USER);
    setlogmask(LOG_MASK(LOG_DEBUG));
    if (Report_Open() != 0) {
        perror("camera-check: standard output");
        return EXIT_USAGE;
    }
    if (bCgi)
        Report_SayPlain("Content-type: text/plain\r\n\r\n");
    int iResult = EXIT_SUCCESS;
    if (bExplain)
        iResult = Explain(argv[2]);
    else if (bVersion)
        Say_Versions(argc == 3 ? argv[2] : PARAM_PROGRAM);
    else if (bRecord)
        iResult = Record(bAll);
    else
        Check_All();
    if (Report_Close() != 0)
        return EXIT_USAGE;
    return iResult == EXIT_SUCCESS && Report_BadCount() == 0 ? EXIT_SUCCESS : EXIT_BAD;
}
