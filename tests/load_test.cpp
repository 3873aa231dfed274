// The program under load, inside script/sandbox: many requests at a time through a real web server, a configuration
// daemon that is killed under them, requests that are killed themselves, and setters of the side files side by side.
//
// load_test SIMCAM MODELS-FOLDER BATCHES [--gtest_...]
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <regex>
#include <set>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "process.h"

namespace {

const char PROGRAM[] = "/usr/share/www/cgi-bin/param.cgi";
const char REPLY_FOLDER[] = "/tmp/replies";
const int AT_ONCE = 8;
const size_t BATCH = 500; // requests of one client, half of them writes of a key each

// Answered from constants, the snapshot, the daemon and the side files.
const char *const READS[] = {"General.Brand.CompanyName",
                             "General.FirmwareVersion",
                             "VideoInput.4.h264.1.Bitrate",
                             "VideoInput.2.Brightness",
                             "VideoInput.1.hevc.1.Rtsp.AbsolutePath",
                             "Network.Services.Ntp.PollInterval",
                             "Network.1.MacAddress",
                             "VideoInput.1.Motion.ROI.3.Position",
                             "General.NoSuchName"};

const char *pSimcam = "";
const char *pModels = "";
size_t batchCount = 1;

using Lines = std::vector<std::string>;

struct Request {
    std::string method;
    std::string text;
    Lines answer;
};

Request Make_Read(const Lines &names, const Lines &answer)
{
    Request request = {"GET", "", answer};
    for (const std::string &name : names)
        request.text += "req=" + name + "&";
    return request;
}

Request Make_Write(const std::string &line) { return {"POST", line + "\r\n", {line}}; }

Lines Split(const std::string &text)
{
    Lines lines;
    size_t start = 0;
    for (size_t end = 0; (end = text.find("\r\n", start)) != std::string::npos; start = end + 2)
        lines.push_back(text.substr(start, end - start));
    if (start < text.size())
        lines.push_back(text.substr(start));
    return lines;
}

Program Start_Request(const Request &request)
{
    return Start_Program(Make_CgiCommand(Make_CgiEnvironment(request.method, request.text), "", PROGRAM), request.text);
}

// The lines of the reply; what else a request leaves, an ending other than the ordered one too, is one of them.
Lines Wait_Reply(const Program &program)
{
    const std::string header = "Content-type: text/plain\r\n\r\n";
    const Outcome outcome = Wait_Program(program);
    std::string reply = outcome.output + outcome.error + (outcome.ending == "exit 0" ? "" : outcome.ending);
    if (reply.compare(0, header.size(), header) == 0)
        reply.erase(0, header.size());
    return Split(reply);
}

Lines Ask_All() { return Wait_Reply(Start_Request(Make_Read({std::begin(READS), std::end(READS)}, {}))); }

bool Is_ErrorOf(const std::string &line, const std::string &actual)
{
    return actual == "#error." + line.substr(0, line.find('=')) + "=501:Internal error";
}

// Half reads of two parameters, half writes; every write of all batches is another one.
std::vector<Request> Make_Batch(size_t batch, const Lines &quiet)
{
    std::vector<Request> requests;
    for (size_t i = 0; i < BATCH / 2; ++i) {
        const size_t first = i % std::size(READS);
        const size_t second = (i / std::size(READS)) % std::size(READS);
        requests.push_back(Make_Read({READS[first], READS[second]}, {quiet[first], quiet[second]}));
        requests.push_back(Make_Write("VideoInput." + std::to_string(i + 1) +
                                      ".Tampering.TriggerDuration=" + std::to_string(100 + batch)));
    }
    return requests;
}

std::string Get_ReplyPath(size_t i) { return REPLY_FOLDER + ("/" + std::to_string(i)); }

// Sends the requests through the web server, each reply into a file of its own.
Program Start_Client(const std::vector<Request> &requests)
{
    const char config[] = "/tmp/client.config";
    std::filesystem::remove_all(REPLY_FOLDER);
    std::filesystem::create_directory(REPLY_FOLDER);
    std::ofstream stream(config);
    for (size_t i = 0; i < requests.size(); ++i) {
        const bool isRead = requests[i].method == "GET";
        stream << "next\nurl = \"" << SERVER_URL << (isRead ? "?" + requests[i].text : "") << "\"\noutput = \""
               << Get_ReplyPath(i) << "\"\n";
        if (!isRead)
            stream << "data-binary = \"" << requests[i].answer[0] << "\\r\\n\"\n";
    }
    stream.close();
    return Start_Program({"curl", "--no-progress-meter", "--parallel", "--parallel-immediate", "--parallel-max",
                          std::to_string(AT_ONCE), "--config", config},
                         "");
}

size_t Count_Replies()
{
    const std::filesystem::directory_iterator folder(REPLY_FOLDER);
    return static_cast<size_t>(std::distance(begin(folder), end(folder)));
}

// Takes away what stands in front of the header when the daemon goes away under a request; the web server lets the
// reply begin there then. (When the daemon is not there at all, the message becomes a part of the header.)
std::string Strip_Diagnostics(const std::string &reply)
{
    static const std::regex diagnostics(
        "^((write socket [0-9]+ byte, but return -1|Read failed \\(104\\)\\. Connection reset by peer)\n)+"
        "Content-type: text/plain\r\n\r\n");
    return std::regex_replace(reply, diagnostics, "");
}

// Every line is the expected one or, if the daemon may be missed, the parameter's error. Returns the number of errors.
int Check_Replies(const std::vector<Request> &requests, bool mayFail)
{
    int errors = 0;
    Lines surprises;
    for (size_t i = 0; i < requests.size(); ++i) {
        const std::string reply = Read_File(Get_ReplyPath(i));
        Lines lines = Split(mayFail ? Strip_Diagnostics(reply) : reply);
        for (size_t j = 0; j < lines.size() && j < requests[i].answer.size(); ++j) {
            if (mayFail && Is_ErrorOf(requests[i].answer[j], lines[j])) {
                lines[j] = requests[i].answer[j];
                ++errors;
            }
        }
        if (lines != requests[i].answer)
            surprises.push_back(requests[i].text + " was answered " + testing::PrintToString(lines));
    }
    EXPECT_TRUE(surprises.empty()) << surprises.size() << " wrong replies, the first: " << surprises[0];
    return errors;
}

Lines Read_LoggedSets()
{
    std::ifstream stream(CAMERA_LOG);
    Lines sets;
    for (std::string line; std::getline(stream, line);) {
        if (line.compare(0, 4, "set ") == 0)
            sets.push_back(line);
    }
    std::sort(sets.begin(), sets.end());
    return sets;
}

int Get_SemaphoreValue() { return semctl(semget(ftok("/usr/sbin/configer", 99), 1, 0), 0, GETVAL); }

bool Is_AnyRequestLeft()
{
    const std::filesystem::directory_iterator folder("/proc");
    return std::any_of(begin(folder), end(folder), [](const std::filesystem::directory_entry &entry) {
        return Read_File(entry.path() / "comm") == "param.cgi\n";
    });
}

// A camera with four channels, and keys for more of them to write. Around every test it is well.
class LoadTest : public testing::Test {
protected:
    void SetUp() override
    {
        static const std::string serverEnding = Start_WebServer("");
        ASSERT_EQ("exit 0", serverEnding);
        Clear_Camera();
        Restart();
        quiet = Ask_All();
        ASSERT_EQ(std::size(READS), quiet.size());
        ASSERT_EQ(quiet.end(), std::find_if(quiet.begin(), quiet.end(), [](const std::string &line) {
                      return line.find("Internal error") != std::string::npos;
                  }));
    }

