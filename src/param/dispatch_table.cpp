#include "param/dispatch.h"

#include "mapping/mapping_routines.h"

#include <stddef.h>

namespace {

constexpr ParamAccess R = ACCESS_READ_ONLY;
constexpr ParamAccess RW = ACCESS_READ_WRITE;

// Columns: check, set, get. One line a record. The spellings of the names, slips included, are kept on purpose: the
// system's documents use them.
// clang-format off
constexpr DispatchRecord g_tGeneral_FirmwareVersion_Dispatch = {nullptr, nullptr, Get_FirmwareVersion_MappingRoutine};
constexpr DispatchRecord g_tGeneral_ProtocolVersion_Dispatch = {nullptr, nullptr, Get_ProtocolVersion_MappingRoutine};
constexpr DispatchRecord g_tGeneral_ConfigUrl_Dispatch = {nullptr, nullptr, Get_ConfigUrl_MappingRoutine};
constexpr DispatchRecord g_tGeneral_UnitName_Dispatch = {nullptr, Set_UnitName_MappingRoutine, Get_UnitName_MappingRoutine};
constexpr DispatchRecord g_tGeneral_CompanyName_Dispatch = {nullptr, nullptr, Get_CompanyName_MappingRoutine};
constexpr DispatchRecord g_tGeneral_ModelName_Dispatch = {nullptr, nullptr, Get_ModelName_MappingRoutine};
constexpr DispatchRecord g_tGeneral_RebootSupported_Dispatch = {nullptr, nullptr, Get_RebootSupported_MappingRoutine};
constexpr DispatchRecord g_tGeneral_IdentifySupported_Dispatch = {nullptr, nullptr, Get_IdentifySupported_MappingRoutine};
constexpr DispatchRecord g_tGeneral_UTCDateTime_Dispatch = {Check_UTCDateTime_MappingRoutine, Set_UTCDateTime_MappingRoutine, Get_UTCDateTime_MappingRoutine};
constexpr DispatchRecord g_tGeneral_DateTimeMode_Dispatch = {Check_DateTimeMode_MappingRoutine, Set_DateTimeMode_MappingRoutine, Get_DateTimeMode_MappingRoutine};
constexpr DispatchRecord g_tNetwork_NTP_ServerAddress_Dispatch = {Check_NTP_ServerAddress_MappingRoutine, Set_NTP_ServerAddress_MappingRoutine, Get_NTP_ServerAddress_MappingRoutine};
constexpr DispatchRecord g_tNetwork_NTP_PollInterval_Dispatch = {Check_NTP_PollInterval_MappingRoutine, Set_NTP_PollInterval_MappingRoutine, Get_NTP_PollInterval_MappingRoutine};
constexpr DispatchRecord g_tNetwork_EntityCount_Dispatch = {nullptr, nullptr, Get_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tNetwork_HTTPPort_Dispatch = {nullptr, Set_HTTPPort_MappingRoutine, Get_HTTPPort_MappingRoutine};
constexpr DispatchRecord g_tNetwork_HttpsSupported_Dispatch = {nullptr, nullptr, Get_HttpsSupported_MappingRoutine};
constexpr DispatchRecord g_tNetwork_MAC_Dispatch = {nullptr, nullptr, Get_MAC_MappingRoutine};
constexpr DispatchRecord g_tNetwork_Dhcp_Dispatch = {Check_Dhcp_Value_Routine, Set_Dhcp_MappingRoutine, Get_Dhcp_MappingRoutine};
constexpr DispatchRecord g_tNetwork_StaticIpAddress_Dispatch = {nullptr, Set_StaticIpAddress_MappingRoutine, Get_StaticIpAddress_MappingRoutine};
constexpr DispatchRecord g_tNetwork_StaticSubnetMask_Dispatch = {nullptr, Set_StaticSubnetMask_MappingRoutine, Get_StaticSubnetMask_MappingRoutine};
constexpr DispatchRecord g_tNetwork_StaticDefaultGateway_Dispatch = {nullptr, Set_StaticDefaultGateway_MappingRoutine, Get_StaticDefaultGateway_MappingRoutine};
constexpr DispatchRecord g_tNetwork_Current_Prefix_Length = {nullptr, Set_Network_Current_Prefix_Length, Get_Network_Current_Prefix_Length};
constexpr DispatchRecord g_tNetwork_Static_Prefix_Length = {nullptr, nullptr, Get_Network_Static_Prefix_Length};
constexpr DispatchRecord g_tStorage_Capabilities_RecordingControlSupported_Dispatch = {nullptr, nullptr, Get_Storage_Capabilities_RecordingControlSupported_MappingRoutine};
constexpr DispatchRecord g_tStorage_Device_Capabilities_EntityCount_Dispatch = {nullptr, nullptr, Get_Storage_Device_Capabilities_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tStorage_Device_Capabilities_FormatSupported_Dispatch = {nullptr, nullptr, Get_Storage_Device_Capabilities_FormatSupported_MappingRoutine};
constexpr DispatchRecord g_tStorage_Device_Type_Dispatch = {nullptr, nullptr, Get_Storage_Device_Type_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_EntityCount_Dispatch = {nullptr, nullptr, Get_VideoInput_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_ChangeAnalogFormatSupported_Dispatch = {nullptr, nullptr, Get_Always_False_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_RtspSupported_Dispatch = {nullptr, nullptr, Get_Always_True_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_RtspKeyFrameRequest_Dispatch = {nullptr, nullptr, Get_RTSP_KeyFrame_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Capability_Rotation_Dispatch = {nullptr, nullptr, Get_VideoInput_Capabilities_Rotation_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Capability_Tampering_Dispatch = {nullptr, nullptr, Get_VideoInput_Capabilities_Tampering_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Storage_DeviceNum_Dispatch = {Check_VideoInput_Storage_DeviceNum_MappingRoutine, Set_VideoInput_Storage_DeviceNum_MappingRoutine, Get_VideoInput_Storage_DeviceNum_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Brightness_Dispatch = {Check_VideoInput_Brightness_MappingRoutine, Set_VideoInput_Brightness_MappingRoutine, Get_VideoInput_Brightness_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Contrast_Dispatch = {Check_VideoInput_Contrast_MappingRoutine, Set_VideoInput_Contrast_MappingRoutine, Get_VideoInput_Contrast_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Rotation_Dispatch = {Check_VideoInput_Rotation_MappingRoutine, Set_VideoInput_Rotation_MappingRoutine, Get_VideoInput_Rotation_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Capability_PeopleCounting_Dispatch = {nullptr, nullptr, Get_VideoInput_Capabilities_PeopleCount_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Tampering_Enabled_Dispatch = {Check_VideoInput_Tampering_Enabled_MappingRoutine, Set_VideoInput_Tampering_Enabled_MappingRoutine, Get_VideoInput_Tampering_Enabled_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Tampering_TriggerDuration_Dispatch = {Check_VideoInput_Tampering_TriggerDuration_MappingRoutine, Set_VideoInput_Tampering_TriggerDuration_MappingRoutine, Get_VideoInput_Tampering_TriggerDuration_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Saturation_Dispatch = {Check_VideoInput_Saturation_MappingRoutine, Set_VideoInput_Saturation_MappingRoutine, Get_VideoInput_Saturation_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_CodecList_Dispatch = {nullptr, nullptr, Get_VideoInput_CodecList_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_DefaultBrightness_Dispatch = {nullptr, nullptr, Get_VideoInput_DefaultBrightness_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_DefaultContrast_Dispatch = {nullptr, nullptr, Get_VideoInput_DefaultContrast_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_DefaultSaturation_Dispatch = {nullptr, nullptr, Get_VideoInput_DefaultSaturation_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_HEVC_Stream_Num_Dispatch = {nullptr, nullptr, Get_HEVC_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_ConnetionTypeList_Dispatch = {nullptr, nullptr, Get_VideoInput_ConnetionTypeList_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_BitRateModeSupported_Dispatch = {nullptr, nullptr, Get_Always_True_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_ImageQuality_Dispatch = {Check_VideoInput_Quality_MappingRoutine, Set_VideoInput_ImageQuality_MappingRoutine, Get_VideoInput_ImageQuality_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_BitRateModePriority_Dispatch = {Check_VideoInput_BitRateModePriority_MappingRoutine, Set_VideoInput_BitRateModePriority_MappingRoutine, Get_VideoInput_BitRateModePriority_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_BitRateMode_Dispatch = {Check_VideoInput_BitRateMode_MappingRoutine, Set_VideoInput_BitRateMode_MappingRoutine, Get_VideoInput_BitRateMode_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_FrameRate_List_Dispatch = {nullptr, nullptr, Get_VideoInput_FrameRate_List_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_MinBitrate_Dispatch = {nullptr, nullptr, Get_VideoInput_MinBitrate_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_MaxBitrate_Dispatch = {nullptr, nullptr, Get_VideoInput_MaxBitrate_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Resolution_List_Dispatch = {nullptr, nullptr, Get_VideoInput_Capability_Resolution_List_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Bitrate_Dispatch = {Check_VideoInput_BitRate_MappingRoutine, Set_VideoInput_BitRate_MappingRoutine, Get_VideoInput_BitRate_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_GopSize_Dispatch = {Check_VideoInput_GopSize_Routin, Set_VideoInput_GopSize_MappingRoutine, Get_VideoInput_GopSize_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_Resolution_Dispatch = {Check_VideoInput_Resolution_MappingRoutine, Set_VideoInput_Resolution_MappingRoutine, Get_VideoInput_Resolution_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_FrameRate_Dispatch = {nullptr, Set_VideoInput_FrameRate_MappingRoutine, Get_VideoInput_FrameRate_MappingRoutine};
constexpr DispatchRecord g_tNetwork_RTSPPort_Dispatch = {nullptr, nullptr, Get_RTSPPort_MappingRoutine};
constexpr DispatchRecord g_tNetwork_RTSP_AccessName_Dispatch = {nullptr, nullptr, Get_VideoInput_AccessName_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_MJPEG_Stream_Num_Dispatch = {nullptr, nullptr, Get_MJPEG_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_MJPEG_ConnetionTypeList_Dispatch = {nullptr, nullptr, Get_VideoInput_MJPEG_ConnetionTypeList_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_MPEG4_Stream_Num_Dispatch = {nullptr, nullptr, Get_MPEG4_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_H264_Stream_Num_Dispatch = {nullptr, nullptr, Get_H264_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_SupportedProfiles_Dispatch = {nullptr, nullptr, Get_VideoInput_Capabilities_SupportedProfiles_MappingRoutine};
constexpr DispatchRecord g_tNetwork_RTSP_H264_Profile_Dispatch = {Check_VideoInput_Profile_MappingRoutine, Set_VideoInput_Profile_MappingRoutine, Get_VideoInput_Profile_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_MotionSupported_Dispatch = {nullptr, nullptr, Get_MotionSupported_MappingRoutine};
constexpr DispatchRecord g_tMotion_RoiCount_Dispatch = {nullptr, nullptr, Get_RoiCount_MappingRoutine};
constexpr DispatchRecord g_tMotion_Enable_Dispatch = {Check_Dhcp_Value_Routine, Set_Motion_Enable_MappingRoutine, Get_Motion_Enable_MappingRoutine};
constexpr DispatchRecord g_tMotion_Position_Dispatch = {Check_Motion_Position_Routine, Set_Motion_Position_MappingRoutine, Get_Motion_Position_MappingRoutine};
constexpr DispatchRecord g_tMotion_MotionOnThreshold_Dispatch = {nullptr, Set_MotionOnThreshold_MappingRoutine, Get_MotionOnThreshold_MappingRoutine};
constexpr DispatchRecord g_tMotion_MotionOffThreshold_Dispatch = {nullptr, Set_MotionOffThreshold_MappingRoutine, Get_MotionOffThreshold_MappingRoutine};
constexpr DispatchRecord g_tMotion_Sensitivity_Dispatch = {nullptr, Set_Sensitivity_MappingRoutine, Get_Sensitivity_MappingRoutine};
constexpr DispatchRecord g_tAudio_EntityCount_Dispatch = {nullptr, nullptr, Get_Audio_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tAudio_CodecList_Dispatch = {nullptr, nullptr, Get_Audio_CodecList_MappingRoutine};
constexpr DispatchRecord g_tAudio_InputTypeList_Dispatch = {nullptr, nullptr, Get_Audio_InputTypeList_MappingRoutine};
constexpr DispatchRecord g_tAudio_ConnectionTypeList_Dispatch = {nullptr, nullptr, Get_Audio_ConnectionTypeList_MappingRoutine};
constexpr DispatchRecord g_tAudio_Gain_Dispatch = {nullptr, Set_Audio_Gain_MappingRoutine, Get_Audio_Gain_MappingRoutine};
constexpr DispatchRecord g_tAudio_Codec_Dispatch = {Check_Audio_Codec_MappingRoutine, Set_Audio_Codec_MappingRoutine, Get_Audio_Codec_MappingRoutine};
constexpr DispatchRecord g_tAudio_InputType_Dispatch = {Check_Audio_InputType_Value_Routine, Set_Audio_InputType_MappingRoutine, Get_Audio_InputType_MappingRoutine};
constexpr DispatchRecord g_tAudio_AccessName_Dispatch = {nullptr, nullptr, Get_Audio_AccessName_MappingRoutine};
constexpr DispatchRecord g_tAudio_Alarm_Enabled_Dispatch = {Check_AudioInput_Alarm_Enabled_MappingRoutine, Set_AudioInput_Alarm_Enabled_MappingRoutine, Get_AudioInput_Alarm_Enabled_MappingRoutine};
constexpr DispatchRecord g_tAudio_Alarm_Threshold_Dispatch = {Check_AudioInput_Alarm_Threshold_MappingRoutine, Set_AudioInput_Alarm_Threshold_MappingRoutine, Get_AudioInput_Alarm_Threshold_MappingRoutine};
constexpr DispatchRecord g_tAudioInput_AAC_Capability_SamplingRates_Dispatch = {nullptr, nullptr, Get_AAC_Capability_SamplingRates_MappingRoutine};
constexpr DispatchRecord g_tAudioInput_AAC_Capability_BitRateList_Dispatch = {nullptr, nullptr, Get_AAC_Capability_BitRateList_MappingRoutine};
constexpr DispatchRecord g_tAudioInput_AAC_SamplingRate_Dispatch = {Check_AAC_SamplingRate_MappingRoutine, Set_AAC_SamplingRate_MappingRoutine, Get_AAC_SamplingRate_MappingRoutine};
constexpr DispatchRecord g_tAudioInput_AAC_BitRate_Dispatch = {Check_AAC_BitRate_MappingRoutine, Set_AAC_BitRate_MappingRoutine, Get_AAC_BitRate_MappingRoutine};
constexpr DispatchRecord g_tDI_EntityCount_Dispatch = {nullptr, nullptr, Get_DI_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tDO_EntityCount_Dispatch = {nullptr, nullptr, Get_DO_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tDO_State_Dispatch = {Check_Do_State_Value_Routine, Set_DO_State_MappingRoutine, Get_DO_State_MappingRoutine};
constexpr DispatchRecord g_tCustomEvent_List_Dispatch = {nullptr, nullptr, Get_CustomEventList_MappingRoutine};
constexpr DispatchRecord g_tVideoOuput_EntityCount_Dispatch = {nullptr, nullptr, Get_VideoOutput_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tVideoInput_StorageSupported_Dispatch = {nullptr, nullptr, Get_Storage_MappingRoutine};
constexpr DispatchRecord g_tStorage_MaxConcurrentPlaybackSessions_Dispatch = {nullptr, nullptr, Get_Sorage_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tSotrage_ConnectionTypeList = {nullptr, nullptr, Get_Storage_ConnectionTypeList_MappingRoutine};
constexpr DispatchRecord g_tStorage_AccessName_Dispatch = {nullptr, nullptr, Get_Storage_AccessName_MappingRoutine};
constexpr DispatchRecord g_tSerialPort_EntityCount_Dispatch = {nullptr, nullptr, Get_SerialPort_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tSerialPort_Port_Dispatch = {Check_SerialPort_Port_MappingRoutine, Set_SerialPort_Port_MappingRoutine, Get_SerialPort_Port_MappingRoutine};
constexpr DispatchRecord g_tSerialPTZ_EntityCount_Dispatch = {nullptr, nullptr, Get_SerialPTZ_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tSerialPTZ_Protocol_Dispatch = {nullptr, nullptr, Get_SerialPTZ_Protocol_MappingRoutine};
constexpr DispatchRecord g_tSerialPTZ_SerialPortId_Dispatch = {nullptr, nullptr, Get_SerialPTZ_SerialPortId_MappingRoutine};
constexpr DispatchRecord g_tSerialPTZ_VideoInputId_Dispatch = {nullptr, nullptr, Get_SerialPTZ_VideoInputId_MappingRoutine};
constexpr DispatchRecord g_tPTZ_EntityCount_Dispatch = {nullptr, nullptr, Get_PTZ_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tPTZ_Capability_CommandList_Dispatch = {nullptr, nullptr, Get_PTZ_Capability_CommandList_MappingRoutine};
constexpr DispatchRecord g_tPTZ_Capability_PresetNumber_Dispatch = {nullptr, nullptr, Get_PTZ_Capability_PresetNumber_MappingRoutine};
constexpr DispatchRecord g_tPTZ_Capability_AuxNumber_Dispatch = {nullptr, nullptr, Get_PTZ_Capability_AuxNumber_MappingRoutine};
constexpr DispatchRecord g_tPTZ_Capability_Pattern_Dispatch = {nullptr, nullptr, Get_PTZ_Capability_PatternNumber_MappingRoutine};
constexpr DispatchRecord g_tPTZ_Position_Mode_Dispatch = {nullptr, nullptr, Get_PTZ_Position_Mode_MappingRoutine};
constexpr DispatchRecord g_tAudioOutput_Capabilities_EntityCount_Dispatch = {nullptr, nullptr, Get_AudioOutput_Capabilities_EntityCount_MappingRoutine};
constexpr DispatchRecord g_tAudioOutput_Capabilities_CodecList_Dispatch = {nullptr, nullptr, Get_AudioOutput_Capabilities_CodecList_MappingRoutine};
constexpr DispatchRecord g_tAudioOutput_Capabilities_ConnectionTypeList_Dispatch = {nullptr, nullptr, Get_AudioOutput_Capabilities_ConnectionTypeList_MappingRoutine};
// clang-format on

} // namespace

// One line an entry. The order matters only for names that more than one template matches.
// clang-format off
constexpr DispatchEntry g_tDispatchTable[PARAM_ENTRY_COUNT + 1] = {
    {"General.FirmwareVersion", R, 0, &g_tGeneral_FirmwareVersion_Dispatch},
    {"General.ProtocolVersion", R, 0, &g_tGeneral_ProtocolVersion_Dispatch},
    {"General.ConfigUrl", R, 0, &g_tGeneral_ConfigUrl_Dispatch},
    {"General.UnitName", RW, 0, &g_tGeneral_UnitName_Dispatch},
    {"General.Brand.CompanyName", R, 0, &g_tGeneral_CompanyName_Dispatch},
    {"General.Brand.ModelName", R, 0, &g_tGeneral_ModelName_Dispatch},
    {"General.Capabilities.RebootSupported", R, 0, &g_tGeneral_RebootSupported_Dispatch},
    {"General.Capabilities.IdentifySupported", R, 0, &g_tGeneral_IdentifySupported_Dispatch},
    {"General.DateTime.CurrentUTCDateTime", RW, 0, &g_tGeneral_UTCDateTime_Dispatch},
    {"General.DateTime.Mode", RW, 0, &g_tGeneral_DateTimeMode_Dispatch},
    {"Network.Services.Ntp.ServerAddress", RW, 0, &g_tNetwork_NTP_ServerAddress_Dispatch},
    {"Network.Services.Ntp.PollInterval", RW, 0, &g_tNetwork_NTP_PollInterval_Dispatch},
    {"Network.Capabilities.EntityCount", R, 0, &g_tNetwork_EntityCount_Dispatch},
    {"Network.Services.Http.Port", RW, 0, &g_tNetwork_HTTPPort_Dispatch},
    {"Network.Services.Http.HttpsSupported", R, 0, &g_tNetwork_HttpsSupported_Dispatch},
    {"Network.%d.MacAddress", R, 1, &g_tNetwork_MAC_Dispatch},
    {"Network.%d.Dhcp", RW, 1, &g_tNetwork_Dhcp_Dispatch},
    {"Network.%d.StaticIpAddress", RW, 1, &g_tNetwork_StaticIpAddress_Dispatch},
    {"Network.%d.StaticSubnetMask", RW, 1, &g_tNetwork_StaticSubnetMask_Dispatch},
    {"Network.%d.StaticDefaultGateway", RW, 1, &g_tNetwork_StaticDefaultGateway_Dispatch},
    {"Network.%d.CurrentIpAddress", R, 1, &g_tNetwork_StaticIpAddress_Dispatch},
    {"Network.%d.CurrentSubnetMask", R, 1, &g_tNetwork_StaticSubnetMask_Dispatch},
    {"Network.%d.CurrentDefaultGateway", R, 1, &g_tNetwork_StaticDefaultGateway_Dispatch},
    {"Network.%d.CurrentPrefixLength", RW, 1, &g_tNetwork_Current_Prefix_Length},
    {"Network.%d.StaticPrefixLength", R, 1, &g_tNetwork_Static_Prefix_Length},
    {"Storage.Capabilities.RecordingControlSupported", R, 0, &g_tStorage_Capabilities_RecordingControlSupported_Dispatch},
    {"Storage.Device.Capabilities.EntityCount", R, 0, &g_tStorage_Device_Capabilities_EntityCount_Dispatch},
    {"Storage.Device.%d.Capabilities.FormatSupported", R, 1, &g_tStorage_Device_Capabilities_FormatSupported_Dispatch},
    {"Storage.Device.%d.Type", R, 1, &g_tStorage_Device_Type_Dispatch},
    {"VideoInput.Capabilities.EntityCount", R, 0, &g_tVideoInput_EntityCount_Dispatch},
    {"VideoInput.Capabilities.ChangeAnalogFormatSupported", R, 0, &g_tVideoInput_ChangeAnalogFormatSupported_Dispatch},
    {"VideoInput.Capabilities.RtspSupported", R, 0, &g_tVideoInput_RtspSupported_Dispatch},
    {"VideoInput.Capabilities.RtspKeyframeRequestMethod", R, 0, &g_tVideoInput_RtspKeyFrameRequest_Dispatch},
    {"VideoInput.Capabilities.Rotation", R, 0, &g_tVideoInput_Capability_Rotation_Dispatch},
    {"VideoInput.Capabilities.TamperingSupported", R, 0, &g_tVideoInput_Capability_Tampering_Dispatch},
    {"VideoInput.%d.Storage.DeviceNum", RW, 1, &g_tVideoInput_Storage_DeviceNum_Dispatch},
    {"VideoInput.%d.Brightness", RW, 1, &g_tVideoInput_Brightness_Dispatch},
    {"VideoInput.%d.Contrast", RW, 1, &g_tVideoInput_Contrast_Dispatch},
    {"VideoInput.%d.Rotation", RW, 1, &g_tVideoInput_Rotation_Dispatch},
    {"VideoInput.Capabilities.PeopleCountingSupported", R, 0, &g_tVideoInput_Capability_PeopleCounting_Dispatch},
    {"VideoInput.%d.Tampering.Enabled", RW, 1, &g_tVideoInput_Tampering_Enabled_Dispatch},
    {"VideoInput.%d.Tampering.TriggerDuration", RW, 1, &g_tVideoInput_Tampering_TriggerDuration_Dispatch},
    {"VideoInput.%d.Saturation", RW, 1, &g_tVideoInput_Saturation_Dispatch},
    {"VideoInput.%d.Capabilities.CodecList", R, 1, &g_tVideoInput_CodecList_Dispatch},
    {"VideoInput.%d.Capabilities.DefaultBrightness", R, 1, &g_tVideoInput_DefaultBrightness_Dispatch},
    {"VideoInput.%d.Capabilities.DefaultContrast", R, 1, &g_tVideoInput_DefaultContrast_Dispatch},
    {"VideoInput.%d.Capabilities.DefaultSaturation", R, 1, &g_tVideoInput_DefaultSaturation_Dispatch},
    {"VideoInput.%d.hevc.Capabilities.StreamCount", R, 1, &g_tVideoInput_HEVC_Stream_Num_Dispatch},
    {"VideoInput.%d.hevc.Capabilities.ConnectionTypeList", R, 1, &g_tVideoInput_ConnetionTypeList_Dispatch},
    {"VideoInput.%d.hevc.Capabilities.BitRateModeSupported", R, 1, &g_tVideoInput_BitRateModeSupported_Dispatch},
    {"VideoInput.%d.hevc.%d.ImageQuality", RW, 2, &g_tVideoInput_ImageQuality_Dispatch},
    {"VideoInput.%d.hevc.%d.BitRateModePriority", RW, 2, &g_tVideoInput_BitRateModePriority_Dispatch},
    {"VideoInput.%d.hevc.%d.BitRateMode", RW, 2, &g_tVideoInput_BitRateMode_Dispatch},
    {"VideoInput.%d.hevc.%d.Capabilities.BitRateModeSupported", R, 2, &g_tVideoInput_BitRateModeSupported_Dispatch},
    {"VideoInput.%d.hevc.%d.Capabilities.FrameRateList", R, 2, &g_tVideoInput_FrameRate_List_Dispatch},
    {"VideoInput.%d.hevc.%d.Capabilities.MinBitrate", R, 2, &g_tVideoInput_MinBitrate_Dispatch},
    {"VideoInput.%d.hevc.%d.Capabilities.MaxBitrate", R, 2, &g_tVideoInput_MaxBitrate_Dispatch},
    {"VideoInput.%d.hevc.%d.Capabilities.ResolutionList", R, 2, &g_tVideoInput_Resolution_List_Dispatch},
    {"VideoInput.%d.hevc.%d.Bitrate", RW, 2, &g_tVideoInput_Bitrate_Dispatch},
    {"VideoInput.%d.hevc.%d.GopSize", RW, 2, &g_tVideoInput_GopSize_Dispatch},
    {"VideoInput.%d.hevc.%d.Resolution", RW, 2, &g_tVideoInput_Resolution_Dispatch},
    {"VideoInput.%d.hevc.%d.FrameRate", RW, 2, &g_tVideoInput_FrameRate_Dispatch},
    {"VideoInput.%d.hevc.%d.Rtsp.IpAddress", R, 2, &g_tNetwork_StaticIpAddress_Dispatch},
    {"VideoInput.%d.hevc.%d.Rtsp.Port", R, 2, &g_tNetwork_RTSPPort_Dispatch},
    {"VideoInput.%d.hevc.%d.Rtsp.AbsolutePath", R, 2, &g_tNetwork_RTSP_AccessName_Dispatch},
    {"VideoInput.%d.mjpeg.Capabilities.StreamCount", R, 1, &g_tVideoInput_MJPEG_Stream_Num_Dispatch},
    {"VideoInput.%d.mjpeg.Capabilities.ConnectionTypeList", R, 1, &g_tVideoInput_MJPEG_ConnetionTypeList_Dispatch},
    {"VideoInput.%d.mjpeg.Capabilities.BitRateModeSupported", R, 1, &g_tVideoInput_BitRateModeSupported_Dispatch},
    {"VideoInput.%d.mjpeg.%d.Capabilities.FrameRateList", R, 2, &g_tVideoInput_FrameRate_List_Dispatch},
    {"VideoInput.%d.mjpeg.%d.Capabilities.ResolutionList", R, 2, &g_tVideoInput_Resolution_List_Dispatch},
    {"VideoInput.%d.mjpeg.%d.Capabilities.BitRateModeSupported", R, 2, &g_tVideoInput_BitRateModeSupported_Dispatch},
    {"VideoInput.%d.mjpeg.%d.Capabilities.MinBitrate", R, 2, &g_tVideoInput_MinBitrate_Dispatch},
    {"VideoInput.%d.mjpeg.%d.Capabilities.MaxBitrate", R, 2, &g_tVideoInput_MaxBitrate_Dispatch},
    {"VideoInput.%d.mjpeg.%d.Quality", RW, 2, &g_tVideoInput_ImageQuality_Dispatch},
    {"VideoInput.%d.mjpeg.%d.FrameRate", RW, 2, &g_tVideoInput_FrameRate_Dispatch},
    {"VideoInput.%d.mjpeg.%d.Resolution", RW, 2, &g_tVideoInput_Resolution_Dispatch},
    {"VideoInput.%d.mjpeg.%d.Rtsp.Port", R, 2, &g_tNetwork_RTSPPort_Dispatch},
    {"VideoInput.%d.mjpeg.%d.Rtsp.IpAddress", R, 2, &g_tNetwork_StaticIpAddress_Dispatch},
    {"VideoInput.%d.mjpeg.%d.BitRateModePriority", RW, 2, &g_tVideoInput_BitRateModePriority_Dispatch},
    {"VideoInput.%d.mjpeg.%d.BitRateMode", RW, 2, &g_tVideoInput_BitRateMode_Dispatch},
    {"VideoInput.%d.mjpeg.%d.Bitrate", RW, 2, &g_tVideoInput_Bitrate_Dispatch},
    {"VideoInput.%d.mpeg4.Capabilities.StreamCount", R, 1, &g_tVideoInput_MPEG4_Stream_Num_Dispatch},
    {"VideoInput.%d.mpeg4.Capabilities.ConnectionTypeList", R, 1, &g_tVideoInput_ConnetionTypeList_Dispatch},
    {"VideoInput.%d.mpeg4.Capabilities.BitRateModeSupported", R, 1, &g_tVideoInput_BitRateModeSupported_Dispatch},
    {"VideoInput.%d.mpeg4.%d.Capabilities.BitRateModeSupported", R, 2, &g_tVideoInput_BitRateModeSupported_Dispatch},
    {"VideoInput.%d.mpeg4.%d.Capabilities.FrameRateList", R, 2, &g_tVideoInput_FrameRate_List_Dispatch},
    {"VideoInput.%d.mpeg4.%d.Capabilities.ResolutionList", R, 2, &g_tVideoInput_Resolution_List_Dispatch},
    {"VideoInput.%d.mpeg4.%d.Capabilities.MinBitrate", R, 2, &g_tVideoInput_MinBitrate_Dispatch},
    {"VideoInput.%d.mpeg4.%d.Capabilities.MaxBitrate", R, 2, &g_tVideoInput_MaxBitrate_Dispatch},
    {"VideoInput.%d.mpeg4.%d.Bitrate", RW, 2, &g_tVideoInput_Bitrate_Dispatch},
    {"VideoInput.%d.mpeg4.%d.GopSize", RW, 2, &g_tVideoInput_GopSize_Dispatch},
    {"VideoInput.%d.mpeg4.%d.Resolution", RW, 2, &g_tVideoInput_Resolution_Dispatch},
    {"VideoInput.%d.mpeg4.%d.FrameRate", RW, 2, &g_tVideoInput_FrameRate_Dispatch},
    {"VideoInput.%d.mpeg4.%d.Rtsp.IpAddress", R, 2, &g_tNetwork_StaticIpAddress_Dispatch},
    {"VideoInput.%d.mpeg4.%d.Rtsp.Port", R, 2, &g_tNetwork_RTSPPort_Dispatch},
    {"VideoInput.%d.mpeg4.%d.Rtsp.AbsolutePath", R, 2, &g_tNetwork_RTSP_AccessName_Dispatch},
    {"VideoInput.%d.mpeg4.%d.ImageQuality", RW, 2, &g_tVideoInput_ImageQuality_Dispatch},
    {"VideoInput.%d.mpeg4.%d.BitRateModePriority", RW, 2, &g_tVideoInput_BitRateModePriority_Dispatch},
    {"VideoInput.%d.mpeg4.%d.BitRateMode", RW, 2, &g_tVideoInput_BitRateMode_Dispatch},
    {"VideoInput.%d.h264.Capabilities.StreamCount", R, 1, &g_tVideoInput_H264_Stream_Num_Dispatch},
    {"VideoInput.%d.h264.Capabilities.ConnectionTypeList", R, 1, &g_tVideoInput_ConnetionTypeList_Dispatch},
    {"VideoInput.%d.h264.Capabilities.SupportedProfiles", R, 1, &g_tVideoInput_SupportedProfiles_Dispatch},
    {"VideoInput.%d.h264.Capabilities.BitRateModeSupported", R, 1, &g_tVideoInput_BitRateModeSupported_Dispatch},
    {"VideoInput.%d.h264.%d.Capabilities.BitRateModeSupported", R, 2, &g_tVideoInput_BitRateModeSupported_Dispatch},
    {"VideoInput.%d.h264.%d.Capabilities.FrameRateList", R, 2, &g_tVideoInput_FrameRate_List_Dispatch},
    {"VideoInput.%d.h264.%d.Capabilities.MinBitrate", R, 2, &g_tVideoInput_MinBitrate_Dispatch},
    {"VideoInput.%d.h264.%d.Capabilities.MaxBitrate", R, 2, &g_tVideoInput_MaxBitrate_Dispatch},
    {"VideoInput.%d.h264.%d.Capabilities.ResolutionList", R, 2, &g_tVideoInput_Resolution_List_Dispatch},
    {"VideoInput.%d.h264.%d.Bitrate", RW, 2, &g_tVideoInput_Bitrate_Dispatch},
    {"VideoInput.%d.h264.%d.GopSize", RW, 2, &g_tVideoInput_GopSize_Dispatch},
    {"VideoInput.%d.h264.%d.Resolution", RW, 2, &g_tVideoInput_Resolution_Dispatch},
    {"VideoInput.%d.h264.%d.FrameRate", RW, 2, &g_tVideoInput_FrameRate_Dispatch},
    {"VideoInput.%d.h264.%d.Rtsp.IpAddress", R, 2, &g_tNetwork_StaticIpAddress_Dispatch},
    {"VideoInput.%d.h264.%d.Rtsp.Port", R, 2, &g_tNetwork_RTSPPort_Dispatch},
    {"VideoInput.%d.h264.%d.Rtsp.AbsolutePath", R, 2, &g_tNetwork_RTSP_AccessName_Dispatch},
    {"VideoInput.%d.h264.%d.ImageQuality", RW, 2, &g_tVideoInput_ImageQuality_Dispatch},
    {"VideoInput.%d.h264.%d.BitRateModePriority", RW, 2, &g_tVideoInput_BitRateModePriority_Dispatch},
    {"VideoInput.%d.h264.%d.BitRateMode", RW, 2, &g_tVideoInput_BitRateMode_Dispatch},
    {"VideoInput.%d.h264.%d.Profile", RW, 2, &g_tNetwork_RTSP_H264_Profile_Dispatch},
    {"VideoInput.%d.Motion.Capabilities.MotionSupported", R, 1, &g_tVideoInput_MotionSupported_Dispatch},
    {"VideoInput.%d.Motion.Capabilities.RoiCount", R, 1, &g_tMotion_RoiCount_Dispatch},
    {"VideoInput.%d.Motion.ROI.%d.Enabled", RW, 2, &g_tMotion_Enable_Dispatch},
    {"VideoInput.%d.Motion.ROI.%d.Position", RW, 2, &g_tMotion_Position_Dispatch},
    {"VideoInput.%d.Motion.ROI.%d.MotionOnThreshold", RW, 2, &g_tMotion_MotionOnThreshold_Dispatch},
    {"VideoInput.%d.Motion.ROI.%d.MotionOffThreshold", RW, 2, &g_tMotion_MotionOffThreshold_Dispatch},
    {"VideoInput.%d.Motion.ROI.%d.Sensitivity", RW, 2, &g_tMotion_Sensitivity_Dispatch},
    {"AudioInput.Capabilities.EntityCount", R, 0, &g_tAudio_EntityCount_Dispatch},
    {"AudioInput.%d.Capabilities.CodecList", R, 1, &g_tAudio_CodecList_Dispatch},
    {"AudioInput.%d.Capabilities.InputTypeList", R, 1, &g_tAudio_InputTypeList_Dispatch},
    {"AudioInput.%d.Capabilities.ConnectionTypeList", R, 1, &g_tAudio_ConnectionTypeList_Dispatch},
    {"AudioInput.%d.Gain", RW, 1, &g_tAudio_Gain_Dispatch},
    {"AudioInput.%d.Codec", RW, 1, &g_tAudio_Codec_Dispatch},
    {"AudioInput.%d.InputType", RW, 1, &g_tAudio_InputType_Dispatch},
    {"AudioInput.%d.Rtsp.IpAddress", R, 1, &g_tNetwork_StaticIpAddress_Dispatch},
    {"AudioInput.%d.Rtsp.Port", R, 1, &g_tNetwork_RTSPPort_Dispatch},
    {"AudioInput.%d.Rtsp.AbsolutePath", R, 1, &g_tAudio_AccessName_Dispatch},
    {"AudioInput.Alarm.Enabled", RW, 0, &g_tAudio_Alarm_Enabled_Dispatch},
    {"AudioInput.Alarm.Threshold", RW, 0, &g_tAudio_Alarm_Threshold_Dispatch},
    {"AudioInput.%d.Alarm.Enabled", RW, 1, &g_tAudio_Alarm_Enabled_Dispatch},
    {"AudioInput.%d.Alarm.Threshold", RW, 1, &g_tAudio_Alarm_Threshold_Dispatch},
    {"AudioInput.%d.AAC.Capabilities.SamplingRates", R, 1, &g_tAudioInput_AAC_Capability_SamplingRates_Dispatch},
    {"AudioInput.%d.AAC.Capabilities.BitRateList", R, 1, &g_tAudioInput_AAC_Capability_BitRateList_Dispatch},
    {"AudioInput.%d.AAC.SamplingRate", RW, 1, &g_tAudioInput_AAC_SamplingRate_Dispatch},
    {"AudioInput.%d.AAC.BitRate", RW, 1, &g_tAudioInput_AAC_BitRate_Dispatch},
    {"InputPin.Capabilities.EntityCount", R, 0, &g_tDI_EntityCount_Dispatch},
    {"OutputPin.Capabilities.EntityCount", R, 0, &g_tDO_EntityCount_Dispatch},
    {"OutputPin.%d.State", RW, 1, &g_tDO_State_Dispatch},
    {"CustomEvents.Capabilities.EventList", R, 0, &g_tCustomEvent_List_Dispatch},
    {"VideoOutput.Capabilities.EntityCount", R, 0, &g_tVideoOuput_EntityCount_Dispatch},
    {"Storage.Capabilities.StorageSupported", R, 0, &g_tVideoInput_StorageSupported_Dispatch},
    {"Storage.Capabilities.MaxConcurrentPlaybackSessions", R, 0, &g_tStorage_MaxConcurrentPlaybackSessions_Dispatch},
    {"Storage.Capabilities.ConnectionTypeList", R, 0, &g_tSotrage_ConnectionTypeList},
    {"Storage.%d.Capabilities.Rtsp.Port", R, 1, &g_tNetwork_RTSPPort_Dispatch},
    {"Storage.%d.Capabilities.Rtsp.IpAddress", R, 1, &g_tNetwork_StaticIpAddress_Dispatch},
    {"Storage.%d.Capabilities.Rtsp.AbsolutePath", R, 1, &g_tStorage_AccessName_Dispatch},
    {"SerialPort.Capabilities.EntityCount", R, 0, &g_tSerialPort_EntityCount_Dispatch},
    {"SerialPort.%d.Port", RW, 1, &g_tSerialPort_Port_Dispatch},
    {"SerialPTZ.Capabilities.EntityCount", R, 0, &g_tSerialPTZ_EntityCount_Dispatch},
    {"SerialPTZ.%d.Protocol", R, 1, &g_tSerialPTZ_Protocol_Dispatch},
    {"SerialPTZ.%d.SerialPortId", R, 1, &g_tSerialPTZ_SerialPortId_Dispatch},
    {"SerialPTZ.%d.VideoInputId", R, 1, &g_tSerialPTZ_VideoInputId_Dispatch},
    {"PTZ.Capabilities.EntityCount", R, 0, &g_tPTZ_EntityCount_Dispatch},
    {"PTZ.%d.VideoInputId", R, 1, &g_tPTZ_EntityCount_Dispatch},
    {"PTZ.%d.Capabilities.CommandList", R, 1, &g_tPTZ_Capability_CommandList_Dispatch},
    {"PTZ.%d.Capabilities.PresetNumber", R, 1, &g_tPTZ_Capability_PresetNumber_Dispatch},
    {"PTZ.%d.Capabilities.AuxNumber", R, 1, &g_tPTZ_Capability_AuxNumber_Dispatch},
    {"PTZ.%d.Capabilities.PatternNumber", R, 1, &g_tPTZ_Capability_Pattern_Dispatch},
    {"PTZ.%d.Capabilities.Position.Mode", R, 1, &g_tPTZ_Position_Mode_Dispatch},
    {"PTZ.%d.Position.Mode", R, 1, &g_tPTZ_Position_Mode_Dispatch},
    {"AudioOutput.Capabilities.EntityCount", R, 0, &g_tAudioOutput_Capabilities_EntityCount_Dispatch},
    {"AudioOutput.%d.Capabilities.CodecList", R, 1, &g_tAudioOutput_Capabilities_CodecList_Dispatch},
    {"AudioOutput.%d.Capabilities.ConnectionTypeList", R, 1, &g_tAudioOutput_Capabilities_ConnectionTypeList_Dispatch},
    {nullptr, 0, -1, nullptr},
};
// clang-format on

static constexpr std::array<DispatchHint, PARAM_ENTRY_COUNT> Make_Hints()
{
    std::array<DispatchHint, PARAM_ENTRY_COUNT> atHint = {};
    const char *pszBefore = "";
    for (size_t uEntry = 0; uEntry < atHint.size(); ++uEntry) {
        const char *pszName = g_tDispatchTable[uEntry].pszName;
        DispatchHint &tHint = atHint[uEntry];
        while (pszName[tHint.byLength] != '\0')
            ++tHint.byLength;
        while (pszName[tHint.byShared] != '\0' && pszName[tHint.byShared] == pszBefore[tHint.byShared])
            ++tHint.byShared;
        pszBefore = pszName;
    }
    return atHint;
}

constexpr std::array<DispatchHint, PARAM_ENTRY_COUNT> g_tDispatchHint = Make_Hints();
