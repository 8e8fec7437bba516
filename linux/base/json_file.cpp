#include "linux/base/json_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <system_error>

#include <json/reader.h>

#include "linux/base/unique_fd.h"

namespace ZYNE::Linux {
namespace {

constexpr int MAX_NESTING = 64;

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& what) {
    throw std::runtime_error(path.native() + ": " + what);
}

// `member` is null when it is absent.
[[noreturn]] void FailMember(
    const Json::Value& object, const Json::Value* member, const char* name, const std::string& type) {
    throw JsonError(member != nullptr ? *member : object, std::string("\"") + name + "\" must be " + type);
}

// Null when the member is absent.
const Json::Value* Find(const Json::Value& object, const char* name) {
    return object.isObject() ? object.find(name, name + std::char_traits<char>::length(name)) : nullptr;
}

bool Parse(const std::string& text, Json::Value& value, std::string& error) {
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    builder["rejectDupKeys"] = true;
    builder["allowTrailingCommas"] = false;
    builder["stackLimit"] = MAX_NESTING;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
        return reader->parse(text.data(), text.data() + text.size(), &value, &error);
    } catch (const std::exception&) {
        error = "nested too deeply";
        return false;
    }
}

// The parser's report has several indented lines: "* Line 3, Column 5", then what is wrong.
std::string LineAndProblem(const std::string& report) {
    unsigned number = 0;
    int end = 0;
    const bool hasLine = std::sscanf(report.c_str(), "* Line %u, Column %*u%n", &number, &end) == 1;
    std::string line = hasLine ? std::to_string(number) + ": " : std::string(" ");
    for (const char character : std::string_view(report).substr(hasLine ? static_cast<size_t>(end) : 0)) {
        const bool blank = character == '\n' || character == ' ';
        if (!blank) {
            line += character;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

const Json::Value& Array(const Json::Value& object, const char* name, const char* type) {
    static const Json::Value NONE(Json::arrayValue);
    const Json::Value* member = Find(object, name);
    if (member != nullptr && !member->isArray()) {
        FailMember(object, member, name, type);
    }
    return member != nullptr ? *member : NONE;
}

}  // namespace

std::string ReadTextFile(const std::filesystem::path& path, size_t limit) {
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) < 0) {
        Fail(path, std::generic_category().message(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        Fail(path, "is no file");
    }
    if (static_cast<size_t>(status.st_size) > limit) {
        Fail(path, "is larger than " + std::to_string(limit) + " bytes");
    }
    std::string text(static_cast<size_t>(status.st_size), '\0');
    const ssize_t size = read(file.Get(), text.data(), text.size());
    if (size < 0) {
        Fail(path, std::generic_category().message(errno));
    }
    text.resize(static_cast<size_t>(size));
    return text;
}

std::string JsonFile::Place(size_t offset) const {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(offset, text.size()));
    return path.native() + ":" + std::to_string(std::count(text.begin(), end, '\n') + 1) + ": ";
}

JsonFile ReadJsonFile(const std::filesystem::path& path, size_t limit) {
    JsonFile file{path, ReadTextFile(path, limit), {}};
    std::string error;
    if (!Parse(file.text, file.root, error)) {
        throw std::runtime_error(path.native() + ":" + LineAndProblem(error));
    }
    if (!file.root.isObject()) {
        Fail(path, "is no JSON object");
    }
    return file;
}

JsonError::JsonError(const Json::Value& value, const std::string& what)
    : std::runtime_error(what), offset_(static_cast<size_t>(value.getOffsetStart())) {}

std::string JsonString(const Json::Value& object, const char* name, const char* absent) {
    const Json::Value* member = Find(object, name);
    if (member == nullptr && absent != nullptr) {
        return absent;
    }
    if (member == nullptr || !member->isString()) {
        FailMember(object, member, name, "a string");
    }
    return member->asString();
}

std::string JsonString(const Json::Value& object, const char* name) {
    return JsonString(object, name, nullptr);
}

bool JsonBool(const Json::Value& object, const char* name, bool absent) {
    const Json::Value* member = Find(object, name);
    if (member != nullptr && !member->isBool()) {
        FailMember(object, member, name, "true or false");
    }
    return member != nullptr ? member->asBool() : absent;
}

int32_t JsonInt(const Json::Value& object, const char* name) {
    const Json::Value* member = Find(object, name);
    if (member == nullptr || !member->isInt()) {
        FailMember(object, member, name, "a whole number");
    }
    return member->asInt();
}

int32_t JsonInt(const Json::Value& object, const char* name, int32_t absent) {
    return Find(object, name) != nullptr ? JsonInt(object, name) : absent;
}

std::vector<std::string> JsonStrings(const Json::Value& object, const char* name) {
    constexpr char TYPE[] = "an array of strings";
    std::vector<std::string> strings;
    for (const Json::Value& element : Array(object, name, TYPE)) {
        if (!element.isString()) {
            FailMember(object, &element, name, TYPE);
        }
        strings.push_back(element.asString());
    }
    return strings;
}

std::vector<Json::Value> JsonObjects(const Json::Value& object, const char* name) {
    constexpr char TYPE[] = "an array of objects";
    std::vector<Json::Value> objects;
    for (const Json::Value& element : Array(object, name, TYPE)) {
        if (!element.isObject()) {
            FailMember(object, &element, name, TYPE);
        }
        objects.push_back(element);
    }
    return objects;
}

}  // namespace ZYNE::Linux
