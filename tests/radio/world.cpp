#include "tests/radio/world.h"

#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

static std::string run(const std::string &command) {
    std::string text;
    FILE *pipe = popen((". /etc/radio/words.sh; " + command + " 2>&1").c_str(), "r");
    char part[4096];
    for (size_t length; pipe && (length = fread(part, 1, sizeof part, pipe)) > 0;) text.append(part, length);
    if (pipe) pclose(pipe);
    return text;
}

std::string sh(const std::string &command) {
    return of_moment(command, [&] { return run(command); });
}

std::string read_file(const std::string &path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool within(std::chrono::milliseconds span, const std::function<bool()> &question, std::chrono::milliseconds pause) {
    // A question costs the host some milliseconds, waiting nothing: it is asked often at first, then less.
    const auto begin = Clock::now();
    for (Clock::duration passed{}; !question(); passed = Clock::now() - begin) {
        if (passed >= span) return false;
        std::this_thread::sleep_for(std::max<Clock::duration>(pause, passed / 16));
    }
    return true;
}

std::vector<std::string> find_all(const std::string &text, const std::string &pattern, size_t most) {
    static std::map<std::string, std::regex> compiled; // takes longer than most searches
    const auto flags = std::regex::ECMAScript | std::regex::multiline;
    const std::regex &expression = compiled.try_emplace(pattern, pattern, flags).first->second;
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end && found.size() < most;
         ++match)
        found.push_back(match->str(match->size() > 1 ? 1 : 0));
    return found;
}

std::string find(const std::string &text, const std::string &pattern) {
    const auto found = find_all(text, pattern, 1);
    return found.empty() ? "" : found[0];
}

std::string join_words(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

std::string hostapd(const std::string &bss, const std::string &command) {
    return sh("hostapd_cli -p /run/hostapd -i " + bss + " " + command);
}

std::string supplicant(const std::string &interface, const std::string &command) {
    return sh("wpa_cli -p /run/station -i " + interface + " " + command);
}

Joined::Joined(const std::string &name, int network) : interface(name) {
    supplicant(interface, "select_network " + std::to_string(network));
    EXPECT_TRUE(within(20s, [&] {
        return supplicant(interface, "status").find("wpa_state=COMPLETED") != std::string::npos;
    })) << interface;
}

Joined::~Joined() { supplicant(interface, "disconnect"); }

bool start_world() {
    sh("cp /etc/radio/kor-product-cfg.json /etc/radio/vesk-radio.json /usr/etc/"); // read by libraries and daemon
    struct Step {
        const char *what, *command, *question; // the question's output ends with "yes"
    };
    static const Step steps[] = {
        { "regulatory domain", "iw reg set US", "iw reg get | grep -q 'country US' && echo yes" },
        { "radios under test", "start_hostapd",
          "test -S /run/hostapd/wlan0s && test -S /run/hostapd/wlan1o && grep -q up /sys/class/net/wlan0/operstate &&"
          " grep -q up /sys/class/net/wlan1/operstate && echo yes" },
        { "backhaul station's interface", "iw phy phy0 interface add bsta0 type managed",
          "test -e /sys/class/net/bsta0 && echo yes" },
        { "radar on channel 60", "hostapd -B -P /run/radar.pid /etc/radio/radar.conf",
          "grep -q up /sys/class/net/wlan5/operstate && echo yes" },
        { "its non-occupancy", "echo 1 > /sys/kernel/debug/ieee80211/phy5/hwsim/dfs_simulate_radar",
          "iw phy phy1 channels | grep -q 'DFS state: unavailable' && kill $(cat /run/radar.pid) && echo yes" },
        { "neighbours", "hostapd -B -f /tmp/neighbor.log /etc/radio/neighbor24.conf /etc/radio/neighbor5.conf",
          "grep -q up /sys/class/net/wlan4/operstate && grep -q up /sys/class/net/wlan5/operstate && echo yes" },
        { "telephone", "wpa_supplicant -B -i wlan2 -c /etc/radio/phone.conf -f /tmp/phone.log",
          "test -S /run/station/wlan2 && echo yes" },
        { "mesh node", "wpa_supplicant -B -i wlan3 -c /etc/radio/agent.conf -f /tmp/agent.log",
          "test -S /run/station/wlan3 && echo yes" },
    };
    for (const Step &step : steps) {
        const std::string said = sh(step.command);
        if (within(90s, [&] { return sh(step.question) == "yes\n"; })) continue;
        fprintf(stderr, "%s: %s: %s\n", step.what, step.command, said.c_str());
        return false;
    }
    return true;
}
