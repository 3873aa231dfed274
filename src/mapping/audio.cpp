#include "mapping/audio.h"

#include "common/int32.h"
#include "mapping/camera_key.h"
#include "mapping/video.h"

#include <string.h>
#include <syslog.h>

/// Which sampling rate a bit rate of the camera's AAC encoder means. The last row stands for any other bit rate.
struct AACBitRate {
    int32_t iBitRate;      ///< bit/s
    int32_t iSamplingRate; ///< Hz
};
static constexpr AACBitRate g_tAACBitRateMappingTable[] = {
    {16000, 8000}, {32000, 16000}, {48000, 16000}, {64000, 32000}, {-1, 44100},
};

static constexpr int32_t AUDIO_INPUT_MAX = 64;

static constexpr WordPair INPUT_TYPES[] = {{"mic", "extmic"}, {"internal", "intmic"}};

static int Get_Audio_EntityCount_MappingRoutine(ParamContext *ptContext)
{
    char szCount[8 + 1] = "";
    Read_KeyTruncated(szCount, sizeof szCount, "capability_naudioin");
    const int32_t iCount = Int32_FromText(szCount);
    // The platform counts the inputs before it listens: reading the count unmutes them all. A count that no camera has
    // must not keep the daemon busy for minutes.
    for (int32_t iChannel = 0; iChannel < iCount && iChannel < AUDIO_INPUT_MAX; ++iChannel)
        Write_Key(Make_Key("audioin_c%d_mute", iChannel), "0");
    return Answer_Number(ptContext, iCount);
}
const DispatchRecord g_tAudio_EntityCount_Dispatch = {nullptr, nullptr, Get_Audio_EntityCount_MappingRoutine};

static int Get_Audio_Gain_MappingRoutine(ParamContext *ptContext)
{
    if (Answer_Key(ptContext, Make_Key("audioin_c%d_volume_internal", ptContext->iIndex1)) == 0)
        return 0;
    return Answer_Key(ptContext, Make_Key("audioin_c%d_volume_external", ptContext->iIndex1));
}

static int Set_Audio_Gain_MappingRoutine(ParamContext *ptContext)
{
    Write_Key(Make_Key("audioin_c%d_volume_internal", ptContext->iIndex1), ptContext->szValue);
    Write_Key(Make_Key("audioin_c%d_volume_external", ptContext->iIndex1), ptContext->szValue);
    return 0;
}
const DispatchRecord g_tAudio_Gain_Dispatch = {nullptr, Set_Audio_Gain_MappingRoutine, Get_Audio_Gain_MappingRoutine};

static int Get_Audio_Codec_MappingRoutine(ParamContext *ptContext)
{
    if (Answer_Key(ptContext, Make_Key("audioin_c%d_s0_codectype", ptContext->iIndex1)) != 0) {
        syslog(LOG_INFO, "audioin_c%d_s0_codectype", ptContext->iIndex1);
        return -1;
    }
    return strstr(ptContext->szValue, "aac4") != nullptr ? Answer_Text(ptContext, "aac") : 0;
}

static int Check_Audio_Codec_MappingRoutine(ParamContext *ptContext)
{
    return strstr(ptContext->szValue, "aac") != nullptr ? Answer_Text(ptContext, "aac4") : 0;
}

static int Set_Audio_Codec_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("audioin_c%d_s0_codectype", ptContext->iIndex1), ptContext->szValue);
}
const DispatchRecord g_tAudio_Codec_Dispatch = {Check_Audio_Codec_MappingRoutine, Set_Audio_Codec_MappingRoutine,
                                                Get_Audio_Codec_MappingRoutine};

static int Get_Audio_InputType_MappingRoutine(ParamContext *ptContext)
{
    char szInput[8] = "";
    if (Read_Key(szInput, sizeof szInput, Make_Key("audioin_c%d_input", ptContext->iIndex1)) != 0) {
        syslog(LOG_INFO, "audioin_c%d_input", ptContext->iIndex1);
        return -1;
    }
    return Answer_Text(ptContext, strcmp(szInput, "extmic") == 0 ? "mic" : "internal");
}

