#include "sidestore/quorvex_xml_parser.h"

#include "common/int32.h"
#include "common/string_util.h"
#include "conflib/xml_file.h"
#include "sidestore/side_value.h"

#include <string.h>
#include <syslog.h>

// Readers.

char *Get_NTPInterval_from_QuorvexXML() { return Read_SideText({SIDE_NTP_INTERVAL}); }

char *Get_StorageDeviceNum_from_QuorvexXML(int32_t iChannel) { return Read_SideText({SIDE_DEVICE_NUM, iChannel}); }

char *Get_MotionROI_Window_from_QuorvexXML(int32_t iChannel, int32_t iWindow)
{
    return Read_SideText({SIDE_WINDOW, iChannel, iWindow});
}

char *Get_MotionROI_Threshold_from_QuorvexXML(int32_t iChannel, int32_t iWindow)
{
    return Read_SideText({SIDE_THRESHOLD, iChannel, iWindow});
}

char *Get_VideoContrast_from_QuorvexXML(int32_t iChannel) { return Read_SideText({SIDE_CONTRAST, iChannel}); }

char *Get_VideoBrightness_from_QuorvexXML(int32_t iChannel) { return Read_SideText({SIDE_BRIGHTNESS, iChannel}); }

char *Get_VideoSaturation_from_QuorvexXML(int32_t iChannel) { return Read_SideText({SIDE_SATURATION, iChannel}); }

char *Get_VideoGOP_from_QuorvexXML(int32_t iChannel, int32_t iStream, const char *pszCodec)
{
    return Read_SideText({SIDE_GOP, iChannel, iStream, pszCodec});
}

// Setters.

static int Store_Number(const SidePlace &tPlace, int32_t iValue)
{
    return Store_SideText(tPlace, Int32_ToText(iValue).szText);
}

int Set_NTPInterval_from_QuorvexXML(int32_t iValue) { return Store_Number({SIDE_NTP_INTERVAL}, iValue); }

int Set_StorageDeviceNum_from_QuorvexXML(int32_t iValue) { return Store_Number({SIDE_DEVICE_NUM}, iValue); }

int Set_MotionROI_Window_to_QuorvexXMLFile(int32_t iChannel, int32_t iWindow, const char *pszWindow)
{
    return Store_SideText({SIDE_WINDOW, iChannel, iWindow}, pszWindow);
}

int Set_MotionROI_Threshold_to_QuorvexXMLFile(int32_t iChannel, int32_t iWindow, int32_t iValue)
{
    return Store_Number({SIDE_THRESHOLD, iChannel, iWindow}, iValue);
}

int Set_VideoContrast_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue)
{
    return Store_Number({SIDE_CONTRAST, iChannel}, iValue);
}

int Set_VideoBrightness_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue)
{
    return Store_Number({SIDE_BRIGHTNESS, iChannel}, iValue);
}

int Set_VideoSaturation_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue)
{
    return Store_Number({SIDE_SATURATION, iChannel}, iValue);
}

int Set_VideoGOP_to_QuorvexXMLFile(int32_t iChannel, int32_t iStream, const char *pszCodec, int32_t iValue)
{
    char szCodec[CODEC_TAG_SIZE];
    Copy_Text(szCodec, sizeof szCodec, pszCodec);
    const int iResult = Store_Number({SIDE_GOP, iChannel, iStream, szCodec}, iValue);
    for (const char *pszOffered : GOP_CODECS)
        if (strcmp(szCodec, pszOffered) == 0)
            return iResult;
    // Also when the image could not be rebuilt.
    syslog(LOG_INFO, "QuorvexXML: %s: Error Unknow codec: %s", __func__, szCodec);
    return -1;
}
