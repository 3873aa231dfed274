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
    std::string strLogPath;
    std::string strSeedFolder;
    std::vector<std::string> astrChanges;
    std::string strModelPath;
    bool bPrinting = false;
};

bool Parse_Options(int argc, char **argv, Options *ptOptions)
{
    for (int i = 1; i < argc; ++i) {
        const std::string strWord = argv[i];
        const bool bHasNext = i + 1 < argc;
        if (strWord == "--log" && bHasNext)
            ptOptions->strLogPath = argv[++i];
        else if (strWord == "--seed" && bHasNext)
            ptOptions->strSeedFolder = argv[++i];
        else if (strWord == "--change" && bHasNext)
            ptOptions->astrChanges.emplace_back(argv[++i]);
        else if (strWord == "--print")
            ptOptions->bPrinting = true;
        else if (strWord[0] != '-' && ptOptions->strModelPath.empty())
            ptOptions->strModelPath = strWord;
        else
            return false;
    }
    return !ptOptions->strModelPath.empty();
}

std::string Prepare_Model(const Options &tOptions, Model *ptModel)
{
    SideValues tNone;
    CameraFiles tFiles;
    std::string strError = Load_Model(tOptions.strModelPath, ptModel);
    for (size_t i = 0; i < tOptions.astrChanges.size() && strError.empty(); ++i) {
        const std::string strOrigin = "--change:" + std::to_string(i + 1);
        const bool bOne = tOptions.astrChanges[i].find('\n') == std::string::npos;
        strError =
            bOne ? Apply_ModelLine(tOptions.astrChanges[i], strOrigin, ptModel) : strOrigin + ": one line each, please";
    }
    if (strError.empty())
        strError = Compose_CameraFiles(*ptModel, &tNone, &tFiles);
    return strError;
}

/// From here on SIGTERM and SIGINT are read from the descriptor instead of ending the process.
int Catch_StopSignals()
{
    sigset_t tSignals;
    sigemptyset(&tSignals);
    sigaddset(&tSignals, SIGTERM);
    sigaddset(&tSignals, SIGINT);
    sigprocmask(SIG_BLOCK, &tSignals, nullptr);
    return signalfd(-1, &tSignals, SFD_CLOEXEC);
}

bool Has_Succeeded(const std::string &strError)
{
    if (!strError.empty())
        fprintf(stderr, "simcam: %s\n", strError.c_str());
    return strError.empty();
}

int Tell_Camera()
{
    std::string strLines(MAX_CHANGE + 1, '\0');
    strLines.resize(fread(strLines.data(), 1, strLines.size(), stdin));
    std::string strAnswer = "a change has at most " + std::to_string(MAX_CHANGE) + " bytes; nothing is changed\n";
    if (strLines.size() <= MAX_CHANGE)
        strAnswer = Send_Change(strLines);
    fputs(strAnswer.c_str(), stdout);
    return strAnswer == "ok\n" ? 0 : EXIT_TROUBLE;
}

bool Run_Camera(Camera *ptCamera)
{
    const int iStopDescriptor = Catch_StopSignals();
    const bool bDone = Has_Succeeded(LayOut_CameraFiles(ptCamera->tModel)) &&
                       Open_Snapshot(ptCamera->tModel, &ptCamera->tSnapshot) && Run_Services(iStopDescriptor, ptCamera);
    fputs(Describe_Leftovers(ptCamera->tModel, ptCamera->tSnapshot).c_str(), ptCamera->ptLog);
    Close_Snapshot(ptCamera->tSnapshot);
    Remove_PidFile();
    return bDone;
}

} // namespace

int main(int argc, char **argv)
{
    Options tOptions;
    const std::string strOnlyWord = argc == 2 ? argv[1] : "";
    if (strOnlyWord == "--help" || strOnlyWord == "--faults") {
        fputs(strOnlyWord == "--help" ? USAGE : Describe_Faults().c_str(), stdout);
        return 0;
    }
    if (strOnlyWord == "--tell")
        return Tell_Camera();
    if (!Parse_Options(argc, argv, &tOptions)) {
        fputs(USAGE, stderr);
        return EXIT_BAD_MODEL;
    }
    Camera tCamera;
    const std::string strError = Prepare_Model(tOptions, &tCamera.tModel);
    if (!strError.empty()) {
        fprintf(stderr, "%s\n", strError.c_str());
        return EXIT_BAD_MODEL;
    }
    if (tOptions.bPrinting)
        return fputs(tCamera.tModel.strText.c_str(), stdout) >= 0 ? 0 : EXIT_TROUBLE;
    if (!tOptions.strSeedFolder.empty())
        return Has_Succeeded(Seed_CameraFiles(tCamera.tModel, tOptions.strSeedFolder)) ? 0 : EXIT_TROUBLE;
    if (getenv("CAMERA_SANDBOX") == nullptr) {
        fputs(REFUSAL, stderr);
        return EXIT_TROUBLE;
    }

    tCamera.tStart = tCamera.tModel;
    tCamera.ptLog = tOptions.strLogPath.empty() ? stdout : fopen(tOptions.strLogPath.c_str(), "we");
    if (tCamera.ptLog == nullptr) {
        fprintf(stderr, "simcam: cannot write %s: %s\n", tOptions.strLogPath.c_str(), strerror(errno));
        return EXIT_TROUBLE;
    }
    return Run_Camera(&tCamera) && fclose(tCamera.ptLog) == 0 ? 0 : EXIT_TROUBLE;
}
