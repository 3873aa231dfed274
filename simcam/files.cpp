#include "files.h"

#include "text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char PID_FILE[] = "/var/run/ptzcgid.pid";
const char CAPABILITY_FILE[] = "/etc/CDF.xml";
const char SIDE_FOLDER[] = "/etc/conf.d";
const char CODECS_KEY[] = "capability_videoin_codec";
const int MAX_COUNT = 100; // of channels, streams or windows: more do not fit an element name of three characters

enum Repeat { ONCE, PER_CHANNEL, PER_STREAM, PER_WINDOW, IF_OFFERED, REPEAT_COUNT };

/// An element of an XML file: what is inside follows in deeper rows. A file is a row of depth 0, named by its path.
struct ElementRow {
    int iDepth;
    // PER_x: one element per index, which is put behind the tag; IF_OFFERED: a codec that the camera has.
    Repeat eRepeat;
    const char *pszTag;
    const char *pszDefault; // the value, unless the model gives another one; null: none
};

const char BITRATE_RANGE[] = "string,\"20000~40000000\"";

/// The range of stream 0 stands for all streams of its channel.
const ElementRow ELEMENTS[] = {
    {0, ONCE, CAPABILITY_FILE, nullptr},
    {1, ONCE, "root", nullptr},
    {2, ONCE, "videoin", nullptr},
    {3, PER_CHANNEL, "c", nullptr},
    {4, ONCE, "s0", nullptr},
    {5, IF_OFFERED, "mpeg4", nullptr},
    {6, ONCE, "bitrate", nullptr},
    {7, ONCE, "check", BITRATE_RANGE},
    {5, IF_OFFERED, "mjpeg", nullptr},
    {6, ONCE, "bitrate", nullptr},
    {7, ONCE, "check", BITRATE_RANGE},
    {5, IF_OFFERED, "h264", nullptr},
    {6, ONCE, "bitrate", nullptr},
    {7, ONCE, "check", BITRATE_RANGE},
    {5, IF_OFFERED, "h265", nullptr},
    {6, ONCE, "bitrate", nullptr},
    {7, ONCE, "check", BITRATE_RANGE},

    {0, ONCE, "/etc/conf.d/config_quorvexVideo.xml", nullptr},
    {1, ONCE, "root", nullptr},
    {2, ONCE, "quorvex", nullptr},
    {3, ONCE, "image", nullptr},
    {4, PER_CHANNEL, "c", nullptr},
    {5, ONCE, "contrast", "50"},
    {5, ONCE, "brightness", "50"},
    {5, ONCE, "saturation", "50"},
    {5, PER_STREAM, "s", nullptr},
    {6, IF_OFFERED, "mpeg4", nullptr},
    {7, ONCE, "gop", "30"},
    {6, IF_OFFERED, "h264", nullptr},
    {7, ONCE, "gop", "30"},
    {6, IF_OFFERED, "h265", nullptr},
    {7, ONCE, "gop", "30"},

    {0, ONCE, "/etc/conf.d/config_quorvexMotion.xml", nullptr},
    {1, ONCE, "root", nullptr},
    {2, ONCE, "quorvex", nullptr},
    {3, ONCE, "motion", nullptr},
    {4, PER_CHANNEL, "c", nullptr},
    {5, PER_WINDOW, "i", nullptr},
    {6, ONCE, "window", "0,0,1,1"},
    {6, ONCE, "threshold", "10"},

    {0, ONCE, "/etc/conf.d/config_quorvexSystem.xml", nullptr},
    {1, ONCE, "root", nullptr},
    {2, ONCE, "quorvex", nullptr},
    {3, ONCE, "ntpinterval", "3600"},
    {3, ONCE, "storage", nullptr},
    {4, PER_CHANNEL, "c", nullptr},
    {5, ONCE, "devicenum", "0"},
};

/// What the writing of the files needs to know.
struct XmlWriter {
    int aiCounts[REPEAT_COUNT]; // how often an element repeats
    std::string strCodecs;
    SideValues tGiven;  // the values of the model that no file has had yet
    SideValues *ptKept; // those that go before them
    std::string strText;
};

