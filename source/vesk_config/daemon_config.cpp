// The daemon configuration: KEY=value lines that set every tunable. Outside debug mode the file is written
// anew from the built-in text at each start. Each key is a row: default before the file, accepted range,
// fallback for everything else, target. A key counts wherever it stands in a line, so a commented-out line is
// read, too.
#include "source/vesk_config/vesk_config.h"

#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <unistd.h>

#include "foundation/bytes.h"
#include "foundation/shared.h"
#include "foundation/vesk_utils.h"
#include "include/hul.h"
#include "include/rilk.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"

#define CONFIG_DIR "/configs/vesk"
#define CONFIG_FILE CONFIG_DIR "/vesk.conf"
#define DEBUG_FLAG CONFIG_DIR "/vesk_debug_flag"
namespace
{
constexpr char stepOf[] = "vesk_load_cfg"; // the steps below log under its name

constexpr char builtInText[] = "VESK_SCAN_24G_INTERVAL=60\n"
                               "VESK_SCAN_5GL_INTERVAL=60\n"
                               "VESK_SCAN_5GH_INTERVAL=60\n"
                               "VESK_SCAN_5GA_INTERVAL=60\n"
                               "VESK_SCAN_24G_DWELL_MIN=55\n"
                               "VESK_SCAN_24G_DWELL_MAX=150\n"
                               "VESK_SCAN_5GL_DWELL_MIN=55\n"
                               "VESK_SCAN_5GL_DWELL_MAX=150\n"
                               "VESK_SCAN_5GH_DWELL_MIN=55\n"
                               "VESK_SCAN_5GH_DWELL_MAX=150\n"
                               "VESK_SCAN_5GA_DWELL_MIN=55\n"
                               "VESK_SCAN_5GA_DWELL_MAX=150\n"
                               "VESK_SCAN_24G_TX_THRESHOLD=10\n"
                               "VESK_SCAN_24G_RX_THRESHOLD=10\n"
                               "VESK_SCAN_5GL_TX_THRESHOLD=10\n"
                               "VESK_SCAN_5GL_RX_THRESHOLD=10\n"
                               "VESK_SCAN_5GH_TX_THRESHOLD=10\n"
                               "VESK_SCAN_5GH_RX_THRESHOLD=10\n"
                               "VESK_SCAN_5GA_TX_THRESHOLD=10\n"
                               "VESK_SCAN_5GA_RX_THRESHOLD=10\n"
                               "VESK_SCAN_24G_NOISE_EVALUATE=5\n"
                               "VESK_SCAN_5GL_NOISE_EVALUATE=5\n"
                               "VESK_SCAN_5GH_NOISE_EVALUATE=5\n"
                               "VESK_SCAN_5GA_NOISE_EVALUATE=5\n"
                               "VESK_SCAN_FIRST_INTERVAL=10\n"
                               "VESK_SCAN_CONFIG=1\n"
                               "VESK_LOG_LEVEL=6\n"
                               "VESK_LOG_SINK=0\n"
                               "VESK_RILK_LOG_LEVEL=3\n"
                               "VESK_UPDATE_INTF_ENABLE=0\n"
                               "VESK_TRIGGER_INTF_INTERVAL=3\n"
                               "VESK_UPDATE_INTF_STAT_ENABLE=1\n"
                               "VESK_UPDATE_INTF_STAT_INTERVAL=29\n"
                               "VESK_UPDATE_CLIENTS_ENABLE=1\n"
                               "VESK_UPDATE_CLIENTS_INTERVAL=13\n"
                               "VESK_UPDATE_CLIENTS_THRESHOLD=80\n"
                               "VESK_CH_CHANGE_ENABLE=1\n"
                               "VESK_CH_CHANGE_INTERVAL=5"; // echo ends the last line
static_assert(sizeof builtInText == 1053 + 1);

/** A field of VeskScanCfg: the word that names it, and the field. Rows stand in the order of matching. */
struct ScanField {
    const char *keyword;
    int before, low, high, fallback;
    size_t offset; // of an i32
};

constexpr ScanField scanFields[] = {
    // keyword    before                  low              high             fallback                field
    { "INTERVAL", VESK_SCAN_ITV_DEFAULT, 5, 3600, VESK_SCAN_ITV_DEFAULT, offsetof(VeskScanCfg, scanItv) },
    { "DWELL_MIN", VESK_DWELL_MIN_DEFAULT, VESK_DWELL_LOW, VESK_DWELL_HIGH, VESK_DWELL_MIN_DEFAULT,
      offsetof(VeskScanCfg, dwellMin) },
    { "DWELL_MAX", VESK_DWELL_MAX_DEFAULT, VESK_DWELL_LOW, VESK_DWELL_HIGH, VESK_DWELL_MAX_DEFAULT,
      offsetof(VeskScanCfg, dwellMax) },
    { "TX_THD", 50, 0, 100, 50, offsetof(VeskScanCfg, txThd) },
    { "RX_THD", 50, 0, 100, 50, offsetof(VeskScanCfg, rxThd) },
    { "NOISE_EVAL", 5, 0, 100, 5, offsetof(VeskScanCfg, noiseEval) },
};

#define SCAN_KEYS(band)                                                                                      \
    {                                                                                                        \
        "VESK_SCAN_" band "_INTERVAL", "VESK_SCAN_" band "_DWELL_MIN", "VESK_SCAN_" band "_DWELL_MAX",       \
            "VESK_SCAN_" band "_TX_THRESHOLD", "VESK_SCAN_" band "_RX_THRESHOLD",                            \
            "VESK_SCAN_" band "_NOISE_EVALUATE"                                                              \
    }
/** The full keys, by band word and row of scanFields. */
constexpr const char *scanKeys[][std::size(scanFields)] = { SCAN_KEYS("24G"), SCAN_KEYS("5GL"),
                                                            SCAN_KEYS("5GH"), SCAN_KEYS("5GA") };
static_assert(std::size(scanKeys) == VESK_BAND_WORDS - 1); // the fifth band word has no keys

constexpr int noDefault = INT_MIN; // set elsewhere, or by the file only

struct ConfigKey {
    const char *key;
    int before, low, high, fallback;
    void (*store)(int value);
};

VeskOffScanCfg &scan()
{
    return *vesk_get_scan_info();
}
VeskRadioInfo &radio0()
{
    return vesk_get_radio_info()[0]; // the polling fields of radio 0 serve the whole device
}
VeskStaInfo &stations()
{
    return *vesk_get_sta_info();
}

void store_scan_config(int value)
{
    flag_store(&scan().scanEnable, static_cast<uint8_t>(value));
    scan().scanEnableCfg = static_cast<uint8_t>(value);
}

void store_log_sink(int value)
{
    if (value == 1)
        vesk_log_use_stderr();
}

/** Both are looked for in each line of the scan group. */
constexpr ConfigKey scanGroupKeys[] = {
    { "VESK_SCAN_CONFIG", noDefault, 0, 1, 0, store_scan_config },
    { "VESK_SCAN_FIRST_INTERVAL", 15, 0, 3600, 15, [](int v) { scan().firstScanItv = v; } },
};

/** The first of these that a line holds decides, in this order. */
constexpr ConfigKey generalKeys[] = {
    { "VESK_LOG_LEVEL", noDefault, 0, 7, 3, vesk_log_set_level },
    { "VESK_RILK_LOG_LEVEL", noDefault, 0, 7, 3, [](int v) { rilk_update_debuglevel(v); } },
    { "VESK_LOG_SINK", noDefault, 0, 1, 0, store_log_sink },
    { "VESK_UPDATE_INTF_ENABLE", 1, 0, 1, 1,
      [](int v) { radio0().intfPollEnable = static_cast<uint8_t>(v); } },
    { "VESK_UPDATE_INTF_INTERVAL", 30, 1, 36000, 30, [](int v) { radio0().intfPollItv = v; } },
    { "VESK_TRIGGER_INTF_INTERVAL", 3, 1, 36000, 3, [](int v) { radio0().intfTriggerItv = v; } },
    { "VESK_UPDATE_CLIENTS_ENABLE", 1, 0, 1, 1,
      [](int v) { stations().isStaPollEnabled = static_cast<uint8_t>(v); } },
    { "VESK_UPDATE_CLIENTS_INTERVAL", 10, 1, 36000, 10, [](int v) { stations().timeItv = v; } },
    { "VESK_UPDATE_CLIENTS_THRESHOLD", 75, 1, 36000, 75, [](int v) { stations().threshold = v; } },
    { "VESK_CH_CHANGE_ENABLE", 1, 0, 1, 1,
      [](int v) { vesk_get_vesk_info()->chChange.chEventEnable = static_cast<uint8_t>(v); } },
    { "VESK_CH_CHANGE_INTERVAL", 5, 1, 36000, 5, [](int v) { vesk_get_vesk_info()->chChange.timeItv = v; } },
    { "VESK_UPDATE_INTF_STAT_ENABLE", 1, 0, 1, 1,
      [](int v) { radio0().isIntfStatEnabled = static_cast<uint8_t>(v); } },
    { "VESK_UPDATE_INTF_STAT_INTERVAL", 30, 1, 36000, 30, [](int v) { radio0().intfStatItv = v; } },
};
static_assert(std::size(generalKeys) == 13);

void store_scan_field(int radio, const ScanField &field, int value)
{
    auto *record = reinterpret_cast<char *>(vesk_get_scan_info()->scanCfg + radio);
    store_bytes<int32_t>(record + field.offset, value);
}

/** Calls fn(band, radio) for the band words that name a radio of this device. */
template <class Fn>
void for_each_band(Fn fn)
{
    for (int band = 0; band < VESK_BAND_WORDS; band++) {
        const int radio = vesk_utils_mapping_band(band);
        if (radio >= 0 && radio < VESK_RADIOS)
            fn(band, radio);
    }
}

void set_defaults()
{
    for_each_band([](int, int radio) {
        for (const ScanField &field : scanFields)
            store_scan_field(radio, field, field.before);
    });
    flag_store(&scan().scanEnable, 1);
    scan().scanEnableCfg = 0;
    radio0().intfSupportTrigger = 0;
    const auto store_default = [](const ConfigKey &row) {
        if (row.before != noDefault)
            row.store(row.before);
    };
    for (const ConfigKey &row : scanGroupKeys)
        store_default(row);
    for (const ConfigKey &row : generalKeys)
        store_default(row);
}

/** Stores the line's value if the line holds the key. */
bool read_key(const char *line, const ConfigKey &row)
{
    if (strstr(line, row.key) == nullptr)
        return false;
    row.store(vesk_cfg_get_int(line, row.fallback, row.low, row.high));
    return true;
}

void read_scan_line(const char *line)
{
    for_each_band([line](int band, int radio) {
        for (const ScanField &field : scanFields) {
            if (strstr(line, vesk_cfg_scan_key(band, field.keyword)) == nullptr)
                continue;
            store_scan_field(radio, field, vesk_cfg_get_int(line, field.fallback, field.low, field.high));
            break;
        }
    });
    for (const ConfigKey &row : scanGroupKeys)
        read_key(line, row);
}

void read_line(const char *line)
{
    if (strstr(line, "SCAN") != nullptr) {
        read_scan_line(line);
        return;
    }
    for (const ConfigKey &row : generalKeys)
        if (read_key(line, row))
            break;
    VESK_LOG_AS(stepOf, INFO, " Add your configure\n");
}

void read_file()
{
    FILE *file = fopen(CONFIG_FILE, "re");
    if (file == nullptr) {
        VESK_LOG_AS(stepOf, INFO, " Open vesk configure file [%s] failed\n", CONFIG_FILE);
        return;
    }
    char *line = nullptr;
    size_t size = 0;
    while (getline(&line, &size, file) >= 0)
        read_line(line);
    free(line);
    fclose(file);
}

/** A file that a developer keeps by the debug flag stays; any other is replaced. */
void renew_file()
{
    char command[2048];
    if (access(DEBUG_FLAG, F_OK) != 0) {
        snprintf(command, sizeof command, "rm -rf %s", CONFIG_FILE);
        [[maybe_unused]] const int status = system(command);
        VESK_LOG_AS(stepOf, INFO, " Not vesk debug mode ,remove vesk conf %s !!\n", CONFIG_FILE);
    }
    if (access(CONFIG_FILE, F_OK) == 0)
        return;
    static_assert(sizeof builtInText + sizeof CONFIG_DIR + sizeof CONFIG_FILE + 32 < sizeof command);
    snprintf(command, sizeof command, "mkdir -p %s && echo \"%s\" > %s", CONFIG_DIR, builtInText,
             CONFIG_FILE);
    [[maybe_unused]] const int status = system(command);
    VESK_LOG_AS(stepOf, INFO, " copy configure file to configs !!\n");
}
} // namespace

