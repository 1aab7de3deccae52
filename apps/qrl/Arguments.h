#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qrl::app {

// Options ("--rate 30", "--rate=30", "--drop") and positional arguments of one subcommand.
// Anything starting with "--" is an option, so "-5" stays a positional number; "--" ends
// the options.
class Arguments {
 public:
  // Parses args against the options the subcommand knows; nullopt with error set when an
  // option is unknown, repeated, or lacks its value.
  static std::optional<Arguments> parse(const std::vector<std::string>& args,
                                        std::initializer_list<std::string_view> valueOptions,
                                        std::initializer_list<std::string_view> flagOptions,
                                        std::string& error);

  bool has(std::string_view flag) const { return flags_.count(std::string(flag)) != 0; }
  std::optional<std::string> value(std::string_view option) const;
  const std::vector<std::string>& positionals() const { return positionals_; }

 private:
  std::map<std::string, std::string> values_;
  std::set<std::string> flags_;
  std::vector<std::string> positionals_;
};

// True when args ask for help ("--help" or "-h") anywhere before a "--".
bool wantsHelp(const std::vector<std::string>& args);

// Whole-text numbers; nullopt for anything else (trailing text, out of range, not finite).
std::optional<int32_t> parseInt32(std::string_view text);
std::optional<double> parseDouble(std::string_view text);

}  // namespace qrl::app
