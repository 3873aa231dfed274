#include "model.h"

#include "text.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

using Text = const std::string &;

const char ALIAS[] = "aliasxpath";
const int MAX_INCLUDE_DEPTH = 8;
const char FINE[] = ""; // what a directive returns that could be carried out

/// The index of the key, or the number of keys.
size_t Find_Key(const Model &tModel, const std::string &strName)
{
    size_t uIndex = 0;
    while (uIndex < tModel.atKeys.size() && tModel.atKeys[uIndex].strName != strName)
        ++uIndex;
    return uIndex;
}

/// The index of the key that the name leads to through its aliases, or the number of keys.
size_t Follow_Aliases(const Model &tModel, const std::string &strName)
{
    size_t uIndex = Find_Key(tModel, strName);
    for (size_t uStep = 0; uStep < tModel.atKeys.size(); ++uStep) {
        if (uIndex == tModel.atKeys.size() || tModel.atKeys[uIndex].atChildren.front().first != ALIAS)
            return uIndex;
        uIndex = Find_Key(tModel, tModel.atKeys[uIndex].atChildren.front().second);
    }
    return tModel.atKeys.size();
}

Key *Find_OrAddKey(Model *ptModel, const std::string &strName)
{
    const size_t uIndex = Find_Key(*ptModel, strName);
    if (uIndex == ptModel->atKeys.size())
        ptModel->atKeys.push_back({strName, {}, ""});
    return &ptModel->atKeys[uIndex];
}

std::string *Find_Child(Key *ptKey, const char *pszName)
{
    for (auto &[strName, strText] : ptKey->atChildren) {
        if (strName == pszName)
            return &strText;
    }
    return nullptr;
}

void Put_Child(Key *ptKey, const char *pszName, const std::string &strText)
{
    std::string *pText = Find_Child(ptKey, pszName);
    if (pText != nullptr)
        *pText = strText;
    else
        ptKey->atChildren.emplace_back(pszName, strText);
}

/// Where the value of a key is kept: beside the snapshot when the snapshot has an empty one and refers to the socket.
std::string *Find_Value(Key *ptKey)
{
    std::string *pValue = Find_Child(ptKey, "value");
    return pValue->empty() && Find_Child(ptKey, "getonce") != nullptr ? &ptKey->strAnswer : pValue;
}

std::string Apply_Key(Model *ptModel, Text strName, Text strValue)
{
    Put_Child(Find_OrAddKey(ptModel, strName), "value", strValue);
    return FINE;
}

std::string Apply_Request(Model *ptModel, Text strName, Text strValue)
{
    Key *ptKey = Find_OrAddKey(ptModel, strName);
    Put_Child(ptKey, "value", "");
    Put_Child(ptKey, "getonce", "");
    ptKey->strAnswer = strValue;
    return FINE;
}

std::string Apply_Alias(Model *ptModel, Text strName, Text strTarget)
{
    Find_OrAddKey(ptModel, strName)->atChildren = {{ALIAS, strTarget}};
    return FINE;
}

/// Whether the key is the element of that name, or inside it.
bool Is_Below(const Key &tKey, const std::string &strName) { return (tKey.strName + "_").rfind(strName + "_", 0) == 0; }

std::string Apply_No(Model *ptModel, Text strName, Text /*strValue*/)
{
    const auto pfnIsBelow = [&](const Key &tKey) { return Is_Below(tKey, strName); };
    const auto itEnd = std::remove_if(ptModel->atKeys.begin(), ptModel->atKeys.end(), pfnIsBelow);
    if (itEnd == ptModel->atKeys.end())
        return "no such key";
    ptModel->atKeys.erase(itEnd, ptModel->atKeys.end());
    return FINE;
}

std::string Apply_Fail(Model *ptModel, Text strName, Text /*strValue*/)
{
    if (Find_Key(*ptModel, strName) == ptModel->atKeys.size())
        return "no such key";
    ptModel->tSettings["fail " + strName] = "";
    return FINE;
}

/// A setting that every camera has.
std::string Apply_Setting(Model *ptModel, Text strName, Text strValue)
{
    unsigned long uNumber = 0;
    if (ptModel->tSettings.count(strName) == 0)
        return "unknown setting";
    if (strName.rfind("snapshot ", 0) == 0 && !Parse_Number(strValue, UINT32_MAX, &uNumber))
        return "expected a number";
    if (strName == "ptz pidfile" && strValue != "yes" && strValue != "no")
        return "expected yes or no";
    ptModel->tSettings[strName] = strValue;
    return FINE;
}

