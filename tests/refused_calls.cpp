// Preloaded into the program: of the calls that the system may refuse, the REFUSED_CALL-th one in main is refused. The
// file refused tells its name, in the folder of temporary files; there is none when the program ends before.
#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>

static int g_iCallsLeft; // 0: none is counted
static int (*g_pfnMain)(int, char **, char **);

// Arguments and results of all these calls travel in registers, as a long does.
using Call = long(long, long, long, long, long, long);

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

// NOLINTBEGIN(bugprone-macro-parentheses,bugprone-reserved-identifier,readability-identifier-length)
#define REFUSABLE(Name, lRefused)                                                                                  \
    extern "C" long Name(long a, long b, long c, long d, long e, long f)                                           \
    {                                                                                                              \
        return Is_Refused(#Name) ? lRefused : reinterpret_cast<Call *>(dlsym(RTLD_NEXT, #Name))(a, b, c, d, e, f); \
    }
#define REFUSABLE_4(Name1, Name2, Name3, Name4) \
    REFUSABLE(Name1, -1) REFUSABLE(Name2, -1) REFUSABLE(Name3, -1) REFUSABLE(Name4, -1)
REFUSABLE_4(open, fcntl, fstat, lseek)
REFUSABLE_4(read, pread, pwrite, ftruncate)
REFUSABLE_4(flock, ioctl, socket, setsockopt)
REFUSABLE_4(connect, recv, ftok, semget)
REFUSABLE_4(shmget, shmat, shmctl, mktime)
REFUSABLE(malloc, 0)
REFUSABLE(calloc, 0)
REFUSABLE(gmtime_r, 0)
REFUSABLE(localtime_r, 0)

// Nothing is waited for: neither until a service is there, nor for an answer to what was not sent, nor for a semaphore
// that was not given back.
extern "C" int shutdown(int iSocket, int iHow);
REFUSABLE(write, shutdown(static_cast<int>(a), 2) - 1)
REFUSABLE(send, shutdown(static_cast<int>(a), 2) - 1)
extern "C" unsigned int sleep(unsigned int /*uSeconds*/) { return 0; }
extern "C" long semtimedop(int iSemaphore, short *pnOperation, size_t uCount, const void *pTime);
extern "C" long semop(int iSemaphore, short *pnOperation, size_t uCount) // of an operation the second short is the step
{
    const bool bTakes = pnOperation[1] < 0;
    const long lResult = bTakes && Is_Refused("semop") ? -1 : semtimedop(iSemaphore, pnOperation, uCount, nullptr);
    return !bTakes && Is_Refused("semop") ? -1 : lResult;
}

extern "C" char *getenv(const char *pszName);
extern "C" int atoi(const char *pszText);
static int Main(int iCount, char **ppszArgument, char **ppszEnvironment)
{
    const char *pszCall = getenv("REFUSED_CALL");
    g_iCallsLeft = pszCall != nullptr ? atoi(pszCall) : 0;
    const int iResult = g_pfnMain(iCount, ppszArgument, ppszEnvironment);
    g_iCallsLeft = 0;
    return iResult;
}

extern "C" long __libc_start_main(decltype(g_pfnMain) pfnMain, long a, long b, long c, long d, long e, long f)
{
    g_pfnMain = pfnMain;
    const auto pfnReal = reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return pfnReal(Main, a, b, c, d, e, f);
}
// NOLINTEND(bugprone-macro-parentheses,bugprone-reserved-identifier,readability-identifier-length)
