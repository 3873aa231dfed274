/// Lookup of camera keys in the configuration daemon's shared-memory snapshot (System V IPC, key
/// ftok("/usr/sbin/configer", 99)), under the daemon's semaphore.
///
/// The segment holds 32-bit little-endian words with addresses of the daemon's own mapping: a header {base, root
/// element} and element records anywhere behind it. A key such as "system_daylight_enable" is the path of element names
/// below the root; the element that it names keeps its data in children: "value" (the text), "aliasxpath" (continue at
/// that key), "getonce" (an empty value is asked of the daemon over its socket).
///
/// Nothing in the segment is trusted: every address is checked against the segment's size before it is followed, texts
/// must end inside, and a walk that meets more elements than the segment has room for is given up, as is a lookup that
/// does so for 32 segments, those behind aliases included. A damaged tree is a key that cannot be read.
#pragma once

#include <stddef.h>
#include <stdint.h>

/// What ftok makes the key of segment and semaphore of.
constexpr char CONFIGER_PROGRAM[] = "/usr/sbin/configer";
constexpr int CONFIGER_PROJECT = 99;

/// An element record: nine words, shaped like the XML parser's SXMLElement on the camera.
struct SnapshotNode {
    uint32_t dwIndex;
    uint32_t dwName;
    uint32_t dwText;
    uint32_t dwChildCount;
    uint32_t dwAttributeCount;
    uint32_t dwFirstAttribute;
    uint32_t dwFirstChild;  ///< 0: none
    uint32_t dwNextSibling; ///< 0: none
    uint32_t dwParent;      ///< 0: none
};

/// The attached segment. Local addresses are offsets from pcBase, so that they fit a record word on any host.
struct SnapshotSegment {
    const char *pcBase;
    uint32_t dwSize;
    uint32_t dwDaemonBase;   ///< address of the segment in the daemon's mapping, from its header
    uint32_t dwStepsLeft;    ///< elements that the walk may still meet
    uint32_t dwAllStepsLeft; ///< and those behind it
    bool bDamaged;           ///< set when a link, a text or the whole tree turned out to be unusable
};

/// Local address of "no element": nothing can stand at the header.
constexpr uint32_t SNAPSHOT_NONE = 0;

/// A segment at an address, for one lookup.
SnapshotSegment View_Segment(const void *pBase, uint32_t dwSize);

/// What a lookup came to.
enum SnapshotOutcome {
    SNAPSHOT_READ,
    SNAPSHOT_DOES_NOT_FIT, ///< the cut value is in the buffer, without a terminator
    SNAPSHOT_NO_SUCH_KEY,  ///< the tree could be read, and the key has no value in it
    SNAPSHOT_UNAVAILABLE,  ///< nobody knows: no semaphore, no segment, a damaged or empty tree, a daemon that is silent
};

/// Reads one camera key into pszOutput (uSize bytes; the rest is zero-filled). The value and its terminator must fit.
SnapshotOutcome Configer_LookUp(const char *pszXPath, char *pszOutput, size_t uSize);

/// The same for those who need not know why a key cannot be read: 0 for SNAPSHOT_READ, else -1.
int Configer_GetParamValueByXPath(const char *pszXPath, char *pszOutput, size_t uSize);

/// Local address of the element that a key path of uLength characters names, or SNAPSHOT_NONE. The path may stand in
/// the segment itself, where its terminator is not to be relied on.
uint32_t GetElementByXPath(SnapshotSegment *ptSegment, const char *pcXPath, size_t uLength);

/// Copies the record at a local address with its addresses translated to local ones (words 0, 3 and 4 as they are; no
/// link stays SNAPSHOT_NONE). Returns false, with a zeroed record, when it does not lie inside the segment.
bool GetRealElement(SnapshotSegment *ptSegment, uint32_t dwElement, SnapshotNode *ptNode);

/// Translates an address of the daemon's mapping to a local one, unchecked.
uint32_t MapRealAddr(const SnapshotSegment *ptSegment, uint32_t dwStored);

/// 1 when the element at dwValue (a "value" child) has a sibling named "getonce", else 0.
int IfGetOnce(SnapshotSegment *ptSegment, uint32_t dwValue);
