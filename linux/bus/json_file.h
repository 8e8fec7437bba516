// JSON files that people and apps write: read with a limit, parsed strictly, and taken apart by type. Whatever is wrong
// with one is a std::runtime_error with one line that says where.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include <json/value.h>

namespace ZYNE::Linux {

// The whole of a regular file of at most `limit` bytes.
std::string ReadTextFile(const std::filesystem::path& path, size_t limit);

// The JSON object in a file. Comments are allowed; nesting is limited to what configuration needs.
Json::Value ReadJsonObject(const std::filesystem::path& path, size_t limit);

// A member of an object: must be there, unless a default is given, and of the type.
std::string JsonString(const Json::Value& object, const char* name);
std::string JsonString(const Json::Value& object, const char* name, const char* absent);
bool JsonBool(const Json::Value& object, const char* name, bool absent);
int32_t JsonInt(const Json::Value& object, const char* name);
int32_t JsonInt(const Json::Value& object, const char* name, int32_t absent);
// An absent array is empty.
std::vector<std::string> JsonStrings(const Json::Value& object, const char* name);
std::vector<Json::Value> JsonObjects(const Json::Value& object, const char* name);

}  // namespace ZYNE::Linux
