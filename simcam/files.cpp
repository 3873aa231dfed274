#include "files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char PID_FILE[] = "/var/run/ptzcgid.pid";
const int MAX_COUNT = 100; // of channels, streams or windows: more do not fit an element name of three characters

enum Repeat { ONCE, PER_CHANNEL, PER_STREAM, PER_WINDOW, IF_OFFERED, REPEAT_COUNT };

// An element of an XML file: what is inside follows in deeper rows. A file is a row of depth 0, named by its path.
struct ElementRow {
    int depth;
    Repeat repeat; // PER_x: one element per index, which is put behind the tag; IF_OFFERED: a codec that the camera has
    const char *pszTag;
    const char *pszDefault; // the value, unless the model gives another one; null: none
};

const char BITRATE_RANGE[] = "string,\"20000~40000000\"";

// The range of stream 0 stands for all streams of its channel.
const ElementRow ELEMENTS[] = {
    {0, ONCE, "/etc/CDF.xml", nullptr},
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

// What the writing of the files needs to know.
struct XmlWriter {
    int counts[REPEAT_COUNT]; // how often an element repeats
    std::string codecs;
    std::map<std::string, std::string> given; // the values of the model that no file has had yet, by "side " and path
    std::string text;
};

// The row behind an element and all that is inside.
const ElementRow *Skip_Element(const ElementRow *pRow)
{
    const int depth = pRow->depth;
    while (++pRow != std::end(ELEMENTS) && pRow->depth > depth)
        continue;
    return pRow;
}

// The model names a value by its path below root and quorvex, joined by "_".
std::string Get_Value(const ElementRow &row, const std::string &path, XmlWriter *pWriter)
{
    const auto given = pWriter->given.extract("side " + path);
    return given.empty() ? row.pszDefault : given.mapped();
}

// Writes the elements between two rows of one depth, one tag to a line, indented by tabs. It calls itself for what is
// inside an element, so as deep as the table goes.
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

int Get_Count(const Model &model, const char *pszKey)
{
    return std::min(atoi(Get_KeyValue(model, pszKey).c_str()), MAX_COUNT);
}

bool Write_File(const std::string &path, const std::string &text)
{
    std::error_code ignored; // the open tells
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    FILE *pFile = fopen(path.c_str(), "we");
    if (pFile != nullptr) {
        fwrite(text.data(), 1, text.size(), pFile);
        if (fclose(pFile) == 0)
            return true;
    }
    fprintf(stderr, "simcam: cannot write %s: %s\n", path.c_str(), strerror(errno));
    return false;
}

} // namespace

std::string Compose_CameraFiles(const Model &model, CameraFiles *pFiles)
{
    XmlWriter writer = {{}, Get_KeyValue(model, "capability_videoin_codec"), model.settings, ""};
    writer.counts[ONCE] = writer.counts[IF_OFFERED] = 1;
    writer.counts[PER_CHANNEL] = Get_Count(model, "capability_nvideoin");
    writer.counts[PER_STREAM] = Get_Count(model, "capability_nmediastream");
    writer.counts[PER_WINDOW] = Get_Count(model, "capability_nmotion");
    for (const ElementRow *pFile = ELEMENTS; pFile != std::end(ELEMENTS); pFile = Skip_Element(pFile)) {
        writer.text.clear();
        Write_Elements(pFile + 1, Skip_Element(pFile), "", &writer);
        (*pFiles)[pFile->pszTag] = writer.text;
    }
    if (model.settings.at("ptz pidfile") == "yes")
        (*pFiles)[PID_FILE] = std::to_string(getpid()) + "\n";
    for (const auto &[path, text] : model.files)
        (*pFiles)[path] = text;
    for (const auto &[name, value] : writer.given) {
        if (name.rfind("side ", 0) == 0)
            return "model: " + name + ": no file has this element";
    }
    return "";
}

bool Lay_Out_CameraFiles(const CameraFiles &files, const std::set<std::string> &readOnly)
{
    bool isDone = true;
    for (const auto &[path, text] : files) {
        if (text.has_value())
            isDone = Write_File(path, *text) && isDone;
        else
            unlink(path.c_str());
    }
    for (const std::string &path : readOnly)
        isDone = chmod(path.c_str(), 0444) == 0 && isDone;
    return isDone;
}

bool Seed_CameraFiles(const CameraFiles &files, const std::string &folder)
{
    bool isDone = true;
    for (const ElementRow *pFile = ELEMENTS; pFile != std::end(ELEMENTS); pFile = Skip_Element(pFile)) {
        const std::optional<std::string> &text = files.at(pFile->pszTag);
        if (text.has_value())
            isDone = Write_File(folder + strrchr(pFile->pszTag, '/'), *text) && isDone;
    }
    return isDone;
}

void Remove_PidFile() { unlink(PID_FILE); }
