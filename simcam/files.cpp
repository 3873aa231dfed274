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
    int depth;
    Repeat repeat; // PER_x: one element per index, which is put behind the tag; IF_OFFERED: a codec that the camera has
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
    int counts[REPEAT_COUNT]; // how often an element repeats
    std::string codecs;
    SideValues given;  // the values of the model that no file has had yet
    SideValues *pKept; // those that go before them
    std::string text;
};

/// The row behind an element and all that is inside.
const ElementRow *Skip_Element(const ElementRow *pRow)
{
    const int depth = pRow->depth;
    while (++pRow != std::end(ELEMENTS) && pRow->depth > depth)
        continue;
    return pRow;
}

/// The model names a value by its path below root and quorvex, joined by "_".
std::string Get_Value(const ElementRow &row, const std::string &path, XmlWriter *pWriter)
{
    const auto given = pWriter->given.extract(path);
    const auto kept = pWriter->pKept->extract(path);
    if (!kept.empty())
        return kept.mapped();
    return given.empty() ? row.pszDefault : given.mapped();
}

/// Writes the elements between two rows of one depth, one tag to a line, indented by tabs. It calls itself for what is
/// inside an element, so as deep as the table goes.
void Write_Elements(const ElementRow *pRow, const ElementRow *pEnd, const std::string &path, XmlWriter *pWriter)
{
    for (; pRow != pEnd; pRow = Skip_Element(pRow)) {
        const bool isIndexed = pRow->repeat != ONCE && pRow->repeat != IF_OFFERED;
        const bool isAbsent = pRow->repeat == IF_OFFERED && pWriter->codecs.find(pRow->pszTag) == std::string::npos;
        const std::string indent(static_cast<size_t>(pRow->depth) - 1, '\t');
        for (int i = 0; i < pWriter->counts[pRow->repeat] && !isAbsent; ++i) {
            const std::string tag = pRow->pszTag + (isIndexed ? std::to_string(i) : "");
            const std::string here = path.empty() && (tag == "root" || tag == "quorvex") ? "" : path + tag;
            pWriter->text.append(indent).append("<" + tag + ">");
            if (pRow->pszDefault != nullptr) {
                pWriter->text += Get_Value(*pRow, here, pWriter);
            } else {
                pWriter->text += "\n";
                Write_Elements(pRow + 1, Skip_Element(pRow), here.empty() ? "" : here + "_", pWriter);
                pWriter->text += indent;
            }
            pWriter->text.append("</" + tag + ">\n");
        }
    }
}

/// The values of an XML file, whatever its layout. Returns false when its elements do not nest.
bool Read_Values(const std::string &text, SideValues *pValues)
{
    std::vector<std::string> open = {""}; // the paths of the open elements
    std::vector<std::string> tags;
    size_t end = 0;
    bool isLeaf = false;
    for (size_t start = text.find('<'); start != std::string::npos; start = text.find('<', end)) {
        const size_t textStart = end + 1;
        end = text.find('>', start);
        const std::string tag = end == std::string::npos ? "/" : text.substr(start + 1, end - start - 1);
        if (tag.empty() || tag[0] == '?' || tag[0] == '!')
            continue;
        if (tag[0] != '/') {
            const bool isNamed = tag != "root" && tag != "quorvex";
            open.push_back(isNamed ? open.back() + (open.back().empty() ? "" : "_") + tag : open.back());
            tags.push_back(tag);
            isLeaf = true;
            continue;
        }
        if (tags.empty() || tags.back() != tag.substr(1))
            return false;
        if (isLeaf)
            (*pValues)[open.back()] = text.substr(textStart, start - textStart);
        isLeaf = false;
        open.pop_back();
        tags.pop_back();
    }
    return tags.empty();
}

/// No text where there is no such file, or it cannot be read.
std::optional<std::string> Read_File(const std::string &path)
{
    std::ifstream file(path);
    if (!file.is_open())
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// The settings files of a folder; those that are not there have no values. Returns an empty text, or what is wrong.
std::string Read_SideFiles(const std::string &folder, SideValues *pValues)
{
    for (const ElementRow *pFile = ELEMENTS; pFile != std::end(ELEMENTS); pFile = Skip_Element(pFile)) {
        const std::string path = folder + strrchr(pFile->pszTag, '/');
        const std::optional<std::string> text = Read_File(path);
        if (!text.has_value() && access(path.c_str(), F_OK) == 0)
            return "cannot read " + path;
        if (strcmp(pFile->pszTag, CAPABILITY_FILE) != 0 && !Read_Values(text.value_or(""), pValues))
            return path + " is no settings file";
    }
    return "";
}

/// The counts of the model's shape, and the least that a camera has.
const struct {
    Repeat repeat;
    const char *pszKey;
    unsigned long least;
} COUNTS[] = {{PER_CHANNEL, "capability_nvideoin", 1},
              {PER_STREAM, "capability_nmediastream", 1},
              {PER_WINDOW, "capability_nmotion", 0}};

std::string Check_Shape(const Model &model)
{
    unsigned long number = 0;
    for (const auto &[repeat, pszKey, least] : COUNTS) {
        const std::string value = Get_KeyValue(model, pszKey);
        if (!Parse_Number(value, MAX_COUNT, &number) || number < least)
            return std::string("model: key ") + pszKey + "=" + value + ": expected a number from " +
                   std::to_string(least) + " to " + std::to_string(MAX_COUNT);
    }
    const std::string codecs = Get_KeyValue(model, CODECS_KEY);
    const auto isOffered = [&](const ElementRow &row) {
        return row.repeat == IF_OFFERED && codecs.find(row.pszTag) != std::string::npos;
    };
    if (std::none_of(std::begin(ELEMENTS), std::end(ELEMENTS), isOffered))
        return std::string("model: key ") + CODECS_KEY + "=" + codecs + ": expected one of mpeg4, mjpeg, h264, h265";
    return "";
}

/// Whoever reads the file sees the old one or the new one. What could not be written whole leaves nothing behind.
std::string Write_File(const std::string &path, const std::string &text)
{
    std::error_code ignored; // the open tells
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    const std::string newPath = path + ".new";
    FILE *pFile = fopen(newPath.c_str(), "we");
    bool isWritten = pFile != nullptr;
    if (isWritten) {
        isWritten = fwrite(text.data(), 1, text.size(), pFile) == text.size();
        isWritten = fclose(pFile) == 0 && isWritten && rename(newPath.c_str(), path.c_str()) == 0;
    }
    if (isWritten)
        return "";
    std::string error = "cannot write " + path + ": " + strerror(errno);
    unlink(newPath.c_str());
    return error;
}

std::string Put_Files(const CameraFiles &files, const std::set<std::string> &readOnly)
{
    // What goes away first makes room for the others.
    for (const auto &[path, text] : files) {
        if (!text.has_value())
            unlink(path.c_str());
    }
    std::string error;
    for (const auto &[path, text] : files) {
        if (text.has_value() && error.empty())
            error = Write_File(path, *text);
    }
    for (const std::string &path : readOnly) {
        if (chmod(path.c_str(), 0444) != 0 && error.empty())
            error = "cannot make " + path + " read-only: " + strerror(errno);
    }
    return error;
}

} // namespace

