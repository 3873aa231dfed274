#include "mapping/video.h"

#include "common/int32.h"
#include "common/log_identity.h"
#include "common/string_util.h"
#include "conflib/cdf_range.h"
#include "mapping/camera_key.h"
#include "mapping/ptz_io.h"
#include "sidestore/quorvex_xml_parser.h"
#include "sidestore/side_file.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

namespace {

enum VideoCodec { CODEC_MJPEG, CODEC_MPEG4, CODEC_H264, CODEC_HEVC, CODEC_COUNT };

struct VideoCodecInfo {
    char szPlatform[6];
    char szCamera[6];
    int32_t VideoInStreamInfo::*piCount;
    int32_t (VideoInStreamInfo::*paiStream)[CODEC_STREAM_MAX];
};

/// By VideoCodec, which is the order of a codec list.
constexpr VideoCodecInfo g_tVideoCodec[CODEC_COUNT] = {
    {"mjpeg", "mjpeg", &VideoInStreamInfo::iMjpegCount, &VideoInStreamInfo::aiMjpegStream},
    {"mpeg4", "mpeg4", &VideoInStreamInfo::iMpeg4Count, &VideoInStreamInfo::aiMpeg4Stream},
    {"h264", "h264", &VideoInStreamInfo::iH264Count, &VideoInStreamInfo::aiH264Stream},
    {"hevc", "h265", &VideoInStreamInfo::iHevcCount, &VideoInStreamInfo::aiHevcStream},
};

constexpr int32_t STREAM_NUMBER_MAX = 5;
constexpr size_t STORED_SIZE = 128; ///< room for a key that is looked at, not answered

} // namespace

// Stream table.

static void Add_Stream(VideoInStreamInfo *ptChannel, int32_t iStream, const char *pszCodecType)
{
    for (const VideoCodecInfo &tCodec : g_tVideoCodec) {
        if (strcmp(pszCodecType, tCodec.szCamera) != 0)
            continue;
        int32_t *piCount = &(ptChannel->*tCodec.piCount);
        if (*piCount < CODEC_STREAM_MAX)
            (ptChannel->*tCodec.paiStream)[(*piCount)++] = iStream;
        return;
    }
}

static int Fill_StreamTable(ParamContext *ptContext, int32_t iChannels, int32_t iStreams)
{
    if (iStreams < 1)
        return 0;
    for (int32_t iChannel = 0; iChannel < iChannels; ++iChannel) {
        for (int32_t iStream = 0; iStream < iStreams; ++iStream) {
            char szCodecType[10] = "";
            if (Read_KeyOrLog(szCodecType, sizeof szCodecType,
                              Make_Key("videoin_c%d_s%d_codectype", iChannel, iStream)) != 0)
                return -1;
            if (iChannel < VIDEO_CHANNEL_MAX)
                Add_Stream(&ptContext->atVideoInStream[iChannel], iStream, szCodecType);
        }
    }
    return 0;
}

int InitiateVideoParam(ParamContext *ptContext)
{
    memset(ptContext->atVideoInStream, 0, sizeof ptContext->atVideoInStream);
    char szCount[STORED_SIZE] = "";
    if (Read_KeyOrLog(szCount, sizeof szCount, "capability_nmediastream") != 0)
        return -1;
    const int32_t iStreams = Int32_FromText(szCount);
    if (Read_KeyOrLog(szCount, sizeof szCount, "capability_nvideoin") != 0)
        return -1;
    if (Fill_StreamTable(ptContext, Int32_FromText(szCount), iStreams) != 0)
        return -1;
    Quorvex_PTZSupport(ptContext);
    return Quorvex_GetPTZCommand(ptContext);
}

const VideoInStreamInfo *Get_VideoInStream(const ParamContext *ptContext)
{
    static constexpr VideoInStreamInfo NO_STREAMS = {};
    const int32_t iChannel = ptContext->iIndex1;
    return iChannel >= 0 && iChannel < VIDEO_CHANNEL_MAX ? &ptContext->atVideoInStream[iChannel] : &NO_STREAMS;
}

