/// Audio inputs and their alarm.
#pragma once

#include "param/param_context.h"

/// Records of the parameter table, one below its routines each.
extern const DispatchRecord g_tAudio_EntityCount_Dispatch, g_tAudio_InputTypeList_Dispatch, g_tAudio_Gain_Dispatch;
extern const DispatchRecord g_tAudio_Codec_Dispatch, g_tAudio_InputType_Dispatch, g_tAudio_AccessName_Dispatch;
extern const DispatchRecord g_tAudio_Alarm_Enabled_Dispatch, g_tAudio_Alarm_Threshold_Dispatch;
extern const DispatchRecord g_tAudioInput_AAC_Capability_BitRateList_Dispatch, g_tAudioInput_AAC_SamplingRate_Dispatch;
extern const DispatchRecord g_tAudioInput_AAC_BitRate_Dispatch;
