// Preloaded into the program: of the calls that the system may refuse, the REFUSED_CALL-th one in main is refused. The
// file refused tells its name, in the folder of temporary files; there is none when the program ends before.
#undef _FORTIFY_SOURCE // what is defined here must not have an inline twin
#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>

static int g_iCallsLeft; // 0: none is counted
static int (*g_pfnMain)(int, char **, char **);

static bool Is_Refused(const char *pszName)
{
    if (g_iCallsLeft == 0 || --g_iCallsLeft != 0)
        return false;
    FILE *ptFile = fopen("/tmp/refused", "w");
    fputs(pszName, ptFile);
    fclose(ptFile);
    errno = ENOMEM;
    return true;
}

// NOLINTBEGIN(bugprone-macro-parentheses,performance-no-int-to-ptr,readability-inconsistent-declaration-parameter-name)
#define REFUSABLE(Type, Name, tRefused, tParameters, tArguments)                                      \
    extern "C" Type Name tParameters                                                                  \
    {                                                                                                 \
        static const auto s_pfnReal = reinterpret_cast<Type(*) tParameters>(dlsym(RTLD_NEXT, #Name)); \
        return Is_Refused(#Name) ? (tRefused) : s_pfnReal tArguments;                                 \
    }

// Nothing is waited for: neither until a service is there, nor for an answer to what was not sent.
extern "C" unsigned int sleep(unsigned int /*uSeconds*/) { return 0; }
REFUSABLE(ssize_t, write, shutdown(i, SHUT_RDWR) - 1, (int i, const void *p, size_t u), (i, p, u))
REFUSABLE(ssize_t, send, shutdown(i, SHUT_RDWR) - 1, (int i, const void *p, size_t u, int j), (i, p, u, j))
REFUSABLE(void *, malloc, nullptr, (size_t u), (u))
REFUSABLE(void *, calloc, nullptr, (size_t u, size_t v), (u, v))
REFUSABLE(int, open, -1, (const char *p, int i, mode_t j), (p, i, j))
REFUSABLE(int, fcntl, -1, (int i, int j, long k), (i, j, k))
REFUSABLE(int, fstat, -1, (int i, struct stat *p), (i, p))
REFUSABLE(off_t, lseek, -1, (int i, off_t j, int k), (i, j, k))
REFUSABLE(ssize_t, read, -1, (int i, void *p, size_t u), (i, p, u))
REFUSABLE(ssize_t, pread, -1, (int i, void *p, size_t u, off_t j), (i, p, u, j))
REFUSABLE(ssize_t, pwrite, -1, (int i, const void *p, size_t u, off_t j), (i, p, u, j))
REFUSABLE(int, ftruncate, -1, (int i, off_t j), (i, j))
REFUSABLE(int, flock, -1, (int i, int j), (i, j))
REFUSABLE(int, ioctl, -1, (int i, unsigned long j, void *p), (i, j, p))
REFUSABLE(int, socket, -1, (int i, int j, int k), (i, j, k))
REFUSABLE(int, setsockopt, -1, (int i, int j, int k, const void *p, socklen_t u), (i, j, k, p, u))
REFUSABLE(int, connect, -1, (int i, const struct sockaddr *p, socklen_t u), (i, p, u))
REFUSABLE(ssize_t, recv, -1, (int i, void *p, size_t u, int j), (i, p, u, j))
REFUSABLE(key_t, ftok, -1, (const char *p, int i), (p, i))
REFUSABLE(int, semget, -1, (key_t i, int j, int k), (i, j, k))
REFUSABLE(int, shmget, -1, (key_t i, size_t u, int j), (i, u, j))
REFUSABLE(void *, shmat, reinterpret_cast<void *>(-1), (int i, const void *p, int j), (i, p, j))
REFUSABLE(int, shmctl, -1, (int i, int j, void *p), (i, j, p))
REFUSABLE(struct tm *, gmtime_r, nullptr, (const time_t *p, struct tm *q), (p, q))
REFUSABLE(struct tm *, localtime_r, nullptr, (const time_t *p, struct tm *q), (p, q))
REFUSABLE(time_t, mktime, -1, (struct tm * p), (p))

/// A semaphore that is not given back would be waited for; it is, and the program hears otherwise.
extern "C" int semop(int iSemaphore, struct sembuf *pt, size_t u)
{
    const int iResult = pt->sem_op < 0 && Is_Refused("semop") ? -1 : semtimedop(iSemaphore, pt, u, nullptr);
    return pt->sem_op > 0 && Is_Refused("semop (give)") ? -1 : iResult;
}

// NOLINTEND(bugprone-macro-parentheses,performance-no-int-to-ptr,readability-inconsistent-declaration-parameter-name)

static int Main(int iCount, char **ppszArgument, char **ppszEnvironment)
{
    const char *pszCall = getenv("REFUSED_CALL");
    g_iCallsLeft = pszCall != nullptr ? atoi(pszCall) : 0;
    const int iResult = g_pfnMain(iCount, ppszArgument, ppszEnvironment);
    g_iCallsLeft = 0;
    return iResult;
}

// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int __libc_start_main(int (*pfnMain)(int, char **, char **), int iCount, char **ppszArgument,
                                 void (*pfnInit)(), void (*pfnEnd)(), void (*pfnLoader)(), void *pStackEnd)
{
    g_pfnMain = pfnMain;
    const auto pfnReal = reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return pfnReal(Main, iCount, ppszArgument, pfnInit, pfnEnd, pfnLoader, pStackEnd);
}
