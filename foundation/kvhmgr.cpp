// Nodes live in one block; each is in exactly one bucket's chain or on the free list. `pprev` holds the
// address of the word that points to a node, so that it unlinks in constant time wherever it stands.
#include "foundation/kvhmgr.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

static_assert(sizeof(KvhNode) == 2 * sizeof(void *));

namespace
{

// Marks in a node that is on no list. Nothing tests them; they stand out in a debugger.
constexpr uintptr_t poisonNext = 0x100100;
constexpr uintptr_t poisonPprev = 0x200200;

void *payload_of(KvhNode *node)
{
    return node + 1;
}

KvhNode *node_of(void *payload)
{
    return static_cast<KvhNode *>(payload) - 1;
}

void push_node(KvhNode **first, KvhNode *node)
{
    node->next = *first;
    node->pprev = first;
    if (node->next != nullptr)
        node->next->pprev = &node->next;
    *first = node;
}

void unlink_node(KvhNode *node)
{
    *node->pprev = node->next;
    if (node->next != nullptr)
        node->next->pprev = node->pprev;
    node->next = reinterpret_cast<KvhNode *>(poisonNext);
    node->pprev = reinterpret_cast<KvhNode **>(poisonPprev);
}

/** Chain head for a key; NULL without buckets or for a hash outside them. */
KvhNode **bucket_of(Kvhlist *list, const void *key)
{
    if (list->buckets == nullptr)
        return nullptr;
    const int bucket = list->hash(key);
    if (bucket < 0 || bucket >= list->bucketCount)
        return nullptr;
    return &list->buckets[bucket];
}

/** Header and payload, rounded up so that the next header is aligned. */
size_t node_stride(int valueSize)
{
    const size_t mask = alignof(KvhNode) - 1;
    return (sizeof(KvhNode) + static_cast<size_t>(valueSize) + mask) & ~mask;
}

void *alloc_pool(int maxCount, int valueSize)
{
    size_t bytes;
    if (maxCount <= 0 || valueSize <= 0)
        return nullptr;
    if (__builtin_mul_overflow(node_stride(valueSize), static_cast<size_t>(maxCount), &bytes))
        return nullptr;
    return malloc(bytes);
}

/** What is left when there is nothing to store in: every operation answers NULL or 0. */
void reset_pool(Kvhmgr *mgr)
{
    free(mgr->pool);
    mgr->pool = nullptr;
    mgr->freeHead = nullptr;
    mgr->maxCount = 0;
    mgr->freeCount = 0;
}

} // namespace

int kvhlist_init(Kvhlist *list, Kvhmgr *owner, int bucketCount, kvh_hash hash)
{
    *list = { 0, 0, hash, nullptr, owner };
    if (bucketCount <= 0)
        return -1;
    list->buckets = static_cast<KvhNode **>(calloc(static_cast<size_t>(bucketCount), sizeof(KvhNode *)));
    if (list->buckets == nullptr)
        return -1;
    list->bucketCount = bucketCount;
    return 0;
}

void *kvhlist_set(Kvhlist *list, const void *value, int len)
{
    KvhNode **bucket = bucket_of(list, value);
    if (bucket == nullptr || len < 0 || len > list->owner->valueSize)
        return nullptr;
    void *payload = list->owner->allocFn(list->owner);
    if (payload == nullptr)
        return nullptr;
    memcpy(payload, value, static_cast<size_t>(len));
    push_node(bucket, node_of(payload));
    ++list->count;
    return payload;
}

void *kvhlist_get(Kvhlist *list, const void *key)
{
    KvhNode **bucket = bucket_of(list, key);
    if (bucket == nullptr)
        return nullptr;
    for (KvhNode *node = *bucket; node != nullptr; node = node->next)
        if (list->owner->compareFn(list->owner, payload_of(node), key) == 0)
            return payload_of(node);
    return nullptr;
}

