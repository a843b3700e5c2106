// Runs a fuzz target over the files and folders named on the command line, for compilers without libFuzzer.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool replay(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        return false;
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
}

} // namespace

int main(int argc, char** argv) {
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path path = argv[i];
        std::vector<std::filesystem::path> files;
        if (std::filesystem::is_directory(path)) {
            for (const auto& entry : std::filesystem::directory_iterator(path))
                files.push_back(entry.path());
        } else {
            files.push_back(path);
        }
        for (const auto& file : files) {
            if (!replay(file)) {
                std::fprintf(stderr, "cannot read %s\n", file.c_str());
                return 1;
            }
            ++replayed;
        }
    }
    std::printf("replayed %zu inputs\n", replayed);
    return replayed == 0 ? 1 : 0;
}
