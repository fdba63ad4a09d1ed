// Runs a fuzz target once over each file of a corpus folder, so that the kept inputs are a
// regression test in builds without libFuzzer. Usage: NAME_replay FOLDER; a fault ends the process,
// as under the fuzzer.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> ListInputs(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        inputs.push_back(entry.path());
    }
    if (inputs.empty()) {
        throw std::runtime_error(folder.string() +
                                 " is empty; a fuzz target keeps at least one input");
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

void Replay(const std::filesystem::path& input) {
    std::ifstream stream(input, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("cannot open " + input.string());
    }
    const std::string text{std::istreambuf_iterator<char>(stream),
                           std::istreambuf_iterator<char>()};
    // A copy of exactly the input's size: the address sanitizer then sees a read beyond its end.
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    std::printf("%s\n", input.c_str());
    std::fflush(stdout);  // names the input if the target does not return from it
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", argv[0]);
        return 2;
    }
    try {
        for (const auto& input : ListInputs(argv[1])) {
            Replay(input);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    return 0;
}
