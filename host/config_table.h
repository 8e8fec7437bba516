// Reads one table of a configuration file, key by key, and says where a key is wrong.
#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <toml++/toml.h>

namespace ZYNE::Host {

// Every reading operation returns the default when the key is not given, and throws ConfigError when the value is not
// valid.
class ConfigTable {
public:
    // The table `name` of `root`, which was read from `file`. A table that is not given counts as empty.
    ConfigTable(const toml::table& root, std::filesystem::path file, std::string name);

    // The tables of the array `name`, in order; none when it is not given.
    static std::vector<ConfigTable> ReadArray(
        const toml::table& root, const std::filesystem::path& file, const std::string& name);

    bool Has(const std::string& key) const;
    std::string String(const std::string& key, const std::string& byDefault);
    bool Bool(const std::string& key, bool byDefault);
    uint32_t Number(const std::string& key, uint32_t byDefault, uint32_t most);
    std::vector<std::string> Strings(const std::string& key, const std::vector<std::string>& byDefault);
    // A single string counts as a list of one.
    std::vector<std::string> StringOrStrings(const std::string& key, const std::vector<std::string>& byDefault);
    // Absolute; a relative path is taken from the file's directory. Empty by default.
    std::filesystem::path Path(const std::string& key);

    // The value for the key's word, by `words`, which are pairs of word and value.
    template <typename Words>
    auto Choice(const std::string& key, const Words& words, std::string_view byDefault) {
        const std::string word = String(key, std::string(byDefault));
        std::string known;
        for (const auto& [name, value] : words) {
            if (word == name) {
                return value;
            }
            known += (known.empty() ? "" : ", ") + std::string(name);
        }
        Fail(key, '"' + word + "\" is none of: " + known);
    }

    // "file:line: table.key". The line is that of the table when the key is not given; a missing table has none.
    std::string Place(const std::string& key) const;

    // Throws when the key is not given.
    void Require(const std::string& key) const;
    // Throws ConfigError with the key's place and `problem`.
    [[noreturn]] void Fail(const std::string& key, const std::string& problem) const;
    // Throws when the table has a key that nobody asked for.
    void RefuseOthers() const;

private:
    ConfigTable(std::filesystem::path file, std::string name, const toml::table* table);
    const toml::node* Find(const std::string& key);

    const std::filesystem::path file_;
    const std::string name_;
    const toml::table* table_ = nullptr;  // null when the table is not given
    std::set<std::string, std::less<>> known_;
};

}  // namespace ZYNE::Host
