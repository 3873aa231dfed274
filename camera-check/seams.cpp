// Stands between the mapping routines and the camera: what they read is shown when somebody asks for it, what they
// would write is shown and never written. The build gives the real functions, of which these take the place, names that
// begin with "Real_".
#include "explain.h"
#include "key_table.h"
#include "place.h"
#include "report.h"

#include "conflib/cdf_range.h"
#include "conflib/configer.h"
#include "conflib/snapshot.h"
#include "sidestore/quorvex_xml_parser.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define REAL(Name) decltype(Name) Real_##Name
REAL(Configer_LookUp);
REAL(Get_Range_FromCDF);
REAL(Get_NTPInterval_from_QuorvexXML);
REAL(Get_StorageDeviceNum_from_QuorvexXML);
REAL(Get_MotionROI_Window_from_QuorvexXML);
REAL(Get_MotionROI_Threshold_from_QuorvexXML);
REAL(Get_VideoContrast_from_QuorvexXML);
REAL(Get_VideoBrightness_from_QuorvexXML);
REAL(Get_VideoSaturation_from_QuorvexXML);
REAL(Get_VideoGOP_from_QuorvexXML);
#undef REAL

static bool g_bShown;

void Show_Accesses(bool bShown) { g_bShown = bShown; }

static void Say_Quoted(const char *pszText)
{
    Report_Say("\"");
    Report_SayEscaped(pszText, strlen(pszText));
    Report_Say("\"\n");
}

// Keys.

SnapshotOutcome Configer_LookUp(const char *pszXPath, char *pszOutput, size_t uSize)
{
    const SnapshotOutcome eOutcome = Real_Configer_LookUp(pszXPath, pszOutput, uSize);
    if (!g_bShown)
        return eOutcome;
    Report_Say("  key   %s", pszXPath);
    if (eOutcome == SNAPSHOT_READ) {
        Report_Say(" = ");
        Say_Quoted(pszOutput);
    } else if (eOutcome == SNAPSHOT_DOES_NOT_FIT) {
        Report_Say(": not read, longer than the %zu characters that have room\n", uSize - 1);
    } else {
        Report_Say(eOutcome == SNAPSHOT_NO_SUCH_KEY
                       ? ": missing\n"
                       : ": cannot be looked up; camera-check without options tells why\n");
    }
    return eOutcome;
}

int Configer_GetParamValueByXPath(const char *pszXPath, char *pszOutput, size_t uSize)
{
    return Configer_LookUp(pszXPath, pszOutput, uSize) == SNAPSHOT_READ ? 0 : -1;
}

int Set_Configer(const char *pszKey, const char *pszValue)
{
    char szPayload[CONFIGER_SET_SIZE];
    const int iResult = Compose_Set(pszKey, pszValue, szPayload);
    Report_Say(iResult == 0 ? "  set   (not sent) " : "  set   refused, there is a line end in or nothing left of ");
    Say_Quoted(szPayload);
    return iResult;
}

int Get_Range_FromCDF(const char *pszCodec, QuorvexFloatRange *ptRange, int32_t iChannel)
{
    const int iResult = Real_Get_Range_FromCDF(pszCodec, ptRange, iChannel);
    if (!g_bShown)
        return iResult;
    Report_Say("  range c%d %s in %s", iChannel, pszCodec, g_szCapabilityFile);
    if (iResult == 0)
        Report_Say(" = %.0f to %.0f\n", static_cast<double>(ptRange->fLower), static_cast<double>(ptRange->fUpper));
    else
        Report_Say(": missing or no range\n");
    return iResult;
}

// Side files.

static Place At(int32_t iChannel, int32_t iWindow = PLACE_NONE)
{
    Place tPlace = NO_PLACE;
    tPlace.iChannel = iChannel;
    tPlace.iWindow = iWindow;
    return tPlace;
}

static Place At_Stream(int32_t iChannel, int32_t iStream, const char *pszCodec)
{
    Place tPlace = At(iChannel);
    tPlace.iStream = iStream;
    snprintf(tPlace.szCodec, sizeof tPlace.szCodec, "%s", pszCodec);
    return tPlace;
}

static const char *Get_File(const char *pszElement)
{
    const SideElement *ptElement = g_atSideElement;
    while (ptElement->pszFile != nullptr && strcmp(ptElement->pszElement, pszElement) != 0)
        ++ptElement;
    return ptElement->pszFile;
}

static char *Show_Read(const char *pszElement, const Place &tPlace, char *pszText)
{
    if (!g_bShown)
        return pszText;
    Report_Say("  side  %s in %s", Fill_Key(pszElement, tPlace).szText, Get_File(pszElement));
    if (pszText == nullptr) {
        Report_Say(": missing\n");
        return pszText;
    }
    Report_Say(" = ");
    Say_Quoted(pszText);
    return pszText;
}

/// What a setter would do with a value, in whose place pszOld stands; takes pszOld.
static int Show_Setter(const char *pszElement, const Place &tPlace, const char *pszValue, char *pszOld)
{
    const char *pszFile = Get_File(pszElement);
    const bool bImage = Create_QuorvexXMLFile_DataStructure() == 0;
    Release_QuorvexXMLFile_Data();
    const bool bWritable = access(pszFile, W_OK) == 0;
    const bool bFits = strlen(pszValue) < WINDOW_TEXT_SIZE && strchr(pszValue, '<') == nullptr;
    const bool bKept = bImage && bWritable && bFits && pszOld != nullptr;
    Report_Say("  keep  %s in %s", Fill_Key(pszElement, tPlace).szText, pszFile);
    if (bKept) {
        Report_Say(" (not written) ");
        Say_Quoted(pszValue);
    } else {
        Report_Say(": fails, %s\n", pszOld == nullptr ? "there is no such element"
                                    : !bFits          ? "the value cannot be kept"
                                    : !bWritable      ? "this user cannot write to the file"
                                                      : "a file, a key of the shape or an element is missing");
    }
    free(pszOld);
    return bKept ? 0 : -1;
}

