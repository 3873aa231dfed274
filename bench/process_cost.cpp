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
    Series adWall;
    Series adCpu;
    Series adFaults;
};

double Get_Seconds()
{
    timespec tNow = {};
    clock_gettime(CLOCK_MONOTONIC, &tNow);
    return static_cast<double>(tNow.tv_sec) + static_cast<double>(tNow.tv_nsec) / 1e9;
}

double Get_Seconds(const rusage &tUsage)
{
    const timeval &tUser = tUsage.ru_utime, &tSystem = tUsage.ru_stime;
    return static_cast<double>(tUser.tv_sec + tSystem.tv_sec) +
           static_cast<double>(tUser.tv_usec + tSystem.tv_usec) / 1e6;
}

double Get_OwnSeconds()
{
    rusage tUsage = {};
    getrusage(RUSAGE_SELF, &tUsage);
    return Get_Seconds(tUsage);
}

/// What the program has written is taken out of the pipe after its end: a reply is shorter than a pipe holds.
bool Empty_Pipe(int iPipe)
{
    char acChunk[65536];
    return read(iPipe, acChunk, sizeof acChunk) > 0;
}

bool Run_Program(Program &tProgram, const int (&aiPipe)[2])
{
    int iStatus = 0;
    rusage tUsage = {};
    lseek(STDIN_FILENO, 0, SEEK_SET);
    const double dStart = Get_Seconds(), dOwnStart = Get_OwnSeconds();
    const pid_t iProcess = fork();
    if (iProcess == 0) {
        dup2(aiPipe[1], STDOUT_FILENO);
        execv(tProgram.ppszArgument[0], tProgram.ppszArgument);
        _exit(EXIT_FAILURE);
    }
    if (iProcess < 0 || wait4(iProcess, &iStatus, 0, &tUsage) != iProcess || iStatus != 0 || !Empty_Pipe(aiPipe[0]))
        return false;
    tProgram.adWall.push_back((Get_Seconds() - dStart) * 1e6);
    tProgram.adCpu.push_back((Get_Seconds(tUsage) + Get_OwnSeconds() - dOwnStart) * 1e6);
    tProgram.adFaults.push_back(static_cast<double>(tUsage.ru_minflt + tUsage.ru_majflt));
    return true;
}

double Get_Quantile(Series adValue, size_t uPart, size_t uParts)
{
    std::sort(adValue.begin(), adValue.end());
    return adValue[(adValue.size() - 1) * uPart / uParts];
}

double Median_Ratio(const Series &adValue, const Series &adFirst)
{
    Series adRatio(adValue.size());
    std::transform(adValue.begin(), adValue.end(), adFirst.begin(), adRatio.begin(),
                   [](double dValue, double dFirst) { return dFirst > 0 ? dValue / dFirst : 0; });
    return Get_Quantile(adRatio, 1, 2);
}

void Print_Series(const Series &adValue)
{
    printf("%.0f %.0f %.0f ", Get_Quantile(adValue, 1, 2), Get_Quantile(adValue, 1, 4), Get_Quantile(adValue, 3, 4));
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
    const double dEnd = Get_Seconds() + MAX_SECONDS;
    for (int iRound = -WARM_UP_ROUNDS; iRound < iRounds && Get_Seconds() < dEnd; iRound++) {
        for (size_t i = 0; i < uPrograms; i++) {
            Program &tProgram = atProgram[(i + static_cast<size_t>(iRound + WARM_UP_ROUNDS)) % uPrograms];
            if (!Run_Program(tProgram, aiPipe)) {
                fprintf(stderr, "process_cost: %s fails or writes nothing\n", tProgram.ppszArgument[0]);
                return EXIT_FAILURE;
            }
        }
        if (iRound < 0)
            for (Program &tProgram : atProgram)
                tProgram = {tProgram.ppszArgument, {}, {}, {}};
    }
    if (atProgram[0].adWall.empty())
        return EXIT_FAILURE;
    for (const Program &tProgram : atProgram) {
        Print_Series(tProgram.adWall);
        Print_Series(tProgram.adCpu);
        printf("%.0f %.3f %.3f\n", Get_Quantile(tProgram.adFaults, 1, 2),
               Median_Ratio(tProgram.adWall, atProgram[0].adWall), Median_Ratio(tProgram.adCpu, atProgram[0].adCpu));
    }
    return EXIT_SUCCESS;
}
