// The store as the station table uses it: newest first, hard limit, nothing replaced.
#include "foundation/kvhmgr.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/fakes/fakes.h"

namespace
{

constexpr int entryBytes = 13; // a bucket digit, a letter, text; no multiple of the alignment
std::string seen;              // keys in order of traversal

struct Store {
    Kvhmgr mgr = {};
    int result;
    Store(int capacity, int valueSize = entryBytes)
    {
        result = kvhmgr_init(
            &mgr, 4, capacity, valueSize,
            [](const void *key) { return *static_cast<const char *>(key) - '0'; },
            [](Kvhmgr *, const void *entry, const void *key) { return memcmp(entry, key, 2); });
    }
    ~Store() { kvhmgr_deinit(&mgr); }
    void *set(const char *text, int length = entryBytes)
    {
        char value[64] = {};
        strcpy(value, text);
        return kvhmgr_set(&mgr, value, length);
    }
    const char *get(const char *key) { return static_cast<const char *>(kvhmgr_get(&mgr, key)); }
    std::string counts() { return std::to_string(mgr.list.count) + "+" + std::to_string(mgr.freeCount); }
};

void delete_all_but_b(void *entry, void *mgr)
{
    seen.append(static_cast<char *>(entry), 2);
    if (seen.back() != 'b')
        kvhmgr_obj_delete(entry, mgr);
}

TEST(Kvhmgr, LaterEntryHidesTheEarlierUntilDeleted)
{
    Store store(6);
    EXPECT_EQ(store.get("1a"), nullptr);
    for (const char *text : { "1aold", "1b", "3c", "1anew", "0d" })
        store.set(text);
    EXPECT_STREQ(store.get("1a"), "1anew");
    EXPECT_EQ(kvhmgr_delete(&store.mgr, "1a"), reinterpret_cast<void *>(4));
    EXPECT_STREQ(store.get("1a"), "1aold");
    EXPECT_EQ(kvhmgr_delete(&store.mgr, "zz"), nullptr);
    seen.clear();
    kvhmgr_traverse(&store.mgr, delete_all_but_b, &store.mgr);
    EXPECT_EQ(seen, "0d1b1a3c");
    EXPECT_EQ(store.counts(), "1+5");
    kvhmgr_obj_clear(&store.mgr);
    EXPECT_EQ(store.counts(), "0+6");
}

TEST(Kvhmgr, RefusedEntriesLeaveTheTableAsItIs)
{
    Store store(2);
    auto *last = static_cast<char *>(store.set("0a"));
    EXPECT_GT(last, store.set("3b")) << "the last node of the pool goes first";
    EXPECT_EQ(reinterpret_cast<uintptr_t>(last) % alignof(void *), 0u);
    EXPECT_EQ(store.set("1c"), nullptr) << "full";
    kvhmgr_delete(&store.mgr, "0a");
    EXPECT_EQ(store.set("1c", entryBytes + 1), nullptr);
    EXPECT_EQ(store.set("1c", -1), nullptr);
    EXPECT_EQ(store.set("4x"), nullptr) << "one past the buckets";
    EXPECT_EQ(store.set("/x"), nullptr) << "one before the buckets";
    EXPECT_EQ(store.counts(), "1+1");
}

TEST(Kvhmgr, StoreWithoutMemorySurvivesEveryCall)
{
    for (int failAlloc : { 0, 1, -1 }) { // the buckets', the pool's, none but nothing to store
        SCOPED_TRACE(failAlloc);
        fakeLibc.failAlloc = failAlloc;
        Store store(4, failAlloc < 0 ? 0 : entryBytes);
        fakeLibc.failAlloc = -1;
        EXPECT_EQ(store.result, -1);
        EXPECT_EQ(store.set("1a", 0), nullptr);
        EXPECT_EQ(kvhmgr_delete(&store.mgr, "1a"), nullptr);
        kvhmgr_obj_clear(&store.mgr);
        EXPECT_EQ(store.counts(), "0+0");
    }
}

} // namespace
