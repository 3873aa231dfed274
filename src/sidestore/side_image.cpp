#include "sidestore/side_image.h"

#include "common/int32.h"
#include "common/string_util.h"
#include "conflib/snapshot.h"
#include "conflib/xml_file.h"

#include <stdlib.h>
#include <string.h>
#include <syslog.h>

static constexpr int32_t GOP_NOT_OFFERED = -1;
static constexpr size_t CODEC_LIST_SIZE = 64;

/// By codec, as in GOP_CODECS.
static constexpr int32_t XMLFileStreamData::*GOP_FIELDS[] = {
    &XMLFileStreamData::iMpeg4GOP, &XMLFileStreamData::iH264GOP, &XMLFileStreamData::iH265GOP};
static constexpr size_t GOP_COUNT = sizeof GOP_CODECS / sizeof GOP_CODECS[0];
static_assert(GOP_COUNT == sizeof GOP_FIELDS / sizeof GOP_FIELDS[0], "every codec has a field");

static QuorvexXMLFileDataPointer g_tFileData;

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

/// Keys of the shape that the camera does not have at all: what depends on them is not known to be gone.
static bool g_bCodecsAbsent;
static bool g_bWindowCountAbsent;

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
    const SnapshotOutcome eOutcome = Configer_LookUp("capability_nmotion", szCount, COUNT_SIZE);
    if (eOutcome == SNAPSHOT_UNAVAILABLE)
        return -1;
    g_bWindowCountAbsent = eOutcome == SNAPSHOT_NO_SUCH_KEY;
    g_tFileData.iMotionNum = Int32_FromText(szCount);
    // Every file has something of every channel. Their names have two digits, so none has more streams than this.
    constexpr int32_t STREAM_MAX = 100 * 100;
    return g_tFileData.iVideoInNum > 0 && g_tFileData.iMediaStreamNum <= STREAM_MAX / g_tFileData.iVideoInNum ? 0 : -1;
}

/// Marks the codecs that a stream has no GOP of. The list of codecs is read again for every stream; one that cannot be
/// read is what it was before, and one that does not fit counts as far as it does.
static int Read_StreamShape(XMLFileStreamData *ptStream, char (&szCodecs)[CODEC_LIST_SIZE + 1])
{
    const SnapshotOutcome eOutcome = Configer_LookUp("capability_videoin_codec", szCodecs, CODEC_LIST_SIZE);
    if (eOutcome != SNAPSHOT_READ)
        syslog(LOG_CRIT, "[%s] capability_videoin_codec fail", "Create_QuorvexXMLFile_DataStructure");
    g_bCodecsAbsent = g_bCodecsAbsent || eOutcome == SNAPSHOT_NO_SUCH_KEY;
    for (size_t uCodec = 0; uCodec < GOP_COUNT; ++uCodec)
        if (strstr(szCodecs, GOP_CODECS[uCodec]) == nullptr)
            ptStream->*GOP_FIELDS[uCodec] = GOP_NOT_OFFERED;
    return eOutcome != SNAPSHOT_UNAVAILABLE ? 0 : -1;
}

int Read_ImageShape()
{
    if (Read_Counts() != 0 || Allocate_Table(&g_tFileData.pptChannel, g_tFileData.iVideoInNum) != 0)
        return -1;
    g_bCodecsAbsent = false;
    char szCodecs[CODEC_LIST_SIZE + 1] = "";
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel) {
        XMLFileChannelData *ptChannel = g_tFileData.pptChannel[iChannel];
        if (Allocate_Table(&ptChannel->pptStream, g_tFileData.iMediaStreamNum) != 0)
            return -1;
        for (int32_t iStream = 0; iStream < g_tFileData.iMediaStreamNum; ++iStream)
            if (Read_StreamShape(ptChannel->pptStream[iStream], szCodecs) != 0)
                return -1;
    }
    return 0;
}

static XMLFileChannelData *Find_Channel(int32_t iChannel)
{
    return iChannel >= 0 && iChannel < g_tFileData.iVideoInNum ? g_tFileData.pptChannel[iChannel] : nullptr;
}

static XMLFileWindowData *Find_Window(const SidePlace &tPlace)
{
    const XMLFileChannelData *ptChannel = Find_Channel(tPlace.iChannel);
    return ptChannel != nullptr && tPlace.iIndex >= 0 && tPlace.iIndex < g_tFileData.iMotionNum
               ? ptChannel->pptWindow[tPlace.iIndex]
               : nullptr;
}

