#include "check.h"
#include "key_table.h"
#include "place.h"
#include "report.h"

#include "common/decimal.h"
#include "common/int32.h"
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

static constexpr int NO_FILE = -1;                 ///< in the place of an errno: what is there is none
static constexpr unsigned long ROOM_NEEDED = 4096; ///< bytes, more than any file grows by one write
static constexpr char SEED_ADVICE[] =
    "seed what is missing, which keeps what is there (docs/firmware.md, Seeding the side files)";

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

static bool Is_Number(const char *pszText)
{
    const char *pszEnd = pszText;
    Int32_FromText(pszText, &pszEnd);
    return pszEnd != pszText && pszEnd[strspn(pszEnd, " \t\r\n")] == '\0';
}

/// Whether a window text is read as four numbers.
static bool Is_Window(const char *pszText)
{
    for (int iNumber = 0; iNumber < 4 && pszText != nullptr; ++iNumber) {
        double dNumber = 0;
        if (iNumber > 0 && *pszText++ != ',')
            return false;
        pszText = Decimal_FromText(pszText, &dNumber);
    }
    return pszText != nullptr;
}

/// Looks for one element at one place. Returns whether it is as it should be; only the first bad one of a file is told.
static bool Check_Element(const SXMLParserContext *ptParser, const SideElement *ptElement, const Place &tPlace,
                          bool bTell)
{
    const FilledText tElement = Fill_Key(ptElement->pszElement, tPlace);
    const FilledText tNames = Fill_Name(ptElement->pszNames, tPlace);
    const char *pszText = Get_Text(ptParser, tElement);
    const bool bWindow = strstr(ptElement->pszElement, "/window") != nullptr;
    const bool bLong = bWindow && pszText != nullptr && strlen(pszText) >= WINDOW_TEXT_SIZE;
    const bool bRead = pszText != nullptr && !bLong && (bWindow ? Is_Window(pszText) : Is_Number(pszText));
    const int32_t iNumber = bRead ? Int32_FromText(pszText) : 0;
    const bool bOutside =
        ptElement->iLow < ptElement->iHigh && (iNumber < ptElement->iLow || iNumber > ptElement->iHigh);
    if (bRead && !bOutside)
        return true;
    if (bTell && pszText == nullptr)
        Report_Bad(ptElement->pszFile,
                   "element %s is missing, so %s has no value, every setter fails and no side file changes; %s",
                   tElement.szText, tNames.szText, SEED_ADVICE);
    else if (bTell && bLong)
        Report_Bad(ptElement->pszFile,
                   "element %s has %zu characters of at most %d, so every setter fails and no side file changes; "
                   "shorten it",
                   tElement.szText, strlen(pszText), WINDOW_TEXT_SIZE - 1);
    else if (bTell && bRead)
        Report_Bad(
            ptElement->pszFile,
            "element %s holds %d, which is not %d to %d, so a read of %s answers what no write stores; write the "
            "parameter anew",
            tElement.szText, iNumber, ptElement->iLow, ptElement->iHigh, tNames.szText);
    else if (bTell)
        Report_Bad(ptElement->pszFile,
                   "element %s holds \"%.40s\", which is no %s, so a read of %s answers nothing of use; write the "
                   "parameter anew",
                   tElement.szText, pszText, bWindow ? "window" : "number", tNames.szText);
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

/// Tells why a file cannot be opened, with what comes of it and what helps; never to make it anew where it may be
/// there.
static void Report_Closed(const char *pszPath, const char *pszConsequence, int iError)
{
    if (iError == NO_FILE) {
        Report_Bad(pszPath, "is no file, but a folder, a pipe or the like, so %s; move it away, then %s",
                   pszConsequence, SEED_ADVICE);
        return;
    }
    const char *pszUse = iError == ENOENT  ? "is missing"
                         : iError == EROFS ? "is on a file system that is mounted read-only"
                                           : "is closed to this user";
    const bool bMode = iError == EACCES || iError == EPERM;
    Report_Bad(pszPath, "%s (%s), so %s; %s",
               iError == ENOENT || iError == EROFS || bMode ? pszUse : "cannot be opened", strerror(iError),
               pszConsequence,
               iError == ENOENT  ? SEED_ADVICE
               : iError == EROFS ? "mount it writable"
               : bMode           ? "let the web server's user read and write it, and enter its folder"
                                 : "look at its file system");
}

/// Whether a file can be opened, which changes nothing and waits for nobody. 0, NO_FILE or errno.
static int Try_Open(const char *pszPath, int iHow)
{
    const int iFile = open(pszPath, iHow | O_NONBLOCK | O_CLOEXEC);
    if (iFile < 0)
        return errno;
    struct stat tStatus = {};
    const bool bFile = fstat(iFile, &tStatus) == 0 && S_ISREG(tStatus.st_mode);
    close(iFile);
    return bFile ? 0 : NO_FILE;
}

/// ptFirst is the first of the file's elements; returns the first of the next file.
static const SideElement *Check_SideFile(const SideElement *ptFirst, const CameraShape &tShape)
{
    const char *pszPath = ptFirst->pszFile;
    SXMLParserContext *ptParser = nullptr;
    const int iReadError = Try_Open(pszPath, O_RDONLY);
    const int iWriteError = iReadError == 0 ? Try_Open(pszPath, O_RDWR) : 0;
    const bool bParsed = iReadError == 0 && Open_XMLFile(pszPath, "camera-check", &ptParser) == 0;
    const SideElement *ptElement = ptFirst;
    int iBad = 0;
    for (; ptElement->pszFile != nullptr && strcmp(ptElement->pszFile, pszPath) == 0; ++ptElement)
        if (bParsed)
            iBad += Check_ElementEverywhere(ptParser, ptElement, tShape, iBad == 0);
    SXMLParser_Release(&ptParser);
    if (iReadError != 0)
        Report_Closed(pszPath, "its values are answered by an error, every setter fails and no side file changes",
                      iReadError);
    else if (!bParsed)
        Report_Bad(pszPath,
                   "its elements do not nest, so its values are answered by an error, every setter fails and no side "
                   "file changes; mend it by hand, as nothing else holds its values");
    else if (iBad > 1)
        Report_Bad(pszPath, "%d elements in all are like that", iBad);
    if (iWriteError != 0)
        Report_Closed(pszPath, "a write is answered and told to configer, but its value is not kept", iWriteError);
    if (bParsed && iBad == 0 && iWriteError == 0)
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
        Report_Bad(szFolder, "%s, so nothing keeps writes of its files apart; %s", strerror(errno),
                   errno == ENOENT ? "make it" : "let the web server's user enter and read it");
        return;
    }
    const unsigned long long uRoom = static_cast<unsigned long long>(tStatus.f_bavail) * tStatus.f_frsize;
    if (flock(iFolder, LOCK_SH | LOCK_NB) != 0)
        Report_Bad(szFolder,
                   "somebody holds the lock on it, for which each request waits up to 10 seconds; look again, "
                   "and end who holds it (/proc/locks)");
    else if (uRoom < ROOM_NEEDED)
        Report_Bad(szFolder, "%llu bytes are left, so a value that grows is not kept; make room", uRoom);
    else
        Report_Good(szFolder, "%llu bytes are left", uRoom);
    close(iFolder);
}

