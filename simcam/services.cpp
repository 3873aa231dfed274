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
    int type;
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
    Service service;
    int socket;
    std::string request;
    std::string answer;
    long long due = 0; // when the next piece of the answer may go out, in milliseconds of the monotonic clock
    bool isAnswered = false;
    bool isClosed = false;
};

struct Server {
    Camera *pCamera;
    std::array<int, SOCKET_COUNT> listeners; // by service; -1: nobody listens
    std::vector<Connection> connections;
};

bool Has_Fault(const Server &server, Service service, const char *pszWord)
{
    return Has_Fault(server.pCamera->model, service, pszWord);
}

long long Get_Milliseconds()
{
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

bool Bind_Path(int listener, const char *pszPath, bool isDenied)
{
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, pszPath, sizeof address.sun_path - 1);
    return bind(listener, reinterpret_cast<struct sockaddr *>(&address), sizeof address) == 0 &&
           chmod(pszPath, isDenied ? 0 : 0666) == 0;
}

bool Bind_AnalyticsPort(int listener)
{
    const int on = 1;
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(ANALYTICS_PORT);
    return setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
           bind(listener, reinterpret_cast<struct sockaddr *>(&address), sizeof address) == 0;
}

bool Open_Listener(Service service, Server *pServer)
{
    if (Has_Fault(*pServer, service, "absent"))
        return true;
    const auto &[type, pszPath] = SOCKETS[service];
    const int listener = socket(pszPath != nullptr ? AF_UNIX : AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const bool isBound = pszPath != nullptr ? Bind_Path(listener, pszPath, Has_Fault(*pServer, service, "denied"))
                                            : Bind_AnalyticsPort(listener);
    if (!isBound || (type == SOCK_STREAM && listen(listener, SOMAXCONN) != 0)) {
        fprintf(stderr, "simcam: cannot listen on %s: %s\n", pszPath != nullptr ? pszPath : "port 80", strerror(errno));
        return false;
    }
    if (Has_Fault(*pServer, service, "refuse"))
        close(listener); // which leaves a socket file that refuses clients
    else
        pServer->listeners[service] = listener;
    return true;
}

void Remove_SocketFiles()
{
    for (const auto &[type, pszPath] : SOCKETS) {
        if (pszPath != nullptr)
            unlink(pszPath);
    }
}

void Close_Listener(Service service, Server *pServer)
{
    close(pServer->listeners[service]);
    pServer->listeners[service] = -1;
    if (SOCKETS[service].pszPath != nullptr)
        unlink(SOCKETS[service].pszPath);
}

void Drain_SystemLog(const Server &server)
{
    std::string datagram(MAX_REQUEST, '\0');
    for (ssize_t count = 0; (count = recv(server.listeners[SERVICE_SYSLOG], datagram.data(), datagram.size(), 0)) >= 0;)
        Log_Datagram(datagram.substr(0, static_cast<size_t>(count)), *server.pCamera);
}

void Accept_Connections(Service service, Server *pServer)
{
    const int listener = pServer->listeners[service];
    for (int socket = 0; (socket = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)) >= 0;) {
        pServer->connections.push_back({service, socket, "", ""});
        pServer->connections.back().isClosed = Has_Fault(*pServer, service, "close-at-once");
    }
}

/// What the service's fault makes of the true answer.
std::string Spoil_Answer(const Fault &fault, const std::string &answer)
{
    if (fault.word == "close")
        return "";
    if (fault.word == "bytes")
        return std::string(fault.number, 'x');
    if (fault.word == "cut")
        return answer.substr(0, fault.number);
    std::string garbage;
    for (int byte = 0x80; byte <= 0xff; ++byte)
        garbage += {static_cast<char>(byte), '\0'};
    return fault.word == "garbage" ? garbage : answer;
}

