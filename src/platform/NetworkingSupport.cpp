#include "platform/NetworkingSupport.h"

#include <cstring>
#include <memory>
#include <string_view>

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>

namespace velmora {

namespace {

sockaddr_storage copyAddress(const sockaddr* address) {
  sockaddr_storage copy{};
  if (address == nullptr) return copy;
  std::size_t length = sizeof(sockaddr);
  if (address->sa_family == AF_INET) length = sizeof(sockaddr_in);
  else if (address->sa_family == AF_INET6) length = sizeof(sockaddr_in6);
  std::memcpy(&copy, address, length);
  return copy;
}

std::optional<sockaddr_storage> optionalAddress(const sockaddr* address) {
  if (address == nullptr) return std::nullopt;
  return copyAddress(address);
}

std::string numericHost(const sockaddr* address) {
  if (address == nullptr) return {};
  socklen_t length = 0;
  if (address->sa_family == AF_INET) length = sizeof(sockaddr_in);
  else if (address->sa_family == AF_INET6) length = sizeof(sockaddr_in6);
  else return {};
  char host[1025];
  if (getnameinfo(address, length, host, sizeof host, nullptr, 0, NI_NUMERICHOST) != 0) return {};
  return host;
}

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

}  // namespace

std::vector<NetworkInterface> NetworkingSupport::allInterfaces() {
  std::vector<NetworkInterface> result;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return result;
  std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, &freeifaddrs);
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    NetworkInterface item;
    item.ifa_name = entry->ifa_name != nullptr ? entry->ifa_name : "";
    item.ifa_flags = entry->ifa_flags;
    item.ifa_addr = copyAddress(entry->ifa_addr);
    item.ifa_netmask = optionalAddress(entry->ifa_netmask);
    // ifa_dstaddr shares its storage with the broadcast address; it is only a
    // destination on point-to-point links.
    if ((entry->ifa_flags & IFF_POINTOPOINT) != 0) item.ifa_destination = optionalAddress(entry->ifa_dstaddr);
    item.numericHostName = numericHost(entry->ifa_addr);
    result.push_back(std::move(item));
  }
  return result;
}

std::vector<NetworkInterface> NetworkingSupport::usefulInterfaces(const std::vector<NetworkInterface>& all) {
  std::vector<NetworkInterface> result;
  for (const auto& item : all) {
    const bool upAndRunning = (item.ifa_flags & IFF_UP) != 0 && (item.ifa_flags & IFF_RUNNING) != 0;
    if (!upAndRunning || (item.ifa_flags & IFF_LOOPBACK) != 0) continue;
    // Link-local IPv4 means DHCP failed on that link: nobody is listening there.
    if (item.family() == AF_INET && startsWith(item.numericHostName, "169.254.")) continue;
    result.push_back(item);
  }
  return result;
}

std::vector<NetworkInterface> NetworkingSupport::ip4s(const std::vector<NetworkInterface>& all) {
  std::vector<NetworkInterface> result;
  for (const auto& item : usefulInterfaces(all)) {
    if (item.family() == AF_INET) result.push_back(item);
  }
  return result;
}

std::optional<NetworkInterface> NetworkingSupport::firstIP4InterfaceProbablyPhysical(
    const std::vector<NetworkInterface>& all) {
  const auto candidates = ip4s(all);
  if (candidates.empty()) return std::nullopt;
  // The first interface that is not the built-in one and not a peer-to-peer
  // or cellular link wins; the built-in one only when nothing else is left.
  for (const auto& item : candidates) {
    const std::string_view name = item.ifa_name;
    if (name != "en0" && !startsWith(name, "awdl") && !startsWith(name, "pdp_ip")) return item;
  }
  return candidates.front();
}

std::vector<NetworkInterface> NetworkingSupport::usefulInterfaces() { return usefulInterfaces(allInterfaces()); }
std::vector<NetworkInterface> NetworkingSupport::ip4s() { return ip4s(allInterfaces()); }
std::optional<NetworkInterface> NetworkingSupport::firstIP4InterfaceProbablyPhysical() {
  return firstIP4InterfaceProbablyPhysical(allInterfaces());
}

}  // namespace velmora
