#include "tests/unit/fixtures.h"

struct FirstScan : ScanTest {
    void SetUp() override { ScanTest::SetUp(), vesk_init_scan_info(), calls(); }
};

TEST_F(FirstScan, ChannelByChannelAtTheToldSeconds) {
    fakeDevice.scan[6] = { 6, 0, 0, 30, -92, 1.0 };
    vap_of("ath0").status = 0; // ath1 carries the scan
    vesk_start_first_scan_ubus_timer(0, 1), vesk_start_first_scan_ubus_timer(1, 11);
    fake_advance(1s);
    Texts expected = { "setEnableNoiseFloor wifi0" };
    for (const std::string channel : { "1", "6", "11" })
        expected.insert(expected.end(),
                        { "triggerScan wifi0 channel=" + channel + " dwell=150 baseVap=ath1",
                          "getScanNeighborApOneChannel wifi0 " + channel, "getScanChannelResult wifi0" });
    expected.push_back("getCurChannelInfo wifi0");
    EXPECT_EQ(calls(), expected);
    EXPECT_EQ(fakeLibc.sleepsUs, std::vector<unsigned>(3, 500000));
    EXPECT_EQ(flags(0), (Numbers{ 0, 1, 0, 0 }));
    EXPECT_EQ(+vesk_scan_channel_at(1)->smoothedNoise, -86.0);
    fake_advance(9999ms);
    EXPECT_EQ(scan_cfg(1)->isFirstScan, 1);
    fake_advance(1ms);
    EXPECT_EQ(flags(1), (Numbers{ 0, 1, 0, 0 }));
}

TEST_F(FirstScan, SwitchedOffHalfWayLeavesTheRestToThePasses) {
    fakeLibc.onSleep = [](unsigned) { vesk_set_scan_status(0); };
    vesk_first_scanning(&radio[1].band);
    EXPECT_EQ(flags(1), (Numbers{ 0, 0, 1, 1 }));
    EXPECT_EQ(+vesk_scan_channel_at(6)->smoothedNoise, -50.0); // unscanned: raw 0, raised and bounded
    vesk_set_scan_status(1);
    vesk_scan_process(1); // goes on behind the first
    EXPECT_EQ(fakeDevice.calls("rilk_triggerScan").at(1).args, "wifi1 channel=40 dwell=150 baseVap=ath10");
}

TEST_F(FirstScan, Refusals) {
    int32_t outside = 2;
    vesk_first_scanning(nullptr);
    vesk_first_scanning(&outside);
    scan_cfg(1)->bstaAuto.enableAuto = 1;
    vesk_first_scanning(&radio[0].band);
    EXPECT_EQ(flags(0), (Numbers{ 1, 0, 0, 0 })); // still owed
    scan_cfg(1)->bstaAuto.enableAuto = 0;
    vap_of("ath0").status = vap_of("ath1").status = 0;
    vesk_first_scanning(&radio[0].band);
    EXPECT_EQ(flags(0), (Numbers{ 0, 0, 1, 0 }));
    EXPECT_EQ(calls(), (Texts{ "setEnableNoiseFloor wifi0", "getCurChannelInfo wifi0" }));
    restart(), vesk_init_scan_info();
    vesk_start_first_scan_ubus_timer(0, 1);
    fakeLibc.onSleep = [](unsigned) { vesk_scan_2G_first_ubus_handle(nullptr); }; // one run per radio
    fake_advance(1s);
    EXPECT_EQ(fakeDevice.count("rilk_triggerScan"), 3);
    EXPECT_EQ(fakeLoop.due(&scan_cfg(0)->firstTimer), 1000);
}

TEST_F(FirstScan, WhileASecondOneWaitsThePassesStandBack) {
    vesk_get_scan_state()->triggerCnt[0] = 1; // an owed first scan is no longer waited for
    int sleeps = 0;
    fakeLibc.onSleep = [&](unsigned) {
        if (sleeps++ == 0) vesk_retrigger_scan(0);
        fakeLoop.nowMs += 2000, fake_advance(0s); // the second one is due, and due again
        vesk_scan_process(0);
    };
    vesk_start_first_scan_ubus_timer(0, 1), fake_advance(1s);
    EXPECT_EQ(words(sleeps, fakeDevice.count("rilk_triggerScan")), "3 3 "); // the sweep's own
    EXPECT_EQ(std::ranges::count(messages(), " ====First scan is doing now return timer band=0 ====\n"), 3);
    fakeLibc.onSleep = nullptr, fake_advance(1s);
    EXPECT_EQ(fakeDevice.count("rilk_triggerScan"), 6);
    int asked = 0; // lines of the timer's handler: one for each time that a scan was asked for
    for (const FakeLogLine &line : fake_log_lines()) asked += line.function == "vesk_scan_2G_first_ubus_handle";
    EXPECT_EQ(asked, 2);
}

