#include "requests.h"

#include "control.h"
#include "text.h"

#include <algorithm>

namespace {

const char SET_LINE[] = "set NameValue 99 0 0\n";
const char GET_LINE[] = "get Value 99 0\n";
const char PTZ_VERSION_REQUEST[] = "camctrl.cgi?getversion";

/// Clients read the answer to a set into a buffer of this size, and a buffer that it fills counts as a failure.
const size_t SET_REPLY_CAPACITY = 128;

/// A message is "<PRIORITY>Mmm dd hh:mm:ss IDENTITY: TEXT", with the priorities of the facility user from 8 on.
const size_t TIMESTAMP_SIZE = 16;
const char LOG_IDENTITY[] = "Quorvex TELP package - param.cgi: ";
const unsigned long FIRST_PRIORITY = 8;
const char *const PRIORITIES[] = {"emerg", "alert", "crit", "err", "warning", "notice", "info", "debug"};

void Write_LogLine(const Camera &camera, const std::string &word, const std::string &text)
{
    fprintf(camera.pLog, "%s %s\n", word.c_str(), Encode_Escapes(text).c_str());
    fflush(camera.pLog);
}

/// Cuts the prefix off the front of the text, if it is there.
bool Take_Prefix(std::string *pText, const char *pszPrefix)
{
    if (pText->rfind(pszPrefix, 0) != 0)
        return false;
    pText->erase(0, std::char_traits<char>::length(pszPrefix));
    return true;
}

/// A key that the camera does not have is confirmed like any other, and is not there afterwards either.
std::string Answer_Set(const std::string &name, const std::string &value, Camera *pCamera)
{
    if (pCamera->model.settings.count("fail " + name) > 0)
        return std::string(SET_REPLY_CAPACITY, 'x');
    if (Set_KeyValue(&pCamera->model, name, value))
        Publish_Snapshot(pCamera->model, pCamera->snapshot);
    return name + "='" + value + "'\n";
}

std::string Answer_Configer(const std::string &request, Camera *pCamera)
{
    std::string payload = request;
    if (Take_Prefix(&payload, SET_LINE)) {
        const size_t equals = payload.find('=');
        if (equals != std::string::npos && Is_KeyName(payload.substr(0, equals))) {
            Write_LogLine(*pCamera, "set", payload);
            return Answer_Set(payload.substr(0, equals), payload.substr(equals + 1), pCamera);
        }
    } else if (Take_Prefix(&payload, GET_LINE) && Is_KeyName(payload)) {
        Write_LogLine(*pCamera, "get", payload);
        return Get_KeyValue(pCamera->model, payload);
    }
    Write_LogLine(*pCamera, "bad", request);
    return "";
}

std::string Answer_Ptz(const std::string &request, Camera *pCamera)
{
    Write_LogLine(*pCamera, "ptz", request);
    return request == PTZ_VERSION_REQUEST ? pCamera->model.settings.at("ptz reply") : "";
}

std::string Answer_Analytics(const std::string &request, Camera *pCamera)
{
    const std::string line = request.substr(0, request.find("\r\n"));
    const std::string target = line.substr(0, line.find(' ', line.find(' ') + 1));
    Write_LogLine(*pCamera, "analytics", target + " " + std::to_string(request.size()));
    if (target == "GET /VCA/Capability")
        return pCamera->model.settings.at("analytics capability");
    return target == "GET /VCA/Functions" ? pCamera->model.settings.at("analytics functions") : "";
}

} // namespace

std::string Answer_Request(Service service, const std::string &request, Camera *pCamera)
{
    switch (service) {
    case SERVICE_CONTROL:
        if (request == "faults") // a question, no change
            return List_PresentFaults(pCamera->model.faults);
        Write_LogLine(*pCamera, "change", request.substr(0, request.find_last_not_of("\r\n") + 1));
        return Change_Camera(request, pCamera);
    case SERVICE_PTZ:
        return Answer_Ptz(request, pCamera);
    case SERVICE_ANALYTICS:
        return Answer_Analytics(request, pCamera);
    default:
        return Answer_Configer(request, pCamera);
    }
}

void Log_Datagram(const std::string &datagram, const Camera &camera)
{
    std::string text = datagram;
    if (!text.empty() && text.back() == '\0') // some C libraries send the terminator along
        text.pop_back();
    const size_t end = text.find('>');
    std::string message = text.substr(std::min(text.size(), end + 1 + TIMESTAMP_SIZE));
    unsigned long priority = 0;
    if (end != std::string::npos && text[0] == '<' && Parse_Number(text.substr(1, end - 1), 15, &priority) &&
        priority >= FIRST_PRIORITY && Take_Prefix(&message, LOG_IDENTITY)) {
        Write_LogLine(camera, std::string("log ") + PRIORITIES[priority - FIRST_PRIORITY], message);
    } else {
        Write_LogLine(camera, "log raw", text);
    }
}
