/// The simulated camera as model files describe it: its configuration keys and how its other services answer.
///
/// A model file has one directive per line; blank lines and lines that begin with '#' are skipped. The text behind the
/// first '=' runs to the end of the line and takes the C escapes \r \n \t \\ \xHH. Every NAME and PATH may hold braces:
/// "videoin_c{0,1}_{h264,mjpeg}" stands for all four names. Later lines override earlier ones.
///
///   include OTHER.model         the lines of that file (relative to this one)
///   key NAME=VALUE              the key's value
///   request NAME=VALUE          a value that is not in the snapshot but answered on the daemon's socket
///   alias NAME=TARGET           the key is another name of TARGET; a "key" line behind it adds a value it hides
///   no NAME                     removes the key and every key below it
///   fail NAME                   a set of this key is answered with 128 bytes, which clients take for a failure
///   snapshot base=ADDRESS       where the daemon has the segment mapped
///   snapshot size=BYTES         how large the segment is
///   ptz reply=TEXT              the answer to camctrl.cgi?getversion
///   ptz pidfile=yes|no          whether the PTZ daemon's pid file is there
///   analytics capability=TEXT   the whole HTTP answer to GET /VCA/Capability
///   analytics functions=TEXT    the same for GET /VCA/Functions
///   bitrate c0 h264=TEXT        the range text of a channel and codec in the capability definition file
///   side PATH=VALUE             a value of the settings files, as in image_c0_s0_h264_gop
///   file PATH=TEXT              the whole content of any file, in place of what would be laid out
///   nofile PATH                 the file is removed
///   readonly PATH               the file, once laid out, cannot be written
///   fault SERVICE FAULT         see faults.h; "simcam --faults" lists them
///
/// The texts of bitrate, side and file are written as they stand, without XML escaping. The same lines change a camera
/// that runs (control.h).
#pragma once

#include "faults.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct Key {
    std::string strName;                                         // the whole path, as in "system_daylight_enable"
    std::vector<std::pair<std::string, std::string>> atChildren; // "value", "aliasxpath", "getonce" and their texts
    std::string strAnswer;                                       // the value of a key that only the socket gives
};

struct Model {
    std::vector<Key> atKeys; // in order of first mention, which is that of the snapshot
    std::map<std::string, std::optional<std::string>> tFiles; // by path; without a text: removed
    std::set<std::string> tReadOnly;                          // paths
    std::map<std::string, std::string> tSides;                // values of the settings files, by path
    FaultList atFaults;
    std::string strText; // the lines that it is made of, those of included files in their place

    // The other lines: what every camera has, "fail " with a key.
    std::map<std::string, std::string> tSettings = {
        {"snapshot base", "0xb6a00000"},
        {"snapshot size", "524288"},
        {"ptz reply", "version=5.1.0.19"},
        {"ptz pidfile", "yes"},
        {"analytics capability", "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"},
        {"analytics functions", "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"},
    };
};

/// Reads a model file, or one more line whose origin ("--change:1") stands in for "FILE:LINE". Both return an empty
/// text, or "FILE:LINE: what is wrong".
std::string Load_Model(const std::string &strPath, Model *ptModel);
std::string Apply_ModelLine(const std::string &strLine, const std::string &strOrigin, Model *ptModel);

/// Whether a key can have this name: printable, without blanks.
bool Is_KeyName(const std::string &strName);

/// Whether the text begins like a line of a model: the word of a directive, and something behind it.
bool Is_Directive(const std::string &strLine);

/// "NAME=TARGET" of an alias that one of the two models does not have and that leads to no element of the other one;
/// empty if there is none. A recorded camera may have such an alias.
std::string Find_AliasToNowhere(const Model &tBefore, const Model &tAfter);

/// Whether the service has this fault.
bool Has_Fault(const Model &tModel, Service eService, const char *pszWord);

/// A setting that is a number.
uint32_t Get_Number(const Model &tModel, const char *pszSetting);

/// The value as the socket gives it, aliases followed; empty for a key that does not exist.
std::string Get_KeyValue(const Model &tModel, const std::string &strName);

/// Stores a value, aliases followed. Returns false, and stores nothing, for a key that the camera does not have.
bool Set_KeyValue(Model *ptModel, const std::string &strName, const std::string &strValue);
