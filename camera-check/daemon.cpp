// The configuration daemon: the file that its key is made of, its semaphore, its snapshot, its socket.
#include "ask.h"
#include "check.h"
#include "key_table.h"
#include "place.h"
#include "report.h"
#include "snapshot_tree.h"

#include "common/wait.h"
#include "conflib/configer.h"
#include "conflib/semaphore.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

static constexpr size_t NAME_SIZE = 64;

static void Get_ProcessName(int iPid, char (&szName)[NAME_SIZE])
{
    char szPath[32];
    snprintf(szPath, sizeof szPath, "/proc/%d/comm", iPid);
    snprintf(szName, sizeof szName, "which is no longer there");
    FILE *ptFile = fopen(szPath, "re");
    if (ptFile == nullptr)
        return;
    if (fgets(szName, sizeof szName, ptFile) != nullptr)
        szName[strcspn(szName, "\n")] = '\0';
    fclose(ptFile);
}

/// What brings the daemon's shared memory back: one that lives would go on without.
static const char *Get_StartWord()
{
    char szReply[512];
    const bool bLives =
        Ask_Configer("capability_nvideoin", szReply, sizeof szReply) == 0 || (errno != ECONNREFUSED && errno != ENOENT);
    return bLives ? "restart" : "start";
}

/// Returns the semaphore, taken; -1 when it cannot be had.
static int Check_Semaphore(key_t tKey)
{
    const int iSemaphore = semget(tKey, 1, 0);
    if (iSemaphore == -1) {
        const int iError = errno;
        Report_Bad("semaphore", "there is none with the key 0x%08x (%s), so no key can be read; %s configer",
                   static_cast<unsigned int>(tKey), strerror(iError), Get_StartWord());
        return -1;
    }
    if (Take_Semaphore(iSemaphore) == 0) {
        const int iLeft = semctl(iSemaphore, 0, GETVAL);
        if (iLeft > 0)
            Report_Bad("semaphore",
                       "id %d lets %d in at a time, so a read may meet a write of configer's half done; restart "
                       "configer, and look for who else gives it back",
                       iSemaphore, iLeft + 1);
        else
            Report_Good("semaphore", "id %d, free", iSemaphore);
        return iSemaphore;
    }
    if (errno != EAGAIN) {
        Report_Bad(
            "semaphore",
            "id %d cannot be used (%s), so no key can be read; let configer give this user the right to alter it",
            iSemaphore, strerror(errno));
        return -1;
    }
    const int iPid = semctl(iSemaphore, 0, GETPID);
    char szName[NAME_SIZE];
    Get_ProcessName(iPid, szName);
    Report_Bad("semaphore",
               "id %d is not free within two seconds, so no key can be read; process %d (%s) has used it last: end or "
               "restart that one, and configer where it is no longer there",
               iSemaphore, iPid, szName);
    return -1;
}

static void Report_Damage(const TreeSummary &tSummary)
{
    Report_BeginBad("tree");
    Report_Say("%u damaged element%s among %u, the first at \"", tSummary.dwDamaged,
               Get_PluralEnd(static_cast<int>(tSummary.dwDamaged)), tSummary.dwElements);
    Report_SayEscaped(tSummary.szDamaged, strlen(tSummary.szDamaged));
    Report_Say("\": %s; keys behind it cannot be read; restart configer, and look for who else writes to the segment\n",
               tSummary.pszDamaged);
}

/// Whether the tree is one that keys can be looked for in.
static bool Check_Tree(SnapshotSegment *ptCopy)
{
    TreeSummary tSummary = {};
    if (Walk_Tree(ptCopy, nullptr, nullptr, &tSummary) != 0)
        Report_Bad("tree", "no memory for a walk; end what needs it");
    else if (tSummary.dwDamaged > 0)
        Report_Damage(tSummary);
    else if (tSummary.dwKeys == 0)
        Report_Bad("tree", "it is empty, so no key can be read; configer has not published its settings");
    else
        Report_Good("tree", "%u elements, %u keys, no damaged link", tSummary.dwElements, tSummary.dwKeys);
    return tSummary.dwDamaged == 0 && tSummary.dwKeys > 0;
}

