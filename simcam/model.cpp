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
size_t Find_Key(const Model &model, const std::string &name)
{
    size_t index = 0;
    while (index < model.keys.size() && model.keys[index].name != name)
        ++index;
    return index;
}

/// The index of the key that the name leads to through its aliases, or the number of keys.
size_t Follow_Aliases(const Model &model, const std::string &name)
{
    size_t index = Find_Key(model, name);
    for (size_t step = 0; step < model.keys.size(); ++step) {
        if (index == model.keys.size() || model.keys[index].children.front().first != ALIAS)
            return index;
        index = Find_Key(model, model.keys[index].children.front().second);
    }
    return model.keys.size();
}

Key *Find_Or_Add_Key(Model *pModel, const std::string &name)
{
    const size_t index = Find_Key(*pModel, name);
    if (index == pModel->keys.size())
        pModel->keys.push_back({name, {}, ""});
    return &pModel->keys[index];
}

std::string *Find_Child(Key *pKey, const char *pszName)
{
    for (auto &[name, text] : pKey->children) {
        if (name == pszName)
            return &text;
    }
    return nullptr;
}

void Put_Child(Key *pKey, const char *pszName, const std::string &text)
{
    std::string *pText = Find_Child(pKey, pszName);
    if (pText != nullptr)
        *pText = text;
    else
        pKey->children.emplace_back(pszName, text);
}

/// Where the value of a key is kept: beside the snapshot when the snapshot has an empty one and refers to the socket.
std::string *Find_Value(Key *pKey)
{
    std::string *pValue = Find_Child(pKey, "value");
    return pValue->empty() && Find_Child(pKey, "getonce") != nullptr ? &pKey->answer : pValue;
}

std::string Apply_Key(Model *pModel, Text name, Text value)
{
    Put_Child(Find_Or_Add_Key(pModel, name), "value", value);
    return FINE;
}

std::string Apply_Request(Model *pModel, Text name, Text value)
{
    Key *pKey = Find_Or_Add_Key(pModel, name);
    Put_Child(pKey, "value", "");
    Put_Child(pKey, "getonce", "");
    pKey->answer = value;
    return FINE;
}

std::string Apply_Alias(Model *pModel, Text name, Text target)
{
    Find_Or_Add_Key(pModel, name)->children = {{ALIAS, target}};
    return FINE;
}

/// Whether the key is the element of that name, or inside it.
bool Is_Below(const Key &key, const std::string &name) { return (key.name + "_").rfind(name + "_", 0) == 0; }

std::string Apply_No(Model *pModel, Text name)
{
    const auto isBelow = [&](const Key &key) { return Is_Below(key, name); };
    const auto end = std::remove_if(pModel->keys.begin(), pModel->keys.end(), isBelow);
    if (end == pModel->keys.end())
        return "no such key";
    pModel->keys.erase(end, pModel->keys.end());
    return FINE;
}

std::string Apply_Fail(Model *pModel, Text name)
{
    if (Find_Key(*pModel, name) == pModel->keys.size())
        return "no such key";
    pModel->settings["fail " + name] = "";
    return FINE;
}

/// A setting that every camera has.
std::string Apply_Setting(Model *pModel, Text name, Text value)
{
    unsigned long number = 0;
    if (pModel->settings.count(name) == 0)
        return "unknown setting";
    if (name.rfind("snapshot ", 0) == 0 && !Parse_Number(value, UINT32_MAX, &number))
        return "expected a number";
    if (name == "ptz pidfile" && value != "yes" && value != "no")
        return "expected yes or no";
    pModel->settings[name] = value;
    return FINE;
}

std::string Apply_Bitrate(Model *pModel, Text name, Text value)
{
    const std::vector<std::string> words = Split_Text(name, ' ');
    if (words.size() != 2)
        return "expected CHANNEL CODEC=TEXT";
    pModel->sides["videoin_" + words[0] + "_s0_" + words[1] + "_bitrate_check"] = value;
    return FINE;
}

struct Directive {
    const char *pszWord;
    bool hasValue;
    bool isOfKey;
    std::string (*pfnApply)(Model *pModel, Text name, Text value); // returns FINE or what is wrong
};

constexpr Directive DIRECTIVES[] = {
    {"key", true, true, Apply_Key},
    {"request", true, true, Apply_Request},
    {"alias", true, true, Apply_Alias},
    {"no", false, true, [](Model *p, Text name, Text) { return Apply_No(p, name); }},
    {"fail", false, true, [](Model *p, Text name, Text) { return Apply_Fail(p, name); }},
    {"snapshot", true, false,
     [](Model *p, Text name, Text text) { return Apply_Setting(p, "snapshot " + name, text); }},
    {"ptz", true, false, [](Model *p, Text name, Text text) { return Apply_Setting(p, "ptz " + name, text); }},
    {"analytics", true, false,
     [](Model *p, Text name, Text text) { return Apply_Setting(p, "analytics " + name, text); }},
    {"bitrate", true, false, Apply_Bitrate},
    {"side", true, false, [](Model *p, Text path, Text text) { return p->sides[path] = text, std::string(); }},
    {"file", true, false, [](Model *p, Text path, Text text) { return p->files[path] = text, std::string(); }},
    {"nofile", false, false, [](Model *p, Text path, Text) { return p->files[path].reset(), std::string(); }},
    {"readonly", false, false, [](Model *p, Text path, Text) { return p->readOnly.insert(path), std::string(); }},
    {"fault", false, false, [](Model *p, Text text, Text) { return Parse_Fault(text, &p->faults); }},
};

