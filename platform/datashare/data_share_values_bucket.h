// The values of one row of shared data, by column.
#pragma once

#include <map>
#include <string>

namespace ZYNE {

class DataShareValuesBucket {
public:
    // A second value for a column replaces the first.
    void Put(const std::string& column, const std::string& value) { values_.insert_or_assign(column, value); }

    const std::map<std::string, std::string>& GetValues() const { return values_; }

private:
    std::map<std::string, std::string> values_;
};

}  // namespace ZYNE
