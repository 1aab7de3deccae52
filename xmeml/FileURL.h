#pragma once

#include <filesystem>
#include <string>

namespace qrl {

// The absolute string of a file URL for a path, as the xmeml `pathurl` holds
// it: "file://" followed by the absolute path (made absolute against the
// current directory, "." and ".." segments resolved lexically, symbolic links
// left alone), with a "/" added when the path names an existing directory.
// Every byte outside the unreserved and path characters of RFC 3986
// (A-Z a-z 0-9 - . _ ~ ! $ & ' ( ) * + , ; = : @ /) is percent-encoded with
// upper-case hex: a space is "%20", "é" (UTF-8 C3 A9) is "%C3%A9", "%" is "%25",
// "#" and "?" are "%23" and "%3F".
// Example: "/tmp/My Clips/été.mov" gives "file:///tmp/My%20Clips/%C3%A9t%C3%A9.mov".
std::string fileURLString(const std::filesystem::path& path);

}  // namespace qrl
