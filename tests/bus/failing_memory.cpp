// Linked into a program: its allocations are counted, and fail by a plan that it shares with the test.
#include <errno.h>
#include <new>
#include <stdlib.h>
#include <sys/epoll.h>
#include <sys/mman.h>

#include "tests/bus/failing_memory.h"

static Plan &plan() {
    static Plan none; // as long as there is no file
    static void *shared = MAP_FAILED;
    if (shared == MAP_FAILED) shared = mmap(nullptr, sizeof(Plan), PROT_READ | PROT_WRITE, MAP_SHARED, PLAN_FD, 0);
    return shared == MAP_FAILED ? none : *static_cast<Plan *>(shared);
}

static bool fails() {
    Plan &now = plan();
    return now.failing > 0 && (now.granted > 0 ? now.granted--, false : (now.failing--, true));
}

static void *counted(void *block) {
    plan().blocks += block != nullptr;
    return block;
}

extern "C" {
void *__real_malloc(size_t size);
void *__real_realloc(void *old, size_t size);
void __real_free(void *block);
void *__wrap_malloc(size_t size) { return fails() ? nullptr : counted(__real_malloc(size)); }
void *__wrap_realloc(void *old, size_t size) {
    if (!old) return __wrap_malloc(size);
    return fails() ? nullptr : __real_realloc(old, size);
}
void __wrap_free(void *block) {
    plan().blocks -= block != nullptr;
    __real_free(block);
}
}

#ifdef VESK_FAILING_NEW
extern "C" int __real_epoll_ctl(int fd, int operation, int watched, epoll_event *event);
extern "C" int __wrap_epoll_ctl(int fd, int operation, int watched, epoll_event *event) {
    if (operation != EPOLL_CTL_ADD || !fails()) return __real_epoll_ctl(fd, operation, watched, event);
    errno = ENOMEM; // the kernel's own
    return -1;
}
void *operator new(size_t size) {
    void *block = __wrap_malloc(size);
    return block ? block : throw std::bad_alloc();
}
void operator delete(void *block) noexcept { free(block); }
void operator delete(void *block, size_t) noexcept { free(block); }
#endif
