#include "sidestore/quorvex_xml_parser.h"

#include "common/int32.h"
#include "common/log_identity.h"
#include "common/string_util.h"
#include "conflib/snapshot.h"
#include "conflib/xml_file.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

static constexpr char FILE_FOLDER[] = "/etc/conf.d";

enum SideFile { VIDEO_FILE, MOTION_FILE, SYSTEM_FILE, SIDE_FILE_COUNT };
static constexpr const char *g_tSideFilePath[SIDE_FILE_COUNT] = {
    "/etc/conf.d/config_quorvexVideo.xml",
    "/etc/conf.d/config_quorvexMotion.xml",
    "/etc/conf.d/config_quorvexSystem.xml",
};

static constexpr int LOCK_PATIENCE_MILLISECONDS = 12000;
static constexpr int LOCK_IMPATIENCE_MILLISECONDS = 200;
static constexpr int32_t GOP_NOT_OFFERED = -1;
static constexpr size_t CODEC_TAG_SIZE = 10;
static constexpr size_t CODEC_LIST_SIZE = 64;
static constexpr off_t FILE_SIZE_MAX = 1 << 24; ///< what a setter keeps of a file while it rewrites it

/// The codecs with a GOP, in the order of their blocks in the Video file.
static constexpr struct {
    char szName[6];
    int32_t XMLFileStreamData::*piGOP;
} g_tGopCodec[] = {
    {"mpeg4", &XMLFileStreamData::iMpeg4GOP},
    {"h264", &XMLFileStreamData::iH264GOP},
    {"h265", &XMLFileStreamData::iH265GOP},
};

static QuorvexXMLFileDataPointer g_tFileData;

int Init_QuorvexXMLParser(const char *pszPath, SXMLParserContext **pptParser)
{
    return Open_XMLFile(pszPath, "Init_QuorvexXMLParser", pptParser);
}

int Release_QuorvexXMLParser(SXMLParserContext **pptParser)
{
    return *pptParser != nullptr ? SXMLParser_Release(pptParser) : -1;
}

/// An element name made of a letter and an index; two digits of the index at most have room.
struct IndexTag {
    char szTag[4];
};

static IndexTag Make_Tag(char cLetter, int32_t iIndex)
{
    IndexTag tTag;
    snprintf(tTag.szTag, sizeof tTag.szTag, "%c%d", cLetter, iIndex);
    return tTag;
}

/// Advisory lock over all three files: on their folder, so that it leaves no file behind. Returns a descriptor to
/// close, or -1 when the lock cannot be had in time; everything then goes on without it. A setter may hold it for as
/// long as it waits for the daemon's semaphore; one such wait per request is enough.
static int Lock_Files(int iOperation)
{
    constexpr int PAUSE_MILLISECONDS = 10;
    static int s_iPauses = LOCK_PATIENCE_MILLISECONDS / PAUSE_MILLISECONDS;
    const int iFolder = open(FILE_FOLDER, O_RDONLY | O_DIRECTORY);
    if (iFolder < 0)
        return -1;
    for (int iPause = 0;; ++iPause) {
        if (flock(iFolder, iOperation | LOCK_NB) == 0)
            return iFolder;
        if (errno != EWOULDBLOCK)
            break;
        if (iPause >= s_iPauses) {
            s_iPauses = LOCK_IMPATIENCE_MILLISECONDS / PAUSE_MILLISECONDS;
            break;
        }
        poll(nullptr, 0, PAUSE_MILLISECONDS);
    }
    close(iFolder);
    return -1;
}

static void Unlock_Files(int iLock)
{
    if (iLock >= 0)
        close(iLock);
}

/// While a setter runs it holds the lock, so its readers do not wait for it and keep the trees of the files.
static bool g_bInSetter = false;
static SXMLParserContext *g_aptSetterTree[SIDE_FILE_COUNT];

