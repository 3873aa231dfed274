#include "common/int32.h"

#include <stdlib.h>

int32_t Int32_FromText(const char *pszText, const char **ppszEnd)
{
    char *pszEnd = nullptr;
    const long lNumber = strtol(pszText, &pszEnd, 10);
    if (ppszEnd != nullptr)
        *ppszEnd = pszEnd;
    // Where long is wider than the camera's 32 bits, strtol saturates too late.
    if (lNumber > INT32_MAX)
        return INT32_MAX;
    if (lNumber < INT32_MIN)
        return INT32_MIN;
    return static_cast<int32_t>(lNumber);
}

int32_t Int32_FromDouble(double dValue)
{
    // Each comparison is false for not-a-number; out-of-range casts differ between x86 and ARM and are undefined.
    if (dValue >= static_cast<double>(INT32_MAX))
        return INT32_MAX;
    if (dValue <= static_cast<double>(INT32_MIN))
        return INT32_MIN;
    return dValue == dValue ? static_cast<int32_t>(dValue) : 0;
}

int32_t Int32_Multiply(int32_t iLeft, int32_t iRight)
{
    return static_cast<int32_t>(static_cast<uint32_t>(iLeft) * static_cast<uint32_t>(iRight));
}

int32_t Int32_Add(int32_t iLeft, int32_t iRight)
{
    return static_cast<int32_t>(static_cast<uint32_t>(iLeft) + static_cast<uint32_t>(iRight));
}
