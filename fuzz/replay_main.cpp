// Runs a fuzz target without libFuzzer over every file of the directory given (its only argument), in name
// order. CTest uses it to replay the checked-in corpora in the ordinary and sanitizer builds.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <vector>

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv) {
    namespace fs = std::filesystem;
    const std::set<fs::directory_entry> files(fs::directory_iterator(argc == 2 ? argv[1] : ""), {});
    for (const fs::directory_entry &file : files) {
        // An exactly-sized heap block (one byte for an empty file): a read past the end lands outside it.
        std::vector<uint8_t> bytes(std::max<size_t>(file.file_size(), 1));
        std::ifstream in(file.path(), std::ios::binary);
        FUZZ_REQUIRE(in.read((char *)bytes.data(), (std::streamsize)file.file_size()));
        LLVMFuzzerTestOneInput(bytes.data(), file.file_size());
    }
    std::printf("replayed %zu inputs\n", files.size());
    return files.empty() ? 1 : 0;
}