/// The tree of a file; one that cannot be parsed is logged and then has no elements, or those up to the fault. It is
/// never kept, so that every value that is read from it has its line in the log.
static SXMLParserContext *Open_SideFile(SideFile eFile)
{
    if (g_aptSetterTree[eFile] != nullptr)
        return g_aptSetterTree[eFile];
    SXMLParserContext *ptParser = nullptr;
    const int iLock = g_bInSetter ? -1 : Lock_Files(LOCK_SH);
    const int iResult = Init_QuorvexXMLParser(g_tSideFilePath[eFile], &ptParser);
    Unlock_Files(iLock);
    if (g_bInSetter && iResult == 0)
        g_aptSetterTree[eFile] = ptParser;
    return ptParser;
}

static void Close_SideFile(SideFile eFile, SXMLParserContext *ptParser)
{
    if (ptParser != g_aptSetterTree[eFile])
        Release_QuorvexXMLParser(&ptParser);
}

/// Reads the text at root, quorvex and up to five tags more; unused ones are NULL.
static char *Read_Text(SideFile eFile, const char *pszReader, const char *psz1, const char *psz2 = nullptr,
                       const char *psz3 = nullptr, const char *psz4 = nullptr, const char *psz5 = nullptr)
{
    SXMLParserContext *ptParser = Open_SideFile(eFile);
    const char *pszText = SXMLParser_GetTagValueByName(ptParser, "root", "quorvex", psz1, psz2, psz3, psz4, psz5,
                                                       static_cast<char *>(nullptr));
    char *pszCopy = pszText != nullptr ? strdup(pszText) : nullptr;
    if (pszCopy == nullptr)
        syslog(LOG_CRIT, "%s: %s fail", LOG_IDENTITY, pszReader);
    Close_SideFile(eFile, ptParser);
    return pszCopy;
}

char *Get_NTPInterval_from_QuorvexXML() { return Read_Text(SYSTEM_FILE, __func__, "ntpinterval"); }

char *Get_StorageDeviceNum_from_QuorvexXML(int32_t iChannel)
{
    return Read_Text(SYSTEM_FILE, __func__, "storage", Make_Tag('c', iChannel).szTag, "devicenum");
}

char *Get_MotionROI_Window_from_QuorvexXML(int32_t iChannel, int32_t iWindow)
{
    return Read_Text(MOTION_FILE, __func__, "motion", Make_Tag('c', iChannel).szTag, Make_Tag('i', iWindow).szTag,
                     "window");
}

char *Get_MotionROI_Threshold_from_QuorvexXML(int32_t iChannel, int32_t iWindow)
{
    return Read_Text(MOTION_FILE, __func__, "motion", Make_Tag('c', iChannel).szTag, Make_Tag('i', iWindow).szTag,
                     "threshold");
}

char *Get_VideoContrast_from_QuorvexXML(int32_t iChannel)
{
    return Read_Text(VIDEO_FILE, __func__, "image", Make_Tag('c', iChannel).szTag, "contrast");
}

char *Get_VideoBrightness_from_QuorvexXML(int32_t iChannel)
{
    return Read_Text(VIDEO_FILE, __func__, "image", Make_Tag('c', iChannel).szTag, "brightness");
}

char *Get_VideoSaturation_from_QuorvexXML(int32_t iChannel)
{
    return Read_Text(VIDEO_FILE, __func__, "image", Make_Tag('c', iChannel).szTag, "saturation");
}

char *Get_VideoGOP_from_QuorvexXML(int32_t iChannel, int32_t iStream, const char *pszCodec)
{
    char szCodec[CODEC_TAG_SIZE];
    Copy_Text(szCodec, sizeof szCodec, pszCodec);
    return Read_Text(VIDEO_FILE, __func__, "image", Make_Tag('c', iChannel).szTag, Make_Tag('s', iStream).szTag,
                     szCodec, "gop");
}

/// Takes a reader's text as a number.
static int Take_Number(char *pszText, int32_t *piNumber)
{
    if (pszText == nullptr)
        return -1;
    *piNumber = Int32_FromText(pszText);
    free(pszText);
    return 0;
}

