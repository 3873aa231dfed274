#include "conflib/escape_decode.h"

static int Hex_Value(char cDigit)
{
    if (cDigit >= '0' && cDigit <= '9')
        return cDigit - '0';
    const int iLower = cDigit | 0x20;
    return iLower >= 'a' && iLower <= 'f' ? iLower - 'a' + 10 : -1;
}

/// The byte that "%xy" at pszText stands for, or 0 when it is no such sequence.
static int Decode_Sequence(const char *pszText, int iRoom)
{
    if (iRoom < 3 || pszText[0] != '%')
        return 0;
    const int iHigh = Hex_Value(pszText[1]);
    const int iLow = Hex_Value(pszText[2]);
    return iHigh < 0 || iLow < 0 ? 0 : iHigh * 16 + iLow;
}

extern "C" void EscapeDecodeString(const char *pszSource, int iLength, char *pszTarget, int *piDecodedLength,
                                   int /*iFlag*/)
{
    int iTarget = 0;
    for (int iSource = 0; iSource < iLength; ++iTarget) {
        const int iByte = Decode_Sequence(pszSource + iSource, iLength - iSource);
        pszTarget[iTarget] = iByte != 0 ? static_cast<char>(iByte) : pszSource[iSource];
        iSource += iByte != 0 ? 3 : 1;
    }
    *piDecodedLength = iTarget;
}
