// peak_memory PROGRAM [ARGUMENT...]: runs a program, a path, and prints its largest resident set in KiB on standard
// error. A child inherits the mark of whoever starts it, so this is static and small itself.
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char *argv[])
{
    int iStatus;
    struct rusage tUsage;
    const pid_t iProcess = argc < 2 ? -1 : vfork();
    if (iProcess == 0) {
        execv(argv[1], argv + 1);
        _exit(1);
    }
    if (waitpid(iProcess, &iStatus, 0) != iProcess || iStatus != 0 || getrusage(RUSAGE_CHILDREN, &tUsage) != 0)
        return 1;
    fprintf(stderr, "%ld\n", tUsage.ru_maxrss);
    return 0;
}
