// The stand-in of the sibling daemon: lines of text in, event datagrams out.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

/** Takes one datagram; the bytes live for the call only. */
using DrelmSend = void (*)(const void *datagram, size_t size);

/**
 * Carries out one line: sends its datagrams through `send`, waits if it says so. Blank lines and lines that
 * begin with "#" do nothing. 0, or -1 with what is wrong with the line in `message` and nothing sent.
 */
int drelm_run_line(const char *text, DrelmSend send, std::string &message);

/** From now on "join" and "leave" are also appended to the simulated device's list of stations; NULL: no
 * longer. */
void drelm_share_stations(const char *path);

/** Lists all commands. */
void drelm_print_commands(FILE *out);
