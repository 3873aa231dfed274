#include "mapping/general.h"

#include "common/int32.h"
#include "common/log_identity.h"
#include "mapping/camera_key.h"
#include "sidestore/quorvex_xml_parser.h"
#include "sidestore/side_file.h"

#include <net/if.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

// Date and time. The camera keeps local time; "system_timezoneindex" is its offset in units of 1/40 hour.

static constexpr int32_t ZONE_UNITS_PER_HOUR = 40;
static constexpr int32_t ZONE_UNITS_PER_QUARTER = 10;
static constexpr int64_t SECONDS_PER_HOUR = 3600;
static constexpr int64_t SECONDS_PER_QUARTER = 900;

static int Read_ZoneIndex(int32_t *piIndex)
{
    char szIndex[5] = "";
    if (Read_Key(szIndex, sizeof szIndex, "system_timezoneindex") != 0)
        return -1;
    *piIndex = Int32_FromText(szIndex);
    return 0;
}

static int Get_UTCDateTime_MappingRoutine(ParamContext *ptContext)
{
    int32_t iZoneIndex = 0;
    const time_t tNow = time(nullptr);
    if (Read_ZoneIndex(&iZoneIndex) != 0)
        return -1;
    // Whole hours only and no daylight saving, unlike the write, and a fixed text for the fraction: drivers correct for
    // it.
    const time_t tUTC = static_cast<time_t>(int64_t{tNow} - SECONDS_PER_HOUR * (iZoneIndex / ZONE_UNITS_PER_HOUR));
    struct tm tParts = {};
    if (gmtime_r(&tUTC, &tParts) == nullptr)
        return -1;
    snprintf(ptContext->szValue, sizeof ptContext->szValue, "%4d-%02d-%02dT%02d:%02d:%02d.999Z", tParts.tm_year + 1900,
             tParts.tm_mon + 1, tParts.tm_mday, tParts.tm_hour, tParts.tm_min, tParts.tm_sec);
    return 0;
}

/// The two digits at a fixed place of "YYYY-MM-DDThh:mm:ss"; the value buffer is zero behind its text.
static int Two_Digits(const ParamContext *ptContext, size_t uPlace)
{
    const char szDigits[3] = {ptContext->szValue[uPlace], ptContext->szValue[uPlace + 1], '\0'};
    return Int32_FromText(szDigits);
}

static int Set_UTCDateTime_MappingRoutine(ParamContext *ptContext)
{
    char szDaylight[2] = "";
    int32_t iZoneIndex = 0;
    if (Read_Key(szDaylight, sizeof szDaylight, "system_daylight_enable") != 0 || Read_ZoneIndex(&iZoneIndex) != 0)
        return -1;

    struct tm tParts = {};
    tParts.tm_year = Two_Digits(ptContext, 2) + 100;
    tParts.tm_mon = Two_Digits(ptContext, 5) - 1;
    tParts.tm_mday = Two_Digits(ptContext, 8);
    tParts.tm_hour = Two_Digits(ptContext, 11) + (strcmp(szDaylight, "1") == 0 ? 1 : 0);
    tParts.tm_min = Two_Digits(ptContext, 14);
    tParts.tm_sec = Two_Digits(ptContext, 17);
    const time_t tStandard = mktime(&tParts);
    const int64_t lLocal = int64_t{tStandard} + SECONDS_PER_QUARTER * (iZoneIndex / ZONE_UNITS_PER_QUARTER);
    // Where time_t has 32 bits, the clock must not be set to what a time beyond them wraps to.
    const time_t tLocal = static_cast<time_t>(lLocal);
    if (tStandard == -1 || tLocal != lLocal || localtime_r(&tLocal, &tParts) == nullptr)
        return -1;

    char szText[32];
    snprintf(szText, sizeof szText, "%d/%02d/%02d", tParts.tm_year + 1900, tParts.tm_mon + 1, tParts.tm_mday);
    Write_Key("system_date", szText);
    snprintf(szText, sizeof szText, "%02d:%02d:%02d", tParts.tm_hour, tParts.tm_min, tParts.tm_sec);
    Write_Key("system_time", szText);
    return 0;
}

static int Check_UTCDateTime_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
const DispatchRecord g_tGeneral_UTCDateTime_Dispatch = {Check_UTCDateTime_MappingRoutine,
                                                        Set_UTCDateTime_MappingRoutine, Get_UTCDateTime_MappingRoutine};

static int Get_DateTimeMode_MappingRoutine(ParamContext *ptContext)
{
    char szInterval[sizeof ptContext->szValue + 1] = "";
    Read_KeyTruncated(szInterval, sizeof szInterval, "system_updateinterval");
    return Answer_Text(ptContext, Int32_FromText(szInterval) < 1 ? "manual" : "ntp");
}

static int Check_DateTimeMode_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, strstr(ptContext->szValue, "manual") != nullptr ? "0" : "3600");
}

static int Set_DateTimeMode_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key("system_updateinterval", ptContext->szValue);
}
const DispatchRecord g_tGeneral_DateTimeMode_Dispatch = {
    Check_DateTimeMode_MappingRoutine, Set_DateTimeMode_MappingRoutine, Get_DateTimeMode_MappingRoutine};

