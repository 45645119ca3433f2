#include "platform/nl80211/thread.h"

#include <csignal>
#include <cstddef>

namespace radio
{

constexpr size_t threadStack = 128 * 1024; // the kernel's answers, a control socket's reply

bool thread_start(pthread_t &thread, void *(*run)(void *), void *argument)
{
    sigset_t all, before;
    pthread_attr_t attributes;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, threadStack);
    const bool runs = pthread_create(&thread, &attributes, run, argument) == 0;
    pthread_attr_destroy(&attributes);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return runs;
}

} // namespace radio
