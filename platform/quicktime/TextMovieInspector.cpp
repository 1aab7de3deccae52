#include "platform/quicktime/TextMovieInspector.h"

namespace qrl::quicktime {

void TextMovieInspector::indent() {
  for (int i = 0; i < depth_; ++i)
    out_ << "  ";
}

void TextMovieInspector::startObject(std::string_view name) {
  indent();
  if (name.empty() && !arrayCounters_.empty()) {
    out_ << "[" << ++arrayCounters_.back() << "]:\n";
  } else {
    out_ << name << ":\n";
  }
  ++depth_;
}

void TextMovieInspector::endObject() {
  --depth_;
}

void TextMovieInspector::startArray(std::string_view name) {
  indent();
  out_ << name << ":\n";
  ++depth_;
  arrayCounters_.push_back(0);
}

void TextMovieInspector::endArray() {
  --depth_;
  arrayCounters_.pop_back();
}

void TextMovieInspector::addText(std::string_view name, std::string_view value) {
  indent();
  out_ << name << ": " << value << "\n";
}

void TextMovieInspector::addInteger(std::string_view name, int64_t value) {
  indent();
  out_ << name << ": " << value << "\n";
}

void TextMovieInspector::addReal(std::string_view name, double value) {
  indent();
  out_ << name << ": " << value << "\n";
}

void TextMovieInspector::addBool(std::string_view name, bool value) {
  indent();
  out_ << name << ": " << (value ? "yes" : "no") << "\n";
}

}  // namespace qrl::quicktime
