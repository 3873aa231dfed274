/// Parameters that are a constant, or one camera key that is read and written without conversion: no check refuses
/// anything, so the platform sends the camera's own form. All of them ignore the indexes.
#include "param/fixed_value.h"

#include "mapping/camera_key.h"

// Below the routines of a parameter stands its record: check, set, get.

static int Get_FirmwareVersion_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, "system_info_firmwareversion");
}
const DispatchRecord g_tGeneral_FirmwareVersion_Dispatch = {nullptr, nullptr, Get_FirmwareVersion_MappingRoutine};

static int Get_ProtocolVersion_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "1.00"); }
const DispatchRecord g_tGeneral_ProtocolVersion_Dispatch = {nullptr, nullptr, Get_ProtocolVersion_MappingRoutine};

static int Get_ConfigUrl_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "index.html"); }
const DispatchRecord g_tGeneral_ConfigUrl_Dispatch = {nullptr, nullptr, Get_ConfigUrl_MappingRoutine};

static int Set_UnitName_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key("system_hostname", ptContext->szValue);
}
static int Get_UnitName_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "system_hostname"); }
const DispatchRecord g_tGeneral_UnitName_Dispatch = {nullptr, Set_UnitName_MappingRoutine, Get_UnitName_MappingRoutine};

static int Get_CompanyName_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "KORALUX"); }
const DispatchRecord g_tGeneral_CompanyName_Dispatch = {nullptr, nullptr, Get_CompanyName_MappingRoutine};

static int Get_ModelName_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, "system_info_extendedmodelname");
}
const DispatchRecord g_tGeneral_ModelName_Dispatch = {nullptr, nullptr, Get_ModelName_MappingRoutine};

static int Get_RebootSupported_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "true"); }
const DispatchRecord g_tGeneral_RebootSupported_Dispatch = {nullptr, nullptr, Get_RebootSupported_MappingRoutine};

static int Get_IdentifySupported_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "true"); }
const DispatchRecord g_tGeneral_IdentifySupported_Dispatch = {nullptr, nullptr, Get_IdentifySupported_MappingRoutine};

static int Check_NTP_ServerAddress_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
static int Set_NTP_ServerAddress_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key("system_ntp", ptContext->szValue);
}
static int Get_NTP_ServerAddress_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "system_ntp"); }
const DispatchRecord g_tNetwork_NTP_ServerAddress_Dispatch = {
    Check_NTP_ServerAddress_MappingRoutine, Set_NTP_ServerAddress_MappingRoutine, Get_NTP_ServerAddress_MappingRoutine};

static int Get_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Number(ptContext, 1); }
const DispatchRecord g_tNetwork_EntityCount_Dispatch = {nullptr, nullptr, Get_EntityCount_MappingRoutine};

static int Set_HTTPPort_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key("network_http_port", ptContext->szValue);
}
static int Get_HTTPPort_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "network_http_port"); }
const DispatchRecord g_tNetwork_HTTPPort_Dispatch = {nullptr, Set_HTTPPort_MappingRoutine, Get_HTTPPort_MappingRoutine};

static int Get_HttpsSupported_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "true"); }
const DispatchRecord g_tNetwork_HttpsSupported_Dispatch = {nullptr, nullptr, Get_HttpsSupported_MappingRoutine};

static int Set_StaticSubnetMask_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key("network_subnet", ptContext->szValue);
}
static int Get_StaticSubnetMask_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, "network_subnet");
}
const DispatchRecord g_tNetwork_StaticSubnetMask_Dispatch = {nullptr, Set_StaticSubnetMask_MappingRoutine,
                                                             Get_StaticSubnetMask_MappingRoutine};

static int Set_StaticDefaultGateway_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key("network_router", ptContext->szValue);
}
static int Get_StaticDefaultGateway_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, "network_router");
}
const DispatchRecord g_tNetwork_StaticDefaultGateway_Dispatch = {nullptr, Set_StaticDefaultGateway_MappingRoutine,
                                                                 Get_StaticDefaultGateway_MappingRoutine};

static int Set_Network_Current_Prefix_Length(ParamContext *ptContext)
{
    return Write_Key("network_ipv6_addonprefixlen", ptContext->szValue);
}
static int Get_Network_Current_Prefix_Length(ParamContext *ptContext)
{
    return Answer_Key(ptContext, "network_ipv6_addonprefixlen");
}
const DispatchRecord g_tNetwork_Current_Prefix_Length = {nullptr, Set_Network_Current_Prefix_Length,
                                                         Get_Network_Current_Prefix_Length};

