// Key lookup in an arbitrary segment. An input is a byte of FaultBits, the size of the output buffer, the key path with
// its NUL, and the segment: no fault, the semaphore given back, an ended text where the lookup says that there is one,
// also in a segment that changes while it is read.
#include "fuzz.h"

#include "conflib/configer.h"
#include "conflib/snapshot.h"

#include <errno.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

enum FaultBits {
    FAULT_NO_KEY = 1,
    FAULT_NO_SEMAPHORE = 2,
    FAULT_TAKE = 4,
    FAULT_GIVE = 8,
    FAULT_ATTACH = 16,
    FAULT_NO_SIZE = 32,
    FAULT_DAEMON = 64,
    FAULT_CHANGE = 128, // the daemon clears the segment when the semaphore is back
};

static int g_iFaults, g_iBalance, g_iAttached, g_iSegmentId;
static std::vector<char> g_acSegment;

static int Fail(int iBits)
{
    errno = EAGAIN;
    return (g_iFaults & iBits) != 0 ? -1 : 0;
}

/// In the place of the daemon.
int Configer_Control(const ConfigerRequest *ptRequest, char *pcReply, size_t uReplySize)
{
    Require(g_iAttached == 0 && g_iBalance == 0, "nothing is held while the daemon is asked");
    Require(ptRequest->iCommand == CONFIGER_GET && uReplySize > 0, "a reading question");
    memset(pcReply, 'x', (g_iFaults & FAULT_DAEMON) != 0 ? uReplySize : uReplySize / 2);
    return Fail(FAULT_DAEMON);
}

extern "C" {
key_t __wrap_ftok(const char *, int) { return Fail(FAULT_NO_KEY); }
int __wrap_semget(key_t, int, int) { return Fail(FAULT_NO_SEMAPHORE); }

int __wrap_semop(int, struct sembuf *ptOperation, size_t uCount)
{
    const bool bWaits = ptOperation->sem_op < 0 && (ptOperation->sem_flg & IPC_NOWAIT) == 0;
    Require(uCount == 1 && (ptOperation->sem_flg & SEM_UNDO) != 0 && !bWaits, "the kernel can undo, and nothing waits");
    if (Fail(ptOperation->sem_op < 0 ? FAULT_TAKE : FAULT_GIVE) != 0)
        return -1;
    g_iBalance += ptOperation->sem_op;
    if (ptOperation->sem_op > 0 && (g_iFaults & FAULT_CHANGE) != 0)
        std::fill(g_acSegment.begin(), g_acSegment.end(), '\0');
    return 0;
}

int __wrap_semtimedop(int, struct sembuf *ptOperation, size_t, const struct timespec *ptTime)
{
    Require((ptOperation->sem_flg & SEM_UNDO) != 0, "the kernel can undo it");
    Require((g_iFaults & FAULT_TAKE) != 0 && ptTime != nullptr,
            "only a taken semaphore is waited for, and not for ever");
    return Fail(FAULT_TAKE);
}

int __wrap_shmget(key_t, size_t, int) { return g_iSegmentId; }

void *__wrap_shmat(int, const void *, int)
{
    if (Fail(FAULT_ATTACH) != 0)
        return reinterpret_cast<void *>(-1); // NOLINT(performance-no-int-to-ptr): as the kernel fails
    g_iAttached++;
    return g_acSegment.data();
}

int __wrap_shmctl(int, int, struct shmid_ds *ptStatus)
{
    ptStatus->shm_segsz = g_acSegment.size();
    return Fail(FAULT_NO_SIZE);
}

int __wrap_shmdt(const void *)
{
    g_iAttached--;
    return 0;
}

void __wrap_perror(const char *) {}
}

static void Look_Up(const char *pszKey, size_t uSize)
{
    std::vector<char> acOutput(uSize);
    const int iResult = Configer_GetParamValueByXPath(pszKey, acOutput.data(), uSize);
    Require(iResult == -1 || (iResult == 0 && memchr(acOutput.data(), '\0', uSize) != nullptr),
            "a value ends inside its buffer");
    Require(g_iAttached == 0, "the segment is detached");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pData, size_t uSize)
{
    FuzzInput tInput = {pData, uSize};
    g_iFaults = Take_Byte(&tInput);
    const size_t uOutput = Take_Byte(&tInput) + 1U;
    const FuzzText acKey = Take_Text(&tInput, '\0');
    g_acSegment = std::vector<char>(tInput.pData, tInput.pData + tInput.uSize);
    g_iSegmentId++; // the size is asked again
    g_iBalance = 0;

    Look_Up(acKey.data(), uOutput);
    const bool bTakes = (g_iFaults & (FAULT_NO_KEY | FAULT_NO_SEMAPHORE | FAULT_TAKE)) == 0;
    const bool bKept = bTakes && (g_iFaults & (FAULT_ATTACH | FAULT_GIVE)) != 0;
    Require(g_iBalance == (bKept ? -1 : 0), "the semaphore is given back unless that or the attach fails");
    if (bTakes && (g_iFaults & FAULT_ATTACH) != 0) {
        g_iFaults = 0;
        Look_Up(acKey.data(), uOutput);
        Require(g_iBalance == 0, "the next lookup does not wait for its own process, and gives back");
    }
    return 0;
}