    void Restart()
    {
        std::string channels = "0";
        for (size_t i = 1; i < BATCH / 2; ++i)
            channels += "," + std::to_string(i);
        camera = Start_Camera(pSimcam, {"--change", "key tampering_c{" + channels + "}_duration=100",
                                        std::string(pModels) + "/encoder.model"});
        ASSERT_TRUE(Is_CameraReady(camera));
    }

    void TearDown() override
    {
        EXPECT_TRUE(Wait_Until([] { return !Is_AnyRequestLeft(); }));
        EXPECT_EQ(1, Get_SemaphoreValue());
        EXPECT_EQ(quiet, Ask_All());
        EXPECT_EQ("", Take_ServerErrors());
        EXPECT_EQ(CAMERA_WELL, Stop_Camera(camera));
    }

    Program camera = {};
    Lines quiet; // what the camera answers to READS when nothing else happens
};

TEST_F(LoadTest, Every_request_is_answered_and_every_write_arrives)
{
    Lines sets;
    for (size_t batch = 0; batch < batchCount; ++batch) {
        const std::vector<Request> requests = Make_Batch(batch, quiet);
        const Outcome client = Wait_Program(Start_Client(requests));
        EXPECT_EQ("exit 0", client.error + client.ending);
        Check_Replies(requests, false);
        for (size_t i = 0; i < BATCH / 2; ++i)
            sets.push_back("set tampering_c" + std::to_string(i) + "_duration=" + std::to_string(100 + batch));
    }
    std::sort(sets.begin(), sets.end());
    EXPECT_TRUE(sets == Read_LoggedSets()) << "the camera was not told every write once";
}

// The daemon leaves its segment, semaphore and socket file behind and finds them again; a write to it, or a read that
// it answers, may fail meanwhile.
TEST_F(LoadTest, Requests_survive_a_daemon_that_is_killed)
{
    const std::vector<Request> requests = Make_Batch(0, quiet);
    const Program client = Start_Client(requests);
    for (const size_t mark : {100U, 300U}) {
        EXPECT_TRUE(Wait_Until([&] { return Count_Replies() >= mark; }));
        kill(camera.pid, SIGKILL);
        EXPECT_EQ("crash: Killed", Wait_Program(camera).ending);
        EXPECT_TRUE(Wait_Until([&] { return Count_Replies() >= mark + 100; }));
        Restart();
    }
    const Outcome ended = Wait_Program(client);
    EXPECT_EQ("exit 0", ended.error + ended.ending);
    EXPECT_LT(0, Check_Replies(requests, true)) << "the daemon was never missed";
}

TEST_F(LoadTest, A_killed_request_gives_the_semaphore_back)
{
    const Request request = Make_Read(Lines(16, "VideoInput.4.h264.1.Bitrate"), {});
    std::mt19937 random(1);
    std::set<std::string> endings;
    for (int round = 0; round < 50; ++round) {
        std::vector<Program> programs(AT_ONCE);
        std::generate(programs.begin(), programs.end(), [&] { return Start_Request(request); });
        for (const Program &program : programs) {
            usleep(1U << random() % 12); // microseconds: from as good as none to longer than a request takes
            kill(program.pid, SIGKILL);
        }
        for (const Program &program : programs)
            endings.insert(Wait_Program(program).ending);
    }
    EXPECT_EQ(1U, endings.count("crash: Killed")) << "none was alive any more";
}

// A value for every place of the side files.
Lines Make_SideLines(int value)
{
    const std::string number = std::to_string(value);
    Lines lines = {"Network.Services.Ntp.PollInterval=" + number};
    for (const char *pChannel : {"1", "2", "3", "4"}) {
        for (const char *pName : {".Brightness=", ".Contrast=", ".Saturation=", ".hevc.1.GopSize=", ".h264.1.GopSize=",
                                  ".Motion.ROI.1.MotionOnThreshold=", ".Motion.ROI.2.MotionOnThreshold=",
                                  ".Motion.ROI.1.Position=0.1,0.2,0.5,0.", ".Motion.ROI.2.Position=0.1,0.2,0.5,0."})
            lines.push_back(std::string("VideoInput.") + pChannel + pName + number);
    }
    return lines;
}

Request Make_ReadOf(const Lines &lines)
{
    Lines names = lines;
    for (std::string &name : names)
        name.erase(name.find('='));
    return Make_Read(names, lines);
}

struct SideStoreCounts {
    int lost = 0;   // updates that are not there when all setters have ended
    int unread = 0; // answers to a reader that are neither the old nor the new value
};

// Runs all setters side by side, and some readers between them.
void Change_SideFiles(const Lines &before, const Lines &after, SideStoreCounts *pCounts)
{
    std::vector<Program> setters;
    std::vector<Program> readers;
    for (size_t i = 0; i < after.size(); ++i) {
        setters.push_back(Start_Request(Make_Write(after[i])));
        if (i % 2 == 0)
            readers.push_back(Start_Request(Make_ReadOf(after)));
    }
    for (const Program &reader : readers) {
        Lines seen = Wait_Reply(reader);
        seen.resize(after.size());
        for (size_t i = 0; i < seen.size(); ++i)
            pCounts->unread += seen[i] != before[i] && seen[i] != after[i];
    }
    for (size_t i = 0; i < setters.size(); ++i)
        EXPECT_EQ(Lines{after[i]}, Wait_Reply(setters[i]));
    const Lines kept = Wait_Reply(Start_Request(Make_ReadOf(after)));
    ASSERT_EQ(after.size(), kept.size());
    for (size_t i = 0; i < kept.size(); ++i)
        pCounts->lost += kept[i] != after[i];
}

TEST_F(LoadTest, Setters_of_the_side_files_lose_nothing_and_readers_see_whole_values)
{
    Lines before = Make_SideLines(10);
    Lines after = Make_SideLines(11);
    std::vector<size_t> order(before.size());
    std::iota(order.begin(), order.end(), 0);
    std::mt19937 random(1);
    for (const std::string &line : before)
        ASSERT_EQ(Lines{line}, Wait_Reply(Start_Request(Make_Write(line))));
    SideStoreCounts counts;
    for (int round = 0; round < 10; ++round, std::swap(before, after)) {
        std::shuffle(order.begin(), order.end(), random);
        for (size_t first = 0; first < order.size(); first += AT_ONCE) {
            Lines from;
            Lines to;
            for (size_t i = first; i < std::min(first + AT_ONCE, order.size()); ++i) {
                from.push_back(before[order[i]]);
                to.push_back(after[order[i]]);
            }
            Change_SideFiles(from, to, &counts);
        }
    }
    EXPECT_EQ(0, counts.lost);
    EXPECT_EQ(0, counts.unread);
    quiet = Ask_All(); // some of it has been changed
}

// Returns what to close to give the lock back.
int Lock_SideFiles()
{
    const int folder = open("/etc/conf.d", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    EXPECT_EQ(0, flock(folder, LOCK_EX));
    return folder;
}

TEST_F(LoadTest, A_reader_waits_for_a_setter_that_has_emptied_the_file)
{
    const char file[] = "/etc/conf.d/config_quorvexVideo.xml";
    const std::string content = Read_File(file);
    const Request read = Make_ReadOf({"VideoInput.1.Brightness=50"});
    const int folder = Lock_SideFiles();
    std::ofstream stream(file);
    const Program reader = Start_Request(read);
    usleep(200000); // so that it is there; one that is later only makes the test weaker
    stream << content << std::flush;
    close(folder);
    EXPECT_EQ(read.answer, Wait_Reply(reader));
}

// Everything goes on without the lock when its time is over. What the two do is in different files.
TEST_F(LoadTest, A_lock_that_somebody_else_keeps_holds_nobody_up_for_good)
{
    const Request read = Make_ReadOf({"VideoInput.1.Motion.ROI.1.Position=0,0,1,1"});
    const Request write = Make_Write("VideoInput.1.Brightness=77");
    const int folder = Lock_SideFiles();
    const Program reader = Start_Request(read);
    EXPECT_EQ(write.answer, Wait_Reply(Start_Request(write)));
    EXPECT_EQ(read.answer, Wait_Reply(reader));
    close(folder);
    EXPECT_EQ(write.answer, Wait_Reply(Start_Request(Make_ReadOf(write.answer))));
}

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (getenv("CAMERA_SANDBOX") == nullptr || argc != 4) {
        fprintf(stderr, "load_test: runs inside script/sandbox, with SIMCAM MODELS-FOLDER BATCHES\n");
        return 2;
    }
    pSimcam = argv[1];
    pModels = argv[2];
    batchCount = strtoul(argv[3], nullptr, 10);
    return RUN_ALL_TESTS();
}
