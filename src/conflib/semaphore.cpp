#include "conflib/semaphore.h"

#include "common/wait.h"

#include <errno.h>
#include <stdio.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <time.h>

static constexpr int NONE = -1;
static int g_iKeptSemaphore = NONE;

static int Report_Failure()
{
    const int iError = errno;
    perror("semop");
    errno = iError;
    return -1;
}

/// Waits for the semaphore once it is known to be taken.
static int Wait_ForSemaphore(int iSemaphore)
{
    const Wait tWait = Begin_Wait(WAIT_LOCKS);
    struct sembuf tTake = {0, -1, SEM_UNDO};
    int iResult = 0;
    do {
        const int32_t iLeft = Left_OfWait(tWait);
        const struct timespec tLeft = {iLeft / 1000, long{iLeft % 1000} * 1000000};
        iResult = semtimedop(iSemaphore, &tTake, 1, &tLeft);
    } while (iResult == -1 && errno == EINTR);
    const int iError = errno;
    End_Wait(tWait);
    errno = iError;
    return iResult;
}

int Take_Semaphore(int iSemaphore)
{
    if (iSemaphore == g_iKeptSemaphore) {
        g_iKeptSemaphore = NONE;
        return 0;
    }
    struct sembuf tTake = {0, -1, SEM_UNDO | IPC_NOWAIT};
    if (semop(iSemaphore, &tTake, 1) == 0 || (errno == EAGAIN && Wait_ForSemaphore(iSemaphore) == 0))
        return 0;
    return Report_Failure();
}

int Give_Semaphore(int iSemaphore)
{
    struct sembuf tGive = {0, 1, SEM_UNDO};
    return semop(iSemaphore, &tGive, 1) == 0 ? 0 : Report_Failure();
}

void Keep_Semaphore(int iSemaphore) { g_iKeptSemaphore = iSemaphore; }

void Give_KeptSemaphore()
{
    if (g_iKeptSemaphore == NONE)
        return;
    Give_Semaphore(g_iKeptSemaphore);
    g_iKeptSemaphore = NONE;
}
