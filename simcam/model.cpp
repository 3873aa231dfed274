#include "model.h"

#include "text.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

using Text = const std::string &;

const int MAX_INCLUDE_DEPTH = 8;
const char *const FINE = nullptr; // what a directive returns that could be carried out

// The index of the key, or the number of keys.
size_t Find_Key(const Model &model, const std::string &name)
{
    size_t index = 0;
    while (index < model.keys.size() && model.keys[index].name != name)
        ++index;
    return index;
}

// The index of the key that the name leads to through its aliases, or the number of keys.
size_t Follow_Aliases(const Model &model, const std::string &name)
{
    size_t index = Find_Key(model, name);
    for (size_t step = 0; step < model.keys.size(); ++step) {
        if (index == model.keys.size() || model.keys[index].children.front().first != "aliasxpath")
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

// Where the value of a key is kept: beside the snapshot when the snapshot has an empty one and refers to the socket.
std::string *Find_Value(Key *pKey)
{
    std::string *pValue = Find_Child(pKey, "value");
    return pValue->empty() && Find_Child(pKey, "getonce") != nullptr ? &pKey->answer : pValue;
}

const char *Apply_Request(Model *pModel, Text name, Text value)
{
    Key *pKey = Find_Or_Add_Key(pModel, name);
    Put_Child(pKey, "value", "");
    Put_Child(pKey, "getonce", "");
    pKey->answer = value;
    return FINE;
}

const char *Apply_No(Model *pModel, Text name)
{
    const auto isBelow = [&](const Key &key) { return (key.name + "_").rfind(name + "_", 0) == 0; };
    const auto end = std::remove_if(pModel->keys.begin(), pModel->keys.end(), isBelow);
    if (end == pModel->keys.end())
        return "no such key";
    pModel->keys.erase(end, pModel->keys.end());
    return FINE;
}

// A setting that every camera has.
const char *Apply_Setting(Model *pModel, Text name, Text value)
{
    unsigned long number = 0;
    if (pModel->settings.count(name) == 0)
        return "unknown setting";
    if (name.rfind("snapshot ", 0) == 0 && !Parse_Number(value, UINT32_MAX, &number))
        return "expected a number";
    pModel->settings[name] = value;
    return FINE;
}

const char *Apply_Bitrate(Model *pModel, Text name, Text value)
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
    const char *(*pfnApply)(Model *pModel, Text name, Text value); // returns FINE or what is wrong
};

constexpr Directive DIRECTIVES[] = {
    {"key", true,
     [](Model *p, Text name, Text value) { return Put_Child(Find_Or_Add_Key(p, name), "value", value), FINE; }},
    {"request", true, Apply_Request},
    {"alias", true,
     [](Model *p, Text name, Text target) {
         return Find_Or_Add_Key(p, name)->children = {{"aliasxpath", target}}, FINE;
     }},
    {"no", false, [](Model *p, Text name, Text) { return Apply_No(p, name); }},
    {"fail", false, [](Model *p, Text name, Text) { return p->settings["fail " + name] = "", FINE; }},
    {"snapshot", true, [](Model *p, Text name, Text value) { return Apply_Setting(p, "snapshot " + name, value); }},
    {"ptz", true, [](Model *p, Text name, Text value) { return Apply_Setting(p, "ptz " + name, value); }},
    {"analytics", true, [](Model *p, Text name, Text value) { return Apply_Setting(p, "analytics " + name, value); }},
    {"bitrate", true, Apply_Bitrate},
    {"side", true, [](Model *p, Text path, Text value) { return p->sides[path] = value, FINE; }},
    {"file", true, [](Model *p, Text path, Text text) { return p->files[path] = text, FINE; }},
    {"nofile", false, [](Model *p, Text path, Text) { return p->files[path].reset(), FINE; }},
    {"readonly", false, [](Model *p, Text path, Text) { return p->readOnly.insert(path), FINE; }},
    {"fault", false, [](Model *p, Text text, Text) { return Parse_Fault(text, &p->faults); }},
};

// Cuts the first word, and the blanks around it, off the front of the text.
std::string Take_Word(std::string *pText)
{
    pText->erase(0, pText->find_first_not_of(" \t"));
    const size_t end = pText->find_first_of(" \t");
    std::string word = pText->substr(0, end);
    pText->erase(0, pText->find_first_not_of(" \t", end));
    return word;
}

const char *Apply_Directive(const Directive &directive, const std::string &text, Model *pModel)
{
    const size_t equals = directive.hasValue ? text.find('=') : text.size();
    std::vector<std::string> names;
    std::string value;
    if (equals == 0 || equals == std::string::npos || !Expand_Braces(text.substr(0, equals), &names))
        return directive.hasValue ? "expected NAME=VALUE" : "expected NAME";
    if (directive.hasValue && !Decode_Escapes(text.substr(equals + 1), &value))
        return "malformed escape";
    const char *pszError = FINE;
    for (size_t i = 0; i < names.size() && pszError == FINE; ++i)
        pszError = directive.pfnApply(pModel, names[i], value);
    return pszError;
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
    const char *pszError = "unknown directive";
    for (const Directive &directive : DIRECTIVES) {
        if (word == directive.pszWord)
            pszError = Apply_Directive(directive, rest, pModel);
    }
    if (pszError != FINE)
        return origin + ": " + word + ": " + pszError;
    pModel->text += line + "\n";
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
