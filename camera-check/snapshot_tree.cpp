#include "snapshot_tree.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace {

constexpr size_t PATH_SIZE = 256;

/// The chain of children of one element while it is walked.
struct Level {
    uint32_t dwParent;
    uint32_t dwNext;
    size_t uPathLength; ///< of the parent's path
    TreeKey tKey;       ///< what the chain says of the parent
};

struct Walk {
    SnapshotSegment *ptSegment;
    TreeSummary *ptSummary;
    uint8_t *puMet; ///< a bit for each word of the segment where an element begins
    char szPath[PATH_SIZE];
    Level atLevel[TREE_DEPTH_MAX];
};

} // namespace

static const char *Get_Text(const SnapshotSegment *ptSegment, uint32_t dwText)
{
    const bool bEnds =
        dwText < ptSegment->dwSize && memchr(ptSegment->pcBase + dwText, '\0', ptSegment->dwSize - dwText) != nullptr;
    return bEnds ? ptSegment->pcBase + dwText : nullptr;
}

static void Count_Damage(Walk *ptWalk, const char *pszDamage)
{
    TreeSummary *ptSummary = ptWalk->ptSummary;
    if (ptSummary->dwDamaged++ > 0)
        return;
    snprintf(ptSummary->szDamaged, sizeof ptSummary->szDamaged, "%s", ptWalk->szPath);
    ptSummary->pszDamaged = pszDamage;
}

static bool Is_FirstMeeting(Walk *ptWalk, uint32_t dwElement)
{
    uint8_t *puMet = &ptWalk->puMet[dwElement / 32];
    const uint8_t uBit = static_cast<uint8_t>(1U << dwElement / 4 % 8);
    const bool bFirst = (*puMet & uBit) == 0;
    *puMet = static_cast<uint8_t>(*puMet | uBit);
    return bFirst;
}

static void Note_Child(TreeKey *ptKey, const char *pszName, const char *pszText)
{
    if (strcmp(pszName, "value") == 0 && ptKey->pszValue == nullptr)
        ptKey->pszValue = pszText;
    if (strcmp(pszName, "aliasxpath") == 0 && ptKey->pszAlias == nullptr) {
        ptKey->pszAlias = pszText;
        ptKey->bAliasCounts = ptKey->pszValue == nullptr;
    }
    if (strcmp(pszName, "getonce") == 0)
        ptKey->bGetOnce = true;
}

/// Reads the next element of a chain. What is wrong with it, or null.
static const char *Meet_Element(Walk *ptWalk, Level *ptLevel, SnapshotNode *ptNode, const char **ppszText)
{
    SnapshotSegment *ptSegment = ptWalk->ptSegment;
    const uint32_t dwElement = ptLevel->dwNext;
    ptLevel->dwNext = SNAPSHOT_NONE;
    if (!GetRealElement(ptSegment, dwElement, ptNode))
        return "a link leads out of the segment";
    if (!Is_FirstMeeting(ptWalk, dwElement))
        return "a link leads back into the tree";
    ptLevel->dwNext = ptNode->dwNextSibling;
    ++ptWalk->ptSummary->dwElements;
    const char *pszName = Get_Text(ptSegment, ptNode->dwName);
    *ppszText = Get_Text(ptSegment, ptNode->dwText);
    if (pszName == nullptr || *ppszText == nullptr)
        return "a name or a text does not lie and end inside the segment";
    const size_t uLength = ptLevel->uPathLength;
    const int iAdded = snprintf(ptWalk->szPath + uLength, PATH_SIZE - uLength, uLength > 0 ? "_%s" : "%s", pszName);
    if (static_cast<size_t>(iAdded) >= PATH_SIZE - uLength)
        return "the path is longer than any key";
    Note_Child(&ptLevel->tKey, pszName, *ppszText);
    return ptNode->dwParent == ptLevel->dwParent || ptNode->dwParent == SNAPSHOT_NONE
               ? nullptr
               : "the link to the parent is wrong";
}

