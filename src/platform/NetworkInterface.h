#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include <sys/socket.h>

namespace velmora {

// One entry of the system's interface list, copied out of getifaddrs so that
// it outlives the list. Addresses are kept whole (sockaddr_storage) because
// the SSDP and peer code bind to them.
struct NetworkInterface {
  std::string ifa_name;
  std::uint32_t ifa_flags = 0;
  sockaddr_storage ifa_addr{};
  std::optional<sockaddr_storage> ifa_netmask;
  // Not "ifa_dstaddr": <ifaddrs.h> defines that name as a macro.
  std::optional<sockaddr_storage> ifa_destination;
  // Numeric host text for IPv4 and IPv6 entries; empty otherwise.
  std::string numericHostName;

  int family() const { return ifa_addr.ss_family; }
};

}  // namespace velmora
