// The client of the control sockets, and vesk-radio.json, which says where they are; see talks/ctrl.rows.
#include "platform/nl80211/ctrl.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/nl80211/config.h"
#include "tests/nl80211/talk.h"

using namespace radio;

namespace {

char reply[64] = "untouched";

const std::map<std::string, Talk::Call> calls = {
    { "ctrl_ask",
      [](const Texts &words) {
          return ctrl_ask_interface(CtrlPeer::accessPoint, words.at(0).c_str(), words.at(1).c_str(), reply,
                                    sizeof reply);
      } },
    { "ctrl_tell",
      [](const Texts &words) {
          return ctrl_tell(CtrlPeer::accessPoint, words.at(0).c_str(), "%s %s", words.at(1).c_str(),
                           spoken(words.at(2)).c_str());
      } },
    { "config_get", [](const Texts &) { return config_forget(), config_get(), 0; } }, // reads the file again
};

Texts settings(const Config &config) {
    std::ostringstream text;
    for (int i = 0; i < radioCount; i++) {
        const RadioConfig &radio = config.radios[i];
        const std::string name = "radios[" + std::to_string(i) + "].";
        text << name << "phy=" << radio.phy << " " << name << "enabled=" << radio.enabled << " " << name
             << "acs=" << radio.acs << " " << name << "chip=" << radio.chip << " " << name << "excluded=";
        for (size_t at = 0; at < radio.excludedCount; at++) text << (at ? "," : "") << +radio.excluded[at];
        text << " ";
    }
    text << "role=" << config.role << " roleFile=" << config.roleFile << " hostapdDir=" << config.hostapdDir
         << " wpaDir=" << config.wpaDir << " monitor=" << config.monitor << " csaCount=" << config.csaCount;
    for (const char *file : config.hostapdConfig) text << " hostapdConfig=" << file;
    return split(text.str());
}

/** The settings that aren't what an empty file gives. */
std::string changes() {
    std::string changed;
    const Texts now = settings(config_get()), usual = settings({});
    for (size_t i = 0; i < now.size(); i++)
        if (now[i] != usual.at(i)) changed += (changed.empty() ? "" : " ") + now[i];
    return changed.empty() ? "nothing" : changed;
}

struct Ctrl : Talk {
    Ctrl() {
        add_peer("wlan0", "/run/hostapd", { { "", "OK\n" } });
        add_calls(calls);
        steps["reply"] = [](const std::string &text) { EXPECT_EQ(reply, spoken(quoted(text))); };
        steps["config"] = [](const std::string &rest) { EXPECT_EQ("== " + changes(), rest); };
    }
};

TEST(Ctrl, Talks) { run_talks<Ctrl>("ctrl.rows"); }

TEST(Ctrl, NobodyToAsk) {
    Ctrl c;
    strcpy(reply, "untouched");
    EXPECT_EQ(ctrl_ask(("/" + std::string(107, 'x')).c_str(), "PING", reply, sizeof reply), ctrlNobody);
    EXPECT_TRUE(c.logged("path of a control socket is too long"));
    const std::string stale = c.root + "/stale"; // left behind by one that was killed
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    stale.copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    close(fd);
    EXPECT_EQ(ctrl_ask(stale.c_str(), "PING", reply, sizeof reply), ctrlNobody);
    EXPECT_STREQ(reply, "untouched");
}

} // namespace
