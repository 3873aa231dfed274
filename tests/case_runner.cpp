// Runs end-to-end cases (case_file.h) inside script/sandbox, one GoogleTest test each: starts a simulated camera of the
// case's own, runs the program once per request as a web server would, stops the camera, and compares everything
// that the program wrote and everything that the camera's daemons received with what the case says.
//
// case_runner [--gtest_...] --simcam FILE --models FOLDER [--program FILE] [--emulator FILE] [--variant NAME] CASES...
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <sys/resource.h>

#include <gtest/gtest.h>

#include "case_file.h"
#include "process.h"
#include "text.h"

namespace {

const rlim_t LIMIT_FILE_SIZE = 1 << 22; // of every file that a program writes, its standard output included

const char *pProgram = "/usr/share/www/cgi-bin/param.cgi";
const char *pEmulator = "";
const char *pSimcam = "";
const char *pModels = "";
const char *pVariant = "native";

constexpr struct {
    const char *pName;
    const char **ppValue;
} OPTIONS[] = {{"--program", &pProgram},
               {"--emulator", &pEmulator},
               {"--simcam", &pSimcam},
               {"--models", &pModels},
               {"--variant", &pVariant}};

// The web server starts with the first request that needs it, and ends with the sandbox.
Outcome Ask_Server(const CaseRequest &request)
{
    static const std::string started = Start_WebServer(pEmulator);
    EXPECT_EQ("exit 0", started) << "the web server";
    Words words = {"curl", "--silent", "--show-error", "--globoff", "--max-time", std::to_string(TIME_LIMIT_SECONDS)};
    words.insert(words.end(), {"--write-out", "%{stderr}%{http_code} %{content_type}"});
    if (request.method == "POST")
        words.insert(words.end(), {"--data-binary", "@-", SERVER_URL});
    else
        words.push_back(SERVER_URL + ("?" + request.text));
    const Outcome client = Run_Program(words, request.text);
    return {client.output, Take_ServerErrors(), client.error};
}

Words Make_Command(const Case &item, const CaseRequest &request)
{
    Environment environment = Make_CgiEnvironment(request.method, request.text);
    for (const std::string &change : item.environment) {
        const size_t equal = change.find('=');
        if (change[0] == '-')
            environment.erase(change.substr(1));
        else
            environment[change.substr(0, equal)] = change.substr(equal + 1);
    }
    Words words = Make_CgiCommand(environment, pEmulator, pProgram);
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

Program Start_CaseCamera(const Case &item)
{
    Words words;
    for (const std::string &change : item.changes)
        words.insert(words.end(), {"--change", change});
    words.push_back(std::string(pModels) + "/" + item.model + ".model");
    Clear_Camera();
    return Start_Camera(pSimcam, words);
}

// A camera that has anything to say beyond "ready", or ends in any way but the ordered one, fails the case.
void Run_Case(const Case &item)
{
    const testing::ScopedTrace trace(item.pFile, item.line, item.title);
    const Program camera = Start_CaseCamera(item);
    if (Is_CameraReady(camera))
        Run_Requests(item);
    EXPECT_EQ(CAMERA_WELL, Stop_Camera(camera)) << "from the simulated camera";
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
