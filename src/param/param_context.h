/// The request context: one zero-filled record per run, owned by main and handed to every state routine and mapping
/// routine. What else outlives a routine stays in its file, such as the PTZ command groups and how long a service that
/// hangs may still be waited for.
#pragma once

#include <stdint.h>

struct ParamContext;

/// Every check, set, get and state routine is a function of the context. State routines return 0, or -1 for a failure
/// that is recorded in the context. Mapping routines keep to this contract:
///
/// kind   reads                        writes                            returns
/// check  szValue, iIndex1, iIndex2    szValue, in the camera's form     0 accepted, anything else refused
/// set    szValue, iIndex1, iIndex2    the camera                        0 done, anything else failed
/// get    iIndex1, iIndex2             szValue, at most 511 characters   0 answered, MAPPING_NOT_SUPPORTED, else failed
///
/// Four checks store as well: those of Brightness, Contrast, GopSize and Position keep the value in a side file before
/// the set is tried. Indexes are zero-based and not range-checked before. The reply to a write echoes the value as
/// sent, not szValue.
using MappingRoutine = int(ParamContext *ptContext);
constexpr int MAPPING_NOT_SUPPORTED = 2;

/// Routines of a parameter; a missing one is null. Several parameters share one record.
struct DispatchRecord {
    MappingRoutine *pfnCheck;
    MappingRoutine *pfnSet;
    MappingRoutine *pfnGet;
};

/// Value of iMethod; 0 until it is known.
enum ParamMethod : int32_t { METHOD_READ = 1, METHOD_WRITE = 2 };

/// Value of iResult: outcome of the current item; 0 none yet.
enum ParamResult : int32_t { RESULT_SUCCESS = 1, RESULT_REQUEST_ERROR = 2, RESULT_PARAMETER_ERROR = 3 };

/// Value of iContentType when the reply is XML; anything else is plain text.
constexpr int32_t CONTENT_TYPE_XML = 1;

constexpr int32_t VIDEO_CHANNEL_MAX = 8; ///< channels of the stream table
constexpr int32_t CODEC_STREAM_MAX = 5;  ///< streams of one codec on one channel
constexpr int32_t MOTION_WINDOW_MAX = 5; ///< motion windows of one channel

/// One video channel: how many camera streams each codec has and which, and what the current request did to the motion
/// thresholds of its windows.
struct VideoInStreamInfo {
    int32_t iMjpegCount;
    int32_t iMpeg4Count;
    int32_t iH264Count;
    int32_t iHevcCount;
    int32_t aiMjpegStream[CODEC_STREAM_MAX]; ///< camera stream numbers, ascending
    int32_t aiMpeg4Stream[CODEC_STREAM_MAX];
    int32_t aiH264Stream[CODEC_STREAM_MAX];
    int32_t aiHevcStream[CODEC_STREAM_MAX];
    int32_t aiMotionOnThresholdZero[MOTION_WINDOW_MAX]; ///< MotionOnThreshold was set to 0 in this request
    int32_t aiMotionOnThresholdSet[MOTION_WINDOW_MAX];  ///< MotionOnThreshold was set in this request
};

struct ParamContext {
    int32_t iMethod;           ///< a ParamMethod
    char szRequest[4096];      ///< query string with "&" appended, or the POST body
    int32_t iParseOffset;      ///< where in szRequest the next item is searched
    int32_t iContentLength;    ///< CONTENT_LENGTH of a POST
    int32_t bServerAddrIPv6;   ///< 1 when SERVER_ADDR does not even start like a dotted address
    const char *pszServerAddr; ///< SERVER_ADDR, in the environment
    int32_t iState;            ///< a ParamState

    // Per item, from szParamName through szCodec: cleared after each answered item.
    char szParamName[128];    ///< the name as sent
    char szValue[512];        ///< write: the value, which the check may rewrite; read: the answer
    char szSetValue[384];     ///< write: the value as sent, for the reply
    MappingRoutine *pfnCheck; ///< of the matched parameter, or none
    MappingRoutine *pfnSet;   ///< of the matched parameter, or none
    MappingRoutine *pfnGet;   ///< of the matched parameter
    char szErrorMsg[128];     ///< the reply line of a failed item
    int32_t iResult;          ///< a ParamResult
    int32_t iIndex1;          ///< first index of the name, zero-based, not range-checked
    int32_t iIndex2;          ///< second index
    int32_t iStreamNum;       ///< camera stream that the name resolves to
    const char *pszParamName; ///< szParamName once the name has been matched
    char szCodec[12];         ///< camera's codec keyword of the name

    char szOutput[4096];                                  ///< reply body
    int32_t iOutputLen;                                   ///< its length, had nothing been cut
    VideoInStreamInfo atVideoInStream[VIDEO_CHANNEL_MAX]; ///< stream table
    int32_t iContentType;         ///< CONTENT_TYPE_XML once any item of the request asked for it
    int32_t bPtzDaemonRunning;    ///< 1 when the PTZ daemon's pid file could be opened
    int32_t iMotionEnableOn;      ///< deferred motion switch: 1 when a window was switched on in this request
    int32_t iMotionEnablePending; ///< 1 while the switch is still to be written
    int32_t iMotionEnableChannel; ///< its channel, zero-based
    int32_t iAnalyticsSocket;     ///< connection to the local analytics service
};
