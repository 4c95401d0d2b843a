#pragma once
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace velmora {

// JSON output that never throws. File names and query texts are bytes and
// need not be UTF-8, which JSON text must be: every JSON the program prints
// or stores goes through dump() here.
class JSONText {
 public:
  // Valid UTF-8 comes back unchanged. Otherwise each byte that is not part
  // of a valid sequence becomes the four characters \xHH (upper-case hex)
  // and each backslash becomes two, so the bytes can be recovered exactly.
  static std::string escaped(std::string_view bytes);
  // The bytes of a string that escaped() changed.
  static std::string unescaped(std::string_view text);
  static bool needsEscaping(std::string_view bytes);

  // Dumps with every key and string value that is not UTF-8 in its
  // escaped() form.
  template <typename Json>
  static std::string dump(const Json& json, int indent = -1) {
    if (!holdsInvalidText(json)) return json.dump(indent, ' ', false, Json::error_handler_t::replace);
    Json copy = json;
    escapeAll(copy);
    return copy.dump(indent, ' ', false, Json::error_handler_t::replace);
  }

 private:
  template <typename Json>
  static bool holdsInvalidText(const Json& json) {
    if (json.is_string()) return needsEscaping(json.template get_ref<const std::string&>());
    if (json.is_object()) {
      for (auto it = json.begin(); it != json.end(); ++it)
        if (needsEscaping(it.key()) || holdsInvalidText(it.value())) return true;
    } else if (json.is_array()) {
      for (const auto& element : json)
        if (holdsInvalidText(element)) return true;
    }
    return false;
  }
  template <typename Json>
  static void escapeAll(Json& json) {
    if (json.is_string()) {
      auto& text = json.template get_ref<std::string&>();
      if (needsEscaping(text)) text = escaped(text);
    } else if (json.is_object()) {
      Json rebuilt = Json::object();
      for (auto it = json.begin(); it != json.end(); ++it) {
        Json value = it.value();
        escapeAll(value);
        rebuilt[needsEscaping(it.key()) ? escaped(it.key()) : it.key()] = std::move(value);
      }
      json = std::move(rebuilt);
    } else if (json.is_array()) {
      for (auto& element : json) escapeAll(element);
    }
  }
};

}  // namespace velmora
