#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/archive/Value.h"

namespace qrl::ipc {

// The kinds an argument or a result can have on the wire. Each kind has one
// property-list form (docs/protocol.md): numbers as integers or reals, a
// point or size as {"x","y"} / {"width","height"} of reals, a timecode
// definition as a dictionary, a movie as its path, a track as {"path","index"}.
enum class Kind : uint8_t {
  None,         // no result
  Bool,         // boolean
  Int32,        // integer in the signed 32-bit range
  UInt32,       // integer in the unsigned 32-bit range (frame-rate codes)
  Int64,        // integer
  UInt8,        // integer 0..255
  Point,        // {"x": real, "y": real}
  Size,         // {"width": real, "height": real}
  TimeCodeDef,  // {"flags", "timeScale", "frameDuration", "numFrames"} integers
  String,       // string (paths included)
  Data,         // data (keyed archives, settings containers)
  Object,       // any value; the performer checks its shape
  Movie,        // string: the movie file's path
  Track,        // {"path": string, "index": integer >= 1}
};

std::string_view kindName(Kind kind);

struct MethodSignature {
  std::vector<Kind> arguments;
  Kind result = Kind::None;

  friend bool operator==(const MethodSignature&, const MethodSignature&) = default;
};

// Why `value` cannot stand for an argument of `kind`, or nothing when it can.
std::optional<std::string> checkValue(Kind kind, const archive::Value& value);

// Checks the count and each argument; the message names the first problem.
std::optional<std::string> checkArguments(const MethodSignature& signature,
                                          const std::vector<archive::Value>& arguments);

// Signatures travel as {"arguments": [kind names], "result": kind name}.
archive::Value signatureValue(const MethodSignature& signature);
std::optional<MethodSignature> signatureFromValue(const archive::Value& value);
std::optional<Kind> kindFromName(std::string_view name);

}  // namespace qrl::ipc
