// Runs a fuzz target over the files of a corpus, once each: what a fuzzer found once stays found, in every
// build.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize);

int main(int inCount, char** inArguments) {
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < inCount; ++i) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(inArguments[i])) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path());
            }
        }
    }
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path& file : files) {
        std::printf("%s\n", file.filename().c_str());
        std::fflush(stdout); // so that the last line names the input that brought the program down
        std::ifstream stream(file, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs\n", files.size());
    return files.empty() ? 1 : 0;
}
