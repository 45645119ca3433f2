#include "platform/nl80211/config.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <cjson/cJSON.h>
#include <pthread.h>

#include "platform/nl80211/log.h"
#include "platform/nl80211/places.h"

namespace radio
{

namespace
{

constexpr char configFile[] = "/usr/etc/vesk-radio.json";
constexpr size_t fileLimit = 256 * 1024;

// The daemon's own order of looking.
constexpr const char *productFiles[] = { "/tmp/kor-product-cfg.json", "/usr/etc/kor-product-cfg.json" };

Config config;
bool loaded;
pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;

template <size_t N>
bool store_text(const cJSON *item, char (&to)[N])
{
    if (!cJSON_IsString(item) || strlen(item->valuestring) >= N)
        return false;
    memcpy(to, item->valuestring, strlen(item->valuestring) + 1);
    return true;
}

bool store_flag(const cJSON *item, bool &to)
{
    if (cJSON_IsBool(item))
        to = cJSON_IsTrue(item);
    else if (cJSON_IsNumber(item) && (item->valuedouble == 0 || item->valuedouble == 1))
        to = item->valuedouble != 0;
    else
        return false;
    return true;
}

bool store_number(const cJSON *item, int &to, int low, int high)
{
    if (!cJSON_IsNumber(item) || item->valuedouble < low || item->valuedouble > high)
        return false;
    to = item->valueint;
    return true;
}

bool store_channels(const cJSON *item, RadioConfig &radio)
{
    if (!cJSON_IsArray(item) || cJSON_GetArraySize(item) > VESK_WIRE_CHANNELS)
        return false;
    size_t count = 0;
    const cJSON *element;
    cJSON_ArrayForEach(element, item)
    {
        int channel;
        if (!store_number(element, channel, 1, 255))
            return false;
        radio.excluded[count++] = static_cast<uint8_t>(channel);
    }
    radio.excludedCount = count;
    return true;
}

/** One file, or a list of them. */
bool store_files(const cJSON *item, Config &to)
{
    if (!cJSON_IsArray(item))
        return store_text(item, to.hostapdConfig[0]);
    if (cJSON_GetArraySize(item) > static_cast<int>(std::size(to.hostapdConfig)))
        return false;
    size_t count = 0;
    const cJSON *element;
    cJSON_ArrayForEach(element, item)
    {
        if (!store_text(element, to.hostapdConfig[count++]))
            return false;
    }
    return true;
}

template <class T>
struct Key {
    const char *name;
    const char *wanted;
    bool (*store)(const cJSON *item, T &to);
};

constexpr Key<RadioConfig> radioKeys[] = {
    { "phy", "a text of at most 127 characters",
      [](const cJSON *item, RadioConfig &to) { return store_text(item, to.phy); } },
    { "enabled", "true or false",
      [](const cJSON *item, RadioConfig &to) { return store_flag(item, to.enabled); } },
    { "acs", "true or false", [](const cJSON *item, RadioConfig &to) { return store_flag(item, to.acs); } },
    { "chip", "a text of at most 15 characters",
      [](const cJSON *item, RadioConfig &to) { return store_text(item, to.chip); } },
    { "excluded", "a list of at most 64 channels", store_channels },
};

template <class T, size_t N>
void store_members(const cJSON *object, const Key<T> (&keys)[N], T &to, const char *where)
{
    const cJSON *item;
    cJSON_ArrayForEach(item, object)
    {
        const Key<T> *key = nullptr;
        for (const Key<T> &row : keys) {
            if (strcmp(row.name, item->string) == 0)
                key = &row;
        }
        T changed = to;
        if (!key)
            log_line(levelError, "%s: %s%s: nobody knows this key", configFile, where, item->string);
        else if (key->store(item, changed))
            to = changed;
        else
            log_line(levelError, "%s: %s%s: should be %s", configFile, where, item->string, key->wanted);
    }
}

bool store_radios(const cJSON *item, Config &to)
{
    if (!cJSON_IsArray(item) || cJSON_GetArraySize(item) > radioCount)
        return false;
    int i = 0;
    const cJSON *element;
    cJSON_ArrayForEach(element, item)
    {
        char where[32];
        snprintf(where, sizeof where, "radios[%d].", i);
        if (!cJSON_IsObject(element))
            log_line(levelError, "%s: %s should be an object", configFile, where);
        else
            store_members(element, radioKeys, to.radios[i], where);
        i++;
    }
    return true;
}

constexpr Key<Config> keys[] = {
    { "radios", "a list of at most two objects", store_radios },
    { "role", "a number from 0 to 255",
      [](const cJSON *item, Config &to) { return store_number(item, to.role, 0, 255); } },
    { "roleFile", "a path of at most 127 characters",
      [](const cJSON *item, Config &to) { return store_text(item, to.roleFile); } },
    { "hostapdDir", "a path of at most 95 characters",
      [](const cJSON *item, Config &to) { return store_text(item, to.hostapdDir); } },
    { "wpaDir", "a path of at most 95 characters",
      [](const cJSON *item, Config &to) { return store_text(item, to.wpaDir); } },
    { "hostapdConfig", "a path, or a list of at most four", store_files },
    { "monitor", "true or false",
      [](const cJSON *item, Config &to) { return store_flag(item, to.monitor); } },
    { "csaCount", "a number from 1 to 255",
      [](const cJSON *item, Config &to) { return store_number(item, to.csaCount, 1, 255); } },
};

void load()
{
    config = {};
    Path path;
    char *text = place(path, "%s", configFile) ? read_file(path, fileLimit) : nullptr;
    if (!text)
        return;
    cJSON *tree = cJSON_Parse(text);
    if (cJSON_IsObject(tree))
        store_members(tree, keys, config, "");
    else
        log_line(levelError, "%s: isn't a JSON object", configFile);
    cJSON_Delete(tree);
    free(text);
}

/** Names lose the ending that the bus gives them. */
size_t add_names(const cJSON *vaps, char (*names)[16], size_t count, size_t limit)
{
    const cJSON *vap;
    cJSON_ArrayForEach(vap, vaps)
    {
        const cJSON *name = cJSON_GetObjectItemCaseSensitive(vap, "InterfaceName");
        if (!cJSON_IsString(name) || count == limit)
            continue;
        const int length = static_cast<int>(strcspn(name->valuestring, "."));
        snprintf(names[count++], sizeof *names, "%.*s", length, name->valuestring);
    }
    return count;
}

} // namespace

const Config &config_get()
{
    pthread_mutex_lock(&lock);
    if (!loaded)
        load();
    loaded = true;
    pthread_mutex_unlock(&lock);
    return config;
}

void config_forget()
{
    pthread_mutex_lock(&lock);
    loaded = false;
    pthread_mutex_unlock(&lock);
}

size_t config_product_order(char (*names)[16], size_t limit)
{
    Path path;
    char *text = nullptr;
    for (size_t i = 0; i < std::size(productFiles) && !text; i++)
        text = place(path, "%s", productFiles[i]) ? read_file(path, fileLimit) : nullptr;
    if (!text)
        return 0;
    cJSON *tree = cJSON_Parse(text);
    const cJSON *parameters = cJSON_GetObjectItem(tree, "ProductParameters");
    const cJSON *radio;
    size_t count = 0;
    cJSON_ArrayForEach(radio, cJSON_GetObjectItemCaseSensitive(parameters, "Wifi")) count =
        add_names(cJSON_GetObjectItemCaseSensitive(radio, "Vap"), names, count, limit);
    cJSON_Delete(tree);
    free(text);
    return count;
}

} // namespace radio
