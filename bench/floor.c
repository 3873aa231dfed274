// What a request costs before any of its logic: the system calls of param.cgi, made by a program that does nothing
// else.
//
// floor READS+TOUCHES+EXCHANGES [WORD]...: the snapshot lookup READS times, touching TOUCHES pages of the attached
// segment in all, then one look for the PTZ daemon, the body of a write from standard input, EXCHANGES requests to the
// configuration daemon, what the words say, and one piece of output. Behind a web server the numbers are the query
// string. The words: read:FILE, as a whole; lock:FILE; write:FILE, in place, with the text that it has; ptz: and
// analytics:, a question to that service. Files and daemons are those of the request, texts are as they are found.
#define _GNU_SOURCE // semtimedop
#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
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

static int Exchange(int iSocket, const void *pAddress, socklen_t uLength, const char *pcRequest, size_t uRequest)
{
    const struct timeval tPatience = {10, 0};
    char acReply[512];
    if (setsockopt(iSocket, SOL_SOCKET, SO_SNDTIMEO, &tPatience, sizeof tPatience) != 0 ||
        connect(iSocket, pAddress, uLength) != 0 || write(iSocket, pcRequest, uRequest) < 0 ||
        setsockopt(iSocket, SOL_SOCKET, SO_RCVTIMEO, &tPatience, sizeof tPatience) != 0 ||
        read(iSocket, acReply, sizeof acReply) < 0)
        return -1;
    return close(iSocket);
}

static int Ask_Daemon(const char *pszPath, const char *pszRequest)
{
    struct sockaddr_un tAddress = {AF_UNIX, ""};
    strcpy(tAddress.sun_path, pszPath);
    return Exchange(socket(AF_UNIX, SOCK_STREAM, 0), &tAddress, sizeof tAddress, pszRequest, strlen(pszRequest));
}

static int Ask_Analytics(void)
{
    static const char REQUEST[512] = "GET /VCA/Functions HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    const struct sockaddr_in tAddress = {
        .sin_family = AF_INET, .sin_port = htons(80), .sin_addr.s_addr = htonl(INADDR_LOOPBACK)};
    return Exchange(socket(AF_INET, SOCK_STREAM, 0), &tAddress, sizeof tAddress, REQUEST, sizeof REQUEST);
}

static int Read_File(const char *pszPath)
{
    static char s_acText[65536];
    const int iFile = open(pszPath, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (iFile < 0)
        return errno == ENOENT ? 0 : -1;
    const off_t lSize = lseek(iFile, 0, SEEK_END);
    return lseek(iFile, 0, SEEK_SET) == 0 && lSize <= (off_t)sizeof s_acText &&
                   read(iFile, s_acText, (size_t)lSize) == lSize
               ? close(iFile)
               : -1;
}

static int Lock(const char *pszPath)
{
    const int iFile = open(pszPath, O_RDONLY | O_CLOEXEC);
    return flock(iFile, LOCK_EX) == 0 ? close(iFile) : -1;
}

/// In place: the new text is first kept behind the old one.
static int Rewrite_File(const char *pszPath)
{
    static char s_acText[65536];
    struct stat tStatus;
    const int iFile = open(pszPath, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fstat(iFile, &tStatus) != 0)
        return -1;
    const ssize_t lSize = pread(iFile, s_acText, sizeof s_acText, 0);
    if (lSize < 0 || pwrite(iFile, s_acText, (size_t)lSize, lSize) != lSize ||
        pwrite(iFile, s_acText, (size_t)lSize, 0) != lSize || ftruncate(iFile, lSize) != 0)
        return -1;
    return close(iFile);
}

/// One more thing, such as "read:/etc/CDF.xml".
static int Do_Word(const char *pszWord)
{
    const char *pszPath = strchr(pszWord, ':');
    if (pszPath == NULL)
        return -1;
    switch (pszWord[0]) {
    case 'r':
        return Read_File(pszPath + 1);
    case 'l':
        return Lock(pszPath + 1);
    case 'w':
        return Rewrite_File(pszPath + 1);
    case 'p':
        return Ask_Daemon("/tmp/ptzctrl", "camctrl.cgi?getversion");
    case 'a':
        return Ask_Analytics();
    default:
        return -1;
    }
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
        if (Ask_Daemon("/tmp/configer", "set NameValue 99 0 0\nsystem_hostname=Floor") != 0)
            return EXIT_FAILURE;
    for (int i = 2; i < argc; i++)
        if (Do_Word(argv[i]) != 0)
            return EXIT_FAILURE;
    return write(STDOUT_FILENO, REPLY, strlen(REPLY)) < 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
