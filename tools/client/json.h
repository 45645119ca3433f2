// A JSON value that somebody owns. Values move into objects and arrays; nothing is deleted by hand.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include <cjson/cJSON.h>

class Json
{
public:
    explicit Json(cJSON *owned = nullptr) : value(owned) {}
    Json(Json &&other) noexcept : value(std::exchange(other.value, nullptr)) {}
    Json &operator=(Json &&other) noexcept
    {
        std::swap(value, other.value);
        return *this;
    }
    ~Json() { cJSON_Delete(value); }

    static Json object() { return Json(cJSON_CreateObject()); }
    static Json array() { return Json(cJSON_CreateArray()); }
    static Json null() { return Json(cJSON_CreateNull()); }
    static Json text(const std::string &text) { return Json(cJSON_CreateString(text.c_str())); }
    /** Null for an empty text. */
    static Json text_or_null(const std::string &text) { return text.empty() ? null() : Json::text(text); }
    static Json number(double number) { return Json(cJSON_CreateNumber(number)); }
    /** As it is written, for what a double can't hold. */
    static Json raw(const std::string &written) { return Json(cJSON_CreateRaw(written.c_str())); }
    static Json boolean(bool is) { return Json(cJSON_CreateBool(is)); }
    /** Holds no value where the text isn't JSON. */
    static Json parse(const char *text) { return Json(cJSON_Parse(text)); }

    explicit operator bool() const { return value != nullptr; }
    const cJSON *get() const { return value; }
    /** A member of an object, NULL if it isn't there. */
    const cJSON *at(const char *name) const { return cJSON_GetObjectItemCaseSensitive(value, name); }

    void put(const char *name, Json &&member) { cJSON_AddItemToObject(value, name, member.release()); }
    void put(const char *name, const std::string &text) { put(name, Json::text(text)); }
    void put(const char *name, const char *text) { put(name, Json(cJSON_CreateString(text))); }
    void put(const char *name, bool is) { put(name, boolean(is)); }
    void put(const char *name, double number) { put(name, Json::number(number)); }
    void put(const char *name, int number) { put(name, Json::number(number)); }
    void put(const char *name, long number) { put(name, Json::number(static_cast<double>(number))); }
    void put(const char *name, uint32_t number) { put(name, Json::number(number)); }
    /** Null for a figure that is absent. */
    template <class T>
    void put(const char *name, const std::optional<T> &figure)
    {
        put(name, figure ? Json::number(static_cast<double>(*figure)) : null());
    }
    void push(Json &&item) { cJSON_AddItemToArray(value, item.release()); }

    /** On one line, or as people read it. */
    std::string line() const { return taken(cJSON_PrintUnformatted(value)); }
    std::string pretty() const { return taken(cJSON_Print(value)); }

private:
    cJSON *release() { return std::exchange(value, nullptr); }
    static std::string taken(char *text)
    {
        std::string result = text ? text : "null";
        cJSON_free(text);
        return result;
    }
    cJSON *value;
};

/** A value that somebody else owns, on one line. */
inline std::string json_line(const cJSON *value)
{
    char *text = cJSON_PrintUnformatted(value);
    std::string line = text ? text : "null";
    cJSON_free(text);
    return line;
}
