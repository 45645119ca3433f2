// Taking the object off the bus and putting it back: the calls that are made and the lines that are left.
#include "source/vesk_main/vesk_main.h"

#include <sstream>

#include <gtest/gtest.h>

#include "source/vesk_main/records.h"
#include "tests/fakes/fakes.h"

namespace
{
struct ObjectCase {
    void (*act)();
    bool known, context;         // the object is in the daemon record; the bus library has a context
    int removeResult, addResult; // of the bus library
    size_t calls;                // of the bus library
    const char *trace; // function, first letter of the level, and the word that tells the lines apart
};
const ObjectCase cases[] = {
    { vesk_remove_ubus_obj, true, true, 0, 0, 1, "remove:I:start remove:I:end " },
    { vesk_remove_ubus_obj, false, true, 0, 0, 0, "remove:I:start remove:E:get " },
    { vesk_remove_ubus_obj, true, false, 0, 0, 0, "remove:I:start remove:E:request " },
    { vesk_remove_ubus_obj, true, true, 4, 0, 1, "remove:I:start remove:E:remove " },
    { vesk_add_ubus_obj, true, true, 0, 0, 2, "add:I:start remove:I:start remove:I:end add:I:end " },
    { vesk_add_ubus_obj, true, true, 4, 0, 2, "add:I:start remove:I:start remove:E:remove add:I:end " },
    { vesk_add_ubus_obj, true, true, 0, 2, 2, "add:I:start remove:I:start remove:I:end add:E:add " },
    { vesk_add_ubus_obj, true, false, 0, 0, 0, "add:I:start remove:I:start remove:E:request add:E:request " },
};

TEST(UbusObject, AddAndRemove)
{
    for (const ObjectCase &c : cases) {
        SCOPED_TRACE(c.trace);
        fake_reset();
        vesk_get_vesk_info()->ubusObj = c.known ? vesk_get_ubus_obj() : nullptr;
        fakeBus.hasContext = c.context;
        fakeBus.removeObjectResult = c.removeResult;
        fakeBus.addObjectResult = c.addResult;
        c.act();
        std::string trace;
        for (const FakeLogLine &line : fake_log_lines()) {
            std::istringstream words(line.message);
            const std::vector<std::string> word(std::istream_iterator<std::string>(words), {});
            trace += line.function.substr(5, line.function.find('_', 5) - 5) + ":" + line.level[0] + ":" +
                     (word.at(0) == "Failed" ? word.at(2) : word.at(4)) + " ";
        }
        EXPECT_EQ(trace, c.trace);
        EXPECT_EQ(fakeBus.calls.size(), c.calls);
        EXPECT_TRUE(c.calls < 2 || fakeBus.calls.back() == "ubus_add_object tamlo.pelk.vesk");
    }
}
} // namespace
