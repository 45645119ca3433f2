// The radio tests, or with --shell a shell (running a script) where they would stand, or with --crowd stations on an
// access point that stay. Runs as the guest's first program.
#include <fcntl.h>
#include <unistd.h>

#include "tests/radio/crowd.h"
#include "tests/radio/world.h"

namespace {

struct World : testing::Environment {
    void SetUp() override {
        ASSERT_TRUE(start_world()) << sh("tail -n 60 /tmp/*.log");
        dup2(open("/tmp/spoken", O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO); // the libraries' own log
    }
};

} // namespace

int main(int count, char **arguments) {
    testing::InitGoogleTest(&count, arguments);
    const std::string mode = count > 1 ? arguments[1] : "", what = count > 2 ? arguments[2] : "";
    if (mode == "--shell") return start_world() && system(("exec sh " + what).c_str()) == 0 ? 0 : 1;
    if (mode == "--crowd") return new Crowd(what.c_str(), 255) == nullptr;
    testing::AddGlobalTestEnvironment(new World);
    return RUN_ALL_TESTS();
}
