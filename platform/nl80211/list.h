// A growable array of plain values, for readers that don't know how much the kernel will say. Nothing here
// throws: without memory an addition fails and the array stays as it was.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <type_traits>

namespace radio
{

/** All zero is an empty one. Lives as long as its record; list_free gives the memory back. */
template <class T>
struct List {
    static_assert(std::is_trivially_copyable_v<T>);
    T *items = nullptr;
    size_t count = 0;
    size_t room = 0;

    T *begin() const { return items; }
    T *end() const { return items + count; }
};

/** False without memory. */
template <class T>
bool list_add(List<T> &list, const T &value)
{
    if (list.count == list.room) {
        const size_t room = list.room == 0 ? 16 : list.room * 2;
        void *items = realloc(static_cast<void *>(list.items), room * sizeof(T));
        if (!items)
            return false;
        list.items = static_cast<T *>(items);
        list.room = room;
    }
    list.items[list.count++] = value;
    return true;
}

template <class T>
void list_free(List<T> &list)
{
    free(list.items);
    list = {};
}

/** A list that belongs to a block of code and ends with it. */
template <class T>
struct LocalList : List<T> {
    LocalList() = default;
    LocalList(const LocalList &) = delete;
    LocalList &operator=(const LocalList &) = delete;
    ~LocalList() { list_free(*this); }
};

} // namespace radio