/// Takes a reader's text as a window text; a longer one than any setter writes is not taken.
static int Take_Window(char *pszText, char *pszWindow)
{
    if (pszText == nullptr)
        return -1;
    const size_t uLength = strlen(pszText);
    if (uLength < WINDOW_TEXT_SIZE)
        memcpy(pszWindow, pszText, uLength + 1);
    free(pszText);
    return uLength < WINDOW_TEXT_SIZE ? 0 : -1;
}

/// A table of iCount zeroed records; its pointer stays NULL where there is no memory for it.
template <typename T> static int Allocate_Table(T ***ppptTable, int32_t iCount)
{
    const size_t uCount = iCount > 0 ? static_cast<size_t>(iCount) : 0;
    *ppptTable = static_cast<T **>(calloc(uCount + 1, sizeof(T *)));
    if (*ppptTable == nullptr)
        return -1;
    for (size_t uIndex = 0; uIndex < uCount; ++uIndex) {
        (*ppptTable)[uIndex] = static_cast<T *>(calloc(1, sizeof(T)));
        if ((*ppptTable)[uIndex] == nullptr)
            return -1;
    }
    return 0;
}

/// Tables end with a NULL record.
template <typename T> static void Free_Table(T **pptTable)
{
    if (pptTable == nullptr)
        return;
    for (T **pptRecord = pptTable; *pptRecord != nullptr; ++pptRecord)
        free(*pptRecord);
    free(pptTable);
}

/// The camera's list of codecs, which is read again for every stream; one that cannot be read is what it was before,
/// and one that does not fit counts as far as it does.
struct CodecList {
    char szCodecs[CODEC_LIST_SIZE + 1];
};

static int Fill_Stream(XMLFileStreamData *ptStream, int32_t iChannel, int32_t iStream, CodecList *ptCodecs)
{
    const SnapshotOutcome eOutcome = Configer_LookUp("capability_videoin_codec", ptCodecs->szCodecs, CODEC_LIST_SIZE);
    if (eOutcome != SNAPSHOT_READ)
        syslog(LOG_CRIT, "[%s] capability_videoin_codec fail", "Create_QuorvexXMLFile_DataStructure");
    if (eOutcome == SNAPSHOT_NOT_LOOKED)
        return -1;
    for (const auto &tCodec : g_tGopCodec) {
        int32_t *piGOP = &(ptStream->*tCodec.piGOP);
        if (strstr(ptCodecs->szCodecs, tCodec.szName) == nullptr)
            *piGOP = GOP_NOT_OFFERED;
        else if (Take_Number(Get_VideoGOP_from_QuorvexXML(iChannel, iStream, tCodec.szName), piGOP) != 0)
            return -1;
    }
    return 0;
}

static int Fill_Channel(XMLFileChannelData *ptChannel, int32_t iChannel, CodecList *ptCodecs)
{
    if (Take_Number(Get_VideoContrast_from_QuorvexXML(iChannel), &ptChannel->iContrast) != 0 ||
        Take_Number(Get_VideoBrightness_from_QuorvexXML(iChannel), &ptChannel->iBrightness) != 0 ||
        Take_Number(Get_VideoSaturation_from_QuorvexXML(iChannel), &ptChannel->iSaturation) != 0 ||
        Allocate_Table(&ptChannel->pptStream, g_tFileData.iMediaStreamNum) != 0)
        return -1;
    for (int32_t iStream = 0; iStream < g_tFileData.iMediaStreamNum; ++iStream)
        if (Fill_Stream(ptChannel->pptStream[iStream], iChannel, iStream, ptCodecs) != 0)
            return -1;
    if (Allocate_Table(&ptChannel->pptWindow, g_tFileData.iMotionNum) != 0)
        return -1;
    for (int32_t iWindow = 0; iWindow < g_tFileData.iMotionNum; ++iWindow) {
        XMLFileWindowData *ptWindow = ptChannel->pptWindow[iWindow];
        if (ptWindow == nullptr ||
            Take_Window(Get_MotionROI_Window_from_QuorvexXML(iChannel, iWindow), ptWindow->szWindow) != 0 ||
            Take_Number(Get_MotionROI_Threshold_from_QuorvexXML(iChannel, iWindow), &ptWindow->iThreshold) != 0)
            return -1;
    }
    return 0;
}

