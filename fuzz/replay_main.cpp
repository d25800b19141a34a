// Runs a fuzz target over files without libFuzzer: each argument is a file or a directory whose files are
// fed too, all in name order. CTest uses it to replay the checked-in corpora in the ordinary and sanitizer
// builds.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i]))
            files.push_back(argv[i]);
        else
            for (const fs::directory_entry &entry : fs::directory_iterator(argv[i]))
                if (entry.is_regular_file())
                    files.push_back(entry.path());
    }
    if (files.empty()) {
        std::fprintf(stderr, "usage: %s FILE_OR_DIR... (no input to replay)\n", argv[0]);
        return 2;
    }
    std::sort(files.begin(), files.end());
    for (const fs::path &file : files) {
        std::ifstream in(file, std::ios::binary);
        if (!in) {
            std::fprintf(stderr, "cannot read %s\n", file.c_str());
            return 1;
        }
        std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        // An exactly-sized heap copy: a read past the end lands outside the block.
        std::unique_ptr<uint8_t[]> copy(new uint8_t[bytes.empty() ? 1 : bytes.size()]);
        std::copy(bytes.begin(), bytes.end(), copy.get());
        LLVMFuzzerTestOneInput(copy.get(), bytes.size());
    }
    std::printf("replayed %zu inputs\n", files.size());
    return 0;
}