/// Starts the services again whose fault is another one than before. Returns false when one of them does not listen.
bool Restart_Services(const FaultList &before, Server *pServer)
{
    bool isOpen = true;
    for (const Service service : SOCKET_SERVICES) {
        if (pServer->pCamera->model.faults[service] == before[service])
            continue;
        if (service == SERVICE_SYSLOG)
            Drain_SystemLog(*pServer);
        Close_Listener(service, pServer);
        isOpen = Open_Listener(service, pServer) && isOpen;
        for (Connection &connection : pServer->connections)
            connection.isClosed = connection.isClosed || connection.service == service;
    }
    return isOpen;
}

void Handle_Request(Connection *pConnection, Server *pServer)
{
    // What the client logged before its request is waiting by now, and comes first.
    if (!Has_Fault(*pServer, SERVICE_SYSLOG, "hang"))
        Drain_SystemLog(*pServer);
    const Fault &fault = pServer->pCamera->model.faults[pConnection->service];
    const FaultList faults = pServer->pCamera->model.faults;
    const std::string answer = Answer_Request(pConnection->service, pConnection->request, pServer->pCamera);
    pConnection->answer = Spoil_Answer(fault, answer);
    if (pConnection->service == SERVICE_CONTROL && !Restart_Services(faults, pServer))
        pConnection->answer = "a service does not listen; the messages of the camera tell why\n";
    pConnection->isAnswered = fault.word != "hang";
    if (fault.word == "late")
        pConnection->due = Get_Milliseconds() + static_cast<long long>(fault.number);
}

/// HTTP requests have an end of their own, a change ends with the stream, the others come in one piece.
bool Is_Complete(const Connection &connection)
{
    const std::string &request = connection.request;
    if (connection.service == SERVICE_CONTROL)
        return false;
    return request.size() >= MAX_REQUEST ||
           (connection.service == SERVICE_ANALYTICS ? request.find("\r\n\r\n") != std::string::npos : !request.empty());
}

/// Bytes behind a complete request, which only a service that hangs still reads, are dropped.
void Receive_Bytes(Connection *pConnection, Server *pServer)
{
    const bool wasComplete = Is_Complete(*pConnection);
    char aBlock[16384];
    ssize_t count = 0;
    do {
        count = recv(pConnection->socket, aBlock, sizeof aBlock, 0);
        if (count > 0 && !wasComplete)
            pConnection->request.append(aBlock, static_cast<size_t>(count));
    } while (count > 0 && pConnection->request.size() < MAX_REQUEST);
    const bool isEnded = count == 0 || (count < 0 && errno != EAGAIN);
    if (!wasComplete && (Is_Complete(*pConnection) || (isEnded && !pConnection->request.empty())))
        Handle_Request(pConnection, pServer);
    pConnection->isClosed = isEnded && !pConnection->isAnswered;
}

/// Sends the next piece of the answer, all of it without a fault, and closes behind the last one.
void Send_Answer(Connection *pConnection, const Fault &fault)
{
    std::string *pAnswer = &pConnection->answer;
    const bool isSplit = fault.word == "split";
    const size_t size = std::min(pAnswer->size(), isSplit ? std::max<size_t>(fault.number, 1) : pAnswer->size());
    const ssize_t count = send(pConnection->socket, pAnswer->data(), size, MSG_NOSIGNAL);
    if (count > 0) {
        pAnswer->erase(0, static_cast<size_t>(count));
        pConnection->due = isSplit ? Get_Milliseconds() + SPLIT_PAUSE : 0;
    }
    pConnection->isClosed = pAnswer->empty() || (count < 0 && errno != EAGAIN);
}

void Serve_Connection(Connection *pConnection, Server *pServer)
{
    if (pConnection->isAnswered)
        Send_Answer(pConnection, pServer->pCamera->model.faults[pConnection->service]);
    else if (Has_Fault(*pServer, pConnection->service, "reset"))
        pConnection->isClosed = true; // with the request unread, which resets the connection
    else
        Receive_Bytes(pConnection, pServer);
}