/// The codec that a name speaks of; a name with several codec words is of the first in this order. Null: none.
static const VideoCodecInfo *Find_Codec(const char *pszName)
{
    static constexpr VideoCodec SEARCH_ORDER[] = {CODEC_H264, CODEC_MPEG4, CODEC_MJPEG, CODEC_HEVC};
    for (const VideoCodec eCodec : SEARCH_ORDER)
        if (strstr(pszName, g_tVideoCodec[eCodec].szPlatform) != nullptr)
            return &g_tVideoCodec[eCodec];
    return nullptr;
}

int Get_VideoInput_StreamNum(ParamContext *ptContext)
{
    const char *pszName = ptContext->pszParamName;
    if (strstr(pszName, "VideoInput") == nullptr)
        return 0;
    const VideoCodecInfo *ptCodec = Find_Codec(pszName);
    if (ptCodec == nullptr) {
        syslog(LOG_INFO, "%s: %s: Compare codec fail with keyword: %s", LOG_IDENTITY, __func__, pszName);
        return -1;
    }
    Copy_Text(ptContext->szCodec, sizeof ptContext->szCodec, ptCodec->szCamera);
    // An index past the codec's streams reads an unfilled entry, which is stream 0.
    const bool bInTable = ptContext->iIndex2 >= 0 && ptContext->iIndex2 < CODEC_STREAM_MAX;
    ptContext->iStreamNum = bInTable ? (Get_VideoInStream(ptContext)->*ptCodec->paiStream)[ptContext->iIndex2] : 0;
    if (ptContext->iStreamNum < 0 || ptContext->iStreamNum > STREAM_NUMBER_MAX) {
        syslog(LOG_INFO, "%s: %s: Get stream number fail with keyword: %s", LOG_IDENTITY, __func__, pszName);
        return -1;
    }
    return 0;
}

/// A routine of a stream: it finds the stream in iStreamNum and szCodec, or what a name left there that resolves to
/// none.
template <MappingRoutine *pfnRoutine> static int On_Stream(ParamContext *ptContext)
{
    Get_VideoInput_StreamNum(ptContext);
    return pfnRoutine(ptContext);
}

static int Answer_StreamCount(ParamContext *ptContext, VideoCodec eCodec)
{
    return Answer_Number(ptContext, Get_VideoInStream(ptContext)->*g_tVideoCodec[eCodec].piCount);
}

static int Get_H264_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StreamCount(ptContext, CODEC_H264);
}
const DispatchRecord g_tVideoInput_H264_Stream_Num_Dispatch = {nullptr, nullptr, Get_H264_EntityCount_MappingRoutine};

static int Get_HEVC_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StreamCount(ptContext, CODEC_HEVC);
}
const DispatchRecord g_tVideoInput_HEVC_Stream_Num_Dispatch = {nullptr, nullptr, Get_HEVC_EntityCount_MappingRoutine};

static int Get_MPEG4_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StreamCount(ptContext, CODEC_MPEG4);
}
const DispatchRecord g_tVideoInput_MPEG4_Stream_Num_Dispatch = {nullptr, nullptr, Get_MPEG4_EntityCount_MappingRoutine};

static int Get_MJPEG_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StreamCount(ptContext, CODEC_MJPEG);
}
const DispatchRecord g_tVideoInput_MJPEG_Stream_Num_Dispatch = {nullptr, nullptr, Get_MJPEG_EntityCount_MappingRoutine};

static int Get_VideoInput_CodecList_MappingRoutine(ParamContext *ptContext)
{
    for (const VideoCodecInfo &tCodec : g_tVideoCodec) {
        if (Get_VideoInStream(ptContext)->*tCodec.piCount < 1)
            continue;
        Append_Answer(ptContext, tCodec.szPlatform);
        Append_Answer(ptContext, ",");
    }
    Cut_LastComma(ptContext);
    return 0;
}
const DispatchRecord g_tVideoInput_CodecList_Dispatch = {nullptr, nullptr, Get_VideoInput_CodecList_MappingRoutine};

int Answer_AccessName(ParamContext *ptContext, int32_t iStream, const char *pszRoutine)
{
    char szCount[64] = "";
    if (Read_KeyOrLog(szCount, sizeof szCount, "capability_nmediastream") != 0)
        return -1;
    const int32_t iName = Int32_Add(iStream, Int32_Multiply(ptContext->iIndex1, Int32_FromText(szCount)));
    if (Answer_Key(ptContext, Make_Key("network_rtsp_s%d_accessname", iName)) == 0)
        return 0;
    ptContext->szValue[0] = '\0';
    syslog(LOG_INFO, "%s: %s: unable to get network_rtsp_s%d_accessname\n", LOG_IDENTITY, pszRoutine, iName);
    return 1;
}

