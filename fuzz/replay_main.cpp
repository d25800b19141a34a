// Runs a fuzz target without libFuzzer over every file of the directory given, in name order. CTest uses
// it to replay the checked-in corpora in the ordinary and sanitizer builds.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry :
         fs::directory_iterator(argc == 2 ? argv[1] : "(no directory given)"))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const fs::path &file : files) {
        const size_t size = fs::file_size(file);
        // An exactly-sized heap block (one byte for an empty file): a read past the end lands outside it.
        std::vector<uint8_t> bytes(std::max<size_t>(size, 1));
        if (!std::ifstream(file, std::ios::binary).read((char *)bytes.data(), (std::streamsize)size)) {
            std::fprintf(stderr, "cannot read %s\n", file.c_str());
            return 1;
        }
        LLVMFuzzerTestOneInput(bytes.data(), size);
    }
    std::printf("replayed %zu inputs\n", files.size());
    return files.empty() ? 1 : 0;
}