/// The row behind an element and all that is inside.
const ElementRow *Skip_Element(const ElementRow *ptRow)
{
    const int iDepth = ptRow->iDepth;
    while (++ptRow != std::end(ELEMENTS) && ptRow->iDepth > iDepth)
        continue;
    return ptRow;
}

/// The model names a value by its path below root and quorvex, joined by "_".
std::string Get_Value(const ElementRow &tRow, const std::string &strPath, XmlWriter *ptWriter)
{
    const auto tGiven = ptWriter->tGiven.extract(strPath);
    const auto tKept = ptWriter->ptKept->extract(strPath);
    if (!tKept.empty())
        return tKept.mapped();
    return tGiven.empty() ? tRow.pszDefault : tGiven.mapped();
}

/// Writes the elements between two rows of one depth, one tag to a line, indented by tabs. It calls itself for what is
/// inside an element, so as deep as the table goes.
void Write_Elements(const ElementRow *ptRow, const ElementRow *ptEnd, const std::string &strPath, XmlWriter *ptWriter)
{
    for (; ptRow != ptEnd; ptRow = Skip_Element(ptRow)) {
        const bool bIndexed = ptRow->eRepeat != ONCE && ptRow->eRepeat != IF_OFFERED;
        const bool bAbsent =
            ptRow->eRepeat == IF_OFFERED && ptWriter->strCodecs.find(ptRow->pszTag) == std::string::npos;
        const std::string strIndent(static_cast<size_t>(ptRow->iDepth) - 1, '\t');
        for (int i = 0; i < ptWriter->aiCounts[ptRow->eRepeat] && !bAbsent; ++i) {
            const std::string strTag = ptRow->pszTag + (bIndexed ? std::to_string(i) : "");
            const std::string strHere =
                strPath.empty() && (strTag == "root" || strTag == "quorvex") ? "" : strPath + strTag;
            ptWriter->strText.append(strIndent).append("<" + strTag + ">");
            if (ptRow->pszDefault != nullptr) {
                ptWriter->strText += Get_Value(*ptRow, strHere, ptWriter);
            } else {
                ptWriter->strText += "\n";
                Write_Elements(ptRow + 1, Skip_Element(ptRow), strHere.empty() ? "" : strHere + "_", ptWriter);
                ptWriter->strText += strIndent;
            }
            ptWriter->strText.append("</" + strTag + ">\n");
        }
    }
}

/// The values of an XML file, whatever its layout. Returns false when its elements do not nest.
bool Read_Values(const std::string &strText, SideValues *ptValues)
{
    std::vector<std::string> astrOpen = {""}; // the paths of the open elements
    std::vector<std::string> astrTags;
    size_t uEnd = 0;
    bool bLeaf = false;
    for (size_t uStart = strText.find('<'); uStart != std::string::npos; uStart = strText.find('<', uEnd)) {
        const size_t uTextStart = uEnd + 1;
        uEnd = strText.find('>', uStart);
        const std::string strTag = uEnd == std::string::npos ? "/" : strText.substr(uStart + 1, uEnd - uStart - 1);
        if (strTag.empty() || strTag[0] == '?' || strTag[0] == '!')
            continue;
        if (strTag[0] != '/') {
            const bool bNamed = strTag != "root" && strTag != "quorvex";
            astrOpen.push_back(bNamed ? astrOpen.back() + (astrOpen.back().empty() ? "" : "_") + strTag
                                      : astrOpen.back());
            astrTags.push_back(strTag);
            bLeaf = true;
            continue;
        }
        if (astrTags.empty() || astrTags.back() != strTag.substr(1))
            return false;
        if (bLeaf)
            (*ptValues)[astrOpen.back()] = strText.substr(uTextStart, uStart - uTextStart);
        bLeaf = false;
        astrOpen.pop_back();
        astrTags.pop_back();
    }
    return astrTags.empty();
}

/// No text where there is no such file, or it cannot be read.
std::optional<std::string> Read_File(const std::string &strPath)
{
    std::ifstream tFile(strPath);
    if (!tFile.is_open())
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(tFile), {});
}

