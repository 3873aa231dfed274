#include "services.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

const uint16_t ANALYTICS_PORT = 80;
const size_t MAX_REQUEST = 65536; // what is longer is cut and answered all the same
const long long SPLIT_PAUSE = 20; // milliseconds between the pieces of a split answer
const int MAX_DRAIN_ROUNDS = 1000;

/// The socket services, in the order of the enumeration. The analytics service has a port instead of a path.
const struct {
    int iType;
    const char *pszPath;
} SOCKETS[] = {{SOCK_STREAM, "/tmp/simcam"},
               {SOCK_STREAM, nullptr},
               {SOCK_STREAM, "/tmp/configer"},
               {SOCK_STREAM, "/tmp/ptzctrl"},
               {SOCK_DGRAM, "/dev/log"}};

const size_t SOCKET_COUNT = std::size(SOCKETS);
static_assert(SERVICE_SYSLOG == SOCKET_COUNT - 1, "the socket services come first");

const Service SOCKET_SERVICES[] = {SERVICE_CONTROL, SERVICE_ANALYTICS, SERVICE_CONFIGER, SERVICE_PTZ, SERVICE_SYSLOG};

struct Connection {
    Service eService;
    int iSocket;
    std::string strRequest;
    std::string strAnswer;
    long long lDue = 0; // when the next piece of the answer may go out, in milliseconds of the monotonic clock
    bool bAnswered = false;
    bool bClosed = false;
};

struct Server {
    Camera *ptCamera;
    std::array<int, SOCKET_COUNT> aiListeners; // by service; -1: nobody listens
    std::vector<Connection> atConnections;
};

bool Has_Fault(const Server &tServer, Service eService, const char *pszWord)
{
    return Has_Fault(tServer.ptCamera->tModel, eService, pszWord);
}

long long Get_Milliseconds()
{
    struct timespec tNow = {};
    clock_gettime(CLOCK_MONOTONIC, &tNow);
    return tNow.tv_sec * 1000LL + tNow.tv_nsec / 1000000;
}

bool Bind_Path(int iListener, const char *pszPath, bool bDenied)
{
    struct sockaddr_un tAddress = {};
    tAddress.sun_family = AF_UNIX;
    strncpy(tAddress.sun_path, pszPath, sizeof tAddress.sun_path - 1);
    return bind(iListener, reinterpret_cast<struct sockaddr *>(&tAddress), sizeof tAddress) == 0 &&
           chmod(pszPath, bDenied ? 0 : 0666) == 0;
}

bool Bind_AnalyticsPort(int iListener)
{
    const int iOn = 1;
    struct sockaddr_in tAddress = {};
    tAddress.sin_family = AF_INET;
    tAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    tAddress.sin_port = htons(ANALYTICS_PORT);
    return setsockopt(iListener, SOL_SOCKET, SO_REUSEADDR, &iOn, sizeof iOn) == 0 &&
           bind(iListener, reinterpret_cast<struct sockaddr *>(&tAddress), sizeof tAddress) == 0;
}