void *kvhlist_delete(Kvhlist *list, const void *key)
{
    void *payload = kvhlist_get(list, key);
    if (payload == nullptr)
        return nullptr;
    unlink_node(node_of(payload));
    list->owner->freeFn(list->owner, payload);
    --list->count;
    return reinterpret_cast<void *>(static_cast<intptr_t>(list->count));
}

int kvhlist_count(const Kvhlist *list)
{
    return list->count;
}

void kvhlist_free(Kvhlist *list)
{
    free(list->buckets);
    list->buckets = nullptr;
    list->bucketCount = 0;
    list->count = 0;
}

void kvhlist_traverse(Kvhlist *list, kvh_visit fn, void *arg)
{
    for (int bucket = 0; bucket < list->bucketCount; ++bucket) {
        KvhNode *next = nullptr;
        for (KvhNode *node = list->buckets[bucket]; node != nullptr; node = next) {
            next = node->next;
            if (fn != nullptr)
                fn(payload_of(node), arg);
        }
    }
}

int kvhmgr_init(Kvhmgr *mgr, int bucketCount, int maxCount, int valueSize, kvh_hash hash, kvh_compare compare)
{
    *mgr = {};
    const int listResult = kvhlist_init(&mgr->list, mgr, bucketCount, hash);
    mgr->valueSize = valueSize;
    mgr->allocFn = kvhmgr_malloc;
    mgr->freeFn = kvhmgr_free;
    mgr->compareFn = compare;
    mgr->pool = alloc_pool(maxCount, valueSize);
    if (listResult != 0 || mgr->pool == nullptr) {
        kvhmgr_deinit(mgr);
        return -1;
    }
    mgr->maxCount = maxCount;
    auto *bytes = static_cast<unsigned char *>(mgr->pool);
    const size_t stride = node_stride(valueSize);
    for (int i = 0; i < maxCount; ++i)
        kvhmgr_free(mgr, payload_of(reinterpret_cast<KvhNode *>(bytes + static_cast<size_t>(i) * stride)));
    return 0;
}

void *kvhmgr_set(Kvhmgr *mgr, const void *value, int len)
{
    return kvhlist_set(&mgr->list, value, len);
}

void *kvhmgr_get(Kvhmgr *mgr, const void *key)
{
    return kvhlist_get(&mgr->list, key);
}

void *kvhmgr_delete(Kvhmgr *mgr, const void *key)
{
    return kvhlist_delete(&mgr->list, key);
}

int kvhmgr_traverse(Kvhmgr *mgr, kvh_visit fn, void *arg)
{
    kvhlist_traverse(&mgr->list, fn, arg);
    return 0;
}

void kvhmgr_obj_clear(Kvhmgr *mgr)
{
    kvhlist_traverse(&mgr->list, kvhmgr_obj_delete, mgr);
}

void kvhmgr_obj_delete(void *entry, void *mgr)
{
    if (entry == nullptr)
        return;
    kvhlist_delete(&static_cast<Kvhmgr *>(mgr)->list, entry);
}

void kvhmgr_deinit(Kvhmgr *mgr)
{
    kvhlist_free(&mgr->list);
    reset_pool(mgr);
}

void *kvhmgr_malloc(Kvhmgr *mgr)
{
    KvhNode *node = mgr->freeHead;
    if (node == nullptr)
        return nullptr;
    unlink_node(node);
    --mgr->freeCount;
    return payload_of(node);
}

void kvhmgr_free(Kvhmgr *mgr, void *payload)
{
    push_node(&mgr->freeHead, node_of(payload));
    ++mgr->freeCount;
}

void kvhmgr_print_stat(const Kvhmgr *mgr)
{
    puts("--------------------\r");
    printf("max    count is %d\r\n", mgr->maxCount);
    printf("free   count is %d\r\n", mgr->freeCount);
    printf("used   count is %d\r\n", mgr->list.count);
}
