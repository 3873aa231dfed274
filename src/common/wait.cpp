#include "common/wait.h"

#include <time.h>

WaitLimit g_atWaitLimit[WAIT_KIND_COUNT] = {
    {10000, 200},   // locks: the configuration daemon's semaphore, the locks of the side files
    {30000, 1000},  // connect: a connection to the configuration daemon
    {10000, 10000}, // daemon: its answer
    {30000, 1000},  // ptz: a connection to the PTZ daemon, and its answer
    {30000, 1000},  // analytics: a connection to the analytics service, and its answer
};

static uint32_t Now()
{
    struct timespec tNow = {};
    clock_gettime(CLOCK_MONOTONIC, &tNow);
    return static_cast<uint32_t>(tNow.tv_sec) * 1000 + static_cast<uint32_t>(tNow.tv_nsec) / 1000000;
}

static int32_t Since(const Wait &tWait) { return static_cast<int32_t>(Now() - tWait.dwBegun); }

Wait Begin_Wait(WaitKind eKind)
{
    const WaitLimit &tLimit = g_atWaitLimit[eKind];
    return {eKind, tLimit.iTogether > tLimit.iThenEach ? tLimit.iTogether : tLimit.iThenEach, Now()};
}

int32_t End_Wait(const Wait &tWait)
{
    const int32_t iWaited = Since(tWait);
    int32_t *piLeft = &g_atWaitLimit[tWait.eKind].iTogether;
    *piLeft = iWaited < *piLeft ? *piLeft - iWaited : 0;
    return iWaited;
}

int32_t Left_OfWait(const Wait &tWait)
{
    const int32_t iLeft = tWait.iLimit - Since(tWait);
    return iLeft > 1 ? iLeft : 1;
}