/// Reads the three counts. One buffer serves them all: without a number of windows the number of streams stands for it,
/// and a value that fills the four bytes is read with the spare one as its end.
static int Read_Counts()
{
    constexpr size_t COUNT_SIZE = 4;
    char szCount[COUNT_SIZE + 1] = "";
    if (Configer_LookUp("capability_nvideoin", szCount, COUNT_SIZE) != SNAPSHOT_READ)
        return -1;
    g_tFileData.iVideoInNum = Int32_FromText(szCount);
    if (Configer_LookUp("capability_nmediastream", szCount, COUNT_SIZE) != SNAPSHOT_READ)
        return -1;
    g_tFileData.iMediaStreamNum = Int32_FromText(szCount);
    if (Configer_LookUp("capability_nmotion", szCount, COUNT_SIZE) == SNAPSHOT_NOT_LOOKED)
        return -1;
    g_tFileData.iMotionNum = Int32_FromText(szCount);
    // Every file has something of every channel.
    return g_tFileData.iVideoInNum > 0 ? 0 : -1;
}

int Create_QuorvexXMLFile_DataStructure()
{
    if (Read_Counts() != 0 || Allocate_Table(&g_tFileData.pptChannel, g_tFileData.iVideoInNum) != 0)
        return -1;
    CodecList tCodecs = {};
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel)
        if (Fill_Channel(g_tFileData.pptChannel[iChannel], iChannel, &tCodecs) != 0)
            return -1;
    if (Take_Number(Get_NTPInterval_from_QuorvexXML(), &g_tFileData.iNTPInterval) != 0)
        return -1;
    return Take_Number(Get_StorageDeviceNum_from_QuorvexXML(0), &g_tFileData.iStorageDeviceNum);
}

int Release_QuorvexXMLFile_Data()
{
    XMLFileChannelData **pptChannel = g_tFileData.pptChannel;
    for (int32_t iChannel = 0; pptChannel != nullptr && pptChannel[iChannel] != nullptr; ++iChannel) {
        Free_Table(pptChannel[iChannel]->pptStream);
        Free_Table(pptChannel[iChannel]->pptWindow);
    }
    Free_Table(pptChannel);
    g_tFileData.pptChannel = nullptr;
    return 0;
}

/// The text of a file while it is composed.
struct FileText {
    char *pcText;
    size_t uLength;
    size_t uRoom;
    bool bFailed; ///< there was no memory for all of it
};

static constexpr size_t LINE_SIZE = 256; ///< more than any piece that is appended takes

static void Provide_Room(FileText *ptText, size_t uMore)
{
    if (ptText->bFailed || ptText->uRoom - ptText->uLength >= uMore)
        return;
    const size_t uRoom = ptText->uLength * 2 + uMore;
    char *pcText = static_cast<char *>(realloc(ptText->pcText, uRoom));
    ptText->bFailed = pcText == nullptr;
    if (ptText->bFailed)
        return;
    ptText->pcText = pcText;
    ptText->uRoom = uRoom;
}

__attribute__((format(printf, 2, 3))) static void Append(FileText *ptText, const char *pszFormat, ...)
{
    Provide_Room(ptText, LINE_SIZE);
    if (ptText->bFailed)
        return;
    va_list tArguments;
    va_start(tArguments, pszFormat);
    const int iLength = vsnprintf(ptText->pcText + ptText->uLength, LINE_SIZE, pszFormat, tArguments);
    va_end(tArguments);
    ptText->bFailed = iLength < 0 || static_cast<size_t>(iLength) >= LINE_SIZE;
    ptText->uLength += ptText->bFailed ? 0 : static_cast<size_t>(iLength);
}

