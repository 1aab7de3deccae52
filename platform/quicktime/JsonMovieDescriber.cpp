#include "platform/quicktime/JsonMovieDescriber.h"

#include <cmath>
#include <cstdio>

namespace qrl::quicktime {

void JsonMovieDescriber::key(std::string_view name) {
  if (hasMember_.empty())
    return;
  if (hasMember_.back())
    out_ << ",";
  hasMember_.back() = true;
  out_ << "\n" << std::string(2 * hasMember_.size(), ' ');
  if (!name.empty()) {
    string(name);
    out_ << ": ";
  }
}

void JsonMovieDescriber::string(std::string_view text) {
  out_ << '"';
  for (char c : text) {
    auto u = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out_ << '\\' << c;
    } else if (u < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", u);
      out_ << escaped;
    } else {
      out_ << c;
    }
  }
  out_ << '"';
}

void JsonMovieDescriber::close(char bracket) {
  bool had = hasMember_.back();
  hasMember_.pop_back();
  if (had)
    out_ << "\n" << std::string(2 * hasMember_.size(), ' ');
  out_ << bracket;
  if (hasMember_.empty())
    out_ << "\n";
}

void JsonMovieDescriber::startObject(std::string_view name) {
  key(name);
  out_ << "{";
  hasMember_.push_back(false);
}

void JsonMovieDescriber::endObject() {
  close('}');
}

void JsonMovieDescriber::startArray(std::string_view name) {
  key(name);
  out_ << "[";
  hasMember_.push_back(false);
}

void JsonMovieDescriber::endArray() {
  close(']');
}

void JsonMovieDescriber::addText(std::string_view name, std::string_view value) {
  key(name);
  string(value);
}

void JsonMovieDescriber::addInteger(std::string_view name, int64_t value) {
  key(name);
  out_ << value;
}

void JsonMovieDescriber::addReal(std::string_view name, double value) {
  key(name);
  if (!std::isfinite(value)) {
    out_ << "null";
    return;
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", value);
  out_ << text;
}

void JsonMovieDescriber::addBool(std::string_view name, bool value) {
  key(name);
  out_ << (value ? "true" : "false");
}

}  // namespace qrl::quicktime