std::string Apply_Bitrate(Model *ptModel, Text strName, Text strValue)
{
    const std::vector<std::string> astrWords = Split_Text(strName, ' ');
    if (astrWords.size() != 2)
        return "expected CHANNEL CODEC=TEXT";
    ptModel->tSides["videoin_" + astrWords[0] + "_s0_" + astrWords[1] + "_bitrate_check"] = strValue;
    return FINE;
}

std::string Apply_Side(Model *ptModel, Text strPath, Text strValue)
{
    ptModel->tSides[strPath] = strValue;
    return FINE;
}

std::string Apply_File(Model *ptModel, Text strPath, Text strText)
{
    ptModel->tFiles[strPath] = strText;
    return FINE;
}

std::string Apply_NoFile(Model *ptModel, Text strPath, Text /*strValue*/)
{
    ptModel->tFiles[strPath].reset();
    return FINE;
}

std::string Apply_ReadOnly(Model *ptModel, Text strPath, Text /*strValue*/)
{
    ptModel->tReadOnly.insert(strPath);
    return FINE;
}

std::string Apply_Fault(Model *ptModel, Text strFault, Text /*strValue*/)
{
    return Parse_Fault(strFault, &ptModel->atFaults);
}

struct Directive {
    const char *pszWord;
    bool bHasValue;
    bool bOfKey;
    std::string (*pfnApply)(Model *ptModel, Text strName, Text strValue); // returns FINE or what is wrong
};

constexpr Directive DIRECTIVES[] = {
    {"key", true, true, Apply_Key},
    {"request", true, true, Apply_Request},
    {"alias", true, true, Apply_Alias},
    {"no", false, true, Apply_No},
    {"fail", false, true, Apply_Fail},
    {"snapshot", true, false,
     [](Model *pt, Text strName, Text strText) { return Apply_Setting(pt, "snapshot " + strName, strText); }},
    {"ptz", true, false,
     [](Model *pt, Text strName, Text strText) { return Apply_Setting(pt, "ptz " + strName, strText); }},
    {"analytics", true, false,
     [](Model *pt, Text strName, Text strText) { return Apply_Setting(pt, "analytics " + strName, strText); }},
    {"bitrate", true, false, Apply_Bitrate},
    {"side", true, false, Apply_Side},
    {"file", true, false, Apply_File},
    {"nofile", false, false, Apply_NoFile},
    {"readonly", false, false, Apply_ReadOnly},
    {"fault", false, false, Apply_Fault},
};

const Directive *Find_Directive(const std::string &strWord)
{
    return std::find_if(std::begin(DIRECTIVES), std::end(DIRECTIVES),
                        [&](const Directive &tDirective) { return strWord == tDirective.pszWord; });
}

std::string List_Directives()
{
    std::string strList;
    for (const Directive &tDirective : DIRECTIVES)
        strList += (strList.empty() ? "" : ", ") + std::string(tDirective.pszWord);
    return strList;
}

/// Cuts the first word, and the blanks around it, off the front of the text.
std::string Take_Word(std::string *pText)
{
    pText->erase(0, pText->find_first_not_of(" \t"));
    const size_t uEnd = pText->find_first_of(" \t");
    std::string strWord = pText->substr(0, uEnd);
    pText->erase(0, pText->find_first_not_of(" \t", uEnd));
    return strWord;
}

std::string Apply_Directive(const Directive &tDirective, const std::string &strText, Model *ptModel)
{
    const size_t uEquals = tDirective.bHasValue ? strText.find('=') : strText.size();
    std::vector<std::string> astrNames;
    std::string strValue;
    if (uEquals == 0 || uEquals == std::string::npos)
        return tDirective.bHasValue ? "expected NAME=VALUE" : "expected NAME";
    const char *pszError = Expand_Braces(strText.substr(0, uEquals), &astrNames);
    if (pszError != nullptr)
        return pszError;
    if (tDirective.bOfKey && !std::all_of(astrNames.begin(), astrNames.end(), Is_KeyName))
        return "the name of a key holds no blanks, and none stand around the \"=\"";
    if (tDirective.bHasValue && !Decode_Escapes(strText.substr(uEquals + 1), &strValue))
        return "malformed escape";
    std::string strError;
    for (size_t i = 0; i < astrNames.size() && strError.empty(); ++i)
        strError = tDirective.pfnApply(ptModel, astrNames[i], strValue);
    return strError;
}

