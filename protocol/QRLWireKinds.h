#pragma once

#include "platform/ipc/MethodSignature.h"

// The kinds of the conduit's signatures: the generic ones of the
// inter-process layer plus the conduit's own, whose checks are the decoders
// of protocol/QRLWireValues.h.
namespace qrl::kind {

using ipc::kind::Bool;
using ipc::kind::Data;
using ipc::kind::Int32;
using ipc::kind::Int64;
using ipc::kind::None;
using ipc::kind::Object;
using ipc::kind::String;
using ipc::kind::UInt32;
using ipc::kind::UInt8;

namespace checks {
std::optional<std::string> point(const archive::Value& value);
std::optional<std::string> size(const archive::Value& value);
std::optional<std::string> timeCodeDef(const archive::Value& value);
std::optional<std::string> track(const archive::Value& value);
}  // namespace checks

inline constexpr ipc::ValueKind Point{"point", checks::point};
inline constexpr ipc::ValueKind Size{"size", checks::size};
inline constexpr ipc::ValueKind TimeCodeDef{"timecodedef", checks::timeCodeDef};
// A movie travels as its file's path; the conduit opens it for the call.
inline constexpr ipc::ValueKind Movie{"movie", ipc::checks::string};
inline constexpr ipc::ValueKind Track{"track", checks::track};

}  // namespace qrl::kind