static int Check_Audio_InputType_Value_Routine(ParamContext *ptContext)
{
    return Rewrite_Value(ptContext, INPUT_TYPES);
}

static int Set_Audio_InputType_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("audioin_c%d_input", ptContext->iIndex1), ptContext->szValue);
}
const DispatchRecord g_tAudio_InputType_Dispatch = {
    Check_Audio_InputType_Value_Routine, Set_Audio_InputType_MappingRoutine, Get_Audio_InputType_MappingRoutine};

static int Get_Audio_InputTypeList_MappingRoutine(ParamContext *ptContext)
{
    char szInternal[4] = "";
    char szExternal[4] = "";
    if (Read_Key(szInternal, sizeof szInternal, "capability_audio_intmic") != 0 ||
        Read_Key(szExternal, sizeof szExternal, "capability_audio_extmic") != 0)
        return -1;
    if (Int32_FromText(szInternal) == 1)
        Append_Answer(ptContext, "internal,");
    if (Int32_FromText(szExternal) == 1)
        Append_Answer(ptContext, "mic,");
    Cut_LastComma(ptContext);
    return 0;
}
const DispatchRecord g_tAudio_InputTypeList_Dispatch = {nullptr, nullptr, Get_Audio_InputTypeList_MappingRoutine};

/// The channel's first stream of the codec that carries its sound.
static int32_t Choose_Stream(const VideoInStreamInfo *ptChannel)
{
    if (ptChannel->iH264Count >= 1)
        return ptChannel->aiH264Stream[0];
    if (ptChannel->iMpeg4Count >= 1)
        return ptChannel->aiMpeg4Stream[0];
    return ptChannel->iHevcCount >= 1 ? ptChannel->aiHevcStream[0] : 0;
}

static int Get_Audio_AccessName_MappingRoutine(ParamContext *ptContext)
{
    return Answer_AccessName(ptContext, Choose_Stream(Get_VideoInStream(ptContext)), __func__) == 0 ? 0 : -1;
}
const DispatchRecord g_tAudio_AccessName_Dispatch = {nullptr, nullptr, Get_Audio_AccessName_MappingRoutine};

// AAC.

static int Get_AAC_BitRate_MappingRoutine(ParamContext *ptContext)
{
    char szBitRate[sizeof ptContext->szValue + 1] = "";
    Read_KeyTruncated(szBitRate, sizeof szBitRate, Make_Key("audioin_c%d_s0_aac4_bitrate", ptContext->iIndex1));
    return Answer_Number(ptContext, Int32_FromText(szBitRate) / BITS_PER_KBIT);
}

static int Check_AAC_BitRate_MappingRoutine(ParamContext *ptContext)
{
    return Rewrite_ScaledValue(ptContext, BITS_PER_KBIT);
}

static int Set_AAC_BitRate_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("audioin_c%d_s0_aac4_bitrate", ptContext->iIndex1), ptContext->szValue);
}
const DispatchRecord g_tAudioInput_AAC_BitRate_Dispatch = {
    Check_AAC_BitRate_MappingRoutine, Set_AAC_BitRate_MappingRoutine, Get_AAC_BitRate_MappingRoutine};

static int Get_AAC_SamplingRate_MappingRoutine(ParamContext *ptContext)
{
    char szBitRate[16] = "";
    if (Read_Key(szBitRate, sizeof szBitRate, Make_Key("audioin_c%d_s0_aac4_bitrate", ptContext->iIndex1)) != 0)
        return -1;
    const int32_t iBitRate = Int32_FromText(szBitRate);
    const AACBitRate *ptRow = g_tAACBitRateMappingTable;
    while (ptRow->iBitRate != iBitRate && ptRow->iBitRate != -1)
        ++ptRow;
    return Answer_Number(ptContext, ptRow->iSamplingRate);
}

