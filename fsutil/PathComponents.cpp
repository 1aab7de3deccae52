#include "fsutil/PathComponents.h"

#include <optional>

namespace qrl::fsutil {
namespace {

// Index where the last component of an already standardized path begins.
size_t startOfLastComponent(std::string_view fixed) {
  const size_t slash = fixed.rfind('/');
  if (slash == std::string_view::npos)
    return 0;
  return slash + 1;
}

// Index just after the extension's dot in an already standardized path, if
// the last component has an extension (possibly empty, as in "notes.").
std::optional<size_t> startOfExtension(std::string_view fixed) {
  const size_t componentStart = startOfLastComponent(fixed);
  const std::string_view component = fixed.substr(componentStart);
  const size_t dot = component.rfind('.');
  // A dot that opens the name (".profile") or the name ".." is not an extension dot.
  if (dot == std::string_view::npos || dot == 0)
    return std::nullopt;
  if (component == "..")
    return std::nullopt;
  return componentStart + dot + 1;
}

}  // namespace

std::string standardizedSlashes(std::string_view path) {
  std::string fixed;
  fixed.reserve(path.size());
  for (const char c : path) {
    if (c == '/' && !fixed.empty() && fixed.back() == '/')
      continue;
    fixed.push_back(c);
  }
  if (fixed.size() > 1 && fixed.back() == '/')
    fixed.pop_back();
  return fixed;
}

std::string lastPathComponent(std::string_view path) {
  const std::string fixed = standardizedSlashes(path);
  if (fixed.size() <= 1)
    return fixed;
  return fixed.substr(startOfLastComponent(fixed));
}

std::string deletingLastPathComponent(std::string_view path) {
  const std::string fixed = standardizedSlashes(path);
  if (fixed.empty() || fixed == "/")
    return fixed;
  const size_t start = startOfLastComponent(fixed);
  if (start == 0)
    return "";
  if (start == 1)
    return "/";
  return fixed.substr(0, start - 1);
}

std::string pathExtension(std::string_view path) {
  const std::string fixed = standardizedSlashes(path);
  if (fixed.size() <= 1)
    return "";
  const auto start = startOfExtension(fixed);
  return start ? fixed.substr(*start) : "";
}

std::string deletingPathExtension(std::string_view path) {
  const std::string fixed = standardizedSlashes(path);
  if (fixed.empty() || fixed == "/")
    return fixed;
  const auto start = startOfExtension(fixed);
  return start ? fixed.substr(0, *start - 1) : fixed;
}

}  // namespace qrl::fsutil
