// Runs programs for the tests that work inside script/sandbox: param.cgi as a web server would run it, the simulated
// camera, and a real web server.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

constexpr int TIME_LIMIT_SECONDS = 60; // of every program: one that does not end is killed
constexpr char CAMERA_LOG[] = "/var/log/camera.log";
constexpr char SERVER_URL[] = "http://127.0.0.1:8080/cgi-bin/param.cgi";

using Words = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;

// A running program. Its standard streams are files in memory; Wait_Program gives them back.
struct Program {
    pid_t pid;
    int output;
    int error;
};

// What a program has left: its standard output and error, and how it ended ("exit N", "crash: ...", "hang: ...").
struct Outcome {
    std::string output;
    std::string error;
    std::string ending;
};

std::string Read_File(const std::string &path);

// Asks until it is so; false when the time limit has passed.
bool Wait_Until(const std::function<bool()> &isReached);

Program Start_Program(const Words &words, const std::string &input);
Outcome Wait_Program(const Program &program);
Outcome Run_Program(const Words &words, const std::string &input);

// A request as a web server hands it over. A POST has its text on standard input as well. The command runs the program
// with this environment alone, behind the emulator if there is one.
Environment Make_CgiEnvironment(const std::string &method, const std::string &text);
Words Make_CgiCommand(const Environment &environment, const char *pEmulator, const char *pProgram);

// Lays out a fresh camera: nothing of the one before is left in its files.
void Clear_Camera();

// Starts a simulated camera that writes CAMERA_LOG; the words are simcam's. It may have ended instead of getting ready.
Program Start_Camera(const char *pSimcam, const Words &words);
bool Is_CameraReady(const Program &camera);

// Stops it in the ordered way. Returns all that it had to say and its ending: CAMERA_WELL if it was well.
std::string Stop_Camera(const Program &camera);
constexpr char CAMERA_WELL[] = "simcam: ready\nexit 0";

// Starts the web server with the program behind SERVER_URL; it ends with the sandbox. Returns "exit 0" if it is there.
std::string Start_WebServer(const char *pEmulator);

// What the web server's error log got since the last call; the standard error of the programs lands there as well.
std::string Take_ServerErrors();
