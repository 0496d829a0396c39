#pragma once

#include <optional>
#include <string>

#include "quorvel/Dictionary.h"

namespace quorvel {

// The compact JSON text of value (keys sorted), or no value when it holds invalid UTF-8.
std::optional<std::string> jsonText(const Dictionary& value);

// The lower-case hex SHA-256 of value's JSON text followed by suffix; "" when there is no text.
std::string jsonDigest(const Dictionary& value, const std::string& suffix = "");

// object[key] when object is an object holding a string there, else "".
std::string stringValue(const Dictionary& object, const std::string& key);

// A 32-bit float as the shortest decimal that round-trips it (0.8, not 0.800000011920929).
Dictionary floatValue(float value);

}  // namespace quorvel