/// Appends line feeds up to a length. Behind the last tag they harm no reader.
static void Append_LineFeeds(FileText *ptText, size_t uLength)
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
static int Read_Content(int iFile, FileText *ptText)
{
    struct stat tStatus = {};
    if (fstat(iFile, &tStatus) != 0 || !S_ISREG(tStatus.st_mode) || tStatus.st_size > FILE_SIZE_MAX)
        return -1;
    const size_t uSize = static_cast<size_t>(tStatus.st_size);
    Append_LineFeeds(ptText, uSize);
    return !ptText->bFailed && pread(iFile, ptText->pcText, uSize, 0) == static_cast<ssize_t>(uSize) ? 0 : -1;
}

static bool Write_At(int iFile, const FileText *ptText, size_t uFrom)
{
    const size_t uCount = ptText->uLength - uFrom;
    return pwrite(iFile, ptText->pcText + uFrom, uCount, static_cast<off_t>(uFrom)) == static_cast<ssize_t>(uCount);
}

/// Puts a new text in the place of the old one, so that a reader finds one of them whole whenever this process is
/// killed or the disk runs full: room is made first, then one write covers both texts, and the file is cut last.
static int Replace_Content(int iFile, FileText *ptNew, FileText *ptOld)
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

/// Rewrites a file, or creates it. It keeps its owner, mode and links.
static int Write_Text(const char *pszPath, const char *pszWriter, FileText *ptText)
{
    const int iFile = open(pszPath, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (iFile < 0) {
        syslog(LOG_INFO, "QuorvexXMLParser: fopen error in %s\n", pszWriter);
        return -1;
    }
    // A web server ends its program with a signal when a client hangs up.
    sigset_t tAll;
    sigset_t tBefore;
    sigfillset(&tAll);
    sigprocmask(SIG_BLOCK, &tAll, &tBefore);
    FileText tOld = {};
    const int iResult = Read_Content(iFile, &tOld) == 0 ? Replace_Content(iFile, ptText, &tOld) : -1;
    sigprocmask(SIG_SETMASK, &tBefore, nullptr);
    free(tOld.pcText);
    close(iFile);
    return iResult;
}

/// The frame that all three files share; pfnContent appends what lies between.
static int Write_File(SideFile eFile, const char *pszWriter, void (*pfnContent)(FileText *ptText))
{
    FileText tText = {};
    Append(&tText, "<root>\n\t<quorvex>\n");
    pfnContent(&tText);
    Append(&tText, "\t</quorvex>\n</root>\n");
    const int iResult = tText.bFailed ? -1 : Write_Text(g_tSideFilePath[eFile], pszWriter, &tText);
    free(tText.pcText);
    return iResult;
}

static void Compose_Stream(FileText *ptText, const XMLFileStreamData *ptStream, int32_t iStream)
{
    Append(ptText, "\t\t\t\t<s%d>\n", iStream);
    for (const auto &tCodec : g_tGopCodec) {
        const int32_t iGOP = ptStream->*tCodec.piGOP;
        if (iGOP != GOP_NOT_OFFERED)
            Append(ptText, "\t\t\t\t\t<%s>\n\t\t\t\t\t\t<gop>%d</gop>\n\t\t\t\t\t</%s>\n", tCodec.szName, iGOP,
                   tCodec.szName);
    }
    Append(ptText, "\t\t\t\t</s%d>\n", iStream);
}

static void Compose_Video(FileText *ptText)
{
    Append(ptText, "\t\t<image>\n");
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel) {
        const XMLFileChannelData *ptChannel = g_tFileData.pptChannel[iChannel];
        Append(ptText, "\t\t\t<c%d>\n", iChannel);
        Append(ptText, "\t\t\t\t<contrast>%d</contrast>\n", ptChannel->iContrast);
        Append(ptText, "\t\t\t\t<brightness>%d</brightness>\n", ptChannel->iBrightness);
        Append(ptText, "\t\t\t\t<saturation>%d</saturation>\n", ptChannel->iSaturation);
        for (int32_t iStream = 0; iStream < g_tFileData.iMediaStreamNum; ++iStream)
            Compose_Stream(ptText, ptChannel->pptStream[iStream], iStream);
        Append(ptText, "\t\t\t</c%d>\n", iChannel);
    }
    Append(ptText, "\t\t</image>\n");
}

