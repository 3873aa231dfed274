#include "conflib/snapshot.h"

#include "conflib/configer.h"
#include "conflib/semaphore.h"
#include "sxmlparser/sxmlparser.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

static constexpr char KEY_SEPARATOR = '_';
static constexpr uint32_t HOPS_WORTH = 32; ///< how many whole segments a lookup may meet behind aliases

static_assert(sizeof(SnapshotNode) == 36, "nine 32-bit words");
static_assert(sizeof(void *) != 4 || sizeof(SXMLElement) == sizeof(SnapshotNode), "the daemon publishes SXMLElements");

/// What stands at the start of the segment.
struct SnapshotHeader {
    uint32_t dwBase;
    uint32_t dwRoot;
};

uint32_t MapRealAddr(const SnapshotSegment *ptSegment, uint32_t dwStored) { return dwStored - ptSegment->dwDaemonBase; }

static uint32_t Map_Link(const SnapshotSegment *ptSegment, uint32_t dwStored)
{
    return dwStored == 0 ? SNAPSHOT_NONE : MapRealAddr(ptSegment, dwStored);
}

SnapshotSegment View_Segment(const void *pBase, uint32_t dwSize)
{
    SnapshotSegment tSegment = {static_cast<const char *>(pBase), dwSize, 0, 0, 0, dwSize < sizeof(SnapshotHeader)};
    tSegment.dwAllStepsLeft = HOPS_WORTH * (dwSize / static_cast<uint32_t>(sizeof(SnapshotNode)));
    if (!tSegment.bDamaged)
        memcpy(&tSegment.dwDaemonBase, pBase, sizeof tSegment.dwDaemonBase);
    return tSegment;
}

/// Nothing of a damaged tree is looked at any more: there are no steps left.
static void Mark_Damaged(SnapshotSegment *ptSegment)
{
    ptSegment->bDamaged = true;
    ptSegment->dwStepsLeft = ptSegment->dwAllStepsLeft = 0;
}

/// Gives the walk of one key path, or of an element's children, as many steps as an honest tree can need: no walk meets
/// an element twice.
static void Begin_Hop(SnapshotSegment *ptSegment)
{
    const uint32_t dwRoom = ptSegment->dwSize / static_cast<uint32_t>(sizeof(SnapshotNode));
    const uint32_t dwAll = ptSegment->dwAllStepsLeft + ptSegment->dwStepsLeft;
    ptSegment->dwStepsLeft = dwAll < dwRoom ? dwAll : dwRoom;
    ptSegment->dwAllStepsLeft = dwAll - ptSegment->dwStepsLeft;
}

/// Whether the hop has so many steps left, which then are taken.
static bool Take_Steps(SnapshotSegment *ptSegment, uint32_t dwSteps)
{
    if (ptSegment->dwStepsLeft < dwSteps) {
        Mark_Damaged(ptSegment);
        return false;
    }
    ptSegment->dwStepsLeft -= dwSteps;
    return true;
}

/// Copies the record at a local address as it is stored. False when it does not lie inside the segment.
static bool Copy_Record(SnapshotSegment *ptSegment, uint32_t dwElement, SnapshotNode *ptStored)
{
    if (ptSegment->dwSize < sizeof *ptStored || dwElement > ptSegment->dwSize - sizeof *ptStored) {
        Mark_Damaged(ptSegment);
        return false;
    }
    // The daemon aligns its records; only of those does the camera's processor copy whole words (a third of a lookup).
    const char *pcRecord = ptSegment->pcBase + dwElement;
    if (dwElement % alignof(SnapshotNode) == 0)
        memcpy(ptStored, __builtin_assume_aligned(pcRecord, alignof(SnapshotNode)), sizeof *ptStored);
    else
        memcpy(ptStored, pcRecord, sizeof *ptStored);
    return true;
}

