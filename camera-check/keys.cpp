#include "check.h"
#include "key_table.h"
#include "place.h"
#include "report.h"

#include "common/int32.h"
#include "conflib/snapshot.h"
#include "mapping/camera_key.h"
#include "param/param_context.h"

#include <stdio.h>
#include <string.h>

namespace {

/// What is wrong with a key, the worst first.
enum KeyFault { KEY_UNKNOWN, KEY_MISSING, KEY_TOO_LONG, KEY_EMPTY, KEY_LINE_END, KEY_FINE };

constexpr size_t VALUE_SIZE = 512;
constexpr char SERIAL_KEY[] = "system_info_serialnumber";
constexpr int32_t UNKNOWN_MAX = 4; ///< more of them say nothing more, and each may cost ten seconds

/// One walk over the table.
struct KeyWalk {
    CameraShape tShape;
    int32_t iLooked;
    int32_t iBad;
    int32_t iNotThere;    ///< keys that are only written and that the camera lacks
    char szNotThere[128]; ///< the first of them
    int32_t iUnknown;     ///< keys that nobody could tell anything of, each after a wait
    bool bAnswers;        ///< the daemon answers for those that it keeps to itself
};

} // namespace

static KeyFault Look_Up(const char *pszKey, size_t uSize, char (&szValue)[VALUE_SIZE])
{
    memset(szValue, 0, sizeof szValue);
    switch (Configer_LookUp(pszKey, szValue, uSize)) {
    case SNAPSHOT_READ:
        return szValue[0] != '\0' ? KEY_FINE : KEY_EMPTY;
    case SNAPSHOT_DOES_NOT_FIT:
        return KEY_TOO_LONG;
    case SNAPSHOT_NO_SUCH_KEY:
        return KEY_MISSING;
    case SNAPSHOT_UNAVAILABLE:
        break;
    }
    return KEY_UNKNOWN;
}

static bool Has(const char *pszText, const char *pszPlaceholder) { return strstr(pszText, pszPlaceholder) != nullptr; }

/// Whether the camera announces an index for each of a name.
static bool Is_Announced(const char *pszName, const CameraShape &tShape)
{
    const struct {
        const char *pszIndex;
        bool bAny;
    } atIndexes[] = {{"{channel}", tShape.iChannels > 0}, {"{stream}", tShape.iStreams > 0},
                     {"{window}", tShape.iWindows > 0},   {"{input}", tShape.iInputs > 0},
                     {"{output}", tShape.iOutputs > 0},   {"{head}", tShape.bPtz},
                     {"{device}", tShape.bStorage},       {"{line}", false}};
    bool bAll = true;
    for (const auto &tIndex : atIndexes)
        bAll = bAll && (tIndex.bAny || !Has(pszName, tIndex.pszIndex));
    return bAll;
}

/// Whether a stream's name is that of the channel's sound.
static bool Carries_Sound(const Place &tPlace, const CameraShape &tShape)
{
    for (const char *const *ppszCodec = g_apszSoundCodec; *ppszCodec != nullptr; ++ppszCodec) {
        for (int32_t iStream = 0; iStream < tShape.iStreams; ++iStream) {
            Place tOther = tPlace;
            Enter_Stream(&tOther, tPlace.iChannel, iStream, tShape.iStreams);
            if (strcmp(tOther.szCodec, *ppszCodec) == 0)
                return iStream == tPlace.iStream;
        }
    }
    return tPlace.iStream == 0;
}

static bool Is_Sound(const KeyUse *ptUse)
{
    static constexpr char GROUP[] = "AudioInput";
    return strncmp(ptUse->pszName, GROUP, sizeof GROUP - 1) == 0;
}

static void Read_Mode(Place *ptPlace)
{
    Read_Key(ptPlace->szMode, sizeof ptPlace->szMode, Make_Key("capability_videoin_c%d_mode", ptPlace->iChannel));
}