static void End_Chain(Walk *ptWalk, Level *ptLevel, void (*pfnKey)(const TreeKey *, void *), void *pUserData)
{
    TreeKey *ptKey = &ptLevel->tKey;
    ptWalk->szPath[ptLevel->uPathLength] = '\0';
    if (ptKey->pszValue == nullptr && ptKey->pszAlias == nullptr)
        return;
    ++ptWalk->ptSummary->dwKeys;
    if (pfnKey == nullptr)
        return;
    SnapshotSegment tLookup = View_Segment(ptWalk->ptSegment->pcBase, ptWalk->ptSegment->dwSize);
    ptKey->pszKey = ptWalk->szPath;
    ptKey->bReachable = GetElementByXPath(&tLookup, ptWalk->szPath, ptLevel->uPathLength) == ptLevel->dwParent;
    pfnKey(ptKey, pUserData);
}

static void Walk_Levels(Walk *ptWalk, uint32_t dwRoot, uint32_t dwFirst, void (*pfnKey)(const TreeKey *, void *),
                        void *pUserData)
{
    int iDepth = 0;
    ptWalk->atLevel[0] = {dwRoot, dwFirst, 0, {}};
    while (iDepth >= 0) {
        Level *ptLevel = &ptWalk->atLevel[iDepth];
        if (ptLevel->dwNext == SNAPSHOT_NONE) {
            End_Chain(ptWalk, ptLevel, pfnKey, pUserData);
            --iDepth;
            continue;
        }
        const uint32_t dwElement = ptLevel->dwNext;
        SnapshotNode tNode;
        const char *pszText = nullptr;
        ptWalk->szPath[ptLevel->uPathLength] = '\0';
        const char *pszDamage = Meet_Element(ptWalk, ptLevel, &tNode, &pszText);
        if (pszDamage == nullptr && tNode.dwFirstChild != SNAPSHOT_NONE && iDepth + 1 == TREE_DEPTH_MAX)
            pszDamage = "the tree is deeper than any key";
        if (pszDamage != nullptr)
            Count_Damage(ptWalk, pszDamage);
        else if (tNode.dwFirstChild != SNAPSHOT_NONE)
            ptWalk->atLevel[++iDepth] = {dwElement, tNode.dwFirstChild, strlen(ptWalk->szPath), {}};
    }
}

int Walk_Tree(SnapshotSegment *ptSegment, void (*pfnKey)(const TreeKey *ptKey, void *pUserData), void *pUserData,
              TreeSummary *ptSummary)
{
    *ptSummary = {};
    Walk *ptWalk = static_cast<Walk *>(calloc(1, sizeof *ptWalk));
    uint8_t *puMet = static_cast<uint8_t *>(calloc(ptSegment->dwSize / 32 + 1, 1));
    const bool bMemory = ptWalk != nullptr && puMet != nullptr;
    if (bMemory) {
        ptWalk->ptSegment = ptSegment;
        ptWalk->ptSummary = ptSummary;
        ptWalk->puMet = puMet;
        uint32_t dwRoot = 0;
        memcpy(&dwRoot, ptSegment->pcBase + sizeof dwRoot, sizeof dwRoot);
        dwRoot = MapRealAddr(ptSegment, dwRoot);
        SnapshotNode tRoot;
        if (GetRealElement(ptSegment, dwRoot, &tRoot))
            Walk_Levels(ptWalk, dwRoot, tRoot.dwFirstChild, pfnKey, pUserData);
        else
            Count_Damage(ptWalk, "the link to the root leads out of the segment");
    }
    free(ptWalk);
    free(puMet);
    return bMemory ? 0 : -1;
}

int Copy_Segment(const void *pSegment, size_t uSize, SnapshotSegment *ptCopy)
{
    void *pCopy = uSize <= UINT32_MAX ? malloc(uSize) : nullptr;
    if (pCopy == nullptr)
        return -1;
    memcpy(pCopy, pSegment, uSize);
    // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): Release_Copy frees it.
    *ptCopy = View_Segment(pCopy, static_cast<uint32_t>(uSize));
    return 0;
}

void Release_Copy(SnapshotSegment *ptCopy)
{
    free(const_cast<char *>(ptCopy->pcBase));
    ptCopy->pcBase = nullptr;
}
