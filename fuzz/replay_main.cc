// Runs a fuzz target once on each file of a corpus directory, which makes the corpus a regression
// test in builds without libFuzzer. Usage: NAME_replay DIRECTORY. A fault ends the process, as
// under the fuzzer.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// A copy of exactly the input's size, so that the address sanitizer notices a read beyond its end.
static std::vector<std::uint8_t> ReadInput(const std::filesystem::path& input) {
    std::ifstream stream(input, std::ios::binary);
    stream.exceptions(std::ios::badbit | std::ios::failbit);
    std::vector<std::uint8_t> bytes(std::filesystem::file_size(input));
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", argv[0]);
        return 2;
    }
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        const std::vector<std::uint8_t> bytes = ReadInput(entry);
        std::printf("%s\n", entry.path().c_str());
        std::fflush(stdout);  // shows the input if the target never returns
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        ++count;
    }
    if (count == 0) {
        std::fprintf(stderr, "%s is empty; a fuzz target keeps at least one input\n", argv[1]);
        return 1;
    }
    return 0;
}
