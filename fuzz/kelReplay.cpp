// Runs a fuzz target on every file of the folders given, without libFuzzer.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void replay(const std::filesystem::path& file) {
    // Named beforehand: a target that finds something ends the program.
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);
    std::ifstream in(file, std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(in), {}};
    // A copy of exactly this size, so that reading behind the end is seen by a sanitizer.
    const std::basic_string<std::uint8_t> bytes(input.begin(), input.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

// The number of files run; 0 for a folder that is not there.
std::size_t replayFolder(const std::filesystem::path& folder) {
    std::size_t count = 0;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
        if (entry.is_regular_file()) {
            replay(entry.path());
            ++count;
        }
    }
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    bool complete = argc > 1;
    for (int i = 1; i < argc; ++i) {
        const std::size_t count = replayFolder(argv[i]);
        std::printf("%zu inputs in %s\n", count, argv[i]);
        complete = complete && count > 0;
    }
    return complete ? 0 : 1;
}
