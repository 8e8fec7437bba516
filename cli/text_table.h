// A table for people: aligned columns, a heading, text of others made harmless.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace ZYNE::Cli {

class TextTable {
public:
    explicit TextTable(std::vector<std::string> headings);

    // As many cells as there are headings.
    void AddRow(const std::vector<std::string>& cells);
    void Print(std::ostream& out) const;

private:
    std::vector<std::vector<std::string>> rows_;  // the headings first
};

}  // namespace ZYNE::Cli