bool Open_Listener(Service eService, Server *ptServer)
{
    if (Has_Fault(*ptServer, eService, "absent"))
        return true;
    const auto &[iType, pszPath] = SOCKETS[eService];
    const int iListener = socket(pszPath != nullptr ? AF_UNIX : AF_INET, iType | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const bool bBound = pszPath != nullptr ? Bind_Path(iListener, pszPath, Has_Fault(*ptServer, eService, "denied"))
                                           : Bind_AnalyticsPort(iListener);
    if (!bBound || (iType == SOCK_STREAM && listen(iListener, SOMAXCONN) != 0)) {
        fprintf(stderr, "simcam: cannot listen on %s: %s\n", pszPath != nullptr ? pszPath : "port 80", strerror(errno));
        return false;
    }
    if (Has_Fault(*ptServer, eService, "refuse"))
        close(iListener); // which leaves a socket file that refuses clients
    else
        ptServer->aiListeners[eService] = iListener;
    return true;
}

void Remove_SocketFiles()
{
    for (const auto &[iType, pszPath] : SOCKETS) {
        if (pszPath != nullptr)
            unlink(pszPath);
    }
}

void Close_Listener(Service eService, Server *ptServer)
{
    close(ptServer->aiListeners[eService]);
    ptServer->aiListeners[eService] = -1;
    if (SOCKETS[eService].pszPath != nullptr)
        unlink(SOCKETS[eService].pszPath);
}

void Drain_SystemLog(const Server &tServer)
{
    std::string strDatagram(MAX_REQUEST, '\0');
    for (ssize_t lCount = 0;
         (lCount = recv(tServer.aiListeners[SERVICE_SYSLOG], strDatagram.data(), strDatagram.size(), 0)) >= 0;)
        Log_Datagram(strDatagram.substr(0, static_cast<size_t>(lCount)), *tServer.ptCamera);
}

void Accept_Connections(Service eService, Server *ptServer)
{
    const int iListener = ptServer->aiListeners[eService];
    for (int iSocket = 0; (iSocket = accept4(iListener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)) >= 0;) {
        ptServer->atConnections.push_back({eService, iSocket, "", ""});
        ptServer->atConnections.back().bClosed = Has_Fault(*ptServer, eService, "close-at-once");
    }
}

/// What the service's fault makes of the true answer.
std::string Spoil_Answer(const Fault &tFault, const std::string &strAnswer)
{
    if (tFault.strWord == "close")
        return "";
    if (tFault.strWord == "bytes")
        return std::string(tFault.uNumber, 'x');
    if (tFault.strWord == "cut")
        return strAnswer.substr(0, tFault.uNumber);
    std::string strGarbage;
    for (int iByte = 0x80; iByte <= 0xff; ++iByte)
        strGarbage += {static_cast<char>(iByte), '\0'};
    return tFault.strWord == "garbage" ? strGarbage : strAnswer;
}

/// Starts the services again whose fault is another one than before. Returns false when one of them does not listen.
bool Restart_Services(const FaultList &atBefore, Server *ptServer)
{
    bool bOpen = true;
    for (const Service eService : SOCKET_SERVICES) {
        if (ptServer->ptCamera->tModel.atFaults[eService] == atBefore[eService])
            continue;
        if (eService == SERVICE_SYSLOG)
            Drain_SystemLog(*ptServer);
        Close_Listener(eService, ptServer);
        bOpen = Open_Listener(eService, ptServer) && bOpen;
        for (Connection &tConnection : ptServer->atConnections)
            tConnection.bClosed = tConnection.bClosed || tConnection.eService == eService;
    }
    return bOpen;
}

void Handle_Request(Connection *ptConnection, Server *ptServer)
{
    // What the client logged before its request is waiting by now, and comes first.
    if (!Has_Fault(*ptServer, SERVICE_SYSLOG, "hang"))
        Drain_SystemLog(*ptServer);
    const Fault &tFault = ptServer->ptCamera->tModel.atFaults[ptConnection->eService];
    const FaultList atFaults = ptServer->ptCamera->tModel.atFaults;
    const std::string strAnswer = Answer_Request(ptConnection->eService, ptConnection->strRequest, ptServer->ptCamera);
    ptConnection->strAnswer = Spoil_Answer(tFault, strAnswer);
    if (ptConnection->eService == SERVICE_CONTROL && !Restart_Services(atFaults, ptServer))
        ptConnection->strAnswer = "a service does not listen; the messages of the camera tell why\n";
    ptConnection->bAnswered = tFault.strWord != "hang";
    if (tFault.strWord == "late")
        ptConnection->lDue = Get_Milliseconds() + static_cast<long long>(tFault.uNumber);
}

/// HTTP requests have an end of their own, a change ends with the stream, the others come in one piece.
bool Is_Complete(const Connection &tConnection)
{
    const std::string &strRequest = tConnection.strRequest;
    if (tConnection.eService == SERVICE_CONTROL)
        return false;
    return strRequest.size() >= MAX_REQUEST ||
           (tConnection.eService == SERVICE_ANALYTICS ? strRequest.find("\r\n\r\n") != std::string::npos
                                                      : !strRequest.empty());
}

/// Bytes behind a complete request, which only a service that hangs still reads, are dropped.
void Receive_Bytes(Connection *ptConnection, Server *ptServer)
{
    const bool bWasComplete = Is_Complete(*ptConnection);
    char acBlock[16384];
    ssize_t lCount = 0;
    do {
        lCount = recv(ptConnection->iSocket, acBlock, sizeof acBlock, 0);
        if (lCount > 0 && !bWasComplete)
            ptConnection->strRequest.append(acBlock, static_cast<size_t>(lCount));
    } while (lCount > 0 && ptConnection->strRequest.size() < MAX_REQUEST);
    const bool bEnded = lCount == 0 || (lCount < 0 && errno != EAGAIN);
    if (!bWasComplete && (Is_Complete(*ptConnection) || (bEnded && !ptConnection->strRequest.empty())))
        Handle_Request(ptConnection, ptServer);
    ptConnection->bClosed = bEnded && !ptConnection->bAnswered;
}

/// Sends the next piece of the answer, all of it without a fault, and closes behind the last one.
void Send_Answer(Connection *ptConnection, const Fault &tFault)
{
    std::string *pAnswer = &ptConnection->strAnswer;
    const bool bSplit = tFault.strWord == "split";
    const size_t uSize = std::min(pAnswer->size(), bSplit ? std::max<size_t>(tFault.uNumber, 1) : pAnswer->size());
    const ssize_t lCount = send(ptConnection->iSocket, pAnswer->data(), uSize, MSG_NOSIGNAL);
    if (lCount > 0) {
        pAnswer->erase(0, static_cast<size_t>(lCount));
        ptConnection->lDue = bSplit ? Get_Milliseconds() + SPLIT_PAUSE : 0;
    }
    ptConnection->bClosed = pAnswer->empty() || (lCount < 0 && errno != EAGAIN);
}

void Serve_Connection(Connection *ptConnection, Server *ptServer)
{
    if (ptConnection->bAnswered)
        Send_Answer(ptConnection, ptServer->ptCamera->tModel.atFaults[ptConnection->eService]);
    else if (Has_Fault(*ptServer, ptConnection->eService, "reset"))
        ptConnection->bClosed = true; // with the request unread, which resets the connection
    else
        Receive_Bytes(ptConnection, ptServer);
}

/// Lists what to wait for, the listeners first, and shortens the time to wait to when the next answer is due.
std::vector<struct pollfd> List_Descriptors(const Server &tServer, int iStopDescriptor, int *pTimeout)
{
    std::vector<struct pollfd> atDescriptors = {{iStopDescriptor, POLLIN, 0}};
    for (const int iListener : tServer.aiListeners)
        atDescriptors.push_back({iListener, POLLIN, 0});
    if (Has_Fault(tServer, SERVICE_SYSLOG, "hang"))
        atDescriptors.back().fd = -1;
    const long long lNow = Get_Milliseconds();
    for (const Connection &tConnection : tServer.atConnections) {
        const int iWait = static_cast<int>(std::max(tConnection.lDue - lNow, 0LL));
        const short iEvents = tConnection.bAnswered ? POLLOUT : POLLIN;
        atDescriptors.push_back({iWait > 0 ? -1 : tConnection.iSocket, iEvents, 0});
        if (iWait > 0 && (*pTimeout < 0 || iWait < *pTimeout))
            *pTimeout = iWait;
    }
    return atDescriptors;
}

/// Waits at most so many milliseconds (-1: without limit) and serves what is ready. Returns whether anything was, and
/// the stop descriptor was not.
bool Serve_Round(int iStopDescriptor, int iTimeout, Server *ptServer)
{
    std::vector<struct pollfd> atDescriptors = List_Descriptors(*ptServer, iStopDescriptor, &iTimeout);
    const int iReady = poll(atDescriptors.data(), atDescriptors.size(), iTimeout);
    for (size_t i = 0; i < ptServer->atConnections.size(); ++i) {
        if (atDescriptors[1 + SOCKET_COUNT + i].revents != 0 && !ptServer->atConnections[i].bClosed)
            Serve_Connection(&ptServer->atConnections[i], ptServer);
    }
    if (atDescriptors[1 + SERVICE_SYSLOG].revents != 0)
        Drain_SystemLog(*ptServer);
    for (const Service eService : SOCKET_SERVICES) {
        if (eService != SERVICE_SYSLOG && atDescriptors[1U + eService].revents != 0)
            Accept_Connections(eService, ptServer);
    }
    const auto pfnIsOpen = [](const Connection &tConnection) { return !tConnection.bClosed; };
    const auto itEnd = std::stable_partition(ptServer->atConnections.begin(), ptServer->atConnections.end(), pfnIsOpen);
    std::for_each(itEnd, ptServer->atConnections.end(),
                  [](const Connection &tConnection) { close(tConnection.iSocket); });
    ptServer->atConnections.erase(itEnd, ptServer->atConnections.end());
    return atDescriptors[0].revents == 0 && (iReady > 0 || iStopDescriptor >= 0);
}

/// Takes in what has been sent before the end, also by a client that did not wait for its answer.
void Drain_Services(Server *ptServer)
{
    for (int iRound = 0; iRound < MAX_DRAIN_ROUNDS && Serve_Round(-1, 0, ptServer); ++iRound)
        continue;
    for (Connection &tConnection : ptServer->atConnections) {
        if (!tConnection.strRequest.empty() && !Is_Complete(tConnection))
            Handle_Request(&tConnection, ptServer);
    }
    Drain_SystemLog(*ptServer);
}

} // namespace

