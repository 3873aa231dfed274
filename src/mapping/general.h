/// Date and time, network addresses.
#pragma once

#include "param/param_context.h"

#include <stddef.h>

/// Formats the hardware address of "eth0" as lower-case pairs joined by "-". Always 0; an address that cannot be had is
/// all zeros.
int Catch_MAC(char *pszAddress, size_t uSize);

/// Takes exactly "true" and "false", as "1" and "0". Motion windows have the same check.
MappingRoutine Check_Dhcp_Value_Routine;

/// Records of the parameter table, one below its routines each.
extern const DispatchRecord g_tGeneral_UTCDateTime_Dispatch, g_tGeneral_DateTimeMode_Dispatch;
extern const DispatchRecord g_tNetwork_NTP_PollInterval_Dispatch, g_tNetwork_MAC_Dispatch, g_tNetwork_Dhcp_Dispatch;
extern const DispatchRecord g_tNetwork_StaticIpAddress_Dispatch, g_tNetwork_Static_Prefix_Length;
