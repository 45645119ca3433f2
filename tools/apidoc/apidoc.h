// The bus interface, described: what the tables of include/ don't say (a sentence on each method and signal,
// an example of each record), and the two forms in which the whole is printed.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/client/json.h"
#include "tools/client/layouts.h"

/** A sentence on a method, a signal (without the interface) or an argument. */
struct Text {
    const char *name;
    const char *text;
};

/** The sentence of a name; ends the program when there is none: a new row needs one. */
const char *method_text(std::string_view method);
/** What the method's `return` says. */
const char *return_text(std::string_view method);
const char *signal_text(std::string_view shortName);
const char *argument_text(std::string_view argument);

/** The example record of a layout as bytes; ends the program when the table has none or it doesn't fit. */
std::vector<uint8_t> sample_record(const RecordLayout &layout);
/** The same as it was written down: the fields that a caller sets. */
Json sample_object(const RecordLayout &layout);
/** Example of an argument or a number result as it stands in a call: 3, ath0.v0, {"channel":44}. */
std::string sample_argument(const WireMethod &method, const WireField &field);
/** Bytes of a method's example result; empty for a method without one. */
std::vector<uint8_t> sample_result(const WireMethod &method);

/** The call of a method by the client, and the answer it prints. */
std::string example_call(const WireMethod &method);
Json example_answer(const WireMethod &method);

/** All layouts in use, in order of appearance; nested ones before those that hold them. */
std::vector<const RecordLayout *> all_layouts();

const char *type_name(WireType type);
const char *payload_name(SwitchPayload payload);
std::string kind_name(const FieldLayout &field);
/** Signal name without the interface. */
std::string_view short_name(std::string_view signal);

[[noreturn]] void give_up(const std::string &what);

/** The reference for people, and the description for programs. */
std::string markdown_reference();
Json json_description();