int vesk_cfg_get_int(const char *line, int fallback, int min, int max)
{
    const char *value = line != nullptr ? strchr(line, '=') : nullptr;
    if (value == nullptr)
        return fallback;
    value += strspn(value, "=\n");
    if (*value == '\0')
        return fallback;
    value += strspn(value, " \t\v\f\r"); // strtol would step over a line end, too, and read the next line
    const long number = *value == '\n' ? 0 : strtol(value, nullptr, 10);
    return number < min || number > max ? fallback : static_cast<int>(number);
}

const char *vesk_cfg_scan_key(int band, const char *keyword)
{
    if (band < 0 || band >= static_cast<int>(std::size(scanKeys)) || keyword == nullptr)
        return "VESK_SCAN_INVALID_KEY";
    for (size_t i = 0; i < std::size(scanFields); i++)
        if (strstr(keyword, scanFields[i].keyword) != nullptr)
            return scanKeys[band][i];
    return "VESK_SCAN_INVALID_KEY";
}

void vesk_load_cfg()
{
    renew_file();
    VESK_LOG(INFO, VESK_TEXT_VERSION, VESK_VERSION, CONFIG_FILE, static_cast<int>(sizeof builtInText));
    VESK_LOG(INFO, " Firstly set default value\n");
    set_defaults();
    VeskInfo *vesk = vesk_get_vesk_info();
    hul_EM_getWorkRole(&vesk->workRole);
    VESK_LOG(INFO, VESK_TEXT_ROLE, vesk->workRole);
    read_file();
    vesk_load_platform_config();
}
