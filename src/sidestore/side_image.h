/// The image of all three side files in memory: how a setter rebuilds it, changes it and puts one file of it out. It
/// has the shape that the camera's capability keys announce.
#pragma once

#include "sidestore/side_file.h"

#include <stdint.h>

constexpr int WINDOW_TEXT_SIZE = 100;

struct XMLFileStreamData {
    int32_t iMpeg4GOP; ///< each GOP: -1 when the camera does not offer the codec; it has no element then
    int32_t iH264GOP;
    int32_t iH265GOP;
};

struct XMLFileWindowData {
    char szWindow[WINDOW_TEXT_SIZE]; ///< as the platform sent it
    int32_t iThreshold;              ///< percent
};

struct XMLFileChannelData {
    int32_t iContrast;
    int32_t iBrightness;
    int32_t iSaturation;
    XMLFileStreamData **pptStream; ///< iMediaStreamNum records
    XMLFileWindowData **pptWindow; ///< iMotionNum records
};

/// A record, not a pointer: the name is an old one.
struct QuorvexXMLFileDataPointer {
    XMLFileChannelData **pptChannel; ///< iVideoInNum records
    int32_t iNTPInterval;            ///< seconds
    int32_t iStorageDeviceNum;       ///< one for all channels
    int32_t iVideoInNum;             ///< "capability_nvideoin"
    int32_t iMediaStreamNum;         ///< "capability_nmediastream"
    int32_t iMotionNum;              ///< "capability_nmotion"
};

/// Builds the image from capability keys and files: 0, or -1 with a part of it built, which must not be written. The
/// first of the other two does what may wait for the daemon, the second what must be done under the files' lock.
int Create_QuorvexXMLFile_DataStructure();
int Read_ImageShape();
int Fill_Image();
/// Frees the image and returns 0.
int Release_QuorvexXMLFile_Data();

/// Whether a text can be stored: it is shorter than WINDOW_TEXT_SIZE and can be read back.
bool Is_Storable(const char *pszText);

/// Changes one value of a whole image; a number is what the text begins with. 0, or -1 when the image has no such
/// place.
int Put_InImage(const SidePlace &tPlace, const char *pszText);

/// Whether a file has elements that a whole image would drop, although nobody has said that they are gone: streams
/// where the camera announces none, GOPs where it has no list of codecs at all, windows where it has no number of them
/// at all.
bool Loses_Elements(SideFile eFile);

/// Put one file of a whole image out: 0, or -1 when it would lose elements, or cannot be written.
int Write_QuorvexVideoConfigFile();
int Write_QuorvexMotionConfigFile();
int Write_QuorvexSystemConfigFile();
int Write_ImageFile(SideFile eFile);
