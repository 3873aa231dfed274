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
    const char *pszEnd = Decimal_FromText(acText.data(), &dNumber);
    if (pszEnd == nullptr) {
        Require(dNumber == 77, "without a number the variable keeps its value");
        return;
    }
    const size_t uTaken = static_cast<size_t>(pszEnd - acText.data());
    Require(uTaken > 0 && uTaken < acText.size(), "a number has characters, the terminator is none of them");
    const FuzzText acNumber = Make_Text(reinterpret_cast<const uint8_t *>(acText.data()), uTaken);
    char *pszLibraryEnd = nullptr;
    const double dLibrary = strtod(acNumber.data(), &pszLibraryEnd);
    Require(*pszLibraryEnd == '\0', "what is taken is a number of the C library, too");
    if (!isfinite(dLibrary) || fabs(dLibrary) < 1e-290 || fabs(dLibrary) > 1e290)
        return; // steps of the scaling may end early there
    const char *pszSignificant = acNumber.data() + strspn(acNumber.data(), " \t\n\v\f\r+-0.");
    const bool bExact =
        strspn(pszSignificant, "0123456789.") <= 15 && strpbrk(acNumber.data(), "eE") == nullptr && uTaken <= 22;
    Require(fabs(dNumber - dLibrary) <= (bExact ? 0 : fabs(dLibrary) * 1e-13), "it has the C library's value");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pData, size_t uSize)
{
    const FuzzText acText = Make_Text(pData, uSize);
    Check_Range(acText);
    Check_Decimal(acText);
    return 0;
}
