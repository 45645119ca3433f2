// The start-up dump: what stands in its blocks, and the copy of the log.
#include "tests/unit/common.h"

TEST(StateDump, ShowsTheModelAndSavesTheLogWhateverTheLevel) {
    fake_reset();
    VeskRadioInfo &radio = vesk_get_radio_info()[1];
    radio.status = 1, radio.band = 2, radio.actualBand = 3, radio.txPower = 17.5f, radio.curChannel = 4,
    radio.curBw = 5;
    radio.intfNums = 6, radio.chListNums = 1000, radio.apIntf.vapNums = 2; // more channels than there are
    strcpy(radio.bond, "HT80"), strcpy(radio.apIntf.radioIfname, "wifi1");
    memcpy(radio.curchList, "\x24\0\xa5", 3);
    memcpy(radio.apIntf.vapIfname, "ath10\0..........fifteen-letters", 32);
    vesk_get_radio_info()[0].intfTimeId = 31, vesk_get_radio_info()[0].intfPollItv = 32;
    vesk_get_sta_info()->timeId = 33, vesk_get_sta_info()->timeItv = 34;
    VeskVapInfo &vap = vesk_get_vap_info()[15];
    strcpy(vap.radio, "wifi1"), strcpy(vap.ifName, "ath10"), strcpy(vap.mode, "ap");
    vap.bssid[5] = 0xb1, vap.status = 1, vap.staNums = 7, vap.band = 8;
    VeskOffScanCfg &scan = *vesk_get_scan_info();
    scan.channelNums = 2, scan.scanEnable = 1, scan.firstScanItv = 9, scan.channelList[0] = 36,
    scan.channelList[1] = 40;
    VeskScanCfg &cfg = scan.scanCfg[1];
    strcpy(cfg.radio, "wifi1"), cfg.offChList[0] = 40, cfg.offChListNums = 1, cfg.dwellMin = 11, cfg.dwellMax = 12;
    cfg.scanItv = 13, cfg.txThd = 14, cfg.rxThd = 15, cfg.isFirstScan = 1, cfg.noiseEval = 16;
    VeskScanChannel none = {}, result = { 40, 1, -2, 33, -91, 0 }, *results[] = { &none, &result };
    VeskScanNeighbor ap = {};
    ap.ch = 40;
    memset(ap.bssid, 'b', 18 + 65); // neither text has an end
    std::vector<VeskScanNeighbor *> table(64 * 128);
    table[255] = table[256] = &ap; // the last used slot, and the first behind
    scan.channels = results, scan.neighbors = table.data();
    put_file("/tmp/vesk.log", "as it stands\n");
    vesk_print();

    std::string text;
    for (const std::string &message : messages()) text += message;
    const auto both_blank = [](char a, char b) { return a == ' ' && b == ' '; }; // padding is free
    text.erase(std::unique(text.begin(), text.end(), both_blank), text.end());
    const std::string neighbor = "bssid=" + std::string(17, 'b') + ", ssid=" + std::string(64, 'b') + ", rssi=0";
    const std::pair<std::string, Texts> blocks[] = {
        // what begins each line, and the lines
        { " radio[1]->",
          { "status = 1", "band = 2", "actualBand = 3", "txPower = 17.500000", "curChannel = 4", "curBw = 5",
            "intfNums = 6", "bond = HT80", "chListNums = 1000", "curchList = 36 165 ", "radioIfname = wifi1",
            "vapNums = 2", "vapIfname = ath10 fifteen-letters " } },
        { " vapInfo[15]->",
          { "radio = wifi1", "ifName = ath10", "mode = ap", "bssid = 00:00:00:00:00:b1", "status = 1", "staNums = 7",
            "band = 8" } },
        { " offScan->", { "scanEnable = 1", "channelList = 36 40 ", "channelNums = 2" } },
        { " scanCfg[1]->",
          { "radio = wifi1", "offChList = 40 ", "offChListNums = 1", "dwellMin = 11", "dwellMax = 12", "scanItv = 13",
            "txThd = 14", "rxThd = 15", "isFirstScan = 1", "noiseEval = 16" } },
        { " ",
          { "local mac = ", "local ip = ", "work role = Controller", "dwell min = 55", "dwell max = 1000",
            "dwell def min = 55", "dwell def max = 70", "scan def itv = 30", "scan def stu = 1",
            "scan def first itv = 9", "radio intf update itd = 31", "radio intf update itv = 32",
            "sta info update itd = 33", "sta info update itv = 34" } },
        { " ch=40", { ",cac=1,inC=-2,chnUtil=33,noise=-91" } },
        { " ch=40, ", { neighbor } }
    };
    for (const auto &[begin, lines] : blocks) {
        std::string block;
        for (const std::string &line : lines) block += begin + line + "\n";
        EXPECT_NE(text.find(block), std::string::npos) << block << text;
    }
    EXPECT_EQ(text.find(" ch=40, bssid"), text.rfind(" ch=40, bssid"));

    EXPECT_EQ(file_text("/tmp/vesk_init.log"), "as it stands\n");
    vesk_log_set_level(3), vesk_print();
    EXPECT_EQ(fakeLibc.systems, Texts(2, "cp -rf /tmp/vesk.log /tmp/vesk_init.log 2> /dev/null"));
}
