#include "uvc-stereo/text_table.h"

#include <algorithm>
#include <cstddef>

#include "uvc-stereo/terminal_text.h"

namespace tovanel::uvc_stereo::cli {

void TextTable::add_row(std::vector<std::string> cells) {
  for (std::string& cell : cells) {
    cell = terminal_safe(cell);
  }
  rows_.push_back(std::move(cells));
}

void TextTable::render(std::ostream& out, const std::string& indent) const {
  std::vector<std::size_t> widths;
  for (const std::vector<std::string>& row : rows_) {
    if (widths.size() < row.size()) {
      widths.resize(row.size(), 0);
    }
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], row[column].size());
    }
  }
  for (const std::vector<std::string>& row : rows_) {
    out << indent;
    for (std::size_t column = 0; column < row.size(); ++column) {
      out << row[column];
      if (column + 1 < row.size()) {
        out << std::string(widths[column] - row[column].size() + 2, ' ');
      }
    }
    out << "\n";
  }
}

}  // namespace tovanel::uvc_stereo::cli
