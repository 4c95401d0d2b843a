#include "platform/NetworkingSupport.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

namespace velmora {
namespace {

NetworkInterface ip4(const char* name, const char* host, std::uint32_t flags = IFF_UP | IFF_RUNNING) {
  NetworkInterface item;
  item.ifa_name = name;
  item.ifa_flags = flags;
  auto* address = reinterpret_cast<sockaddr_in*>(&item.ifa_addr);
  address->sin_family = AF_INET;
  inet_pton(AF_INET, host, &address->sin_addr);
  item.numericHostName = host;
  return item;
}

NetworkInterface ip6(const char* name) {
  NetworkInterface item;
  item.ifa_name = name;
  item.ifa_flags = IFF_UP | IFF_RUNNING;
  item.ifa_addr.ss_family = AF_INET6;
  item.numericHostName = "fe80::1";
  return item;
}

TEST(NetworkingSupport, UsefulInterfacesAndTheMulticastChoice) {
  const std::vector<NetworkInterface> table{
      ip4("lo", "127.0.0.1", IFF_UP | IFF_RUNNING | IFF_LOOPBACK),
      ip4("eth9", "10.0.0.9", IFF_UP),  // up but not running: cable out
      ip4("en0", "192.168.1.2"),
      ip6("en1"),
      ip4("wlan0", "169.254.3.4"),  // link-local: left out
      ip4("awdl0", "10.1.1.1"),
      ip4("en1", "192.168.1.3"),
  };
  const auto useful = NetworkingSupport::usefulInterfaces(table);
  ASSERT_EQ(useful.size(), 4u);
  EXPECT_EQ(useful[0].ifa_name, "en0");
  EXPECT_EQ(useful[1].family(), AF_INET6);

  const auto four = NetworkingSupport::ip4s(table);
  ASSERT_EQ(four.size(), 3u);
  EXPECT_EQ(four[2].ifa_name, "en1");

  // en0 only when nothing else is left; awdl and pdp_ip never first.
  EXPECT_EQ(NetworkingSupport::firstIP4InterfaceProbablyPhysical(table)->ifa_name, "en1");
  EXPECT_EQ(NetworkingSupport::firstIP4InterfaceProbablyPhysical({ip4("en0", "192.168.1.2")})->ifa_name, "en0");
  EXPECT_EQ(NetworkingSupport::firstIP4InterfaceProbablyPhysical({ip4("pdp_ip0", "10.2.2.2"), ip4("en0", "10.3.3.3")})
                ->ifa_name,
            "pdp_ip0");
  EXPECT_FALSE(NetworkingSupport::firstIP4InterfaceProbablyPhysical({ip6("en1")}).has_value());
}

TEST(NetworkingSupport, ThisMachinesListHasNumericHostsForInternetFamilies) {
  // Whatever the machine has, IPv4 and IPv6 entries carry their numeric text
  // and other families (link-layer) none.
  for (const auto& item : NetworkingSupport::allInterfaces()) {
    if (item.family() == AF_INET || item.family() == AF_INET6) {
      EXPECT_FALSE(item.numericHostName.empty()) << item.ifa_name;
    } else {
      EXPECT_TRUE(item.numericHostName.empty()) << item.ifa_name;
    }
  }
}

}  // namespace
}  // namespace velmora
