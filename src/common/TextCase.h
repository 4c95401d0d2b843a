#pragma once
#include <string>
#include <string_view>

namespace velmora {

// Lowercasing, the three ways the engine needs it. Plain ASCII takes a fast
// path that gives the same answer as the full rules.
namespace TextCase {
// ASCII letters only; other bytes stay (extensions, content-type names).
std::string asciiLowercase(std::string_view text);
// Unicode's default rules, the same on every machine (query words, names in
// the duplicate and sort keys).
std::string plainLowercase(std::string_view text);
// The rules of the user's locale (what a person sees compared).
std::string localizedLowercase(std::string_view text);
}  // namespace TextCase

}  // namespace velmora