/// The settings files of a folder; those that are not there have no values. Returns an empty text, or what is wrong.
std::string Read_SideFiles(const std::string &strFolder, SideValues *ptValues)
{
    for (const ElementRow *ptFile = ELEMENTS; ptFile != std::end(ELEMENTS); ptFile = Skip_Element(ptFile)) {
        const std::string strPath = strFolder + strrchr(ptFile->pszTag, '/');
        const std::optional<std::string> tText = Read_File(strPath);
        if (!tText.has_value() && access(strPath.c_str(), F_OK) == 0)
            return "cannot read " + strPath;
        if (strcmp(ptFile->pszTag, CAPABILITY_FILE) != 0 && !Read_Values(tText.value_or(""), ptValues))
            return strPath + " is no settings file";
    }
    return "";
}

/// The counts of the model's shape, and the least that a camera has.
const struct {
    Repeat eRepeat;
    const char *pszKey;
    unsigned long uLeast;
} COUNTS[] = {{PER_CHANNEL, "capability_nvideoin", 1},
              {PER_STREAM, "capability_nmediastream", 1},
              {PER_WINDOW, "capability_nmotion", 0}};

std::string Check_Shape(const Model &tModel)
{
    unsigned long uNumber = 0;
    for (const auto &[eRepeat, pszKey, uLeast] : COUNTS) {
        const std::string strValue = Get_KeyValue(tModel, pszKey);
        if (!Parse_Number(strValue, MAX_COUNT, &uNumber) || uNumber < uLeast)
            return std::string("model: key ") + pszKey + "=" + strValue + ": expected a number from " +
                   std::to_string(uLeast) + " to " + std::to_string(MAX_COUNT);
    }
    const std::string strCodecs = Get_KeyValue(tModel, CODECS_KEY);
    const auto pfnIsOffered = [&](const ElementRow &tRow) {
        return tRow.eRepeat == IF_OFFERED && strCodecs.find(tRow.pszTag) != std::string::npos;
    };
    if (std::none_of(std::begin(ELEMENTS), std::end(ELEMENTS), pfnIsOffered))
        return std::string("model: key ") + CODECS_KEY + "=" + strCodecs + ": expected one of mpeg4, mjpeg, h264, h265";
    return "";
}

/// Whoever reads the file sees the old one or the new one. What could not be written whole leaves nothing behind.
std::string Write_File(const std::string &strPath, const std::string &strText)
{
    std::error_code tIgnored; // the open tells
    std::filesystem::create_directories(std::filesystem::path(strPath).parent_path(), tIgnored);
    const std::string strNewPath = strPath + ".new";
    FILE *ptFile = fopen(strNewPath.c_str(), "we");
    bool bWritten = ptFile != nullptr;
    if (bWritten) {
        bWritten = fwrite(strText.data(), 1, strText.size(), ptFile) == strText.size();
        bWritten = fclose(ptFile) == 0 && bWritten && rename(strNewPath.c_str(), strPath.c_str()) == 0;
    }
    if (bWritten)
        return "";
    std::string strError = "cannot write " + strPath + ": " + strerror(errno);
    unlink(strNewPath.c_str());
    return strError;
}

std::string Put_Files(const CameraFiles &tFiles, const std::set<std::string> &tReadOnly)
{
    // What goes away first makes room for the others.
    for (const auto &[strPath, tText] : tFiles) {
        if (!tText.has_value())
            unlink(strPath.c_str());
    }
    std::string strError;
    for (const auto &[strPath, tText] : tFiles) {
        if (tText.has_value() && strError.empty())
            strError = Write_File(strPath, *tText);
    }
    for (const std::string &strPath : tReadOnly) {
        if (chmod(strPath.c_str(), 0444) != 0 && strError.empty())
            strError = "cannot make " + strPath + " read-only: " + strerror(errno);
    }
    return strError;
}

} // namespace

