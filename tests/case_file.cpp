#include "case_file.h"

#include <fstream>

#include "text.h"

namespace {

const char BLANKS[] = " \t\r";
const unsigned long MAX_REPEATS = 100000;

std::string Strip_Blanks(const std::string &text)
{
    const size_t first = text.find_first_not_of(BLANKS);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

// Cuts the first word, and the blanks behind it, off the front of the text.
std::string Take_Word(std::string *pText)
{
    const size_t end = pText->find_first_of(BLANKS);
    std::string word = pText->substr(0, end);
    *pText = end == std::string::npos ? "" : Strip_Blanks(pText->substr(end));
    return word;
}

// Writes every "\{N*TEXT}" out. The other escapes stay for whoever decodes them.
bool Expand_Repeats(const std::string &text, std::string *pExpanded)
{
    for (size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\\{") != 0) {
            *pExpanded += text[i];
            if (text[i] == '\\' && i + 1 < text.size())
                *pExpanded += text[++i];
            continue;
        }
        const size_t star = text.find('*', i);
        const size_t close = text.find('}', i);
        unsigned long times = 0;
        if (star == std::string::npos || close == std::string::npos || close < star ||
            !Parse_Number(text.substr(i + 2, star - i - 2), MAX_REPEATS, &times)) {
            return false;
        }
        for (; times > 0; --times)
            pExpanded->append(text, star + 1, close - star - 1);
        i = close;
    }
    return true;
}

bool Add_Request(Case *pCase, const char *pMethod, bool viaServer, const std::string &text)
{
    CaseRequest request;
    request.method = pMethod;
    request.viaServer = viaServer;
    request.text = text;
    pCase->requests.push_back(request);
    return true;
}

bool Add_Reply(CaseRequest *pRequest, bool isXml, const std::string &text)
{
    if (pRequest->headerAt == std::string::npos)
        pRequest->headerAt = pRequest->output.size();
    pRequest->isXml |= isXml;
    pRequest->output += text + "\r\n";
    return true;
}

// One request about one parameter: "NAME=VALUE > KEY=VALUE > ...", what the daemon is to be told behind the arrows. The
// problem is what the reply complains of, nullptr for the plain answer.
bool Add_Exchange(Case *pCase, bool isWrite, const char *pProblem, std::string text)
{
    for (size_t arrow = text.find(" > "); arrow != std::string::npos; arrow = text.find(" > ")) {
        const size_t next = text.find(" > ", arrow + 1);
        pCase->sent += "set " + Encode_Escapes(text.substr(arrow + 3, next - arrow - 3)) + "\n";
        text.erase(arrow, next - arrow);
    }
    const std::string name = text.substr(0, text.find('='));
    if (isWrite)
        Add_Request(pCase, "POST", false, text + "\r\n");
    else
        Add_Request(pCase, "GET", false, "req=" + name + "&");
    return Add_Reply(&pCase->requests.back(), false,
                     pProblem != nullptr ? "#error." + name + "=501:" + pProblem : text);
}

// The same for every name that the braces stand for; one with a value is written, unless it is a plain read.
bool Add_Exchanges(Case *pCase, const std::string &text, bool isRead, const char *pProblem)
{
    std::vector<std::string> texts;
    if (!Expand_Braces(text, &texts))
        return false;
    for (const std::string &item : texts)
        Add_Exchange(pCase, !isRead && item.find('=') != std::string::npos, pProblem, item);
    return true;
}

bool Add_FileCheck(Case *pCase, bool isWhole, const std::string &text)
{
    const size_t equal = text.find('=');
    if (equal == std::string::npos)
        return false;
    pCase->files.push_back({text.substr(0, equal), text.substr(equal + 1), isWhole});
    return true;
}

bool Add_Environment(Case *pCase, const std::string &text)
{
    pCase->environment.push_back(text);
    return text[0] == '-' || text.find('=') != std::string::npos;
}

bool Add_Arguments(Case *pCase, const std::string &text)
{
    for (std::string rest = text; !rest.empty();)
        pCase->arguments.push_back(Take_Word(&rest));
    return true;
}

enum Needs { NOTHING, DECODING, REQUEST }; // REQUEST: one in front of the line, and decoding as well

using Text = const std::string &;

struct CaseWord {
    const char *pWord;
    Needs needs;
    bool (*pApply)(Case *p, Text text); // false: not in the form that this word takes
};

constexpr CaseWord CASE_WORDS[] = {
    {"model", NOTHING, [](Case *p, Text text) { return p->model = text, true; }},
    {"camera", NOTHING, [](Case *p, Text text) { return p->changes.push_back(text), true; }},
    {"env", DECODING, Add_Environment},
    {"args", NOTHING, Add_Arguments},
    {"get", DECODING, [](Case *p, Text text) { return Add_Request(p, "GET", false, text); }},
    {"post", DECODING, [](Case *p, Text text) { return Add_Request(p, "POST", false, text); }},
    {"http get", DECODING, [](Case *p, Text text) { return Add_Request(p, "GET", true, text); }},
    {"http post", DECODING, [](Case *p, Text text) { return Add_Request(p, "POST", true, text); }},
    {"read", DECODING, [](Case *p, Text text) { return Add_Exchanges(p, text, true, nullptr); }},
    {"write", DECODING, [](Case *p, Text text) { return Add_Exchanges(p, text, false, nullptr); }},
    {"fail", DECODING, [](Case *p, Text text) { return Add_Exchanges(p, text, false, "Internal error"); }},
    {"refuse", DECODING,
     [](Case *p, Text text) { return Add_Exchanges(p, text, false, "An illegal setting parameter"); }},
    {"locked", DECODING,
     [](Case *p, Text text) { return Add_Exchanges(p, text + "=1", false, "Parameter is readOnly"); }},
    {"reply", REQUEST, [](Case *p, Text text) { return Add_Reply(&p->requests.back(), false, text); }},
    {"xml", REQUEST, [](Case *p, Text text) { return Add_Reply(&p->requests.back(), true, text); }},
    {"output", REQUEST, [](Case *p, Text text) { return p->requests.back().output += text, true; }},
    {"error", REQUEST, [](Case *p, Text text) { return p->requests.back().error += text, true; }},
    {"exit", REQUEST, [](Case *p, Text text) { return Parse_Number(text, 255, &p->requests.back().exitStatus); }},
    {"sent", DECODING, [](Case *p, Text text) { return p->sent += Encode_Escapes(text) + "\n", true; }},
    {"log", DECODING, [](Case *p, Text text) { return p->log += "log " + Encode_Escapes(text) + "\n", true; }},
    {"file", DECODING, [](Case *p, Text text) { return Add_FileCheck(p, true, text); }},
    {"filehas", DECODING, [](Case *p, Text text) { return Add_FileCheck(p, false, text); }},
};

// Enters one line of the file into the case. Returns what is wrong with it, nullptr if nothing.
const char *Apply_Line(Case *pCase, const std::string &variant, const std::string &line)
{
    std::string rest = line, expanded, decoded;
    std::string name = Take_Word(&rest);
    if (name == "only") {
        if (Take_Word(&rest) != variant)
            return nullptr;
        name = Take_Word(&rest);
    }
    if (name == "http")
        name += " " + Take_Word(&rest);
    if (!Expand_Repeats(rest, &expanded))
        return "broken \\{N*TEXT}";
    for (const CaseWord &word : CASE_WORDS) {
        if (name != word.pWord)
            continue;
        if (word.needs == REQUEST && pCase->requests.empty())
            return "no request in front of it";
        if (word.needs != NOTHING && !Decode_Escapes(expanded, &decoded))
            return "broken escape";
        return word.pApply(pCase, word.needs == NOTHING ? expanded : decoded) ? nullptr : "not in the word's form";
    }
    return "unknown word";
}

} // namespace

std::vector<Case> Read_CaseFile(const char *pFile, const std::string &variant, std::vector<std::string> *pErrors)
{
    int number = 0;
    const auto report = [&](int line, const char *pProblem) {
        if (pProblem != nullptr)
            pErrors->push_back(std::string(pFile) + ":" + std::to_string(line) + ": " + pProblem);
    };
    Case pattern; // what the default lines say
    pattern.pFile = pFile;
    std::vector<Case> cases;
    std::ifstream stream(pFile);
    for (std::string line; std::getline(stream, line);) {
        ++number;
        std::string rest = Strip_Blanks(line);
        if (rest.empty() || rest[0] == '#')
            continue;
        if (!cases.empty() && rest.compare(0, 5, "case ") != 0) {
            report(number, Apply_Line(&cases.back(), variant, rest));
            continue;
        }
        const std::string word = Take_Word(&rest);
        if (word == "case") {
            cases.push_back(pattern);
            cases.back().line = number;
            cases.back().title = rest;
        } else {
            report(number, word == "default" ? Apply_Line(&pattern, variant, rest) : "stands before the first case");
        }
    }
    if (cases.empty())
        report(number, "no case in this file");
    for (const Case &item : cases)
        report(item.line, item.requests.empty() ? "a case without a request" : nullptr);
    return cases;
}
