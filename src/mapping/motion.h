/// Motion windows. The platform draws rectangles in normalised coordinates with a threshold each; the camera keeps, per
/// channel, one switch and one sensitivity, and per window a switch, a polygon in 0 to 9999 coordinates and an object
/// size. Beside the records of the parameters, the same operations on plain arguments. Channel and window numbers are
/// zero-based; all return 0 or -1.
#pragma once

#include "param/param_context.h"

#include <stddef.h>

/// Replaces "P1,P2,P3,P4" by the camera's polygon, cut at uSize bytes. Always 0; numbers that are missing count as 0.
int Check_MotionPosition(char *pszPosition, size_t uSize);

/// Keeps the threshold, in percent, and writes the object size that it means for the window as it was last drawn.
int Set_MotionOn_Threshold(const char *pszValue, int32_t iChannel, int32_t iWindow);
int Get_MotionOnThreshold(ParamContext *ptContext);

/// Sensitivity is one per channel: the window is ignored.
int Set_Sensitivity(const char *pszValue, int32_t iWindow, int32_t iChannel);
int Get_MotionSensitivity(char *pszValue, size_t uSize, int32_t iChannel);

/// Writes "true" or "false" into the buffer. Note the order: the window comes before the channel.
int Get_Motion_Enable(char *pszValue, size_t uSize, int32_t iWindow, int32_t iChannel);

/// Writes the channel switch that the window switches of this request left pending. The switch follows this request
/// alone: one window off and none on turns the channel off, whatever its other windows are. Always 0.
int Set_Motion_Capability(ParamContext *ptContext);

/// Records of the parameter table, one below its routines each.
extern const DispatchRecord g_tVideoInput_MotionSupported_Dispatch, g_tMotion_RoiCount_Dispatch;
extern const DispatchRecord g_tMotion_Enable_Dispatch, g_tMotion_Position_Dispatch;
extern const DispatchRecord g_tMotion_MotionOnThreshold_Dispatch, g_tMotion_MotionOffThreshold_Dispatch;
extern const DispatchRecord g_tMotion_Sensitivity_Dispatch;
