/// Streams of the video inputs. The platform addresses a stream by codec and a running number among the streams of that
/// codec; the camera numbers its streams per channel, whatever their codec.
#pragma once

#include "param/param_context.h"

/// Fills the stream table and the PTZ presence of a fresh context. 0; -1 after a line in the system log when a key
/// cannot be read: the table is then filled up to there.
int InitiateVideoParam(ParamContext *ptContext);

/// Resolves the current name to iStreamNum and szCodec; a name outside "VideoInput" changes nothing. 0; -1 after a line
/// in the system log for an unknown codec or a stream number that no camera has. Callers go on regardless.
int Get_VideoInput_StreamNum(ParamContext *ptContext);

/// Smallest 32-bit number of a list that is split at any character of pszDelimiters, in place. 0, or -1 when it has
/// none.
int FindMinNbrInList(char *pszList, const char *pszDelimiters, int32_t *piMinimum);

/// Answers the RTSP access name of a stream of the current channel; the camera numbers the names across all channels.
/// 0; after a line in the system log 1 when there is no such name (pszRoutine is named there), -1 when the number of
/// streams per channel cannot be read.
int Answer_AccessName(ParamContext *ptContext, int32_t iStream, const char *pszRoutine);

/// The table's record of the current channel; a channel outside the table has no streams.
const VideoInStreamInfo *Get_VideoInStream(const ParamContext *ptContext);

/// Records of the parameter table, one below its routines each.
extern const DispatchRecord g_tVideoInput_Capability_Rotation_Dispatch, g_tVideoInput_Capability_Tampering_Dispatch;
extern const DispatchRecord g_tVideoInput_Storage_DeviceNum_Dispatch, g_tVideoInput_Brightness_Dispatch;
extern const DispatchRecord g_tVideoInput_Contrast_Dispatch, g_tVideoInput_Rotation_Dispatch;
extern const DispatchRecord g_tVideoInput_Tampering_Enabled_Dispatch, g_tVideoInput_Tampering_TriggerDuration_Dispatch;
extern const DispatchRecord g_tVideoInput_Saturation_Dispatch, g_tVideoInput_CodecList_Dispatch;
extern const DispatchRecord g_tVideoInput_HEVC_Stream_Num_Dispatch, g_tVideoInput_ImageQuality_Dispatch;
extern const DispatchRecord g_tVideoInput_BitRateModePriority_Dispatch, g_tVideoInput_BitRateMode_Dispatch;
extern const DispatchRecord g_tVideoInput_FrameRate_List_Dispatch, g_tVideoInput_MinBitrate_Dispatch;
extern const DispatchRecord g_tVideoInput_MaxBitrate_Dispatch, g_tVideoInput_Resolution_List_Dispatch;
extern const DispatchRecord g_tVideoInput_Bitrate_Dispatch, g_tVideoInput_GopSize_Dispatch;
extern const DispatchRecord g_tVideoInput_Resolution_Dispatch, g_tVideoInput_FrameRate_Dispatch;
extern const DispatchRecord g_tNetwork_RTSP_AccessName_Dispatch, g_tVideoInput_MJPEG_Stream_Num_Dispatch;
extern const DispatchRecord g_tVideoInput_MPEG4_Stream_Num_Dispatch, g_tVideoInput_H264_Stream_Num_Dispatch;
extern const DispatchRecord g_tNetwork_RTSP_H264_Profile_Dispatch;
