#include "control.h"

#include "files.h"
#include "text.h"

#include <filesystem>

namespace {

const char RESET[] = "reset";
const char SIDE_FOLDER[] = "/etc/conf.d/";
const char CAPABILITY_FILE[] = "/etc/CDF.xml";

struct Change {
    Model tModel;
    SideValues tNewSides; // those of the lines alone
    bool bReset;
};

bool Is_Changeable(const std::string &strPath)
{
    const bool bPlain = strPath == std::filesystem::path(strPath).lexically_normal(); // no ".." in it
    return bPlain && (strPath == CAPABILITY_FILE || strPath.rfind(SIDE_FOLDER, 0) == 0);
}

/// The camera's own files and no others: who changes a camera over the network is not who started it. Returns an empty
/// text, or what is wrong.
std::string Check_Paths(const Model &tStart, const Model &tAfter)
{
    std::set<std::string> tPaths = tAfter.tReadOnly;
    for (const auto &[strPath, tText] : tAfter.tFiles)
        tPaths.insert(strPath);
    for (const std::string &strPath : tPaths) {
        if (!Is_Changeable(strPath) && tStart.tFiles.count(strPath) + tStart.tReadOnly.count(strPath) == 0)
            return strPath + ": a camera that runs changes no files but " + CAPABILITY_FILE + " and those in " +
                   SIDE_FOLDER;
    }
    return "";
}

/// Two changes that a client has joined, as curl does with --data and --data, would make one value of both.
bool Is_Joined(const std::string &strLine)
{
    size_t uAt = strLine.find('&');
    while (uAt != std::string::npos && !Is_Directive(strLine.substr(uAt + 1)))
        uAt = strLine.find('&', uAt + 1);
    return uAt != std::string::npos;
}

std::string Check_Change(const Camera &tCamera, const Model &tAfter)
{
    const std::string strAlias = Find_AliasToNowhere(tCamera.tModel, tAfter);
    std::string strError = Check_Paths(tCamera.tStart, tAfter);
    if (!strError.empty())
        return strError;
    return strAlias.empty() ? Check_SnapshotSize(tAfter)
                            : "alias " + strAlias + ": the camera has no such key or group of keys";
}

std::string Apply_Lines(const std::string &strText, const Camera &tCamera, Change *ptChange)
{
    SideValues tOldSides;
    ptChange->tModel.tSides.swap(tOldSides);
    std::string strError;
    int iNumber = 0;
    for (std::string strLine : Split_Text(strText, '\n')) {
        ++iNumber;
        if (!strLine.empty() && strLine.back() == '\r')
            strLine.pop_back();
        if (strLine == RESET) {
            ptChange->tModel = tCamera.tStart;
            ptChange->bReset = true;
        } else if (strError.empty() && Is_Joined(strLine)) {
            strError = "line " + std::to_string(iNumber) +
                       ": \"&\" in front of a line; each has one of its own, and in a " +
                       "value \"\\x26\" stands for it";
        } else if (strError.empty()) {
            strError = Apply_ModelLine(strLine, "line " + std::to_string(iNumber), &ptChange->tModel);
        }
    }
    ptChange->tNewSides = ptChange->tModel.tSides;
    if (!ptChange->bReset)
        ptChange->tModel.tSides.merge(tOldSides);
    return strError.empty() ? Check_Change(tCamera, ptChange->tModel) : strError;
}

} // namespace

std::string Change_Camera(const std::string &strText, Camera *ptCamera)
{
    Change tChange = {ptCamera->tModel, {}, false};
    std::string strError = Apply_Lines(strText, *ptCamera, &tChange);
    if (strError.empty())
        strError = Update_CameraFiles(ptCamera->tModel, tChange.tModel, tChange.bReset ? nullptr : &tChange.tNewSides);
    if (!strError.empty())
        return strError + "; nothing is changed\n";
    std::swap(ptCamera->tModel, tChange.tModel);
    if (!Update_Snapshot(tChange.tModel, ptCamera->tModel, &ptCamera->tSnapshot))
        return "the snapshot could not be changed; the messages of the camera tell why\n";
    return "ok\n";
}
