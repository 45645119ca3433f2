// Threads of the library, in a daemon that isn't its own.
#pragma once

#include <pthread.h>

namespace radio
{

/** Starts a thread with all signals blocked: they are for the daemon's own. False if there can't be one; to
 * be joined by who has started it. */
bool thread_start(pthread_t &thread, void *(*run)(void *), void *argument);

} // namespace radio
