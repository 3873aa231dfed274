#include "sidestore/quorvex_xml_parser.h"

#include "common/int32.h"
#include "common/log_identity.h"
#include "conflib/snapshot.h"
#include "conflib/xml_file.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <syslog.h>
#include <unistd.h>

static constexpr char FILE_FOLDER[] = "/etc/conf.d";
static constexpr char VIDEO_FILE[] = "/etc/conf.d/config_quorvexVideo.xml";
static constexpr char MOTION_FILE[] = "/etc/conf.d/config_quorvexMotion.xml";
static constexpr char SYSTEM_FILE[] = "/etc/conf.d/config_quorvexSystem.xml";
static constexpr int LOCK_PATIENCE_MILLISECONDS = 12000;
static constexpr int LOCK_IMPATIENCE_MILLISECONDS = 200;
static constexpr int32_t GOP_NOT_OFFERED = -1;
static constexpr size_t CODEC_TAG_SIZE = 10;

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

/// Set while a setter runs: it holds the lock from rebuild to close, and the readers that it calls must not wait for
/// it.
static bool g_bInSetter = false;

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

/// Reads the text at root, quorvex and up to five tags more; unused ones are NULL.
static char *Read_Text(const char *pszFile, const char *pszReader, const char *psz1, const char *psz2 = nullptr,
                       const char *psz3 = nullptr, const char *psz4 = nullptr, const char *psz5 = nullptr)
{
    // A file that cannot be parsed is logged and then has no elements.
    SXMLParserContext *ptParser = nullptr;
    const int iLock = g_bInSetter ? -1 : Lock_Files(LOCK_SH);
    Init_QuorvexXMLParser(pszFile, &ptParser);
    Unlock_Files(iLock);
    const char *pszText = SXMLParser_GetTagValueByName(ptParser, "root", "quorvex", psz1, psz2, psz3, psz4, psz5,
                                                       static_cast<char *>(nullptr));
    char *pszCopy = pszText != nullptr ? strdup(pszText) : nullptr;
    if (pszCopy == nullptr)
        syslog(LOG_CRIT, "%s: %s fail", LOG_IDENTITY, pszReader);
    Release_QuorvexXMLParser(&ptParser);
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
    snprintf(szCodec, sizeof szCodec, "%s", pszCodec);
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

static int Fill_Stream(XMLFileStreamData *ptStream, int32_t iChannel, int32_t iStream, char (&szCodecs)[64])
{
    if (Configer_GetParamValueByXPath("capability_videoin_codec", szCodecs, sizeof szCodecs) != 0) {
        szCodecs[sizeof szCodecs - 1] = '\0';
        syslog(LOG_CRIT, "[%s] capability_videoin_codec fail", "Create_QuorvexXMLFile_DataStructure");
    }
    for (const auto &tCodec : g_tGopCodec) {
        int32_t *piGOP = &(ptStream->*tCodec.piGOP);
        if (strstr(szCodecs, tCodec.szName) == nullptr)
            *piGOP = GOP_NOT_OFFERED;
        else if (Take_Number(Get_VideoGOP_from_QuorvexXML(iChannel, iStream, tCodec.szName), piGOP) != 0)
            return -1;
    }
    return 0;
}

static int Fill_Channel(XMLFileChannelData *ptChannel, int32_t iChannel, char (&szCodecs)[64])
{
    if (Take_Number(Get_VideoContrast_from_QuorvexXML(iChannel), &ptChannel->iContrast) != 0 ||
        Take_Number(Get_VideoBrightness_from_QuorvexXML(iChannel), &ptChannel->iBrightness) != 0 ||
        Take_Number(Get_VideoSaturation_from_QuorvexXML(iChannel), &ptChannel->iSaturation) != 0 ||
        Allocate_Table(&ptChannel->pptStream, g_tFileData.iMediaStreamNum) != 0)
        return -1;
    for (int32_t iStream = 0; iStream < g_tFileData.iMediaStreamNum; ++iStream)
        if (Fill_Stream(ptChannel->pptStream[iStream], iChannel, iStream, szCodecs) != 0)
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
    if (Configer_GetParamValueByXPath("capability_nvideoin", szCount, COUNT_SIZE) != 0)
        return -1;
    g_tFileData.iVideoInNum = Int32_FromText(szCount);
    if (Configer_GetParamValueByXPath("capability_nmediastream", szCount, COUNT_SIZE) != 0)
        return -1;
    g_tFileData.iMediaStreamNum = Int32_FromText(szCount);
    Configer_GetParamValueByXPath("capability_nmotion", szCount, COUNT_SIZE);
    g_tFileData.iMotionNum = Int32_FromText(szCount);
    // No camera is without channels or streams; files shaped by such counts would lose what they hold.
    return g_tFileData.iVideoInNum > 0 && g_tFileData.iMediaStreamNum > 0 ? 0 : -1;
}

int Create_QuorvexXMLFile_DataStructure()
{
    if (Read_Counts() != 0 || Allocate_Table(&g_tFileData.pptChannel, g_tFileData.iVideoInNum) != 0)
        return -1;
    char szCodecs[64] = "";
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel)
        if (Fill_Channel(g_tFileData.pptChannel[iChannel], iChannel, szCodecs) != 0)
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

/// The frame that all three files share; pfnContent writes what lies between.
static int Write_File(const char *pszPath, const char *pszWriter, void (*pfnContent)(FILE *ptFile))
{
    FILE *ptFile = fopen(pszPath, "w+");
    if (ptFile == nullptr) {
        syslog(LOG_INFO, "QuorvexXMLParser: fopen error in %s\n", pszWriter);
        return -1;
    }
    fprintf(ptFile, "<root>\n\t<quorvex>\n");
    pfnContent(ptFile);
    fprintf(ptFile, "\t</quorvex>\n</root>\n");
    fclose(ptFile);
    return 0;
}

static void Write_Stream(FILE *ptFile, const XMLFileStreamData *ptStream, int32_t iStream)
{
    fprintf(ptFile, "\t\t\t\t<s%d>\n", iStream);
    for (const auto &tCodec : g_tGopCodec) {
        const int32_t iGOP = ptStream->*tCodec.piGOP;
        if (iGOP != GOP_NOT_OFFERED)
            fprintf(ptFile, "\t\t\t\t\t<%s>\n\t\t\t\t\t\t<gop>%d</gop>\n\t\t\t\t\t</%s>\n", tCodec.szName, iGOP,
                    tCodec.szName);
    }
    fprintf(ptFile, "\t\t\t\t</s%d>\n", iStream);
}

static void Write_Video(FILE *ptFile)
{
    fprintf(ptFile, "\t\t<image>\n");
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel) {
        const XMLFileChannelData *ptChannel = g_tFileData.pptChannel[iChannel];
        fprintf(ptFile, "\t\t\t<c%d>\n", iChannel);
        fprintf(ptFile, "\t\t\t\t<contrast>%d</contrast>\n", ptChannel->iContrast);
        fprintf(ptFile, "\t\t\t\t<brightness>%d</brightness>\n", ptChannel->iBrightness);
        fprintf(ptFile, "\t\t\t\t<saturation>%d</saturation>\n", ptChannel->iSaturation);
        for (int32_t iStream = 0; iStream < g_tFileData.iMediaStreamNum; ++iStream)
            Write_Stream(ptFile, ptChannel->pptStream[iStream], iStream);
        fprintf(ptFile, "\t\t\t</c%d>\n", iChannel);
    }
    fprintf(ptFile, "\t\t</image>\n");
}

