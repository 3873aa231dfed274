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

void Write_LogLine(const Camera &tCamera, const std::string &strWord, const std::string &strText)
{
    fprintf(tCamera.ptLog, "%s %s\n", strWord.c_str(), Encode_Escapes(strText).c_str());
    fflush(tCamera.ptLog);
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
std::string Answer_Set(const std::string &strName, const std::string &strValue, Camera *ptCamera)
{
    if (ptCamera->tModel.tSettings.count("fail " + strName) > 0)
        return std::string(SET_REPLY_CAPACITY, 'x');
    if (Set_KeyValue(&ptCamera->tModel, strName, strValue))
        Publish_Snapshot(ptCamera->tModel, ptCamera->tSnapshot);
    return strName + "='" + strValue + "'\n";
}

std::string Answer_Configer(const std::string &strRequest, Camera *ptCamera)
{
    std::string strPayload = strRequest;
    if (Take_Prefix(&strPayload, SET_LINE)) {
        const size_t uEquals = strPayload.find('=');
        if (uEquals != std::string::npos && Is_KeyName(strPayload.substr(0, uEquals))) {
            Write_LogLine(*ptCamera, "set", strPayload);
            return Answer_Set(strPayload.substr(0, uEquals), strPayload.substr(uEquals + 1), ptCamera);
        }
    } else if (Take_Prefix(&strPayload, GET_LINE) && Is_KeyName(strPayload)) {
        Write_LogLine(*ptCamera, "get", strPayload);
        return Get_KeyValue(ptCamera->tModel, strPayload);
    }
    Write_LogLine(*ptCamera, "bad", strRequest);
    return "";
}

std::string Answer_Ptz(const std::string &strRequest, Camera *ptCamera)
{
    Write_LogLine(*ptCamera, "ptz", strRequest);
    return strRequest == PTZ_VERSION_REQUEST ? ptCamera->tModel.tSettings.at("ptz reply") : "";
}

std::string Answer_Analytics(const std::string &strRequest, Camera *ptCamera)
{
    const std::string strLine = strRequest.substr(0, strRequest.find("\r\n"));
    const std::string strTarget = strLine.substr(0, strLine.find(' ', strLine.find(' ') + 1));
    Write_LogLine(*ptCamera, "analytics", strTarget + " " + std::to_string(strRequest.size()));
    if (strTarget == "GET /VCA/Capability")
        return ptCamera->tModel.tSettings.at("analytics capability");
    return strTarget == "GET /VCA/Functions" ? ptCamera->tModel.tSettings.at("analytics functions") : "";
}

} // namespace

std::string Answer_Request(Service eService, const std::string &strRequest, Camera *ptCamera)
{
    switch (eService) {
    case SERVICE_CONTROL:
        if (strRequest == "faults") // a question, no change
            return List_PresentFaults(ptCamera->tModel.atFaults);
        Write_LogLine(*ptCamera, "change", strRequest.substr(0, strRequest.find_last_not_of("\r\n") + 1));
        return Change_Camera(strRequest, ptCamera);
    case SERVICE_PTZ:
        return Answer_Ptz(strRequest, ptCamera);
    case SERVICE_ANALYTICS:
        return Answer_Analytics(strRequest, ptCamera);
    default:
        return Answer_Configer(strRequest, ptCamera);
    }
}

void Log_Datagram(const std::string &strDatagram, const Camera &tCamera)
{
    std::string strText = strDatagram;
    if (!strText.empty() && strText.back() == '\0') // some C libraries send the terminator along
        strText.pop_back();
    const size_t uEnd = strText.find('>');
    std::string strMessage = strText.substr(std::min(strText.size(), uEnd + 1 + TIMESTAMP_SIZE));
    unsigned long uPriority = 0;
    if (uEnd != std::string::npos && strText[0] == '<' && Parse_Number(strText.substr(1, uEnd - 1), 15, &uPriority) &&
        uPriority >= FIRST_PRIORITY && Take_Prefix(&strMessage, LOG_IDENTITY)) {
        Write_LogLine(tCamera, std::string("log ") + PRIORITIES[uPriority - FIRST_PRIORITY], strMessage);
    } else {
        Write_LogLine(tCamera, "log raw", strText);
    }
}