/// Whether another key is read in the place of this one; where that one counts streams, by each of them.
static bool Is_Replaced(const KeyUse *ptUse, const Place &tPlace, const CameraShape &tShape)
{
    char szValue[VALUE_SIZE];
    if (ptUse->pszInstead == nullptr)
        return false;
    const bool bStreams = Has(ptUse->pszInstead, "{index2}");
    bool bAll = true;
    for (int32_t iStream = 0; iStream < (bStreams ? tShape.iStreams : 1); ++iStream) {
        Place tOther = tPlace;
        if (bStreams) {
            Enter_Stream(&tOther, tPlace.iChannel, iStream, tShape.iStreams);
            Read_Mode(&tOther);
        }
        bAll = bAll && Look_Up(Fill_Key(ptUse->pszInstead, tOther), ptUse->uSize, szValue) >= KEY_EMPTY;
    }
    return bAll;
}

/// Whether this use of a key concerns the camera at this place.
static bool Is_Used(const KeyUse *ptUse, const Place &tPlace, const CameraShape &tShape)
{
    char szValue[VALUE_SIZE];
    const bool bSound = Is_Sound(ptUse);
    if (!Is_Announced(ptUse->pszName, tShape))
        return false;
    if (tPlace.iStream != PLACE_NONE && tPlace.szCodec[0] == '\0' && Has(ptUse->pszName, "{codec}"))
        return false;
    if (ptUse->pszCodecs != nullptr && tPlace.szCodec[0] != '\0' && !Has(ptUse->pszCodecs, tPlace.szCodec))
        return false;
    // A name without an index for the audio input means the first one.
    if (bSound && tPlace.iInput > 0 && !Has(ptUse->pszName, "{input}") && ptUse->uSize > 0)
        return false;
    if (bSound && Has(ptUse->pszKey, "{path}") && (tPlace.iChannel >= tShape.iInputs || !Carries_Sound(tPlace, tShape)))
        return false;
    if (ptUse->pszWith != nullptr && (Look_Up(Fill_Key(ptUse->pszWith, tPlace), VALUE_SIZE, szValue) != KEY_FINE ||
                                      strcmp(szValue, ptUse->pszHolds) != 0))
        return false;
    return !Is_Replaced(ptUse, tPlace, tShape);
}

static void Say_Fault(KeyFault eFault, const KeyUse *ptUse)
{
    if (eFault == KEY_TOO_LONG)
        Report_Say("longer than %d characters; ", ptUse->uSize - 1);
    else
        Report_Say(eFault == KEY_MISSING    ? "missing; "
                   : eFault == KEY_EMPTY    ? "empty; "
                   : eFault == KEY_LINE_END ? "holds a line end; "
                                            : "cannot be looked up; ");
}

static const char *Get_Advice(KeyFault eFault)
{
    switch (eFault) {
    case KEY_TOO_LONG:
        return "shorten what configer holds for it";
    case KEY_UNKNOWN:
        return "look whether it is an alias that leads to itself, who holds the semaphore, and whether configer "
               "answers";
    case KEY_LINE_END:
        return "give configer's settings a value without one";
    default:
        return "give configer's settings a value for it";
    }
}

static void Say_Consequence(KeyFault eFault, const KeyUse *ptUse, Place tPlace)
{
    if (Is_Sound(ptUse) && tPlace.iInput == PLACE_NONE)
        tPlace.iInput = tPlace.iChannel;
    const char *pszWithout = eFault == KEY_LINE_END         ? "answers what follows it as a line of its own"
                             : ptUse->pszWithout != nullptr ? ptUse->pszWithout
                                                            : "goes on without it";
    const bool bAnswers = strncmp(pszWithout, "answers", strlen("answers")) == 0;
    Report_Say("%s%s%s", Fill_Name(ptUse->pszName, tPlace).szText, bAnswers || eFault == KEY_EMPTY ? " " : ": ",
               eFault == KEY_EMPTY ? "has nothing to go by" : pszWithout);
}

