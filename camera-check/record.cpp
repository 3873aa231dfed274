#include "explain.h"

#include "ask.h"
#include "key_table.h"
#include "report.h"
#include "snapshot_tree.h"

#include "conflib/semaphore.h"
#include "mapping/ptz_io.h"

#include <ctype.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

/// A key with one of these in its name, in any case, is taken for a secret.
static constexpr const char *SECRETS[] = {"pass", "pwd",   "psk",  "wep",   "secret",     "private",  "hash",
                                          "auth", "token", "cert", "login", "credential", "community"};

static constexpr char HEAD[] =
    "# A camera, recorded by camera-check: script/demo --model FILE and simcam play it. Read it before you give it "
    "away:\n"
    "# keys that look like passwords are left out unless --all asked for them, everything else is here.\n\n";

/// Whether a word of a key's name ends in "key".
static bool Has_KeyWord(const char *pszName)
{
    static constexpr char KEY[] = "key";
    bool bFound = false;
    for (const char *pc = strcasestr(pszName, KEY); pc != nullptr; pc = strcasestr(pc + 1, KEY))
        bFound = bFound || !isalpha(static_cast<unsigned char>(pc[sizeof KEY - 1]));
    return bFound;
}

/// Whether an address in a value has a password in front of its host.
static bool Has_Password(const char *pszValue)
{
    bool bFound = false;
    for (const char *pc = strstr(pszValue, "://"); pc != nullptr; pc = strstr(pc + 1, "://")) {
        const char *pcUser = pc + 3;
        const size_t uUser = strcspn(pcUser, ":@/ ");
        bFound = bFound || (pcUser[uUser] == ':' && pcUser[uUser + strcspn(pcUser + uUser, "@/ ")] == '@');
    }
    return bFound;
}

static bool Is_Secret(const char *pszName, const char *pszValue)
{
    bool bSecret = Has_KeyWord(pszName) || (pszValue != nullptr && Has_Password(pszValue));
    for (const char *pszPart : SECRETS)
        bSecret = bSecret || strcasestr(pszName, pszPart) != nullptr;
    return bSecret;
}

/// What a walk over the keys is told, and tells.
struct KeyRecording {
    bool bAll;
    int iSecrets;
};

/// Leaves a secret out: a comment in its place, and its name for whoever records.
static void Skip_Secret(KeyRecording *ptRecording, const char *pszKey)
{
    Report_Say("# left out, looks like a secret: %s\n", pszKey);
    Report_Aside(ptRecording->iSecrets++ == 0 ? "camera-check: left out, as it looks like a secret: %s" : ", %s",
                 pszKey);
}

/// Whether a model line can have the name as it is.
static bool Is_Plain(const char *pszKey)
{
    bool bPlain = pszKey[0] != '\0' && strpbrk(pszKey, "={}") == nullptr;
    for (const char *pc = pszKey; *pc != '\0'; ++pc)
        bPlain = bPlain && *pc > ' ' && *pc < 0x7f;
    return bPlain;
}

static void Say_Line(const char *pszWord, const char *pszName, const char *pcText, size_t uLength)
{
    Report_Say("%s %s=", pszWord, pszName);
    Report_SayEscaped(pcText, uLength);
    Report_Say("\n");
}

static void Record_Key(const TreeKey *ptKey, void *pUserData)
{
    KeyRecording *ptRecording = static_cast<KeyRecording *>(pUserData);
    const char *pszWhy = !Is_Plain(ptKey->pszKey) ? "not a name for a model"
                         : !ptKey->bReachable     ? "hidden behind another of its name"
                                                  : nullptr;
    if (pszWhy != nullptr) {
        Report_Say("# left out, %s: %s\n", pszWhy, ptKey->pszKey);
        return;
    }
    const bool bAlias = ptKey->bAliasCounts;
    const bool bAsk = !bAlias && ptKey->bGetOnce;
    char szAnswer[512] = "";
    bool bAnswered = true;
    if (bAsk && ptKey->pszValue[0] == '\0')
        bAnswered = Ask_Configer(ptKey->pszKey, szAnswer, sizeof szAnswer) == 0;
    if (!ptRecording->bAll && (Is_Secret(ptKey->pszKey, ptKey->pszValue) || Has_Password(szAnswer))) {
        Skip_Secret(ptRecording, ptKey->pszKey);
        return;
    }
    if (!bAnswered)
        Report_Say("# configer gave no answer for this one\n");
    if (bAlias)
        Say_Line("alias", ptKey->pszKey, ptKey->pszAlias, strlen(ptKey->pszAlias));
    if (bAsk)
        Say_Line("request", ptKey->pszKey, szAnswer, strlen(szAnswer));
    if (ptKey->pszValue != nullptr && (ptKey->pszValue[0] != '\0' || !ptKey->bGetOnce))
        Say_Line("key", ptKey->pszKey, ptKey->pszValue, strlen(ptKey->pszValue));
}