static void Compose_Motion(FileText *ptText)
{
    Append(ptText, "\t\t<motion>\n");
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel) {
        Append(ptText, "\t\t\t<c%d>\n", iChannel);
        for (int32_t iWindow = 0; iWindow < g_tFileData.iMotionNum; ++iWindow) {
            const XMLFileWindowData *ptWindow = g_tFileData.pptChannel[iChannel]->pptWindow[iWindow];
            Append(ptText, "\t\t\t\t<i%d>\n", iWindow);
            Append(ptText, "\t\t\t\t\t<window>%s</window>\n", ptWindow->szWindow);
            Append(ptText, "\t\t\t\t\t<threshold>%d</threshold>\n", ptWindow->iThreshold);
            Append(ptText, "\t\t\t\t</i%d>\n", iWindow);
        }
        Append(ptText, "\t\t\t</c%d>\n", iChannel);
    }
    Append(ptText, "\t\t</motion>\n");
}

static void Compose_System(FileText *ptText)
{
    Append(ptText, "\t\t<ntpinterval>%d</ntpinterval>\n\t\t<storage>\n", g_tFileData.iNTPInterval);
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel)
        Append(ptText, "\t\t\t<c%d>\n\t\t\t\t<devicenum>%d</devicenum>\n\t\t\t</c%d>\n", iChannel,
               g_tFileData.iStorageDeviceNum, iChannel);
    Append(ptText, "\t\t</storage>\n");
}

/// Whether the Video file has streams, which an image without any would drop.
static bool Has_Streams()
{
    SXMLParserContext *ptParser = Open_SideFile(VIDEO_FILE);
    bool bFound = false;
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum && !bFound; ++iChannel)
        bFound = SXMLParser_GetElementByTag(ptParser, "root", "quorvex", "image", Make_Tag('c', iChannel).szTag, "s0",
                                            static_cast<char *>(nullptr)) != nullptr;
    Close_SideFile(VIDEO_FILE, ptParser);
    return bFound;
}

int Write_QuorvexVideoConfigFile()
{
    if (g_tFileData.iMediaStreamNum < 1 && Has_Streams())
        return -1;
    return Write_File(VIDEO_FILE, __func__, Compose_Video);
}

int Write_QuorvexMotionConfigFile() { return Write_File(MOTION_FILE, __func__, Compose_Motion); }
int Write_QuorvexSystemConfigFile() { return Write_File(SYSTEM_FILE, __func__, Compose_System); }

static XMLFileChannelData *Find_Channel(int32_t iChannel)
{
    return iChannel >= 0 && iChannel < g_tFileData.iVideoInNum ? g_tFileData.pptChannel[iChannel] : nullptr;
}

static XMLFileWindowData *Find_Window(int32_t iChannel, int32_t iWindow)
{
    const XMLFileChannelData *ptChannel = Find_Channel(iChannel);
    return ptChannel != nullptr && iWindow >= 0 && iWindow < g_tFileData.iMotionNum ? ptChannel->pptWindow[iWindow]
                                                                                    : nullptr;
}

static int32_t *Find_GOP(int32_t iChannel, int32_t iStream, int32_t XMLFileStreamData::*piGOP)
{
    const XMLFileChannelData *ptChannel = Find_Channel(iChannel);
    if (ptChannel == nullptr || iStream < 0 || iStream >= g_tFileData.iMediaStreamNum)
        return nullptr;
    return &(ptChannel->pptStream[iStream]->*piGOP);
}

