// The wrapper over libnl: every way in which an answer can go wrong.
#include "platform/nl80211/iface.h"
#include "platform/nl80211/netlink.h"
#include "platform/nl80211/station.h"
#include "platform/nl80211/survey.h"
#include "platform/nl80211/wiphy.h"
#include "tests/nl80211/world.h"

using namespace radio;

namespace {

struct Kernel : World {};

TEST_F(Kernel, RecordedInterfaces) {
    LocalList<Iface> interfaces;
    ASSERT_EQ(iface_list(interfaces), 0);
    ASSERT_EQ(interfaces.count, 8u); // two of the ten are wireless devices without a name
    for (size_t i = 1; i < interfaces.count; i++) EXPECT_LT(interfaces.items[i - 1].index, interfaces.items[i].index);
    const Iface &five = interfaces.items[1];
    EXPECT_STREQ(five.name, "wlan1");
    EXPECT_STREQ(five.ssid, "vesk5");
    EXPECT_EQ(std::tuple(five.wiphy, five.frequency, five.width, five.power), std::tuple(1, 5180u, 3, 2300));
}

struct FaultCase {
    const char *name;
    Reply reply;
    int status;
};
const FaultCase faults[] = {
    { "refused", { {}, -EPERM }, -EPERM },
    { "no such device", { {}, -ENODEV }, -ENODEV },
    { "no answer", { .messages = {}, .lost = true }, -EIO },
    { "cut inside a header", { .messages = { interface(1, 0, 3, "wlan0", 0, 1) }, .cutTo = 10 }, -EIO },
    { "cut inside the content", { .messages = { interface(1, 0, 3, "wlan0", 0, 1) }, .cutTo = 40 }, -EIO },
    { "interrupted again and again",
      { .messages = { interface(1, 0, 3, "wlan0", 0, 1) }, .flags = NLM_F_DUMP_INTR },
      netlinkInterrupted },
    { "interrupted, with nothing in it", { .messages = {}, .flags = NLM_F_DUMP_INTR }, netlinkInterrupted },
    { "a message without attributes", { .messages = { {} } }, 0 },
    { "an attribute that runs over", { .messages = { { 0xff, 0xff, 3, 0, 1, 0, 0, 0 } } }, 0 },
    { "attributes shorter than their numbers",
      { .messages = { join({ attribute(NL80211_ATTR_IFINDEX, "ab", 2), text(NL80211_ATTR_IFNAME, "wlan0") }) } },
      0 },
};

TEST_F(Kernel, FaultyAnswers) {
    for (const FaultCase &c : faults) {
        SCOPED_TRACE(c.name);
        kernel.on(NL80211_CMD_GET_INTERFACE, c.reply);
        LocalList<Iface> interfaces;
        EXPECT_EQ(iface_list(interfaces), c.status);
        if (c.status == 0) {
            EXPECT_EQ(interfaces.count, 0u);
        }
        kernel.on(NL80211_CMD_GET_INTERFACE, { recorded("iface") });
        EXPECT_EQ(iface_list(interfaces), 0) << "the next request is none the worse";
        EXPECT_EQ(interfaces.count, 8u);
    }
}

TEST_F(Kernel, AnInterruptedDumpIsReadAgain) {
    int times = 0;
    kernel.on(NL80211_CMD_GET_INTERFACE, [&](const Asked &) {
        return Reply{ { interface(1, 0, 3, "wlan0", 0, 1) },
                      0,
                      ++times < 3 ? uint16_t{ NLM_F_DUMP_INTR } : uint16_t{ 0 } };
    });
    LocalList<Iface> interfaces;
    EXPECT_EQ(iface_list(interfaces), 0);
    EXPECT_EQ(interfaces.count, 1u);
    EXPECT_EQ(times, 3);
}

TEST_F(Kernel, StationsThatChangedMeanwhileAreReadAgain) {
    int times = 0;
    kernel.on(NL80211_CMD_GET_STATION, [&](const Asked &) {
        const auto generation = [&](uint32_t n) { return number<uint32_t>(NL80211_ATTR_GENERATION, n); };
        times++;
        return Reply{ { join({ generation(7), mac(NL80211_ATTR_MAC, 1) }),
                        join({ generation(times < 2 ? 8 : 7), mac(NL80211_ATTR_MAC, 2) }) } };
    });
    LocalList<Station> stations;
    EXPECT_EQ(station_list(2, stations), 0);
    EXPECT_EQ(std::pair(stations.count, times), std::pair(size_t{ 2 }, 2));
}

TEST_F(Kernel, WithoutNl80211AndBackAgain) {
    LocalList<Iface> interfaces;
    kernel.present = false;
    for (int i = 0; i < 6; i++) EXPECT_LT(iface_list(interfaces), 0); // kept sockets, then new ones
    EXPECT_EQ(iface_list(interfaces), -ENODEV);
    EXPECT_EQ(rilk_initDriver(), -1);
    kernel.present = true;
    EXPECT_EQ(rilk_initDriver(), 0);
}

TEST_F(Kernel, RecordedWiphyHasTheBandsThatCount) {
    Wiphy wiphy;
    ASSERT_EQ(wiphy_read(4, wiphy), 0);
    const auto limits = [&](int band, int channel) { return int{ wiphy_channel(wiphy, band, channel)->limits }; };
    EXPECT_EQ(limits(0, 6), limitNo80 | limitNo160);
    EXPECT_EQ(limits(1, 36) | limits(1, 165), 0);
    EXPECT_EQ(limits(1, 60), limitRadar);
    EXPECT_TRUE(wiphy_channel(wiphy, 0, 12)->disabled);
    EXPECT_TRUE(wiphy_channel(wiphy, 1, 60)->unavailable) << "where radar was";
    EXPECT_FALSE(wiphy_channel(wiphy, 1, 64)->unavailable);
    for (size_t i = 0; i < wiphy.count; i++) EXPECT_LT(wiphy.channels[i].frequency, 5900) << "6 GHz";
    EXPECT_FALSE(wiphy.scanDwell);
}

TEST_F(Kernel, NetworksAndSurveyAsRecorded) {
    LocalList<Survey> surveys;
    ASSERT_EQ(survey_list(2, surveys), 0);
    ASSERT_EQ(surveys.count, 2u);
    const Survey &scanned = surveys.items[0];
    EXPECT_EQ(std::tuple(scanned.frequency, int{ scanned.noise }, scanned.inUse, scanned.hasTime),
              std::tuple(2412u, -92, false, true));
    EXPECT_FALSE(scanned.hasRx || scanned.hasTx || scanned.hasBssRx);
    kernel.on(NL80211_CMD_GET_SURVEY, { {}, -EOPNOTSUPP });
    EXPECT_EQ(survey_list(2, surveys), 0) << "a driver without survey";
    EXPECT_EQ(surveys.count, 0u);
}

} // namespace
