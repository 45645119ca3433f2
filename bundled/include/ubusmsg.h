// Numbers of the bus protocol: message types, attributes, status codes, reserved objects.
#pragma once

#include <libubox/blobmsg.h>

#define UBUS_MAX_MSGLEN 1048576 // padded length of a message without its header
#define UBUS_SYSTEM_OBJECT_EVENT 1
#define UBUS_SYSTEM_OBJECT_ACL 2
#define UBUS_SYSTEM_OBJECT_MONITOR 3
#define UBUS_SYSTEM_OBJECT_MAX 1024

struct ubus_msghdr {
    uint8_t version;
    uint8_t type;
    uint16_t seq;  // big-endian
    uint32_t peer; // big-endian
} __attribute__((packed));

enum ubus_msg_type {
    UBUS_MSG_HELLO,
    UBUS_MSG_STATUS,
    UBUS_MSG_DATA,
    UBUS_MSG_PING,
    UBUS_MSG_LOOKUP,
    UBUS_MSG_INVOKE,
    UBUS_MSG_ADD_OBJECT,
    UBUS_MSG_REMOVE_OBJECT,
    UBUS_MSG_SUBSCRIBE,
    UBUS_MSG_UNSUBSCRIBE,
    UBUS_MSG_NOTIFY,
    UBUS_MSG_MONITOR,
    __UBUS_MSG_LAST,
};

enum ubus_msg_attr {
    UBUS_ATTR_UNSPEC,
    UBUS_ATTR_STATUS,
    UBUS_ATTR_OBJPATH,
    UBUS_ATTR_OBJID,
    UBUS_ATTR_METHOD,
    UBUS_ATTR_OBJTYPE,
    UBUS_ATTR_SIGNATURE,
    UBUS_ATTR_DATA,
    UBUS_ATTR_TARGET,
    UBUS_ATTR_ACTIVE,
    UBUS_ATTR_NO_REPLY,
    UBUS_ATTR_SUBSCRIBERS,
    UBUS_ATTR_USER,
    UBUS_ATTR_GROUP,
    UBUS_ATTR_MAX,
};

enum ubus_msg_status {
    UBUS_STATUS_OK,
    UBUS_STATUS_INVALID_COMMAND,
    UBUS_STATUS_INVALID_ARGUMENT,
    UBUS_STATUS_METHOD_NOT_FOUND,
    UBUS_STATUS_NOT_FOUND,
    UBUS_STATUS_NO_DATA,
    UBUS_STATUS_PERMISSION_DENIED,
    UBUS_STATUS_TIMEOUT,
    UBUS_STATUS_NOT_SUPPORTED,
    UBUS_STATUS_UNKNOWN_ERROR,
    UBUS_STATUS_CONNECTION_FAILED,
    UBUS_STATUS_NO_MEMORY,
    UBUS_STATUS_PARSE_ERROR,
    UBUS_STATUS_SYSTEM_ERROR,
    __UBUS_STATUS_LAST,
};
