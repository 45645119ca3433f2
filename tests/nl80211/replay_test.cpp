// What radio-check captured on a device, replayed: the library has to make the same of it again. An owner's capture
// becomes a fixture by being copied to tests/nl80211/captures; whoever mends a fault corrects its said.json.
#include <filesystem>

#include "platform/nl80211/config.h"
#include "platform/nl80211/device.h"
#include "platform/nl80211/station.h"
#include "tests/nl80211/world.h"
#include "tools/client/json.h"
#include "tools/client/text.h"
#include "tools/radiocheck/anonymous.h"
#include "tools/radiocheck/output.h"
#include "tools/radiocheck/said.h"

namespace fs = std::filesystem;

namespace {

struct Replay : World {
    std::map<std::string, std::unique_ptr<FakeHostapd>> sockets;
    std::map<std::tuple<uint8_t, bool, uint32_t, int>, Reply> answers;

    void load(const fs::path &folder) {
        remove("/sys");
        put("/usr/etc/vesk-radio.json", content_of(folder / "vesk-radio.json"));
        put("/tmp/kor-product-cfg.json", content_of(folder / "kor-product-cfg.json"));
        radio::config_forget();
        radio::device_forget();
        radio::station_forget();
        load_sys(content_of(folder / "sys"));
        load_control(content_of(folder / "control"));
        load_netlink(content_of(folder / "netlink"));
        for (const auto &[key, reply] : answers)
            kernel.on(std::get<0>(key), [this](const Asked &asked) {
                const auto found = answers.find({ asked.command, asked.dump, asked.ifindex, asked.wiphy });
                return found == answers.end() ? Reply{ {}, -ENODEV } : found->second;
            });
    }

    void load_sys(const std::string &lines) {
        for (const std::string &line : lines_of(lines)) {
            const size_t blank = line.find(' ');
            const std::string path = "/sys/class/" + line.substr(0, blank), value = line.substr(blank + 1);
            path.ends_with("/driver") ? link(path, "/drivers/" + value) : put(path, value + "\n");
        }
    }

    void load_control(const std::string &lines) {
        std::map<std::string, std::map<std::string, std::string>> replies;
        std::string *reply = nullptr;
        for (const std::string &line : lines_of(lines)) {
            const size_t blank = line.find(' ');
            if (line[0] == '\t')
                *reply += line.substr(1) + "\n";
            else
                reply = &replies[line.substr(0, blank)][line.substr(blank + 1)];
        }
        for (const auto &[name, rows] : replies)
            sockets[name] = std::make_unique<FakeHostapd>(root + "/run/hostapd/" + name, rows);
    }

    void load_netlink(const std::string &stream) {
        Reply *reply = nullptr;
        for (Blob &message : messages_of(stream)) {
            auto *header = reinterpret_cast<nlmsghdr *>(message.data());
            if (header->nlmsg_flags & NLM_F_REQUEST && header->nlmsg_type >= NLMSG_MIN_TYPE) {
                const Asked asked = read_request(header);
                reply = &answers[{ asked.command, asked.dump, asked.ifindex, asked.wiphy }];
            } else if (header->nlmsg_type == NLMSG_ERROR) {
                reply->error = static_cast<nlmsgerr *>(NLMSG_DATA(header))->error;
            } else if (header->nlmsg_type >= NLMSG_MIN_TYPE) {
                reply->messages.emplace_back(message.begin() + NLMSG_HDRLEN + 4, message.end());
            }
        }
    }
};

/** Each value of the fixture; counters of /sys ran on while they were written. */
void compare(const cJSON *expected, const Values &said, const std::string &of) {
    ASSERT_NE(expected, nullptr) << of;
    for (const Value &value : said.all) {
        const cJSON *text = cJSON_GetObjectItemCaseSensitive(expected, value.name.c_str());
        const bool runs = std::count_if(std::begin(counterNames), std::end(counterNames),
                                        [&](const char *name) { return name && value.name == name; }) > 0;
        ASSERT_TRUE(cJSON_IsString(text)) << of << " " << value.name;
        EXPECT_TRUE(runs || value.text == text->valuestring) << of << " " << value.name << ": " << value.text;
    }
}

TEST_F(Replay, TheLibrarySaysTheSame) {
    size_t values = 0;
    for (const auto &entry : fs::directory_iterator(VESK_CAPTURES)) {
        SCOPED_TRACE(entry.path());
        load(entry.path());
        const Json expected = Json::parse(content_of(entry.path() / "said.json").c_str());
        const auto check = [&](const std::string &of, const Values &said) {
            compare(expected.at(of.c_str()), said, of);
            values += said.all.size();
        };
        for (const SaidRadio &radio : said_radios()) {
            check(radio.name, said_of_radio(radio));
            for (const std::string &vap : radio.vaps) {
                check(vap, said_of_vap(vap));
                for (const std::string &mac : said_stations(vap)) check(vap + " " + mac, said_of_station(vap, mac));
            }
        }
    }
    EXPECT_GT(values, 150u);
}

TEST(Capture, TellsNothingOfAnybody) {
    Anonymous anonymous;
    const std::string name = anonymous.name("wlan0"), ssid = anonymous.ssid("Lindenhof");
    EXPECT_EQ(anonymous.name("wlan0.sta1"), name + ".sta1");
    EXPECT_EQ(anonymous.name("phy0"), "phy0");
    EXPECT_EQ(anonymous.reply("12:22:33:44:55:66\nssid=Lindenhof\npassphrase=secret\nidentity=a\nflags=[HT]\n"),
              anonymous.mac("12:22:33:44:55:66") + "\nssid=" + ssid + "\npassphrase=xxxxxx\nidentity=x\nflags=[HT]\n");
    const uint64_t counter = 0x665544332212; // the same bytes as the address
    const uint8_t address[6] = { 0x12, 0x22, 0x33, 0x44, 0x55, 0x66 };
    Blob content = join({ text(NL80211_ATTR_IFNAME, "wlan0"), attribute(NL80211_ATTR_SSID, "Lindenhof", 9),
                          attribute(NL80211_ATTR_MAC, address, 6),
                          nest(NL80211_ATTR_STA_INFO, { number(1, counter), attribute(2, address, 6) }),
                          attribute(NL80211_ATTR_IE, "name", 4) });
    uint8_t other[6];
    ASSERT_TRUE(parse_mac(anonymous.mac("12:22:33:44:55:66"), other));
    anonymous.attributes(content);
    EXPECT_EQ(content, join({ text(NL80211_ATTR_IFNAME, name), attribute(NL80211_ATTR_SSID, ssid.data(), 9),
                              attribute(NL80211_ATTR_MAC, other, 6),
                              nest(NL80211_ATTR_STA_INFO, { number(1, counter), attribute(2, other, 6) }),
                              attribute(NL80211_ATTR_IE, "\0\0\0\0", 4) }));
}

} // namespace