bool GetRealElement(SnapshotSegment *ptSegment, uint32_t dwElement, SnapshotNode *ptNode)
{
    if (!Copy_Record(ptSegment, dwElement, ptNode)) {
        *ptNode = {};
        return false;
    }
    ptNode->dwName = MapRealAddr(ptSegment, ptNode->dwName);
    ptNode->dwText = MapRealAddr(ptSegment, ptNode->dwText);
    ptNode->dwFirstAttribute = MapRealAddr(ptSegment, ptNode->dwFirstAttribute);
    ptNode->dwFirstChild = Map_Link(ptSegment, ptNode->dwFirstChild);
    ptNode->dwNextSibling = Map_Link(ptSegment, ptNode->dwNextSibling);
    ptNode->dwParent = Map_Link(ptSegment, ptNode->dwParent);
    return true;
}

/// A text of the segment. The daemon may write while it is looked at, so its length is taken once.
struct SnapshotText {
    const char *pc; ///< null: there is none that lies and ends inside the segment
    size_t uLength;
};

static SnapshotText Get_Text(SnapshotSegment *ptSegment, uint32_t dwText)
{
    if (dwText < ptSegment->dwSize) {
        const char *pc = ptSegment->pcBase + dwText;
        const size_t uRoom = ptSegment->dwSize - dwText;
        const size_t uLength = strnlen(pc, uRoom);
        if (uLength < uRoom)
            return {pc, uLength};
    }
    Mark_Damaged(ptSegment);
    return {nullptr, 0};
}

/// A walk along one sibling chain.
struct SiblingWalk {
    uint32_t dwNext;      ///< where the next step goes; set it to the first element
    uint32_t dwElement;   ///< where the walk stands
    SnapshotNode tStored; ///< the record there, with the addresses of the daemon
};

static SiblingWalk Begin_Walk(uint32_t dwFirst)
{
    SiblingWalk tWalk;
    tWalk.dwNext = dwFirst;
    return tWalk;
}

/// Goes to the next element of the chain; false when there is none or the tree is damaged.
static bool Step(SnapshotSegment *ptSegment, SiblingWalk *ptWalk)
{
    ptWalk->dwElement = ptWalk->dwNext;
    if (ptWalk->dwElement == SNAPSHOT_NONE)
        return false;
    if (!Take_Steps(ptSegment, 1) || !Copy_Record(ptSegment, ptWalk->dwElement, &ptWalk->tStored))
        return false;
    ptWalk->dwNext = Map_Link(ptSegment, ptWalk->tStored.dwNextSibling);
    return true;
}

static bool Has_Name(SnapshotSegment *ptSegment, const SiblingWalk *ptWalk, const char *pcName, size_t uLength)
{
    const uint32_t dwName = MapRealAddr(ptSegment, ptWalk->tStored.dwName);
    if (dwName >= ptSegment->dwSize) {
        Mark_Damaged(ptSegment);
        return false;
    }
    const char *pcStored = ptSegment->pcBase + dwName;
    if (ptSegment->dwSize - dwName <= uLength || pcStored[uLength] != '\0')
        return false;
    // A name out of an alias may be as long as the segment; comparing it then costs as many steps as elements like it.
    return Take_Steps(ptSegment, static_cast<uint32_t>(uLength / sizeof(SnapshotNode))) &&
           memcmp(pcStored, pcName, uLength) == 0;
}

static uint32_t First_Child(SnapshotSegment *ptSegment, uint32_t dwElement)
{
    SnapshotNode tStored;
    return Copy_Record(ptSegment, dwElement, &tStored) ? Map_Link(ptSegment, tStored.dwFirstChild) : SNAPSHOT_NONE;
}

