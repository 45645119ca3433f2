// The nine switches: what each payload changes, and what a wrong one doesn't.
#include "source/vesk_handler/vesk_handler.h"

#include "tests/unit/event_records.h"

static Bytes log_setting(uint32_t level, const std::string &destination)
{
    return changed(changed(Bytes(36), 0, bytes_of(level)), 4, text_field(destination, 32));
}

static void deliver(size_t index, Bytes payload)
{
    const MerkaSignalRow &row = vesk_inbound_signals()[index];
    row.handler(row.interface, row.signal, payload.data(), static_cast<int>(payload.size()));
}

TEST(InboundSignals, RefuseWhatIsMissingOrShort)
{
    const std::tuple<std::string, std::string, size_t> rows[] = {
        // signal, handler, bytes
        { "setLogLevel", "setLogLevelSignal", 36 },
        { "setLogDestination", "setLogDestinationSignal", 36 },
        { "setScanEnable", "setScanEnableSignal", 4 },
        { "notifyWlanChange", "notifyWlanChange", 0 },
        { "setIntfStatEnable", "setIntfStatEnableSignal", 4 },
        { "setStaEnable", "setStaEnableSignal", 4 },
        { "setChannelChangeEnable", "setChannelChangeEnableSignal", 4 },
        { "setUbusObjSignal", "setUbusObjSignal", 4 },
        { "notifyIEEE1905VlanIntfChange", "notifyIEEE1905VlanInftChange", 370 }
    };
    for (size_t i = 0; i < 9; i++) {
        const auto &[signal, handler, wants] = rows[i];
        const std::string name = "vesk_" + handler, size = std::to_string(wants - 1);
        fill_event_records();
        const MerkaSignalRow &row = vesk_inbound_signals()[i];
        EXPECT_TRUE(row.index == i && row.signal == signal &&
                    row.interface == std::string("tamlo.pelk.vesk"));
        row.handler(nullptr, nullptr, nullptr, 0);
        EXPECT_TRUE(logged(name, "INFO", (i < 2 ? " " + name : "") + " interface=, signal= size=0\n"))
            << name;
        EXPECT_TRUE(logged(name, "ERROR", " Bus buf is NULL\n\n")) << name;
        if (wants)
            deliver(i, Bytes(wants - 1, 1));
        const std::string line =
            " Size = " + size + " sizeof = " + std::to_string(wants) + ", parameter mismatched\n\n";
        EXPECT_EQ(logged(name, "ERROR", line), wants != 0) << name;
        EXPECT_TRUE(fakeBus.signals.empty() && fakeBus.calls.empty() && fakeDevice.log.empty()) << name;
        EXPECT_TRUE(fakeLoop.pendingTimers() == 0 && vesk_get_vesk_info()->logLevel == 7) << name;
    }
}

TEST(InboundSignals, LogLevelAndDestination)
{
    const std::string own = "vesk.log vesk_setLogLevelSignal level=[";
    const std::string library = "rilk_update_debuglevel vesk_setLogLevelSignal level=[";
    const std::tuple<uint32_t, int, std::string, std::string> rows[] = {
        // level, logLevel then, for the library, on stderr
        { 0, 0, "", own + "0]\r\n" },      { 7, 7, "", own + "7]\r\n" },       { 8, 5, "", "" },
        { 9, 5, "0", library + "0]\r\n" }, { 16, 5, "7", library + "7]\r\n" }, { 17, 5, "", "" },
        { 99, 7, "7", own + "7]\r\n" },    { UINT32_MAX, 5, "", "" }
    };
    for (const auto &[level, now, args, trace] : rows) {
        fill_event_records();
        const FILE *before = vesk_get_vesk_info()->logFile;
        vesk_get_vesk_info()->logLevel = 5;
        deliver(0, log_setting(level, "stderr"));
        EXPECT_EQ(vesk_get_vesk_info()->logLevel, now) << level;
        EXPECT_EQ(vesk_get_vesk_info()->logFile, level == 99 ? stderr : before);
        EXPECT_EQ(fake_stderr(), trace);
        EXPECT_EQ(fakeDevice.log.empty() ? "" : fakeDevice.log[0].args, args) << level;
        const std::string line = std::to_string(static_cast<int>(level)) + "] is out range\n";
        EXPECT_EQ(fake_logged("ERROR", " vesk_setLogLevelSignal level=[" + line), trace.empty()) << level;
    }
    vesk_get_vesk_info()->logFile = nullptr;
    vesk_get_vesk_info()->logLevel = 6;
    const std::string path = "/tmp/" + std::string(26, 'p');
    deliver(1, log_setting(0, path + "x")); // fills the field: its last byte ends the text
    EXPECT_EQ(remove(path.c_str()), 0);
    deliver(1, log_setting(0, "stderr"));
    EXPECT_TRUE(fake_logged("INFO", " vesk_setLogDestinationSignal logFile=stderr, level=[6]\n"));
    deliver(1, log_setting(0, "/nowhere/log"));
    EXPECT_TRUE(fake_logged("INFO", " vesk_setLogDestinationSignal logifle=[/nowhere/log]\n"));
    EXPECT_EQ(vesk_get_vesk_info()->logFile, nullptr);
}

TEST(InboundSignals, ValueOfOneOrMoreSwitchesOn)
{
    for (int32_t value : { 1, 0x100, 0, INT32_MIN }) {
        fill_event_records();
        const uint8_t on = value >= 1;
        uint8_t *switches[] = { &vesk_get_scan_info()->scanEnable, &vesk_get_radio_info()->isIntfStatEnabled,
                                &vesk_get_vesk_info()->chChange.chEventEnable,
                                &vesk_get_sta_info()->isStaPollEnabled };
        for (uint8_t *flag : switches)
            *flag = !on;
        vesk_get_scan_info()->scanCfg[1].bstaAuto.enableAuto = on;
        ubus_object object = {};
        object.name = "vesk";
        vesk_get_vesk_info()->ubusObj = &object;
        for (size_t index : { 2, 4, 5, 6, 7 })
            deliver(index, changed(Bytes(5), 0, bytes_of(value))); // what follows the word doesn't count
        for (uint8_t *flag : switches)
            EXPECT_EQ(*flag, on) << value;
        EXPECT_EQ(vesk_get_scan_info()->scanCfg[1].bstaAuto.enableAuto, !on);
        EXPECT_EQ(fakeBus.calls.back(), on ? "ubus_add_object vesk" : "ubus_remove_object vesk");
    }
    fill_event_records();
    vesk_get_radio_info()->intfTriggerItv = 4;
    deliver(3, { 0 });
    fake_advance(3s);
    deliver(3, { 0 }); // a burst is pushed back
    EXPECT_EQ(fakeLoop.due(&vesk_get_radio_info()->intfEventTimer), 4000);
    EXPECT_TRUE(
        fake_logged("INFO", " radioInfo[0].intfTriggerItv = 4, radioInfo[0].intfSupportTrigger = 1\n"));
    deliver(8, Bytes(371, 0x33)); // cut to its size
    EXPECT_EQ(fakeBus.signals.back().payload, Bytes(370, 0x33));
}
