#include "check.h"
#include "key_table.h"
#include "place.h"
#include "report.h"

#include "conflib/cdf_range.h"
#include "conflib/xml_file.h"
#include "sidestore/side_image.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

static constexpr unsigned long ROOM_NEEDED = 4096; ///< bytes, more than any file grows by one write
static constexpr char SEED_ADVICE[] = "seed the files anew (docs/firmware.md, Seeding the side files)";

/// The text of an element below root and quorvex, or null.
static const char *Get_Text(const SXMLParserContext *ptParser, const char *pszElement)
{
    constexpr int TAG_MAX = 6;
    const char *apszTag[TAG_MAX] = {};
    FilledText tPath;
    snprintf(tPath.szText, sizeof tPath.szText, "%s", pszElement);
    char *pszRest = nullptr;
    int iTag = 0;
    for (char *pszTag = strtok_r(tPath.szText, "/", &pszRest); pszTag != nullptr && iTag < TAG_MAX;
         pszTag = strtok_r(nullptr, "/", &pszRest))
        apszTag[iTag++] = pszTag;
    return SXMLParser_GetTagValueByName(ptParser, "root", "quorvex", apszTag[0], apszTag[1], apszTag[2], apszTag[3],
                                        apszTag[4], apszTag[5], static_cast<char *>(nullptr));
}

/// Looks for one element at one place. Returns whether it is as it should be; only the first bad one of a file is told.
static bool Check_Element(const SXMLParserContext *ptParser, const SideElement *ptElement, const Place &tPlace,
                          bool bTell)
{
    const FilledText tElement = Fill_Key(ptElement->pszElement, tPlace);
    const char *pszText = Get_Text(ptParser, tElement);
    const bool bLong = pszText != nullptr && strlen(pszText) >= WINDOW_TEXT_SIZE;
    if (pszText != nullptr && pszText[0] != '\0' && !bLong)
        return true;
    if (bTell)
        Report_Bad(ptElement->pszFile,
                   "element %s is %s, so %s has no value, every setter fails and no side file changes; %s",
                   tElement.szText,
                   pszText == nullptr ? "missing"
                   : bLong            ? "too long"
                                      : "empty",
                   Fill_Name(ptElement->pszNames, tPlace).szText, SEED_ADVICE);
    return false;
}

/// Looks for one element wherever the camera has it. How many are bad.
static int Check_ElementEverywhere(const SXMLParserContext *ptParser, const SideElement *ptElement,
                                   const CameraShape &tShape, bool bTell)
{
    static constexpr CodecWords NO_CODEC[] = {{"", ""}, {nullptr, nullptr}};
    const bool bStream = strstr(ptElement->pszElement, "{stream}") != nullptr;
    const bool bWindow = strstr(ptElement->pszElement, "{window}") != nullptr;
    const int32_t iFirst = strstr(ptElement->pszElement, "{channel}") != nullptr ? tShape.iChannels : 1;
    const int32_t iSecond = bStream ? tShape.iStreams : bWindow ? tShape.iWindows : 1;
    int iBad = 0;
    for (int32_t i = 0; i < iFirst; ++i) {
        for (int32_t j = 0; j < iSecond; ++j) {
            for (const CodecWords *ptCodec = ptElement->pszCodecs != nullptr ? g_atCodecWords : NO_CODEC;
                 ptCodec->pszCamera != nullptr; ++ptCodec) {
                if (ptElement->pszCodecs != nullptr && (strstr(ptElement->pszCodecs, ptCodec->pszCamera) == nullptr ||
                                                        strstr(tShape.szCodecs, ptCodec->pszCamera) == nullptr))
                    continue;
                Place tPlace = NO_PLACE;
                tPlace.iChannel = i;
                (bStream ? tPlace.iStream : tPlace.iWindow) = j;
                snprintf(tPlace.szCodec, sizeof tPlace.szCodec, "%s", ptCodec->pszCamera);
                if (!Check_Element(ptParser, ptElement, tPlace, bTell && iBad == 0))
                    ++iBad;
            }
        }
    }
    return iBad;
}

/// Whether a file can be opened for writing, which changes nothing.
static bool Check_Writable(const char *pszPath)
{
    const int iFile = open(pszPath, O_RDWR | O_CLOEXEC);
    if (iFile >= 0)
        return close(iFile) == 0;
    Report_Bad(pszPath,
               "this user cannot write to it (%s), so a write is answered and told to configer, but its value "
               "is not kept; let the web server's user write to it",
               strerror(errno));
    return false;
}

