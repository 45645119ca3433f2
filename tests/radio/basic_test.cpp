// The tests that are nothing but text: what a guest has, what vesk-radio-check finds in it, what vesk-setup writes.
#include "include/rilk.h"
#include "tests/radio/script.h"

namespace {

struct Libraries : testing::Test {
    static void SetUpTestSuite() { ASSERT_EQ(rilk_initDriver(), 0); }
};
[[maybe_unused]] const bool isReady = add_tests<testing::Test>("Guest", "guest.rows") &&
                                      add_tests<Libraries>("Check", "check.rows") &&
                                      add_tests<testing::Test>("Setup", "setup.rows");

} // namespace
