#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/archive/Value.h"

namespace qrl::ipc {

// A kind of argument or result: its name in signatures and the check of a
// value against it. The layer knows the generic kinds below; a service adds
// its own (a protocol's points, movies...) as further constants. Kinds are
// equal when their names are.
class ValueKind {
 public:
  // Why a value cannot stand for the kind, or nothing when it can.
  using Check = std::optional<std::string> (*)(const archive::Value&);

  constexpr ValueKind() = default;
  constexpr ValueKind(std::string_view name, Check check) : name_(name), check_(check) {}

  // A kind this side knows only by its name (from a remote signature): any
  // value passes here, the other side checks it. The name is kept for the
  // life of the process.
  static ValueKind named(std::string_view name);

  constexpr std::string_view name() const { return name_; }
  std::optional<std::string> problemWith(const archive::Value& value) const {
    return check_ != nullptr ? check_(value) : std::nullopt;
  }

  friend constexpr bool operator==(const ValueKind& a, const ValueKind& b) {
    return a.name_ == b.name_;
  }

 private:
  std::string_view name_ = "none";
  Check check_ = nullptr;
};

namespace checks {
std::optional<std::string> none(const archive::Value& value);
std::optional<std::string> boolean(const archive::Value& value);
std::optional<std::string> int32(const archive::Value& value);
std::optional<std::string> uint32(const archive::Value& value);
std::optional<std::string> int64(const archive::Value& value);
std::optional<std::string> uint8(const archive::Value& value);
std::optional<std::string> string(const archive::Value& value);
std::optional<std::string> data(const archive::Value& value);
std::optional<std::string> anything(const archive::Value& value);
// The shared message for a value of the wrong type: "expected <what>, got <type>".
std::string expected(std::string_view what, const archive::Value& value);
// Nothing when the value is an integer within [low, high].
std::optional<std::string> integerIn(const archive::Value& value, int64_t low, int64_t high);
}  // namespace checks

// The generic kinds, with their names on the wire.
namespace kind {
inline constexpr ValueKind None{"none", checks::none};  // results only: no value
inline constexpr ValueKind Bool{"bool", checks::boolean};
inline constexpr ValueKind Int32{"int32", checks::int32};
inline constexpr ValueKind UInt32{"uint32", checks::uint32};
inline constexpr ValueKind Int64{"int64", checks::int64};
inline constexpr ValueKind UInt8{"uint8", checks::uint8};
inline constexpr ValueKind String{"string", checks::string};
inline constexpr ValueKind Data{"data", checks::data};
// Any value, nil included; the performer checks its shape.
inline constexpr ValueKind Object{"object", checks::anything};

inline constexpr std::array kGeneric{None, Bool, Int32, UInt32, Int64, UInt8, String, Data, Object};
}  // namespace kind

struct MethodSignature {
  std::vector<ValueKind> arguments;
  ValueKind result = kind::None;

  friend bool operator==(const MethodSignature&, const MethodSignature&) = default;
};

// Checks the count and each argument; the message names the first problem.
std::optional<std::string> checkArguments(const MethodSignature& signature,
                                          const std::vector<archive::Value>& arguments);

// Signatures travel as {"arguments": [kind names], "result": kind name}; a
// name that is not a generic kind's is read as a kind known only by its name.
archive::Value signatureValue(const MethodSignature& signature);
std::optional<MethodSignature> signatureFromValue(const archive::Value& value);

}  // namespace qrl::ipc
