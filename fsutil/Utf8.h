#pragma once

#include <string_view>

namespace qrl::fsutil {

// True when the bytes are well-formed UTF-8: shortest forms only, no
// surrogate code points, nothing above U+10FFFF, no truncated sequence.
bool isValidUtf8(std::string_view bytes);

}  // namespace qrl::fsutil