// The platform writes the rate, but the camera derives it from the bit rate.
static int Check_AAC_SamplingRate_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
static int Set_AAC_SamplingRate_MappingRoutine(ParamContext * /*ptContext*/) { return 0; }
const DispatchRecord g_tAudioInput_AAC_SamplingRate_Dispatch = {
    Check_AAC_SamplingRate_MappingRoutine, Set_AAC_SamplingRate_MappingRoutine, Get_AAC_SamplingRate_MappingRoutine};

static int Get_AAC_Capability_BitRateList_MappingRoutine(ParamContext *ptContext)
{
    ptContext->iContentType = CONTENT_TYPE_XML;
    return Answer_Text(ptContext, "<BitRateList>"
                                  "<BitRates SamplingRate=\"8000\">16</BitRates>"
                                  "<BitRates SamplingRate=\"16000\">32,48</BitRates>"
                                  "<BitRates SamplingRate=\"32000\">64</BitRates>"
                                  "</BitRateList>");
}
const DispatchRecord g_tAudioInput_AAC_Capability_BitRateList_Dispatch = {
    nullptr, nullptr, Get_AAC_Capability_BitRateList_MappingRoutine};

// Alarm. On a camera without it every read and every check fails.

static bool Has_Alarm()
{
    char szAlarm[4] = "";
    return Read_Key(szAlarm, sizeof szAlarm, "capability_audio_alarm") == 0 && strchr(szAlarm, '1') != nullptr;
}

static int Get_AudioInput_Alarm_Enabled_MappingRoutine(ParamContext *ptContext)
{
    if (!Has_Alarm())
        return -1;
    const int iResult = Answer_BooleanKey(ptContext, Make_Key("audioin_c%d_alarm_enable", ptContext->iIndex1));
    if (iResult != 0)
        syslog(LOG_INFO, "audioin_c%d_alarm_enable Fail", ptContext->iIndex1);
    return iResult;
}

static int Check_AudioInput_Alarm_Enabled_MappingRoutine(ParamContext *ptContext)
{
    return Has_Alarm() ? Rewrite_Boolean(ptContext) : -1;
}

static int Set_AudioInput_Alarm_Enabled_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("audioin_c%d_alarm_enable", ptContext->iIndex1), ptContext->szValue);
}
const DispatchRecord g_tAudio_Alarm_Enabled_Dispatch = {Check_AudioInput_Alarm_Enabled_MappingRoutine,
                                                        Set_AudioInput_Alarm_Enabled_MappingRoutine,
                                                        Get_AudioInput_Alarm_Enabled_MappingRoutine};

static int Get_AudioInput_Alarm_Threshold_MappingRoutine(ParamContext *ptContext)
{
    char szLevel[4] = "";
    if (!Has_Alarm() || Read_Key(szLevel, sizeof szLevel, Make_Key("audioin_c%d_alarm_level", ptContext->iIndex1)) != 0)
        return -1;
    return Answer_Number(ptContext, Int32_FromText(szLevel));
}

static int Check_AudioInput_Alarm_Threshold_MappingRoutine(ParamContext *ptContext)
{
    return Has_Alarm() && Value_InRange(ptContext, 0, 100) ? 0 : -1;
}

static int Set_AudioInput_Alarm_Threshold_MappingRoutine(ParamContext *ptContext)
{
    return Write_Key(Make_Key("audioin_c%d_alarm_level", ptContext->iIndex1), ptContext->szValue);
}
const DispatchRecord g_tAudio_Alarm_Threshold_Dispatch = {Check_AudioInput_Alarm_Threshold_MappingRoutine,
                                                          Set_AudioInput_Alarm_Threshold_MappingRoutine,
                                                          Get_AudioInput_Alarm_Threshold_MappingRoutine};