// NTP interval: minutes on the wire, seconds in the camera, where it shares its key with the mode.

static constexpr int32_t SECONDS_PER_MINUTE = 60;

static int Check_NTP_PollInterval_MappingRoutine(ParamContext *ptContext)
{
    return Rewrite_ScaledValue(ptContext, SECONDS_PER_MINUTE);
}

static int Set_NTP_PollInterval_MappingRoutine(ParamContext *ptContext)
{
    const int32_t iSeconds = Int32_FromText(ptContext->szValue);
    if (iSeconds == 0)
        return 0;
    Hold_SideFile(SYSTEM_FILE);
    if (Write_Key("system_updateinterval", ptContext->szValue) != 0)
        return -1;
    Set_NTPInterval_from_QuorvexXML(iSeconds);
    return 0;
}

static int Get_NTP_PollInterval_MappingRoutine(ParamContext *ptContext)
{
    if (Answer_StoredText(ptContext, Get_NTPInterval_from_QuorvexXML()) != 0)
        return -1;
    return Answer_Number(ptContext, Int32_FromText(ptContext->szValue) / SECONDS_PER_MINUTE);
}
const DispatchRecord g_tNetwork_NTP_PollInterval_Dispatch = {
    Check_NTP_PollInterval_MappingRoutine, Set_NTP_PollInterval_MappingRoutine, Get_NTP_PollInterval_MappingRoutine};

// Addresses.

int Catch_MAC(char *pszAddress, size_t uSize)
{
    struct ifreq tRequest = {};
    strcpy(tRequest.ifr_name, "eth0");
    const int iSocket = socket(AF_INET, SOCK_DGRAM, 0);
    if (iSocket >= 0) {
        ioctl(iSocket, SIOCGIFHWADDR, &tRequest);
        close(iSocket);
    }
    unsigned char abAddress[6];
    memcpy(abAddress, tRequest.ifr_hwaddr.sa_data, sizeof abAddress);
    snprintf(pszAddress, uSize, "%.2x-%.2x-%.2x-%.2x-%.2x-%.2x", abAddress[0], abAddress[1], abAddress[2], abAddress[3],
             abAddress[4], abAddress[5]);
    return 0;
}

/// Answers the first twelve characters of a serial number in pairs; a shorter one as far as its pairs go.
static int Answer_SerialNumber(ParamContext *ptContext, const char *pszSerial)
{
    constexpr size_t MAC_DIGITS = 12;
    char szPair[] = "-xx";
    for (size_t uDigit = 0; uDigit + 2 <= strnlen(pszSerial, MAC_DIGITS); uDigit += 2) {
        memcpy(szPair + 1, pszSerial + uDigit, 2);
        Append_Answer(ptContext, uDigit == 0 ? szPair + 1 : szPair);
    }
    return 0;
}

static int Get_MAC_MappingRoutine(ParamContext *ptContext)
{
    char szSerial[14] = "";
    if (Read_Key(szSerial, sizeof szSerial, "system_info_serialnumber") == 0)
        return Answer_SerialNumber(ptContext, szSerial);
    Catch_MAC(ptContext->szValue, sizeof ptContext->szValue);
    syslog(LOG_INFO, "%s: %s: Catch MAC Address again: %s", LOG_IDENTITY, __func__, ptContext->szValue);
    return 0;
}
const DispatchRecord g_tNetwork_MAC_Dispatch = {nullptr, nullptr, Get_MAC_MappingRoutine};

static int Get_Dhcp_MappingRoutine(ParamContext *ptContext) { return Answer_BooleanKey(ptContext, "network_resetip"); }

int Check_Dhcp_Value_Routine(ParamContext *ptContext) { return Rewrite_Boolean(ptContext); }

static int Set_Dhcp_MappingRoutine(ParamContext *ptContext) { return Write_Key("network_resetip", ptContext->szValue); }
const DispatchRecord g_tNetwork_Dhcp_Dispatch = {Check_Dhcp_Value_Routine, Set_Dhcp_MappingRoutine,
                                                 Get_Dhcp_MappingRoutine};

static int Get_StaticIpAddress_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Text(ptContext, ptContext->pszServerAddr);
}

static int Set_StaticIpAddress_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key("network_ipaddress", ptContext->szValue);
}
const DispatchRecord g_tNetwork_StaticIpAddress_Dispatch = {nullptr, Set_StaticIpAddress_MappingRoutine,
                                                            Get_StaticIpAddress_MappingRoutine};

static int Get_Network_Static_Prefix_Length(ParamContext *ptContext)
{
    // The address itself stands for the prefix of an IPv6 camera: what drivers of such cameras look for.
    return Answer_Text(ptContext, ptContext->bServerAddrIPv6 == 1 ? ptContext->pszServerAddr : "::");
}
const DispatchRecord g_tNetwork_Static_Prefix_Length = {nullptr, nullptr, Get_Network_Static_Prefix_Length};
