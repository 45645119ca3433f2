// Linked into a program: its allocations fail by a plan that it shares with the test.
#include <new>
#include <stdlib.h>
#include <sys/mman.h>

#include "tests/bus/failing_memory.h"

static bool fails() {
    static void *const shared = mmap(nullptr, sizeof(Plan), PROT_READ | PROT_WRITE, MAP_SHARED, PLAN_FD, 0);
    if (shared == MAP_FAILED) return false;
    Plan &plan = *static_cast<Plan *>(shared);
    return plan.failing > 0 && (plan.granted > 0 ? plan.granted--, false : (plan.failing--, true));
}

extern "C" {
void *__real_malloc(size_t size);
void *__real_realloc(void *old, size_t size);
void *__wrap_malloc(size_t size) { return fails() ? nullptr : __real_malloc(size); }
void *__wrap_realloc(void *old, size_t size) { return fails() ? nullptr : __real_realloc(old, size); }
}

#ifdef VESK_FAILING_NEW
void *operator new(size_t size) {
    void *block = __wrap_malloc(size);
    return block ? block : throw std::bad_alloc();
}
void operator delete(void *block) noexcept { free(block); }
void operator delete(void *block, size_t) noexcept { free(block); }
#endif