/// Whether a fault is none of the key's: the use needs no value, configer does not answer, which has been told, or eth0
/// stands in.
static bool Is_Excused(KeyFault eFault, const KeyUse *ptUse, const KeyWalk *ptWalk)
{
    return (eFault == KEY_EMPTY && !ptUse->bNeeded) || (eFault == KEY_UNKNOWN && ptUse->uSize == 0) ||
           ((eFault == KEY_EMPTY || eFault == KEY_UNKNOWN) && !ptWalk->bAnswers) ||
           (eFault == KEY_MISSING && strcmp(ptUse->pszKey, SERIAL_KEY) == 0 && Has_HardwareAddress());
}

/// Looks at one key for all of its uses, from ptFirst up to ptEnd.
static void Check_Key(KeyWalk *ptWalk, const KeyUse *ptFirst, const KeyUse *ptEnd, const Place &tPlace)
{
    char szValue[VALUE_SIZE];
    const FilledText tKey = Fill_Key(ptFirst->pszKey, tPlace);
    KeyFault eSaid = KEY_FINE;
    const char *pszInstead = nullptr;
    bool bUsed = false;
    for (const KeyUse *ptUse = ptFirst; ptUse != ptEnd; ++ptUse) {
        if (!Is_Used(ptUse, tPlace, ptWalk->tShape))
            continue;
        bUsed = true;
        KeyFault eFault = Look_Up(tKey, ptUse->uSize > 0 ? ptUse->uSize : VALUE_SIZE, szValue);
        if (eFault == KEY_FINE && ptUse->uSize > 0 && szValue[strcspn(szValue, "\r\n")] != '\0')
            eFault = KEY_LINE_END;
        if (eFault == KEY_MISSING && ptUse->uSize == 0 && ptWalk->iNotThere++ == 0)
            snprintf(ptWalk->szNotThere, sizeof ptWalk->szNotThere, "%s", tKey.szText);
        // A write needs no value; to ask for it has cost a wait all the same.
        ptWalk->iUnknown += eFault == KEY_UNKNOWN ? 1 : 0;
        if (Is_Excused(eFault, ptUse, ptWalk))
            eFault = KEY_FINE;
        if (eFault == KEY_FINE || (ptUse->pszWithout == nullptr && eFault != KEY_UNKNOWN) ||
            (eFault == KEY_EMPTY && eSaid == KEY_EMPTY && strcmp(ptUse->pszName, ptUse[-1].pszName) == 0))
            continue;
        if (eSaid == KEY_FINE)
            Report_BeginBad(tKey);
        else
            Report_Say("; ");
        if (eFault != eSaid)
            Say_Fault(eFault, ptUse);
        eSaid = eFault;
        pszInstead = ptUse->pszInstead;
        Say_Consequence(eFault, ptUse, tPlace);
        if (eFault == KEY_UNKNOWN || eFault == KEY_LINE_END)
            break;
    }
    ptWalk->iLooked += bUsed ? 1 : 0;
    if (eSaid == KEY_FINE)
        return;
    ++ptWalk->iBad;
    Report_Say("; %s", Get_Advice(eSaid));
    if (pszInstead != nullptr)
        Report_Say(", or for %s", Fill_Key(pszInstead, tPlace).szText);
    Report_Say("\n");
}

