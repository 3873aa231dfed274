/// Places: the numbers and words that stand for "{channel}", "{stream}" and so on in keys, elements and names.
#pragma once

#include <stddef.h>
#include <stdint.h>

constexpr int32_t PLACE_NONE = -1; ///< the place leaves it open: "*" stands for the placeholder

struct Place {
    int32_t iChannel, iInput, iOutput, iWindow, iStream;
    int32_t iPath;    ///< number of an RTSP name, which count across the channels
    int32_t iRank;    ///< of the stream among those of its codec
    char szCodec[10]; ///< the camera's word; empty: none that the platform has a word for
    char szMode[4];
};

/// What the camera announces.
struct CameraShape {
    int32_t iChannels, iStreams, iWindows, iInputs, iOutputs;
    bool bPtz, bStorage;
    char szCodecs[65]; ///< the offered codecs, as the camera lists them
};

CameraShape Read_Shape();

/// No more than this many of a kind are looked at, whatever a camera announces: names of elements have room for two
/// digits.
constexpr int32_t SHAPE_MAX = 100;

constexpr Place NO_PLACE = {PLACE_NONE, PLACE_NONE, PLACE_NONE, PLACE_NONE, PLACE_NONE, PLACE_NONE, PLACE_NONE, "", ""};

/// The platform's word for a codec of the camera; empty when it has none.
const char *Get_PlatformWord(const char *pszCodec);

/// Enters a stream of a channel, with its codec as the camera's key has it and what follows from both.
void Enter_Stream(Place *ptPlace, int32_t iChannel, int32_t iStream, int32_t iStreams);

/// Fills in a key or an element (numbers from 0, the camera's codec), or a parameter's name (from 1, the platform's).
struct FilledText {
    char szText[256];
    operator const char *() const { return szText; }
};
FilledText Fill_Key(const char *pszKey, const Place &tPlace);
FilledText Fill_Name(const char *pszName, const Place &tPlace);
