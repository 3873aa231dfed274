/// Which values the side files hold, and where.
#pragma once

#include "conflib/xml_file.h"

#include <stdint.h>

enum SideFile { VIDEO_FILE, MOTION_FILE, SYSTEM_FILE, SIDE_FILE_COUNT };
extern const char *const g_apszSideFile[SIDE_FILE_COUNT]; ///< their paths

/// The values that the files hold.
enum SideValue {
    SIDE_CONTRAST,
    SIDE_BRIGHTNESS,
    SIDE_SATURATION,
    SIDE_GOP,
    SIDE_WINDOW,
    SIDE_THRESHOLD,
    SIDE_NTP_INTERVAL,
    SIDE_DEVICE_NUM,
    SIDE_VALUE_COUNT
};

/// Which value is meant; what the value does not depend on is left out. Numbers are zero-based.
struct SidePlace {
    SideValue eValue;
    int32_t iChannel = 0;
    int32_t iIndex = 0; ///< stream of a GOP, window of a window's values
    const char *pszCodec = nullptr;
};

/// Where it stands. The names lead into the record itself and into the place, so it is not copied.
struct SidePath {
    SideFile eFile;
    const char *pszReader;  ///< the reader that the system log names
    const char *apszTag[5]; ///< names of elements, from the one below root and quorvex down; unused ones are NULL
    IndexTag tChannel;
    IndexTag tIndex;
    char szCodec[CODEC_TAG_SIZE];
};
void Make_SidePath(const SidePlace &tPlace, SidePath *ptPath);
SideFile Get_SideFile(const SidePlace &tPlace);

/// The codecs with a GOP, in the order of their blocks in the Video file.
constexpr char GOP_CODECS[][6] = {"mpeg4", "h264", "h265"};
