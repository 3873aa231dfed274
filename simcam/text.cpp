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

bool Decode_Escapes(const std::string &text, std::string *pDecoded)
{
    pDecoded->clear();
    for (size_t i = 0; i < text.size(); ++i) {
        unsigned long byte = static_cast<unsigned char>(text[i]);
        if (text[i] == '\\') {
            const char letter = ++i < text.size() ? text[i] : '\0';
            bool isKnown =
                letter == 'x' && i + 2 < text.size() && Parse_Number("0x" + text.substr(i + 1, 2), 255, &byte);
            i += isKnown ? 2 : 0;
            for (const auto &[known, value] : ESCAPES) {
                if (letter == known) {
                    byte = static_cast<unsigned char>(value);
                    isKnown = true;
                }
            }
            if (!isKnown)
                return false;
        }
        *pDecoded += static_cast<char>(byte);
    }
    return true;
}

std::string Encode_Escapes(const std::string &text)
{
    std::string encoded;
    for (const char c : text) {
        char aEscape[8] = {c};
        if (c < 0x20 || c > 0x7e)
            snprintf(aEscape, sizeof aEscape, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
        for (const auto &[letter, value] : ESCAPES) {
            if (c == value)
                snprintf(aEscape, sizeof aEscape, "\\%c", letter);
        }
        encoded += aEscape;
    }
    return encoded;
}

std::vector<std::string> Split_Text(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t end = text.find(separator); end != std::string::npos; end = text.find(separator, start)) {
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

const char *Expand_Braces(const std::string &text, std::vector<std::string> *pNames)
{
    const size_t open = text.find('{');
    *pNames = {text.substr(0, open)};
    if (open == std::string::npos)
        return nullptr;
    for (const std::string &part : Split_Text(text.substr(open + 1), '{')) {
        const size_t close = part.find('}');
        if (close == std::string::npos)
            return "a brace is not closed";
        const std::vector<std::string> words = Split_Text(part.substr(0, close), ',');
        std::vector<std::string> longer;
        size_t bytes = 0;
        for (const std::string &name : *pNames) {
            for (const std::string &word : words) {
                longer.push_back(name + word + part.substr(close + 1));
                bytes += longer.back().size();
                if (longer.size() > MAX_NAMES || bytes > MAX_NAME_BYTES)
                    return "its braces stand for too many names";
            }
        }
        pNames->swap(longer);
    }
    return nullptr;
}

bool Parse_Number(const std::string &text, unsigned long maximum, unsigned long *pNumber)
{
    if (text.empty() || !isdigit(static_cast<unsigned char>(text[0])))
        return false;
    const int base = text.compare(0, 2, "0x") == 0 ? 16 : 10;
    char *pEnd = nullptr;
    errno = 0;
    *pNumber = strtoul(text.c_str(), &pEnd, base);
    return errno == 0 && pEnd == text.c_str() + text.size() && *pNumber <= maximum;
}
