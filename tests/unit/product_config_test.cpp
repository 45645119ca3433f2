// The product configuration: every key lands in its field, and a file that is wrong in part or in whole.
#include "tests/unit/common.h"

namespace {
const char overriding[] = "/tmp/kor-product-cfg.json", product[] = "/usr/etc/kor-product-cfg.json";

int load(const std::string &json) {
    fake_reset();
    put_file(overriding, json);
    return vesk_load_platform_config();
}

TEST(ProductConfig, EachKeyLandsInItsField) {
    // clang-format off
    load(R"({"Version":"V","PRODUCTparameters":{"ModelName":"mn","1905EnabledInterfaceNames":"eth0,ath0","MAPProfile":3,
        "NumberOfWifiRadios":4,"NumberOfEthernetPorts":70000,"Ethernet":[{"PhysicalPortNumber":300,"MaxBitRate":2500,"InterfaceName":"eth1"},7],
        "Wifi":[{"HTShortGI20MHz":"Supporte","HTShortGI40MHz":1,"HT40MHz":true,"VHT160MHz":"Not Supported","VHTShortGI80MHz":"supported"},
        {"OperatingFrequencyBand":"5GHZ","MaxSupportedSSIDs":16,"SupportedStandards":"st",
        "HTShortGI20MHz":"Supported","HTShortGI40MHz":"Supported","HT40MHz":"Supported by all","HTNumberOfTxStreams":2,
        "HTNumberOfRxStreams":3,"VHTShortGI80MHz":"Supported","VHTShortGI160And80+80MHz":"Supported",
        "VHTNumberOfTxStreams":4,"VHTNumberOfRxStreams":5,"VHT80+80MHz":"Supported","VHT160MHz":"Supported",
        "VHTSUBeamFormer":"Supported","VHTMUBeamFormer":"Supported","VHTTxMCS":65530,"VHTRxMCS":65531,"HEULMUMIMO":"Supported",
        "HEULMUMIMOOFDMA":"Supported","HEDLMUMIMOOFDMA":"Supported","HEULOFDMA":"Supported","HEDLOFDMA":"Supported",
        "HENumberOfTxStreams":6,"HENumberOfRxStreams":7,"HE80+80MHz":"Supported","HE160MHz":"Supported","HESUBeamFormer":
        "Supported","HEMUBeamFormer":"Supported","HEMCS":{"RxMapLE80MHz":11,"TxMapLE80MHz":12,"RxMap160MHz":13,
        "TxMap160MHz":14,"RxMap80+80MHz":15,"TxMap80+80MHz":65552},"Vap":[{"DataModelIndex":9,"InterfaceName":"a.v0",
        "Mode":"ap"},{"Mode":"sta"}],"NoiseBias":[{"ChannelBandwidth":"20MHz","NoiseBiasIndBm":-7,"RssiBiasIndBm":1}],
        "RssiBias":[{},{"ChannelBandwidth":"40MHz","RssiBiasIndBm":5}],"NoCATBias":-3}],
        "KorApplicationList":{"a":"yes","n":1,"b":"yesterday","c":"Yes"}}})");
    const VeskConfigInfo &cfg = *vesk_get_vesk_cfg_info();
    const VeskCfgWifi &w = cfg.Wifi[1];
    const VeskCfgApp *app = cfg.KorApplicationList;
    EXPECT_EQ(words(cfg.Version, cfg.ModelName, cfg.EnabledInterfaceNames1905, cfg.Ethernet[0].InterfaceName,
                    w.OperatingFrequencyBand, w.SupportedStandards, w.Vap[0].InterfaceName, w.Vap[1].Mode,
                    w.NoiseBias[0].ChannelBandwidth, w.RssiBias[1].ChannelBandwidth, app[1].moduleName),
              "V mn eth0,ath0 eth1 5GHZ st a.v0 sta 20MHz 40MHz b ");
    EXPECT_EQ(words(+cfg.MAPProfile, cfg.NumberOfWifiRadios, cfg.NumberOfEthernetPorts, +cfg.ethernetNum,
                    +cfg.Ethernet[0].PhysicalPortNumber, cfg.Ethernet[0].MaxBitRate, +cfg.wifiNum, +w.MaxSupportedSSIDs,
                    w.VHTTxMCS, w.VHTRxMCS, +w.vapNum, +w.Vap[0].DataModelIndex, +w.NoiseBias[0].BiasIndBm,
                    +w.RssiBias[1].BiasIndBm, +w.NoCATBias, +cfg.appNum, +app[0].loadEnable, +app[1].loadEnable,
                    +app[2].loadEnable, +cfg.Wifi[0].heMcsLen),
              "3 4 70000 2 44 2500 2 16 65530 65531 2 9 -7 5 -3 3 1 1 0 12 ");
    // clang-format on
    // Bytes that stand side by side in the order of the keys.
    EXPECT_EQ(bytes_at(&w.HTShortGI20MHz, 13), (Bytes{ 1, 1, 1, 2, 3, 1, 1, 4, 5, 1, 1, 1, 1 }));
    EXPECT_EQ(bytes_at(&cfg.Wifi[0].HTShortGI20MHz, 13), Bytes(13)); // none says "Supported"
    EXPECT_EQ(bytes_at(&w.HEULMUMIMO, 12), (Bytes{ 1, 1, 1, 1, 1, 6, 7, 1, 1, 1, 1, 12 }));
    EXPECT_EQ(bytes_of(w.HEMCS), Bytes(12).u16(0, 11, 12, 13, 14, 15, 16));
    for (const char *line : { "VHT80+80MHz [Supported] int [1]", "PhysicalPortNumber [44]", "TxMap80+80MHz [16]",
                              "VHTTxMCS [65530]", "NoCATBias [-3]", "NumberOfEthernetPorts [70000]" }) // as stored
        EXPECT_TRUE(fake_logged("INFO", std::string(" Checking ") + line + "\n")) << line;
    EXPECT_EQ(vesk_get_cfg_band_idx(3), 1);
    EXPECT_EQ(vesk_get_cfg_band_idx(0), -1);
    EXPECT_TRUE(fake_logged("ERROR", " Get vesk config band index failed\n"));
}

