#include "sidestore/side_file.h"

#include "common/log_identity.h"
#include "common/wait.h"
#include "conflib/semaphore.h"
#include "conflib/xml_file.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

static constexpr char FILE_FOLDER[] = "/etc/conf.d";

static constexpr off_t FILE_SIZE_MAX = 1 << 24; ///< what a setter keeps of a file while it rewrites it

// Lock and trees.

/// Takes an advisory lock on a descriptor, within a wait of the kind WAIT_LOCKS.
static int Lock_InTime(int iFile, int iOperation)
{
    constexpr int PAUSE_MILLISECONDS = 10;
    // Whoever has the lock may be waiting for it.
    Give_KeptSemaphore();
    if (flock(iFile, iOperation | LOCK_NB) == 0)
        return 0;
    const Wait tWait = Begin_Wait(WAIT_LOCKS);
    int iResult = -1;
    while (iResult != 0 && errno == EWOULDBLOCK && Left_OfWait(tWait) > 1) {
        poll(nullptr, 0, PAUSE_MILLISECONDS);
        iResult = flock(iFile, iOperation | LOCK_NB);
    }
    End_Wait(tWait);
    return iResult;
}

/// Advisory lock over all three files: on their folder, so that it leaves no file behind. Returns a descriptor to
/// close, or -1 when the lock cannot be had in time; everything then goes on without it.
static int Lock_Folder(int iOperation)
{
    const int iFolder = open(FILE_FOLDER, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (iFolder < 0 || Lock_InTime(iFolder, iOperation) == 0)
        return iFolder;
    close(iFolder);
    return -1;
}

static void Unlock_Folder(int iLock)
{
    if (iLock >= 0)
        close(iLock);
}

static int g_iHeldFile = -1;
static SideFile g_eHeldFile;

void Hold_SideFile(SideFile eFile)
{
    if (g_iHeldFile >= 0 && g_eHeldFile == eFile)
        return;
    Let_SideFile();
    // The file keeps its inode whenever it is written.
    g_iHeldFile = open(g_apszSideFile[eFile], O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    g_eHeldFile = eFile;
    if (g_iHeldFile >= 0 && Lock_InTime(g_iHeldFile, LOCK_EX) != 0)
        Let_SideFile();
}

void Let_SideFile()
{
    if (g_iHeldFile >= 0)
        close(g_iHeldFile);
    g_iHeldFile = -1;
}

/// What a setter has while it runs: the lock, or -1, and the trees of the files.
static bool g_bInSetter = false;
static int g_iSetterLock = -1;
static SXMLParserContext *g_aptSetterTree[SIDE_FILE_COUNT];

void Lock_SideFiles()
{
    g_iSetterLock = Lock_Folder(LOCK_EX);
    g_bInSetter = true;
}

void Unlock_SideFiles()
{
    g_bInSetter = false;
    for (SXMLParserContext *&ptTree : g_aptSetterTree)
        Release_QuorvexXMLParser(&ptTree);
    Unlock_Folder(g_iSetterLock);
}

int Init_QuorvexXMLParser(const char *pszPath, SXMLParserContext **pptParser)
{
    return Open_XMLFile(pszPath, "Init_QuorvexXMLParser", pptParser);
}

int Release_QuorvexXMLParser(SXMLParserContext **pptParser)
{
    return *pptParser != nullptr ? SXMLParser_Release(pptParser) : -1;
}

SXMLParserContext *Open_SideFile(SideFile eFile)
{
    if (g_aptSetterTree[eFile] != nullptr)
        return g_aptSetterTree[eFile];
    SXMLParserContext *ptParser = nullptr;
    const int iLock = g_bInSetter ? -1 : Lock_Folder(LOCK_SH);
    const int iResult = Init_QuorvexXMLParser(g_apszSideFile[eFile], &ptParser);
    Unlock_Folder(iLock);
    // A tree with a fault is never kept, so that every value that is read from it has its line in the log.
    if (g_bInSetter && iResult == 0)
        g_aptSetterTree[eFile] = ptParser;
    return ptParser;
}

void Close_SideFile(SideFile eFile, SXMLParserContext *ptParser)
{
    if (ptParser != g_aptSetterTree[eFile])
        Release_QuorvexXMLParser(&ptParser);
}

const char *Find_SideText(const SXMLParserContext *ptParser, const SidePlace &tPlace)
{
    SidePath tPath;
    Make_SidePath(tPlace, &tPath);
    const char *pszText =
        SXMLParser_GetTagValueByName(ptParser, "root", "quorvex", tPath.apszTag[0], tPath.apszTag[1], tPath.apszTag[2],
                                     tPath.apszTag[3], tPath.apszTag[4], static_cast<char *>(nullptr));
    if (pszText == nullptr)
        syslog(LOG_CRIT, "%s: %s fail", LOG_IDENTITY, tPath.pszReader);
    return pszText;
}

char *Copy_SideText(const SidePlace &tPlace)
{
    const SideFile eFile = Get_SideFile(tPlace);
    SXMLParserContext *ptParser = Open_SideFile(eFile);
    const char *pszText = Find_SideText(ptParser, tPlace);
    char *pszCopy = pszText != nullptr ? strdup(pszText) : nullptr;
    Close_SideFile(eFile, ptParser);
    return pszCopy;
}

// Writing.

static void Provide_Room(SideText *ptText, size_t uMore)
{
    constexpr size_t ROOM_MIN = 1024;
    if (ptText->bFailed || ptText->uRoom - ptText->uLength >= uMore)
        return;
    // Nothing else in the program needs realloc, which would make it larger by 700 bytes.
    const size_t uRoom = ptText->uLength * 2 + uMore + ROOM_MIN;
    char *pcText = static_cast<char *>(malloc(uRoom));
    ptText->bFailed = pcText == nullptr;
    if (ptText->bFailed)
        return;
    if (ptText->uLength > 0)
        memcpy(pcText, ptText->pcText, ptText->uLength);
    free(ptText->pcText);
    ptText->pcText = pcText;
    ptText->uRoom = uRoom;
}

static void Append(SideText *ptText, const char *pszText)
{
    const size_t uLength = strlen(pszText);
    Provide_Room(ptText, uLength);
    if (ptText->bFailed || uLength == 0) // no room yet, perhaps
        return;
    memcpy(ptText->pcText + ptText->uLength, pszText, uLength);
    ptText->uLength += uLength;
}

/// Appends a line, behind as many tabs as elements are open, of pieces that a null ends.
static void Append_Line(SideText *ptText, const char *const *ppszPiece)
{
    static constexpr char TABS[] = "\t\t\t\t\t\t\t";
    Append(ptText, TABS + sizeof TABS - 1 - ptText->iDepth);
    for (; *ppszPiece != nullptr; ++ppszPiece)
        Append(ptText, *ppszPiece);
}

void Open_SideElement(SideText *ptText, const char *pszName)
{
    const char *const apszPiece[] = {"<", pszName, ">\n", nullptr};
    Append_Line(ptText, apszPiece);
    ++ptText->iDepth;
}

void Close_SideElement(SideText *ptText, const char *pszName)
{
    const char *const apszPiece[] = {"</", pszName, ">\n", nullptr};
    --ptText->iDepth;
    Append_Line(ptText, apszPiece);
}

void Append_SideElement(SideText *ptText, const char *pszName, const char *pszValue)
{
    const char *const apszPiece[] = {"<", pszName, ">", pszValue, "</", pszName, ">\n", nullptr};
    Append_Line(ptText, apszPiece);
}

/// Appends line feeds up to a length. Behind the last tag they harm no reader.
static void Append_LineFeeds(SideText *ptText, size_t uLength)
{
    if (uLength <= ptText->uLength)
        return;
    Provide_Room(ptText, uLength - ptText->uLength);
    if (ptText->bFailed)
        return;
    memset(ptText->pcText + ptText->uLength, '\n', uLength - ptText->uLength);
    ptText->uLength = uLength;
}

/// Reads what a file holds.
static int Read_Content(int iFile, SideText *ptText)
{
    struct stat tStatus = {};
    if (fstat(iFile, &tStatus) != 0 || !S_ISREG(tStatus.st_mode) || tStatus.st_size > FILE_SIZE_MAX)
        return -1;
    const size_t uSize = static_cast<size_t>(tStatus.st_size);
    Append_LineFeeds(ptText, uSize);
    return !ptText->bFailed && pread(iFile, ptText->pcText, uSize, 0) == static_cast<ssize_t>(uSize) ? 0 : -1;
}

static bool Write_At(int iFile, const SideText *ptText, size_t uFrom)
{
    const size_t uCount = ptText->uLength - uFrom;
    return pwrite(iFile, ptText->pcText + uFrom, uCount, static_cast<off_t>(uFrom)) == static_cast<ssize_t>(uCount);
}

/// Puts a new text in the place of the old one, so that a reader finds one of them whole whenever this process is
/// killed or the disk runs full: room is made first, then one write covers both texts, and the file is cut last.
static int Replace_Content(int iFile, SideText *ptNew, SideText *ptOld)
{
    const size_t uNew = ptNew->uLength;
    const size_t uOld = ptOld->uLength;
    Append_LineFeeds(ptNew, uOld);
    Append_LineFeeds(ptOld, uNew);
    if (ptNew->bFailed || ptOld->bFailed)
        return -1;
    const bool bReplaced = Write_At(iFile, ptOld, uOld) && Write_At(iFile, ptNew, 0);
    if (!bReplaced)
        Write_At(iFile, ptOld, 0);
    // A cut that fails leaves line feeds.
    const off_t lEnd = static_cast<off_t>(bReplaced ? uNew : uOld);
    return ftruncate(iFile, lEnd) == 0 && bReplaced ? 0 : -1;
}

int Replace_SideFile(SideFile eFile, const char *pszWriter, SideText *ptText)
{
    const int iFile = open(g_apszSideFile[eFile], O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (iFile < 0) {
        syslog(LOG_INFO, "QuorvexXMLParser: fopen error in %s\n", pszWriter);
        return -1;
    }
    // A web server ends its program with a signal when a client hangs up.
    sigset_t tAll;
    sigset_t tBefore;
    sigfillset(&tAll);
    sigprocmask(SIG_BLOCK, &tAll, &tBefore);
    SideText tOld = {};
    const int iResult = Read_Content(iFile, &tOld) == 0 ? Replace_Content(iFile, ptText, &tOld) : -1;
    sigprocmask(SIG_SETMASK, &tBefore, nullptr);
    free(tOld.pcText);
    close(iFile);
    return iResult;
}