static int Get_Storage_Device_Type_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "sd_card"); }
const DispatchRecord g_tStorage_Device_Type_Dispatch = {nullptr, nullptr, Get_Storage_Device_Type_MappingRoutine};

static int Get_VideoInput_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, "capability_nvideoin");
}
const DispatchRecord g_tVideoInput_EntityCount_Dispatch = {nullptr, nullptr, Get_VideoInput_EntityCount_MappingRoutine};

static int Get_Always_False_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "false"); }
const DispatchRecord g_tVideoInput_ChangeAnalogFormatSupported_Dispatch = {nullptr, nullptr,
                                                                           Get_Always_False_MappingRoutine};

static int Get_Always_True_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "true"); }
const DispatchRecord g_tVideoInput_RtspSupported_Dispatch = {nullptr, nullptr, Get_Always_True_MappingRoutine};

static int Get_RTSP_KeyFrame_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "setparameter"); }
const DispatchRecord g_tVideoInput_RtspKeyFrameRequest_Dispatch = {nullptr, nullptr, Get_RTSP_KeyFrame_MappingRoutine};

static int Get_VideoInput_DefaultBrightness_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Number(ptContext, 50);
}
const DispatchRecord g_tVideoInput_DefaultBrightness_Dispatch = {nullptr, nullptr,
                                                                 Get_VideoInput_DefaultBrightness_MappingRoutine};

static int Get_VideoInput_DefaultContrast_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Number(ptContext, 50);
}
const DispatchRecord g_tVideoInput_DefaultContrast_Dispatch = {nullptr, nullptr,
                                                               Get_VideoInput_DefaultContrast_MappingRoutine};

static int Get_VideoInput_DefaultSaturation_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Number(ptContext, 50);
}
const DispatchRecord g_tVideoInput_DefaultSaturation_Dispatch = {nullptr, nullptr,
                                                                 Get_VideoInput_DefaultSaturation_MappingRoutine};

static int Get_VideoInput_ConnetionTypeList_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, "multicast_udp,unicast_udp,http,rtsp_tcp,rtsp_http");
}
const DispatchRecord g_tVideoInput_ConnetionTypeList_Dispatch = {nullptr, nullptr,
                                                                 Get_VideoInput_ConnetionTypeList_MappingRoutine};

const DispatchRecord g_tVideoInput_BitRateModeSupported_Dispatch = {nullptr, nullptr, Get_Always_True_MappingRoutine};

static int Get_RTSPPort_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "network_rtsp_port"); }
const DispatchRecord g_tNetwork_RTSPPort_Dispatch = {nullptr, nullptr, Get_RTSPPort_MappingRoutine};

static int Get_VideoInput_MJPEG_ConnetionTypeList_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, "http");
}
const DispatchRecord g_tVideoInput_MJPEG_ConnetionTypeList_Dispatch = {
    nullptr, nullptr, Get_VideoInput_MJPEG_ConnetionTypeList_MappingRoutine};

static int Get_VideoInput_Capabilities_SupportedProfiles_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, "main,baseline,high");
}
const DispatchRecord g_tVideoInput_SupportedProfiles_Dispatch = {
    nullptr, nullptr, Get_VideoInput_Capabilities_SupportedProfiles_MappingRoutine};

static int Get_Audio_CodecList_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "g711"); }
const DispatchRecord g_tAudio_CodecList_Dispatch = {nullptr, nullptr, Get_Audio_CodecList_MappingRoutine};

static int Get_Audio_ConnectionTypeList_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, "unicast_udp,multicast_udp");
}
const DispatchRecord g_tAudio_ConnectionTypeList_Dispatch = {nullptr, nullptr,
                                                             Get_Audio_ConnectionTypeList_MappingRoutine};

static int Get_AAC_Capability_SamplingRates_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, "8000,16000,32000");
}
const DispatchRecord g_tAudioInput_AAC_Capability_SamplingRates_Dispatch = {
    nullptr, nullptr, Get_AAC_Capability_SamplingRates_MappingRoutine};

