#include "sidestore/side_place.h"

#include "common/string_util.h"
#include "conflib/xml_file.h"

#include <stddef.h>

const char *const g_apszSideFile[SIDE_FILE_COUNT] = {
    "/etc/conf.d/config_quorvexVideo.xml",
    "/etc/conf.d/config_quorvexMotion.xml",
    "/etc/conf.d/config_quorvexSystem.xml",
};

/// By SideValue: root, quorvex, the group, then c%d and a second index and the codec where there are any, and the leaf.
static constexpr struct {
    SideFile eFile;
    const char *pszGroup; ///< null: the leaf stands below quorvex itself
    char cIndex;          ///< letter of the second index; NUL: there is none
    bool bCodec;
    const char *pszLeaf;
    const char *pszReader;
} g_tSideValue[SIDE_VALUE_COUNT] = {
    {VIDEO_FILE, "image", '\0', false, "contrast", "Get_VideoContrast_from_QuorvexXML"},
    {VIDEO_FILE, "image", '\0', false, "brightness", "Get_VideoBrightness_from_QuorvexXML"},
    {VIDEO_FILE, "image", '\0', false, "saturation", "Get_VideoSaturation_from_QuorvexXML"},
    {VIDEO_FILE, "image", 's', true, "gop", "Get_VideoGOP_from_QuorvexXML"},
    {MOTION_FILE, "motion", 'i', false, "window", "Get_MotionROI_Window_from_QuorvexXML"},
    {MOTION_FILE, "motion", 'i', false, "threshold", "Get_MotionROI_Threshold_from_QuorvexXML"},
    {SYSTEM_FILE, nullptr, '\0', false, "ntpinterval", "Get_NTPInterval_from_QuorvexXML"},
    {SYSTEM_FILE, "storage", '\0', false, "devicenum", "Get_StorageDeviceNum_from_QuorvexXML"},
};

static void Add_Tag(SidePath *ptPath, const char *pszTag, size_t uSize = sizeof SidePath::aszTag[0])
{
    Copy_Text(ptPath->aszTag[ptPath->iTags++], uSize, pszTag);
}

SidePath Make_SidePath(const SidePlace &tPlace)
{
    const auto &tValue = g_tSideValue[tPlace.eValue];
    SidePath tPath;
    tPath.eFile = tValue.eFile;
    tPath.pszReader = tValue.pszReader;
    tPath.iTags = 0;
    if (tValue.pszGroup != nullptr) {
        Add_Tag(&tPath, tValue.pszGroup);
        Add_Tag(&tPath, Make_IndexTag('c', tPlace.iChannel).szTag);
    }
    if (tValue.cIndex != '\0')
        Add_Tag(&tPath, Make_IndexTag(tValue.cIndex, tPlace.iIndex).szTag);
    if (tValue.bCodec)
        Add_Tag(&tPath, tPlace.pszCodec, CODEC_TAG_SIZE);
    Add_Tag(&tPath, tValue.pszLeaf);
    return tPath;
}
