#include "platform/nl80211/places.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <net/if.h>
#include <unistd.h>

namespace radio
{

namespace
{

const char *root = "";

} // namespace

void places_begin_at(const char *path)
{
    root = path;
}

bool place(Path &to, const char *format, ...)
{
    const size_t length = strlen(root);
    if (length >= pathSize)
        return false;
    memcpy(to, root, length + 1);
    va_list arguments;
    va_start(arguments, format);
    const int rest = vsnprintf(to + length, pathSize - length, format, arguments);
    va_end(arguments);
    return rest >= 0 && static_cast<size_t>(rest) < pathSize - length;
}

bool is_name(const char *name)
{
    return name && name[0] != '\0' && strnlen(name, IF_NAMESIZE) < IF_NAMESIZE && !strchr(name, '/') &&
           strcmp(name, ".") != 0 && strcmp(name, "..") != 0;
}

bool read_line(const char *path, char *to, size_t size)
{
    FILE *file = fopen(path, "re");
    if (!file)
        return false;
    const bool read = fgets(to, static_cast<int>(size), file) != nullptr;
    fclose(file);
    if (read)
        to[strcspn(to, "\n")] = '\0';
    return read;
}

int64_t read_number(const char *path, int64_t absent)
{
    char text[32];
    char *end;
    if (!read_line(path, text, sizeof text))
        return absent;
    const int64_t value = strtoll(text, &end, 10);
    return end == text ? absent : value;
}

bool read_link_name(const char *path, char *to, size_t size)
{
    Path target;
    const ssize_t length = readlink(path, target, sizeof target - 1);
    if (length <= 0)
        return false;
    target[length] = '\0';
    const char *last = strrchr(target, '/');
    snprintf(to, size, "%s", last ? last + 1 : target);
    return true;
}

char *read_file(const char *path, size_t limit)
{
    FILE *file = fopen(path, "re");
    if (!file)
        return nullptr;
    auto *text = static_cast<char *>(malloc(limit + 1));
    const size_t length = text ? fread(text, 1, limit + 1, file) : 0;
    const bool whole = text && length <= limit && !ferror(file);
    fclose(file);
    if (!whole) {
        free(text);
        return nullptr;
    }
    text[length] = '\0';
    return text;
}

uint32_t interface_index(const char *ifName)
{
    Path path;
    if (!is_name(ifName) || !place(path, "/sys/class/net/%s/ifindex", ifName))
        return 0;
    return static_cast<uint32_t>(read_number(path, 0));
}

bool interface_is_up(const char *ifName)
{
    Path path;
    char state[16];
    return is_name(ifName) && place(path, "/sys/class/net/%s/operstate", ifName) &&
           read_line(path, state, sizeof state) && strcmp(state, "up") == 0;
}

uint64_t interface_counter(const char *ifName, const char *counter)
{
    Path path;
    char text[32];
    if (!is_name(ifName) || !place(path, "/sys/class/net/%s/statistics/%s", ifName, counter) ||
        !read_line(path, text, sizeof text))
        return 0;
    return strtoull(text, nullptr, 10);
}

int interface_phy(const char *ifName)
{
    Path path;
    if (!is_name(ifName) || !place(path, "/sys/class/net/%s/phy80211/index", ifName))
        return -1;
    return static_cast<int>(read_number(path, -1));
}

int phy_index(const char *phy)
{
    Path path;
    if (!is_name(phy) || !place(path, "/sys/class/ieee80211/%s/index", phy))
        return -1;
    return static_cast<int>(read_number(path, -1));
}

} // namespace radio
