// From libFuzzer to the program's entry, FUZZ_ENTRY; in plain builds every file of the folders on the command line goes
// through it.
#include "tests/fuzz/input.h"

void FUZZ_ENTRY(FuzzInput in);

#ifdef VESK_LIBFUZZER
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FUZZ_ENTRY({ data, size });
    return 0;
}
#else
#include <cstdio>
#include <filesystem>

#include "tests/unit/test_files.h"

int main(int argc, char **argv) {
    int inputs = 0;
    for (int i = 1; i < argc; i++) {
        if (argv[i][0] == '-') continue;
        for (const auto &file : std::filesystem::directory_iterator(argv[i])) {
            const std::string bytes = file_text(file.path().c_str());
            printf("%s\n", file.path().c_str());
            fflush(stdout);
            FUZZ_ENTRY({ reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size() });
            inputs++;
        }
    }
    return inputs > 0 ? 0 : 1;
}
#endif
