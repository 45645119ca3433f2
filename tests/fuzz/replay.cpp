// Runs every file of the folders on the command line through the entry; stands in for libFuzzer in plain
// builds.
#include <cstdio>
#include <filesystem>

#include "tests/fuzz/input.h"
#include "tests/unit/test_files.h"

int main(int argc, char **argv) {
    int inputs = 0;
    for (int i = 1; i < argc; i++) {
        if (argv[i][0] == '-') continue;
        for (const auto &file : std::filesystem::directory_iterator(argv[i])) {
            const std::string bytes = file_text(file.path().c_str());
            printf("%s\n", file.path().c_str());
            fflush(stdout);
            fuzz_one({ reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size() });
            inputs++;
        }
    }
    return inputs > 0 ? 0 : 1;
}
