#pragma once

#include <filesystem>
#include <string_view>

namespace qrl {

// Writes the bytes to a new file beside `path` and renames it over `path`, so
// that a reader sees the old file or the whole new one, never a part. The new
// file gets the usual permissions (0666 less the umask). Throws an IO
// Exception naming the path and the cause; the old file is then untouched.
void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes);

}  // namespace qrl
