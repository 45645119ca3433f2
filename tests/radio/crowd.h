// As many stations as a radio can have, for the tests and for the figures of scripts/bench --radios.
#pragma once

#include <gtest/gtest.h>
#include <linux/nl80211.h>
#include <net/if.h>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>

/** Stations without radios on an access point, in the kernel only. */
struct Crowd {
    nl_sock *socket = nl_socket_alloc();
    int family;
    unsigned ifindex;
    Crowd(const char *bss, unsigned count) : ifindex(if_nametoindex(bss)) {
        genl_connect(socket);
        family = genl_ctrl_resolve(socket, "nl80211");
        for (unsigned i = 0; i < count; i++) EXPECT_EQ(send(NL80211_CMD_NEW_STATION, i), 0) << i;
    }
    ~Crowd() {
        send(NL80211_CMD_DEL_STATION, 0);
        nl_socket_free(socket);
    }
    int send(uint8_t command, unsigned i) {
        nl_msg *message = nlmsg_alloc();
        genlmsg_put(message, 0, 0, family, 0, NLM_F_ACK, command, 0);
        nla_put_u32(message, NL80211_ATTR_IFINDEX, ifindex);
        if (command == NL80211_CMD_NEW_STATION) {
            const uint8_t mac[6] = { 2, 1, 1, 1, static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i) }, rate = 0x8c;
            constexpr uint32_t in = 1u << NL80211_STA_FLAG_AUTHORIZED | 1u << NL80211_STA_FLAG_AUTHENTICATED |
                                    1u << NL80211_STA_FLAG_ASSOCIATED;
            const nl80211_sta_flag_update flags = { in, in };
            nla_put(message, NL80211_ATTR_MAC, 6, mac);
            nla_put(message, NL80211_ATTR_STA_SUPPORTED_RATES, 1, &rate);
            nla_put_u16(message, NL80211_ATTR_STA_LISTEN_INTERVAL, 10);
            nla_put_u16(message, NL80211_ATTR_STA_AID, static_cast<uint16_t>(i + 1));
            nla_put(message, NL80211_ATTR_STA_FLAGS2, sizeof flags, &flags);
        }
        return nl_send_sync(socket, message);
    }
};