/// Lists what to wait for, the listeners first, and shortens the time to wait to when the next answer is due.
std::vector<struct pollfd> List_Descriptors(const Server &server, int stopDescriptor, int *pTimeout)
{
    std::vector<struct pollfd> descriptors = {{stopDescriptor, POLLIN, 0}};
    for (const int listener : server.listeners)
        descriptors.push_back({listener, POLLIN, 0});
    if (Has_Fault(server, SERVICE_SYSLOG, "hang"))
        descriptors.back().fd = -1;
    const long long now = Get_Milliseconds();
    for (const Connection &connection : server.connections) {
        const int wait = static_cast<int>(std::max(connection.due - now, 0LL));
        const short events = connection.isAnswered ? POLLOUT : POLLIN;
        descriptors.push_back({wait > 0 ? -1 : connection.socket, events, 0});
        if (wait > 0 && (*pTimeout < 0 || wait < *pTimeout))
            *pTimeout = wait;
    }
    return descriptors;
}

/// Waits at most timeout milliseconds (-1: without limit) and serves what is ready. Returns whether anything was, and
/// the stop descriptor was not.
bool Serve_Round(int stopDescriptor, int timeout, Server *pServer)
{
    std::vector<struct pollfd> descriptors = List_Descriptors(*pServer, stopDescriptor, &timeout);
    const int ready = poll(descriptors.data(), descriptors.size(), timeout);
    for (size_t i = 0; i < pServer->connections.size(); ++i) {
        if (descriptors[1 + SOCKET_COUNT + i].revents != 0 && !pServer->connections[i].isClosed)
            Serve_Connection(&pServer->connections[i], pServer);
    }
    if (descriptors[1 + SERVICE_SYSLOG].revents != 0)
        Drain_SystemLog(*pServer);
    for (const Service service : SOCKET_SERVICES) {
        if (service != SERVICE_SYSLOG && descriptors[1U + service].revents != 0)
            Accept_Connections(service, pServer);
    }
    const auto isOpen = [](const Connection &connection) { return !connection.isClosed; };
    const auto end = std::stable_partition(pServer->connections.begin(), pServer->connections.end(), isOpen);
    std::for_each(end, pServer->connections.end(), [](const Connection &connection) { close(connection.socket); });
    pServer->connections.erase(end, pServer->connections.end());
    return descriptors[0].revents == 0 && (ready > 0 || stopDescriptor >= 0);
}

/// Takes in what has been sent before the end, also by a client that did not wait for its answer.
void Drain_Services(Server *pServer)
{
    for (int round = 0; round < MAX_DRAIN_ROUNDS && Serve_Round(-1, 0, pServer); ++round)
        continue;
    for (Connection &connection : pServer->connections) {
        if (!connection.request.empty() && !Is_Complete(connection))
            Handle_Request(&connection, pServer);
    }
    Drain_SystemLog(*pServer);
}

} // namespace

std::string Send_Change(const std::string &lines)
{
    char aBlock[4096];
    std::string answer;
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, SOCKETS[SERVICE_CONTROL].pszPath);
    const int camera = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(camera, reinterpret_cast<struct sockaddr *>(&address), sizeof address) != 0 ||
        send(camera, lines.data(), lines.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(lines.size()) ||
        shutdown(camera, SHUT_WR) != 0) {
        answer = std::string("no camera answers: ") + strerror(errno) + "\n";
    } else {
        for (ssize_t count = 0; (count = recv(camera, aBlock, sizeof aBlock, 0)) > 0;)
            answer.append(aBlock, static_cast<size_t>(count));
    }
    close(camera);
    return answer.empty() ? "the camera says nothing\n" : answer;
}

bool Run_Services(int stopDescriptor, Camera *pCamera)
{
    Server server = {pCamera, {-1, -1, -1, -1, -1}, {}};
    Remove_SocketFiles();
    bool isOpen = true;
    for (const Service service : SOCKET_SERVICES)
        isOpen = isOpen && Open_Listener(service, &server);
    if (isOpen) {
        fputs("simcam: ready\n", stderr);
        while (Serve_Round(stopDescriptor, -1, &server))
            continue;
        Drain_Services(&server);
    }
    Remove_SocketFiles(); // the sockets themselves end with the process
    return isOpen;
}
