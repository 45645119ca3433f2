// What blob and blobmsg share.
#pragma once

#include <libubox/blob.h>

// Opens the container that was added last; returns the cookie for blob_nest_end.
void *blob_nest_into(struct blob_buf *buf, struct blob_attr *last);
