#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace tovanel::uvc_stereo::cli {

// A plain-text table: columns padded to their widest cell, two spaces apart; the last
// column is not padded, so long device paths leave no trailing blanks.
class TextTable {
 public:
  // Cells are shown through terminal_safe: a table lists what cameras report about themselves.
  void add_row(std::vector<std::string> cells);
  void render(std::ostream& out, const std::string& indent = "") const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace tovanel::uvc_stereo::cli
