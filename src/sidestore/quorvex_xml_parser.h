/// Values of the platform that the camera has no key for, in three small XML files of the program's own:
///
///   /etc/conf.d/config_quorvexVideo.xml    per channel contrast, brightness, saturation; per stream and codec the GOP
///   /etc/conf.d/config_quorvexMotion.xml   per channel and window the window text and the threshold
///   /etc/conf.d/config_quorvexSystem.xml   NTP interval; per channel the storage device number
///
/// This is what mapping routines call. Each function says which value it means and goes through the door
/// (side_value.h). Behind it stand the image of all three files (side_image.h) and the files themselves (side_file.h).
///
/// If a file or an expected element is missing, or nobody can tell the camera's shape at the moment, every setter fails
/// and no file changes. A file is replaced in place, by one write, so that it is whole whenever the process is killed.
/// Channel, stream and window numbers are zero-based.
#pragma once

#include <stdint.h>

/// Readers: a heap copy of the text, which the caller frees; NULL, after a line in the system log, when there is none.
char *Get_NTPInterval_from_QuorvexXML();
char *Get_StorageDeviceNum_from_QuorvexXML(int32_t iChannel);
char *Get_MotionROI_Window_from_QuorvexXML(int32_t iChannel, int32_t iWindow);
char *Get_MotionROI_Threshold_from_QuorvexXML(int32_t iChannel, int32_t iWindow);
char *Get_VideoContrast_from_QuorvexXML(int32_t iChannel);
char *Get_VideoBrightness_from_QuorvexXML(int32_t iChannel);
char *Get_VideoSaturation_from_QuorvexXML(int32_t iChannel);
char *Get_VideoGOP_from_QuorvexXML(int32_t iChannel, int32_t iStream, const char *pszCodec);

/// Setters: 0, or -1 when the value cannot be kept (a window text of 100 characters or with a "<", an unknown codec) or
/// what Store_SideText says.
int Set_VideoContrast_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue);
int Set_VideoBrightness_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue);
int Set_VideoSaturation_to_QuorvexXMLFile(int32_t iChannel, int32_t iValue);
int Set_VideoGOP_to_QuorvexXMLFile(int32_t iChannel, int32_t iStream, const char *pszCodec, int32_t iValue);
int Set_MotionROI_Window_to_QuorvexXMLFile(int32_t iChannel, int32_t iWindow, const char *pszWindow);
int Set_MotionROI_Threshold_to_QuorvexXMLFile(int32_t iChannel, int32_t iWindow, int32_t iValue);
int Set_NTPInterval_from_QuorvexXML(int32_t iValue);
int Set_StorageDeviceNum_from_QuorvexXML(int32_t iValue);