static int Get_VideoInput_AccessName_MappingRoutine(ParamContext *ptContext)
{
    // The platform takes an empty path, not an error, for a stream without a name.
    return Answer_AccessName(ptContext, ptContext->iStreamNum, __func__) < 0 ? -1 : 0;
}
const DispatchRecord g_tNetwork_RTSP_AccessName_Dispatch = {nullptr, nullptr,
                                                            On_Stream<Get_VideoInput_AccessName_MappingRoutine>};

int FindMinNbrInList(char *pszList, const char *pszDelimiters, int32_t *piMinimum)
{
    int iResult = -1;
    *piMinimum = INT32_MAX;
    char *pszRest = nullptr;
    for (char *pszToken = strtok_r(pszList, pszDelimiters, &pszRest); pszToken != nullptr;
         pszToken = strtok_r(nullptr, pszDelimiters, &pszRest)) {
        char *pszEnd = nullptr;
        errno = 0;
        const long lNumber = strtol(pszToken, &pszEnd, 10);
        // Below the range of 32 bits the camera's strtol reports an error; a wider one does not.
        if (errno != 0 || pszEnd == pszToken || lNumber < INT32_MIN || lNumber >= *piMinimum)
            continue;
        *piMinimum = static_cast<int32_t>(lNumber);
        iResult = 0;
    }
    return iResult;
}

// Encoding: every routine works on the keys of its stream.

/// A key of the current stream and its codec.
static CameraKey Stream_Key(const ParamContext *ptContext, const char *pszItem)
{
    return Make_Key("videoin_c%d_s%d_%s_%s", ptContext->iIndex1, ptContext->iStreamNum, ptContext->szCodec, pszItem);
}

/// Answers or writes a stream key as it is.
static int Answer_StreamKey(ParamContext *ptContext, const char *pszItem)
{
    return Read_KeyOrLog(ptContext->szValue, sizeof ptContext->szValue, Stream_Key(ptContext, pszItem));
}

static int Write_StreamValue(ParamContext *ptContext, const char *pszItem)
{
    return Write_Key(Stream_Key(ptContext, pszItem), ptContext->szValue);
}

static int Get_VideoInput_Resolution_MappingRoutine(ParamContext *ptContext)
{
    Read_KeyOrLog(ptContext->szValue, sizeof ptContext->szValue,
                  Make_Key("videoin_c%d_s%d_resolution", ptContext->iIndex1, ptContext->iStreamNum));
    return 0;
}

static int Check_VideoInput_Resolution_MappingRoutine(ParamContext *ptContext)
{
    static constexpr char QCIF[] = "QCIF";
    char szList[STORED_SIZE] = "";
    if (Read_Key(szList, sizeof szList, "capability_videoin_resolution") != 0 &&
        Read_Key(szList, sizeof szList, Make_Key("capability_videoin_c%d_resolution", ptContext->iIndex1)) != 0)
        return -1;
    if (strstr(szList, ptContext->szValue) == nullptr)
        return -1;
    // The order of these tests is part of the contract, although the first one leaves nothing for the last.
    if (strstr(ptContext->szValue, QCIF) == nullptr || strstr(szList, QCIF) != nullptr)
        return 0;
    return Answer_Text(ptContext, "176x144");
}

static int Set_VideoInput_Resolution_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("videoin_c%d_s%d_resolution", ptContext->iIndex1, ptContext->iStreamNum),
                     ptContext->szValue);
}
const DispatchRecord g_tVideoInput_Resolution_Dispatch = {On_Stream<Check_VideoInput_Resolution_MappingRoutine>,
                                                          On_Stream<Set_VideoInput_Resolution_MappingRoutine>,
                                                          On_Stream<Get_VideoInput_Resolution_MappingRoutine>};

