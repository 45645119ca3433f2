// The nine switches: what each payload changes, and what a wrong one doesn't.
#include "tests/unit/fixtures.h"

static void deliver(size_t index, Bytes payload) {
    const MerkaSignalRow &row = vesk_inbound_signals()[index];
    row.handler(row.interface, row.signal, payload.data(), static_cast<int>(payload.size()));
}

static void deliver_log_setting(size_t index, uint32_t level, const std::string &destination) {
    deliver(index, Bytes(36).i32(0, level).text(4, destination));
}

TEST(InboundSignals, RefuseWhatIsMissingOrShort) {
    // clang-format off
    const std::tuple<std::string, std::string, size_t> rows[] = { // signal, handler, bytes
        { "setLogLevel", "setLogLevelSignal", 36 }, { "setLogDestination", "setLogDestinationSignal", 36 },
        { "setScanEnable", "setScanEnableSignal", 4 }, { "notifyWlanChange", "notifyWlanChange", 0 },
        { "setIntfStatEnable", "setIntfStatEnableSignal", 4 }, { "setStaEnable", "setStaEnableSignal", 4 },
        { "setChannelChangeEnable", "setChannelChangeEnableSignal", 4 }, { "setUbusObjSignal", "setUbusObjSignal", 4 },
        { "notifyIEEE1905VlanIntfChange", "notifyIEEE1905VlanInftChange", 370 } };
    // clang-format on
    for (size_t i = 0; i < 9; i++) {
        const auto &[signal, handler, wants] = rows[i];
        const std::string name = "vesk_" + handler, sizes = words(" Size =", wants - 1, "sizeof =", wants);
        SCOPED_TRACE(name);
        fill_event_records();
        const MerkaSignalRow &row = vesk_inbound_signals()[i];
        EXPECT_EQ(words(row.index, row.signal, row.interface), words(i, signal, "tamlo.pelk.vesk"));
        row.handler(nullptr, nullptr, nullptr, 0);
        EXPECT_TRUE(fake_logged("INFO", (i < 2 ? " " + name : "") + " interface=, signal= size=0\n", name));
        Texts errors = { " Bus buf is NULL\n\n" };
        if (wants) {
            deliver(i, Bytes(wants - 1, 1));
            errors.push_back(sizes.substr(0, sizes.size() - 1) + ", parameter mismatched\n\n");
        }
        EXPECT_EQ(messages("ERROR"), errors);
        EXPECT_EQ(words(fakeBus.signals.size(), fakeBus.calls.size(), fakeDevice.log.size(), fakeLoop.pendingTimers(),
                        vesk_get_vesk_info()->logLevel),
                  "0 0 0 0 7 ");
    }
}

TEST(InboundSignals, LogLevelAndDestination) {
    VeskInfo &vesk = *vesk_get_vesk_info();
    // clang-format off
    using Row = std::tuple<uint32_t, int, std::string, std::string>; // level; logLevel then, for the library, whose on stderr
    for (const auto &[level, now, args, whose] :
         { Row{ 0, 0, "", "vesk.log" }, Row{ 7, 7, "", "vesk.log" }, Row{ 8, 5, "", "" }, Row{ 9, 5, "0", "rilk_update_debuglevel" },
           Row{ 16, 5, "7", "rilk_update_debuglevel" }, Row{ 17, 5, "", "" }, Row{ 99, 7, "7", "vesk.log" }, Row{ UINT32_MAX, 5, "", "" } }) {
        // clang-format on
        fill_event_records(), vesk.logLevel = 5;
        const FILE *before = vesk.logFile;
        deliver_log_setting(0, level, "stderr");
        EXPECT_EQ(vesk.logLevel, now) << level;
        EXPECT_EQ(vesk.logFile, level == 99 ? stderr : before);
        const std::string text = " vesk_setLogLevelSignal level=[",
                          shown = args.empty() ? std::to_string(static_cast<int>(level)) : args;
        EXPECT_EQ(fake_stderr(), whose.empty() ? "" : whose + text + shown + "]\r\n");
        EXPECT_EQ(fakeDevice.log.empty() ? "" : fakeDevice.log[0].args, args) << level;
        EXPECT_EQ(fake_logged("ERROR", text + shown + "] is out range\n"), whose.empty()) << level;
    }
    vesk.logFile = nullptr, vesk.logLevel = 6;
    const std::string path = "/tmp/" + std::string(26, 'p');
    deliver_log_setting(1, 0, path + "x"); // fills the field: its last byte ends the text
    EXPECT_EQ(remove(path.c_str()), 0);
    deliver_log_setting(1, 0, "stderr");
    EXPECT_TRUE(fake_logged("INFO", " vesk_setLogDestinationSignal logFile=stderr, level=[6]\n"));
    deliver_log_setting(1, 0, "/nowhere/log");
    EXPECT_TRUE(fake_logged("INFO", " vesk_setLogDestinationSignal logifle=[/nowhere/log]\n"));
    EXPECT_EQ(vesk.logFile, nullptr);
}

TEST(InboundSignals, ValueOfOneOrMoreSwitchesOn) {
    VeskRadioInfo &radio = *vesk_get_radio_info();
    VeskInfo &vesk = *vesk_get_vesk_info();
    VeskBstaAuto &autoConnect = vesk_get_scan_info()->scanCfg[1].bstaAuto;
    uint8_t *switches[] = { &vesk_get_scan_info()->scanEnable, &radio.isIntfStatEnabled, &vesk.chChange.chEventEnable,
                            &vesk_get_sta_info()->isStaPollEnabled };
    for (int32_t value : { 1, 0x100, 0, INT32_MIN }) {
        fill_event_records();
        const uint8_t on = value >= 1;
        for (uint8_t *flag : switches) *flag = !on;
        autoConnect.enableAuto = on;
        ubus_object object = {};
        object.name = "vesk";
        vesk.ubusObj = &object;
        for (const unsigned index : { 2u, 4u, 5u, 6u, 7u })
            deliver(index, Bytes(5).i32(0, value)); // what follows the word doesn't count
        for (uint8_t *flag : switches) EXPECT_EQ(*flag, on) << value;
        EXPECT_EQ(autoConnect.enableAuto, !on);
        EXPECT_EQ(fakeBus.calls.back(), on ? "ubus_add_object vesk" : "ubus_remove_object vesk");
    }
    fill_event_records();
    radio.intfTriggerItv = 4;
    deliver(3, { 0 }), fake_advance(3s), deliver(3, { 0 }); // a burst is pushed back
    EXPECT_EQ(fakeLoop.due(&radio.intfEventTimer), 4000);
    for (const uint8_t more : { uint8_t{ 0 }, uint8_t{ 1 } }) { // cut to its size
        deliver(8, Bytes(size_t{ 370 } + more, more));
        ASSERT_EQ(fakeBus.signals.size(), 1u + more);
        EXPECT_EQ(fakeBus.signals.back().payload, Bytes(370, more));
    }
}