static void Write_Motion(FILE *ptFile)
{
    fprintf(ptFile, "\t\t<motion>\n");
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel) {
        fprintf(ptFile, "\t\t\t<c%d>\n", iChannel);
        for (int32_t iWindow = 0; iWindow < g_tFileData.iMotionNum; ++iWindow) {
            const XMLFileWindowData *ptWindow = g_tFileData.pptChannel[iChannel]->pptWindow[iWindow];
            fprintf(ptFile, "\t\t\t\t<i%d>\n", iWindow);
            fprintf(ptFile, "\t\t\t\t\t<window>%s</window>\n", ptWindow->szWindow);
            fprintf(ptFile, "\t\t\t\t\t<threshold>%d</threshold>\n", ptWindow->iThreshold);
            fprintf(ptFile, "\t\t\t\t</i%d>\n", iWindow);
        }
        fprintf(ptFile, "\t\t\t</c%d>\n", iChannel);
    }
    fprintf(ptFile, "\t\t</motion>\n");
}

static void Write_System(FILE *ptFile)
{
    fprintf(ptFile, "\t\t<ntpinterval>%d</ntpinterval>\n\t\t<storage>\n", g_tFileData.iNTPInterval);
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel)
        fprintf(ptFile, "\t\t\t<c%d>\n\t\t\t\t<devicenum>%d</devicenum>\n\t\t\t</c%d>\n", iChannel,
                g_tFileData.iStorageDeviceNum, iChannel);
    fprintf(ptFile, "\t\t</storage>\n");
}

int Write_QuorvexVideoConfigFile() { return Write_File(VIDEO_FILE, __func__, Write_Video); }
int Write_QuorvexMotionConfigFile() { return Write_File(MOTION_FILE, __func__, Write_Motion); }
int Write_QuorvexSystemConfigFile() { return Write_File(SYSTEM_FILE, __func__, Write_System); }

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

static int32_t *Find_GOP(int32_t iChannel, int32_t iStream, const char *pszCodec)
{
    for (const auto &tCodec : g_tGopCodec) {
        if (strcmp(pszCodec, tCodec.szName) != 0)
            continue;
        const XMLFileChannelData *ptChannel = Find_Channel(iChannel);
        if (ptChannel == nullptr || iStream < 0 || iStream >= g_tFileData.iMediaStreamNum)
            return nullptr;
        return &(ptChannel->pptStream[iStream]->*tCodec.piGOP);
    }
    syslog(LOG_INFO, "QuorvexXML: %s: Error Unknow codec: %s", "Set_VideoGOP_to_QuorvexXMLFile", pszCodec);
    return nullptr;
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
    snprintf(szCodec, sizeof szCodec, "%s", pszCodec);
    return Change_File(Write_QuorvexVideoConfigFile, [&] { return Put(Find_GOP(iChannel, iStream, szCodec), iValue); });
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
