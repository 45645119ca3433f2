// The radio tests, or with --shell a shell where they would stand. Runs as the guest's first program.
#include "tests/radio/world.h"

#include <cstring>

namespace {

struct World : testing::Environment {
    void SetUp() override { ASSERT_TRUE(start_world()) << sh("tail -n 60 /tmp/*.log"); }
};

} // namespace

int main(int count, char **arguments) {
    if (count > 1 && strcmp(arguments[1], "--shell") == 0) return start_world() && system("exec sh") == 0 ? 0 : 1;
    testing::InitGoogleTest(&count, arguments);
    testing::AddGlobalTestEnvironment(new World);
    return RUN_ALL_TESTS();
}