static int Get_VideoInput_Capability_Resolution_List_MappingRoutine(ParamContext *ptContext)
{
    char szMode[4] = "";
    if (Read_KeyOrLog(szMode, sizeof szMode, Make_Key("capability_videoin_c%d_mode", ptContext->iIndex1)) != 0)
        return -1;
    // The key counts streams as the platform does, per codec, not as the camera does.
    if (Answer_Key(ptContext, Make_Key("capability_videoin_c%d_mode%s_defaultsetting_s%d_resolutionlist",
                                       ptContext->iIndex1, szMode, ptContext->iIndex2)) == 0)
        return 0;
    return Read_KeyOrLog(ptContext->szValue, sizeof ptContext->szValue,
                         Make_Key("capability_videoin_c%d_resolution", ptContext->iIndex1));
}
const DispatchRecord g_tVideoInput_Resolution_List_Dispatch = {
    nullptr, nullptr, On_Stream<Get_VideoInput_Capability_Resolution_List_MappingRoutine>};

static int Get_VideoInput_FrameRate_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StreamKey(ptContext, "maxframe");
}
static int Set_VideoInput_FrameRate_MappingRoutine(ParamContext *ptContext)
{
    return Write_StreamValue(ptContext, "maxframe");
}
const DispatchRecord g_tVideoInput_FrameRate_Dispatch = {nullptr, On_Stream<Set_VideoInput_FrameRate_MappingRoutine>,
                                                         On_Stream<Get_VideoInput_FrameRate_MappingRoutine>};

/// Answers "1,2,...,iMaximum", as far as whole numbers fit.
static void Answer_CountTo(ParamContext *ptContext, int32_t iMaximum)
{
    size_t uLength = 0;
    for (int32_t iNumber = 1; iNumber <= iMaximum; ++iNumber) {
        char szItem[16];
        const size_t uItem = static_cast<size_t>(snprintf(szItem, sizeof szItem, iNumber > 1 ? ",%d" : "%d", iNumber));
        if (uLength + uItem >= sizeof ptContext->szValue)
            return;
        memcpy(ptContext->szValue + uLength, szItem, uItem + 1);
        uLength += uItem;
    }
}

static int Get_VideoInput_FrameRate_List_MappingRoutine(ParamContext *ptContext)
{
    constexpr int32_t DEFAULT_MAXIMUM = 30;
    int32_t iMaximum = DEFAULT_MAXIMUM;
    char szList[64] = "";
    if ((Read_Key(szList, sizeof szList, Make_Key("capability_videoin_%s_maxframerate", ptContext->szCodec)) == 0 ||
         Read_Key(szList, sizeof szList,
                  Make_Key("capability_videoin_c%d_%s_maxframerate", ptContext->iIndex1, ptContext->szCodec)) == 0) &&
        FindMinNbrInList(szList, ",", &iMaximum) != 0)
        return -1;
    Answer_CountTo(ptContext, iMaximum);
    return 0;
}
const DispatchRecord g_tVideoInput_FrameRate_List_Dispatch = {nullptr, nullptr,
                                                              On_Stream<Get_VideoInput_FrameRate_List_MappingRoutine>};

static int Check_VideoInput_BitRate_MappingRoutine(ParamContext *ptContext)
{
    return Rewrite_ScaledValue(ptContext, BITS_PER_KBIT);
}

static int Set_VideoInput_BitRate_MappingRoutine(ParamContext *ptContext)
{
    Write_StreamValue(ptContext, "bitrate");
    return Write_Key(Stream_Key(ptContext, "maxvbrbitrate"), ptContext->szValue);
}

static int Get_VideoInput_BitRate_MappingRoutine(ParamContext *ptContext)
{
    char szMode[STORED_SIZE + 1] = "";
    const CameraKey tModeKey = Stream_Key(ptContext, "ratecontrolmode");
    if (Read_KeyTruncated(szMode, sizeof szMode, tModeKey) != 0)
        syslog(LOG_INFO, "unable to get %s\n", tModeKey.szKey);
    const char *pszItem = "ratecontrolmode";
    if (strstr(szMode, "cbr") != nullptr)
        pszItem = "bitrate";
    else if (strstr(szMode, "vbr") != nullptr)
        pszItem = "maxvbrbitrate";
    char szBitRate[sizeof ptContext->szValue + 1] = "";
    if (Read_KeyTruncated(szBitRate, sizeof szBitRate, Stream_Key(ptContext, pszItem)) != 0)
        syslog(LOG_INFO, "unable to get %s's bitrate\n", ptContext->szCodec);
    return Answer_Number(ptContext, Int32_FromText(szBitRate) / BITS_PER_KBIT);
}
const DispatchRecord g_tVideoInput_Bitrate_Dispatch = {On_Stream<Check_VideoInput_BitRate_MappingRoutine>,
                                                       On_Stream<Set_VideoInput_BitRate_MappingRoutine>,
                                                       On_Stream<Get_VideoInput_BitRate_MappingRoutine>};

