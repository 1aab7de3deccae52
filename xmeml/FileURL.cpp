#include "xmeml/FileURL.h"

#include <string_view>
#include <system_error>

namespace qrl {

namespace {

bool keptAsIs(unsigned char c) {
  if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))
    return true;
  return std::string_view("-._~!$&'()*+,;=:@/").find(static_cast<char>(c)) !=
         std::string_view::npos;
}

}  // namespace

std::string fileURLString(const std::filesystem::path& path) {
  std::error_code ec;
  std::filesystem::path absolute = std::filesystem::absolute(path, ec);
  if (ec)
    absolute = path;
  absolute = absolute.lexically_normal();
  std::string text = absolute.string();
  if (std::filesystem::is_directory(absolute, ec) && (text.empty() || text.back() != '/'))
    text += '/';

  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string url = "file://";
  url.reserve(url.size() + text.size() * 3);
  for (char ch : text) {
    auto c = static_cast<unsigned char>(ch);
    if (keptAsIs(c)) {
      url += ch;
    } else {
      url += '%';
      url += kHex[c >> 4];
      url += kHex[c & 0xF];
    }
  }
  return url;
}

}  // namespace qrl
