#include "common/decimal.h"

#include <math.h>
#include <stdint.h>
#include <string.h>
#include <strings.h>

static constexpr int DIGITS_MAX = 19;      ///< what 64 bits hold
static constexpr int EXPONENT_MAX = 400;   ///< beyond it any number is 0 or infinite
static constexpr int EXACT_POWER_MAX = 22; ///< the largest power of ten that a double holds exactly

static bool Is_Digit(char c) { return c >= '0' && c <= '9'; }

static double Scale_ByTen(double dNumber, int iExponent)
{
    static constexpr double POWERS[EXACT_POWER_MAX + 1] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                           1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                           1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    while (iExponent != 0) {
        const int iStep = iExponent > 0 ? iExponent : -iExponent;
        const int iPower = iStep < EXACT_POWER_MAX ? iStep : EXACT_POWER_MAX;
        dNumber = iExponent > 0 ? dNumber * POWERS[iPower] : dNumber / POWERS[iPower];
        iExponent += iExponent > 0 ? -iPower : iPower;
    }
    return dNumber;
}

/// Reads an exponent, when there is a whole one, and moves *ppszText behind it.
static int Read_Exponent(const char **ppszText)
{
    const char *pcDigit = *ppszText;
    if (*pcDigit != 'e' && *pcDigit != 'E')
        return 0;
    ++pcDigit;
    const bool bNegative = *pcDigit == '-';
    if (*pcDigit == '-' || *pcDigit == '+')
        ++pcDigit;
    if (!Is_Digit(*pcDigit))
        return 0;
    int iExponent = 0;
    for (; Is_Digit(*pcDigit); ++pcDigit)
        if (iExponent < EXPONENT_MAX)
            iExponent = iExponent * 10 + (*pcDigit - '0');
    *ppszText = pcDigit;
    return bNegative ? -iExponent : iExponent;
}

/// The words that stand for a number; the longer of two comes first.
static const char *Read_Word(const char *pszText, double *pdNumber)
{
    static constexpr struct {
        char szWord[9];
        double dNumber;
    } WORDS[] = {{"infinity", HUGE_VAL}, {"inf", HUGE_VAL}, {"nan", NAN}};
    for (const auto &tWord : WORDS) {
        if (strncasecmp(pszText, tWord.szWord, strlen(tWord.szWord)) != 0)
            continue;
        *pdNumber = tWord.dNumber;
        return pszText + strlen(tWord.szWord);
    }
    return nullptr;
}

/// Reads an unsigned number: digits with at most one point, and an exponent.
static const char *Read_Digits(const char *pszText, double *pdNumber)
{
    uint64_t lDigits = 0;
    int iKept = 0;     // digits in lDigits, leading zeros not counted
    int iExponent = 0; // of the last kept digit
    bool bAny = false;
    bool bPoint = false;
    for (; Is_Digit(*pszText) || (*pszText == '.' && !bPoint); ++pszText) {
        if (*pszText == '.') {
            bPoint = true;
            continue;
        }
        bAny = true;
        const bool bKeep = iKept < DIGITS_MAX;
        if (bKeep)
            lDigits = lDigits * 10 + static_cast<uint64_t>(*pszText - '0');
        iKept += lDigits != 0 && bKeep ? 1 : 0;
        iExponent += (bKeep ? 0 : 1) - (bPoint ? 1 : 0);
    }
    if (!bAny)
        return nullptr;
    iExponent += Read_Exponent(&pszText);
    *pdNumber = lDigits != 0 ? Scale_ByTen(static_cast<double>(lDigits), iExponent) : 0;
    return pszText;
}

const char *Decimal_FromText(const char *pszText, double *pdNumber)
{
    pszText += strspn(pszText, " \t\n\v\f\r");
    const bool bNegative = *pszText == '-';
    if (*pszText == '-' || *pszText == '+')
        ++pszText;
    double dNumber = 0;
    const char *pszEnd = Read_Digits(pszText, &dNumber);
    if (pszEnd == nullptr)
        pszEnd = Read_Word(pszText, &dNumber);
    if (pszEnd != nullptr)
        *pdNumber = bNegative ? -dNumber : dNumber;
    return pszEnd;
}