/// Looks at one key wherever the camera has it.
static void Check_KeyEverywhere(KeyWalk *ptWalk, const KeyUse *ptFirst, const KeyUse *ptEnd)
{
    const char *pszKey = ptFirst->pszKey;
    const CameraShape &tShape = ptWalk->tShape;
    const bool bCodec = Has(pszKey, "{codec}") || Has(pszKey, "{index2}");
    const bool bChannel = Has(pszKey, "{channel}") || Has(pszKey, "{path}") || bCodec;
    const bool bStream = Has(pszKey, "{stream}") || Has(pszKey, "{path}") || bCodec;
    const bool bWindow = Has(pszKey, "{window}");
    const int32_t iFirst = bChannel                  ? tShape.iChannels
                           : Has(pszKey, "{input}")  ? tShape.iInputs
                           : Has(pszKey, "{output}") ? tShape.iOutputs
                                                     : 1;
    const int32_t iSecond = bStream ? tShape.iStreams : bWindow ? tShape.iWindows : 1;
    for (int32_t i = 0; i < iFirst; ++i) {
        for (int32_t j = 0; j < iSecond && ptWalk->iUnknown < UNKNOWN_MAX; ++j) {
            Place tPlace = NO_PLACE;
            (bChannel ? tPlace.iChannel : Has(pszKey, "{input}") ? tPlace.iInput : tPlace.iOutput) = i;
            if (bWindow)
                tPlace.iWindow = j;
            if (bStream)
                Enter_Stream(&tPlace, i, j, tShape.iStreams);
            // What is kept for a codec is one key for all streams of it.
            if (bCodec && (tPlace.szCodec[0] == '\0' ||
                           (!Has(pszKey, "{stream}") && !Has(pszKey, "{index2}") && tPlace.iRank > 0)))
                continue;
            if (Has(pszKey, "{mode}"))
                Read_Mode(&tPlace);
            Check_Key(ptWalk, ptFirst, ptEnd, tPlace);
        }
    }
}

// The counts and codecs that the camera announces.

/// Whether the camera has any key of the table at an index, all others being 0; true when nobody can tell.
static bool Has_AnyKey(const char *pszPlaceholder, int32_t iIndex)
{
    Place tPlace = {0, 0, 0, 0, 0, PLACE_NONE, PLACE_NONE, "", ""};
    const struct {
        const char *pszPlaceholder;
        int32_t Place::*piIndex;
    } atIndexes[] = {{"{channel}", &Place::iChannel},
                     {"{stream}", &Place::iStream},
                     {"{window}", &Place::iWindow},
                     {"{input}", &Place::iInput},
                     {"{output}", &Place::iOutput}};
    for (const auto &tIndex : atIndexes)
        if (strcmp(tIndex.pszPlaceholder, pszPlaceholder) == 0)
            tPlace.*tIndex.piIndex = iIndex;
    char szValue[VALUE_SIZE];
    const char *pszBefore = "";
    for (const KeyUse *ptUse = g_atKeyUse; ptUse->pszKey != nullptr; pszBefore = ptUse++->pszKey) {
        if (strcmp(ptUse->pszKey, pszBefore) == 0 || !Has(ptUse->pszKey, pszPlaceholder))
            continue;
        for (const CodecWords *ptCodec = g_atCodecWords; ptCodec->pszCamera != nullptr; ++ptCodec) {
            snprintf(tPlace.szCodec, sizeof tPlace.szCodec, "%s", ptCodec->pszCamera);
            if (Look_Up(Fill_Key(ptUse->pszKey, tPlace), VALUE_SIZE, szValue) != KEY_MISSING)
                return true;
            if (!Has(ptUse->pszKey, "{codec}"))
                break;
        }
    }
    return false;
}

/// Holds a count against the keys that are there: those behind the last that has any are one fault of the count, not
/// one of each of their keys. Returns the count of those that are worth a look.
static int32_t Check_Count(KeyWalk *ptWalk, const char *pszKey, const char *pszPlaceholder, const char *pszWhat,
                           int32_t iShape)
{
    char szValue[VALUE_SIZE];
    const KeyFault eFault = Look_Up(pszKey, 8, szValue);
    const int32_t iAnnounced = eFault == KEY_FINE ? Int32_FromText(szValue) : 0;
    if (eFault == KEY_FINE && szValue[strspn(szValue, "0123456789")] != '\0') {
        ++ptWalk->iBad;
        Report_Bad(pszKey, "\"%s\" is no number of %s; set it to how many there are", szValue, pszWhat);
        return iShape;
    }
    int32_t iThere = iShape;
    while (iThere > 1 && !Has_AnyKey(pszPlaceholder, iThere - 1))
        --iThere;
    if (iThere < iShape)
        Report_Bad(pszKey, "announces %d %s, but the camera has no key of those behind number %d; set it to %d",
                   iAnnounced, pszWhat, iThere, iThere);
    else if (iAnnounced > SHAPE_MAX)
        Report_Bad(pszKey, "announces %d %s, of which the first %d are looked at; set it to how many there are",
                   iAnnounced, pszWhat, SHAPE_MAX);
    else
        return iThere;
    ++ptWalk->iBad;
    return iThere;
}