/// Copies the snapshot under its semaphore. 0 or -1.
static int Copy_Snapshot(SnapshotSegment *ptCopy)
{
    const key_t tKey = ftok(CONFIGER_PROGRAM, CONFIGER_PROJECT);
    const int iSemaphore = tKey != -1 ? semget(tKey, 1, 0) : -1;
    if (iSemaphore == -1 || Take_Semaphore(iSemaphore) != 0)
        return -1;
    const int iSegment = shmget(tKey, 0, 0);
    struct shmid_ds tStatus = {};
    void *pSegment = shmat(iSegment, nullptr, SHM_RDONLY);
    int iResult = -1;
    if (reinterpret_cast<intptr_t>(pSegment) != -1) {
        if (shmctl(iSegment, IPC_STAT, &tStatus) == 0)
            iResult = Copy_Segment(pSegment, tStatus.shm_segsz, ptCopy);
        shmdt(pSegment);
    }
    Give_Semaphore(iSemaphore);
    return iResult;
}

static void Record_File(const char *pszPath)
{
    FILE *ptFile = fopen(pszPath, "re");
    if (ptFile == nullptr) {
        Report_Say(errno == ENOENT ? "nofile %s\n" : "# cannot be read: %s\n", pszPath);
        return;
    }
    Report_Say("file %s=", pszPath);
    char acPiece[1024];
    for (size_t uCount = 0; (uCount = fread(acPiece, 1, sizeof acPiece, ptFile)) > 0;)
        Report_SayEscaped(acPiece, uCount);
    Report_Say("\n");
    fclose(ptFile);
}

static void Record_Services()
{
    char szReply[4096];
    Report_Say("ptz pidfile=%s\n", access(PTZ_PID_FILE, R_OK) == 0 ? "yes" : "no");
    const ssize_t lVersion = Ask_Ptz(szReply, sizeof szReply);
    if (lVersion < 0)
        Report_Say("fault ptz %s\n", errno == ENOENT ? "absent" : errno == EAGAIN ? "hang" : "refuse");
    else
        Say_Line("ptz", "reply", szReply, static_cast<size_t>(lVersion));
    static constexpr const char *QUESTIONS[][2] = {{"capability", "/VCA/Capability"}, {"functions", "/VCA/Functions"}};
    for (const auto &[pszWord, pszPath] : QUESTIONS) {
        const ssize_t lAnswer = Ask_Analytics(pszPath, szReply, sizeof szReply);
        if (lAnswer < 0)
            Report_Say("fault analytics %s\n", errno == EAGAIN ? "hang" : "refuse");
        else
            Say_Line("analytics", pszWord, szReply, static_cast<size_t>(lAnswer));
    }
}

int Record(bool bAll)
{
    Limit_Waits();
    SnapshotSegment tCopy;
    TreeSummary tSummary = {};
    KeyRecording tRecording = {bAll, 0};
    Report_SayPlain(HEAD);
    if (Copy_Snapshot(&tCopy) != 0) {
        Report_Say("# nothing is recorded: the snapshot cannot be read; camera-check without options tells why\n");
        return 1;
    }
    Report_Say("snapshot base=0x%08x\n", tCopy.dwDaemonBase);
    Report_Say("snapshot size=%u\n", tCopy.dwSize);
    const bool bWalked = tCopy.dwSize >= 2 * sizeof(uint32_t) + sizeof(SnapshotNode) &&
                         Walk_Tree(&tCopy, Record_Key, &tRecording, &tSummary) == 0 && tSummary.dwDamaged == 0;
    Release_Copy(&tCopy);
    if (!bWalked)
        Report_Say("# not all of it: the tree is damaged; camera-check without options tells where\n");
    if (tRecording.iSecrets > 0)
        Report_Aside("; %d in all, --record --all takes them in\n", tRecording.iSecrets);
    if (bWalked && tSummary.dwKeys == 0) {
        Report_Say("# nothing is recorded: the tree is empty; configer has not published its settings\n");
        return 1;
    }
    const char *pszBefore = "";
    for (const SideElement *ptElement = g_atSideElement; ptElement->pszFile != nullptr; ++ptElement) {
        if (strcmp(ptElement->pszFile, pszBefore) != 0)
            Record_File(ptElement->pszFile);
        pszBefore = ptElement->pszFile;
    }
    Record_File(g_szCapabilityFile);
    Record_Services();
    return bWalked ? 0 : 1;
}
