// The bus object "tamlo.pelk.vesk": its registration and the one dispatch function of its methods.
#pragma once

#include "foundation/ubus_headers.h"

/** Puts the object on the bus and subscribes the inbound signals. 0 or -1. */
int register_vesk_service();
/** The object; never NULL. */
ubus_object *TamloPelkVesk_object_get();
/** Serves every method; public for the tests and the fuzz entries. */
int onTamloPelkVeskDispatch(ubus_context *ctx, ubus_object *obj, ubus_request_data *req, const char *method,
                            blob_attr *msg);
