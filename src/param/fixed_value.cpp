/// Parameters that are a constant or exactly one camera key. All of them ignore the indexes.
#include "conflib/configer.h"
#include "mapping/camera_key.h"
#include "mapping/mapping_routines.h"

// clang-format off

// Constants.
int Get_Always_True_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "true"); }
int Get_Always_False_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "false"); }
int Get_RebootSupported_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "true"); }
int Get_IdentifySupported_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "true"); }
int Get_HttpsSupported_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "true"); }
int Get_ProtocolVersion_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "1.00"); }
int Get_ConfigUrl_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "index.html"); }
int Get_CompanyName_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "KORALUX"); }
int Get_RTSP_KeyFrame_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "setparameter"); }
int Get_VideoInput_Capabilities_SupportedProfiles_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "main,baseline,high"); }
int Get_VideoInput_ConnetionTypeList_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "multicast_udp,unicast_udp,http,rtsp_tcp,rtsp_http"); }
int Get_VideoInput_MJPEG_ConnetionTypeList_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "http"); }
int Get_Storage_ConnectionTypeList_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "rtsp_tcp"); }
int Get_Storage_AccessName_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "mod.sdp"); }
int Get_Storage_Device_Type_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "sd_card"); }
int Get_Audio_CodecList_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "g711"); }
int Get_Audio_ConnectionTypeList_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "unicast_udp,multicast_udp"); }
int Get_AudioOutput_Capabilities_CodecList_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "g711"); }
int Get_AudioOutput_Capabilities_ConnectionTypeList_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "unicast_udp"); }
int Get_AAC_Capability_SamplingRates_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "8000,16000,32000"); }
int Get_SerialPort_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "0"); }
int Get_SerialPort_Port_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "61234"); }
int Get_SerialPTZ_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "0"); }
int Get_SerialPTZ_SerialPortId_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "1"); }
int Get_SerialPTZ_VideoInputId_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "1"); }
int Get_PTZ_Capability_AuxNumber_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "0"); }
int Get_PTZ_Position_Mode_MappingRoutine(ParamContext *ptContext) { return Answer_Text(ptContext, "Poll"); }
int Get_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Number(ptContext, 1); }
int Get_VideoOutput_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Number(ptContext, 0); }
int Get_Sorage_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Number(ptContext, 5); }
int Get_VideoInput_DefaultBrightness_MappingRoutine(ParamContext *ptContext) { return Answer_Number(ptContext, 50); }
int Get_VideoInput_DefaultContrast_MappingRoutine(ParamContext *ptContext) { return Answer_Number(ptContext, 50); }
int Get_VideoInput_DefaultSaturation_MappingRoutine(ParamContext *ptContext) { return Answer_Number(ptContext, 50); }

// One key, read without conversion.
int Get_FirmwareVersion_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "system_info_firmwareversion"); }
int Get_ModelName_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "system_info_extendedmodelname"); }
int Get_UnitName_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "system_hostname"); }
int Get_HTTPPort_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "network_http_port"); }
int Get_NTP_ServerAddress_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "system_ntp"); }
int Get_StaticSubnetMask_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "network_subnet"); }
int Get_StaticDefaultGateway_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "network_router"); }
int Get_Network_Current_Prefix_Length(ParamContext *ptContext) { return Answer_Key(ptContext, "network_ipv6_addonprefixlen"); }
int Get_RTSPPort_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "network_rtsp_port"); }
int Get_VideoInput_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "capability_nvideoin"); }
int Get_DI_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "capability_ndi"); }
int Get_DO_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "capability_ndo"); }
int Get_SerialPTZ_Protocol_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "capability_serialptz"); }
int Get_AudioOutput_Capabilities_EntityCount_MappingRoutine(ParamContext *ptContext) { return Answer_Key(ptContext, "capability_naudioout"); }

// One key, written without conversion: no check guards these, so the platform sends the camera's own form.
int Set_UnitName_MappingRoutine(ParamContext *ptContext) { return Set_Configer("system_hostname", ptContext->szValue); }
int Set_HTTPPort_MappingRoutine(ParamContext *ptContext) { return Set_Configer("network_http_port", ptContext->szValue); }
int Set_NTP_ServerAddress_MappingRoutine(ParamContext *ptContext) { return Set_Configer("system_ntp", ptContext->szValue); }
int Set_StaticIpAddress_MappingRoutine(ParamContext *ptContext) { return Set_Configer("network_ipaddress", ptContext->szValue); }
int Set_StaticSubnetMask_MappingRoutine(ParamContext *ptContext) { return Set_Configer("network_subnet", ptContext->szValue); }
int Set_StaticDefaultGateway_MappingRoutine(ParamContext *ptContext) { return Set_Configer("network_router", ptContext->szValue); }
int Set_Network_Current_Prefix_Length(ParamContext *ptContext) { return Set_Configer("network_ipv6_addonprefixlen", ptContext->szValue); }
int Set_Dhcp_MappingRoutine(ParamContext *ptContext) { return Set_Configer("network_resetip", ptContext->szValue); }
int Set_DateTimeMode_MappingRoutine(ParamContext *ptContext) { return Set_Configer("system_updateinterval", ptContext->szValue); }

// Accepted without any effect: the platform writes these names, the camera has nothing behind them.
int Check_UTCDateTime_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
int Check_NTP_ServerAddress_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
int Check_SerialPort_Port_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
int Check_AAC_SamplingRate_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
int Set_SerialPort_Port_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
int Set_AAC_SamplingRate_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
// clang-format on
