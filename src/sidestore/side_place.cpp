#include "sidestore/side_place.h"

#include "common/string_util.h"

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

SideFile Get_SideFile(const SidePlace &tPlace) { return g_tSideValue[tPlace.eValue].eFile; }

void Make_SidePath(const SidePlace &tPlace, SidePath *ptPath)
{
    const auto &tValue = g_tSideValue[tPlace.eValue];
    ptPath->eFile = tValue.eFile;
    ptPath->pszReader = tValue.pszReader;
    const char **ppszTag = ptPath->apszTag;
    if (tValue.pszGroup != nullptr) {
        ptPath->tChannel = Make_IndexTag('c', tPlace.iChannel);
        *ppszTag++ = tValue.pszGroup;
        *ppszTag++ = ptPath->tChannel.szTag;
    }
    if (tValue.cIndex != '\0') {
        ptPath->tIndex = Make_IndexTag(tValue.cIndex, tPlace.iIndex);
        *ppszTag++ = ptPath->tIndex.szTag;
    }
    if (tValue.bCodec) {
        Copy_Text(ptPath->szCodec, sizeof ptPath->szCodec, tPlace.pszCodec);
        *ppszTag++ = ptPath->szCodec;
    }
    *ppszTag++ = tValue.pszLeaf;
    while (ppszTag < ptPath->apszTag + sizeof ptPath->apszTag / sizeof ptPath->apszTag[0])
        *ppszTag++ = nullptr;
}