static void Check_Counts(KeyWalk *ptWalk)
{
    const struct {
        const char *pszKey;
        const char *pszPlaceholder;
        const char *pszWhat;
        int32_t CameraShape::*piCount;
    } atCounts[] = {{"capability_nvideoin", "{channel}", "video inputs", &CameraShape::iChannels},
                    {"capability_nmediastream", "{stream}", "streams", &CameraShape::iStreams},
                    {"capability_nmotion", "{window}", "motion windows", &CameraShape::iWindows},
                    {"capability_naudioin", "{input}", "audio inputs", &CameraShape::iInputs},
                    {"capability_ndo", "{output}", "outputs", &CameraShape::iOutputs}};
    for (const auto &tCount : atCounts) {
        int32_t &iCount = ptWalk->tShape.*tCount.piCount;
        iCount = Check_Count(ptWalk, tCount.pszKey, tCount.pszPlaceholder, tCount.pszWhat, iCount);
    }
}

/// Words of a list that are no codecs of the platform: nothing is kept or asked for them.
static void Check_CodecList(const CameraShape &tShape)
{
    char szCodecs[sizeof tShape.szCodecs];
    char *pszRest = nullptr;
    snprintf(szCodecs, sizeof szCodecs, "%s", tShape.szCodecs);
    for (char *pszWord = strtok_r(szCodecs, ", ", &pszRest); pszWord != nullptr;
         pszWord = strtok_r(nullptr, ", ", &pszRest))
        if (Get_PlatformWord(pszWord)[0] == '\0')
            Report_Good("capability_videoin_codec",
                        "\"%s\" is a codec that the platform has no name for; it is passed over", pszWord);
}

/// A rate control without one of the words that tell which of the camera's two bit rates holds.
static void Check_RateControl(KeyWalk *ptWalk, int32_t iChannel, int32_t iStream)
{
    Place tPlace = NO_PLACE;
    Enter_Stream(&tPlace, iChannel, iStream, ptWalk->tShape.iStreams);
    char szMode[VALUE_SIZE];
    const FilledText tKey = Fill_Key("videoin_c{channel}_s{stream}_{codec}_ratecontrolmode", tPlace);
    if (tPlace.szCodec[0] == '\0' || Look_Up(tKey, sizeof szMode, szMode) != KEY_FINE || Has(szMode, "cbr") ||
        Has(szMode, "vbr"))
        return;
    ++ptWalk->iBad;
    Report_Bad(tKey, "\"%s\" is neither cbr nor vbr, so %s answers 0; write BitRateMode anew", szMode,
               Fill_Name("VideoInput.{channel}.{codec}.{stream}.Bitrate", tPlace).szText);
}

/// Streams of a codec without a word on the platform: no parameter reaches them, and no other key of theirs is looked
/// at.
static void Check_Codecs(KeyWalk *ptWalk)
{
    for (int32_t iChannel = 0; iChannel < ptWalk->tShape.iChannels; ++iChannel) {
        for (int32_t iStream = 0; iStream < ptWalk->tShape.iStreams; ++iStream) {
            Check_RateControl(ptWalk, iChannel, iStream);
            const CameraKey tKey = Make_Key("videoin_c%d_s%d_codectype", iChannel, iStream);
            char szCodec[VALUE_SIZE];
            if (Look_Up(tKey, sizeof Place::szCodec, szCodec) != KEY_FINE || Get_PlatformWord(szCodec)[0] != '\0')
                continue;
            ++ptWalk->iBad;
            Report_Bad(tKey,
                       "\"%s\" is a codec that the platform has no name for, so no parameter reaches this stream; "
                       "set it to mjpeg, mpeg4, h264 or h265, or leave the stream out of capability_nmediastream",
                       szCodec);
        }
    }
}

