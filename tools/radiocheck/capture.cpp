#include "tools/radiocheck/capture.h"

#include <cstring>
#include <filesystem>

#include <linux/genetlink.h>

#include "platform/nl80211/config.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/netlink.h"
#include "platform/nl80211/station.h"
#include "tools/client/json.h"
#include "tools/client/text.h"
#include "tools/radiocheck/anonymous.h"
#include "tools/radiocheck/output.h"

namespace
{
namespace fs = std::filesystem;

struct Exchange {
    std::string key; // the request's content
    std::vector<std::vector<uint8_t>> messages;
};

struct Spoken {
    std::string socket, command, reply;
};

/** The last answer to a request stays, in place of the earlier ones. */
struct Kept {
    std::vector<Exchange> exchanges;
    std::vector<Spoken> spoken;
} kept;

void keep_message(const nlmsghdr *message)
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(message);
    std::vector<uint8_t> whole(bytes, bytes + message->nlmsg_len);
    if (message->nlmsg_flags & NLM_F_REQUEST && message->nlmsg_type >= NLMSG_MIN_TYPE) {
        const std::string key(whole.begin() + NLMSG_HDRLEN, whole.end());
        std::erase_if(kept.exchanges, [&](const Exchange &each) { return each.key == key; });
        kept.exchanges.push_back({ key, {} });
    }
    if (!kept.exchanges.empty())
        kept.exchanges.back().messages.push_back(std::move(whole));
}

void keep_reply(const char *socket, const char *command, const char *reply)
{
    const std::string name = fs::path(socket).filename();
    std::erase_if(kept.spoken, [&](const Spoken &s) { return s.socket == name && s.command == command; });
    kept.spoken.push_back({ name, command, reply });
}

/** The header stays, but for the numbers of one socket; so does a generic message's own header. */
void make_anonymous(std::vector<uint8_t> &message, Anonymous &anonymous)
{
    nlmsghdr header;
    memcpy(&header, message.data(), sizeof header);
    header.nlmsg_seq = header.nlmsg_pid = 0;
    if (header.nlmsg_type == NLMSG_ERROR) { // the request stands in it once more
        header.nlmsg_len = NLMSG_HDRLEN + sizeof(int);
        message.resize(header.nlmsg_len);
    }
    memcpy(message.data(), &header, sizeof header);
    constexpr size_t head = NLMSG_HDRLEN + GENL_HDRLEN;
    if (header.nlmsg_type < NLMSG_MIN_TYPE || message.size() <= head)
        return;
    std::vector<uint8_t> content(message.begin() + head, message.end());
    anonymous.attributes(content);
    std::copy(content.begin(), content.end(), message.begin() + head);
}

std::string netlink_text(Anonymous &anonymous)
{
    std::string text;
    for (const Exchange &exchange : kept.exchanges)
        for (std::vector<uint8_t> message : exchange.messages) {
            make_anonymous(message, anonymous);
            message.resize(NLMSG_ALIGN(message.size()));
            text.append(message.begin(), message.end());
        }
    return text;
}

/** "SOCKET COMMAND", and the reply's lines behind a tab. */
std::string control_text(Anonymous &anonymous)
{
    std::string text;
    for (const Spoken &each : kept.spoken) {
        text += anonymous.name(each.socket) + " " + anonymous.words(each.command) + "\n";
        for (const std::string &line : lines_of(anonymous.reply(each.reply)))
            text += "\t" + line + "\n";
    }
    return text;
}

/** "PATH VALUE" below /sys/class, a link with its last part. */
std::string sys_text(Anonymous &anonymous)
{
    std::string text;
    const auto add = [&](const std::string &shown, const std::string &real) {
        text += shown + " " + first_line("/sys/class/" + real) + "\n";
    };
    for (const auto &entry : fs::directory_iterator("/sys/class/net")) {
        const std::string name = entry.path().filename(), real = "net/" + name,
                          shown = "net/" + anonymous.name(name);
        if (!fs::exists(entry.path() / "phy80211"))
            continue;
        for (const char *file : { "/ifindex", "/operstate", "/phy80211/index" })
            add(shown + file, real + file);
        for (const char *counter : counterNames)
            if (counter)
                add(shown + "/statistics/" + counter, real + "/statistics/" + counter);
    }
    for (const auto &entry : fs::directory_iterator("/sys/class/ieee80211")) {
        const std::string name = entry.path().filename(), path = "ieee80211/" + anonymous.name(name);
        std::error_code error;
        add(path + "/index", "ieee80211/" + name + "/index");
        text += path + "/macaddress " + anonymous.mac(first_line(entry.path() / "macaddress")) + "\n";
        text += path + "/device/driver " +
                fs::read_symlink(entry.path() / "device/driver", error).filename().string() + "\n";
    }
    return text;
}

