// Wrapped libc calls (see tests/unit/wraps.txt): clocks follow the virtual clock, sleeps and shell commands
// are recorded, allocations can fail on request.
#include "tests/fakes/fakes.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <pthread.h>
#include <sys/stat.h>

FakeLibc fakeLibc;

namespace {
const auto alloc_fails = [] { return fakeLibc.failAlloc >= 0 && fakeLibc.failAlloc-- == 0; };
} // namespace

extern "C" {
int __real_system(const char *command);
void *__real_malloc(size_t size);
void *__real_calloc(size_t n, size_t size);
void *__real_realloc(void *old, size_t size);
int __real_blob_buf_init(blob_buf *buf, int id);
int __real_clock_gettime(clockid_t clock, timespec *now);
int __real_stat(const char *path, struct stat *status);

int __wrap_usleep(unsigned us) {
    fakeLibc.sleepsUs.push_back(us);
    if (fakeLibc.onSleep) fakeLibc.onSleep(us);
    return 0;
}

unsigned __wrap_sleep(unsigned seconds) { return static_cast<unsigned>(__wrap_usleep(seconds * 1000000)); }

int __wrap_system(const char *command) {
    fakeLibc.systems.push_back(command);
    return fakeLibc.runSystem ? __real_system(command) : 0;
}

FILE *__wrap_popen(const char *command, const char *) {
    fakeLibc.popens.push_back(command);
    if (fakeLibc.popenFails) return nullptr;
    FILE *f = tmpfile();
    fakeLibc.openPipes++;
    fputs(fakeLibc.popenOutput.c_str(), f);
    rewind(f);
    return f;
}

// clang-format off
int __wrap_pclose(FILE *f) { return fakeLibc.openPipes--, fclose(f); }
int __wrap_stat(const char *path, struct stat *status) { return fakeLibc.statFails ? -1 : __real_stat(path, status); }
void *__wrap_malloc(size_t size) { return alloc_fails() ? nullptr : __real_malloc(size); }
void *__wrap_calloc(size_t n, size_t size) { return alloc_fails() ? nullptr : __real_calloc(n, size); }
void *__wrap_realloc(void *old, size_t size) { return alloc_fails() ? nullptr : __real_realloc(old, size); }
// clang-format on

int __wrap_blob_buf_init(blob_buf *buf, int id) {
    if (fakeLibc.freshReplies) blob_buf_free(buf);
    return __real_blob_buf_init(buf, id);
}

int __wrap_clock_gettime(clockid_t clock, timespec *now) {
    if (clock != CLOCK_MONOTONIC && clock != CLOCK_REALTIME) return __real_clock_gettime(clock, now);
    const int64_t ms = (clock == CLOCK_REALTIME ? fakeLoop.wallSec * 1000 : 1000000) + fakeLoop.nowMs;
    now->tv_sec = static_cast<time_t>(ms / 1000);
    now->tv_nsec = static_cast<long>(ms % 1000 * 1000000);
    return 0;
}

time_t __wrap_time(time_t *out) {
    const auto now = static_cast<time_t>(fakeLoop.wallSec + fakeLoop.nowMs / 1000);
    if (out) *out = now;
    return now;
}
}

// C++ linkage: vesk_create_detached_pthread of the utilities.
int __real__Z28vesk_create_detached_pthreadPFPvS_ES_Pm(void *(*)(void *), void *, pthread_t *) asm(
    "__real__Z28vesk_create_detached_pthreadPFPvS_ES_Pm");
int wrap_create_detached_pthread(void *(*start)(void *), void *arg,
                                 pthread_t *thread) asm("__wrap__Z28vesk_create_detached_pthreadPFPvS_ES_Pm");

int wrap_create_detached_pthread(void *(*start)(void *), void *arg, pthread_t *thread) {
    if (fakeLibc.realThreads) return __real__Z28vesk_create_detached_pthreadPFPvS_ES_Pm(start, arg, thread);
    if (fakeLibc.createThreadResult == 0) start(arg);
    return fakeLibc.createThreadResult;
}
