// The start-up dump: what stands in its blocks, and the copy of the log.
#include "source/vesk_main/vesk_main.h"

#include "source/vesk_main/log.h"
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
    const std::string r = " radio[1]->", c = " scanCfg[1]->", v = " vapInfo[15]->";
    for (const std::string &part :
         { r + "status = 1\n" + r + "band = 2\n" + r + "actualBand = 3\n" + r + "txPower = 17.500000\n" + r +
               "curChannel = 4\n" + r + "curBw = 5\n" + r + "intfNums = 6\n" + r + "bond = HT80\n" + r +
               "chListNums = 1000\n" + r + "curchList = 36 165 \n" + r + "radioIfname = wifi1\n" + r + "vapNums = 2\n" +
               r + "vapIfname = ath10 fifteen-letters \n",
           v + "radio = wifi1\n" + v + "ifName = ath10\n" + v + "mode = ap\n" + v + "bssid = 00:00:00:00:00:b1\n" + v +
               "status = 1\n" + v + "staNums = 7\n" + v + "band = 8\n",
           std::string("offScan->scanEnable = 1\n offScan->channelList = 36 40 \n offScan->channelNums = 2\n"),
           c + "radio = wifi1\n" + c + "offChList = 40 \n" + c + "offChListNums = 1\n" + c + "dwellMin = 11\n" + c +
               "dwellMax = 12\n" + c + "scanItv = 13\n" + c + "txThd = 14\n" + c + "rxThd = 15\n" + c +
               "isFirstScan = 1\n" + c + "noiseEval = 16\n",
           std::string(" local mac = \n local ip = \n work role = Controller\n dwell min = 55\n dwell max = 1000\n"
                       " dwell def min = 55\n dwell def max = 70\n scan def itv = 30\n scan def stu = 1\n"
                       " scan def first itv = 9\n radio intf update itd = 31\n radio intf update itv = 32\n"
                       " sta info update itd = 33\n sta info update itv = 34\n"),
           std::string(" ch=40,cac=1,inC=-2,chnUtil=33,noise=-91\n") })
        EXPECT_NE(text.find(part), std::string::npos) << part << text;
    const std::string neighbor =
        " ch=40, bssid=" + std::string(17, 'b') + ", ssid=" + std::string(64, 'b') + ", rssi=0\n";
    EXPECT_LT(text.find(neighbor), text.size());
    EXPECT_EQ(text.find(" ch=40, bssid"), text.rfind(" ch=40, bssid"));

    EXPECT_EQ(file_text("/tmp/vesk_init.log"), "as it stands\n");
    vesk_log_set_level(3), vesk_print();
    EXPECT_EQ(fakeLibc.systems, Texts(2, "cp -rf /tmp/vesk.log /tmp/vesk_init.log 2> /dev/null"));
}
