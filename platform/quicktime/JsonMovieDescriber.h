#pragma once

#include <ostream>
#include <string_view>
#include <vector>

#include "platform/quicktime/MovieDescriber.h"

namespace qrl::quicktime {

// Prints the inspection as one JSON object (the outermost object's name is
// dropped), indented by two spaces, strings escaped.
class JsonMovieDescriber : public MovieDescriber {
 public:
  explicit JsonMovieDescriber(std::ostream& out) : out_(out) {}

  void startObject(std::string_view name) override;
  void endObject() override;
  void startArray(std::string_view name) override;
  void endArray() override;
  void addText(std::string_view name, std::string_view value) override;
  void addInteger(std::string_view name, int64_t value) override;
  void addReal(std::string_view name, double value) override;
  void addBool(std::string_view name, bool value) override;

 private:
  void key(std::string_view name);
  void string(std::string_view text);
  void close(char bracket);

  std::ostream& out_;
  // One entry per open object or array: whether it already has a member.
  std::vector<bool> hasMember_;
};

}  // namespace qrl::quicktime
