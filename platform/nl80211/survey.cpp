#include "platform/nl80211/survey.h"

#include <algorithm>
#include <cerrno>

#include "platform/nl80211/netlink.h"

namespace radio
{

namespace
{

void add_survey(const Attributes &answer, List<Survey> &surveys)
{
    if (!answer[NL80211_ATTR_SURVEY_INFO])
        return;
    nlattr *values[NL80211_SURVEY_INFO_MAX + 1];
    attr_nested(answer[NL80211_ATTR_SURVEY_INFO], values);
    Survey survey = {};
    const auto counter = [&](int attr, uint64_t &value) {
        value = attr_value<uint64_t>(values[attr]);
        return attr_bytes(values[attr]).size() >= sizeof value;
    };
    survey.frequency = attr_value<uint32_t>(values[NL80211_SURVEY_INFO_FREQUENCY]);
    survey.inUse = values[NL80211_SURVEY_INFO_IN_USE] != nullptr;
    survey.noise = attr_value<int8_t>(values[NL80211_SURVEY_INFO_NOISE]);
    survey.hasNoise = survey.noise != 0;
    survey.hasTime = counter(NL80211_SURVEY_INFO_TIME, survey.time);
    survey.hasBusy = counter(NL80211_SURVEY_INFO_TIME_BUSY, survey.busy);
    survey.hasRx = counter(NL80211_SURVEY_INFO_TIME_RX, survey.rx);
    survey.hasTx = counter(NL80211_SURVEY_INFO_TIME_TX, survey.tx);
    survey.hasBssRx = counter(NL80211_SURVEY_INFO_TIME_BSS_RX, survey.bssRx);
    counter(NL80211_SURVEY_INFO_TIME_EXT_BUSY, survey.extBusy);
    if (survey.frequency != 0)
        list_add(surveys, survey);
}

int percent(uint64_t part, uint64_t whole)
{
    return static_cast<int>(std::min(part, whole) * 100 / whole);
}

} // namespace

int survey_list(uint32_t ifindex, List<Survey> &surveys)
{
    const Query query = { .command = NL80211_CMD_GET_SURVEY, .dump = true, .ifindex = ifindex };
    const int status = netlink_read<List<Survey>>(query, add_survey, surveys,
                                                  [](List<Survey> &result) { result.count = 0; });
    return status == -EOPNOTSUPP ? 0 : status;
}

Load survey_load(const Survey &before, const Survey &now)
{
    Load load = {};
    if (before.frequency != now.frequency || !before.hasTime || !now.hasTime || now.time <= before.time)
        return load;
    const uint64_t time = now.time - before.time;
    if (before.hasBusy && now.hasBusy && now.busy >= before.busy) {
        load.busyKnown = true;
        load.busy = percent(now.busy - before.busy, time);
    }
    const bool bss = before.hasBssRx && now.hasBssRx;
    const uint64_t heardBefore = bss ? before.bssRx : before.rx;
    const uint64_t heard = bss ? now.bssRx : now.rx;
    if (before.hasTx && now.hasTx && (bss || (before.hasRx && now.hasRx)) && now.tx >= before.tx &&
        heard >= heardBefore) {
        load.ownKnown = true;
        load.own = percent(now.tx - before.tx + (heard - heardBefore), time);
    }
    return load;
}

} // namespace radio
