#include "plugin/utils/json_utils.h"

#include <exception>
#include <memory>
#include <sstream>

namespace ZYNE::CollaborationFwk {
namespace {

// Null when there is no such member to read.
const Json::Value* FindMember(const Json::Value& obj, const std::string& key) {
    if (!obj.isObject() || key.empty()) {
        return nullptr;
    }
    return obj.find(key.data(), key.data() + key.size());
}

}  // namespace

bool JsonUtils::StringToJsonInternal(const std::string& text, Json::Value* out) {
    *out = Json::Value();
    if (text.empty()) {
        return false;
    }
    try {
        // Making one takes longer than reading a short text. It begins anew with each text, whatever became of the last.
        thread_local const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
        Json::Value parsed;  // half filled when the text turns out to be bad
        if (!reader->parse(text.data(), text.data() + text.size(), &parsed, nullptr)) {
            return false;
        }
        out->swap(parsed);
        return true;
    } catch (const std::exception&) {
        return false;  // nesting beyond the parser's limit is thrown, not answered
    }
}

std::string JsonUtils::ToStyledString(const Json::Value& value) {
    thread_local const std::unique_ptr<Json::StreamWriter> writer(Json::StreamWriterBuilder().newStreamWriter());
    std::ostringstream text;
    writer->write(value, &text);
    return text.str() + '\n';
}

bool JsonUtils::GetInt(Json::Value& obj, const std::string& key, int& out) {
    const Json::Value* member = FindMember(obj, key);
    if (member == nullptr || !member->isInt()) {
        return false;
    }
    out = member->asInt();
    return true;
}

bool JsonUtils::GetString(Json::Value& obj, const std::string& key, std::string& out) {
    const Json::Value* member = FindMember(obj, key);
    if (member == nullptr || !member->isString()) {
        return false;
    }
    out = member->asString();
    return true;
}

}  // namespace ZYNE::CollaborationFwk
