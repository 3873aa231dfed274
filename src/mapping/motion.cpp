#include "mapping/motion.h"

#include "common/decimal.h"
#include "common/int32.h"
#include "common/log_identity.h"
#include "common/string_util.h"
#include "mapping/camera_key.h"
#include "mapping/general.h"
#include "sidestore/quorvex_xml_parser.h"
#include "sidestore/side_file.h"

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

static constexpr double CAMERA_SCALE = 9999.0;

/// A rectangle as the platform sends it.
struct MotionRectangle {
    double dP1, dP2, dP3, dP4;
};

/// Reads up to four numbers separated by commas; what does not fit that form ends it, and the rest stays 0.
static MotionRectangle Parse_Rectangle(const char *pszText)
{
    MotionRectangle t = {};
    double *const apdNumber[] = {&t.dP1, &t.dP2, &t.dP3, &t.dP4};
    for (double *pdNumber : apdNumber) {
        pszText = Decimal_FromText(pszText, pdNumber);
        if (pszText == nullptr || *pszText++ != ',')
            break;
    }
    return t;
}

/// The flag of the current window in one of the per-window tables, or null when there is no such window.
static int32_t *Find_Flag(ParamContext *ptContext, int32_t (VideoInStreamInfo::*paiFlags)[MOTION_WINDOW_MAX])
{
    const int32_t iChannel = ptContext->iIndex1;
    const int32_t iWindow = ptContext->iIndex2;
    if (iChannel < 0 || iChannel >= VIDEO_CHANNEL_MAX || iWindow < 0 || iWindow >= MOTION_WINDOW_MAX)
        return nullptr;
    return &(ptContext->atVideoInStream[iChannel].*paiFlags)[iWindow];
}

static void Raise_Flag(ParamContext *ptContext, int32_t (VideoInStreamInfo::*paiFlags)[MOTION_WINDOW_MAX])
{
    int32_t *piFlag = Find_Flag(ptContext, paiFlags);
    if (piFlag != nullptr)
        *piFlag = 1;
}

static bool Is_Raised(ParamContext *ptContext, int32_t (VideoInStreamInfo::*paiFlags)[MOTION_WINDOW_MAX])
{
    const int32_t *piFlag = Find_Flag(ptContext, paiFlags);
    return piFlag != nullptr && *piFlag == 1;
}

// Position.

int Check_MotionPosition(char *pszPosition, size_t uSize)
{
    const MotionRectangle t = Parse_Rectangle(pszPosition);
    const int32_t iA = Int32_FromDouble(t.dP1 * CAMERA_SCALE);
    const int32_t iB = Int32_FromDouble(t.dP2 * CAMERA_SCALE);
    const int32_t iC = Int32_Add(Int32_FromDouble(t.dP3 * CAMERA_SCALE - iA), iA);
    const int32_t iD = Int32_Add(Int32_FromDouble(t.dP4 * CAMERA_SCALE - iB), iB);
    snprintf(pszPosition, uSize, "%d,%d,%d,%d,%d,%d,%d,%d", iB, iA, iB, iC, iD, iC, iD, iA);
    return 0;
}

static int Check_Motion_Position_Routine(ParamContext *ptContext)
{
    // Kept as sent, so that the platform gets its own four numbers back; the camera could not give them.
    Set_MotionROI_Window_to_QuorvexXMLFile(ptContext->iIndex1, ptContext->iIndex2, ptContext->szValue);
    return Check_MotionPosition(ptContext->szValue, sizeof ptContext->szValue);
}

static int Set_Motion_Position_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("motion_c%d_win_i%d_polygonstd", ptContext->iIndex1, ptContext->iIndex2),
                     ptContext->szValue);
}

static int Get_Motion_Position_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StoredText(ptContext, Get_MotionROI_Window_from_QuorvexXML(ptContext->iIndex1, ptContext->iIndex2));
}
const DispatchRecord g_tMotion_Position_Dispatch = {Check_Motion_Position_Routine, Set_Motion_Position_MappingRoutine,
                                                    Get_Motion_Position_MappingRoutine};

// Thresholds. The camera has one per window, so the on and the off threshold share it.

/// Side of a square, in hundredths of the normalised unit, whose area is iThreshold per cent of the window's.
static int32_t Object_Size(const MotionRectangle &t, int32_t iThreshold)
{
    return Int32_FromDouble(sqrt((t.dP3 - t.dP1) * (t.dP4 - t.dP2) * (iThreshold / 100.0)) * 100.0);
}

int Set_MotionOn_Threshold(const char *pszValue, int32_t iChannel, int32_t iWindow)
{
    Hold_SideFile(MOTION_FILE);
    char *pszWindow = Get_MotionROI_Window_from_QuorvexXML(iChannel, iWindow);
    if (pszWindow == nullptr)
        return -1;
    const MotionRectangle tRectangle = Parse_Rectangle(pszWindow);
    free(pszWindow);
    const int32_t iThreshold = Int32_FromText(pszValue);
    Set_MotionROI_Threshold_to_QuorvexXMLFile(iChannel, iWindow, iThreshold);
    return Write_KeyNumber(Make_Key("motion_c%d_win_i%d_objsize", iChannel, iWindow),
                           Object_Size(tRectangle, iThreshold));
}

int Get_MotionOnThreshold(ParamContext *ptContext)
{
    return Answer_StoredText(ptContext,
                             Get_MotionROI_Threshold_from_QuorvexXML(ptContext->iIndex1, ptContext->iIndex2));
}

