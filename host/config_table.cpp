#include "host/config_table.h"

#include <optional>

#include "host/closest_name.h"
#include "host/config.h"

namespace ZYNE::Host {

namespace {

std::string FileAndLine(const std::filesystem::path& file, const toml::node& node) {
    return file.string() + ":" + std::to_string(node.source().begin.line);
}

// Throws when `node` is no table.
const toml::table* AsTable(
    const toml::node& node, const std::filesystem::path& file, const std::string& name, const std::string& written) {
    if (!node.is_table()) {
        throw ConfigError(FileAndLine(file, node) + ": " + name + " must be a table, written as " + written);
    }
    return node.as_table();
}

}  // namespace

ConfigTable::ConfigTable(const toml::table& root, std::filesystem::path file, std::string name)
    : file_(std::move(file)), name_(std::move(name)) {
    if (const toml::node* node = root.get(name_)) {
        table_ = AsTable(*node, file_, name_, "[" + name_ + "]");
    }
}

ConfigTable::ConfigTable(std::filesystem::path file, std::string name, const toml::table* table)
    : file_(std::move(file)), name_(std::move(name)), table_(table) {}

std::vector<ConfigTable> ConfigTable::ReadArray(
    const toml::table& root, const std::filesystem::path& file, const std::string& name) {
    std::vector<ConfigTable> tables;
    const std::string written = "[[" + name + "]]";
    const toml::node* node = root.get(name);
    if (node != nullptr && !node->is_array()) {
        throw ConfigError(FileAndLine(file, *node) + ": " + name + " must be written as " + written);
    }
    if (node != nullptr) {
        for (const toml::node& element : *node->as_array()) {
            tables.push_back(ConfigTable(file, name, AsTable(element, file, name, written)));
        }
    }
    return tables;
}

bool ConfigTable::Has(const std::string& key) const {
    return table_ != nullptr && table_->contains(key);
}

const toml::node* ConfigTable::Find(const std::string& key) {
    known_.insert(key);
    return table_ == nullptr ? nullptr : table_->get(key);
}

std::string ConfigTable::String(const std::string& key, const std::string& byDefault) {
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return byDefault;
    }
    const auto value = node->value_exact<std::string>();
    if (!value) {
        Fail(key, "must be a string");
    }
    return *value;
}

bool ConfigTable::Bool(const std::string& key, bool byDefault) {
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return byDefault;
    }
    const auto value = node->value_exact<bool>();
    if (!value) {
        Fail(key, "must be true or false");
    }
    return *value;
}

uint32_t ConfigTable::Number(const std::string& key, uint32_t byDefault, uint32_t most) {
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return byDefault;
    }
    const auto value = node->value_exact<int64_t>();
    if (!value || *value < 0 || *value > most) {
        Fail(key, "must be a number from 0 to " + std::to_string(most));
    }
    return static_cast<uint32_t>(*value);
}

std::vector<std::string> ConfigTable::Strings(const std::string& key, const std::vector<std::string>& byDefault) {
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return byDefault;
    }
    const toml::array* array = node->as_array();
    if (array == nullptr || !(array->empty() || array->is_homogeneous<std::string>())) {
        Fail(key, "must be a list of strings");
    }
    std::vector<std::string> values;
    for (const toml::node& element : *array) {
        values.push_back(*element.value_exact<std::string>());
    }
    return values;
}

std::vector<std::string> ConfigTable::StringOrStrings(
    const std::string& key, const std::vector<std::string>& byDefault) {
    const toml::node* node = Find(key);
    if (node != nullptr && !node->is_array() && !node->is_string()) {
        Fail(key, "must be a string or a list of strings");
    }
    return node != nullptr && node->is_string() ? std::vector{String(key, "")} : Strings(key, byDefault);
}

std::filesystem::path ConfigTable::Path(const std::string& key) {
    if (!Has(key)) {
        known_.insert(key);
        return {};
    }
    const std::string text = String(key, "");
    if (text.empty() || text.find('\0') != std::string::npos) {
        Fail(key, "must name a path");
    }
    const std::filesystem::path path = std::filesystem::absolute(file_).parent_path() / text;
    return path.lexically_normal();
}

void ConfigTable::Require(const std::string& key) const {
    if (!Has(key)) {
        Fail(key, "is missing");
    }
}

std::string ConfigTable::Place(const std::string& key) const {
    std::string place = file_.string();
    if (table_ != nullptr) {
        const toml::node* node = table_->get(key);
        place = FileAndLine(file_, node != nullptr ? *node : *table_);
    }
    return place + ": " + name_ + "." + key;
}

void ConfigTable::Fail(const std::string& key, const std::string& problem) const {
    throw ConfigError(Place(key) + " " + problem);
}

void ConfigTable::RefuseOthers() const {
    if (table_ == nullptr) {
        return;
    }
    for (const auto& [key, node] : *table_) {
        if (!known_.contains(key.str())) {
            Fail(std::string(key.str()), "is not a known key" + DidYouMean(key.str(), {known_.begin(), known_.end()}));
        }
    }
}

}  // namespace ZYNE::Host