static int32_t *Find_GOP(const SidePlace &tPlace)
{
    const XMLFileChannelData *ptChannel = Find_Channel(tPlace.iChannel);
    if (ptChannel == nullptr || tPlace.iIndex < 0 || tPlace.iIndex >= g_tFileData.iMediaStreamNum)
        return nullptr;
    for (size_t uCodec = 0; uCodec < GOP_COUNT; ++uCodec)
        if (strcmp(tPlace.pszCodec, GOP_CODECS[uCodec]) == 0)
            return &(ptChannel->pptStream[tPlace.iIndex]->*GOP_FIELDS[uCodec]);
    return nullptr;
}

/// Where the image holds a number, or null.
static int32_t *Find_Number(const SidePlace &tPlace)
{
    XMLFileChannelData *ptChannel = Find_Channel(tPlace.iChannel);
    XMLFileWindowData *ptWindow = nullptr;
    switch (tPlace.eValue) {
    case SIDE_CONTRAST:
        return ptChannel != nullptr ? &ptChannel->iContrast : nullptr;
    case SIDE_BRIGHTNESS:
        return ptChannel != nullptr ? &ptChannel->iBrightness : nullptr;
    case SIDE_SATURATION:
        return ptChannel != nullptr ? &ptChannel->iSaturation : nullptr;
    case SIDE_GOP:
        return Find_GOP(tPlace);
    case SIDE_THRESHOLD:
        ptWindow = Find_Window(tPlace);
        return ptWindow != nullptr ? &ptWindow->iThreshold : nullptr;
    case SIDE_NTP_INTERVAL:
        return &g_tFileData.iNTPInterval;
    case SIDE_DEVICE_NUM:
        return &g_tFileData.iStorageDeviceNum;
    default:
        return nullptr;
    }
}

bool Is_Storable(const char *pszText)
{
    // A "<" would end the text for the next reader, and every later setter would fail on the file.
    return strlen(pszText) < WINDOW_TEXT_SIZE && strchr(pszText, '<') == nullptr;
}

static int Put_Window(const SidePlace &tPlace, const char *pszText)
{
    XMLFileWindowData *ptWindow = Find_Window(tPlace);
    if (ptWindow == nullptr)
        return -1;
    const size_t uLength = Copy_Text(ptWindow->szWindow, sizeof ptWindow->szWindow, pszText);
    return uLength < sizeof ptWindow->szWindow ? 0 : -1;
}

int Put_InImage(const SidePlace &tPlace, const char *pszText)
{
    if (tPlace.eValue == SIDE_WINDOW)
        return Put_Window(tPlace, pszText);
    int32_t *piNumber = Find_Number(tPlace);
    if (piNumber == nullptr)
        return -1;
    *piNumber = Int32_FromText(pszText);
    return 0;
}

/// Puts what a file holds at a place into the image.
static int Fill_Place(const SidePlace &tPlace)
{
    const SideFile eFile = Get_SideFile(tPlace);
    SXMLParserContext *ptParser = Open_SideFile(eFile);
    const char *pszText = Find_SideText(ptParser, tPlace);
    const int iResult = pszText != nullptr ? Put_InImage(tPlace, pszText) : -1;
    Close_SideFile(eFile, ptParser);
    return iResult;
}

static int Fill_Stream(const XMLFileStreamData *ptStream, int32_t iChannel, int32_t iStream)
{
    for (size_t uCodec = 0; uCodec < GOP_COUNT; ++uCodec)
        if (ptStream->*GOP_FIELDS[uCodec] != GOP_NOT_OFFERED &&
            Fill_Place({SIDE_GOP, iChannel, iStream, GOP_CODECS[uCodec]}) != 0)
            return -1;
    return 0;
}

