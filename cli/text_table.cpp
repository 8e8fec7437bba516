#include "cli/text_table.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <utility>

#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

constexpr size_t GAP = 2;

// Characters, not bytes.
size_t Width(const std::string& text) {
    return static_cast<size_t>(
        std::ranges::count_if(text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U; }));
}

}  // namespace

TextTable::TextTable(std::vector<std::string> headings) {
    rows_.push_back(std::move(headings));
}

void TextTable::AddRow(const std::vector<std::string>& cells) {
    std::vector<std::string> row;
    for (const std::string& cell : cells) {
        AppendPrintable(row.emplace_back(), cell);
    }
    rows_.push_back(std::move(row));
}

void TextTable::Print(std::ostream& out) const {
    std::vector<size_t> widths(rows_.front().size());
    for (const auto& row : rows_) {
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], Width(row[i]));
        }
    }
    for (const auto& row : rows_) {
        size_t blanks = 0;  // owed to the next cell that has something in it
        for (size_t i = 0; i < row.size(); ++i) {
            if (!row[i].empty()) {
                out << std::string(blanks, ' ') << row[i];
                blanks = 0;
            }
            blanks += widths[i] - Width(row[i]) + GAP;
        }
        out << '\n';
    }
}

void PrintLine(const std::string& text) {
    std::string line;
    AppendPrintable(line, text);
    std::cout << line << '\n';
}

}  // namespace ZYNE::Cli