uint32_t GetElementByXPath(SnapshotSegment *ptSegment, const char *pcXPath, size_t uLength)
{
    Begin_Hop(ptSegment);
    SnapshotHeader tHeader;
    memcpy(&tHeader, ptSegment->pcBase, sizeof tHeader);
    const uint32_t dwRoot = MapRealAddr(ptSegment, tHeader.dwRoot);
    uint32_t dwChild = First_Child(ptSegment, dwRoot);
    // A daemon that has just started has a segment before it has a tree in it.
    if (dwRoot < sizeof tHeader || dwChild == SNAPSHOT_NONE)
        Mark_Damaged(ptSegment);
    for (;;) {
        const void *pEnd = memchr(pcXPath, KEY_SEPARATOR, uLength);
        const size_t uName = pEnd != nullptr ? static_cast<size_t>(static_cast<const char *>(pEnd) - pcXPath) : uLength;
        SiblingWalk tWalk = Begin_Walk(dwChild);
        do {
            if (!Step(ptSegment, &tWalk))
                return SNAPSHOT_NONE;
        } while (!Has_Name(ptSegment, &tWalk, pcXPath, uName));
        if (pEnd == nullptr)
            return tWalk.dwElement;
        dwChild = Map_Link(ptSegment, tWalk.tStored.dwFirstChild);
        pcXPath += uName + 1;
        uLength -= uName + 1;
    }
}

/// First element of a sibling chain named "value" or "aliasxpath", whichever comes first, and where its text is.
static uint32_t Find_ValueOrAlias(SnapshotSegment *ptSegment, uint32_t dwFirst, uint32_t *pdwText, bool *pbAlias)
{
    static constexpr char VALUE[] = "value";
    static constexpr char ALIAS[] = "aliasxpath";
    SiblingWalk tWalk = Begin_Walk(dwFirst);
    while (Step(ptSegment, &tWalk)) {
        *pbAlias = Has_Name(ptSegment, &tWalk, ALIAS, sizeof ALIAS - 1);
        if (*pbAlias || Has_Name(ptSegment, &tWalk, VALUE, sizeof VALUE - 1)) {
            *pdwText = MapRealAddr(ptSegment, tWalk.tStored.dwText);
            return tWalk.dwElement;
        }
    }
    return SNAPSHOT_NONE;
}

/// Follows a key path, and the aliases behind it, to the "value" element. Returns its text and stores its local
/// address.
static SnapshotText Find_Value(SnapshotSegment *ptSegment, const char *pszXPath, uint32_t *pdwValue)
{
    SnapshotText tXPath = {pszXPath, strlen(pszXPath)};
    for (bool bAlias = true; bAlias && tXPath.pc != nullptr;) {
        const uint32_t dwElement = GetElementByXPath(ptSegment, tXPath.pc, tXPath.uLength);
        if (dwElement == SNAPSHOT_NONE)
            return {nullptr, 0};
        uint32_t dwText = 0;
        *pdwValue = Find_ValueOrAlias(ptSegment, First_Child(ptSegment, dwElement), &dwText, &bAlias);
        if (*pdwValue == SNAPSHOT_NONE)
            return {nullptr, 0};
        tXPath = Get_Text(ptSegment, dwText);
    }
    return tXPath;
}

int IfGetOnce(SnapshotSegment *ptSegment, uint32_t dwValue)
{
    static constexpr char GETONCE[] = "getonce";
    SnapshotNode tValue;
    if (!GetRealElement(ptSegment, dwValue, &tValue) || tValue.dwParent == SNAPSHOT_NONE)
        return 0;
    Begin_Hop(ptSegment);
    SiblingWalk tWalk = Begin_Walk(First_Child(ptSegment, tValue.dwParent));
    while (Step(ptSegment, &tWalk))
        if (Has_Name(ptSegment, &tWalk, GETONCE, sizeof GETONCE - 1))
            return 1;
    return 0;
}

/// Size of a segment, asked of the kernel once per segment id; 0 when it cannot be told.
static uint32_t Get_SegmentSize(int iSegment)
{
    static int s_iKnownSegment = -1;
    static uint32_t s_dwKnownSize = 0;
    if (iSegment != s_iKnownSegment) {
        struct shmid_ds tStatus = {};
        if (shmctl(iSegment, IPC_STAT, &tStatus) == -1)
            return 0;
        s_iKnownSegment = iSegment;
        s_dwKnownSize = tStatus.shm_segsz < UINT32_MAX ? static_cast<uint32_t>(tStatus.shm_segsz) : UINT32_MAX;
    }
    return s_dwKnownSize;
}

