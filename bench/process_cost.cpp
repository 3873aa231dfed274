// What a request costs whoever serves it: a process from its start to its end and its parent's part in it, several
// programs compared side by side. The parent forks, as web servers do, reads what the program writes and collects it.
//
// process_cost ROUNDS PROGRAM [ARGUMENT...] [-- PROGRAM [ARGUMENT...]]...
// Runs each program once per round with the environment as it is and standard input, a file, from its start. Prints one
// line of numbers per program: the median, the first and the third quartile of the wall time and the same of the CPU
// time of both (microseconds), the median number of page faults, and the medians of the ratios of wall and CPU time to
// those of the first program in the same round.
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

namespace {

constexpr int WARM_UP_ROUNDS = 20;
constexpr int MAX_ROUNDS = 100000;
constexpr double MAX_SECONDS = 30;

using Series = std::vector<double>;

struct Program {
    char **ppszArgument; // ends with a null pointer
    Series afWall;
    Series afCpu;
    Series afFaults;
};

double Seconds()
{
    timespec tNow = {};
    clock_gettime(CLOCK_MONOTONIC, &tNow);
    return static_cast<double>(tNow.tv_sec) + static_cast<double>(tNow.tv_nsec) / 1e9;
}

double Seconds(const rusage &tUsage)
{
    const timeval &tUser = tUsage.ru_utime, &tSystem = tUsage.ru_stime;
    return static_cast<double>(tUser.tv_sec + tSystem.tv_sec) +
           static_cast<double>(tUser.tv_usec + tSystem.tv_usec) / 1e6;
}

double Own_Seconds()
{
    rusage tUsage = {};
    getrusage(RUSAGE_SELF, &tUsage);
    return Seconds(tUsage);
}

/// What the program has written is taken out of the pipe after its end: a reply is shorter than a pipe holds.
bool Empty_Pipe(int iPipe)
{
    char acChunk[65536];
    return read(iPipe, acChunk, sizeof acChunk) > 0;
}

bool Run(Program &tProgram, const int (&aiPipe)[2])
{
    int iStatus = 0;
    rusage tUsage = {};
    lseek(STDIN_FILENO, 0, SEEK_SET);
    const double fStart = Seconds(), fOwnStart = Own_Seconds();
    const pid_t iProcess = fork();
    if (iProcess == 0) {
        dup2(aiPipe[1], STDOUT_FILENO);
        execv(tProgram.ppszArgument[0], tProgram.ppszArgument);
        _exit(EXIT_FAILURE);
    }
    if (iProcess < 0 || wait4(iProcess, &iStatus, 0, &tUsage) != iProcess || iStatus != 0 || !Empty_Pipe(aiPipe[0]))
        return false;
    tProgram.afWall.push_back((Seconds() - fStart) * 1e6);
    tProgram.afCpu.push_back((Seconds(tUsage) + Own_Seconds() - fOwnStart) * 1e6);
    tProgram.afFaults.push_back(static_cast<double>(tUsage.ru_minflt + tUsage.ru_majflt));
    return true;
}

double Quantile(Series afValue, size_t uPart, size_t uParts)
{
    std::sort(afValue.begin(), afValue.end());
    return afValue[(afValue.size() - 1) * uPart / uParts];
}

double Median_Ratio(const Series &afValue, const Series &afFirst)
{
    Series afRatio(afValue.size());
    std::transform(afValue.begin(), afValue.end(), afFirst.begin(), afRatio.begin(),
                   [](double fValue, double fFirst) { return fFirst > 0 ? fValue / fFirst : 0; });
    return Quantile(afRatio, 1, 2);
}

void Print_Series(const Series &afValue)
{
    printf("%.0f %.0f %.0f ", Quantile(afValue, 1, 2), Quantile(afValue, 1, 4), Quantile(afValue, 3, 4));
}

std::vector<Program> Split_Arguments(int iCount, char *apszArgument[])
{
    std::vector<Program> atProgram;
    for (int i = 0; i < iCount; i++) {
        if (i == 0 || apszArgument[i - 1] == nullptr)
            atProgram.push_back({&apszArgument[i], {}, {}, {}});
        if (strcmp(apszArgument[i], "--") == 0)
            apszArgument[i] = nullptr;
    }
    return atProgram;
}

} // namespace

int main(int argc, char *argv[])
{
    const int iRounds = argc > 2 ? atoi(argv[1]) : 0;
    int aiPipe[2];
    if (iRounds < 1 || iRounds > MAX_ROUNDS || pipe2(aiPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return EXIT_FAILURE;
    std::vector<Program> atProgram = Split_Arguments(argc - 2, argv + 2);

    // The programs take turns, in another order each round, so that a busy moment of the machine does not fall on one
    // of them alone.
    const size_t uPrograms = atProgram.size();
    const double fEnd = Seconds() + MAX_SECONDS;
    for (int iRound = -WARM_UP_ROUNDS; iRound < iRounds && Seconds() < fEnd; iRound++) {
        for (size_t i = 0; i < uPrograms; i++) {
            Program &tProgram = atProgram[(i + static_cast<size_t>(iRound + WARM_UP_ROUNDS)) % uPrograms];
            if (!Run(tProgram, aiPipe)) {
                fprintf(stderr, "process_cost: %s fails or writes nothing\n", tProgram.ppszArgument[0]);
                return EXIT_FAILURE;
            }
        }
        if (iRound < 0)
            for (Program &tProgram : atProgram)
                tProgram = {tProgram.ppszArgument, {}, {}, {}};
    }
    if (atProgram[0].afWall.empty())
        return EXIT_FAILURE;
    for (const Program &tProgram : atProgram) {
        Print_Series(tProgram.afWall);
        Print_Series(tProgram.afCpu);
        printf("%.0f %.3f %.3f\n", Quantile(tProgram.afFaults, 1, 2),
               Median_Ratio(tProgram.afWall, atProgram[0].afWall), Median_Ratio(tProgram.afCpu, atProgram[0].afCpu));
    }
    return EXIT_SUCCESS;
}