/// Whether there is a snapshot that keys can be read from. The semaphore is given back when its copy has been taken.
static bool Check_Segment(key_t tKey, int iSemaphore)
{
    const int iSegment = shmget(tKey, 0, 0);
    struct shmid_ds tStatus = {};
    void *pSegment = iSegment != -1 ? shmat(iSegment, nullptr, 0) : nullptr;
    const bool bAttached = pSegment != nullptr && reinterpret_cast<intptr_t>(pSegment) != -1;
    const int iError = errno;
    SnapshotSegment tCopy = {};
    const bool bCopied = bAttached && shmctl(iSegment, IPC_STAT, &tStatus) == 0 &&
                         Copy_Segment(pSegment, tStatus.shm_segsz, &tCopy) == 0;
    if (iSemaphore != -1)
        Give_Semaphore(iSemaphore);
    if (bAttached)
        shmdt(pSegment);
    if (iSegment == -1) {
        Report_Bad("segment", "there is none with the key 0x%08x (%s), so no key can be read; %s configer",
                   static_cast<unsigned int>(tKey), strerror(iError), Get_StartWord());
        return false;
    }
    if (!bCopied) {
        Report_Bad("segment",
                   "id %d cannot be attached for reading and writing and looked at (%s), so no key can be read; let "
                   "configer give this user the right",
                   iSegment, strerror(bAttached ? errno : iError));
        return false;
    }
    bool bReadable = false;
    const bool bRoom = tCopy.dwSize >= 2 * sizeof(uint32_t) + sizeof(SnapshotNode);
    if (bRoom) {
        Report_Good("segment", "id %d, %u bytes, mapped by configer at 0x%08x", iSegment, tCopy.dwSize,
                    tCopy.dwDaemonBase);
        bReadable = Check_Tree(&tCopy);
    } else {
        Report_Bad("segment",
                   "id %d has %u bytes, which is no room for a tree, so no key can be read; restart configer", iSegment,
                   tCopy.dwSize);
    }
    Release_Copy(&tCopy);
    return bReadable;
}

/// A key of the table that the snapshot has a value for, to ask the daemon for the same. pszValue is empty when there
/// is none, or when nobody can tell for a few of them.
static FilledText Choose_Probe(bool bReadable, char *pszValue, size_t uSize)
{
    FilledText tKey = {"capability_nvideoin"};
    int iTries = bReadable ? 3 : 0;
    for (const KeyUse *ptUse = g_atKeyUse; iTries > 0; ++ptUse) {
        const SnapshotOutcome eOutcome = Configer_LookUp(tKey, pszValue, uSize);
        if (eOutcome == SNAPSHOT_READ && pszValue[0] != '\0')
            return tKey;
        iTries -= eOutcome == SNAPSHOT_UNAVAILABLE ? 1 : 0;
        while (ptUse->pszKey != nullptr && strchr(ptUse->pszKey, '{') != nullptr)
            ++ptUse;
        if (ptUse->pszKey == nullptr)
            break;
        tKey = Fill_Key(ptUse->pszKey, NO_PLACE);
    }
    pszValue[0] = '\0';
    return tKey;
}

/// What an answer means that is not the value in the snapshot. For a write any answer will do, unless it is long.
static void Report_Answer(const char *pszKey, const char *pszReply, size_t uLength, const char *pszValue)
{
    const char *pszWrites =
        uLength < CONFIGER_SET_SIZE ? "a write may be answered as done without being so" : "writes fail";
    if (uLength == 0)
        Report_Bad(
            "daemon",
            "an empty answer on %s to a question for %s, so %s, and a read of what it keeps to itself answers an "
            "empty text; restart configer",
            CONFIGER_SOCKET, pszKey, pszWrites);
    else
        Report_Bad(
            "daemon",
            "answers \"%.40s\" on %s to a question for %s, which is \"%.40s\" in its snapshot, so %s, and a read "
            "of what it keeps to itself answers the like; restart configer",
            pszReply, CONFIGER_SOCKET, pszKey, pszValue, pszWrites);
}