static int Fill_Channel(XMLFileChannelData *ptChannel, int32_t iChannel)
{
    if (Fill_Place({SIDE_CONTRAST, iChannel}) != 0 || Fill_Place({SIDE_BRIGHTNESS, iChannel}) != 0 ||
        Fill_Place({SIDE_SATURATION, iChannel}) != 0)
        return -1;
    for (int32_t iStream = 0; iStream < g_tFileData.iMediaStreamNum; ++iStream)
        if (Fill_Stream(ptChannel->pptStream[iStream], iChannel, iStream) != 0)
            return -1;
    if (Allocate_Table(&ptChannel->pptWindow, g_tFileData.iMotionNum) != 0)
        return -1;
    for (int32_t iWindow = 0; iWindow < g_tFileData.iMotionNum; ++iWindow)
        if (Fill_Place({SIDE_WINDOW, iChannel, iWindow}) != 0 || Fill_Place({SIDE_THRESHOLD, iChannel, iWindow}) != 0)
            return -1;
    return 0;
}

int Fill_Image()
{
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel)
        if (Fill_Channel(g_tFileData.pptChannel[iChannel], iChannel) != 0)
            return -1;
    return Fill_Place({SIDE_NTP_INTERVAL}) != 0 ? -1 : Fill_Place({SIDE_DEVICE_NUM});
}

int Create_QuorvexXMLFile_DataStructure() { return Read_ImageShape() == 0 ? Fill_Image() : -1; }

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

/// The name of an element that is counted; unlike IndexTag it has room for every number.
struct CountedName {
    char szName[1 + sizeof NumberText::szText];
};

static CountedName Make_Name(char cLetter, int32_t iIndex)
{
    CountedName tName;
    tName.szName[0] = cLetter;
    memcpy(tName.szName + 1, Int32_ToText(iIndex).szText, sizeof NumberText::szText);
    return tName;
}

static void Append_Number(SideText *ptText, const char *pszName, int32_t iNumber)
{
    Append_SideElement(ptText, pszName, Int32_ToText(iNumber).szText);
}

static void Compose_Stream(SideText *ptText, const XMLFileStreamData *ptStream, int32_t iStream)
{
    const CountedName tStream = Make_Name('s', iStream);
    Open_SideElement(ptText, tStream.szName);
    for (size_t uCodec = 0; uCodec < GOP_COUNT; ++uCodec) {
        const int32_t iGOP = ptStream->*GOP_FIELDS[uCodec];
        if (iGOP == GOP_NOT_OFFERED)
            continue;
        Open_SideElement(ptText, GOP_CODECS[uCodec]);
        Append_Number(ptText, "gop", iGOP);
        Close_SideElement(ptText, GOP_CODECS[uCodec]);
    }
    Close_SideElement(ptText, tStream.szName);
}

static void Compose_Image(SideText *ptText, const XMLFileChannelData *ptChannel)
{
    Append_Number(ptText, "contrast", ptChannel->iContrast);
    Append_Number(ptText, "brightness", ptChannel->iBrightness);
    Append_Number(ptText, "saturation", ptChannel->iSaturation);
    for (int32_t iStream = 0; iStream < g_tFileData.iMediaStreamNum; ++iStream)
        Compose_Stream(ptText, ptChannel->pptStream[iStream], iStream);
}

static void Compose_Windows(SideText *ptText, const XMLFileChannelData *ptChannel)
{
    for (int32_t iWindow = 0; iWindow < g_tFileData.iMotionNum; ++iWindow) {
        const CountedName tWindow = Make_Name('i', iWindow);
        Open_SideElement(ptText, tWindow.szName);
        Append_SideElement(ptText, "window", ptChannel->pptWindow[iWindow]->szWindow);
        Append_Number(ptText, "threshold", ptChannel->pptWindow[iWindow]->iThreshold);
        Close_SideElement(ptText, tWindow.szName);
    }
}

static void Compose_Device(SideText *ptText, const XMLFileChannelData * /*ptChannel*/)
{
    Append_Number(ptText, "devicenum", g_tFileData.iStorageDeviceNum);
}

/// The group of a file and what each channel has in it.
struct SideGroup {
    const char *pszName;
    void (*pfnCompose)(SideText *ptText, const XMLFileChannelData *ptChannel);
};

static void Compose_Group(SideText *ptText, const SideGroup &tGroup)
{
    Open_SideElement(ptText, tGroup.pszName);
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum; ++iChannel) {
        const CountedName tChannel = Make_Name('c', iChannel);
        Open_SideElement(ptText, tChannel.szName);
        tGroup.pfnCompose(ptText, g_tFileData.pptChannel[iChannel]);
        Close_SideElement(ptText, tChannel.szName);
    }
    Close_SideElement(ptText, tGroup.pszName);
}

// What would be lost.

