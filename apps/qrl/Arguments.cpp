#include "apps/qrl/Arguments.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace qrl::app {

std::optional<Arguments> Arguments::parse(const std::vector<std::string>& args,
                                          std::initializer_list<std::string_view> valueOptions,
                                          std::initializer_list<std::string_view> flagOptions,
                                          std::string& error) {
  auto known = [](std::initializer_list<std::string_view> list, std::string_view name) {
    return std::find(list.begin(), list.end(), name) != list.end();
  };
  Arguments parsed;
  bool optionsEnded = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (optionsEnded || arg.rfind("--", 0) != 0) {
      parsed.positionals_.push_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsEnded = true;
      continue;
    }
    std::string name = arg;
    std::optional<std::string> inlineValue;
    if (auto equals = arg.find('='); equals != std::string::npos) {
      name = arg.substr(0, equals);
      inlineValue = arg.substr(equals + 1);
    }
    if (known(flagOptions, name) && !inlineValue) {
      if (!parsed.flags_.insert(name).second) {
        error = name + " given twice";
        return std::nullopt;
      }
    } else if (known(valueOptions, name)) {
      if (!inlineValue) {
        if (i + 1 >= args.size()) {
          error = name + " needs a value";
          return std::nullopt;
        }
        inlineValue = args[++i];
      }
      if (!parsed.values_.emplace(name, *inlineValue).second) {
        error = name + " given twice";
        return std::nullopt;
      }
    } else {
      error = "unknown option " + arg;
      return std::nullopt;
    }
  }
  return parsed;
}

std::optional<std::string> Arguments::value(std::string_view option) const {
  auto found = values_.find(std::string(option));
  if (found == values_.end()) {
    return std::nullopt;
  }
  return found->second;
}

bool wantsHelp(const std::vector<std::string>& args) {
  for (const auto& arg : args) {
    if (arg == "--") {
      return false;
    }
    if (arg == "--help" || arg == "-h") {
      return true;
    }
  }
  return false;
}

std::optional<int32_t> parseInt32(std::string_view text) {
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
  }
  int32_t value = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || ec != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

std::optional<double> parseDouble(std::string_view text) {
  double value = 0.0;
  auto [end, ec] =
      std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  if (text.empty() || ec != std::errc() || end != text.data() + text.size() ||
      !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

}  // namespace qrl::app