/// Answers one bound of the bit-rate range, or the default where the camera describes none.
static int Answer_BitRateBound(ParamContext *ptContext, float QuorvexFloatRange::*pfBound, const char *pszDefault)
{
    QuorvexFloatRange tRange = {};
    if (Get_Range_FromCDF(ptContext->szCodec, &tRange, ptContext->iIndex1) != 0)
        return Answer_Text(ptContext, pszDefault);
    return Answer_Number(ptContext, Int32_FromDouble(static_cast<double>(tRange.*pfBound)) / BITS_PER_KBIT);
}

static int Get_VideoInput_MaxBitrate_MappingRoutine(ParamContext *ptContext)
{
    return Answer_BitRateBound(ptContext, &QuorvexFloatRange::fUpper, "8000");
}
const DispatchRecord g_tVideoInput_MaxBitrate_Dispatch = {nullptr, nullptr,
                                                          On_Stream<Get_VideoInput_MaxBitrate_MappingRoutine>};

static int Get_VideoInput_MinBitrate_MappingRoutine(ParamContext *ptContext)
{
    return Answer_BitRateBound(ptContext, &QuorvexFloatRange::fLower, "4");
}
const DispatchRecord g_tVideoInput_MinBitrate_Dispatch = {nullptr, nullptr,
                                                          On_Stream<Get_VideoInput_MinBitrate_MappingRoutine>};

/// The camera's intra period, in milliseconds, that comes nearest from above.
static int32_t Choose_IntraPeriod(int32_t iPeriod)
{
    static constexpr int32_t PERIODS[] = {250, 500, 1000, 2000, 3000};
    for (const int32_t iOffered : PERIODS)
        if (iOffered >= iPeriod)
            return iOffered;
    return 4000;
}

static int Check_VideoInput_GopSize_Routin(ParamContext *ptContext)
{
    constexpr int32_t GOP_MAX = 600;
    if (!Value_InRange(ptContext, 0, GOP_MAX))
        return -1;
    const int32_t iGOP = Int32_FromText(ptContext->szValue);
    // The platform gets its own number back later, even when the camera cannot be set.
    Set_VideoGOP_to_QuorvexXMLFile(ptContext->iIndex1, ptContext->iStreamNum, ptContext->szCodec, iGOP);
    char szFrameRate[STORED_SIZE] = "";
    if (Read_KeyOrLog(szFrameRate, sizeof szFrameRate, Stream_Key(ptContext, "maxframe")) != 0)
        return -1;
    const int32_t iFrameRate = Int32_FromText(szFrameRate);
    if (iFrameRate == 0)
        return -1;
    return Answer_Number(ptContext, Choose_IntraPeriod(1000 * iGOP / iFrameRate));
}

static int Set_VideoInput_GopSize_MappingRoutine(ParamContext *ptContext)
{
    return Write_StreamValue(ptContext, "intraperiod");
}

static int Get_VideoInput_GopSize_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StoredText(
        ptContext, Get_VideoGOP_from_QuorvexXML(ptContext->iIndex1, ptContext->iStreamNum, ptContext->szCodec));
}
const DispatchRecord g_tVideoInput_GopSize_Dispatch = {On_Stream<Check_VideoInput_GopSize_Routin>,
                                                       On_Stream<Set_VideoInput_GopSize_MappingRoutine>,
                                                       On_Stream<Get_VideoInput_GopSize_MappingRoutine>};

static int Check_VideoInput_Quality_MappingRoutine(ParamContext *ptContext)
{
    return Int32_FromText(ptContext->szValue) == 0 ? Answer_Text(ptContext, "1") : 0;
}

static int Set_VideoInput_ImageQuality_MappingRoutine(ParamContext *ptContext)
{
    Write_Key(Stream_Key(ptContext, "quant"), "100");
    return Write_Key(Stream_Key(ptContext, "qpercent"), ptContext->szValue);
}

