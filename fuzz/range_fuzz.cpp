// Range texts of the capability file and decimal numbers of the platform.
#include "fuzz.h"

#include "common/decimal.h"
#include "conflib/cdf_range.h"

#include <math.h>

static bool Is_Number(float fBound, const char *pszText)
{
    const auto fNumber = static_cast<float>(strtod(pszText, nullptr));
    return fBound == fNumber || (isnan(fBound) && isnan(fNumber));
}

static void Check_Range(FuzzText acText)
{
    const FuzzText acBefore = acText;
    QuorvexFloatRange tRange = {-1, -1};
    const int iResult = QuorvexParseXMLFloatRange(acText.data(), &tRange);
    Require(iResult == 0 || iResult == -1, "a range is there or not");
    size_t uChanged = 0;
    for (size_t i = 0; i < acText.size(); i++)
        uChanged += acText[i] != acBefore[i] && acBefore[i] == '"' && acText[i] == '\0' ? 1 : acText[i] != acBefore[i];
    Require(uChanged <= 1, "at most the closing quote is ended");
    if (iResult != 0)
        return;
    Require(uChanged == 1, "a range stands in quotes");
    const char *pszLower = strchr(strchr(acText.data(), ','), '"') + 1;
    const char *pszSplit = strchr(pszLower, '~') != nullptr ? strchr(pszLower, '~') : strrchr(pszLower, ',');
    Require(Is_Number(tRange.fLower, pszLower) && Is_Number(tRange.fUpper, pszSplit + 1),
            "bounds are the first and the last number in quotes");
}

static void Check_Decimal(const FuzzText &acText)
{
    double dNumber = 77;
    double dLibrary = 77;
    int iTaken = 0;
    const char *pszEnd = Decimal_FromText(acText.data(), &dNumber);
    if (pszEnd != nullptr && pszEnd[-1] == '0' && (*pszEnd == 'x' || *pszEnd == 'X'))
        return; // the host reads hexadecimal
    sscanf(acText.data(), "%lf%n", &dLibrary, &iTaken);
    // The host also takes an exponent without digits.
    const bool bNone = iTaken == 0 || strchr("eE+-", acText[static_cast<size_t>(iTaken) - 1]) != nullptr;
    if (bNone) {
        Require(pszEnd == nullptr && dNumber == 77, "without a number the variable keeps its value");
        return;
    }
    Require(pszEnd == acText.data() + iTaken, "a number ends where the C library's ends");
    Require((dNumber == dLibrary || (isnan(dNumber) && isnan(dLibrary))) && signbit(dNumber) == signbit(dLibrary),
            "it has the C library's value");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pData, size_t uSize)
{
    const FuzzText acText = Make_Text(pData, uSize);
    Check_Range(acText);
    Check_Decimal(acText);
    return 0;
}
