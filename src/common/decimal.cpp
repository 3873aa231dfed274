// A decimal number is the ratio of two whole numbers, digits and power of ten. Both are kept exactly, and a long
// division in binary gives the bits of the double one by one. No floating-point arithmetic takes part.
#include "common/decimal.h"

#include "common/int32.h"

#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

// What lies halfway between two doubles has up to 768 digits. Of those behind only one thing counts: are all 0?
static constexpr int DIGITS_MAX = 768;

// The magnitude of a number is the least power of ten that is greater. Below these it is 0, above them infinite.
static constexpr int MAGNITUDE_MIN = -323;
static constexpr int MAGNITUDE_MAX = 309;

static constexpr int FRACTION_BITS = 52;
static constexpr uint64_t NORMAL_MIN = 1ULL << FRACTION_BITS; ///< the smallest significand of a normal number
static constexpr int EXPONENT_MIN = -1074;                    ///< of a significand's last bit, in a subnormal number
static constexpr int EXPONENT_MAX = 971;                      ///< of that bit, in the largest number

// The largest is twice the divisor 10^(DIGITS_MAX + 1 - MAGNITUDE_MIN), 3629 bits.
static constexpr int WORDS_MAX = 114;

/// A whole number, its lowest word first. Words from iWords on are 0, the one before is not.
struct WholeNumber {
    uint32_t auWord[WORDS_MAX];
    int iWords;
};

/// tDigits * 10^iExponent.
struct DecimalNumber {
    WholeNumber tDigits;
    int iDigits; ///< how many they are, leading zeros not counted
    int64_t iExponent;
};

// Inlined in all places, it would weigh half a kilobyte more.
__attribute__((noinline)) static void Multiply_Add(WholeNumber *pt, uint32_t uFactor, uint32_t uAddend)
{
    uint64_t lCarry = uAddend;
    for (int i = 0; i < pt->iWords; ++i) {
        lCarry += static_cast<uint64_t>(pt->auWord[i]) * uFactor;
        pt->auWord[i] = static_cast<uint32_t>(lCarry);
        lCarry >>= 32;
    }
    if (lCarry != 0)
        pt->auWord[pt->iWords++] = static_cast<uint32_t>(lCarry);
}

static void Multiply_ByPowerOfTen(WholeNumber *pt, int64_t iPower)
{
    for (; iPower > 0; --iPower)
        Multiply_Add(pt, 10, 0);
}

static void Double(WholeNumber *pt) { Multiply_Add(pt, 2, 0); }

/// Negative, 0 or positive as the first number is less than, equal to or greater than the second.
static int Compare(const WholeNumber *ptA, const WholeNumber *ptB)
{
    if (ptA->iWords != ptB->iWords)
        return ptA->iWords - ptB->iWords;
    for (int i = ptA->iWords - 1; i >= 0; --i)
        if (ptA->auWord[i] != ptB->auWord[i])
            return ptA->auWord[i] < ptB->auWord[i] ? -1 : 1;
    return 0;
}

/// The second number must not be greater than the first.
static void Subtract(WholeNumber *ptFrom, const WholeNumber *pt)
{
    uint32_t uBorrow = 0;
    for (int i = 0; i < ptFrom->iWords; ++i) {
        const uint64_t lTake = static_cast<uint64_t>(pt->auWord[i]) + uBorrow;
        uBorrow = ptFrom->auWord[i] < lTake ? 1 : 0;
        ptFrom->auWord[i] = static_cast<uint32_t>(ptFrom->auWord[i] - lTake);
    }
    while (ptFrom->iWords > 0 && ptFrom->auWord[ptFrom->iWords - 1] == 0)
        --ptFrom->iWords;
}

/// The double nearest to a ratio, whose parts this uses up.
static double Divide(WholeNumber *ptRest, WholeNumber *ptDivisor)
{
    // The ratio remains (lSignificand + *ptRest / *ptDivisor) * 2^iExponent; the fraction gets and stays below 1.
    uint64_t lSignificand = 0;
    int iExponent = 0;
    for (; Compare(ptRest, ptDivisor) >= 0; ++iExponent)
        Double(ptDivisor);
    for (; lSignificand < NORMAL_MIN && iExponent > EXPONENT_MIN; --iExponent) {
        Double(ptRest);
        lSignificand *= 2;
        if (Compare(ptRest, ptDivisor) < 0)
            continue;
        Subtract(ptRest, ptDivisor);
        ++lSignificand;
    }
    if (iExponent > EXPONENT_MAX)
        return HUGE_VAL;
    Double(ptRest);
    const int iHalf = Compare(ptRest, ptDivisor);
    if (iHalf > 0 || (iHalf == 0 && lSignificand % 2 != 0))
        ++lSignificand;
    // A double holds its exponent, counted from 1, above the significand without NORMAL_MIN; subnormal numbers, which
    // have no NORMAL_MIN, hold 0 there. Counted from 0 and added up, both come right, and so does a carry of rounding.
    const uint64_t lBits = (static_cast<uint64_t>(iExponent - EXPONENT_MIN) << FRACTION_BITS) + lSignificand;
    double dNumber = 0;
    memcpy(&dNumber, &lBits, sizeof dNumber);
    return dNumber;
}

