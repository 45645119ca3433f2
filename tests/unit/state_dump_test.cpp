// The start-up dump: what stands in its blocks, and the copy of the log.
#include "source/vesk_main/vesk_main.h"

#include "source/vesk_main/log.h"
#include "tests/unit/common.h"

TEST(StateDump, ShowsTheModelAndSavesTheLogWhateverTheLevel) {
    fake_reset();
    VeskRadioInfo &radio = vesk_get_radio_info()[1];
    radio.txPower = 17.5f, radio.apIntf.vapNums = 2, radio.chListNums = 1000; // more than there are
    memcpy(radio.curchList, "\x24\0\xa5", 3);
    memcpy(radio.apIntf.vapIfname, "ath10\0..........fifteen-letters", 32);
    VeskOffScanCfg &scan = *vesk_get_scan_info();
    scan.channelNums = 2;
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
    for (const std::string part :
         { "radio[1]->txPower = 17.500000\n", "curchList = 36 165 \n", "vapIfname = ath10 fifteen-letters \n",
           "= Controller\n dwell min = 55\n", " ch=40,cac=1,inC=-2,chnUtil=33,noise=-91\n" })
        EXPECT_NE(text.find(part), std::string::npos) << part << text;
    const std::string neighbor =
        " ch=40, bssid=" + std::string(17, 'b') + ", ssid=" + std::string(64, 'b') + ", rssi=0\n";
    EXPECT_TRUE(text.find(neighbor) < text.size() && text.find(" ch=40, bssid") == text.rfind(" ch=40, bssid"));

    EXPECT_EQ(file_text("/tmp/vesk_init.log"), "as it stands\n");
    vesk_log_set_level(3), vesk_print();
    EXPECT_EQ(fakeLibc.systems, Texts(2, "cp -rf /tmp/vesk.log /tmp/vesk_init.log 2> /dev/null"));
}
