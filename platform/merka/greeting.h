// Whether a broker is there and answers. The bus library's own connect waits for the broker's greeting
// without limit, so whoever must not wait looks first: on a connection of its own, which is closed again.
#pragma once

enum class Greeting {
    missing, // not yet: the broker accepts (by the kernel, at least) and has said nothing
    ready,
    refused, // nobody listens, or what came is no greeting
};

/** A non-blocking connection to the broker at `path`. The caller closes it. -1: nobody listens; errno tells.
 */
int greeting_open(const char *path);

/** What has come on such a connection; leaves it unread and never waits. */
Greeting greeting_look(int fd);

/**
 * Opens, waits at most `limitMs` milliseconds, closes. A signal doesn't end the wait unless `stop` (may be
 * NULL), asked after each, says so. A full queue of waiting connections (EAGAIN) counts as missing, at once.
 */
Greeting greeting_await(const char *path, int limitMs, bool (*stop)() = nullptr);
