// peak_memory PROGRAM [ARGUMENT...]: runs a program and prints its largest resident set in KiB on standard error.
// A child inherits the mark of whoever starts it, so this is static and small itself.
#include <spawn.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>

extern char **environ;

int main(int argc, char *argv[])
{
    pid_t iProcess;
    int iStatus;
    struct rusage tUsage;
    if (argc < 2 || posix_spawn(&iProcess, argv[1], NULL, NULL, argv + 1, environ) != 0 ||
        waitpid(iProcess, &iStatus, 0) != iProcess || iStatus != 0 || getrusage(RUSAGE_CHILDREN, &tUsage) != 0)
        return 1;
    fprintf(stderr, "%ld\n", tUsage.ru_maxrss);
    return 0;
}
