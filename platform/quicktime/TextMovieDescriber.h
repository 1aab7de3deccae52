#pragma once

#include <ostream>
#include <vector>

#include "platform/quicktime/MovieDescriber.h"

namespace qrl::quicktime {

// Prints the inspection as indented "name: value" lines; array elements are
// numbered from 1 like the toolbox counts tracks.
class TextMovieDescriber : public MovieDescriber {
 public:
  explicit TextMovieDescriber(std::ostream& out) : out_(out) {}

  void startObject(std::string_view name) override;
  void endObject() override;
  void startArray(std::string_view name) override;
  void endArray() override;
  void addText(std::string_view name, std::string_view value) override;
  void addInteger(std::string_view name, int64_t value) override;
  void addReal(std::string_view name, double value) override;
  void addBool(std::string_view name, bool value) override;

 private:
  void indent();

  std::ostream& out_;
  int depth_ = 0;
  std::vector<int> arrayCounters_;
};

}  // namespace qrl::quicktime
