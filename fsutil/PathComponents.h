#pragma once

#include <string>
#include <string_view>

// Path pieces taken the way the desktop string class takes them, because the
// unique-path rules are written in those terms: repeated slashes collapse, a
// trailing slash is ignored, and a leading dot starts a name, not an
// extension. Pure string work; nothing touches the disk.
namespace qrl::fsutil {

// The path with runs of "/" collapsed and any trailing "/" dropped ("/" stays "/").
std::string standardizedSlashes(std::string_view path);

// "/tmp/a.mov" -> "a.mov"; "/tmp/" -> "tmp"; "/" -> "/"; "" -> "".
std::string lastPathComponent(std::string_view path);

// "/tmp/a.mov" -> "/tmp"; "/a" -> "/"; "a" -> "" (a relative one-part path has no folder).
std::string deletingLastPathComponent(std::string_view path);

// "a.mov" -> "mov"; "notes" -> ""; ".profile" -> ""; "notes." -> "" (an empty extension).
std::string pathExtension(std::string_view path);

// "a.mov" -> "a"; "My.folder" -> "My"; "notes." -> "notes"; ".profile" -> ".profile".
std::string deletingPathExtension(std::string_view path);

}  // namespace qrl::fsutil