std::string Load_Lines(const std::string &strPath, const std::string &strOrigin, int iDepth, Model *ptModel)
{
    std::ifstream tFile(strPath);
    if (!tFile || iDepth > MAX_INCLUDE_DEPTH)
        return strOrigin + ": cannot read " + strPath;
    std::string strError;
    std::string strLine;
    for (int iNumber = 1; strError.empty() && std::getline(tFile, strLine); ++iNumber) {
        const std::string strHere = strPath + ":" + std::to_string(iNumber);
        if (!strLine.empty() && strLine.back() == '\r')
            strLine.pop_back();
        std::string strName = strLine;
        if (Take_Word(&strName) == "include")
            strError =
                Load_Lines(std::filesystem::path(strPath).replace_filename(strName), strHere, iDepth + 1, ptModel);
        else
            strError = Apply_ModelLine(strLine, strHere, ptModel);
    }
    return strError;
}

} // namespace

std::string Load_Model(const std::string &strPath, Model *ptModel) { return Load_Lines(strPath, strPath, 0, ptModel); }

std::string Apply_ModelLine(const std::string &strLine, const std::string &strOrigin, Model *ptModel)
{
    std::string strRest = strLine;
    const std::string strWord = Take_Word(&strRest);
    if (strWord.empty() || strWord[0] == '#')
        return "";
    const Directive *ptDirective = Find_Directive(strWord);
    if (ptDirective == std::end(DIRECTIVES))
        return strOrigin + ": " + strWord + ": unknown directive; there are " + List_Directives();
    const std::string strError = Apply_Directive(*ptDirective, strRest, ptModel);
    if (!strError.empty())
        return strOrigin + ": " + strWord + ": " + strError;
    ptModel->strText += strLine + "\n";
    return "";
}

bool Is_KeyName(const std::string &strName)
{
    return !strName.empty() && std::all_of(strName.begin(), strName.end(), [](char c) { return c > 0x20 && c < 0x7f; });
}

bool Is_Directive(const std::string &strLine)
{
    std::string strRest = strLine;
    return Find_Directive(Take_Word(&strRest)) != std::end(DIRECTIVES) && !strRest.empty();
}

std::string Find_AliasToNowhere(const Model &tBefore, const Model &tAfter)
{
    for (const Key &tKey : tAfter.atKeys) {
        const std::string &strName = tKey.atChildren.front().first;
        const std::string &strTarget = tKey.atChildren.front().second;
        const size_t uOld = Find_Key(tBefore, tKey.strName);
        const bool bNew = uOld == tBefore.atKeys.size() || tBefore.atKeys[uOld].atChildren != tKey.atChildren;
        const auto pfnIsThere = [&](const Key &tOther) { return Is_Below(tOther, strTarget); };
        if (strName == ALIAS && bNew && std::none_of(tAfter.atKeys.begin(), tAfter.atKeys.end(), pfnIsThere))
            return tKey.strName + "=" + strTarget;
    }
    return "";
}

bool Has_Fault(const Model &tModel, Service eService, const char *pszWord)
{
    return tModel.atFaults[eService].strWord == pszWord;
}

uint32_t Get_Number(const Model &tModel, const char *pszSetting)
{
    unsigned long uNumber = 0;
    Parse_Number(tModel.tSettings.at(pszSetting), UINT32_MAX, &uNumber);
    return static_cast<uint32_t>(uNumber);
}

std::string Get_KeyValue(const Model &tModel, const std::string &strName)
{
    const size_t uIndex = Follow_Aliases(tModel, strName);
    if (uIndex == tModel.atKeys.size())
        return "";
    Key tKey = tModel.atKeys[uIndex];
    return *Find_Value(&tKey);
}

bool Set_KeyValue(Model *ptModel, const std::string &strName, const std::string &strValue)
{
    const size_t uIndex = Follow_Aliases(*ptModel, strName);
    if (uIndex == ptModel->atKeys.size())
        return false;
    *Find_Value(&ptModel->atKeys[uIndex]) = strValue;
    return true;
}
