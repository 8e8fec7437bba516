// Reading JSON texts that come from outside, and writing such texts.
#pragma once

#include <json/json.h>

#include <string>

namespace ZYNE::CollaborationFwk {

// Any thread. Never logs, and never throws unless said otherwise.
class JsonUtils {
public:
    JsonUtils() = delete;

    // Parses the whole of `text` into `*out`. False when it is empty or not JSON; `*out` is then null. Any JSON value
    // is accepted, so test for the type that is expected before any access.
    static bool StringToJsonInternal(const std::string& text, Json::Value* out);

    // The same text as value.toStyledString(), for one without comments. May throw std::bad_alloc.
    static std::string ToStyledString(const Json::Value& value);

    // The member `key` of `obj` as a number that fits an int. False, with `out` as it was, when `obj` is no object,
    // `key` is empty, or the member is missing or something else.
    static bool GetInt(Json::Value& obj, const std::string& key, int& out);

    // The same for a string.
    static bool GetString(Json::Value& obj, const std::string& key, std::string& out);
};

}  // namespace ZYNE::CollaborationFwk
