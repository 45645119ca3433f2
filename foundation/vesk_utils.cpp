// The rules for bands and channels stand here and nowhere else.
#include "foundation/vesk_utils.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <iterator>

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr int noBand = 5;

struct ChannelRange {
    int first;
    int last;
    int band;
};
constexpr ChannelRange channelRanges[] = { { 1, 13, 0 }, { 36, 99, 1 }, { 100, 165, 2 } };

constexpr int radioOfBand[] = { 0, 1, 2, 1, 1 };

} // namespace

void vesk_utils_resource_strim(char *s)
{
    char *to = s;
    for (const char *from = s; *from != '\0'; ++from)
        if (!isspace(static_cast<unsigned char>(*from)))
            *to++ = *from;
    *to = '\0';
}

int vesk_utils_mac2str(const uint8_t *mac, char *text)
{
    const int length = snprintf(text, 18, "%02x:%02x:%02x:%02x:%02x:%02x", VESK_MAC_ARGS(mac));
    return length < 0 ? -1 : 0;
}

// Runs for every neighbour of a reply. Colons behind the sixth byte are let pass; nothing else is.
int vesk_utils_field2mac(const char *field, size_t size, uint8_t *mac)
{
    uint8_t parsed[MAC_BYTES];
    if (field == nullptr || size < MAC_TEXT_LENGTH || !mac_parse(field, parsed))
        return -1;
    size_t length = MAC_TEXT_LENGTH;
    while (length < size && field[length] == ':')
        ++length;
    if (length < size && field[length] != '\0')
        return -1;
    memcpy(mac, parsed, sizeof parsed);
    return 0;
}

int vesk_utils_str2mac(const char *text, uint8_t *mac)
{
    return vesk_utils_field2mac(text, SIZE_MAX, mac);
}

int vesk_utils_translate_channelInt2Str(const uint32_t *channels, int count, char *out, int size)
{
    if (size < count)
        return 1;
    if (size <= 0)
        return 0;
    memset(out, 0, static_cast<size_t>(size));
    int used = 0;
    for (int i = 0; i < count; ++i) {
        if (channels[i] == 0)
            continue;
        const int length =
            snprintf(out + used, static_cast<size_t>(size - used), "%d ", static_cast<int>(channels[i]));
        if (length < 0 || length >= size - used) {
            out[used] = '\0'; // no half numbers
            break;
        }
        used += length;
    }
    return 0;
}

int vesk_utils_mapping_band(int band)
{
    if (band < 0 || band >= static_cast<int>(std::size(radioOfBand)))
        return -1;
    return radioOfBand[band];
}

int vesk_utils_get_band_by_channel(int channel)
{
    for (const ChannelRange &range : channelRanges)
        if (channel >= range.first && channel <= range.last)
            return range.band;
    return noBand;
}

int vesk_utils_channel_to_freq(int channel)
{
    const int band = vesk_utils_get_band_by_channel(channel);
    if (band == noBand)
        return 0;
    return band == 0 ? (channel - 1) * 5 + 2412 : channel * 5 + 5000;
}

// Names and SSIDs are short: this loop takes half the time of strnlen and memcpy.
char *vesk_util_strncpy(char *dst, const char *src, size_t size)
{
    if (size == 0)
        return dst;
    size_t length = 0;
    for (; length < size - 1 && src[length] != '\0'; ++length)
        dst[length] = src[length];
    dst[length] = '\0';
    return dst;
}

int vesk_create_detached_pthread(void *(*start)(void *), void *arg, pthread_t *thread)
{
    pthread_attr_t attr;
    if (start == nullptr || pthread_attr_init(&attr) != 0)
        return -1;
    int result = -1;
    if (pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED) == 0) {
        result = pthread_create(thread, &attr, start, arg);
        if (result != 0)
            fputs("failed to create pthread", stderr);
    }
    pthread_attr_destroy(&attr);
    return result;
}

int vesk_utils_str2array(char *text, char (*names)[16], int max)
{
    if (text == nullptr)
        return -1;
    vesk_utils_resource_strim(text);
    int count = 0;
    char *rest = nullptr;
    for (char *token = strtok_r(text, ",", &rest); token != nullptr && count < max;
         token = strtok_r(nullptr, ",", &rest))
        vesk_util_strncpy(names[count++], token, sizeof names[0]);
    return count;
}

int vesk_utils_get_mac_by_ioctl(const char *ifname, uint8_t *mac)
{
    ifreq request = {};
    memcpy(request.ifr_name, ifname, strnlen(ifname, sizeof request.ifr_name));
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int result = ioctl(fd, SIOCGIFHWADDR, &request);
    if (fd >= 0)
        close(fd);
    if (result != 0) {
        fprintf(stderr, "Could not obtain MAC address of interface %s. \n", ifname);
        return -1;
    }
    memcpy(mac, request.ifr_hwaddr.sa_data, MAC_BYTES);
    return 0;
}
