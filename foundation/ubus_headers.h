// The one place that includes the bus libraries' public headers. The genuine libubox headers carry no
// C linkage guard, compile with warnings under C++, and define a `fallthrough` macro that would break
// the [[fallthrough]] attribute; all of that ends here.
#pragma once

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wextra"

extern "C" {
#include <libubox/blobmsg.h>
#include <libubox/uloop.h>
#include <libubus.h>
}

#pragma GCC diagnostic pop

#ifdef fallthrough
#undef fallthrough
#endif
