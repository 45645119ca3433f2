// Signals that come in: a signal is a bus event whose id is its full name and whose message holds the
// bytes in one field. One event handler object carries all names as patterns.
#include <cstdio>
#include <cstring>

#include "platform/merka/merka_internal.h"

namespace
{

constexpr int mostNames = 64;

void on_event(ubus_context *ctx, ubus_event_handler *handler, const char *id, blob_attr *msg);

struct Name {
    char text[merka::longestName + 1];
    bool registered; // on the present connection
};

struct Subscriptions {
    Name names[mostNames];
    int nameCount;
    const MerkaSignalRow *rows; // the caller's table
    int rowCount;
    ubus_event_handler listener;
} subs = {};

/** Writes "interface.signal" into `name`; whether it fits. */
bool row_name(const MerkaSignalRow &row, char (&name)[merka::longestName + 1])
{
    const int length = snprintf(name, sizeof name, "%.64s.%.64s", row.interface, row.signal);
    return length > 0 && length <= merka::longestName;
}

/** Finds the payload, NULL and 0 if there is none. Whether the message is sound. */
bool read_payload(blob_attr *msg, void **payload, int *size)
{
    *payload = nullptr;
    *size = 0;
    if (msg == nullptr || blob_len(msg) == 0)
        return true;
    const blobmsg_policy policy = { "payload", BLOBMSG_TYPE_UNSPEC }; // of whatever type
    blob_attr *field = nullptr;
    if (blobmsg_parse(&policy, 1, &field, blob_data(msg), static_cast<unsigned>(blob_len(msg))) != 0)
        return false;
    if (field == nullptr || blobmsg_len(field) == 0)
        return true;
    *payload = blobmsg_data(field);
    *size = static_cast<int>(blobmsg_len(field));
    return true;
}

// A handler may set another table; the loop stays with the one it began with.
void on_event(ubus_context *, ubus_event_handler *, const char *id, blob_attr *msg)
{
    void *payload;
    int size;
    if (!read_payload(msg, &payload, &size))
        return;
    const MerkaSignalRow *rows = subs.rows;
    const int count = subs.rowCount;
    for (int i = 0; i < count; ++i) {
        char name[merka::longestName + 1];
        if (rows[i].handler != nullptr && row_name(rows[i], name) && strcmp(name, id) == 0)
            rows[i].handler(rows[i].interface, rows[i].signal, payload, size);
    }
}

} // namespace

int merka::note_signal(const char *name)
{
    if (name == nullptr || name[0] == '\0' || strlen(name) > longestName)
        return -1;
    for (int i = 0; i < subs.nameCount; ++i)
        if (strcmp(subs.names[i].text, name) == 0)
            return 0;
    if (subs.nameCount == mostNames)
        return -1;
    Name &slot = subs.names[subs.nameCount++];
    strcpy(slot.text, name);
    slot.registered = false;
    return 0;
}

int merka::set_signal_table(const MerkaSignalRow *rows, int count)
{
    if (count < 0 || (rows == nullptr && count > 0))
        return -1;
    subs.rows = rows;
    subs.rowCount = count;
    int result = 0;
    for (int i = 0; i < count; ++i) {
        char name[longestName + 1];
        if (!row_name(rows[i], name) || note_signal(name) != 0)
            result = -1;
    }
    complete_registration();
    return result;
}

void merka::forget_registrations()
{
    for (int i = 0; i < subs.nameCount; ++i)
        subs.names[i].registered = false;
}

bool merka::register_missing(ubus_context *ctx)
{
    bool whole = true;
    subs.listener.cb = on_event;
    for (int i = 0; i < subs.nameCount && subs.rows != nullptr; ++i) {
        Name &name = subs.names[i];
        if (!name.registered)
            name.registered = ubus_register_event_handler(ctx, &subs.listener, name.text) == 0;
        whole &= name.registered;
    }
    return whole;
}
