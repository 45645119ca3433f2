// The product configuration: a JSON file that says what the device is, read once into VeskConfigInfo. Each
// field is one row (key, JSON type, offset, width) and each list one row (key, limit, loader); zero bytes
// stand for what the file doesn't say. Whatever is wrong with the file, the daemon goes on with what has been
// read.
#include "source/vesk_config/vesk_config.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <type_traits>

#include <cjson/cJSON.h>
#include <unistd.h>

#include "foundation/bytes.h"
#include "foundation/vesk_utils.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"

namespace
{
constexpr char stepOf[] = "vesk_load_platform_config"; // the steps below log under its name

constexpr char overridingFile[] = "/tmp/kor-product-cfg.json";
constexpr char productFile[] = "/usr/etc/kor-product-cfg.json";

enum class Kind : uint8_t {
    text, // string, cut to the field
    u8,
    i8,
    u16,
    i32,  // integer, truncated to the field's type
    flag, // string; 1 if it begins with "Supported"
};

template <class T>
constexpr Kind number_kind = std::is_same_v<T, int8_t>     ? Kind::i8
                             : std::is_same_v<T, uint16_t> ? Kind::u16
                             : std::is_same_v<T, int32_t>  ? Kind::i32
                                                           : Kind::u8;

struct Field {
    const char *key;
    Kind kind;
    uint16_t offset;
    uint16_t width;
};

#define FIELD(kind, record, member, key)                                                                     \
    {                                                                                                        \
        key, kind, offsetof(record, member), sizeof(record::member)                                          \
    }
#define TEXT_AS(record, member, key) FIELD(Kind::text, record, member, key)
#define NUMBER_AS(record, member, key) FIELD(number_kind<decltype(record::member)>, record, member, key)
#define FLAG_AS(record, member, key) FIELD(Kind::flag, record, member, key)
#define TEXT(record, member) TEXT_AS(record, member, #member)
#define NUMBER(record, member) NUMBER_AS(record, member, #member)
#define FLAG(record, member) FLAG_AS(record, member, #member)

constexpr Field rootFields[] = { TEXT(VeskConfigInfo, Version) };

constexpr Field productFields[] = {
    TEXT(VeskConfigInfo, Manufacturer),
    TEXT(VeskConfigInfo, ModelName),
    TEXT(VeskConfigInfo, ModelNumber),
    TEXT(VeskConfigInfo, ProductClass),
    TEXT_AS(VeskConfigInfo, EnabledInterfaceNames1905, "1905EnabledInterfaceNames"),
    NUMBER(VeskConfigInfo, MAPProfile),
    NUMBER(VeskConfigInfo, NumberOfWifiRadios),
    NUMBER(VeskConfigInfo, NumberOfEthernetPorts),
    TEXT(VeskConfigInfo, ConfigPath),
    TEXT(VeskConfigInfo, LogPath),
};

constexpr Field ethernetFields[] = {
    NUMBER(VeskCfgEthernet, PhysicalPortNumber),
    NUMBER(VeskCfgEthernet, MaxBitRate),
    TEXT(VeskCfgEthernet, InterfaceName),
};

constexpr Field wifiFields[] = {
    TEXT(VeskCfgWifi, OperatingFrequencyBand),
    TEXT(VeskCfgWifi, ChipsetVendor),
    NUMBER(VeskCfgWifi, MaxSupportedSSIDs),
    TEXT(VeskCfgWifi, InterfaceName),
    TEXT(VeskCfgWifi, SupportedOperatingChannelBandwidths),
    TEXT(VeskCfgWifi, SupportedStandards),
    TEXT(VeskCfgWifi, SupportedAuthenticationMode),
    FLAG(VeskCfgWifi, HTShortGI20MHz),
    FLAG(VeskCfgWifi, HTShortGI40MHz),
    FLAG(VeskCfgWifi, HT40MHz),
    NUMBER(VeskCfgWifi, HTNumberOfTxStreams),
    NUMBER(VeskCfgWifi, HTNumberOfRxStreams),
    FLAG(VeskCfgWifi, VHTShortGI80MHz),
    FLAG_AS(VeskCfgWifi, VHTShortGI160And80p80MHz, "VHTShortGI160And80+80MHz"),
    NUMBER(VeskCfgWifi, VHTNumberOfTxStreams),
    NUMBER(VeskCfgWifi, VHTNumberOfRxStreams),
    FLAG_AS(VeskCfgWifi, VHT80p80MHz, "VHT80+80MHz"),
    FLAG(VeskCfgWifi, VHT160MHz),
    FLAG(VeskCfgWifi, VHTSUBeamFormer),
    FLAG(VeskCfgWifi, VHTMUBeamFormer),
    NUMBER(VeskCfgWifi, VHTTxMCS),
    NUMBER(VeskCfgWifi, VHTRxMCS),
    FLAG(VeskCfgWifi, HEULMUMIMO),
    FLAG(VeskCfgWifi, HEULMUMIMOOFDMA),
    FLAG(VeskCfgWifi, HEDLMUMIMOOFDMA),
    FLAG(VeskCfgWifi, HEULOFDMA),
    FLAG(VeskCfgWifi, HEDLOFDMA),
    NUMBER(VeskCfgWifi, HENumberOfTxStreams),
    NUMBER(VeskCfgWifi, HENumberOfRxStreams),
    FLAG_AS(VeskCfgWifi, HE80p80MHz, "HE80+80MHz"),
    FLAG(VeskCfgWifi, HE160MHz),
    FLAG(VeskCfgWifi, HESUBeamFormer),
    FLAG(VeskCfgWifi, HEMUBeamFormer),
};

constexpr Field mcsFields[] = {
    NUMBER(VeskCfgHeMcs, RxMapLE80MHz),
    NUMBER(VeskCfgHeMcs, TxMapLE80MHz),
    NUMBER(VeskCfgHeMcs, RxMap160MHz),
    NUMBER(VeskCfgHeMcs, TxMap160MHz),
    NUMBER_AS(VeskCfgHeMcs, RxMap80p80MHz, "RxMap80+80MHz"),
    NUMBER_AS(VeskCfgHeMcs, TxMap80p80MHz, "TxMap80+80MHz"),
};

constexpr Field wifiEndFields[] = { NUMBER(VeskCfgWifi, NoCATBias) };

constexpr Field vapFields[] = {
    NUMBER(VeskCfgVap, DataModelIndex),
    TEXT(VeskCfgVap, InterfaceName),
    TEXT(VeskCfgVap, Mode),
};

constexpr Field noiseBiasFields[] = {
    TEXT(VeskCfgBias, ChannelBandwidth),
    NUMBER_AS(VeskCfgBias, BiasIndBm, "NoiseBiasIndBm"),
};

constexpr Field rssiBiasFields[] = {
    TEXT(VeskCfgBias, ChannelBandwidth),
    NUMBER_AS(VeskCfgBias, BiasIndBm, "RssiBiasIndBm"),
};

void read_text(const cJSON *item, const Field &field, char *to)
{
    if (!cJSON_IsString(item) || item->valuestring == nullptr)
        return;
    vesk_util_strncpy(to, item->valuestring, field.width);
    VESK_LOG_AS(stepOf, INFO, " Checking %s [%s]\n", field.key, to);
}

template <class T>
void read_number(const cJSON *item, const Field &field, char *to)
{
    if (!cJSON_IsNumber(item))
        return;
    const auto value = static_cast<T>(item->valueint);
    store_bytes(to, value);
    VESK_LOG_AS(stepOf, INFO, " Checking %s [%d]\n", field.key, value);
}

void read_flag(const cJSON *item, const Field &field, char *to)
{
    if (!cJSON_IsString(item) || item->valuestring == nullptr)
        return;
    const bool supported = strncmp(item->valuestring, "Supported", 9) == 0;
    store_bytes(to, static_cast<uint8_t>(supported));
    VESK_LOG_AS(stepOf, INFO, " Checking %s [%s] int [%d]\n", field.key, item->valuestring, supported);
}

/** Reads the rows' keys of an object into the record; what is missing or of another type leaves its field. */
void read_fields(const cJSON *object, std::span<const Field> fields, void *record)
{
    static constexpr void (*readers[])(const cJSON *, const Field &, char *) = {
        read_text, read_number<uint8_t>, read_number<int8_t>, read_number<uint16_t>, read_number<int32_t>,
        read_flag
    };
    for (const Field &field : fields)
        readers[static_cast<int>(field.kind)](cJSON_GetObjectItemCaseSensitive(object, field.key), field,
                                              static_cast<char *>(record) + field.offset);
}

/** A list of objects: where it is, how many rows its record holds, and what to log when the file holds more.
 */
struct List {
    const char *key;
    int limit;
    void (*outOfRange)(int limit); // NULL: silent
};

/** Hands the list's objects, with their row numbers, to read(); returns the number of rows. An element that
 * is no object counts as a row that says nothing. */
template <class Read>
uint8_t read_list(const cJSON *parent, const List &list, Read read)
{
    const cJSON *array = cJSON_GetObjectItemCaseSensitive(parent, list.key);
    if (!cJSON_IsArray(array))
        return 0;
    int rows = 0;
    for (const cJSON *item = array->child; item != nullptr; item = item->next, rows++) {
        if (rows == list.limit) {
            if (list.outOfRange != nullptr)
                list.outOfRange(list.limit);
            break;
        }
        if (cJSON_IsObject(item))
            read(item, rows);
    }
    return static_cast<uint8_t>(rows);
}

constexpr List ethernetList = { "Ethernet", VESK_CFG_ETHERNET, [](int n) {
                                   VESK_LOG_AS(stepOf, ERROR, " Out range ethernet ports [%d]\n", n);
                               } };
constexpr List wifiList = { "Wifi", VESK_CFG_WIFI,
                            [](int n) { VESK_LOG_AS(stepOf, ERROR, " Out range WiFi ports [%d]\n", n); } };
constexpr List vapList = { "Vap", VESK_CFG_VAPS,
                           [](int n) { VESK_LOG_AS(stepOf, ERROR, " Out range Vap ports [%d]\n", n); } };
constexpr List noiseBiasList = { "NoiseBias", VESK_CFG_BIAS, [](int n) {
                                    VESK_LOG_AS(stepOf, ERROR, " Out range NoiseBias [%d]\n", n);
                                } };
constexpr List rssiBiasList = { "RssiBias", VESK_CFG_BIAS, nullptr };

void read_wifi(const cJSON *object, VeskCfgWifi *wifi)
{
    read_fields(object, wifiFields, wifi);
    wifi->heMcsLen = sizeof wifi->HEMCS;
    const cJSON *mcs = cJSON_GetObjectItemCaseSensitive(object, "HEMCS");
    if (cJSON_IsObject(mcs))
        read_fields(mcs, mcsFields, &wifi->HEMCS);
    wifi->vapNum = read_list(
        object, vapList, [wifi](const cJSON *vap, int row) { read_fields(vap, vapFields, wifi->Vap + row); });
    read_list(object, noiseBiasList, [wifi](const cJSON *bias, int row) {
        read_fields(bias, noiseBiasFields, wifi->NoiseBias + row);
    });
    read_list(object, rssiBiasList, [wifi](const cJSON *bias, int row) {
        read_fields(bias, rssiBiasFields, wifi->RssiBias + row);
    });
    read_fields(object, wifiEndFields, wifi);
}

/** Members that are no strings are passed over and don't count. */
void read_applications(const cJSON *parent, VeskConfigInfo *cfg)
{
    const cJSON *object = cJSON_GetObjectItemCaseSensitive(parent, "KorApplicationList");
    if (!cJSON_IsObject(object))
        return;
    for (const cJSON *item = object->child; item != nullptr; item = item->next) {
        if (!cJSON_IsString(item) || item->valuestring == nullptr || item->string == nullptr)
            continue;
        if (cfg->appNum == VESK_CFG_APPS) {
            VESK_LOG_AS(stepOf, ERROR, " Out range appList [%d]\n", VESK_CFG_APPS);
            return;
        }
        VeskCfgApp &app = cfg->KorApplicationList[cfg->appNum++];
        vesk_util_strncpy(app.moduleName, item->string, sizeof app.moduleName);
        app.loadEnable = strncmp(item->valuestring, "yes", 3) == 0;
        VESK_LOG_AS(stepOf, INFO, " moduleName=%s, loadEnable=%d\n", app.moduleName, app.loadEnable);
    }
}

void read_product(const cJSON *product, VeskConfigInfo *cfg)
{
    read_fields(product, productFields, cfg);
    cfg->ethernetNum = read_list(product, ethernetList, [cfg](const cJSON *port, int row) {
        read_fields(port, ethernetFields, cfg->Ethernet + row);
    });
    cfg->wifiNum =
        read_list(product, wifiList, [cfg](const cJSON *wifi, int row) { read_wifi(wifi, cfg->Wifi + row); });
    read_applications(product, cfg);
}

/** Reads all of an open file into a terminated text that the caller frees; NULL, logged, if that fails. */
char *read_text_of(FILE *file, long *length)
{
    fseek(file, 0, SEEK_END);
    *length = ftell(file);
    if (*length < 0) {
        VESK_LOG_AS(stepOf, ERROR, " Database len is error %ld\n", *length);
        return nullptr;
    }
    rewind(file);
    const size_t size = static_cast<size_t>(*length);
    char *text = static_cast<char *>(calloc(size + 1, 1));
    if (text == nullptr) {
        VESK_LOG_AS(stepOf, ERROR, " No enough memory\n");
        return nullptr;
    }
    if (fread(text, size, 1, file) == 0) {
        VESK_LOG_AS(stepOf, ERROR, " Failed to read the config file\n");
        free(text);
        return nullptr;
    }
    return text;
}

/** The parsed file; NULL, logged, if it can't be opened, read or parsed. The caller deletes the tree. */
cJSON *parse_file(const char *path)
{
    FILE *file = fopen(path, "re");
    if (file == nullptr) {
        VESK_LOG_AS(stepOf, ERROR, " Database open failed: %s\n", path);
        return nullptr;
    }
    long length = 0;
    char *text = read_text_of(file, &length);
    fclose(file);
    if (text == nullptr)
        return nullptr;
    VESK_LOG_AS(stepOf, INFO, " Read file [%s] len=[%ld] VeskConfigInfo=[%d]\n", path, length,
                static_cast<int>(sizeof(VeskConfigInfo)));
    cJSON *root = cJSON_Parse(text);
    free(text);
    if (root == nullptr) {
        puts("Failed to parse JSON\r");
        fflush(stdout);
    }
    return root;
}

void log_tree(const cJSON *root)
{
    char *text = cJSON_Print(root);
    if (text == nullptr)
        return;
    VESK_LOG_AS(stepOf, DEBUG, " File json is %s\r\n\n", text);
    cJSON_free(text);
}
} // namespace