struct Said {
    std::string of;
    Values values;
};

/** Everything once, the stations of an access point last: what is kept is what each value came from. */
std::vector<Said> say_all(std::vector<SaidRadio> &radios)
{
    std::vector<Said> all;
    radios = said_radios();
    for (const SaidRadio &radio : radios) {
        all.push_back({ radio.name, said_of_radio(radio) });
        for (const std::string &vap : radio.vaps) {
            all.push_back({ vap, said_of_vap(vap) });
            for (const std::string &mac : said_stations(vap))
                all.push_back({ vap + " " + mac, said_of_station(vap, mac) });
        }
    }
    return all;
}

std::string said_text(const std::vector<Said> &all, Anonymous &anonymous)
{
    Json json = Json::object();
    for (const Said &each : all) {
        Json object = Json::object();
        for (const Value &value : each.values.all)
            object.put(value.name.c_str(),
                       value.name == "SSID" ? anonymous.ssid(value.text) : anonymous.words(value.text));
        json.put(anonymous.words(each.of).c_str(), std::move(object));
    }
    return json.pretty() + "\n";
}
/** Which phy is which radio, and the channels that are left out. */
std::string config_text(const std::vector<SaidRadio> &radios, Anonymous &anonymous)
{
    Json list = Json::array();
    for (int index = 0; index < radio::radioCount; index++) {
        Json object = Json::object();
        Json excluded = Json::array();
        const radio::RadioConfig &config = radio::config_get().radios[index];
        for (const SaidRadio &each : radios)
            if (each.index == index)
                object.put("phy", anonymous.name(each.name));
        for (size_t i = 0; i < config.excludedCount; i++)
            excluded.push(Json::number(config.excluded[i]));
        object.put("excluded", std::move(excluded));
        list.push(std::move(object));
    }
    Json all = Json::object();
    all.put("radios", std::move(list));
    return all.pretty() + "\n";
}

/** The order of the access points. */
std::string product_text(const std::vector<SaidRadio> &radios, Anonymous &anonymous)
{
    Json rows = Json::array();
    for (const SaidRadio &each : radios) {
        Json vaps = Json::array();
        for (const std::string &vap : each.vaps) {
            Json row = Json::object();
            row.put("InterfaceName", anonymous.name(vap));
            vaps.push(std::move(row));
        }
        Json radio = Json::object();
        radio.put("Vap", std::move(vaps));
        rows.push(std::move(radio));
    }
    Json parameters = Json::object();
    parameters.put("Wifi", std::move(rows));
    Json all = Json::object();
    all.put("ProductParameters", std::move(parameters));
    return all.pretty() + "\n";
}
} // namespace

bool capture(const std::string &folder, std::string &error)
{
    std::error_code made;
    if (!fs::create_directory(folder, made)) {
        error = folder + (made ? ": " + made.message() : " is there already");
        return false;
    }
    radio::station_forget(); // hostapd is asked once for each station
    radio::netlink_tap(keep_message);
    radio::ctrl_tap(keep_reply);
    std::vector<SaidRadio> radios;
    const std::vector<Said> all = say_all(radios);
    radio::netlink_tap(nullptr);
    radio::ctrl_tap(nullptr);
    Anonymous anonymous;
    const std::string sys = sys_text(anonymous); // names first
    netlink_text(anonymous);                     // then all addresses, before anything is written
    const std::pair<const char *, std::string> files[] = {
        { "netlink", netlink_text(anonymous) },
        { "sys", sys },
        { "control", control_text(anonymous) },
        { "vesk-radio.json", config_text(radios, anonymous) },
        { "kor-product-cfg.json", product_text(radios, anonymous) },
        { "said.json", said_text(all, anonymous) }
    };
    for (const auto &[name, text] : files)
        if (!write_by_rename(folder + "/" + name, text, error))
            return false;
    return true;
}
