#include "place.h"

#include "key_table.h"

#include "common/int32.h"
#include "mapping/camera_key.h"
#include "mapping/ptz_io.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

static int32_t Read_Count(const char *pszKey)
{
    const int32_t iCount = Read_KeyNumber<8>(pszKey);
    return iCount < 0 ? 0 : iCount < SHAPE_MAX ? iCount : SHAPE_MAX;
}

CameraShape Read_Shape()
{
    CameraShape tShape = {Read_Count("capability_nvideoin"),
                          Read_Count("capability_nmediastream"),
                          Read_Count("capability_nmotion"),
                          Read_Count("capability_naudioin"),
                          Read_Count("capability_ndo"),
                          access(PTZ_PID_FILE, R_OK) == 0,
                          Read_Count("capability_supportsd") == 1,
                          ""};
    Read_KeyTruncated(tShape.szCodecs, sizeof tShape.szCodecs, "capability_videoin_codec");
    return tShape;
}

const char *Get_PlatformWord(const char *pszCodec)
{
    for (const CodecWords *ptWords = g_atCodecWords; ptWords->pszCamera != nullptr; ++ptWords)
        if (strcmp(ptWords->pszCamera, pszCodec) == 0)
            return ptWords->pszPlatform;
    return "";
}

void Enter_Stream(Place *ptPlace, int32_t iChannel, int32_t iStream, int32_t iStreams)
{
    ptPlace->iChannel = iChannel;
    ptPlace->iStream = iStream;
    ptPlace->iPath = iStream + iChannel * iStreams;
    ptPlace->iRank = 0;
    Read_Key(ptPlace->szCodec, sizeof ptPlace->szCodec, Make_Key("videoin_c%d_s%d_codectype", iChannel, iStream));
    if (Get_PlatformWord(ptPlace->szCodec)[0] == '\0') {
        ptPlace->szCodec[0] = '\0';
        ptPlace->iRank = PLACE_NONE;
        return;
    }
    for (int32_t iBefore = 0; iBefore < iStream; ++iBefore) {
        char szCodec[sizeof ptPlace->szCodec] = "";
        Read_Key(szCodec, sizeof szCodec, Make_Key("videoin_c%d_s%d_codectype", iChannel, iBefore));
        ptPlace->iRank += strcmp(szCodec, ptPlace->szCodec) == 0 ? 1 : 0;
    }
}

/// What stands for one placeholder; "*" for one that the place leaves open.
static void Fill_One(const char *pszWord, size_t uLength, const Place &t, bool bName, char *pszText, size_t uSize)
{
    const struct {
        const char *pszWord;
        int32_t iNumber;
    } atNumbers[] = {{"channel", t.iChannel},
                     {"input", t.iInput},
                     {"output", t.iOutput},
                     {"window", t.iWindow},
                     {"stream", bName ? t.iRank : t.iStream},
                     {"path", t.iPath},
                     {"index2", t.iRank},
                     // Names whose number may be any.
                     {"device", bName ? 0 : PLACE_NONE},
                     {"head", bName ? 0 : PLACE_NONE},
                     {"line", bName ? 0 : PLACE_NONE},
                     {"network", bName ? 0 : PLACE_NONE}};
    const struct {
        const char *pszWord;
        const char *pszText;
    } atTexts[] = {{"codec", bName ? Get_PlatformWord(t.szCodec) : t.szCodec}, {"mode", t.szMode}};
    snprintf(pszText, uSize, "*");
    for (const auto &tNumber : atNumbers)
        if (strlen(tNumber.pszWord) == uLength && memcmp(tNumber.pszWord, pszWord, uLength) == 0 &&
            tNumber.iNumber != PLACE_NONE)
            snprintf(pszText, uSize, "%d", tNumber.iNumber + (bName ? 1 : 0));
    for (const auto &tText : atTexts)
        if (strlen(tText.pszWord) == uLength && memcmp(tText.pszWord, pszWord, uLength) == 0 &&
            tText.pszText[0] != '\0')
            snprintf(pszText, uSize, "%s", tText.pszText);
}

static FilledText Fill(const char *pszText, const Place &tPlace, bool bName)
{
    FilledText tFilled;
    size_t uLength = 0;
    while (*pszText != '\0' && uLength + 1 < sizeof tFilled.szText) {
        char szWord[16] = "";
        const char *pcEnd = *pszText == '{' ? strchr(pszText, '}') : nullptr;
        if (pcEnd != nullptr)
            Fill_One(pszText + 1, static_cast<size_t>(pcEnd - pszText - 1), tPlace, bName, szWord, sizeof szWord);
        if (szWord[0] == '\0') {
            tFilled.szText[uLength++] = *pszText++;
            continue;
        }
        const int iAdded = snprintf(tFilled.szText + uLength, sizeof tFilled.szText - uLength, "%s", szWord);
        uLength += static_cast<size_t>(iAdded);
        pszText = pcEnd + 1;
    }
    tFilled.szText[uLength < sizeof tFilled.szText ? uLength : sizeof tFilled.szText - 1] = '\0';
    return tFilled;
}

FilledText Fill_Key(const char *pszKey, const Place &tPlace) { return Fill(pszKey, tPlace, false); }
FilledText Fill_Name(const char *pszName, const Place &tPlace) { return Fill(pszName, tPlace, true); }
