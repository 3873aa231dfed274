#include "conflib/snapshot.h"

#include "common/deadline.h"
#include "conflib/configer.h"
#include "sxmlparser/sxmlparser.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <time.h>

static constexpr char KEY_SEPARATOR = '_';
static constexpr int32_t SEMAPHORE_PATIENCE_MILLISECONDS = 10000;
static constexpr int32_t SEMAPHORE_IMPATIENCE_MILLISECONDS = 200;

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

/// Copies the record at a local address as it is stored. False when it does not lie inside the segment.
static bool Copy_Record(SnapshotSegment *ptSegment, uint32_t dwElement, SnapshotNode *ptStored)
{
    if (ptSegment->dwSize < sizeof *ptStored || dwElement > ptSegment->dwSize - sizeof *ptStored) {
        ptSegment->bDamaged = true;
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
    ptSegment->bDamaged = true;
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
    if (ptWalk->dwElement == SNAPSHOT_NONE || ptSegment->bDamaged)
        return false;
    if (ptSegment->dwStepsLeft == 0) {
        ptSegment->bDamaged = true;
        return false;
    }
    --ptSegment->dwStepsLeft;
    if (!Copy_Record(ptSegment, ptWalk->dwElement, &ptWalk->tStored))
        return false;
    ptWalk->dwNext = Map_Link(ptSegment, ptWalk->tStored.dwNextSibling);
    return true;
}

static bool Has_Name(SnapshotSegment *ptSegment, const SiblingWalk *ptWalk, const char *pcName, size_t uLength)
{
    const uint32_t dwName = MapRealAddr(ptSegment, ptWalk->tStored.dwName);
    if (dwName >= ptSegment->dwSize) {
        ptSegment->bDamaged = true;
        return false;
    }
    const char *pcStored = ptSegment->pcBase + dwName;
    return ptSegment->dwSize - dwName > uLength && pcStored[uLength] == '\0' && memcmp(pcStored, pcName, uLength) == 0;
}

static uint32_t First_Child(SnapshotSegment *ptSegment, uint32_t dwElement)
{
    SnapshotNode tStored;
    return Copy_Record(ptSegment, dwElement, &tStored) ? Map_Link(ptSegment, tStored.dwFirstChild) : SNAPSHOT_NONE;
}

uint32_t GetElementByXPath(SnapshotSegment *ptSegment, const char *pcXPath, size_t uLength)
{
    SnapshotHeader tHeader;
    memcpy(&tHeader, ptSegment->pcBase, sizeof tHeader);
    const uint32_t dwRoot = MapRealAddr(ptSegment, tHeader.dwRoot);
    uint32_t dwChild = First_Child(ptSegment, dwRoot);
    // A daemon that has just started has a segment before it has a tree in it.
    if (dwRoot < sizeof tHeader || dwChild == SNAPSHOT_NONE)
        ptSegment->bDamaged = true;
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
    SiblingWalk tWalk = Begin_Walk(First_Child(ptSegment, tValue.dwParent));
    while (Step(ptSegment, &tWalk))
        if (Has_Name(ptSegment, &tWalk, GETONCE, sizeof GETONCE - 1))
            return 1;
    return 0;
}

/// The semaphore that a failed attach has left taken, or -1. The kernel gives it back when the process ends (SEM_UNDO);
/// until then a further take would wait for this very process.
static int g_iKeptSemaphore = -1;

/// Waits for the semaphore once it is known to be taken.
static int Wait_ForSemaphore(int iSemaphore)
{
    // One long wait per request: a daemon that holds the semaphore for good must not hold the request as well. The
    // later, short ones still outlast what others ordinarily hold it for.
    static int32_t s_iPatience = SEMAPHORE_PATIENCE_MILLISECONDS;
    const uint32_t dwDeadline = Deadline_After(s_iPatience);
    struct sembuf tTake = {0, -1, SEM_UNDO};
    int iResult = 0;
    do {
        const int32_t iLeft = Deadline_Left(dwDeadline);
        const struct timespec tLeft = {iLeft / 1000, long{iLeft % 1000} * 1000000};
        iResult = semtimedop(iSemaphore, &tTake, 1, &tLeft);
    } while (iResult == -1 && errno == EINTR);
    if (iResult == -1 && errno == EAGAIN)
        s_iPatience = SEMAPHORE_IMPATIENCE_MILLISECONDS;
    return iResult;
}

static int Take_Semaphore(int iSemaphore)
{
    if (iSemaphore == g_iKeptSemaphore)
        return 0;
    struct sembuf tTake = {0, -1, SEM_UNDO | IPC_NOWAIT};
    if (semop(iSemaphore, &tTake, 1) == 0 || (errno == EAGAIN && Wait_ForSemaphore(iSemaphore) == 0))
        return 0;
    perror("semop");
    return -1;
}

static int Give_Semaphore(int iSemaphore)
{
    if (iSemaphore == g_iKeptSemaphore)
        g_iKeptSemaphore = -1;
    struct sembuf tGive = {0, 1, SEM_UNDO};
    if (semop(iSemaphore, &tGive, 1) == 0)
        return 0;
    perror("semop");
    return -1;
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
    // An honest lookup without aliases meets no element twice.
    const uint32_t dwSize = Get_SegmentSize(iSegment);
    const uint32_t dwRoom = dwSize / static_cast<uint32_t>(sizeof(SnapshotNode));
    *ptSegment = {static_cast<const char *>(pAddress), dwSize, 0, dwRoom, false};
    if (ptSegment->dwSize < sizeof(SnapshotHeader))
        ptSegment->bDamaged = true;
    else
        memcpy(&ptSegment->dwDaemonBase, ptSegment->pcBase, sizeof ptSegment->dwDaemonBase);
    return 0;
}

static void Detach_Segment(const SnapshotSegment *ptSegment) { shmdt(ptSegment->pcBase); }

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
    const key_t tKey = ftok(CONFIGER_PROGRAM, CONFIGER_PROJECT);
    if (tKey == -1) {
        perror("ftok");
        return SNAPSHOT_NOT_LOOKED;
    }
    const int iSemaphore = semget(tKey, 1, 0);
    if (iSemaphore == -1) {
        perror("semget");
        return SNAPSHOT_NOT_LOOKED;
    }
    if (Take_Semaphore(iSemaphore) != 0)
        return SNAPSHOT_NOT_LOOKED;
    SnapshotSegment tSegment;
    if (Attach_Segment(tKey, &tSegment) != 0) {
        g_iKeptSemaphore = iSemaphore;
        return SNAPSHOT_NOT_LOOKED;
    }

    uint32_t dwValue = SNAPSHOT_NONE;
    const SnapshotText tText = tSegment.bDamaged ? SnapshotText{nullptr, 0} : Find_Value(&tSegment, pszXPath, &dwValue);
    const bool bAskDaemon = tText.pc != nullptr && tText.uLength == 0 && IfGetOnce(&tSegment, dwValue) == 1;
    if (tText.pc == nullptr || tSegment.bDamaged) {
        Detach_Segment(&tSegment);
        return Give_Semaphore(iSemaphore) == 0 && !tSegment.bDamaged ? SNAPSHOT_NO_SUCH_KEY : SNAPSHOT_NOT_LOOKED;
    }
    const size_t uCopied = tText.uLength < uSize ? tText.uLength : uSize;
    memcpy(pszOutput, tText.pc, uCopied);
    memset(pszOutput + uCopied, 0, uSize - uCopied);
    if (bAskDaemon) {
        Detach_Segment(&tSegment);
        const bool bAnswered = Give_Semaphore(iSemaphore) == 0 && Ask_Daemon(pszXPath, pszOutput, uSize) == 0;
        return bAnswered ? SNAPSHOT_READ : SNAPSHOT_NOT_LOOKED;
    }

    // The length is compared after the semaphore is back: the daemon is not kept waiting for it. What was copied must
    // have fitted as well, the daemon may have shortened the value meanwhile.
    const bool bGiven = Give_Semaphore(iSemaphore) == 0;
    const size_t uRoom = tSegment.dwSize - static_cast<size_t>(tText.pc - tSegment.pcBase);
    const bool bFits = uCopied < uSize && strnlen(tText.pc, uRoom) < (uSize < uRoom ? uSize : uRoom);
    Detach_Segment(&tSegment);
    if (!bGiven)
        return SNAPSHOT_NOT_LOOKED;
    return bFits ? SNAPSHOT_READ : SNAPSHOT_DOES_NOT_FIT;
}

int Configer_GetParamValueByXPath(const char *pszXPath, char *pszOutput, size_t uSize)
{
    return Configer_LookUp(pszXPath, pszOutput, uSize) == SNAPSHOT_READ ? 0 : -1;
}