/// ptFirst is the first of the file's elements; returns the first of the next file.
static const SideElement *Check_SideFile(const SideElement *ptFirst, const CameraShape &tShape)
{
    const char *pszPath = ptFirst->pszFile;
    SXMLParserContext *ptParser = nullptr;
    const bool bThere = access(pszPath, R_OK) == 0;
    const int iError = errno;
    const int iParsed = Open_XMLFile(pszPath, "camera-check", &ptParser);
    const SideElement *ptElement = ptFirst;
    int iBad = 0;
    for (; ptElement->pszFile == pszPath || (ptElement->pszFile != nullptr && strcmp(ptElement->pszFile, pszPath) == 0);
         ++ptElement)
        if (iParsed == 0 && bThere)
            iBad += Check_ElementEverywhere(ptParser, ptElement, tShape, iBad == 0);
    SXMLParser_Release(&ptParser);
    if (iParsed != 0 || !bThere)
        Report_Bad(pszPath,
                   "%s, so its values are answered by an error, every setter fails and no side file changes; %s",
                   bThere ? "its elements do not nest" : strerror(iError), SEED_ADVICE);
    else if (iBad > 1)
        Report_Bad(pszPath, "%d elements in all are missing, empty or too long", iBad);
    const bool bWritable = !bThere || Check_Writable(pszPath);
    if (bThere && iParsed == 0 && iBad == 0 && bWritable)
        Report_Good(pszPath, "has an element for everything that the camera announces, and can be written");
    return ptElement;
}

static void Check_Folder(const char *pszFile)
{
    char szFolder[64];
    snprintf(szFolder, sizeof szFolder, "%.*s", static_cast<int>(strrchr(pszFile, '/') - pszFile), pszFile);
    const int iFolder = open(szFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    struct statvfs tStatus = {};
    if (iFolder < 0 || fstatvfs(iFolder, &tStatus) != 0) {
        Report_Bad(szFolder, "%s; make it, and let the web server's user enter and read it", strerror(errno));
        return;
    }
    const unsigned long long dwRoom = static_cast<unsigned long long>(tStatus.f_bavail) * tStatus.f_frsize;
    if (flock(iFolder, LOCK_SH | LOCK_NB) != 0)
        Report_Bad(szFolder,
                   "somebody holds the lock on it, for which each request waits up to 10 seconds; look again, "
                   "and end who holds it (/proc/locks)");
    else if (dwRoom < ROOM_NEEDED)
        Report_Bad(szFolder, "%llu bytes are left, so a value that grows is not kept; make room", dwRoom);
    else
        Report_Good(szFolder, "%llu bytes are left", dwRoom);
    close(iFolder);
}

static void Check_Ranges(const CameraShape &tShape)
{
    int iLooked = 0;
    int iBad = 0;
    for (int32_t iChannel = 0; iChannel < tShape.iChannels; ++iChannel) {
        for (int32_t iStream = 0; iStream < tShape.iStreams; ++iStream) {
            Place tPlace = NO_PLACE;
            Enter_Stream(&tPlace, iChannel, iStream, tShape.iStreams);
            if (tPlace.iRank > 0 || tPlace.szCodec[0] == '\0')
                continue;
            QuorvexFloatRange tRange = {};
            const bool bRange = Get_Range_FromCDF(tPlace.szCodec, &tRange, iChannel) == 0;
            ++iLooked;
            if (bRange && tRange.fUpper > 0 && tRange.fLower <= tRange.fUpper)
                continue;
            ++iBad;
            Report_Bad(g_szCapabilityFile,
                       "root/videoin/c%d/s0/%s/bitrate/check %s, so %s %s; give it a range, as in "
                       "string,\"20000~40000000\"",
                       iChannel, tPlace.szCodec, bRange ? "is no range of bit rates" : "is missing or no range",
                       Fill_Name("VideoInput.{channel}.{codec}.{stream}.Capabilities.MinBitrate and MaxBitrate", tPlace)
                           .szText,
                       bRange ? "answer what a platform cannot use" : "answer 4 and 8000");
        }
    }
    if (iBad == 0)
        Report_Good(g_szCapabilityFile, "%d ranges of bit rates", iLooked);
}

void Check_Files()
{
    const CameraShape tShape = Read_Shape();
    Check_Folder(g_atSideElement->pszFile);
    for (const SideElement *ptElement = g_atSideElement; ptElement->pszFile != nullptr;)
        ptElement = Check_SideFile(ptElement, tShape);
    Check_Ranges(tShape);
}