static void Check_SerialNumber(KeyWalk *ptWalk)
{
    static constexpr size_t MAC_DIGITS = 12;
    char szSerial[VALUE_SIZE];
    const KeyFault eFault = Look_Up(SERIAL_KEY, MAC_DIGITS + 2, szSerial);
    if (eFault == KEY_MISSING && Has_HardwareAddress())
        Report_Good(SERIAL_KEY, "missing, so Network.1.MacAddress is answered from eth0");
    if (eFault != KEY_FINE || strspn(szSerial, "0123456789abcdefABCDEF") >= MAC_DIGITS)
        return;
    ++ptWalk->iBad;
    Report_Bad(SERIAL_KEY,
               "\"%s\" does not begin with the %zu hexadecimal digits of a hardware address, so Network.1.MacAddress "
               "answers none; set it to the address, or leave the key out where that of eth0 will do",
               szSerial, MAC_DIGITS);
}

static void Check_Shape(const CameraShape &tShape)
{
    if (tShape.iChannels < 1 || tShape.iChannels > VIDEO_CHANNEL_MAX || tShape.iStreams < 1)
        Report_Bad(
            "shape",
            "%d video input%s with %d stream%s each, but what a platform can use is 1 to %d and at least one stream; "
            "the keys capability_nvideoin and capability_nmediastream tell",
            tShape.iChannels, Get_PluralEnd(tShape.iChannels), tShape.iStreams, Get_PluralEnd(tShape.iStreams),
            VIDEO_CHANNEL_MAX);
    else
        Report_Good("shape",
                    "%d video input%s with %d stream%s and %d motion window%s each, codecs %s, %d audio input%s",
                    tShape.iChannels, Get_PluralEnd(tShape.iChannels), tShape.iStreams, Get_PluralEnd(tShape.iStreams),
                    tShape.iWindows, Get_PluralEnd(tShape.iWindows), tShape.szCodecs, tShape.iInputs,
                    Get_PluralEnd(tShape.iInputs));
}

void Check_Keys(const DaemonHealth &tDaemon)
{
    KeyWalk tWalk = {Read_Shape(), 0, 0, 0, "", 0, tDaemon.bAnswers};
    Check_Counts(&tWalk);
    Check_Shape(tWalk.tShape);
    Check_CodecList(tWalk.tShape);
    Check_Codecs(&tWalk);
    Check_SerialNumber(&tWalk);
    for (const KeyUse *ptFirst = g_atKeyUse; ptFirst->pszKey != nullptr && tWalk.iUnknown < UNKNOWN_MAX;) {
        const KeyUse *ptEnd = ptFirst;
        while (ptEnd->pszKey != nullptr && strcmp(ptEnd->pszKey, ptFirst->pszKey) == 0)
            ++ptEnd;
        Check_KeyEverywhere(&tWalk, ptFirst, ptEnd);
        ptFirst = ptEnd;
    }
    if (tWalk.iUnknown >= UNKNOWN_MAX && (tWalk.iBad > 0 || !tWalk.bAnswers))
        Report_Bad("keys", "the rest is not looked at; see to %s first",
                   tWalk.bAnswers ? "those that cannot be looked up" : "configer");
    else if (tWalk.iBad == 0)
        Report_Good("keys", "%d that parameters look at, each with a value that fits%s", tWalk.iLooked,
                    tWalk.bAnswers ? "" : ", but for those that configer keeps to itself");
    if (tWalk.iNotThere > 0)
        Report_Good("written keys", "%d are not there, the first %s; a write tells configer all the same",
                    tWalk.iNotThere, tWalk.szNotThere);
}
