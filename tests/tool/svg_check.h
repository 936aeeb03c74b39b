#pragma once

#include <string>
#include <string_view>
#include <vector>

// Checks that an SVG document is well-formed XML as far as the plot needs: one root <svg>
// element, every element closed in order, attribute values quoted, no stray '<' or '&' in
// text, and no numbers that are not numbers.
namespace tovanel::uvc_stereo::tool_testing {

inline bool count_quotes_odd(std::string_view tag) {
  std::size_t quotes = 0;
  for (char c : tag) {
    quotes += c == '"' ? 1 : 0;
  }
  return quotes % 2 != 0;
}

// "" when the document is well-formed, else what is wrong and where.
inline std::string svg_problem(std::string_view svg) {
  std::vector<std::string> open;
  std::size_t pos = 0;
  bool root_seen = false;
  if (svg.rfind("<?xml", 0) == 0) {
    pos = svg.find("?>");
    if (pos == std::string_view::npos) {
      return "unterminated XML declaration";
    }
    pos += 2;
  }
  while (pos < svg.size()) {
    const std::size_t lt = svg.find('<', pos);
    const std::string_view text = svg.substr(pos, (lt == std::string_view::npos ? svg.size() : lt) - pos);
    for (std::size_t amp = text.find('&'); amp != std::string_view::npos; amp = text.find('&', amp + 1)) {
      const std::size_t semi = text.find(';', amp);
      const std::string_view entity = text.substr(amp, semi == std::string_view::npos ? 1 : semi - amp + 1);
      if (entity != "&amp;" && entity != "&lt;" && entity != "&gt;" && entity != "&quot;" && entity != "&apos;") {
        return "bad entity at " + std::to_string(pos + amp);
      }
    }
    if (text.find('>') != std::string_view::npos && !open.empty()) {
      return "stray '>' in text at " + std::to_string(pos);
    }
    if (lt == std::string_view::npos) {
      break;
    }
    const std::size_t gt = svg.find('>', lt);
    if (gt == std::string_view::npos) {
      return "unterminated tag at " + std::to_string(lt);
    }
    std::string_view tag = svg.substr(lt + 1, gt - lt - 1);
    if (tag.find('<') != std::string_view::npos) {
      return "'<' inside a tag at " + std::to_string(lt);
    }
    if (count_quotes_odd(tag)) {
      return "unbalanced quotes in tag at " + std::to_string(lt);
    }
    if (tag.find("nan") != std::string_view::npos || tag.find("inf") != std::string_view::npos) {
      return "a number that is not a number at " + std::to_string(lt);
    }
    if (!tag.empty() && tag[0] == '/') {
      const std::string name(tag.substr(1));
      if (open.empty() || open.back() != name) {
        return "closing </" + name + "> does not match at " + std::to_string(lt);
      }
      open.pop_back();
    } else {
      const bool self_closing = !tag.empty() && tag.back() == '/';
      const std::string name(tag.substr(0, tag.find_first_of(" /\n")));
      if (open.empty()) {
        if (root_seen || name != "svg") {
          return "element <" + name + "> outside the root at " + std::to_string(lt);
        }
        root_seen = true;
      }
      if (!self_closing) {
        open.push_back(name);
      }
    }
    pos = gt + 1;
  }
  if (!root_seen) {
    return "no <svg> root";
  }
  if (!open.empty()) {
    return "<" + open.back() + "> is never closed";
  }
  return "";
}

}  // namespace tovanel::uvc_stereo::tool_testing
