#pragma once
#include <optional>
#include <vector>

#include "platform/NetworkInterface.h"

namespace velmora {

// The machine's network interfaces and the choices made from them: which ones
// are worth announcing on and which one multicast goes out of.
class NetworkingSupport {
 public:
  // Every entry of getifaddrs, in the system's order; empty when it fails.
  static std::vector<NetworkInterface> allInterfaces();
  static std::vector<NetworkInterface> usefulInterfaces();
  static std::vector<NetworkInterface> ip4s();
  static std::optional<NetworkInterface> firstIP4InterfaceProbablyPhysical();

  // The same rules over a given list, so that they can be checked on any
  // interface table, not only this machine's.
  static std::vector<NetworkInterface> usefulInterfaces(const std::vector<NetworkInterface>& all);
  static std::vector<NetworkInterface> ip4s(const std::vector<NetworkInterface>& all);
  static std::optional<NetworkInterface> firstIP4InterfaceProbablyPhysical(
      const std::vector<NetworkInterface>& all);
};

}  // namespace velmora
