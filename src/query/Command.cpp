#include "query/Command.h"

#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <typeinfo>

namespace velmora {

std::string Command::typeName() const {
  const char* mangled = typeid(*this).name();
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> demangled(abi::__cxa_demangle(mangled, nullptr, nullptr, &status),
                                                        &std::free);
  std::string name = status == 0 && demangled ? demangled.get() : mangled;
  if (auto colon = name.rfind("::"); colon != std::string::npos) name.erase(0, colon + 2);
  return name;
}

bool Command::isOfTypeNamed(std::string_view name) const {
  // A class name is mangled as its length and its text, then "E" when it is
  // nested in a namespace: compare that tail without demangling.
  std::string_view mangled = typeid(*this).name();
  char length[8];
  int digits = std::snprintf(length, sizeof length, "%zu", name.size());
  if (digits <= 0 || name.empty()) return false;
  std::size_t tail = static_cast<std::size_t>(digits) + name.size() + 1;
  if (mangled.size() < tail || mangled.back() != 'E') return false;
  std::string_view end = mangled.substr(mangled.size() - tail);
  if (end.substr(0, digits) != std::string_view(length, digits) || end.substr(digits, name.size()) != name) return false;
  // The length must not be the end of a longer number.
  std::size_t before = mangled.size() - tail;
  return before == 0 || !(mangled[before - 1] >= '0' && mangled[before - 1] <= '9');
}

std::string Command::debugDescription() const { return "<" + typeName() + " " + commandToString() + ">"; }

}  // namespace velmora
