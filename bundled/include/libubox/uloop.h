// Event loop of one thread: timers and file descriptors. Structures belong to the caller, must be zeroed
// before their first use and must stay where they are while registered.
#pragma once

#include <libubox/list.h>
#include <signal.h>
#include <sys/time.h>

#ifdef __cplusplus
extern "C" {
#endif

struct uloop_fd;
struct uloop_timeout;

typedef void (*uloop_fd_handler)(struct uloop_fd *u, unsigned int events);
typedef void (*uloop_timeout_handler)(struct uloop_timeout *t);

#define ULOOP_READ (1 << 0)
#define ULOOP_WRITE (1 << 1)
#define ULOOP_EDGE_TRIGGER (1 << 2)
#define ULOOP_BLOCKING (1 << 3) // leave O_NONBLOCK as it is
#define ULOOP_ERROR_CB (1 << 6) // an error doesn't unregister the descriptor

struct uloop_fd {
    uloop_fd_handler cb;
    int fd;
    bool eof;        // the other side closed its sending half
    bool error;      // error or hang-up; unregistered by then, unless ULOOP_ERROR_CB
    bool registered; // the loop watches it
    uint8_t flags;
};

struct uloop_timeout {
    struct list_head list;
    bool pending;
    uloop_timeout_handler cb;
    struct timeval time; // monotonic clock
};

extern bool uloop_cancelled;

// Starts or changes the watch. 0, or -1 (bad descriptor, regular file). No READ or WRITE in `flags`: delete.
int uloop_fd_add(struct uloop_fd *sock, unsigned int flags);
// Ends the watch, drops events already fetched; doesn't close. Also fine when not registered.
int uloop_fd_delete(struct uloop_fd *sock);

// One shot at `timeout->time`. -1 when pending already.
int uloop_timeout_add(struct uloop_timeout *timeout);
// (Re-)arms `msecs` from now; 0: next pass; negative: already due. Always 0.
int uloop_timeout_set(struct uloop_timeout *timeout, int msecs);
int uloop_timeout_cancel(struct uloop_timeout *timeout); // -1 when not pending
// Milliseconds left; negative when overdue; -1 when not pending.
int uloop_timeout_remaining(struct uloop_timeout *timeout);
int64_t uloop_timeout_remaining64(struct uloop_timeout *timeout);

int uloop_init(void); // 0 or -1; again: nothing happens
// Runs until uloop_end() or SIGINT/SIGTERM; 0 or the signal's number. Clears a stop asked for before.
// timeout >= 0 (milliseconds): one pass that waits no longer than that.
int uloop_run_timeout(int timeout);
static inline int uloop_run(void)
{
    return uloop_run_timeout(-1);
}
static inline void uloop_end(void)
{
    uloop_cancelled = true;
}
int uloop_get_next_timeout(void); // milliseconds to the next timer, 0 when due, -1 when there is none
void uloop_done(void);

#ifdef __cplusplus
}
#endif