/// Whether the capability file can be read at all.
static bool Check_CapabilityFile()
{
    static constexpr char CONSEQUENCE[] = "VideoInput.*.Capabilities.MinBitrate and MaxBitrate answer 4 and 8000";
    const int iError = Try_Open(g_szCapabilityFile, O_RDONLY);
    SXMLParserContext *ptParser = nullptr;
    const bool bParsed = iError == 0 && Open_XMLFile(g_szCapabilityFile, "camera-check", &ptParser) == 0;
    SXMLParser_Release(&ptParser);
    if (bParsed)
        return true;
    const bool bErrno = iError != 0 && iError != NO_FILE;
    Report_Bad(g_szCapabilityFile, "%s%s%s, so %s; %s",
               iError == 0         ? "its elements do not nest"
               : iError == NO_FILE ? "is no file"
               : iError == ENOENT  ? "is missing"
                                   : "cannot be read by this user",
               bErrno ? ": " : "", bErrno ? strerror(iError) : "", CONSEQUENCE,
               bErrno && iError != ENOENT ? "let the web server's user read it" : "install the firmware's own");
    return false;
}

static void Check_Ranges(const CameraShape &tShape)
{
    if (!Check_CapabilityFile())
        return;
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
        Report_Good(g_szCapabilityFile, "%d range%s of bit rates", iLooked, Get_PluralEnd(iLooked));
}

void Check_Files()
{
    const CameraShape tShape = Read_Shape();
    Check_Folder(g_atSideElement->pszFile);
    for (const SideElement *ptElement = g_atSideElement; ptElement->pszFile != nullptr;)
        ptElement = Check_SideFile(ptElement, tShape);
    Check_Ranges(tShape);
}
