/// What the fuzz targets share: a property that is broken ends the run, and every text stands in a heap block of
/// exactly its size, so that the sanitizer sees a read or write one byte past its end.
#pragma once

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pData, size_t uSize);

inline void Require(bool bHolds, const char *pszWhat)
{
    if (bHolds)
        return;
    fprintf(stderr, "broken: %s\n", pszWhat);
    abort();
}

using FuzzText = std::vector<char>; // ends with a NUL

inline FuzzText Make_Text(const uint8_t *pData, size_t uSize)
{
    FuzzText acText(uSize + 1);
    std::copy_n(pData, uSize, acText.begin());
    return acText;
}

constexpr uint8_t SEPARATOR = 0xff;

/// What is left of an input.
struct FuzzInput {
    const uint8_t *pData;
    size_t uSize;
};

inline uint8_t Take_Byte(FuzzInput *ptInput)
{
    if (ptInput->uSize == 0)
        return 0;
    ptInput->uSize--;
    return *ptInput->pData++;
}

/// Takes the bytes before the next separator, and the separator.
inline FuzzText Take_Text(FuzzInput *ptInput, uint8_t uSeparator)
{
    const uint8_t *pEnd = std::find(ptInput->pData, ptInput->pData + ptInput->uSize, uSeparator);
    const size_t uLength = static_cast<size_t>(pEnd - ptInput->pData);
    FuzzText acText = Make_Text(ptInput->pData, uLength);
    const size_t uTaken = std::min(uLength + 1, ptInput->uSize);
    *ptInput = {ptInput->pData + uTaken, ptInput->uSize - uTaken};
    return acText;
}
