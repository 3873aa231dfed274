#include "common/deadline.h"

#include <time.h>

static uint32_t Now()
{
    struct timespec tNow = {};
    clock_gettime(CLOCK_MONOTONIC, &tNow);
    return static_cast<uint32_t>(tNow.tv_sec) * 1000 + static_cast<uint32_t>(tNow.tv_nsec) / 1000000;
}

uint32_t Deadline_After(int32_t iMilliseconds) { return Now() + static_cast<uint32_t>(iMilliseconds); }

int32_t Deadline_Left(uint32_t dwDeadline)
{
    const int32_t iLeft = static_cast<int32_t>(dwDeadline - Now());
    return iLeft > 1 ? iLeft : 1;
}
