#include "control.h"

#include "files.h"
#include "text.h"

namespace {

const char RESET[] = "reset";

struct Change {
    Model model;
    SideValues newSides; // those of the lines alone
    bool isReset;
};

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
        } else if (error.empty()) {
            error = Apply_ModelLine(line, "line " + std::to_string(number), &pChange->model);
        }
    }
    pChange->newSides = pChange->model.sides;
    if (!pChange->isReset)
        pChange->model.sides.merge(oldSides);
    return error.empty() ? Check_SnapshotSize(pChange->model) : error;
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
