// Runs end-to-end cases (case_file.h) inside script/sandbox, one GoogleTest test each: starts a simulated camera of the
// case's own, runs the program once per request as a web server would, stops the camera, and compares everything
// that the program wrote and everything that the camera's daemons received with what the case says.
//
// case_runner [--gtest_...] --simcam FILE --models FOLDER [--program FILE] [--emulator FILE] [--variant NAME] CASES...
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "case_file.h"
#include "text.h"

namespace {

constexpr std::chrono::seconds TIME_LIMIT(60); // of every program that is run
const rlim_t LIMIT_FILE_SIZE = 1 << 22;        // of every file that one writes, its standard output included
const char CAMERA_LOG[] = "/var/log/camera.log";
const char CAMERA_READY[] = "simcam: ready\n";
const char SERVER_LOG[] = "/var/log/lighttpd.log";
const char SERVER_URL[] = "http://127.0.0.1:8080/cgi-bin/param.cgi";

const char *pProgram = "/usr/share/www/cgi-bin/param.cgi";
const char *pEmulator = "";
const char *pSimcam = "";
const char *pModels = "";
const char *pVariant = "native";

constexpr struct {
    const char *pName;
    const char **ppValue;
} OPTIONS[] = {{"--program", &pProgram}, {"--emulator", &pEmulator}, {"--simcam", &pSimcam}, {"--models", &pModels}, {"--variant", &pVariant}};

using Words = std::vector<std::string>;

// What a program has left: its standard output and error, and how it ended.
struct Outcome {
    std::string output;
    std::string error;
    std::string ending;
};

std::string Read_File(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// The standard streams of a program are files in memory: nothing to pump, nothing that blocks.
int Create_Stream(const std::string &content)
{
    const int stream = memfd_create("stream", MFD_CLOEXEC);
    if (pwrite(stream, content.data(), content.size(), 0) != static_cast<ssize_t>(content.size()))
        abort();
    return stream;
}

std::string Read_Stream(int stream) { return Read_File("/proc/self/fd/" + std::to_string(stream)); }

pid_t Start_Program(const Words &words, int input, int output, int error)
{
    std::vector<char *> argv;
    for (const std::string &word : words)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(input, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(error, STDERR_FILENO);
        execvp(argv[0], argv.data());
        perror(argv[0]);
        _exit(127);
    }
    return pid;
}

bool Has_Ended(pid_t pid)
{
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid == pid;
}

bool Wait_Until(const std::function<bool()> &isReached)
{
    const auto end = std::chrono::steady_clock::now() + TIME_LIMIT;
    while (!isReached()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        usleep(1000);
    }
    return true;
}

// Waits for the end of a program, and kills one that does not end.
std::string Wait_Program(pid_t pid)
{
    const bool hasEnded = Wait_Until([pid] { return Has_Ended(pid); });
    if (!hasEnded)
        kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!hasEnded)
        return "hang: killed after " + std::to_string(TIME_LIMIT.count()) + " s";
    if (WIFSIGNALED(status))
        return std::string("crash: ") + strsignal(WTERMSIG(status));
    return (WEXITSTATUS(status) > 128 ? "crash: exit " : "exit ") + std::to_string(WEXITSTATUS(status));
}

Outcome Run_Program(const Words &words, const std::string &input)
{
    const int streams[] = {Create_Stream(input), Create_Stream(""), Create_Stream("")};
    const std::string ending = Wait_Program(Start_Program(words, streams[0], streams[1], streams[2]));
    Outcome outcome = {Read_Stream(streams[1]), Read_Stream(streams[2]), ending};
    for (const int stream : streams)
        close(stream);
    return outcome;
}

struct Camera {
    pid_t pid;
    int messages;
};

bool Is_CameraReady(const Camera &camera) { return Read_Stream(camera.messages) == CAMERA_READY; }

// Lays out a fresh camera: nothing of the case before is left in its files. It may fail to get ready.
Camera Start_Camera(const Case &item)
{
    std::filesystem::remove_all("/etc/conf.d");
    std::filesystem::create_directory("/etc/conf.d");
    std::filesystem::remove("/etc/CDF.xml");
    std::filesystem::remove(CAMERA_LOG);
    Words words = {pSimcam, "--log", CAMERA_LOG};
    for (const std::string &change : item.changes)
        words.insert(words.end(), {"--change", change});
    words.push_back(std::string(pModels) + "/" + item.model + ".model");
    const int messages = Create_Stream("");
    const pid_t pid = Start_Program(words, STDIN_FILENO, STDOUT_FILENO, messages);
    const Camera camera = {pid, messages};
    Wait_Until([&] { return Is_CameraReady(camera) || Has_Ended(pid); });
    return camera;
}

// A camera that has anything to say beyond "ready", or ends in any way but the ordered one, fails the case.
void Stop_Camera(const Camera &camera)
{
    kill(camera.pid, SIGTERM);
    const std::string ending = Wait_Program(camera.pid);
    const std::string actual = Read_Stream(camera.messages) + ending;
    EXPECT_EQ(CAMERA_READY + std::string("exit 0"), actual) << "from the simulated camera";
    close(camera.messages);
}

// What the web server's error log got since the last call; the standard error of the programs lands there as well.
std::string Take_ServerErrors()
{
    static size_t seen = 0;
    std::string log = Read_File(SERVER_LOG).substr(seen);
    seen += log.size();
    return log;
}

// The web server starts with the first request that needs it, and ends with the sandbox.
Outcome Ask_Server(const CaseRequest &request)
{
    static const std::string started = [] {
        setenv("CGI_EMULATOR", pEmulator, 1);
        const Outcome start = Run_Program({"lighttpd", "-f", "/etc/lighttpd/lighttpd.conf"}, "");
        (void)Take_ServerErrors(); // only says "server started"
        return start.error + start.ending;
    }();
    EXPECT_EQ("exit 0", started) << "the web server";
    Words words = {"curl", "--silent", "--show-error", "--globoff", "--max-time", std::to_string(TIME_LIMIT.count())};
    words.insert(words.end(), {"--write-out", "%{stderr}%{http_code} %{content_type}"});
    if (request.method == "POST")
        words.insert(words.end(), {"--data-binary", "@-", SERVER_URL});
    else
        words.push_back(SERVER_URL + ("?" + request.text));
    const Outcome client = Run_Program(words, request.text);
    return {client.output, Take_ServerErrors(), client.error};
}

// The request as a web server hands it over, and in front of it what is needed to run the program.
Words Make_Command(const Case &item, const CaseRequest &request)
{
    std::map<std::string, std::string> environment = {
        {"SERVER_ADDR", "127.0.0.1"}, {"TZ", "UTC"}, {"REQUEST_METHOD", request.method}};
    if (request.method == "POST")
        environment["CONTENT_LENGTH"] = std::to_string(request.text.size());
    else
        environment["QUERY_STRING"] = request.text;
    for (const std::string &change : item.environment) {
        const size_t equal = change.find('=');
        if (change[0] == '-')
            environment.erase(change.substr(1));
        else
            environment[change.substr(0, equal)] = change.substr(equal + 1);
    }
    Words words = {"env", "-i"};
    for (const auto &[name, value] : environment)
        words.emplace_back(name).append("=").append(value);
    if (*pEmulator != '\0')
        words.emplace_back(pEmulator);
    words.emplace_back(pProgram);
    words.insert(words.end(), item.arguments.begin(), item.arguments.end());
    return words;
}

Outcome Ask_Program(const Case &item, const CaseRequest &request)
{
    return Run_Program(Make_Command(item, request), request.method == "POST" ? request.text : "");
}

std::string Describe_Answer(const Outcome &outcome)
{
    const auto lines = [](const std::string &text) {
        return text.empty() || text.back() == '\n' ? text : text + "(no line end)\n";
    };
    const std::string error = outcome.error.empty() ? "" : "standard error: " + outcome.error;
    return lines(outcome.output) + lines(error) + outcome.ending + "\n";
}

Outcome Expect_Answer(const CaseRequest &request)
{
    const std::string type = request.isXml ? "text/xml" : "text/plain";
    if (request.viaServer)
        return {request.output, request.error, "200 " + type};
    std::string output = request.output;
    if (request.headerAt != std::string::npos)
        output.insert(request.headerAt, "Content-type: " + type + "\r\n\r\n");
    return {output, request.error, "exit " + std::to_string(request.exitStatus)};
}

void Check_CameraLog(const Case &item)
{
    std::ifstream stream(CAMERA_LOG);
    std::string actualSent, actualLog;
    for (std::string line; std::getline(stream, line);)
        (line.compare(0, 4, "log ") == 0 ? actualLog : actualSent) += line + "\n";
    EXPECT_EQ(item.sent, actualSent) << "what the camera's daemons were sent";
    EXPECT_EQ(item.log, actualLog) << "the system log";
}

void Check_File(const CaseFileCheck &check)
{
    const std::string content = Read_File(check.path);
    if (check.isWhole)
        EXPECT_EQ(check.text, content) << check.path;
    else if (content.find(check.text) == std::string::npos)
        ADD_FAILURE() << check.path << " lacks \"" << Encode_Escapes(check.text) << "\", it is\n" << content;
}

void Run_Requests(const Case &item)
{
    for (const CaseRequest &request : item.requests) {
        const std::string expected = Describe_Answer(Expect_Answer(request));
        const std::string actual =
            Describe_Answer(request.viaServer ? Ask_Server(request) : Ask_Program(item, request));
        EXPECT_EQ(expected, actual) << "to " << request.method << " " << Encode_Escapes(request.text.substr(0, 200));
    }
    for (const CaseFileCheck &check : item.files)
        Check_File(check);
}

void Run_Case(const Case &item)
{
    const testing::ScopedTrace trace(item.pFile, item.line, item.title);
    const Camera camera = Start_Camera(item);
    if (Is_CameraReady(camera))
        Run_Requests(item);
    Stop_Camera(camera);
    Check_CameraLog(item);
}

class CaseTest : public testing::Test {
public:
    explicit CaseTest(const Case *pItem) : pCase(pItem) {}
    void TestBody() override { Run_Case(*pCase); }

private:
    const Case *pCase;
};

std::string Fold_Name(std::string text)
{
    for (char &c : text)
        c = isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return text;
}

void Register_Case(const Case &item)
{
    const std::string suite = Fold_Name(std::filesystem::path(item.pFile).stem());
    testing::RegisterTest(suite.c_str(), Fold_Name(item.title).c_str(), nullptr, nullptr, item.pFile, item.line,
                          [&item]() -> testing::Test * { return new CaseTest(&item); });
}

// Where the value of an option belongs; nullptr for a word that is no option.
const char **Find_Option(const char *pName)
{
    for (const auto &item : OPTIONS) {
        if (strcmp(pName, item.pName) == 0)
            return item.ppValue;
    }
    return nullptr;
}

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    int first = 1;
    for (; first + 1 < argc && Find_Option(argv[first]) != nullptr; first += 2)
        *Find_Option(argv[first]) = argv[first + 1];
    if (getenv("CAMERA_SANDBOX") == nullptr || first >= argc) {
        fprintf(stderr, "case_runner: runs inside script/sandbox, with --simcam FILE --models FOLDER CASES...\n");
        return 2;
    }
    std::vector<std::string> errors;
    std::vector<std::vector<Case>> files;
    for (int i = first; i < argc; ++i)
        files.push_back(Read_CaseFile(argv[i], pVariant, &errors));
    for (const std::string &error : errors)
        fprintf(stderr, "%s\n", error.c_str());
    if (!errors.empty())
        return 2;
    const rlimit sizeLimit = {LIMIT_FILE_SIZE, LIMIT_FILE_SIZE};
    setrlimit(RLIMIT_FSIZE, &sizeLimit);
    for (const std::vector<Case> &file : files)
        for (const Case &item : file)
            Register_Case(item);
    return RUN_ALL_TESTS();
}