static int Attach_Segment(key_t tKey, SnapshotSegment *ptSegment)
{
    const int iSegment = shmget(tKey, 0, 0);
    errno = 0;
    void *pAddress = shmat(iSegment, nullptr, 0);
    if (reinterpret_cast<intptr_t>(pAddress) == -1) {
        printf("shmat attach faile. errno = %d %s\n", errno, strerror(errno));
        return -1;
    }
    *ptSegment = View_Segment(pAddress, Get_SegmentSize(iSegment));
    return 0;
}

/// The attached segment under its semaphore.
struct Snapshot {
    SnapshotSegment tSegment;
    int iSemaphore;
};

static int Open_Snapshot(Snapshot *pt)
{
    const key_t tKey = ftok(CONFIGER_PROGRAM, CONFIGER_PROJECT);
    if (tKey == -1) {
        perror("ftok");
        return -1;
    }
    pt->iSemaphore = semget(tKey, 1, 0);
    if (pt->iSemaphore == -1) {
        perror("semget");
        return -1;
    }
    if (Take_Semaphore(pt->iSemaphore) != 0)
        return -1;
    if (Attach_Segment(tKey, &pt->tSegment) == 0)
        return 0;
    Keep_Semaphore(pt->iSemaphore);
    return -1;
}

/// Gives the semaphore back, takes the length of a text that was found once more, and detaches. 0; -1 when the
/// semaphore is not given back.
static int Close_Snapshot(Snapshot *pt, SnapshotText *ptText)
{
    const int iResult = Give_Semaphore(pt->iSemaphore);
    // The daemon is not kept waiting for this, and may have changed the text since.
    if (ptText->pc != nullptr)
        ptText->uLength =
            strnlen(ptText->pc, pt->tSegment.dwSize - static_cast<size_t>(ptText->pc - pt->tSegment.pcBase));
    shmdt(pt->tSegment.pcBase);
    return iResult;
}

static int Ask_Daemon(const char *pszXPath, char *pszOutput, size_t uSize)
{
    ConfigerRequest tRequest = {};
    tRequest.iCommand = CONFIGER_GET;
    strcpy(tRequest.szForm, "Value");
    tRequest.iArg1 = CONFIGER_ARG1;
    tRequest.pszPayload = pszXPath;
    return Configer_Control(&tRequest, pszOutput, uSize);
}

SnapshotOutcome Configer_LookUp(const char *pszXPath, char *pszOutput, size_t uSize)
{
    Snapshot tSnapshot;
    if (Open_Snapshot(&tSnapshot) != 0)
        return SNAPSHOT_UNAVAILABLE;
    SnapshotSegment *ptSegment = &tSnapshot.tSegment;
    uint32_t dwValue = SNAPSHOT_NONE;
    SnapshotText tText = ptSegment->bDamaged ? SnapshotText{nullptr, 0} : Find_Value(ptSegment, pszXPath, &dwValue);
    const bool bAskDaemon = tText.pc != nullptr && tText.uLength == 0 && IfGetOnce(ptSegment, dwValue) == 1;
    const bool bFound = tText.pc != nullptr && !ptSegment->bDamaged;
    const size_t uCopied = tText.uLength < uSize ? tText.uLength : uSize;
    if (bFound) {
        memcpy(pszOutput, tText.pc, uCopied);
        memset(pszOutput + uCopied, 0, uSize - uCopied);
    }

    if (Close_Snapshot(&tSnapshot, &tText) != 0 || ptSegment->bDamaged)
        return SNAPSHOT_UNAVAILABLE;
    if (!bFound)
        return SNAPSHOT_NO_SUCH_KEY;
    if (bAskDaemon)
        return Ask_Daemon(pszXPath, pszOutput, uSize) == 0 ? SNAPSHOT_READ : SNAPSHOT_UNAVAILABLE;
    // What was copied must have fitted as well as what is there now.
    return uCopied < uSize && tText.uLength < uSize ? SNAPSHOT_READ : SNAPSHOT_DOES_NOT_FIT;
}

int Configer_GetParamValueByXPath(const char *pszXPath, char *pszOutput, size_t uSize)
{
    return Configer_LookUp(pszXPath, pszOutput, uSize) == SNAPSHOT_READ ? 0 : -1;
}
