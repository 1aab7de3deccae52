#pragma once

#include <stdexcept>
#include <string>

namespace qrl {

// The one exception type the platform stand-ins throw for bad input, I/O and
// range failures. Services catch it exactly where they turn a failure into a
// documented fallback; every other exception passes through.
class Exception : public std::runtime_error {
 public:
  enum class Kind { Parse, IO, Range, Unsupported, Internal };

  Exception(Kind kind, const std::string& what) : std::runtime_error(what), kind_(kind) {}

  Kind kind() const noexcept { return kind_; }

  static Exception parse(const std::string& what) { return {Kind::Parse, what}; }
  static Exception io(const std::string& what) { return {Kind::IO, what}; }
  static Exception range(const std::string& what) { return {Kind::Range, what}; }
  static Exception unsupported(const std::string& what) { return {Kind::Unsupported, what}; }

  // An I/O failure naming the operation, the object and errno's text.
  static Exception fromErrno(const std::string& operation, const std::string& object, int err);

 private:
  Kind kind_;
};

}  // namespace qrl