/// Asks the daemon for what its snapshot holds, and returns whether it answers that. A value that is changed between
/// the two is asked for once more.
static bool Check_Socket(bool bReadable)
{
    char szReply[512] = "";
    char szValue[512] = "";
    FilledText tKey;
    int32_t iSeconds = 0;
    int iResult = 0;
    int iError = 0;
    for (int iTry = 0; iTry < 2; ++iTry) {
        tKey = Choose_Probe(bReadable, szValue, sizeof szValue);
        const Wait tWait = Begin_Wait(WAIT_DAEMON);
        iResult = Ask_Configer(tKey, szReply, sizeof szReply);
        iError = errno;
        iSeconds = End_Wait(tWait) / 1000;
        if (iResult != 0 || strcmp(szReply, szValue) == 0)
            break;
    }
    size_t uLength = sizeof szReply;
    while (uLength > 0 && szReply[uLength - 1] == '\0')
        --uLength;
    const bool bGood = iResult == 0 && (szValue[0] == '\0' || strcmp(szReply, szValue) == 0);
    if (bGood)
        Report_Good("daemon", "answers a question on %s within %d s%s", CONFIGER_SOCKET, iSeconds + 1,
                    szValue[0] != '\0' ? ", as its snapshot does" : "; there is nothing to hold the answer against");
    else if (iResult == 0)
        Report_Answer(tKey, szReply, uLength, szValue);
    else
        Report_Bad("daemon",
                   "no answer on %s after %d s (%s), so writes fail, and reads of what it keeps to itself%s; %s",
                   CONFIGER_SOCKET, iSeconds, iError != 0 ? Get_Reason(iError) : "it is too long",
                   iError == EAGAIN ? ", after 10 s each" : "",
                   iError == EACCES ? "let this user write to the socket" : "start configer again");
    return bGood;
}

/// The key of a snapshot that a process holds and that was made with another file in the daemon's place: a segment and
/// a semaphore of one key, with the daemon's project number in front. 0 when there is none.
static unsigned int Find_OtherKey(key_t tKey)
{
    FILE *ptFile = fopen("/proc/sysvipc/shm", "re");
    char szLine[512];
    unsigned int dwFound = 0;
    while (ptFile != nullptr && dwFound == 0 && fgets(szLine, sizeof szLine, ptFile) != nullptr) {
        int iOther = 0;
        int iHolders = 0;
        const bool bHeld = sscanf(szLine, "%d %*s %*s %*s %*s %*s %d", &iOther, &iHolders) == 2 && iHolders > 0;
        if (bHeld && iOther != tKey && static_cast<unsigned int>(iOther) >> 24 == CONFIGER_PROJECT &&
            semget(iOther, 1, 0) != -1)
            dwFound = static_cast<unsigned int>(iOther);
    }
    if (ptFile != nullptr)
        fclose(ptFile);
    return dwFound;
}

/// Whether the file that makes the key is that of the daemon that runs.
static bool Check_KeyFile(key_t tKey)
{
    if (tKey == -1) {
        Report_Bad("ftok file",
                   "%s: %s, so no key can be read; install it, or an empty file of that name, and start configer again",
                   CONFIGER_PROGRAM, strerror(errno));
        return false;
    }
    const bool bNone = semget(tKey, 1, 0) == -1 && errno == ENOENT && shmget(tKey, 0, 0) == -1 && errno == ENOENT;
    const unsigned int dwOther = bNone ? Find_OtherKey(tKey) : 0;
    if (dwOther != 0) {
        Report_Bad("ftok file",
                   "%s was replaced since configer started (its segment has the key 0x%08x, the file makes 0x%08x), so "
                   "no key can be read; restart configer",
                   CONFIGER_PROGRAM, dwOther, static_cast<unsigned int>(tKey));
        return false;
    }
    Report_Good("ftok file", "%s makes the key 0x%08x", CONFIGER_PROGRAM, static_cast<unsigned int>(tKey));
    return true;
}

DaemonHealth Check_Daemon()
{
    const key_t tKey = ftok(CONFIGER_PROGRAM, CONFIGER_PROJECT);
    bool bReadable = false;
    if (Check_KeyFile(tKey)) {
        const int iSemaphore = Check_Semaphore(tKey);
        bReadable = Check_Segment(tKey, iSemaphore) && iSemaphore != -1;
    }
    return {bReadable, Check_Socket(bReadable)};
}
