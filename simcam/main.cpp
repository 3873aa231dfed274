// simcam, the simulated camera: the configuration daemon with its snapshot, the PTZ daemon, the analytics service, the
// system logger and the camera's files, played from a model file at the real paths. It is meant for a sandbox of its
// own; it would replace what a machine has there.
#include "files.h"
#include "services.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

const char USAGE[] = "usage: simcam [--log FILE] [--change LINE]... MODEL      (inside script/sandbox)\n"
                     "       simcam --seed DIR|--print [--change LINE]... MODEL\n"
                     "       simcam --tell|--faults|--help\n"
                     "  --log FILE     write the request log there instead of to standard output\n"
                     "  --change LINE  one more line of the model\n"
                     "  --seed DIR     only write the capability definition and settings files into DIR; settings\n"
                     "                 that are there keep their values and get what is missing\n"
                     "  --print        only check the model, and print its lines with those of included files\n"
                     "  --tell         hand standard input, lines of a model, to the camera that runs here, and print\n"
                     "                 its answer; status 0: they are carried out\n"
                     "  --faults       only print the faults that there are, and what each does\n"
                     "  --help         only print this\n";

const char REFUSAL[] =
    "simcam: this is no sandbox. Here the camera would replace /dev/log, /etc/CDF.xml and\n"
    "/usr/sbin/configer of this machine. Start it with script/sandbox in front, or use script/demo.\n";

const int EXIT_TROUBLE = 1;
const int EXIT_BAD_MODEL = 2;

struct Options {
    std::string logPath;
    std::string seedFolder;
    std::vector<std::string> changes;
    std::string modelPath;
    bool isPrinting = false;
};

bool Parse_Options(int argc, char **argv, Options *pOptions)
{
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool hasNext = i + 1 < argc;
        if (word == "--log" && hasNext)
            pOptions->logPath = argv[++i];
        else if (word == "--seed" && hasNext)
            pOptions->seedFolder = argv[++i];
        else if (word == "--change" && hasNext)
            pOptions->changes.emplace_back(argv[++i]);
        else if (word == "--print")
            pOptions->isPrinting = true;
        else if (word[0] != '-' && pOptions->modelPath.empty())
            pOptions->modelPath = word;
        else
            return false;
    }
    return !pOptions->modelPath.empty();
}

std::string Prepare_Model(const Options &options, Model *pModel)
{
    SideValues none;
    CameraFiles files;
    std::string error = Load_Model(options.modelPath, pModel);
    for (size_t i = 0; i < options.changes.size() && error.empty(); ++i) {
        const std::string origin = "--change:" + std::to_string(i + 1);
        const bool isOne = options.changes[i].find('\n') == std::string::npos;
        error = isOne ? Apply_ModelLine(options.changes[i], origin, pModel) : origin + ": one line each, please";
    }
    if (error.empty())
        error = Compose_CameraFiles(*pModel, &none, &files);
    return error;
}

/// From here on SIGTERM and SIGINT are read from the descriptor instead of ending the process.
int Catch_StopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

bool Has_Succeeded(const std::string &error)
{
    if (!error.empty())
        fprintf(stderr, "simcam: %s\n", error.c_str());
    return error.empty();
}

int Tell_Camera()
{
    std::string lines(MAX_CHANGE + 1, '\0');
    lines.resize(fread(lines.data(), 1, lines.size(), stdin));
    std::string answer = "a change has at most " + std::to_string(MAX_CHANGE) + " bytes; nothing is changed\n";
    if (lines.size() <= MAX_CHANGE)
        answer = Send_Change(lines);
    fputs(answer.c_str(), stdout);
    return answer == "ok\n" ? 0 : EXIT_TROUBLE;
}

bool Run_Camera(Camera *pCamera)
{
    const int stopDescriptor = Catch_StopSignals();
    const bool isDone = Has_Succeeded(Lay_Out_CameraFiles(pCamera->model)) &&
                        Open_Snapshot(pCamera->model, &pCamera->snapshot) && Run_Services(stopDescriptor, pCamera);
    fputs(Describe_Leftovers(pCamera->model, pCamera->snapshot).c_str(), pCamera->pLog);
    Close_Snapshot(pCamera->snapshot);
    Remove_PidFile();
    return isDone;
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    const std::string onlyWord = argc == 2 ? argv[1] : "";
    if (onlyWord == "--help" || onlyWord == "--faults") {
        fputs(onlyWord == "--help" ? USAGE : Describe_Faults().c_str(), stdout);
        return 0;
    }
    if (onlyWord == "--tell")
        return Tell_Camera();
    if (!Parse_Options(argc, argv, &options)) {
        fputs(USAGE, stderr);
        return EXIT_BAD_MODEL;
    }
    Camera camera;
    const std::string error = Prepare_Model(options, &camera.model);
    if (!error.empty()) {
        fprintf(stderr, "%s\n", error.c_str());
        return EXIT_BAD_MODEL;
    }
    if (options.isPrinting)
        return fputs(camera.model.text.c_str(), stdout) >= 0 ? 0 : EXIT_TROUBLE;
    if (!options.seedFolder.empty())
        return Has_Succeeded(Seed_CameraFiles(camera.model, options.seedFolder)) ? 0 : EXIT_TROUBLE;
    if (getenv("CAMERA_SANDBOX") == nullptr) {
        fputs(REFUSAL, stderr);
        return EXIT_TROUBLE;
    }

    camera.start = camera.model;
    camera.pLog = options.logPath.empty() ? stdout : fopen(options.logPath.c_str(), "we");
    if (camera.pLog == nullptr) {
        fprintf(stderr, "simcam: cannot write %s: %s\n", options.logPath.c_str(), strerror(errno));
        return EXIT_TROUBLE;
    }
    return Run_Camera(&camera) && fclose(camera.pLog) == 0 ? 0 : EXIT_TROUBLE;
}
