#include "common/deadline.h"

#include <time.h>

static int64_t Now()
{
    struct timespec tNow = {};
    clock_gettime(CLOCK_MONOTONIC, &tNow);
    return int64_t{tNow.tv_sec} * 1000 + tNow.tv_nsec / 1000000;
}

int64_t Deadline_After(int64_t lMilliseconds) { return Now() + lMilliseconds; }

int64_t Deadline_Left(int64_t lDeadline)
{
    const int64_t lLeft = lDeadline - Now();
    return lLeft > 1 ? lLeft : 1;
}