static int Set_MotionOnThreshold_MappingRoutine(ParamContext *ptContext)
{
    Raise_Flag(ptContext, &VideoInStreamInfo::aiMotionOnThresholdSet);
    if (Int32_FromText(ptContext->szValue) == 0)
        Raise_Flag(ptContext, &VideoInStreamInfo::aiMotionOnThresholdZero);
    return Set_MotionOn_Threshold(ptContext->szValue, ptContext->iIndex1, ptContext->iIndex2);
}

static int Set_MotionOffThreshold_MappingRoutine(ParamContext *ptContext)
{
    // Within one request the on threshold of a window wins.
    if (Is_Raised(ptContext, &VideoInStreamInfo::aiMotionOnThresholdSet))
        return 0;
    return Set_MotionOn_Threshold(ptContext->szValue, ptContext->iIndex1, ptContext->iIndex2);
}

static int Get_MotionOnThreshold_MappingRoutine(ParamContext *ptContext) { return Get_MotionOnThreshold(ptContext); }
const DispatchRecord g_tMotion_MotionOnThreshold_Dispatch = {nullptr, Set_MotionOnThreshold_MappingRoutine,
                                                             Get_MotionOnThreshold_MappingRoutine};

static int Get_MotionOffThreshold_MappingRoutine(ParamContext *ptContext) { return Get_MotionOnThreshold(ptContext); }
const DispatchRecord g_tMotion_MotionOffThreshold_Dispatch = {nullptr, Set_MotionOffThreshold_MappingRoutine,
                                                              Get_MotionOffThreshold_MappingRoutine};

// Sensitivity.

int Set_Sensitivity(const char *pszValue, int32_t /*iWindow*/, int32_t iChannel)
{
    return Write_Key(Make_Key("motion_c%d_win_sensitivity", iChannel), pszValue);
}

int Get_MotionSensitivity(char *pszValue, size_t uSize, int32_t iChannel)
{
    return Read_Key(pszValue, uSize, Make_Key("motion_c%d_win_sensitivity", iChannel));
}

static int Set_Sensitivity_MappingRoutine(ParamContext *ptContext)
{
    const bool bZero = Is_Raised(ptContext, &VideoInStreamInfo::aiMotionOnThresholdZero);
    return Set_Sensitivity(bZero ? "0" : ptContext->szValue, ptContext->iIndex2, ptContext->iIndex1);
}

static int Get_Sensitivity_MappingRoutine(ParamContext *ptContext)
{
    return Get_MotionSensitivity(ptContext->szValue, sizeof ptContext->szValue, ptContext->iIndex1);
}
const DispatchRecord g_tMotion_Sensitivity_Dispatch = {nullptr, Set_Sensitivity_MappingRoutine,
                                                       Get_Sensitivity_MappingRoutine};

// Switches.

static int Set_Motion_Enable_MappingRoutine(ParamContext *ptContext)
{
    if (ptContext->szValue[0] == '1')
        ptContext->iMotionEnableOn = 1;
    ptContext->iMotionEnableChannel = ptContext->iIndex1;
    ptContext->iMotionEnablePending = 1;
    return Write_Key(Make_Key("motion_c%d_win_i%d_enable", ptContext->iIndex1, ptContext->iIndex2), ptContext->szValue);
}

int Get_Motion_Enable(char *pszValue, size_t uSize, int32_t iWindow, int32_t iChannel)
{
    char szEnable[2] = "";
    if (Read_Key(szEnable, sizeof szEnable, Make_Key("motion_c%d_win_i%d_enable", iChannel, iWindow)) != 0)
        return -1;
    Copy_Text(pszValue, uSize, strcmp(szEnable, "1") == 0 ? "true" : "false");
    return 0;
}

static int Get_Motion_Enable_MappingRoutine(ParamContext *ptContext)
{
    return Get_Motion_Enable(ptContext->szValue, sizeof ptContext->szValue, ptContext->iIndex2, ptContext->iIndex1);
}
const DispatchRecord g_tMotion_Enable_Dispatch = {Check_Dhcp_Value_Routine, Set_Motion_Enable_MappingRoutine,
                                                  Get_Motion_Enable_MappingRoutine};

int Set_Motion_Capability(ParamContext *ptContext)
{
    Write_Key(Make_Key("motion_c%d_enable", ptContext->iMotionEnableChannel),
              ptContext->iMotionEnableOn == 1 ? "1" : "0");
    ptContext->iMotionEnablePending = 0;
    return 0;
}

// Capabilities.

static int Read_WindowCount(const char *pszRoutine, int32_t *piCount)
{
    char szCount[4] = "";
    if (Read_Key(szCount, sizeof szCount, "capability_nmotion") != 0) {
        syslog(LOG_INFO, "%s: %s: Check capability_nmotion fail", LOG_IDENTITY, pszRoutine);
        return -1;
    }
    *piCount = Int32_FromText(szCount);
    return 0;
}

static int Get_MotionSupported_MappingRoutine(ParamContext *ptContext)
{
    int32_t iCount = 0;
    if (Read_WindowCount(__func__, &iCount) != 0)
        return -1;
    return Answer_Boolean(ptContext, iCount >= 1);
}
const DispatchRecord g_tVideoInput_MotionSupported_Dispatch = {nullptr, nullptr, Get_MotionSupported_MappingRoutine};

static int Get_RoiCount_MappingRoutine(ParamContext *ptContext)
{
    int32_t iCount = 0;
    if (Read_WindowCount(__func__, &iCount) != 0)
        return -1;
    if (iCount < 0) {
        syslog(LOG_INFO, "%s: %s: iSupportROINum fail", LOG_IDENTITY, __func__);
        return -1;
    }
    return Answer_Number(ptContext, iCount);
}
const DispatchRecord g_tMotion_RoiCount_Dispatch = {nullptr, nullptr, Get_RoiCount_MappingRoutine};
