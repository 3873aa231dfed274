#include "text.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace {

/// The letter behind the backslash and the byte that it stands for.
constexpr std::pair<char, char> ESCAPES[] = {{'r', '\r'}, {'n', '\n'}, {'t', '\t'}, {'\\', '\\'}};

const size_t MAX_NAMES = 1U << 14;      // that one line may stand for
const size_t MAX_NAME_BYTES = 1U << 20; // of all of them

} // namespace

bool Decode_Escapes(const std::string &strText, std::string *pDecoded)
{
    pDecoded->clear();
    for (size_t i = 0; i < strText.size(); ++i) {
        unsigned long uByte = static_cast<unsigned char>(strText[i]);
        if (strText[i] == '\\') {
            const char cLetter = ++i < strText.size() ? strText[i] : '\0';
            bool bKnown =
                cLetter == 'x' && i + 2 < strText.size() && Parse_Number("0x" + strText.substr(i + 1, 2), 255, &uByte);
            i += bKnown ? 2 : 0;
            for (const auto &[cKnown, cValue] : ESCAPES) {
                if (cLetter == cKnown) {
                    uByte = static_cast<unsigned char>(cValue);
                    bKnown = true;
                }
            }
            if (!bKnown)
                return false;
        }
        *pDecoded += static_cast<char>(uByte);
    }
    return true;
}

std::string Encode_Escapes(const std::string &strText)
{
    std::string strEncoded;
    for (const char c : strText) {
        char szEscape[8] = {c};
        if (c < 0x20 || c > 0x7e)
            snprintf(szEscape, sizeof szEscape, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
        for (const auto &[cLetter, cValue] : ESCAPES) {
            if (c == cValue)
                snprintf(szEscape, sizeof szEscape, "\\%c", cLetter);
        }
        strEncoded += szEscape;
    }
    return strEncoded;
}

std::vector<std::string> Split_Text(const std::string &strText, char cSeparator)
{
    std::vector<std::string> astrParts;
    size_t uStart = 0;
    for (size_t uEnd = strText.find(cSeparator); uEnd != std::string::npos; uEnd = strText.find(cSeparator, uStart)) {
        astrParts.push_back(strText.substr(uStart, uEnd - uStart));
        uStart = uEnd + 1;
    }
    astrParts.push_back(strText.substr(uStart));
    return astrParts;
}

const char *Expand_Braces(const std::string &strText, std::vector<std::string> *pNames)
{
    const size_t uOpen = strText.find('{');
    *pNames = {strText.substr(0, uOpen)};
    if (uOpen == std::string::npos)
        return nullptr;
    for (const std::string &strPart : Split_Text(strText.substr(uOpen + 1), '{')) {
        const size_t uClose = strPart.find('}');
        if (uClose == std::string::npos)
            return "a brace is not closed";
        const std::vector<std::string> astrWords = Split_Text(strPart.substr(0, uClose), ',');
        std::vector<std::string> astrLonger;
        size_t uBytes = 0;
        for (const std::string &strName : *pNames) {
            for (const std::string &strWord : astrWords) {
                astrLonger.push_back(strName + strWord + strPart.substr(uClose + 1));
                uBytes += astrLonger.back().size();
                if (astrLonger.size() > MAX_NAMES || uBytes > MAX_NAME_BYTES)
                    return "its braces stand for too many names";
            }
        }
        pNames->swap(astrLonger);
    }
    return nullptr;
}

bool Parse_Number(const std::string &strText, unsigned long uMaximum, unsigned long *pNumber)
{
    if (strText.empty() || !isdigit(static_cast<unsigned char>(strText[0])))
        return false;
    const int iBase = strText.compare(0, 2, "0x") == 0 ? 16 : 10;
    char *pcEnd = nullptr;
    errno = 0;
    *pNumber = strtoul(strText.c_str(), &pcEnd, iBase);
    return errno == 0 && pcEnd == strText.c_str() + strText.size() && *pNumber <= uMaximum;
}
