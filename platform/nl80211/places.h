// Where things stand in the file system, and the kernel's small text files. A test has the paths begin in a
// folder of its own.
#pragma once

#include <cstddef>
#include <cstdint>

namespace radio
{

/** What all paths below begin with; "" but in tests. The text has to stay. */
void places_begin_at(const char *root);

inline constexpr size_t pathSize = 256;
using Path = char[pathSize];

/** "ROOT" and the formatted path. False if it doesn't fit. */
bool place(Path &to, const char *format, ...) __attribute__((format(printf, 2, 3)));

/** Whether a text can be the name of an interface or a phy: 1 to 15 characters, and no path. */
bool is_name(const char *name);

/** First line of a file, without its end. False if it can't be read. */
bool read_line(const char *path, char *to, size_t size);
/** The number in a file, or `absent`. */
int64_t read_number(const char *path, int64_t absent);
/** Last part of what a link points to. */
bool read_link_name(const char *path, char *to, size_t size);

/** The whole of a file of at most `limit` bytes, with a NUL behind it; malloc'ed. NULL otherwise. */
char *read_file(const char *path, size_t limit);

// What /sys says of an interface.

/** Number of an interface; 0 if there is none of that name. */
uint32_t interface_index(const char *ifName);
/** Whether frames pass: "up", and not "down", "dormant" or "notpresent". */
bool interface_is_up(const char *ifName);
/** A counter of "statistics"; 0 if it isn't there. */
uint64_t interface_counter(const char *ifName, const char *counter);

/** Number of the phy that an interface stands on; -1 if there is none. */
int interface_phy(const char *ifName);

/** Number of the phy of that name; -1 if there is none. */
int phy_index(const char *phy);

} // namespace radio
