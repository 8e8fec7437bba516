// Which rows of shared data are meant.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace ZYNE {

// A row is meant when every condition holds; without conditions every row is.
class DataSharePredicates {
public:
    // A column and the value that it must have, byte by byte.
    using Condition = std::pair<std::string, std::string>;

    DataSharePredicates& EqualTo(const std::string& column, const std::string& value) {
        conditions_.emplace_back(column, value);
        return *this;
    }

    // In the order in which they were added.
    const std::vector<Condition>& GetConditions() const { return conditions_; }

private:
    std::vector<Condition> conditions_;
};

}  // namespace ZYNE
