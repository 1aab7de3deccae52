#pragma once

#include <stdexcept>
#include <string>

namespace qrl {

// The one exception type the platform stand-ins throw. Its kind keeps three
// failures apart: bad input (a file or message that does not parse, a value
// out of range, something we do not support), our own bugs (internal), and
// failures of the system or its resources (I/O, with errno's text when a
// system call failed). Services catch it exactly where they turn a failure
// into a documented fallback; every other exception passes through.
class Exception : public std::runtime_error {
 public:
  enum class Kind { Parse, IO, Range, Unsupported, Internal };
  enum class Category { BadInput, Internal, System };

  Exception(Kind kind, const std::string& what) : std::runtime_error(what), kind_(kind) {}

  Kind kind() const noexcept { return kind_; }
  Category category() const noexcept {
    switch (kind_) {
      case Kind::IO:
        return Category::System;
      case Kind::Internal:
        return Category::Internal;
      default:
        return Category::BadInput;
    }
  }
  bool isBadInput() const noexcept { return category() == Category::BadInput; }
  // The errno value of a failed system call (fromErrno), else 0.
  int errorNumber() const noexcept { return errorNumber_; }

  static Exception parse(const std::string& what) { return {Kind::Parse, what}; }
  static Exception io(const std::string& what) { return {Kind::IO, what}; }
  static Exception range(const std::string& what) { return {Kind::Range, what}; }
  static Exception unsupported(const std::string& what) { return {Kind::Unsupported, what}; }
  // A broken promise inside our own code, never the caller's input.
  static Exception internal(const std::string& what) { return {Kind::Internal, what}; }

  // A failed system call: "<operation> <object>: <errno text>", kind IO.
  static Exception fromErrno(const std::string& operation, const std::string& object, int err);

 private:
  Kind kind_;
  int errorNumber_ = 0;
};

}  // namespace qrl
