#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "platform/archive/Value.h"
#include "platform/ipc/MethodSignature.h"

namespace qrl::app {

// Property-list values as JSON for people: data as {"$data": "<base64>"},
// UIDs as {"$uid": n}, dates as {"$date": seconds since 2001}, nil as null.
nlohmann::json jsonFromValue(const archive::Value& value);

// The reverse of jsonFromValue (null becomes nil).
archive::Value valueFromJson(const nlohmann::json& json);

// One command-line argument for a parameter of `kind`: "@FILE" is the file's
// bytes; strings and paths may be given plain; anything else is JSON.
// Throws std::invalid_argument with a message naming the problem.
archive::Value valueFromArgument(const std::string& argument, const ipc::ValueKind& kind);

std::string base64(const archive::Data& data);
archive::Data fromBase64(const std::string& text);

}  // namespace qrl::app