TEST_F(FirstScan, WholeBandWay) {
    // Channels of radio 1, read that finds their results (9: none), scan on, VAPs up; reads, milliseconds.
    using Row = std::array<int, 6>;
    for (auto [channels, arriveAt, isOn, isUp, reads, sleptMs] :
         { Row{ 4, 1, 1, 1, 1, 2400 }, Row{ 4, 3, 1, 1, 3, 10400 }, Row{ 4, 9, 1, 1, 4, 14400 },
           Row{ 0, 9, 1, 1, 1, 15000 }, Row{ 4, 1, 0, 1, 0, 0 }, Row{ 4, 1, 1, 0, 0, 0 } }) {
        SCOPED_TRACE(sleptMs);
        restart();
        strcpy(radio[1].chipName, "MTK7612");
        radio[1].chListNums = channels;
        vesk_init_scan_info();
        scan->scanEnable = static_cast<uint8_t>(isOn);
        vap_of("ath10").status = vap_of("ath11").status = static_cast<uint8_t>(isUp);
        fakeDevice.scan[6].ch = 6; // the other radio's result doesn't count
        fakeDevice.onCall = [arrival = arriveAt](const FakeCall &) {
            for (int ch = 36; fakeDevice.count("rilk_getScanChannelResult") == arrival && ch <= 48; ch += 4)
                fakeDevice.scan[ch] = { ch, 0, 0, ch, -92, 0.0 };
        };
        vesk_first_scanning(&radio[1].band);
        EXPECT_EQ(fakeDevice.count("rilk_getScanChannelResult"), reads);
        unsigned sleptUs = 0;
        for (unsigned us : fakeLibc.sleepsUs)
            sleptUs += us <= 500000 ? us : 0; // no sleep is deaf to the end for longer
        EXPECT_EQ(sleptUs, static_cast<unsigned>(sleptMs) * 1000u);
        EXPECT_EQ(fakeDevice.count("rilk_getScanNeighborApOneChannel"), reads ? channels : 0);
        EXPECT_EQ(flags(1), (Numbers{ 0, reads != 0, 0, 0 })); // an early end closes nothing
        EXPECT_EQ(radio[1].curChannelInfo.ccaIdle, arriveAt < 9 && reads ? 64 : 0);
    }
}

TEST_F(FirstScan, WholeBandWaySwitchedOffHalfWayAndItsPasses) {
    strcpy(radio[1].chipName, "MTK7612");
    for (int ch = 36; ch <= 48; ch += 4) fakeDevice.scan[ch] = { ch, 0, 0, ch, -92, 0.0 };
    fakeLibc.onSleep = [](unsigned us) {
        if (us == 100000 && fakeDevice.count("rilk_getScanNeighborApOneChannel") == 1) vesk_set_scan_status(0);
    };
    vesk_first_scanning(&radio[1].band);
    EXPECT_EQ(fakeDevice.count("rilk_getScanNeighborApOneChannel"), 2); // the second one was under way
    EXPECT_EQ(flags(1), (Numbers{ 0, 1, 0, 0 }));
    for (const int on : { 0, 1 }) { // a pass brings the operating channel's figures up to date
        radio[1].curChannelInfo = {};
        vesk_set_scan_status(1);
        fakeDevice.onCall = [&](const FakeCall &call) {
            if (call.name == "hul_EM_getWorkRole") vesk_set_scan_status(static_cast<uint32_t>(on));
        };
        vesk_scan_process(1);
        EXPECT_EQ(radio[1].curChannelInfo.ccaIdle, on ? 64 : 0);
    }
    EXPECT_EQ(fakeDevice.count("rilk_triggerScan"), 1);
}

TEST_F(FirstScan, EndTakesBothRadios) {
    using Row = std::tuple<int, const char *, uint32_t>;
    // Role; of each radio in turn status, isAcsEnabled, isFirstScan, isScanEnd; result.
    for (auto [role, bits, end] : { Row{ 2, "11011101", 1 }, Row{ 0, "11011101", 0 }, Row{ 2, "11011100", 0 },
                                    Row{ 2, "11011111", 0 }, Row{ 2, "01101010", 1 }, Row{ 2, "00011110", 0 } }) {
        fakeDevice.role = role;
        for (uint32_t i = 0; i < 2; i++) {
            const char *bit = bits + i * 4;
            radio[i].status = bit[0] == '1', radio[i].isAcsEnabled = bit[1] == '1';
            set_flags(i, bit[2] == '1', bit[3] == '1', 0);
        }
        EXPECT_EQ(vesk_first_scanning_is_end(), end) << bits;
        EXPECT_EQ(vesk_get_vesk_info()->workRole, 0); // the record's role isn't touched
    }
}