std::string Compose_CameraFiles(const Model &model, SideValues *pKept, CameraFiles *pFiles)
{
    XmlWriter writer = {{}, Get_KeyValue(model, CODECS_KEY), model.sides, pKept, ""};
    writer.counts[ONCE] = writer.counts[IF_OFFERED] = 1;
    for (const auto &[repeat, pszKey, least] : COUNTS)
        writer.counts[repeat] = std::min(atoi(Get_KeyValue(model, pszKey).c_str()), MAX_COUNT);
    for (const ElementRow *pFile = ELEMENTS; pFile != std::end(ELEMENTS); pFile = Skip_Element(pFile)) {
        writer.text.clear();
        Write_Elements(pFile + 1, Skip_Element(pFile), "", &writer);
        (*pFiles)[pFile->pszTag] = writer.text;
    }
    if (model.settings.at("ptz pidfile") == "yes")
        (*pFiles)[PID_FILE] = std::to_string(getpid()) + "\n";
    for (const auto &[path, text] : model.files)
        (*pFiles)[path] = text;
    return writer.given.empty() ? "" : "model: side " + writer.given.begin()->first + ": no file has this element";
}

std::string Lay_Out_CameraFiles(const Model &model)
{
    SideValues none;
    CameraFiles files;
    const std::string error = Compose_CameraFiles(model, &none, &files);
    return error.empty() ? Put_Files(files, model.readOnly) : error;
}

std::string Update_CameraFiles(const Model &before, const Model &after, const SideValues *pNewSides)
{
    SideValues keptBefore;
    SideValues keptAfter;
    Read_SideFiles(SIDE_FOLDER, &keptBefore);
    if (pNewSides != nullptr) {
        std::set_difference(keptBefore.begin(), keptBefore.end(), pNewSides->begin(), pNewSides->end(),
                            std::inserter(keptAfter, keptAfter.end()), keptAfter.value_comp());
    }
    CameraFiles current;
    CameraFiles files;
    Compose_CameraFiles(before, &keptBefore, &current);
    std::string error = Compose_CameraFiles(after, &keptAfter, &files);
    if (!error.empty())
        return error;
    for (auto &[path, text] : current) {
        // A program may have given a file elements that the model has no place for.
        if (pNewSides == nullptr)
            text = Read_File(path);
        const auto file = files.try_emplace(path).first; // a path that is no longer named is removed
        if (file->second == text)
            files.erase(file);
    }
    for (const std::string &path : before.readOnly)
        chmod(path.c_str(), 0644);
    error = Put_Files(files, after.readOnly);
    if (!error.empty()) {
        for (auto &[path, text] : files)
            text = current[path];
        Put_Files(files, before.readOnly);
    }
    return error;
}

std::string Seed_CameraFiles(const Model &model, const std::string &folder)
{
    SideValues kept;
    CameraFiles files;
    std::string error = Check_Shape(model);
    if (error.empty())
        error = Read_SideFiles(folder, &kept);
    if (error.empty())
        error = Compose_CameraFiles(model, &kept, &files);
    const auto isHeld = [](const auto &value) {
        return value.second.find_first_not_of(" \t\r\n") != std::string::npos;
    };
    const auto homeless = std::find_if(kept.begin(), kept.end(), isHeld);
    if (error.empty() && homeless != kept.end())
        error = folder + ": the camera of this model has no " + homeless->first + ", whose value would be lost";
    for (const ElementRow *pFile = ELEMENTS; pFile != std::end(ELEMENTS) && error.empty();
         pFile = Skip_Element(pFile)) {
        const std::string path = folder + strrchr(pFile->pszTag, '/');
        const bool stays = strcmp(pFile->pszTag, CAPABILITY_FILE) == 0 && access(path.c_str(), F_OK) == 0;
        if (!stays && files.at(pFile->pszTag).has_value())
            error = Write_File(path, *files.at(pFile->pszTag));
    }
    return error;
}

void Remove_PidFile() { unlink(PID_FILE); }
