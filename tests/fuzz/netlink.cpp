// What the kernel answers: how it arrives, then contents of messages, which every reader of a dump gets.
#include "platform/nl80211/bss.h"
#include "platform/nl80211/iface.h"
#include "platform/nl80211/station.h"
#include "platform/nl80211/survey.h"
#include "platform/nl80211/wiphy.h"
#include "tests/fuzz/input.h"
#include "tests/nl80211/fake_kernel.h"

#include <cstring>

using namespace radio;

void fuzz_one(FuzzInput in) {
    FakeKernel kernel;
    Reply reply = { .flags = static_cast<uint16_t>(in.byte() & NLM_F_DUMP_INTR) };
    if (const uint8_t cut = in.byte()) reply.cutTo = cut;
    while (in.left > 0) reply.messages.push_back(in.piece());
    for (const uint8_t command : { NL80211_CMD_GET_INTERFACE, NL80211_CMD_GET_WIPHY, NL80211_CMD_GET_STATION,
                                   NL80211_CMD_GET_SURVEY, NL80211_CMD_GET_SCAN, NL80211_CMD_GET_REG })
        kernel.on(command, reply);
    LocalList<Iface> interfaces;
    LocalList<Station> stations;
    LocalList<Survey> surveys;
    LocalList<Bss> networks;
    Wiphy wiphy;
    char country[3] = "";
    iface_list(interfaces);
    station_list(1, stations);
    survey_list(1, surveys);
    bss_list(1, networks);
    wiphy_country(0, country);
    const size_t limit = reply.messages.size();
    fuzz_expect(interfaces.count <= limit && stations.count <= limit && surveys.count <= limit &&
                networks.count <= limit);
    for (const Iface &iface : interfaces) fuzz_expect(memchr(iface.name, 0, sizeof iface.name) && iface.index != 0);
    if (wiphy_read(0, wiphy) == 0) fuzz_expect(wiphy.count <= wiphyChannels);
}
