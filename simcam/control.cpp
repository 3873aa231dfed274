#include "control.h"

#include "files.h"
#include "text.h"

#include <filesystem>

namespace {

const char RESET[] = "reset";
const char SIDE_FOLDER[] = "/etc/conf.d/";
const char CAPABILITY_FILE[] = "/etc/CDF.xml";

struct Change {
    Model model;
    SideValues newSides; // those of the lines alone
    bool isReset;
};

bool Is_Changeable(const std::string &path)
{
    const bool isPlain = path == std::filesystem::path(path).lexically_normal(); // no ".." in it
    return isPlain && (path == CAPABILITY_FILE || path.rfind(SIDE_FOLDER, 0) == 0);
}

/// The camera's own files and no others: who changes a camera over the network is not who started it. Returns an empty
/// text, or what is wrong.
std::string Check_Paths(const Model &start, const Model &after)
{
    std::set<std::string> paths = after.readOnly;
    for (const auto &[path, text] : after.files)
        paths.insert(path);
    for (const std::string &path : paths) {
        if (!Is_Changeable(path) && start.files.count(path) + start.readOnly.count(path) == 0)
            return path + ": a camera that runs changes no files but " + CAPABILITY_FILE + " and those in " +
                   SIDE_FOLDER;
    }
    return "";
}

/// Two changes that a client has joined, as curl does with --data and --data, would make one value of both.
bool Is_Joined(const std::string &line)
{
    size_t at = line.find('&');
    while (at != std::string::npos && !Is_Directive(line.substr(at + 1)))
        at = line.find('&', at + 1);
    return at != std::string::npos;
}

std::string Check_Change(const Camera &camera, const Model &after)
{
    const std::string alias = Find_AliasToNowhere(camera.model, after);
    std::string error = Check_Paths(camera.start, after);
    if (!error.empty())
        return error;
    return alias.empty() ? Check_SnapshotSize(after)
                         : "alias " + alias + ": the camera has no such key or group of keys";
}

std::string Apply_Lines(const std::string &text, const Camera &camera, Change *pChange)
{
    SideValues oldSides;
    pChange->model.sides.swap(oldSides);
    std::string error;
    int number = 0;
    for (std::string line : Split_Text(text, '\n')) {
        ++number;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line == RESET) {
            pChange->model = camera.start;
            pChange->isReset = true;
        } else if (error.empty() && Is_Joined(line)) {
            error = "line " + std::to_string(number) +
                    ": \"&\" in front of a line; each has one of its own, and in a " + "value \"\\x26\" stands for it";
        } else if (error.empty()) {
            error = Apply_ModelLine(line, "line " + std::to_string(number), &pChange->model);
        }
    }
    pChange->newSides = pChange->model.sides;
    if (!pChange->isReset)
        pChange->model.sides.merge(oldSides);
    return error.empty() ? Check_Change(camera, pChange->model) : error;
}

} // namespace

std::string Change_Camera(const std::string &text, Camera *pCamera)
{
    Change change = {pCamera->model, {}, false};
    std::string error = Apply_Lines(text, *pCamera, &change);
    if (error.empty())
        error = Update_CameraFiles(pCamera->model, change.model, change.isReset ? nullptr : &change.newSides);
    if (!error.empty())
        return error + "; nothing is changed\n";
    std::swap(pCamera->model, change.model);
    if (!Update_Snapshot(change.model, pCamera->model, &pCamera->snapshot))
        return "the snapshot could not be changed; the messages of the camera tell why\n";
    return "ok\n";
}
