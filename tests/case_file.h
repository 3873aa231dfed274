// The end-to-end cases as data: the grammar of a .cases file, and what one case says.
//
//   default LINE              LINE opens every case of the file; stands before the first case
//   case TITLE                starts a case
//     model NAME              the camera: NAME.model of the models folder; "dome" if not said
//     camera LINE             one change of the model, in the model's own grammar
//     env NAME=VALUE          adds or changes an environment variable of the program: SERVER_ADDR=127.0.0.1,
//     env -NAME               TZ=UTC and those of the request are there from the start; -NAME takes one away
//     args WORD...            command line arguments of the program
//     get TEXT                a request: REQUEST_METHOD=GET, QUERY_STRING=TEXT
//     post TEXT               a request: REQUEST_METHOD=POST, TEXT on standard input, CONTENT_LENGTH its length
//     http get|post TEXT      the same through the web server, with the server's environment and no arguments
//   or, shorter, a request about one parameter together with its reply, and behind " > " what the daemon is then told;
//   {A,B} in a line makes a request for A and another for B:
//     read NAME=VALUE         the parameter reads so
//     write NAME=VALUE > KEY=VALUE > ...   the write succeeds
//     refuse NAME=VALUE       the write is answered "An illegal setting parameter"
//     locked NAME             a write is answered "Parameter is readOnly"
//     fail NAME[=VALUE]       the read (the write, with a value) is answered "Internal error"
//   and behind the request they belong to:
//     reply TEXT              one reply line; "\r\n" is added, and the text/plain header in front of the first
//     xml TEXT                the same, and the header is text/xml
//     output TEXT             standard output as it stands
//     error TEXT              standard error as it stands
//     exit NUMBER             the exit status; 0 if not said
//   and anywhere in the case, each kind in its order:
//     sent LINE               a line of the camera's request log: what a daemon was sent
//     log PRIORITY TEXT       a line of the system log
//     file PATH=TEXT          the whole content of a file after the last request
//     filehas PATH=TEXT       a part of it
//
// "only VARIANT LINE" holds where the runner was told so: "native" (if it was told nothing) or "uclibc", whose C
// library words some of its own messages otherwise.
//
// Lines that start with "#" are comments; blanks around a line count for nothing. Every TEXT and LINE takes the
// escapes \r \n \t \\ \xHH, and \{N*TEXT} for TEXT N times ("}" in it is \x7d). What a case does not expect must
// not happen.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct CaseRequest {
    bool viaServer = false;
    std::string method;
    std::string text;
    std::string output;                       // what is expected, without the header
    std::size_t headerAt = std::string::npos; // where in the output the header stands; npos: there is none
    bool isXml = false;
    std::string error;
    unsigned long exitStatus = 0;
};

struct CaseFileCheck {
    std::string path;
    std::string text;
    bool isWhole = true;
};

struct Case {
    const char *pFile = nullptr;
    int line = 0;
    std::string title;
    std::string model = "dome";
    std::vector<std::string> changes;
    std::vector<std::string> environment; // as it stands in the file: NAME=VALUE or -NAME
    std::vector<std::string> arguments;
    std::vector<CaseRequest> requests;
    std::string sent; // whole lines, as the camera's request log has them
    std::string log;
    std::vector<CaseFileCheck> files;
};

// Reads the cases of one file, in order. What is wrong with the file is added to the errors, one "FILE:LINE: message"
// each. The cases go on pointing at pFile.
std::vector<Case> Read_CaseFile(const char *pFile, const std::string &variant, std::vector<std::string> *pErrors);
