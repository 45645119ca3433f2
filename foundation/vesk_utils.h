// Stateless helpers: text and MAC conversions, band and channel arithmetic, a thread starter and one
// interface query. Nothing here logs, locks or keeps state; all of it may run on any thread. Unless said
// otherwise a failure leaves the outputs untouched.
#pragma once

#include <cstddef>
#include <cstdint>

#include <pthread.h>

#include "foundation/mac.h"

/** Removes every white-space character from a writable text, inner ones too. */
void vesk_utils_resource_strim(char *s);

/** 6-byte MAC to "aa:bb:cc:dd:ee:ff" in lower case; `text` has room for 18 bytes. 0, or -1. */
int vesk_utils_mac2str(const uint8_t *mac, char *text);

/** Text of six two-digit hexadecimal tokens, either case, to a 6-byte MAC. 0, or -1. */
int vesk_utils_str2mac(const char *text, uint8_t *mac);

/** The same for a field of `size` bytes, which may lack its terminator. */
int vesk_utils_field2mac(const char *field, size_t size, uint8_t *mac);

/**
 * Writes each non-zero channel as a decimal number and one blank; a number that no longer fits ends the
 * text. 0, or 1 with `out` untouched if `size` bytes are fewer than `count`.
 */
int vesk_utils_translate_channelInt2Str(const uint32_t *channels, int count, char *out, int size);

/** Band index to radio index: 0 0, 1 1, 2 2, 3 1, 4 1; anything else -1. 2 is no radio of this device. */
int vesk_utils_mapping_band(int band);

/** Channel to band index: 1-13 0, 36-99 1, 100-165 2, anything else 5. */
int vesk_utils_get_band_by_channel(int channel);

/** Centre frequency in MHz, 0 for a channel of no band. */
int vesk_utils_channel_to_freq(int channel);

/** Copies a text into a field of `size` bytes, cut and always terminated; the tail isn't cleared. `dst`. */
char *vesk_util_strncpy(char *dst, const char *src, size_t size);

/** Starts a detached thread. 0, -1, or what pthread_create returned. */
int vesk_create_detached_pthread(void *(*start)(void *), void *arg, pthread_t *thread);

/**
 * Splits a comma-separated text, which it alters, into 16-byte names, each cut to 15 characters.
 * Number of names stored, at most `max`; -1 for a NULL text.
 */
int vesk_utils_str2array(char *text, char (*names)[16], int max);

/** Hardware address of a network interface. 0, or -1 with a line on stderr. */
int vesk_utils_get_mac_by_ioctl(const char *ifname, uint8_t *mac);
