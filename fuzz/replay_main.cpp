// Runs a fuzz target over the files and folders it is given: without a fuzzing engine the corpora are tests.
#include <stdint.h>
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pData, size_t uSize);

static void Replay(const std::filesystem::path &tPath)
{
    std::ifstream tFile(tPath, std::ios::binary);
    const std::vector<char> acText{std::istreambuf_iterator<char>(tFile), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(acText.data()), acText.size());
}

int main(int argc, char **argv)
{
    int iCount = 0;
    for (int i = 1; i < argc; i++) {
        if (!std::filesystem::is_directory(argv[i])) {
            Replay(argv[i]);
            iCount++;
            continue;
        }
        for (const auto &tEntry : std::filesystem::directory_iterator(argv[i])) {
            Replay(tEntry.path());
            iCount++;
        }
    }
    printf("%d inputs replayed\n", iCount);
    return iCount > 0 ? 0 : 1; // a corpus that was not found proves nothing
}