std::string Compose_CameraFiles(const Model &tModel, SideValues *ptKept, CameraFiles *ptFiles)
{
    XmlWriter tWriter = {{}, Get_KeyValue(tModel, CODECS_KEY), tModel.tSides, ptKept, ""};
    tWriter.aiCounts[ONCE] = tWriter.aiCounts[IF_OFFERED] = 1;
    for (const auto &[eRepeat, pszKey, uLeast] : COUNTS)
        tWriter.aiCounts[eRepeat] = std::min(atoi(Get_KeyValue(tModel, pszKey).c_str()), MAX_COUNT);
    for (const ElementRow *ptFile = ELEMENTS; ptFile != std::end(ELEMENTS); ptFile = Skip_Element(ptFile)) {
        tWriter.strText.clear();
        Write_Elements(ptFile + 1, Skip_Element(ptFile), "", &tWriter);
        (*ptFiles)[ptFile->pszTag] = tWriter.strText;
    }
    if (tModel.tSettings.at("ptz pidfile") == "yes")
        (*ptFiles)[PID_FILE] = std::to_string(getpid()) + "\n";
    for (const auto &[strPath, tText] : tModel.tFiles)
        (*ptFiles)[strPath] = tText;
    return tWriter.tGiven.empty() ? "" : "model: side " + tWriter.tGiven.begin()->first + ": no file has this element";
}

std::string LayOut_CameraFiles(const Model &tModel)
{
    SideValues tNone;
    CameraFiles tFiles;
    const std::string strError = Compose_CameraFiles(tModel, &tNone, &tFiles);
    return strError.empty() ? Put_Files(tFiles, tModel.tReadOnly) : strError;
}

std::string Update_CameraFiles(const Model &tBefore, const Model &tAfter, const SideValues *ptNewSides)
{
    SideValues tKeptBefore;
    SideValues tKeptAfter;
    Read_SideFiles(SIDE_FOLDER, &tKeptBefore);
    if (ptNewSides != nullptr) {
        std::set_difference(tKeptBefore.begin(), tKeptBefore.end(), ptNewSides->begin(), ptNewSides->end(),
                            std::inserter(tKeptAfter, tKeptAfter.end()), tKeptAfter.value_comp());
    }
    CameraFiles tCurrent;
    CameraFiles tFiles;
    Compose_CameraFiles(tBefore, &tKeptBefore, &tCurrent);
    std::string strError = Compose_CameraFiles(tAfter, &tKeptAfter, &tFiles);
    if (!strError.empty())
        return strError;
    for (auto &[strPath, tText] : tCurrent) {
        // A program may have given a file elements that the model has no place for.
        if (ptNewSides == nullptr)
            tText = Read_File(strPath);
        const auto itFile = tFiles.try_emplace(strPath).first; // a path that is no longer named is removed
        if (itFile->second == tText)
            tFiles.erase(itFile);
    }
    for (const std::string &strPath : tBefore.tReadOnly)
        chmod(strPath.c_str(), 0644);
    strError = Put_Files(tFiles, tAfter.tReadOnly);
    if (!strError.empty()) {
        for (auto &[strPath, tText] : tFiles)
            tText = tCurrent[strPath];
        Put_Files(tFiles, tBefore.tReadOnly);
    }
    return strError;
}

std::string Seed_CameraFiles(const Model &tModel, const std::string &strFolder)
{
    SideValues tKept;
    CameraFiles tFiles;
    std::string strError = Check_Shape(tModel);
    if (strError.empty())
        strError = Read_SideFiles(strFolder, &tKept);
    if (strError.empty())
        strError = Compose_CameraFiles(tModel, &tKept, &tFiles);
    const auto pfnIsHeld = [](const auto &tValue) {
        return tValue.second.find_first_not_of(" \t\r\n") != std::string::npos;
    };
    const auto itHomeless = std::find_if(tKept.begin(), tKept.end(), pfnIsHeld);
    if (strError.empty() && itHomeless != tKept.end())
        strError = strFolder + ": the camera of this model has no " + itHomeless->first + ", whose value would be lost";
    for (const ElementRow *ptFile = ELEMENTS; ptFile != std::end(ELEMENTS) && strError.empty();
         ptFile = Skip_Element(ptFile)) {
        const std::string strPath = strFolder + strrchr(ptFile->pszTag, '/');
        const bool bStays = strcmp(ptFile->pszTag, CAPABILITY_FILE) == 0 && access(strPath.c_str(), F_OK) == 0;
        if (!bStays && tFiles.at(ptFile->pszTag).has_value())
            strError = Write_File(strPath, *tFiles.at(ptFile->pszTag));
    }
    return strError;
}

void Remove_PidFile() { unlink(PID_FILE); }
