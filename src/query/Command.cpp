#include "query/Command.h"

#include <cxxabi.h>

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

std::string Command::debugDescription() const { return "<" + typeName() + " " + commandToString() + ">"; }

}  // namespace velmora