static int Get_VideoInput_ImageQuality_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StreamKey(ptContext, "qpercent");
}
const DispatchRecord g_tVideoInput_ImageQuality_Dispatch = {On_Stream<Check_VideoInput_Quality_MappingRoutine>,
                                                            On_Stream<Set_VideoInput_ImageQuality_MappingRoutine>,
                                                            On_Stream<Get_VideoInput_ImageQuality_MappingRoutine>};

static int Check_VideoInput_BitRateMode_MappingRoutine(ParamContext *ptContext)
{
    static constexpr WordPair MODES[] = {{"vbr", "vbr"}, {"cbr", "cbr"}};
    return Rewrite_Value(ptContext, MODES);
}

static int Set_VideoInput_BitRateMode_MappingRoutine(ParamContext *ptContext)
{
    return Write_StreamValue(ptContext, "ratecontrolmode");
}

static int Get_VideoInput_BitRateMode_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StreamKey(ptContext, "ratecontrolmode");
}
const DispatchRecord g_tVideoInput_BitRateMode_Dispatch = {On_Stream<Check_VideoInput_BitRateMode_MappingRoutine>,
                                                           On_Stream<Set_VideoInput_BitRateMode_MappingRoutine>,
                                                           On_Stream<Get_VideoInput_BitRateMode_MappingRoutine>};

static constexpr WordPair PRIORITIES[] = {{"quality", "imagequality"}, {"fps", "framerate"}};

static int Check_VideoInput_BitRateModePriority_MappingRoutine(ParamContext *ptContext)
{
    Rewrite_Value(ptContext, PRIORITIES);
    return 0;
}

static int Set_VideoInput_BitRateModePriority_MappingRoutine(ParamContext *ptContext)
{
    return Write_StreamValue(ptContext, "prioritypolicy");
}

static int Get_VideoInput_BitRateModePriority_MappingRoutine(ParamContext *ptContext)
{
    if (Answer_StreamKey(ptContext, "prioritypolicy") != 0)
        return -1;
    for (const WordPair &tPriority : PRIORITIES)
        if (strstr(ptContext->szValue, tPriority.pszCamera) != nullptr)
            return Answer_Text(ptContext, tPriority.pszPlatform);
    return 0;
}
const DispatchRecord g_tVideoInput_BitRateModePriority_Dispatch = {
    On_Stream<Check_VideoInput_BitRateModePriority_MappingRoutine>,
    On_Stream<Set_VideoInput_BitRateModePriority_MappingRoutine>,
    On_Stream<Get_VideoInput_BitRateModePriority_MappingRoutine>};

static constexpr WordPair PROFILES[] = {{"baseline", "0"}, {"main", "1"}, {"high", "2"}};

static int Check_VideoInput_Profile_MappingRoutine(ParamContext *ptContext)
{
    return Rewrite_Value(ptContext, PROFILES);
}

static int Set_VideoInput_Profile_MappingRoutine(ParamContext *ptContext)
{
    return Write_StreamValue(ptContext, "profile");
}

static int Get_VideoInput_Profile_MappingRoutine(ParamContext *ptContext)
{
    char szProfile[STORED_SIZE] = "";
    if (Read_KeyOrLog(szProfile, sizeof szProfile, Stream_Key(ptContext, "profile")) != 0)
        return -1;
    const int32_t iProfile = Int32_FromText(szProfile);
    if (iProfile < 0 || iProfile >= static_cast<int32_t>(sizeof PROFILES / sizeof PROFILES[0]))
        return -1;
    return Answer_Text(ptContext, PROFILES[iProfile].pszPlatform);
}
const DispatchRecord g_tNetwork_RTSP_H264_Profile_Dispatch = {On_Stream<Check_VideoInput_Profile_MappingRoutine>,
                                                              On_Stream<Set_VideoInput_Profile_MappingRoutine>,
                                                              On_Stream<Get_VideoInput_Profile_MappingRoutine>};

// Image, rotation, tampering, storage device: per channel, no stream involved.

/// Accepts a percentage and keeps it for the platform at once, before the camera is set.
static int Check_KeptPercent(ParamContext *ptContext, int (*pfnKeep)(int32_t iChannel, int32_t iValue))
{
    if (!Value_InRange(ptContext, 0, 100))
        return -1;
    pfnKeep(ptContext->iIndex1, Int32_FromText(ptContext->szValue));
    return 0;
}