const Directive *Find_Directive(const std::string &word)
{
    return std::find_if(std::begin(DIRECTIVES), std::end(DIRECTIVES),
                        [&](const Directive &directive) { return word == directive.pszWord; });
}

std::string List_Directives()
{
    std::string list;
    for (const Directive &directive : DIRECTIVES)
        list += (list.empty() ? "" : ", ") + std::string(directive.pszWord);
    return list;
}

/// Cuts the first word, and the blanks around it, off the front of the text.
std::string Take_Word(std::string *pText)
{
    pText->erase(0, pText->find_first_not_of(" \t"));
    const size_t end = pText->find_first_of(" \t");
    std::string word = pText->substr(0, end);
    pText->erase(0, pText->find_first_not_of(" \t", end));
    return word;
}

std::string Apply_Directive(const Directive &directive, const std::string &text, Model *pModel)
{
    const size_t equals = directive.hasValue ? text.find('=') : text.size();
    std::vector<std::string> names;
    std::string value;
    if (equals == 0 || equals == std::string::npos)
        return directive.hasValue ? "expected NAME=VALUE" : "expected NAME";
    const char *pszError = Expand_Braces(text.substr(0, equals), &names);
    if (pszError != nullptr)
        return pszError;
    if (directive.isOfKey && !std::all_of(names.begin(), names.end(), Is_KeyName))
        return "the name of a key holds no blanks, and none stand around the \"=\"";
    if (directive.hasValue && !Decode_Escapes(text.substr(equals + 1), &value))
        return "malformed escape";
    std::string error;
    for (size_t i = 0; i < names.size() && error.empty(); ++i)
        error = directive.pfnApply(pModel, names[i], value);
    return error;
}

std::string Load_Lines(const std::string &path, const std::string &origin, int depth, Model *pModel)
{
    std::ifstream file(path);
    if (!file || depth > MAX_INCLUDE_DEPTH)
        return origin + ": cannot read " + path;
    std::string error;
    std::string line;
    for (int number = 1; error.empty() && std::getline(file, line); ++number) {
        const std::string here = path + ":" + std::to_string(number);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        std::string name = line;
        if (Take_Word(&name) == "include")
            error = Load_Lines(std::filesystem::path(path).replace_filename(name), here, depth + 1, pModel);
        else
            error = Apply_ModelLine(line, here, pModel);
    }
    return error;
}

} // namespace

std::string Load_Model(const std::string &path, Model *pModel) { return Load_Lines(path, path, 0, pModel); }

std::string Apply_ModelLine(const std::string &line, const std::string &origin, Model *pModel)
{
    std::string rest = line;
    const std::string word = Take_Word(&rest);
    if (word.empty() || word[0] == '#')
        return "";
    const Directive *pDirective = Find_Directive(word);
    if (pDirective == std::end(DIRECTIVES))
        return origin + ": " + word + ": unknown directive; there are " + List_Directives();
    const std::string error = Apply_Directive(*pDirective, rest, pModel);
    if (!error.empty())
        return origin + ": " + word + ": " + error;
    pModel->text += line + "\n";
    return "";
}

bool Is_KeyName(const std::string &name)
{
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) { return c > 0x20 && c < 0x7f; });
}

bool Is_Directive(const std::string &line)
{
    std::string rest = line;
    return Find_Directive(Take_Word(&rest)) != std::end(DIRECTIVES) && !rest.empty();
}

std::string Find_AliasToNowhere(const Model &before, const Model &after)
{
    for (const Key &key : after.keys) {
        const auto &[name, target] = key.children.front();
        const size_t old = Find_Key(before, key.name);
        const bool isNew = old == before.keys.size() || before.keys[old].children != key.children;
        const auto isThere = [&](const Key &other) { return Is_Below(other, target); };
        if (name == ALIAS && isNew && std::none_of(after.keys.begin(), after.keys.end(), isThere))
            return key.name + "=" + target;
    }
    return "";
}

bool Has_Fault(const Model &model, Service service, const char *pszWord)
{
    return model.faults[service].word == pszWord;
}

uint32_t Get_Number(const Model &model, const char *pszSetting)
{
    unsigned long number = 0;
    Parse_Number(model.settings.at(pszSetting), UINT32_MAX, &number);
    return static_cast<uint32_t>(number);
}

std::string Get_KeyValue(const Model &model, const std::string &name)
{
    const size_t index = Follow_Aliases(model, name);
    if (index == model.keys.size())
        return "";
    Key key = model.keys[index];
    return *Find_Value(&key);
}

bool Set_KeyValue(Model *pModel, const std::string &name, const std::string &value)
{
    const size_t index = Follow_Aliases(*pModel, name);
    if (index == pModel->keys.size())
        return false;
    *Find_Value(&pModel->keys[index]) = value;
    return true;
}