/** A file whose parameters begin with `count` elements between two texts. */
std::string many(const char *open, const char *element, int count, const char *close) {
    std::string list = "{\"Version\":\"v\",\"ProductParameters\":{";
    for (int i = 0; i < count; i++) list += (i ? "," : open) + std::string(element);
    return list + close + ",\"ModelNumber\":5,\"modelname\":0,\"ModelName\":\"0123456789012345678901234567890123\"}}";
}

TEST(ProductConfig, AFaultyFileIsReadAsFarAsItGoes) {
    const char bias[] = "{\"NoiseBiasIndBm\":1,\"RssiBiasIndBm\":1}";
    // clang-format off
    const struct { std::string json; const char *error; bool loaded; } cases[] = { // error "": none
        { "", " Failed to read the config file\n", false },
        { "{\"Version\":\"v\",", "", false },
        { "{\"Version\":\"v\"}", " No ProductParameters\n", false },
        { many("\"Ethernet\":[", "{}", 7, "]"), " Out range ethernet ports [6]\n", true },
        { many("\"Ethernet\":[", "{}", 6, "]"), "", true },
        { many("\"Wifi\":[", "{}", 3, "]"), " Out range WiFi ports [2]\n", true },
        { many("\"Wifi\":[{\"Vap\":[", "{}", 9, "]}]"), " Out range Vap ports [8]\n", true },
        { many("\"Wifi\":[{\"NoiseBias\":[", bias, 4, "]}]"), " Out range NoiseBias [3]\n", true },
        { many("\"Wifi\":[{\"RssiBias\":[", bias, 4, "]}]"), "", true },
        { many("\"KorApplicationList\":{\"n\":1,", "\"a\":\"\"", 17, "}"), " Out range appList [16]\n", true },
        { many("\"Wifi\":\"x\",\"Ethernet\":{},\"KorApplicationList\":[", "\"yes\"", 1, "]"), "", true },
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.json);
        EXPECT_EQ(load(c.json), c.loaded ? 0 : -1);
        const VeskConfigInfo &cfg = *vesk_get_vesk_cfg_info();
        EXPECT_STREQ(cfg.ModelName, c.loaded ? "0123456789012345678901234567890" : ""); // cut to 31
        EXPECT_EQ(cfg.ModelNumber[0] | cfg.Wifi[0].NoCATBias, 0);
        EXPECT_EQ(messages("ERROR"), *c.error ? Texts{ c.error } : Texts{});
        const int rows = std::max({ cfg.ethernetNum, cfg.wifiNum, cfg.Wifi[0].vapNum, cfg.appNum });
        EXPECT_TRUE(rows <= 1 || rows == 6 || strstr(c.error, ("[" + std::to_string(rows)).c_str())) << rows;
    }
}

TEST(ProductConfig, TheFileIsChosenByExistence) {
    put_file(product, R"({"Version":"usr","ProductParameters":{}})");
    EXPECT_EQ(load(""), -1); // the broken one in /tmp wins
    unlink(overriding);
    EXPECT_EQ(vesk_load_platform_config(), 0);
    EXPECT_STREQ(vesk_get_vesk_cfg_info()->Version, "usr");
    fakeLibc.failAlloc = 0;
    EXPECT_EQ(vesk_load_platform_config(), -1);
    EXPECT_TRUE(fake_logged("ERROR", " No enough memory\n"));
    unlink(product);
    EXPECT_EQ(vesk_load_platform_config(), -1);
    EXPECT_TRUE(fake_logged("ERROR", " Database open failed: /usr/etc/kor-product-cfg.json\n"));
}

TEST(ProductConfig, LeavesNothingBehind) {
    const auto load_all = [](int times) { // the lowest free descriptor, bytes of the heap
        for (int i = 0; i < times; i++)
            for (const char *text : { "", "{", R"({"Version":"v"})", R"({"ProductParameters":{"ModelName":"m"}})" })
                load(text);
        const int free = dup(0);
        close(free);
        return std::pair(free, mallinfo2().uordblks);
    };
    const auto before = load_all(2), after = load_all(50);
    EXPECT_EQ(after.first, before.first);
    EXPECT_LT(after.second, before.second + 4096);
    unlink(overriding);
}
} // namespace
