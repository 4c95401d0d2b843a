#pragma once
#include <string>

namespace velmora {

// A random (version 4) UUID in its usual upper-case text form.
std::string newUUIDString();

}  // namespace velmora
