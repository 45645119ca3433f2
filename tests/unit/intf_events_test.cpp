// What the daemon announces of its own interfaces.
#include "source/vesk_drelm/vesk_drelm.h"

#include "tests/unit/event_records.h"

TEST(IntfEvents, CarryTheOuterName)
{
    const std::tuple<std::string, std::string, WdevHandler, const char *, const char *, const char *>
        rows[] = {
            { "intf_change", "IfStatusChange", wdev_intf_change_event_process, "SIM", "apcli0", "apcli0" },
            { "vap_attr_change", "VapAttrChange", wdev_vap_attr_change_event_process, "SIM", "athabcdefghi",
              "athabcdefghi.v" },
            { "vap_attr_change", "VapAttrChange", wdev_vap_attr_change_event_process, "MTK7915IDU", "ath0",
              "ath0" },
        };
    for (const auto &[name, signal, handler, chip, ifName, outer] : rows) {
        fill_event_records();
        strcpy(vesk_get_radio_info()[1].chipName, chip); // either radio's counts for all
        Bytes record(17, 0xee);
        EXPECT_EQ(handler(record.data(), ifName), 0);
        EXPECT_EQ(sent(), Texts{ "vesk" + signal + " 17" });
        EXPECT_EQ(fakeBus.signals[0].payload, changed(Bytes(17, 0xee), 0, text_field(outer)));
        EXPECT_EQ(fake_stderr(), "Enter wdev_" + name +
                                     "_event_process\r\nUbus send successfully [tamlo.pelk.vesk.vesk" +
                                     signal + "] [" + outer + "] [238]\r\n");
        EXPECT_EQ(handler(nullptr, ifName), -1);
        EXPECT_TRUE(logged("wdev_" + name + "_event_process", "ERROR", " Error:is NULL\n"));
    }
}