/// Whether a stream of the file has a GOP that the image has none of.
static bool Loses_GOP(const SXMLParserContext *ptParser, int32_t iChannel, int32_t iStream)
{
    const XMLFileStreamData *ptStream = g_tFileData.pptChannel[iChannel]->pptStream[iStream];
    for (size_t uCodec = 0; uCodec < GOP_COUNT; ++uCodec)
        if (ptStream->*GOP_FIELDS[uCodec] == GOP_NOT_OFFERED &&
            SXMLParser_GetElementByTag(ptParser, "root", "quorvex", "image", Make_IndexTag('c', iChannel).szTag,
                                       Make_IndexTag('s', iStream).szTag, GOP_CODECS[uCodec],
                                       static_cast<char *>(nullptr)) != nullptr)
            return true;
    return false;
}

/// Whether a channel of the Video file has streams that the image, without any, would drop, or GOPs of codecs that
/// nobody has said to be gone.
static bool Loses_Streams(const SXMLParserContext *ptParser, int32_t iChannel)
{
    if (g_tFileData.iMediaStreamNum < 1)
        return SXMLParser_GetElementByTag(ptParser, "root", "quorvex", "image", Make_IndexTag('c', iChannel).szTag,
                                          "s0", static_cast<char *>(nullptr)) != nullptr;
    for (int32_t iStream = 0; iStream < g_tFileData.iMediaStreamNum; ++iStream)
        if (Loses_GOP(ptParser, iChannel, iStream))
            return true;
    return false;
}

/// Whether a channel of the Motion file has more windows than the image where nobody has said how many there are.
static bool Loses_Windows(const SXMLParserContext *ptParser, int32_t iChannel)
{
    const SXMLElement *ptChannel = SXMLParser_GetElementByTag(
        ptParser, "root", "quorvex", "motion", Make_IndexTag('c', iChannel).szTag, static_cast<char *>(nullptr));
    return ptChannel != nullptr && ptChannel->iChildCount > g_tFileData.iMotionNum;
}

/// Whether the camera announces less of what a file holds than it may have.
static bool Is_ShapeDoubtful(SideFile eFile)
{
    switch (eFile) {
    case VIDEO_FILE:
        return g_bCodecsAbsent || g_tFileData.iMediaStreamNum < 1;
    case MOTION_FILE:
        return g_bWindowCountAbsent;
    default:
        return false;
    }
}

bool Loses_Elements(SideFile eFile)
{
    if (!Is_ShapeDoubtful(eFile))
        return false;
    const auto pfnLoses = eFile == VIDEO_FILE ? Loses_Streams : Loses_Windows;
    SXMLParserContext *ptParser = Open_SideFile(eFile);
    bool bLoses = false;
    for (int32_t iChannel = 0; iChannel < g_tFileData.iVideoInNum && !bLoses; ++iChannel)
        bLoses = pfnLoses(ptParser, iChannel);
    Close_SideFile(eFile, ptParser);
    return bLoses;
}

static int Write_File(SideFile eFile, const char *pszWriter, const SideGroup &tGroup)
{
    if (Loses_Elements(eFile))
        return -1;
    SideText tText = {};
    Open_SideElement(&tText, "root");
    Open_SideElement(&tText, "quorvex");
    if (eFile == SYSTEM_FILE)
        Append_Number(&tText, "ntpinterval", g_tFileData.iNTPInterval);
    Compose_Group(&tText, tGroup);
    Close_SideElement(&tText, "quorvex");
    Close_SideElement(&tText, "root");
    const int iResult = tText.bFailed ? -1 : Replace_SideFile(eFile, pszWriter, &tText);
    free(tText.pcText);
    return iResult;
}

int Write_QuorvexVideoConfigFile() { return Write_File(VIDEO_FILE, __func__, {"image", Compose_Image}); }
int Write_QuorvexMotionConfigFile() { return Write_File(MOTION_FILE, __func__, {"motion", Compose_Windows}); }
int Write_QuorvexSystemConfigFile() { return Write_File(SYSTEM_FILE, __func__, {"storage", Compose_Device}); }

int Write_ImageFile(SideFile eFile)
{
    static constexpr int (*WRITERS[SIDE_FILE_COUNT])() = {Write_QuorvexVideoConfigFile, Write_QuorvexMotionConfigFile,
                                                          Write_QuorvexSystemConfigFile};
    return WRITERS[eFile]();
}
