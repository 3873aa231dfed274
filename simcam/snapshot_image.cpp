#include "snapshot_image.h"

#include "text.h"

#include <algorithm>

namespace {

const uint32_t HEADER_SIZE = 8;

enum RecordWord {
    WORD_INDEX,
    WORD_NAME,
    WORD_TEXT,
    WORD_CHILD_COUNT,
    WORD_ATTRIBUTE_COUNT,
    WORD_FIRST_ATTRIBUTE,
    WORD_FIRST_CHILD,
    WORD_NEXT_SIBLING,
    WORD_PARENT,
    WORD_COUNT
};

struct Node {
    std::string name;
    std::string text;
    size_t parent;
    std::vector<size_t> children;
    std::array<uint32_t, WORD_COUNT> words = {}; // as they go into the image
};

using Tree = std::vector<Node>; // the root is node 0

/// The words that a fault fills with addresses that no element can have.
constexpr std::pair<const char *, RecordWord> WILD_WORDS[] = {
    {"wild", WORD_FIRST_ATTRIBUTE}, {"wild", WORD_FIRST_CHILD}, {"wild", WORD_NEXT_SIBLING},
    {"wild", WORD_PARENT},          {"wild-names", WORD_NAME},  {"wild-next", WORD_NEXT_SIBLING},
    {"wild-texts", WORD_TEXT},
};

size_t Add_Node(Tree *pTree, size_t parent, const std::string &name, const std::string &text)
{
    const size_t node = pTree->size();
    pTree->push_back({name, text, parent, {}});
    (*pTree)[parent].children.push_back(node);
    return node;
}

size_t Find_Or_Add_Node(Tree *pTree, size_t parent, const std::string &name)
{
    for (const size_t child : (*pTree)[parent].children) {
        if ((*pTree)[child].name == name)
            return child;
    }
    return Add_Node(pTree, parent, name, "");
}

Tree Build_Tree(const Model &model)
{
    Tree tree = {{"root", "", 0, {}}};
    for (const Key &key : model.keys) {
        size_t node = 0;
        for (const std::string &component : Split_Text(key.name, '_'))
            node = Find_Or_Add_Node(&tree, node, component);
        for (const auto &[name, text] : key.children)
            Add_Node(&tree, node, name, text);
    }
    return tree;
}

uint32_t Get_Address(const Model &model, size_t node)
{
    return Get_Number(model, "snapshot base") + HEADER_SIZE + static_cast<uint32_t>(node * WORD_COUNT * 4);
}

void Link_Nodes(const Model &model, Tree *pTree)
{
    for (size_t node = 0; node < pTree->size(); ++node) {
        const std::vector<size_t> &children = (*pTree)[node].children;
        auto *pWords = &(*pTree)[node].words;
        (*pWords)[WORD_INDEX] = static_cast<uint32_t>(node);
        (*pWords)[WORD_CHILD_COUNT] = static_cast<uint32_t>(children.size());
        (*pWords)[WORD_PARENT] = node == 0 ? 0 : Get_Address(model, (*pTree)[node].parent);
        (*pWords)[WORD_FIRST_CHILD] = children.empty() ? 0 : Get_Address(model, children.front());
        for (size_t i = 1; i < children.size(); ++i)
            (*pTree)[children[i - 1]].words[WORD_NEXT_SIBLING] = Get_Address(model, children[i]);
    }
}

/// Appends the nodes' names or texts to the strings behind the records and enters their addresses.
void Place_Strings(const Model &model, RecordWord word, bool isTerminated, Tree *pTree, std::string *pStrings)
{
    const uint32_t start = Get_Address(model, pTree->size());
    for (Node &node : *pTree) {
        node.words[word] = start + static_cast<uint32_t>(pStrings->size());
        *pStrings += (word == WORD_NAME ? node.name : node.text) + (isTerminated ? '\0' : 'x');
    }
    const size_t room = Get_Number(model, "snapshot size");
    const size_t recordsEnd = start - Get_Number(model, "snapshot base");
    if (!isTerminated && recordsEnd + pStrings->size() < room)
        pStrings->resize(room - recordsEnd, 'x');
}

void Spoil_Links(const Model &model, Tree *pTree)
{
    const uint32_t end = Get_Number(model, "snapshot base") + Get_Number(model, "snapshot size");
    const uint32_t aAddresses[] = {end, Get_Address(model, 0) - 2 * HEADER_SIZE, end - 4, UINT32_MAX - 15, 1};
    for (const auto &[pszFault, word] : WILD_WORDS) {
        for (size_t node = 0; node < pTree->size() && Has_Fault(model, SERVICE_SNAPSHOT, pszFault); ++node)
            (*pTree)[node].words[word] = aAddresses[node % std::size(aAddresses)];
    }
    const std::vector<size_t> &top = pTree->front().children;
    if (Has_Fault(model, SERVICE_SNAPSHOT, "loop") && !top.empty())
        (*pTree)[top.back()].words[WORD_NEXT_SIBLING] = Get_Address(model, top.front());
}

void Append_Word(std::string *pImage, uint32_t word)
{
    for (int shift = 0; shift < 32; shift += 8)
        *pImage += static_cast<char>(word >> shift & 0xff);
}

} // namespace

std::string Build_SnapshotImage(const Model &model)
{
    Model shown = model;
    if (Has_Fault(model, SERVICE_SNAPSHOT, "alias-loop")) {
        Apply_ModelLine("alias system_hostname=system_ntp", "", &shown);
        Apply_ModelLine("alias system_ntp=system_hostname", "", &shown);
    }
    Tree tree = Build_Tree(shown);
    for (Node &node : tree) {
        if (Has_Fault(model, SERVICE_SNAPSHOT, "backwards"))
            std::reverse(node.children.begin(), node.children.end());
    }
    Link_Nodes(model, &tree);
    std::string strings;
    const bool areTextsLast = Has_Fault(model, SERVICE_SNAPSHOT, "unterminated-texts");
    if (areTextsLast)
        Place_Strings(model, WORD_NAME, true, &tree, &strings);
    Place_Strings(model, WORD_TEXT, !areTextsLast, &tree, &strings);
    if (!areTextsLast)
        Place_Strings(model, WORD_NAME, !Has_Fault(model, SERVICE_SNAPSHOT, "unterminated"), &tree, &strings);
    Spoil_Links(model, &tree);

    std::string image;
    Append_Word(&image, Get_Number(model, "snapshot base"));
    Append_Word(&image, Get_Address(model, 0));
    for (const Node &node : tree) {
        for (const uint32_t word : node.words)
            Append_Word(&image, word);
    }
    return image + strings;
}