/// Rebuilds the image, lets tChange change it (false: there is no such place) and writes one file. An image that could
/// not be rebuilt is never written: it would wipe what the file holds for the others.
template <typename TChange> static int Change_File(int (*pfnWrite)(), TChange tChange)
{
    int iResult = -1;
    const int iLock = Lock_Files(LOCK_EX);
    g_bInSetter = true;
    if (Create_QuorvexXMLFile_DataStructure() == 0 && tChange())
        iResult = pfnWrite();
    g_bInSetter = false;
    for (SXMLParserContext *&ptTree : g_aptSetterTree)
        Release_QuorvexXMLParser(&ptTree);
    Unlock_Files(iLock);
    Release_QuorvexXMLFile_Data();
    return iResult;
}

static bool Put(int32_t *piField, int32_t iValue)
{
    if (piField != nullptr)
        *piField = iValue;
    return piField != nullptr;
}

static int Change_Channel(int32_t iChannel, int32_t XMLFileChannelData::*piField, int32_t iValue)
{
    return Change_File(Write_QuorvexVideoConfigFile, [=] {
        XMLFileChannelData *ptChannel = Find_Channel(iChannel);
        return Put(ptChannel != nullptr ? &(ptChannel->*piField) : nullptr, iValue);
    });
}

int Set_VideoContrast_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue)
{
    return Change_Channel(iChannel, &XMLFileChannelData::iContrast, iValue);
}

int Set_VideoBrightness_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue)
{
    return Change_Channel(iChannel, &XMLFileChannelData::iBrightness, iValue);
}

int Set_VideoSaturation_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue)
{
    return Change_Channel(iChannel, &XMLFileChannelData::iSaturation, iValue);
}

int Set_VideoGOP_to_QuorvexXMLFile(int32_t iChannel, int32_t iStream, const char *pszCodec, int32_t iValue)
{
    char szCodec[CODEC_TAG_SIZE];
    Copy_Text(szCodec, sizeof szCodec, pszCodec);
    int32_t XMLFileStreamData::*piGOP = nullptr;
    for (const auto &tCodec : g_tGopCodec)
        if (strcmp(szCodec, tCodec.szName) == 0)
            piGOP = tCodec.piGOP;
    const int iResult = Change_File(Write_QuorvexVideoConfigFile, [=] {
        return piGOP != nullptr && Put(Find_GOP(iChannel, iStream, piGOP), iValue);
    });
    // Also when the image could not be rebuilt.
    if (piGOP == nullptr)
        syslog(LOG_INFO, "QuorvexXML: %s: Error Unknow codec: %s", __func__, szCodec);
    return iResult;
}

int Set_MotionROI_Window_to_QuorvexXMLFile(int32_t iChannel, int32_t iWindow, const char *pszWindow)
{
    // A "<" would end the text for the next reader, and every later setter would fail on the file.
    const size_t uLength = strlen(pszWindow);
    if (uLength >= WINDOW_TEXT_SIZE || strchr(pszWindow, '<') != nullptr)
        return -1;
    return Change_File(Write_QuorvexMotionConfigFile, [=] {
        XMLFileWindowData *ptWindow = Find_Window(iChannel, iWindow);
        if (ptWindow != nullptr)
            memcpy(ptWindow->szWindow, pszWindow, uLength + 1);
        return ptWindow != nullptr;
    });
}

int Set_MotionROI_Threshold_to_QuorvexXMLFile(int32_t iChannel, int32_t iWindow, int32_t iValue)
{
    return Change_File(Write_QuorvexMotionConfigFile, [=] {
        XMLFileWindowData *ptWindow = Find_Window(iChannel, iWindow);
        return Put(ptWindow != nullptr ? &ptWindow->iThreshold : nullptr, iValue);
    });
}

int Set_NTPInterval_from_QuorvexXML(int32_t iValue)
{
    return Change_File(Write_QuorvexSystemConfigFile, [=] { return Put(&g_tFileData.iNTPInterval, iValue); });
}

int Set_StorageDeviceNum_from_QuorvexXML(int32_t iValue)
{
    return Change_File(Write_QuorvexSystemConfigFile, [=] { return Put(&g_tFileData.iStorageDeviceNum, iValue); });
}
