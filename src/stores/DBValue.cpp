#include "stores/DBValue.h"

#include <cstdio>

#include <fmt/format.h>

namespace velmora {

namespace {
std::string number(double v) { return fmt::format("{}", v); }

std::string quoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) {
    if (c == '\'') out += '\'';
    out += c;
  }
  return out + "'";
}
}  // namespace

std::string DBRect::toString() const {
  return "{{" + number(x) + ", " + number(y) + "}, {" + number(width) + ", " + number(height) + "}}";
}

std::optional<DBRect> DBRect::fromString(const std::string& text) {
  DBRect r;
  int consumed = 0;
  if (std::sscanf(text.c_str(), " {{ %lf , %lf } , { %lf , %lf }}%n", &r.x, &r.y, &r.width, &r.height,
                  &consumed) != 4 ||
      consumed == 0)
    return std::nullopt;
  return r;
}

std::optional<std::int64_t> DBValue::asInteger() const {
  if (auto v = std::get_if<std::int64_t>(&value_)) return *v;
  return std::nullopt;
}

std::optional<double> DBValue::asReal() const {
  if (auto v = std::get_if<double>(&value_)) return *v;
  return std::nullopt;
}

std::optional<std::string> DBValue::asText() const {
  if (auto v = std::get_if<std::string>(&value_)) return *v;
  return std::nullopt;
}

std::optional<DBRect> DBValue::asRect() const {
  if (auto v = std::get_if<DBRect>(&value_)) return *v;
  return std::nullopt;
}

const char* DBValue::columnName(Kind kind) {
  switch (kind) {
    case Kind::integer:
      return "valueInt";
    case Kind::real:
      return "valueDouble";
    case Kind::text:
      return "valueString";
    case Kind::rect:
      return "NSStringFromRect";
    case Kind::json:
      return "JSON";
    case Kind::null:
      break;
  }
  return "null";
}

std::string DBValue::sqlLiteral() const {
  switch (kind_) {
    case Kind::integer:
      return std::to_string(std::get<std::int64_t>(value_));
    case Kind::real:
      return quoted(number(std::get<double>(value_)));
    case Kind::text:
    case Kind::json:
      return quoted(std::get<std::string>(value_));
    case Kind::rect:
      return quoted(std::get<DBRect>(value_).toString());
    case Kind::null:
      break;
  }
  return "null";
}

}  // namespace velmora
