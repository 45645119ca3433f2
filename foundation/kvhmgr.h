// A chained hash table (kvhlist_*) on a pool of fixed capacity (kvhmgr_*). Both blocks of memory are
// taken when the store is created; from then on nothing is allocated and the number of entries has a
// hard limit. The table knows nothing of what it stores: the key stands at the start of each value, hash
// and comparison belong to the user. Single-threaded.
#pragma once

#include <cstdint>

struct Kvhmgr;

/** Header in front of each payload; users only ever see the payload behind it. */
struct KvhNode {
    KvhNode *next;
    KvhNode **pprev; // the word that points to this node: a chain head, a `next`, or the free list's head
};

using kvh_hash = int (*)(const void *key);                                    // bucket index
using kvh_compare = int (*)(Kvhmgr *mgr, const void *entry, const void *key); // 0: equal
using kvh_visit = void (*)(void *entry, void *arg);

/** The table alone. */
struct Kvhlist {
    int32_t bucketCount;
    int32_t count; // entries in the table
    kvh_hash hash;
    KvhNode **buckets; // bucketCount chain heads; NULL before init, after free and when out of memory
    Kvhmgr *owner;     // provides nodes and comparison
};

/** The table with its pool. Embedded in the user's record; a zeroed one is an empty store that refuses sets.
 */
struct Kvhmgr {
    Kvhlist list; // first, so that one pointer serves for both layers
    KvhNode *freeHead;
    void *pool; // the one block that holds all nodes
    void *(*allocFn)(Kvhmgr *mgr);
    void (*freeFn)(Kvhmgr *mgr, void *payload);
    kvh_compare compareFn;
    int32_t maxCount;  // capacity; list.count + freeCount = maxCount
    int32_t freeCount; // nodes on the free list
    int32_t valueSize; // payload bytes per node
};

/** Takes the bucket array. 0, or -1 when there is no memory: the list then stays empty and refuses sets. */
int kvhlist_init(Kvhlist *list, Kvhmgr *owner, int bucketCount, kvh_hash hash);

/**
 * Stores a copy of `len` bytes in front of any entry with the same key, which it hides until it is deleted.
 * The stored payload (owned by the pool), or NULL with the table unchanged: pool full, `len` negative or
 * above valueSize, hash outside the buckets.
 */
void *kvhlist_set(Kvhlist *list, const void *value, int len);

/** The payload of the newest entry with this key, or NULL. Valid until that entry is deleted. */
void *kvhlist_get(Kvhlist *list, const void *key);

/** Removes what kvhlist_get finds. The new count as a pointer-sized number; NULL if nothing was found. */
void *kvhlist_delete(Kvhlist *list, const void *key);

int kvhlist_count(const Kvhlist *list);

/** Frees the bucket array; the list is empty from then on. */
void kvhlist_free(Kvhlist *list);

/** Calls fn(entry, arg) for all entries, newest first within a bucket; fn may delete the entry it gets. */
void kvhlist_traverse(Kvhlist *list, kvh_visit fn, void *arg);

/** Creates the store. 0, or -1 on bad sizes or no memory: an empty store that refuses sets. */
int kvhmgr_init(Kvhmgr *mgr, int bucketCount, int maxCount, int valueSize, kvh_hash hash,
                kvh_compare compare);

void *kvhmgr_set(Kvhmgr *mgr, const void *value, int len);
void *kvhmgr_get(Kvhmgr *mgr, const void *key);
void *kvhmgr_delete(Kvhmgr *mgr, const void *key);

/** kvhlist_traverse on the store; always 0. */
int kvhmgr_traverse(Kvhmgr *mgr, kvh_visit fn, void *arg);

/** Deletes all entries. */
void kvhmgr_obj_clear(Kvhmgr *mgr);

/** Visitor that deletes: removes the entry with this entry's key from `mgr`; NULL is ignored. */
void kvhmgr_obj_delete(void *entry, void *mgr);

/** Gives both blocks back; entries vanish with the pool. */
void kvhmgr_deinit(Kvhmgr *mgr);

/** The pool's allocator: a payload of valueSize bytes, or NULL when all are in use. */
void *kvhmgr_malloc(Kvhmgr *mgr);
void kvhmgr_free(Kvhmgr *mgr, void *payload);

/** Prints capacity, free and used count to stdout. */
void kvhmgr_print_stat(const Kvhmgr *mgr);
