#include "common/log_identity.h"
#include "mapping/video.h"
#include "param/param_state.h"

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <syslog.h>
#include <unistd.h>

/// A web server may have closed a standard stream. A socket or a file would then get its number, and be read as the
/// body or written into as the reply.
static void Open_StandardStreams()
{
    for (int iStream = STDIN_FILENO; iStream <= STDERR_FILENO; iStream++)
        if (fcntl(iStream, F_GETFD) < 0)
            open("/dev/null", O_RDWR); // gets the lowest number that is free, which is this one
}

int main(int argc, char *argv[])
{
    Open_StandardStreams();
    openlog(LOG_IDENTITY, 0, LOG_USER);
    const int iOption = getopt(argc, argv, "v");
    if (iOption != -1) {
        if (iOption == 'v')
            printf("version: %s\n", PARAM_VERSION);
        return EXIT_FAILURE;
    }
    // A daemon that closes early, or a file that may not grow, is an ordinary failure of one item, not the end of the
    // request.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);

    // Static storage begins zero-filled: the kernel does it anyway.
    static ParamContext s_tContext;
    s_tContext.iState = PARAM_STATE_GETENV;
    InitiateVideoParam(&s_tContext);
    Param_RunStates(&s_tContext);
    return EXIT_SUCCESS;
}
