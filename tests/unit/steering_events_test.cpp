// Steering and measurement: what is rewritten, what is refused, and the traces on stderr.
#include "tests/unit/fixtures.h"

TEST(SteeringEvents, OwnInterfacesAreAnnouncedByTheirOuterName) {
    fill_event_records();
    Bytes record(17, 0xee);
    EXPECT_EQ(wdev_intf_change_event_process(reinterpret_cast<VeskIfStatus *>(record.data()), "ath0"), 0);
    EXPECT_EQ(sent(), Texts{ "veskIfStatusChange 17" });
    EXPECT_EQ(fakeBus.signals[0].payload, Bytes(17, 0xee).name(0, "ath0.v0"));
    EXPECT_EQ(wdev_vap_attr_change_event_process(nullptr, "ath0"), -1);
    EXPECT_EQ(fake_stderr(), "Enter wdev_intf_change_event_process\r\nUbus send successfully "
                             "[tamlo.pelk.vesk.veskIfStatusChange] [ath0.v0] [238]\r\n"
                             "Enter wdev_vap_attr_change_event_process\r\n");
}
