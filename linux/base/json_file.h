// JSON files that people and apps write: read with a limit, parsed strictly, and read out by type. Anything wrong with
// one is a std::runtime_error with one line.
//
//     const JsonFile file = ReadJsonFile(path, MAX_FILE_BYTES);
//     try {
//         user = JsonInt(file.root, "user");
//     } catch (const JsonError& error) {
//         throw std::runtime_error(file.Place(error.Offset()) + error.what());  // app.json:3: "user" must be ...
//     }
#pragma once

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <json/value.h>

namespace ZYNE::Linux {

// The whole of a regular file of at most `limit` bytes.
std::string ReadTextFile(const std::filesystem::path& path, size_t limit);

struct JsonFile {
    std::filesystem::path path;
    std::string text;
    Json::Value root;  // an object

    // "path:line: " of the value that begins at `offset`.
    std::string Place(size_t offset) const;
};

// Comments are allowed; nesting is limited to what configuration needs. Errors name the file and the line.
JsonFile ReadJsonFile(const std::filesystem::path& path, size_t limit);

// What is wrong with `value`.
class JsonError : public std::runtime_error {
public:
    JsonError(const Json::Value& value, const std::string& what);
    size_t Offset() const { return offset_; }

private:
    size_t offset_;
};

// A member of an object. It must be of the type, and be there unless a default is given; otherwise a JsonError.
std::string JsonString(const Json::Value& object, const char* name);
std::string JsonString(const Json::Value& object, const char* name, const char* absent);
bool JsonBool(const Json::Value& object, const char* name, bool absent);
int32_t JsonInt(const Json::Value& object, const char* name);
int32_t JsonInt(const Json::Value& object, const char* name, int32_t absent);
// An absent array is empty.
std::vector<std::string> JsonStrings(const Json::Value& object, const char* name);
std::vector<Json::Value> JsonObjects(const Json::Value& object, const char* name);

}  // namespace ZYNE::Linux
