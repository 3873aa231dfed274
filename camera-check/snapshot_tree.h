/// The whole tree of the daemon's snapshot, in a copy of the segment: a walk sees one state of it, and the daemon waits
/// no longer than for the copy.
#pragma once

#include "conflib/snapshot.h"

#include <sys/types.h>

constexpr int TREE_DEPTH_MAX = 32; ///< elements on a path from the root; cameras have six or so

/// An element that a camera key names: the texts of its children, null for those that it does not have.
struct TreeKey {
    const char *pszKey;
    const char *pszValue;
    const char *pszAlias; ///< another key
    bool bAliasCounts;    ///< the alias stands in front of the value
    bool bGetOnce;        ///< an empty value is asked of the daemon
    bool bReachable;      ///< the first of its name: a lookup finds it
};

struct TreeSummary {
    uint32_t dwElements;
    uint32_t dwKeys;
    uint32_t dwDamaged;     ///< elements with a link or text that leads nowhere, or that are met twice
    char szDamaged[128];    ///< where the first of them is
    const char *pszDamaged; ///< and what is wrong with it
};

/// Walks the tree of a segment, or of a copy of one, and hands its keys to pfnKey (null: nobody) in the order of the
/// tree. 0, or -1 when there is no memory for it. What is damaged is counted and passed over.
int Walk_Tree(SnapshotSegment *ptSegment, void (*pfnKey)(const TreeKey *ptKey, void *pUserData), void *pUserData,
              TreeSummary *ptSummary);

/// Copies the attached segment at pcSegment. 0, or -1 when there is no memory. Release frees the copy.
int Copy_Segment(const void *pSegment, size_t uSize, SnapshotSegment *ptCopy);
void Release_Copy(SnapshotSegment *ptCopy);
