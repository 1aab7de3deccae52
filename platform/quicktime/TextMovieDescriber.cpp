#include "platform/quicktime/TextMovieDescriber.h"

namespace qrl::quicktime {

void TextMovieDescriber::indent() {
  for (int i = 0; i < depth_; ++i)
    out_ << "  ";
}

void TextMovieDescriber::startObject(std::string_view name) {
  indent();
  if (name.empty() && !arrayCounters_.empty()) {
    out_ << "[" << ++arrayCounters_.back() << "]:\n";
  } else {
    out_ << name << ":\n";
  }
  ++depth_;
}

void TextMovieDescriber::endObject() {
  --depth_;
}

void TextMovieDescriber::startArray(std::string_view name) {
  indent();
  out_ << name << ":\n";
  ++depth_;
  arrayCounters_.push_back(0);
}

void TextMovieDescriber::endArray() {
  --depth_;
  arrayCounters_.pop_back();
}

void TextMovieDescriber::addText(std::string_view name, std::string_view value) {
  indent();
  out_ << name << ": " << value << "\n";
}

void TextMovieDescriber::addInteger(std::string_view name, int64_t value) {
  indent();
  out_ << name << ": " << value << "\n";
}

void TextMovieDescriber::addReal(std::string_view name, double value) {
  indent();
  out_ << name << ": " << value << "\n";
}

void TextMovieDescriber::addBool(std::string_view name, bool value) {
  indent();
  out_ << name << ": " << (value ? "yes" : "no") << "\n";
}

}  // namespace qrl::quicktime
