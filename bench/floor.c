// What a request costs before any of its logic: the system calls of param.cgi, made by a program that does nothing
// else.
//
// floor READS+TOUCHES+EXCHANGES: the snapshot lookup READS times, touching TOUCHES pages of the attached segment in
// all, then one look for the PTZ daemon, the body of a write from standard input, EXCHANGES requests to the
// configuration daemon, and one piece of output. Behind a web server the numbers are the query string.
#define _GNU_SOURCE // semtimedop
#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

static int Move_Semaphore(int iSemaphore, short iOperation)
{
    const struct timespec tPatience = {10, 0};
    struct sembuf tOperation = {0, iOperation, SEM_UNDO};
    return semtimedop(iSemaphore, &tOperation, 1, &tPatience);
}

enum { PAGE = 4096 }; // of the smallest kind

static int Look_Up(int bFirst, int iPages)
{
    const key_t tKey = ftok("/usr/sbin/configer", 99);
    const int iSemaphore = semget(tKey, 1, 0);
    if (Move_Semaphore(iSemaphore, -1) != 0)
        return -1;
    const int iSegment = shmget(tKey, 0, 0);
    const volatile char *pcSegment = shmat(iSegment, NULL, 0);
    if ((intptr_t)pcSegment == -1)
        return -1;
    struct shmid_ds tStatus;
    if (bFirst && shmctl(iSegment, IPC_STAT, &tStatus) != 0)
        return -1;
    for (int i = 0; i < iPages; i++)
        (void)pcSegment[(size_t)i * PAGE];
    return Move_Semaphore(iSemaphore, 1) == 0 && shmdt((const void *)pcSegment) == 0 ? 0 : -1;
}

static int Exchange(void)
{
    static const char REQUEST[] = "set NameValue 99 0 0\nsystem_hostname=Floor";
    struct sockaddr_un tAddress = {AF_UNIX, "/tmp/configer"};
    const struct timeval tPatience = {10, 0};
    char acReply[128];
    const int iSocket = socket(AF_UNIX, SOCK_STREAM, 0);
    if (connect(iSocket, (const struct sockaddr *)&tAddress, sizeof tAddress) != 0 ||
        write(iSocket, REQUEST, sizeof REQUEST - 1) < 0 ||
        setsockopt(iSocket, SOL_SOCKET, SO_RCVTIMEO, &tPatience, sizeof tPatience) != 0 ||
        read(iSocket, acReply, sizeof acReply) < 0)
        return -1;
    return close(iSocket);
}

static int Take_Number(char **ppszNext)
{
    const long lNumber = strtol(*ppszNext, ppszNext, 10);
    *ppszNext += **ppszNext == '+';
    return (int)lNumber;
}

int main(int argc, char *argv[])
{
    static const char REPLY[] = "Content-type: text/plain\r\n\r\n\nfloor\r\n";
    char acBody[4096];
    char *pcNext = argc > 1 ? argv[1] : getenv("QUERY_STRING");
    if (pcNext == NULL)
        return EXIT_FAILURE;
    const int iReads = Take_Number(&pcNext);
    const int iTouches = Take_Number(&pcNext);
    const int iExchanges = Take_Number(&pcNext);
    for (int i = 0; i < iReads; i++)
        if (Look_Up(i == 0, iTouches * (i + 1) / iReads - iTouches * i / iReads) != 0)
            return EXIT_FAILURE;
    open("/var/run/ptzcgid.pid", O_RDONLY | O_CLOEXEC);
    if (iExchanges > 0 && read(STDIN_FILENO, acBody, sizeof acBody) <= 0)
        return EXIT_FAILURE;
    for (int i = 0; i < iExchanges; i++)
        if (Exchange() != 0)
            return EXIT_FAILURE;
    return write(STDOUT_FILENO, REPLY, strlen(REPLY)) < 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
