// Text for people, in which text of others is made harmless.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace ZYNE::Cli {

// Aligned columns under headings.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> headings);

    // As many cells as there are headings.
    void AddRow(const std::vector<std::string>& cells);
    void Print(std::ostream& out) const;

private:
    std::vector<std::vector<std::string>> rows_;  // the headings first
};

// To standard output.
void PrintLine(const std::string& text);

}  // namespace ZYNE::Cli