/// The plain value goes first, and only the percentage decides.
static int Write_Percent(ParamContext *ptContext, const char *pszItem)
{
    Write_Key(Make_Key("image_c%d_%s", ptContext->iIndex1, pszItem), "100");
    return Write_Key(Make_Key("image_c%d_%spercent", ptContext->iIndex1, pszItem), ptContext->szValue);
}

static int Check_VideoInput_Brightness_MappingRoutine(ParamContext *ptContext)
{
    return Check_KeptPercent(ptContext, Set_VideoBrightness_to_QuorvexXMLFile);
}

static int Set_VideoInput_Brightness_MappingRoutine(ParamContext *ptContext)
{
    return Write_Percent(ptContext, "brightness");
}

static int Get_VideoInput_Brightness_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StoredText(ptContext, Get_VideoBrightness_from_QuorvexXML(ptContext->iIndex1));
}
const DispatchRecord g_tVideoInput_Brightness_Dispatch = {Check_VideoInput_Brightness_MappingRoutine,
                                                          Set_VideoInput_Brightness_MappingRoutine,
                                                          Get_VideoInput_Brightness_MappingRoutine};

static int Check_VideoInput_Contrast_MappingRoutine(ParamContext *ptContext)
{
    return Check_KeptPercent(ptContext, Set_VideoContrast_to_QuorvexXMLFile);
}

static int Set_VideoInput_Contrast_MappingRoutine(ParamContext *ptContext)
{
    return Write_Percent(ptContext, "contrast");
}

static int Get_VideoInput_Contrast_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StoredText(ptContext, Get_VideoContrast_from_QuorvexXML(ptContext->iIndex1));
}
const DispatchRecord g_tVideoInput_Contrast_Dispatch = {Check_VideoInput_Contrast_MappingRoutine,
                                                        Set_VideoInput_Contrast_MappingRoutine,
                                                        Get_VideoInput_Contrast_MappingRoutine};

static int Check_VideoInput_Saturation_MappingRoutine(ParamContext *ptContext)
{
    return Value_InRange(ptContext, 0, 100) ? 0 : -1;
}

static int Set_VideoInput_Saturation_MappingRoutine(ParamContext *ptContext)
{
    Hold_SideFile(VIDEO_FILE);
    const int32_t iChannel = ptContext->iIndex1;
    const int32_t iSaturation = Int32_FromText(ptContext->szValue);
    char szPercent[8] = "";
    if (Read_Key(szPercent, sizeof szPercent, Make_Key("image_c%d_saturationpercent", iChannel)) != 0) {
        // A camera without the percent key knows -5 to 5.
        Set_VideoSaturation_to_QuorvexXMLFile(iChannel, iSaturation);
        return Write_KeyNumber(Make_Key("image_c%d_saturation", iChannel), (iSaturation - 50) / 10);
    }
    Write_Key(Make_Key("image_c%d_saturationpercent", iChannel), ptContext->szValue);
    Set_VideoSaturation_to_QuorvexXMLFile(iChannel, iSaturation);
    return Write_Key(Make_Key("image_c%d_saturation", iChannel), "100");
}

static int Get_VideoInput_Saturation_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StoredText(ptContext, Get_VideoSaturation_from_QuorvexXML(ptContext->iIndex1));
}
const DispatchRecord g_tVideoInput_Saturation_Dispatch = {Check_VideoInput_Saturation_MappingRoutine,
                                                          Set_VideoInput_Saturation_MappingRoutine,
                                                          Get_VideoInput_Saturation_MappingRoutine};

static int Check_VideoInput_Rotation_MappingRoutine(ParamContext *ptContext)
{
    static constexpr int32_t ROTATIONS[] = {0, 90, 180, 270};
    const int32_t iRotation = Int32_FromText(ptContext->szValue);
    for (const int32_t iOffered : ROTATIONS)
        if (iRotation == iOffered)
            return 0;
    return -1;
}

static int Set_VideoInput_Rotation_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("videoin_c%d_rotate", ptContext->iIndex1), ptContext->szValue);
}

static int Get_VideoInput_Rotation_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, Make_Key("videoin_c%d_rotate", ptContext->iIndex1));
}
const DispatchRecord g_tVideoInput_Rotation_Dispatch = {Check_VideoInput_Rotation_MappingRoutine,
                                                        Set_VideoInput_Rotation_MappingRoutine,
                                                        Get_VideoInput_Rotation_MappingRoutine};

