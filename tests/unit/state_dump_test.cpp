// The start-up dump: what stands in its blocks, and the copy of the log.
#include "source/vesk_main/vesk_main.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "tests/fakes/fakes.h"
#include "tests/unit/test_files.h"

namespace
{
/** All messages, with runs of blanks made one: the padding inside a block is free. */
std::string dump()
{
    vesk_print();
    std::string text;
    for (const FakeLogLine &line : fake_log_lines())
        text += line.level + line.function == "INFOvesk_print" ? line.message : "?";
    const auto both_blank = [](char a, char b) { return a == ' ' && b == ' '; };
    text.erase(std::unique(text.begin(), text.end(), both_blank), text.end());
    return text;
}

TEST(StateDump, ShowsTheModelAndSavesTheLogWhateverTheLevel)
{
    fake_reset();
    VeskRadioInfo &radio = vesk_get_radio_info()[1];
    radio.txPower = 17.5f;
    radio.chListNums = 1000; // more than there are
    memcpy(radio.curchList, "\x24\0\xa5", 3);
    radio.curchList[63] = 40;
    radio.apIntf.vapNums = 2;
    memcpy(radio.apIntf.vapIfname, "ath10\0..........fifteen-letters", 32);
    memcpy(vesk_get_vap_info()[3].ifName, "v", 2);
    vesk_get_vap_info()[3].bssid[0] = 0xab;
    VeskOffScanCfg &scan = *vesk_get_scan_info();
    scan.channelNums = 2;
    scan.channelList[1] = 40;
    VeskScanChannel none = {}, result = { 40, 1, -2, 33, -91, 0 }, *results[] = { &none, &result };
    VeskScanNeighbor ap = {};
    ap.ch = 40;
    memset(ap.bssid, 'b', 18 + 65); // neither text has an end
    std::vector<VeskScanNeighbor *> table(64 * 128);
    table[255] = table[256] = &ap; // the last used slot, and the first behind
    scan.channels = results;
    scan.neighbors = table.data();
    put_file("/tmp/vesk.log", "as it stands\n");

    const std::string text = dump(), ap17(17, 'b'), ap64(64, 'b');
    std::istringstream parts(
        "radio[0]->vapIfname = \n|radio[1]->txPower = 17.500000\n|curchList = 36 165 40 \n|"
        "radio[1]->vapIfname = ath10 fifteen-letters \n|channelList = 40 \n|"
        "vapInfo[3]->bssid = ab:00:00:00:00:00\n|= Controller\n dwell min = 55\n|"
        " ch=40,cac=1,inC=-2,chnUtil=33,noise=-91\n ch=40, bssid=" +
        ap17 + ", ssid=" + ap64 + ", rssi=0\n");
    for (std::string part; std::getline(parts, part, '|');)
        EXPECT_NE(text.find(part), std::string::npos) << part << text;
    size_t heads = 0; // a VAP, three scan blocks, two table rows
    for (const char *head : { "VeskVapInfo info :", "VeskOffScanCfg info :", " ch=", "?" })
        for (size_t at = text.find(head); at != std::string::npos; at = text.find(head, at + 1))
            heads++;
    EXPECT_EQ(heads, 6u);

    EXPECT_EQ(file_text("/tmp/vesk_init.log"), "as it stands\n");
    fake_clear_log();
    vesk_log_set_level(3);
    EXPECT_EQ(dump(), "");
    EXPECT_EQ(fakeLibc.systems.at(1), "cp -rf /tmp/vesk.log /tmp/vesk_init.log 2> /dev/null");
}
} // namespace
