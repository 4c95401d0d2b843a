#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace velmora {

// A rectangle as the file browser stores window and view frames.
struct DBRect {
  double x = 0, y = 0, width = 0, height = 0;
  bool operator==(const DBRect&) const = default;
  // "{{x, y}, {w, h}}", the usual text form of a rectangle.
  std::string toString() const;
  static std::optional<DBRect> fromString(const std::string& text);
};

// A family of records in the hierarchical store.
struct DBFamily {
  std::string name;
  static DBFamily defaultFamily() { return {"default"}; }
};

// One typed value of a field. Each kind has its own column in "fields".
class DBValue {
 public:
  enum class Kind { integer, real, text, rect, json, null };

  static DBValue integer(std::int64_t v) { return DBValue(Kind::integer, v); }
  static DBValue real(double v) { return DBValue(Kind::real, v); }
  static DBValue string(std::string v) { return DBValue(Kind::text, std::move(v)); }
  static DBValue rect(DBRect v) { return DBValue(Kind::rect, v); }
  static DBValue json(std::string v) { return DBValue(Kind::json, std::move(v)); }
  static DBValue null() { return DBValue(Kind::null, std::monostate{}); }

  Kind kind() const { return kind_; }
  std::optional<std::int64_t> asInteger() const;
  std::optional<double> asReal() const;
  // The text of a string or a JSON value.
  std::optional<std::string> asText() const;
  std::optional<DBRect> asRect() const;

  // The column of "fields" that holds this kind ("null" for null, which no
  // column is called, so writing a null fails).
  static const char* columnName(Kind kind);
  // The value written into SQL text: numbers as digits, texts quoted.
  std::string sqlLiteral() const;

  bool operator==(const DBValue&) const = default;

 private:
  using Storage = std::variant<std::monostate, std::int64_t, double, std::string, DBRect>;
  DBValue(Kind kind, Storage value) : kind_(kind), value_(std::move(value)) {}
  Kind kind_;
  Storage value_;
};

}  // namespace velmora
