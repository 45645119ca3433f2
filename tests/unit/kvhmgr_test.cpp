// The store as the station table uses it: newest first, hard limit, nothing replaced.
#include "tests/unit/common.h"

namespace {
constexpr int entryBytes = 13; // a bucket digit, a letter, text; no multiple of the alignment
std::string seen;              // keys in order of traversal

struct Store {
    Kvhmgr mgr = {};
    int result;
    Store(int capacity, int valueSize = entryBytes) {
        const auto hash = [](const void *key) { return *static_cast<const char *>(key) - '0'; };
        const auto cmp = [](Kvhmgr *, const void *entry, const void *key) { return memcmp(entry, key, 2); };
        result = kvhmgr_init(&mgr, 4, capacity, valueSize, hash, cmp);
    }
    ~Store() { kvhmgr_deinit(&mgr); }
    void *set(const char *text, int length = entryBytes) {
        char value[64] = {};
        strcpy(value, text);
        return kvhmgr_set(&mgr, value, length);
    }
    const char *get(const char *key) { return static_cast<const char *>(kvhmgr_get(&mgr, key)); }
    std::string counts() { return std::to_string(mgr.list.count) + "+" + std::to_string(mgr.freeCount); }
};

TEST(Kvhmgr, LaterEntryHidesTheEarlierUntilDeleted) {
    Store store(6);
    EXPECT_EQ(store.get("1a"), nullptr);
    for (const char *text : { "1aold", "1b", "3c", "1anew", "0d" }) store.set(text);
    EXPECT_STREQ(store.get("1a"), "1anew");
    EXPECT_EQ(words(kvhmgr_delete(&store.mgr, "1a"), kvhmgr_delete(&store.mgr, "zz")), "0x4 0 "); // left of them
    EXPECT_STREQ(store.get("1a"), "1aold");
    const auto delete_all_but_b = [](void *entry, void *mgr) {
        seen.append(static_cast<char *>(entry), 2);
        if (seen.back() != 'b') kvhmgr_obj_delete(entry, mgr);
    };
    kvhmgr_traverse(&store.mgr, delete_all_but_b, &store.mgr);
    EXPECT_EQ(seen + store.counts(), "0d1b1a3c1+5");
    kvhmgr_obj_clear(&store.mgr);
    EXPECT_EQ(store.counts(), "0+6");
}

TEST(Kvhmgr, RefusedEntriesLeaveTheTableAsItIs) {
    Store store(2);
    auto *last = static_cast<char *>(store.set("0a"));
    EXPECT_GT(last, store.set("3b")) << "the last node of the pool goes first";
    EXPECT_EQ(reinterpret_cast<uintptr_t>(last) % alignof(void *), 0u);
    EXPECT_EQ(store.set("1c"), nullptr) << "full";
    kvhmgr_delete(&store.mgr, "0a");
    for (int length : { entryBytes + 1, -1 }) EXPECT_FALSE(store.set("1c", length)) << length;
    for (const char *key : { "4x", "/x" }) EXPECT_FALSE(store.set(key)) << "one past the buckets, one before";
    EXPECT_EQ(store.counts(), "1+1");
    for (int failAlloc : { 0, 1, -1 }) { // the buckets', the pool's, none but nothing to store
        fakeLibc.failAlloc = failAlloc;
        Store none(4, failAlloc < 0 ? 0 : entryBytes);
        fakeLibc.failAlloc = -1;
        EXPECT_EQ(none.result, -1) << failAlloc;
        EXPECT_FALSE(none.set("1a", 0)) << failAlloc;
        EXPECT_FALSE(kvhmgr_delete(&none.mgr, "1a")) << failAlloc;
        kvhmgr_obj_clear(&none.mgr);
        EXPECT_EQ(none.counts(), "0+0");
    }
}
} // namespace
