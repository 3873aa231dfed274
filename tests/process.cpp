#include "process.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const char CAMERA_READY[] = "simcam: ready\n";
const char SERVER_LOG[] = "/var/log/lighttpd.log";

// The standard streams of a program are files in memory: nothing to pump, nothing that blocks.
int Create_Stream(const std::string &content)
{
    const int stream = memfd_create("stream", MFD_CLOEXEC);
    if (pwrite(stream, content.data(), content.size(), 0) != static_cast<ssize_t>(content.size()))
        abort();
    return stream;
}

std::string Read_Stream(int stream) { return Read_File("/proc/self/fd/" + std::to_string(stream)); }

bool Has_Ended(pid_t pid)
{
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid == pid;
}

std::string Describe_Ending(int status)
{
    if (WIFSIGNALED(status))
        return std::string("crash: ") + strsignal(WTERMSIG(status));
    return (WEXITSTATUS(status) > 128 ? "crash: exit " : "exit ") + std::to_string(WEXITSTATUS(status));
}

std::string Wait_Ending(pid_t pid)
{
    const bool hasEnded = Wait_Until([pid] { return Has_Ended(pid); });
    if (!hasEnded)
        kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    return hasEnded ? Describe_Ending(status) : "hang: killed after " + std::to_string(TIME_LIMIT_SECONDS) + " s";
}

} // namespace

std::string Read_File(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

bool Wait_Until(const std::function<bool()> &isReached)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(TIME_LIMIT_SECONDS);
    while (!isReached()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        usleep(1000);
    }
    return true;
}

Program Start_Program(const Words &words, const std::string &input)
{
    std::vector<char *> argv;
    for (const std::string &word : words)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    const int inputStream = Create_Stream(input);
    Program program = {0, Create_Stream(""), Create_Stream("")};
    program.pid = fork();
    if (program.pid == 0) {
        dup2(inputStream, STDIN_FILENO);
        dup2(program.output, STDOUT_FILENO);
        dup2(program.error, STDERR_FILENO);
        execvp(argv[0], argv.data());
        perror(argv[0]);
        _exit(127);
    }
    close(inputStream);
    return program;
}

Outcome Wait_Program(const Program &program)
{
    const std::string ending = Wait_Ending(program.pid);
    Outcome outcome = {Read_Stream(program.output), Read_Stream(program.error), ending};
    close(program.output);
    close(program.error);
    return outcome;
}

Outcome Run_Program(const Words &words, const std::string &input) { return Wait_Program(Start_Program(words, input)); }

Environment Make_CgiEnvironment(const std::string &method, const std::string &text)
{
    Environment environment = {{"SERVER_ADDR", "127.0.0.1"}, {"TZ", "UTC"}, {"REQUEST_METHOD", method}};
    if (method == "POST")
        environment["CONTENT_LENGTH"] = std::to_string(text.size());
    else
        environment["QUERY_STRING"] = text;
    return environment;
}

Words Make_CgiCommand(const Environment &environment, const char *pEmulator, const char *pProgram)
{
    Words words = {"env", "-i"};
    for (const auto &[name, value] : environment)
        words.emplace_back(name).append("=").append(value);
    if (*pEmulator != '\0')
        words.emplace_back(pEmulator);
    words.emplace_back(pProgram);
    return words;
}

void Clear_Camera()
{
    // A file system of its own: it stays.
    for (const auto &entry : std::filesystem::directory_iterator("/etc/conf.d"))
        std::filesystem::remove_all(entry);
    std::filesystem::remove("/etc/CDF.xml");
    std::filesystem::remove(CAMERA_LOG);
}

Program Start_Camera(const char *pSimcam, const Words &words)
{
    Words command = {pSimcam, "--log", CAMERA_LOG};
    command.insert(command.end(), words.begin(), words.end());
    const Program camera = Start_Program(command, "");
    Wait_Until([&] { return Is_CameraReady(camera) || Has_Ended(camera.pid); });
    return camera;
}

bool Is_CameraReady(const Program &camera) { return Read_Stream(camera.error) == CAMERA_READY; }

std::string Stop_Camera(const Program &camera)
{
    kill(camera.pid, SIGTERM);
    const Outcome outcome = Wait_Program(camera);
    return outcome.output + outcome.error + outcome.ending;
}

std::string Start_WebServer(const char *pEmulator)
{
    setenv("CGI_EMULATOR", pEmulator, 1);
    const Outcome start = Run_Program({"lighttpd", "-f", "/etc/lighttpd/lighttpd.conf"}, "");
    (void)Take_ServerErrors(); // only says "server started"
    return start.error + start.ending;
}

std::string Take_ServerErrors()
{
    static size_t seen = 0;
    std::string log = Read_File(SERVER_LOG).substr(seen);
    seen += log.size();
    return log;
}
