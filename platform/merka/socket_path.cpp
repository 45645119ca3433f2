#include "platform/merka/merka_internal.h"

// The library's own default differs between its versions; the device has the socket here.
const char *merka::socket_path()
{
    return "/var/run/ubus.sock";
}
