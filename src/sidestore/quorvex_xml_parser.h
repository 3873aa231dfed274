/// Values of the platform that the camera has no key for, in three small XML files of the program's own:
///
///   /etc/conf.d/config_quorvexVideo.xml    per channel contrast, brightness, saturation; per stream and codec the GOP
///   /etc/conf.d/config_quorvexMotion.xml   per channel and window the window text and the threshold
///   /etc/conf.d/config_quorvexSystem.xml   NTP interval; per channel the storage device number
///
/// A reader parses its file and looks one value up. A setter rebuilds the image of all three files, changes one value
/// and rewrites the file that holds it, shaped by the camera's capability keys. If a file or an expected element is
/// missing, or nobody can tell the camera's shape at the moment, every setter fails and no file changes. A file is
/// replaced in place, by one write, so that it is whole whenever the process is killed. Channel, stream and window
/// numbers are zero-based.
#pragma once

#include "sxmlparser/sxmlparser.h"

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

/// The image of all three files. A record, not a pointer: the name is an old one.
struct QuorvexXMLFileDataPointer {
    XMLFileChannelData **pptChannel; ///< iVideoInNum records
    int32_t iNTPInterval;            ///< seconds
    int32_t iStorageDeviceNum;       ///< one for all channels
    int32_t iVideoInNum;             ///< "capability_nvideoin"
    int32_t iMediaStreamNum;         ///< "capability_nmediastream"
    int32_t iMotionNum;              ///< "capability_nmotion"
};

/// Readers: a heap copy of the text, which the caller frees; NULL, after a line in the system log, when there is none.
char *Get_NTPInterval_from_QuorvexXML();
char *Get_StorageDeviceNum_from_QuorvexXML(int32_t iChannel);
char *Get_MotionROI_Window_from_QuorvexXML(int32_t iChannel, int32_t iWindow);
char *Get_MotionROI_Threshold_from_QuorvexXML(int32_t iChannel, int32_t iWindow);
char *Get_VideoContrast_from_QuorvexXML(int32_t iChannel);
char *Get_VideoBrightness_from_QuorvexXML(int32_t iChannel);
char *Get_VideoSaturation_from_QuorvexXML(int32_t iChannel);
char *Get_VideoGOP_from_QuorvexXML(int32_t iChannel, int32_t iStream, const char *pszCodec);

/// Setters: 0, or -1 when the image cannot be rebuilt, the place does not exist, the value cannot be kept (a window
/// text of WINDOW_TEXT_SIZE characters or with a "<", an unknown codec), or the file cannot be written; it then is as
/// it was.
int Set_VideoContrast_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue);
int Set_VideoBrightness_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue);
int Set_VideoSaturation_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue);
int Set_VideoGOP_to_QuorvexXMLFile(int32_t iChannel, int32_t iStream, const char *pszCodec, int32_t iValue);
int Set_MotionROI_Window_to_QuorvexXMLFile(int32_t iChannel, int32_t iWindow, const char *pszWindow);
int Set_MotionROI_Threshold_to_QuorvexXMLFile(int32_t iChannel, int32_t iWindow, int32_t iValue);
int Set_NTPInterval_from_QuorvexXML(int32_t iValue);
int Set_StorageDeviceNum_from_QuorvexXML(int32_t iValue);

/// What setters are made of. Create fills the image from capability keys and files (0, or -1 with a part of it filled);
/// Write, after a Create that returned 0, puts one file of it out (0, or -1 when the file cannot be written, or still
/// has streams where the camera announces none); Release frees the image and returns 0.
int Create_QuorvexXMLFile_DataStructure();
int Release_QuorvexXMLFile_Data();
int Write_QuorvexVideoConfigFile();
int Write_QuorvexMotionConfigFile();
int Write_QuorvexSystemConfigFile();

/// What readers are made of: a parser with the file's tree (0 or -1), and giving it back (0, or -1 when there is none).
int Init_QuorvexXMLParser(const char *pszPath, SXMLParserContext **pptParser);
int Release_QuorvexXMLParser(SXMLParserContext **pptParser);
