/// What the parameter catalogue tells camera-check: which camera keys and which elements of the side files the program
/// looks at, and what becomes of its parameters without them. The tables end with a row of nulls. In keys, elements and
/// names, "{channel}", "{stream}" and so on stand for numbers and words: from 0 in a key, from 1 in a name.
#pragma once

#include <stdint.h>

/// A codec's name on the platform and on the camera.
struct CodecWords {
    const char *pszPlatform;
    const char *pszCamera;
};
extern const CodecWords g_atCodecWords[];

/// The camera's words for the codecs whose streams carry a channel's sound: the first stream of the first that it has.
extern const char *const g_apszSoundCodec[];

/// One use of a camera key. All uses of one key stand together.
struct KeyUse {
    const char *pszKey;
    uint16_t uSize;         ///< bytes of the buffer that the value and its terminator must fit; 0: only written
    bool bNeeded;           ///< an empty value is of no use either
    const char *pszCodecs;  ///< codecs of the camera that it is used for; null: all
    const char *pszInstead; ///< another key: as long as that one can be read, this one is not looked at; null: none
    const char *pszWith;    ///< another key, which must hold pszHolds for this one to be looked at; null: none
    const char *pszHolds;
    const char *pszName;    ///< the parameter, or what uses the key for all of them
    const char *pszWithout; ///< what it does without the key; null: nothing that is worth a word
};
extern const KeyUse g_atKeyUse[];

/// An element of a side file, below root and quorvex.
struct SideElement {
    const char *pszFile;
    const char *pszElement; ///< a path such as "image/c{channel}/brightness"
    const char *pszCodecs;  ///< codecs of the camera that have one each, those that are offered; null: no codec in it
    const char *pszNames;   ///< the parameters that are kept there
    int32_t iLow, iHigh;    ///< the numbers that a write stores; equal: any, or no number
};
extern const SideElement g_atSideElement[];

/// What a parameter of the table is answered from when that is no key and no side file.
struct ValueSource {
    const char *pszTemplate;
    const char *pszSource;
};
extern const ValueSource g_atValueSource[];

extern const char g_szCapabilityFile[];
