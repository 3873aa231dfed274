/// PTZ presence and command groups, and the two local services that are asked beside the configuration daemon: the PTZ
/// daemon (Unix-domain stream socket) and the analytics service (HTTP on 127.0.0.1:80).
#pragma once

#include "param/param_context.h"

#include <stddef.h>

constexpr char PTZ_PID_FILE[] = "/var/run/ptzcgid.pid";
constexpr char PTZ_SOCKET[] = "/tmp/ptzctrl";

/// What the camera says about PTZ; an unread key counts as 0.
struct PTZCapability {
    int32_t iEnabled;
    int32_t iZoomModule;
    int32_t iBuiltInPanTilt;
};

/// Kinds of cameras as SupportPTZType tells them apart.
enum PTZType : int32_t {
    PTZ_TYPE_UNKNOWN = 0,
    PTZ_TYPE_FULL = 1,
    PTZ_TYPE_ZOOM = 2,
    PTZ_TYPE_NO_ZOOM = 3,
    PTZ_TYPE_OFF = 4
};

/// The PTZType of a camera; PTZ_TYPE_UNKNOWN for NULL.
int SupportPTZType(const PTZCapability *ptCapability);

/// A group of PTZ commands.
struct PTZCommandGroup {
    int32_t iId;            ///< row number; -1 ends the table
    const char *pszCommand; ///< commands, each followed by a comma; null for the rows that no camera has
    int32_t iSupported;     ///< 1 once Quorvex_GetPTZCommand has found the camera to support it
};
extern PTZCommandGroup g_tPTZDispatchTable[];

/// Sets bPtzDaemonRunning by whether the PTZ daemon's pid file can be opened. Returns 0.
int Quorvex_PTZSupport(ParamContext *ptContext);

/// Marks the supported rows of g_tPTZDispatchTable; a full PTZ camera costs a question to the PTZ daemon. Returns 0.
int Quorvex_GetPTZCommand(ParamContext *ptContext);

/// 0 when the PTZ daemon's version supports patterns, else -1 (no answer included).
int CheckSupportPTZPattern();

/// One request and, with a buffer, one answer of at most uReplySize - 1 bytes over a Unix-domain stream socket. A
/// daemon that refuses is tried ten times, five seconds apart; one that hangs is not tried again. Returns 0, or -1 when
/// there was no answer.
int QvrxParam_UnixSocketClient(const char *pszPath, const char *pszRequest, char *pcReply, size_t uReplySize);

/// The analytics service, one connection per question. Each returns 0, or -1 after a line in the system log; the
/// connection is closed behind a question, and when it could not be made. A question is sent as a whole zero-padded
/// buffer. What one receive brings, at most uSize bytes, is the answer, without a terminator: hand in a zeroed buffer
/// with one byte more. Without room for an answer none is waited for, and the question has failed. The first sends from
/// the buffer that it receives into.
int Quorvex_TCPSocketClient(ParamContext *ptContext);
int Quorvex_GetPeopleCount_Value(ParamContext *ptContext, char *pcBuffer, size_t uSize);
int QuorvexEvent_GetSmartVCA_Value(ParamContext *ptContext, char *pcReply, size_t uSize);

/// Records of the parameter table, one below its routines each.
extern const DispatchRecord g_tStorage_Capabilities_RecordingControlSupported_Dispatch;
extern const DispatchRecord g_tStorage_Device_Capabilities_EntityCount_Dispatch;
extern const DispatchRecord g_tStorage_Device_Capabilities_FormatSupported_Dispatch;
extern const DispatchRecord g_tVideoInput_Capability_PeopleCounting_Dispatch, g_tDO_State_Dispatch;
extern const DispatchRecord g_tCustomEvent_List_Dispatch, g_tVideoInput_StorageSupported_Dispatch;
extern const DispatchRecord g_tPTZ_EntityCount_Dispatch, g_tPTZ_Capability_CommandList_Dispatch;
extern const DispatchRecord g_tPTZ_Capability_PresetNumber_Dispatch, g_tPTZ_Capability_Pattern_Dispatch;
