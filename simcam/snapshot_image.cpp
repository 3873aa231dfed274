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
    std::string strName;
    std::string strText;
    size_t uParent;
    std::vector<size_t> auChildren;
    std::array<uint32_t, WORD_COUNT> adwWords = {}; // as they go into the image
};

using Tree = std::vector<Node>; // the root is node 0

/// The words that a fault fills with addresses that no element can have.
constexpr std::pair<const char *, RecordWord> WILD_WORDS[] = {
    {"wild", WORD_FIRST_ATTRIBUTE}, {"wild", WORD_FIRST_CHILD}, {"wild", WORD_NEXT_SIBLING},
    {"wild", WORD_PARENT},          {"wild-names", WORD_NAME},  {"wild-next", WORD_NEXT_SIBLING},
    {"wild-texts", WORD_TEXT},
};

size_t Add_Node(Tree *pTree, size_t uParent, const std::string &strName, const std::string &strText)
{
    const size_t uNode = pTree->size();
    pTree->push_back({strName, strText, uParent, {}});
    (*pTree)[uParent].auChildren.push_back(uNode);
    return uNode;
}

size_t Find_OrAddNode(Tree *pTree, size_t uParent, const std::string &strName)
{
    for (const size_t uChild : (*pTree)[uParent].auChildren) {
        if ((*pTree)[uChild].strName == strName)
            return uChild;
    }
    return Add_Node(pTree, uParent, strName, "");
}

Tree Build_Tree(const Model &tModel)
{
    Tree atTree = {{"root", "", 0, {}}};
    for (const Key &tKey : tModel.atKeys) {
        size_t uNode = 0;
        for (const std::string &strComponent : Split_Text(tKey.strName, '_'))
            uNode = Find_OrAddNode(&atTree, uNode, strComponent);
        for (const auto &[strName, strText] : tKey.atChildren)
            Add_Node(&atTree, uNode, strName, strText);
    }
    return atTree;
}

uint32_t Get_Address(const Model &tModel, size_t uNode)
{
    return Get_Number(tModel, "snapshot base") + HEADER_SIZE + static_cast<uint32_t>(uNode * WORD_COUNT * 4);
}

void Link_Nodes(const Model &tModel, Tree *pTree)
{
    for (size_t uNode = 0; uNode < pTree->size(); ++uNode) {
        const std::vector<size_t> &auChildren = (*pTree)[uNode].auChildren;
        auto *pWords = &(*pTree)[uNode].adwWords;
        (*pWords)[WORD_INDEX] = static_cast<uint32_t>(uNode);
        (*pWords)[WORD_CHILD_COUNT] = static_cast<uint32_t>(auChildren.size());
        (*pWords)[WORD_PARENT] = uNode == 0 ? 0 : Get_Address(tModel, (*pTree)[uNode].uParent);
        (*pWords)[WORD_FIRST_CHILD] = auChildren.empty() ? 0 : Get_Address(tModel, auChildren.front());
        for (size_t i = 1; i < auChildren.size(); ++i)
            (*pTree)[auChildren[i - 1]].adwWords[WORD_NEXT_SIBLING] = Get_Address(tModel, auChildren[i]);
    }
}

/// Appends the nodes' names or texts to the strings behind the records and enters their addresses.
void Place_Strings(const Model &tModel, RecordWord eWord, bool bTerminated, Tree *pTree, std::string *pStrings)
{
    const uint32_t dwStart = Get_Address(tModel, pTree->size());
    for (Node &tNode : *pTree) {
        tNode.adwWords[eWord] = dwStart + static_cast<uint32_t>(pStrings->size());
        *pStrings += (eWord == WORD_NAME ? tNode.strName : tNode.strText) + (bTerminated ? '\0' : 'x');
    }
    const size_t uRoom = Get_Number(tModel, "snapshot size");
    const size_t uRecordsEnd = dwStart - Get_Number(tModel, "snapshot base");
    if (!bTerminated && uRecordsEnd + pStrings->size() < uRoom)
        pStrings->resize(uRoom - uRecordsEnd, 'x');
}

void Spoil_Links(const Model &tModel, Tree *pTree)
{
    const uint32_t dwEnd = Get_Number(tModel, "snapshot base") + Get_Number(tModel, "snapshot size");
    const uint32_t adwAddresses[] = {dwEnd, Get_Address(tModel, 0) - 2 * HEADER_SIZE, dwEnd - 4, UINT32_MAX - 15, 1};
    for (const auto &[pszFault, eWord] : WILD_WORDS) {
        for (size_t uNode = 0; uNode < pTree->size() && Has_Fault(tModel, SERVICE_SNAPSHOT, pszFault); ++uNode)
            (*pTree)[uNode].adwWords[eWord] = adwAddresses[uNode % std::size(adwAddresses)];
    }
    const std::vector<size_t> &auTop = pTree->front().auChildren;
    if (Has_Fault(tModel, SERVICE_SNAPSHOT, "loop") && !auTop.empty())
        (*pTree)[auTop.back()].adwWords[WORD_NEXT_SIBLING] = Get_Address(tModel, auTop.front());
}

void Append_Word(std::string *pImage, uint32_t dwWord)
{
    for (int iShift = 0; iShift < 32; iShift += 8)
        *pImage += static_cast<char>(dwWord >> iShift & 0xff);
}

} // namespace

std::string Build_SnapshotImage(const Model &tModel)
{
    Model tShown = tModel;
    if (Has_Fault(tModel, SERVICE_SNAPSHOT, "alias-loop")) {
        Apply_ModelLine("alias system_hostname=system_ntp", "", &tShown);
        Apply_ModelLine("alias system_ntp=system_hostname", "", &tShown);
    }
    if (Has_Fault(tModel, SERVICE_SNAPSHOT, "bare"))
        tShown.atKeys.clear();
    Tree atTree = Build_Tree(tShown);
    for (Node &tNode : atTree) {
        if (Has_Fault(tModel, SERVICE_SNAPSHOT, "backwards"))
            std::reverse(tNode.auChildren.begin(), tNode.auChildren.end());
    }
    Link_Nodes(tModel, &atTree);
    std::string strStrings;
    const bool bTextsLast = Has_Fault(tModel, SERVICE_SNAPSHOT, "unterminated-texts");
    if (bTextsLast)
        Place_Strings(tModel, WORD_NAME, true, &atTree, &strStrings);
    Place_Strings(tModel, WORD_TEXT, !bTextsLast, &atTree, &strStrings);
    if (!bTextsLast)
        Place_Strings(tModel, WORD_NAME, !Has_Fault(tModel, SERVICE_SNAPSHOT, "unterminated"), &atTree, &strStrings);
    Spoil_Links(tModel, &atTree);

    std::string strImage;
    Append_Word(&strImage, Get_Number(tModel, "snapshot base"));
    Append_Word(&strImage, Get_Address(tModel, 0));
    for (const Node &tNode : atTree) {
        for (const uint32_t dwWord : tNode.adwWords)
            Append_Word(&strImage, dwWord);
    }
    return strImage + strStrings;
}