static int Get_DI_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, "capability_ndi");
}
const DispatchRecord g_tDI_EntityCount_Dispatch = {nullptr, nullptr, Get_DI_EntityCount_MappingRoutine};

static int Get_DO_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, "capability_ndo");
}
const DispatchRecord g_tDO_EntityCount_Dispatch = {nullptr, nullptr, Get_DO_EntityCount_MappingRoutine};

static int Get_VideoOutput_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Number(ptContext, 0); }
const DispatchRecord g_tVideoOuput_EntityCount_Dispatch = {nullptr, nullptr,
                                                           Get_VideoOutput_EntityCount_MappingRoutine};

static int Get_Sorage_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Number(ptContext, 5); }
const DispatchRecord g_tStorage_MaxConcurrentPlaybackSessions_Dispatch = {nullptr, nullptr,
                                                                          Get_Sorage_EntityCount_MappingRoutine};

static int Get_Storage_ConnectionTypeList_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, "rtsp_tcp");
}
const DispatchRecord g_tSotrage_ConnectionTypeList = {nullptr, nullptr, Get_Storage_ConnectionTypeList_MappingRoutine};

static int Get_Storage_AccessName_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "mod.sdp"); }
const DispatchRecord g_tStorage_AccessName_Dispatch = {nullptr, nullptr, Get_Storage_AccessName_MappingRoutine};

static int Get_SerialPort_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "0"); }
const DispatchRecord g_tSerialPort_EntityCount_Dispatch = {nullptr, nullptr, Get_SerialPort_EntityCount_MappingRoutine};

// Accepted without any effect: the platform writes the port, the camera has none.
static int Check_SerialPort_Port_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
static int Set_SerialPort_Port_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
static int Get_SerialPort_Port_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "61234"); }
const DispatchRecord g_tSerialPort_Port_Dispatch = {
    Check_SerialPort_Port_MappingRoutine, Set_SerialPort_Port_MappingRoutine, Get_SerialPort_Port_MappingRoutine};

static int Get_SerialPTZ_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "0"); }
const DispatchRecord g_tSerialPTZ_EntityCount_Dispatch = {nullptr, nullptr, Get_SerialPTZ_EntityCount_MappingRoutine};

static int Get_SerialPTZ_Protocol_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, "capability_serialptz");
}
const DispatchRecord g_tSerialPTZ_Protocol_Dispatch = {nullptr, nullptr, Get_SerialPTZ_Protocol_MappingRoutine};

static int Get_SerialPTZ_SerialPortId_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "1"); }
const DispatchRecord g_tSerialPTZ_SerialPortId_Dispatch = {nullptr, nullptr, Get_SerialPTZ_SerialPortId_MappingRoutine};

static int Get_SerialPTZ_VideoInputId_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "1"); }
const DispatchRecord g_tSerialPTZ_VideoInputId_Dispatch = {nullptr, nullptr, Get_SerialPTZ_VideoInputId_MappingRoutine};

static int Get_PTZ_Capability_AuxNumber_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "0"); }
const DispatchRecord g_tPTZ_Capability_AuxNumber_Dispatch = {nullptr, nullptr,
                                                             Get_PTZ_Capability_AuxNumber_MappingRoutine};

static int Get_PTZ_Position_Mode_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "Poll"); }
const DispatchRecord g_tPTZ_Position_Mode_Dispatch = {nullptr, nullptr, Get_PTZ_Position_Mode_MappingRoutine};

static int Get_AudioOutput_Capabilities_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, "capability_naudioout");
}
const DispatchRecord g_tAudioOutput_Capabilities_EntityCount_Dispatch = {
    nullptr, nullptr, Get_AudioOutput_Capabilities_EntityCount_MappingRoutine};

static int Get_AudioOutput_Capabilities_CodecList_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, "g711");
}
const DispatchRecord g_tAudioOutput_Capabilities_CodecList_Dispatch = {
    nullptr, nullptr, Get_AudioOutput_Capabilities_CodecList_MappingRoutine};

static int Get_AudioOutput_Capabilities_ConnectionTypeList_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, "unicast_udp");
}
const DispatchRecord g_tAudioOutput_Capabilities_ConnectionTypeList_Dispatch = {
    nullptr, nullptr, Get_AudioOutput_Capabilities_ConnectionTypeList_MappingRoutine};
