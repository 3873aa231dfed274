#include "common/string_util.h"

#include "common/int32.h"

#include <string.h>

static unsigned char Fold_Case(char cByte)
{
    return static_cast<unsigned char>(cByte >= 'A' && cByte <= 'Z' ? cByte - 'A' + 'a' : cByte);
}

size_t Copy_Text(char *pszTarget, size_t uSize, const char *pszText)
{
    const size_t uLength = strlen(pszText);
    if (uSize == 0)
        return uLength;
    const size_t uCopied = uLength < uSize ? uLength : uSize - 1;
    memcpy(pszTarget, pszText, uCopied);
    pszTarget[uCopied] = '\0';
    return uLength;
}

void Format_Arguments(char *pszTarget, size_t uSize, const char *pszFormat, va_list tArguments)
{
    size_t uLength = 0;
    for (const char *pc = pszFormat; *pc != '\0' && uLength + 1 < uSize; ++pc) {
        const char cKind = pc[0] == '%' ? pc[1] : '\0';
        if (cKind != 'd' && cKind != 's') {
            pszTarget[uLength++] = *pc;
            continue;
        }
        const NumberText tNumber = cKind == 'd' ? Int32_ToText(va_arg(tArguments, int)) : NumberText{};
        const char *pszText = cKind == 'd' ? tNumber.szText : va_arg(tArguments, const char *);
        uLength += Copy_Text(pszTarget + uLength, uSize - uLength, pszText);
        ++pc;
    }
    pszTarget[uLength < uSize ? uLength : uSize - 1] = '\0';
}

void Format_Text(char *pszTarget, size_t uSize, const char *pszFormat, ...)
{
    va_list tArguments;
    va_start(tArguments, pszFormat);
    Format_Arguments(pszTarget, uSize, pszFormat, tArguments);
    va_end(tArguments);
}

uint32_t VersionStringToFourCC(const char *pszVersion)
{
    constexpr unsigned int PART_COUNT = 4;
    char szVersion[16] = "";
    strncpy(szVersion, pszVersion, sizeof szVersion - 1);

    uint32_t dwCode = 0;
    char *pszRest = nullptr;
    char *pszPart = strtok_r(szVersion, ".", &pszRest);
    for (unsigned int uPart = 0; pszPart != nullptr && uPart < PART_COUNT; ++uPart) {
        dwCode |= static_cast<uint32_t>(Int32_FromText(pszPart)) << (8 * uPart);
        pszPart = strtok_r(nullptr, ".", &pszRest);
    }
    return dwCode;
}

int stricmp(const char *pszLeft, const char *pszRight)
{
    while (*pszLeft != '\0' && Fold_Case(*pszLeft) == Fold_Case(*pszRight)) {
        ++pszLeft;
        ++pszRight;
    }
    if (*pszLeft == '\0')
        return *pszRight == '\0' ? 0 : -1;
    if (*pszRight == '\0')
        return -1;
    return Fold_Case(*pszLeft) < Fold_Case(*pszRight) ? -1 : 1;
}

int memicmp(const void *pLeft, const void *pRight, size_t uLength)
{
    const char *pcLeft = static_cast<const char *>(pLeft);
    const char *pcRight = static_cast<const char *>(pRight);
    for (size_t uIndex = 0; uIndex < uLength; ++uIndex) {
        const int iDifference = Fold_Case(pcLeft[uIndex]) - Fold_Case(pcRight[uIndex]);
        if (iDifference != 0)
            return iDifference > 0 ? 1 : -1;
    }
    return 0;
}

void removeChar(char *pszText, const char *pszSet, int iCount)
{
    char *pszKept = pszText;
    if (iCount >= 0) {
        const size_t uSetLength = strnlen(pszSet, static_cast<size_t>(iCount));
        for (const char *pszRead = pszText; *pszRead != '\0'; ++pszRead)
            if (memchr(pszSet, *pszRead, uSetLength) == nullptr)
                *pszKept++ = *pszRead;
    }
    *pszKept = '\0';
}
