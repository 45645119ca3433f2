// Doubly linked ring with the link embedded in the element. An element that is in no list has a link
// that points to itself (after INIT_LIST_HEAD or list_del_init).
#pragma once

#include <libubox/utils.h>

struct list_head {
    struct list_head *next;
    struct list_head *prev;
};

#define LIST_HEAD_INIT(name)                                                                                 \
    {                                                                                                        \
        &(name), &(name)                                                                                     \
    }

static inline void INIT_LIST_HEAD(struct list_head *list)
{
    list->next = list->prev = list;
}

static inline bool list_empty(const struct list_head *list)
{
    return list->next == list;
}

static inline void list_add(struct list_head *item, struct list_head *head)
{
    item->prev = head;
    item->next = head->next;
    head->next->prev = item;
    head->next = item;
}

static inline void list_add_tail(struct list_head *item, struct list_head *head)
{
    list_add(item, head->prev);
}

static inline void list_del(struct list_head *item)
{
    item->next->prev = item->prev; // NOLINT(clang-analyzer-unix.Malloc): it can't follow a list's ring
    item->prev->next = item->next;
    item->next = item->prev = NULL;
}

static inline void list_del_init(struct list_head *item)
{
    list_del(item);
    INIT_LIST_HEAD(item);
}

#define list_entry(ptr, type, field) container_of(ptr, type, field)
#define list_first_entry(head, type, field) list_entry((head)->next, type, field)

#define list_for_each_entry(p, head, field)                                                                  \
    for (p = list_entry((head)->next, __typeof__(*p), field); &p->field != (head);                           \
         p = list_entry(p->field.next, __typeof__(*p), field))

// The body may take `p` out of the list, or free it.
#define list_for_each_entry_safe(p, n, head, field)                                                          \
    for (p = list_entry((head)->next, __typeof__(*p), field),                                                \
        n = list_entry(p->field.next, __typeof__(*p), field);                                                \
         &p->field != (head); p = n, n = list_entry(n->field.next, __typeof__(*n), field))