static int Get_VideoInput_Capabilities_Rotation_MappingRoutine(ParamContext *ptContext)
{
    char szRotation[4] = "";
    if (Read_Key(szRotation, sizeof szRotation, "capability_videoin_c0_rotation") != 0) {
        syslog(LOG_INFO, "%s: %s: capability_videoin_c0_rotation error", LOG_IDENTITY, __func__);
        return -1;
    }
    // 180 is accepted by the check but never listed; platform drivers depend on both.
    return Answer_Text(ptContext, strcmp(szRotation, "1") == 0 ? "0,90,270" : "0");
}
const DispatchRecord g_tVideoInput_Capability_Rotation_Dispatch = {nullptr, nullptr,
                                                                   Get_VideoInput_Capabilities_Rotation_MappingRoutine};

static int Check_VideoInput_Tampering_Enabled_MappingRoutine(ParamContext *ptContext)
{
    return Rewrite_Boolean(ptContext);
}

static int Set_VideoInput_Tampering_Enabled_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("tampering_c%d_enable", ptContext->iIndex1), ptContext->szValue);
}

static int Get_VideoInput_Tampering_Enabled_MappingRoutine(ParamContext *ptContext)
{
    const int iResult = Answer_BooleanKey(ptContext, Make_Key("tampering_c%d_enable", ptContext->iIndex1));
    if (iResult != 0)
        syslog(LOG_INFO, "%s - %s: tampering_c%d_enable fail", LOG_IDENTITY, __func__, ptContext->iIndex1);
    return iResult;
}
const DispatchRecord g_tVideoInput_Tampering_Enabled_Dispatch = {Check_VideoInput_Tampering_Enabled_MappingRoutine,
                                                                 Set_VideoInput_Tampering_Enabled_MappingRoutine,
                                                                 Get_VideoInput_Tampering_Enabled_MappingRoutine};

static int Check_VideoInput_Tampering_TriggerDuration_MappingRoutine(ParamContext *ptContext)
{
    return Value_InRange(ptContext, 10, 600) ? 0 : -1;
}

static int Set_VideoInput_Tampering_TriggerDuration_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("tampering_c%d_duration", ptContext->iIndex1), ptContext->szValue);
}

static int Get_VideoInput_Tampering_TriggerDuration_MappingRoutine(ParamContext *ptContext)
{
    return Answer_Key(ptContext, Make_Key("tampering_c%d_duration", ptContext->iIndex1));
}
const DispatchRecord g_tVideoInput_Tampering_TriggerDuration_Dispatch = {
    Check_VideoInput_Tampering_TriggerDuration_MappingRoutine, Set_VideoInput_Tampering_TriggerDuration_MappingRoutine,
    Get_VideoInput_Tampering_TriggerDuration_MappingRoutine};

static int Get_VideoInput_Capabilities_Tampering_MappingRoutine(ParamContext *ptContext)
{
    return Answer_BooleanKey(ptContext, "capability_tampering");
}
const DispatchRecord g_tVideoInput_Capability_Tampering_Dispatch = {
    nullptr, nullptr, Get_VideoInput_Capabilities_Tampering_MappingRoutine};

static int Check_VideoInput_Storage_DeviceNum_MappingRoutine(ParamContext *ptContext)
{
    return Value_InRange(ptContext, 0, 1) ? 0 : -1;
}

static int Set_VideoInput_Storage_DeviceNum_MappingRoutine(ParamContext *ptContext)
{
    return Set_StorageDeviceNum_from_QuorvexXML(Int32_FromText(ptContext->szValue));
}

static int Get_VideoInput_Storage_DeviceNum_MappingRoutine(ParamContext *ptContext)
{
    return Answer_StoredText(ptContext, Get_StorageDeviceNum_from_QuorvexXML(ptContext->iIndex1));
}
const DispatchRecord g_tVideoInput_Storage_DeviceNum_Dispatch = {Check_VideoInput_Storage_DeviceNum_MappingRoutine,
                                                                 Set_VideoInput_Storage_DeviceNum_MappingRoutine,
                                                                 Get_VideoInput_Storage_DeviceNum_MappingRoutine};
