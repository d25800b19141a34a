// Runs a fuzz target over files without libFuzzer: each argument is a file or a directory whose files are
// fed in name order. CTest uses it to replay the checked-in corpora in the ordinary and sanitizer builds.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

bool replayFile(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // An exactly-sized heap copy: a read past the end lands outside the block.
    std::unique_ptr<uint8_t[]> copy(new uint8_t[bytes.empty() ? 1 : bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), copy.get());
    LLVMFuzzerTestOneInput(copy.get(), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FILE_OR_DIR...\n", argv[0]);
        return 2;
    }
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path arg(argv[i]);
        std::vector<std::filesystem::path> files;
        if (std::filesystem::is_directory(arg)) {
            for (const auto &entry : std::filesystem::directory_iterator(arg))
                if (entry.is_regular_file())
                    files.push_back(entry.path());
            std::sort(files.begin(), files.end());
        } else {
            files.push_back(arg);
        }
        for (const auto &f : files) {
            if (!replayFile(f))
                return 1;
            ++count;
        }
    }
    if (count == 0) {
        std::fprintf(stderr, "no input replayed\n");
        return 1;
    }
    std::printf("replayed %zu inputs\n", count);
    return 0;
}
