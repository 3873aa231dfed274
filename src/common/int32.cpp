#include "common/int32.h"

#include <string.h>

int32_t Int32_FromText(const char *pszText, const char **ppszEnd)
{
    // The camera's strtol divides first: 700 instructions for one digit.
    const char *pc = pszText + strspn(pszText, NUMBER_BLANKS);
    const bool bNegative = *pc == '-';
    if (*pc == '-' || *pc == '+')
        ++pc;
    const char *const pcFirst = pc;
    const uint32_t uLimit = INT32_MAX + (bNegative ? 1u : 0u);
    uint32_t uNumber = 0;
    for (; Is_Digit(*pc); ++pc) {
        const uint32_t uDigit = static_cast<uint32_t>(*pc - '0');
        uNumber = uNumber > (uLimit - uDigit) / 10 ? uLimit : uNumber * 10 + uDigit;
    }
    if (ppszEnd != nullptr)
        *ppszEnd = pc != pcFirst ? pc : pszText;
    return static_cast<int32_t>(bNegative ? 0u - uNumber : uNumber);
}

NumberText Int32_ToText(int32_t iNumber)
{
    NumberText tText;
    char acDigits[sizeof tText.szText];
    uint32_t uNumber = iNumber < 0 ? 0u - static_cast<uint32_t>(iNumber) : static_cast<uint32_t>(iNumber);
    size_t uDigits = 0;
    do
        acDigits[uDigits++] = static_cast<char>('0' + uNumber % 10);
    while ((uNumber /= 10) != 0);
    char *pc = tText.szText;
    if (iNumber < 0)
        *pc++ = '-';
    while (uDigits > 0)
        *pc++ = acDigits[--uDigits];
    *pc = '\0';
    return tText;
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
