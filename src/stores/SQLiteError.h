#pragma once
#include <string>

namespace velmora {

// A failure of the SQLite store: the library's result code and a text that
// starts with "SQLite: ".
struct SQLiteError {
  static constexpr const char* sqliteDomain = "SQLite error";
  std::string domain = sqliteDomain;
  int code = 0;
  std::string description;
};

}  // namespace velmora