int vesk_load_platform_config()
{
    // Chosen by existence alone: a broken file in /tmp isn't replaced by the other one.
    const char *path = access(overridingFile, F_OK) == 0 ? overridingFile : productFile;
    VESK_LOG(INFO, " load vesk product file %s\n", path);
    cJSON *root = parse_file(path);
    if (root == nullptr)
        return -1;
    log_tree(root);
    VeskConfigInfo *cfg = vesk_get_vesk_cfg_info();
    read_fields(root, rootFields, cfg);
    const cJSON *product = cJSON_GetObjectItem(root, "ProductParameters"); // the one key of either case
    if (product == nullptr)
        VESK_LOG(ERROR, " No ProductParameters\n");
    else
        read_product(product, cfg);
    cJSON_Delete(root);
    return product == nullptr ? -1 : 0;
}

int vesk_get_cfg_band_idx(int actualBand)
{
    static constexpr char names[][8] = { "2.4GHZ", "5GLHZ", "5GHHZ", "5GHZ" };
    const bool known = actualBand >= 0 && actualBand < static_cast<int>(std::size(names));
    const char *name = known ? names[actualBand] : "UNKNOW";
    const VeskConfigInfo *cfg = vesk_get_vesk_cfg_info();
    for (int i = 0; i < cfg->wifiNum; i++)
        if (strncmp(cfg->Wifi[i].OperatingFrequencyBand, name, sizeof names[0]) == 0)
            return i;
    VESK_LOG(ERROR, " Get vesk config band index failed\n");
    return -1;
}

int vesk_getCfgRadioCap()
{
    return vesk_get_vesk_cfg_info()->NumberOfWifiRadios;
}

int vesk_find_bsta_row(const VeskCfgWifi *wifi)
{
    for (int i = 0; i < wifi->vapNum && i < VESK_CFG_VAPS; i++)
        if (strncmp(wifi->Vap[i].Mode, "sta", sizeof wifi->Vap[i].Mode) == 0)
            return i;
    return -1;
}