static int Show_Setter(const char *pszElement, const Place &tPlace, int32_t iValue, char *pszOld)
{
    char szValue[16];
    snprintf(szValue, sizeof szValue, "%d", iValue);
    return Show_Setter(pszElement, tPlace, szValue, pszOld);
}

static constexpr char INTERVAL[] = "ntpinterval";
static constexpr char DEVICE[] = "storage/c{channel}/devicenum";
static constexpr char WINDOW[] = "motion/c{channel}/i{window}/window";
static constexpr char THRESHOLD[] = "motion/c{channel}/i{window}/threshold";
static constexpr char CONTRAST[] = "image/c{channel}/contrast";
static constexpr char BRIGHTNESS[] = "image/c{channel}/brightness";
static constexpr char SATURATION[] = "image/c{channel}/saturation";
static constexpr char GOP[] = "image/c{channel}/s{stream}/{codec}/gop";

char *Get_NTPInterval_from_QuorvexXML()
{
    return Show_Read(INTERVAL, NO_PLACE, Real_Get_NTPInterval_from_QuorvexXML());
}

char *Get_StorageDeviceNum_from_QuorvexXML(int32_t iChannel)
{
    return Show_Read(DEVICE, At(iChannel), Real_Get_StorageDeviceNum_from_QuorvexXML(iChannel));
}

char *Get_MotionROI_Window_from_QuorvexXML(int32_t iChannel, int32_t iWindow)
{
    return Show_Read(WINDOW, At(iChannel, iWindow), Real_Get_MotionROI_Window_from_QuorvexXML(iChannel, iWindow));
}

char *Get_MotionROI_Threshold_from_QuorvexXML(int32_t iChannel, int32_t iWindow)
{
    return Show_Read(THRESHOLD, At(iChannel, iWindow), Real_Get_MotionROI_Threshold_from_QuorvexXML(iChannel, iWindow));
}

char *Get_VideoContrast_from_QuorvexXML(int32_t iChannel)
{
    return Show_Read(CONTRAST, At(iChannel), Real_Get_VideoContrast_from_QuorvexXML(iChannel));
}

char *Get_VideoBrightness_from_QuorvexXML(int32_t iChannel)
{
    return Show_Read(BRIGHTNESS, At(iChannel), Real_Get_VideoBrightness_from_QuorvexXML(iChannel));
}

char *Get_VideoSaturation_from_QuorvexXML(int32_t iChannel)
{
    return Show_Read(SATURATION, At(iChannel), Real_Get_VideoSaturation_from_QuorvexXML(iChannel));
}

char *Get_VideoGOP_from_QuorvexXML(int32_t iChannel, int32_t iStream, const char *pszCodec)
{
    return Show_Read(GOP, At_Stream(iChannel, iStream, pszCodec),
                     Real_Get_VideoGOP_from_QuorvexXML(iChannel, iStream, pszCodec));
}

int Set_NTPInterval_from_QuorvexXML(int32_t iValue)
{
    return Show_Setter(INTERVAL, NO_PLACE, iValue, Real_Get_NTPInterval_from_QuorvexXML());
}

int Set_StorageDeviceNum_from_QuorvexXML(int32_t iValue)
{
    return Show_Setter(DEVICE, At(0), iValue, Real_Get_StorageDeviceNum_from_QuorvexXML(0));
}

int Set_MotionROI_Window_to_QuorvexXMLFile(int32_t iChannel, int32_t iWindow, const char *pszWindow)
{
    return Show_Setter(WINDOW, At(iChannel, iWindow), pszWindow,
                       Real_Get_MotionROI_Window_from_QuorvexXML(iChannel, iWindow));
}

int Set_MotionROI_Threshold_to_QuorvexXMLFile(int32_t iChannel, int32_t iWindow, int32_t iValue)
{
    return Show_Setter(THRESHOLD, At(iChannel, iWindow), iValue,
                       Real_Get_MotionROI_Threshold_from_QuorvexXML(iChannel, iWindow));
}

int Set_VideoContrast_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue)
{
    return Show_Setter(CONTRAST, At(iChannel), iValue, Real_Get_VideoContrast_from_QuorvexXML(iChannel));
}

int Set_VideoBrightness_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue)
{
    return Show_Setter(BRIGHTNESS, At(iChannel), iValue, Real_Get_VideoBrightness_from_QuorvexXML(iChannel));
}

int Set_VideoSaturation_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue)
{
    return Show_Setter(SATURATION, At(iChannel), iValue, Real_Get_VideoSaturation_from_QuorvexXML(iChannel));
}

int Set_VideoGOP_to_QuorvexXMLFile(int32_t iChannel, int32_t iStream, const char *pszCodec, int32_t iValue)
{
    return Show_Setter(GOP, At_Stream(iChannel, iStream, pszCodec), iValue,
                       Real_Get_VideoGOP_from_QuorvexXML(iChannel, iStream, pszCodec));
}
