// Taking the object off the bus and putting it back: the calls that are made and the lines that are left.
#include "tests/unit/common.h"

TEST(UbusObject, AddAlwaysRemovesFirstAndGoesOn) {
    // clang-format off
    const struct { const char *name; bool known, context; int removeResult, addResult; size_t calls; const char *trace; } cases[] = {
        { "usual", true, true, 0, 0, 2, "add:I remove:I remove:I add:I " },
        { "wasn't there", true, true, 4, 0, 2, "add:I remove:I remove:E add:I " },
        { "refused", true, true, 0, 2, 2, "add:I remove:I remove:I add:E " },
        { "no bus", true, false, 0, 0, 0, "add:I remove:I remove:E add:E " },
        { "no object", false, true, 0, 0, 0, "add:I remove:I remove:E add:E " },
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        fake_reset();
        vesk_get_vesk_info()->ubusObj = c.known ? vesk_get_ubus_obj() : nullptr;
        fakeBus.hasContext = c.context;
        fakeBus.removeObjectResult = c.removeResult, fakeBus.addObjectResult = c.addResult;
        vesk_add_ubus_obj();
        std::string trace;
        for (const FakeLogLine &line : fake_log_lines())
            trace += line.function.substr(5, line.function.find('_', 5) - 5) + ":" + line.level[0] + " ";
        EXPECT_EQ(trace, c.trace);
        EXPECT_EQ(fakeBus.calls.size(), c.calls);
        EXPECT_EQ(fake_log().find("Failed to request") != std::string::npos, !c.context);
    }
}