/// The double nearest to a number, which this uses up.
static double Round_ToDouble(DecimalNumber *pt)
{
    const int64_t iMagnitude = pt->iDigits + pt->iExponent;
    if (pt->iDigits == 0 || iMagnitude < MAGNITUDE_MIN)
        return 0;
    if (iMagnitude > MAGNITUDE_MAX)
        return HUGE_VAL;
    WholeNumber tDivisor = {{1}, 1};
    Multiply_ByPowerOfTen(&pt->tDigits, pt->iExponent);
    Multiply_ByPowerOfTen(&tDivisor, -pt->iExponent);
    return Divide(&pt->tDigits, &tDivisor);
}

/// Adds an exponent, when there is one. Returns what follows it, or null when it breaks off.
static const char *Read_Exponent(const char *pszText, int64_t *piExponent)
{
    if (*pszText != 'e' && *pszText != 'E')
        return pszText;
    ++pszText;
    const bool bNegative = *pszText == '-';
    if (*pszText == '-' || *pszText == '+')
        ++pszText;
    if (!Is_Digit(*pszText))
        return nullptr;
    static constexpr int64_t EXPONENT_ENOUGH = INT64_MAX / 1000; // no text has so many digits to make up for it
    int64_t iExponent = 0;
    for (; Is_Digit(*pszText); ++pszText)
        if (iExponent < EXPONENT_ENOUGH)
            iExponent = iExponent * 10 + (*pszText - '0');
    *piExponent += bNegative ? -iExponent : iExponent;
    return pszText;
}

/// Reads an unsigned number into *pt, which starts as 0: digits with at most one point, and an exponent.
static const char *Read_Digits(const char *pszText, DecimalNumber *pt)
{
    bool bAny = false;
    bool bPoint = false;
    bool bMore = false; // than 0 in the digits behind those kept
    for (; Is_Digit(*pszText) || (*pszText == '.' && !bPoint); ++pszText) {
        if (*pszText == '.') {
            bPoint = true;
            continue;
        }
        bAny = true;
        pt->iExponent -= bPoint ? 1 : 0;
        if (pt->iDigits == DIGITS_MAX) {
            bMore = bMore || *pszText != '0';
            ++pt->iExponent;
            continue;
        }
        Multiply_Add(&pt->tDigits, 10, static_cast<uint32_t>(*pszText - '0'));
        pt->iDigits += pt->tDigits.iWords != 0 ? 1 : 0;
    }
    if (bMore) {
        Multiply_Add(&pt->tDigits, 10, 1);
        ++pt->iDigits;
        --pt->iExponent;
    }
    return bAny ? Read_Exponent(pszText, &pt->iExponent) : nullptr;
}

/// Reads a word that stands for a number.
static const char *Read_Word(const char *pszText, double *pdNumber)
{
    static constexpr struct {
        char szWord[9];
        double dNumber;
    } WORDS[] = {{"infinity", HUGE_VAL}, {"nan", NAN}};
    for (const auto &tWord : WORDS) {
        size_t uSame = 0;
        while (tWord.szWord[uSame] != '\0' && (pszText[uSame] | 0x20) == tWord.szWord[uSame])
            ++uSame;
        if (uSame != 3 && uSame != 8)
            continue; // neither whole nor "inf"
        *pdNumber = tWord.dNumber;
        return pszText + uSame;
    }
    return nullptr;
}

const char *Decimal_FromText(const char *pszText, double *pdNumber)
{
    pszText += strspn(pszText, NUMBER_BLANKS);
    const bool bNegative = *pszText == '-';
    if (*pszText == '-' || *pszText == '+')
        ++pszText;
    double dNumber = 0;
    const char *pszEnd = Read_Word(pszText, &dNumber);
    if (pszEnd == nullptr) {
        DecimalNumber t = {};
        pszEnd = Read_Digits(pszText, &t);
        dNumber = Round_ToDouble(&t);
    }
    if (pszEnd != nullptr)
        *pdNumber = bNegative ? -dNumber : dNumber;
    return pszEnd;
}