std::string Send_Change(const std::string &strLines)
{
    char acBlock[4096];
    std::string strAnswer;
    struct sockaddr_un tAddress = {};
    tAddress.sun_family = AF_UNIX;
    strncpy(tAddress.sun_path, SOCKETS[SERVICE_CONTROL].pszPath, sizeof tAddress.sun_path - 1);
    const int iCamera = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(iCamera, reinterpret_cast<struct sockaddr *>(&tAddress), sizeof tAddress) != 0 ||
        send(iCamera, strLines.data(), strLines.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(strLines.size()) ||
        shutdown(iCamera, SHUT_WR) != 0) {
        strAnswer = std::string("no camera answers: ") + strerror(errno) + "\n";
    } else {
        for (ssize_t lCount = 0; (lCount = recv(iCamera, acBlock, sizeof acBlock, 0)) > 0;)
            strAnswer.append(acBlock, static_cast<size_t>(lCount));
    }
    close(iCamera);
    return strAnswer.empty() ? "the camera says nothing\n" : strAnswer;
}

bool Run_Services(int iStopDescriptor, Camera *ptCamera)
{
    Server tServer = {ptCamera, {-1, -1, -1, -1, -1}, {}};
    Remove_SocketFiles();
    bool bOpen = true;
    for (const Service eService : SOCKET_SERVICES)
        bOpen = bOpen && Open_Listener(eService, &tServer);
    if (bOpen) {
        fputs("simcam: ready\n", stderr);
        while (Serve_Round(iStopDescriptor, -1, &tServer))
            continue;
        Drain_Services(&tServer);
    }
    Remove_SocketFiles(); // the sockets themselves end with the process
    return bOpen;
}
