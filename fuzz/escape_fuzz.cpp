// Escape decoding of set payloads: into another buffer and, as the product does, in place.
#include "fuzz.h"

#include "conflib/escape_decode.h"

#include <ctype.h>
#include <limits.h>

static std::vector<char> Plain_Decode(const std::vector<char> &acText)
{
    std::vector<char> acDecoded;
    for (size_t i = 0; i < acText.size(); i++) {
        const bool bDigits = i + 2 < acText.size() && isxdigit(static_cast<unsigned char>(acText[i + 1])) != 0 &&
                             isxdigit(static_cast<unsigned char>(acText[i + 2])) != 0;
        const char szDigits[3] = {bDigits ? acText[i + 1] : '0', bDigits ? acText[i + 2] : '0', '\0'};
        const long lByte = acText[i] == '%' ? strtol(szDigits, nullptr, 16) : 0;
        acDecoded.push_back(lByte != 0 ? static_cast<char>(lByte) : acText[i]);
        i += lByte != 0 ? 2 : 0;
    }
    return acDecoded;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pData, size_t uSize)
{
    if (uSize > INT_MAX)
        return 0;
    const int iLength = static_cast<int>(uSize);
    const std::vector<char> acText(pData, pData + uSize);
    std::vector<char> acInPlace = acText;
    std::vector<char> acTarget(uSize);
    int iDecoded = -1, iInPlace = -1;
    EscapeDecodeString(acText.data(), iLength, acTarget.data(), &iDecoded, 1);
    EscapeDecodeString(acInPlace.data(), iLength, acInPlace.data(), &iInPlace, 1);

    Require(iDecoded >= 0 && iDecoded <= iLength, "decoding never makes longer");
    acTarget.resize(static_cast<size_t>(iDecoded));
    Require(iInPlace == iDecoded && std::equal(acTarget.begin(), acTarget.end(), acInPlace.begin()),
            "decoding in place gives the same");
    Require(acTarget == Plain_Decode(acText), "sequences are decoded, all else stays");
    return 0;
}
