// What a row calls by name: a field of the model, of the product configuration, of the fakes. fields.inc lists them.
#pragma once

#include "tests/record_text.h"
#include "tests/unit/bus_call.h"
#include "tests/unit/fixtures.h"

struct Field {
    void *at = nullptr;
    size_t size = 0;
    void (*write)(void *at, const std::string &text) = nullptr;
    std::string (*show)(const void *at) = nullptr;

    void set(const std::string &text) const { write(at, text); }
    /** Whether writing this text would change nothing; of a list only the values that are named count. Numbers are the
     * same if they look the same: fractions may differ in their last bit. */
    bool is(const std::string &text) const {
        std::vector<uint8_t> changed = bytes_at(at, size);
        write(changed.data(), text);
        return memcmp(changed.data(), at, size) == 0 || (size <= sizeof(double) && show(changed.data()) == show(at));
    }
};

/** A text or a list of texts, each in a field of this size; what stands behind its end stays, as drivers do it, and one
 * that fills its field has none. */
template <size_t SIZE>
void write_texts(void *at, const std::string &text) {
    auto *field = static_cast<char *>(at);
    for (const std::string &word : text.empty() ? Texts{ "" } : split(text)) {
        const std::string letters = plain(word);
        memcpy(field, letters.c_str(), std::min(SIZE, letters.size() + 1));
        field += SIZE;
    }
}

template <class T>
void write_numbers(void *at, const std::string &text) {
    for (const std::string &word : split(text)) {
        const T value = number<T>(word);
        memcpy(at, &value, sizeof value);
        at = static_cast<T *>(at) + 1;
    }
}

/** A field as T declares it: a text, a number, a list of either, or a record given as its bytes. */
template <class T>
Field field(void *at) {
    using Element = std::remove_all_extents_t<T>;
    if constexpr (std::is_same_v<T, std::string>) {
        return { at, 0, [](void *to, const std::string &text) { *static_cast<std::string *>(to) = plain(text); },
                 nullptr };
    } else if constexpr (std::is_same_v<Element, char>) {
        constexpr size_t SIZE = std::extent_v<T, std::rank_v<T> - 1>;
        return { at, sizeof(T), write_texts<SIZE>, [](const void *text) {
                    return std::string(static_cast<const char *>(text), strnlen(static_cast<const char *>(text), SIZE));
                } };
    } else if constexpr (std::is_arithmetic_v<Element>) {
        return { at, sizeof(T), write_numbers<Element>, [](const void *values) {
                    std::string all;
                    for (size_t i = 0; i < sizeof(T) / sizeof(Element) && i < 16; i++) {
                        Element value;
                        memcpy(&value, static_cast<const Element *>(values) + i, sizeof value);
                        all += words(+value);
                    }
                    return all;
                } };
    } else {
        return { at, sizeof(T),
                 [](void *record, const std::string &text) {
                     const Bytes bytes = record_of(text);
                     ASSERT_EQ(bytes.size(), sizeof(T));
                     memcpy(record, bytes.data(), sizeof(T));
                 },
                 [](const void *) { return std::string("other bytes"); } };
    }
}

/** MACs of stations differ behind a zero byte only. */
inline Bytes stored_mac(uint8_t last) { return { 2, 0, 1, 1, 1, last }; }

inline VeskStaEntry *stored_station(const std::string &last) {
    static VeskStaEntry none;
    auto *found =
        static_cast<VeskStaEntry *>(kvhmgr_get(&vesk_get_sta_info()->staDb, stored_mac(number<uint8_t>(last)).data()));
    return found ? found : &(none = {});
}

/** The tables' record of a channel. */
inline VeskScanChannel *result_of(const std::string &channel) {
    static VeskScanChannel none;
    const VeskOffScanCfg &scan = *vesk_get_scan_info();
    const int at = vesk_find_channel_idx(number<uint32_t>(channel), scan.channelList, scan.channelNums);
    VeskScanChannel *found = vesk_scan_channel_at(at);
    return found ? found : &(none = {});
}

/** The event station's request on a channel; only if it is asked for, since looking for it is logged. */
inline VeskStaMon *request_on(const std::string &channel, bool isAsked) {
    static VeskStaMon none;
    VeskStaMon *found = isAsked ? vesk_sta_mon_get(STA.data(), number<int>(channel)) : nullptr;
    return found ? found : &(none = {});
}

/** The field of this name, as radio[1].curBw; not there: `at` is null. */
inline Field find_field(const std::string &path) {
    const size_t dot = path.find('.'), open = std::min(path.find('['), dot);
    const std::string owner = path.substr(0, open),
                      member = path.substr(dot == std::string::npos ? path.size() : dot + 1);
    const std::string index = open < dot ? path.substr(open + 1, dot - open - 2) : "0";
    const size_t second = index == "1";
    VeskRadioInfo &radio = vesk_get_radio_info()[second];
    VeskScanCfg &cfg = vesk_get_scan_info()->scanCfg[second];
    VeskCfgWifi &wifi = vesk_get_vesk_cfg_info()->Wifi[second];
    const int slot = vesk_getVapIdxByName(index.c_str());
    VeskVapInfo &vap = vesk_get_vap_info()[slot < 0 ? 0 : slot];
    VeskOffScanCfg &scan = *vesk_get_scan_info();
    VeskStaInfo &stations = *vesk_get_sta_info();
    VeskInfo &vesk = *vesk_get_vesk_info();
    VeskConfigInfo &product = *vesk_get_vesk_cfg_info();
    FakeRadio &driver = fakeDevice.radio[second];
    FakeVap *found = fakeDevice.vap(index);
    FakeVap &access = found ? *found : fakeDevice.vaps.front();
    VeskDot1qCfg &vlan = *vesk_get_dot1q_cfg();
    VeskScanChannel &result = *result_of(index);
    VeskStaMon &monitored = *request_on(index, owner == "monitored");
    FakeDevice &device = fakeDevice;
    FakeBus &bus = fakeBus;
    FakeLibc &libc = fakeLibc;
    VeskStaEntry &station = *stored_station(index);
    VeskStaEntry &joined = access.stations.empty() ? station : access.stations.back().entry;
#define FIELD(name, part)                                                                                              \
    if (owner == #name && member == #part) return field<decltype(name.part)>(&(name.part));
#include "tests/unit/fields.inc"
    return {};
}
