// Interface names come back letter for letter, stored values never move, and what is no name is refused with
// its reason.
#include "Vex/Text.h"
#include "Wirekit/IntfId.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <random>
#include <sstream>
#include <stdexcept>

namespace {

using Wirekit::IntfId;

TEST(IntfIdTest, namesComeBackAsWritten) {
  for (char const* name :
       {"Ethernet0", "Ethernet00", "Ethernet1.100", "Ethernet1/2.5", "Ethernet001/002/003.0000004",
        "Eth36.10", "Po0001.10", "PortChannel1001", "Vlan1000", "Loopback0", "Tunnel3", "Lag5",
        "Ethernet999999999.9999999", "Ethernet99999/9999", "Ethernet999/999/999.0", "eth0", "Management1"}) {
    IntfId const id{std::string_view(name)};
    EXPECT_EQ(id.name(), name);
    EXPECT_EQ(fmt::format("{}", id), name);
    EXPECT_EQ(IntfId(id.name()), id);
  }
}

// Values lie in shared memory and are read by the next release.
TEST(IntfIdTest, valuesNeverChange) {
  EXPECT_EQ(IntfId().value(), 0U);
  EXPECT_EQ(IntfId(""), IntfId());
  EXPECT_EQ(IntfId("Ethernet0").value(), 0x0A00000004000000U);
  EXPECT_EQ(IntfId("Ethernet1/2.5").value(), 0x0C0002000C000006U);
  EXPECT_EQ(IntfId("Po0001.10").value(), 0x2200001160000015U);
  EXPECT_EQ(IntfId("Vlan1000").value(), 0x2A000020FC000000U);
}

TEST(IntfIdTest, whatIsNoNameIsRefusedWithItsReason) {
  std::stringstream names(
      "Vlan1000|Ethernet4,Ethernet,Ethernet0 , Ethernet0,ethernet0,Ethernet-1,Ethernet1/,Ethernet/1,"
      "Ethernet1//2,Ethernet1.,Ethernet1.2.3,Ethernet1.2/3,Ethernet1/2/3/4,Ethernet1234567890,"
      "Ethernet123456/1,Ethernet1/12345,Ethernet1/2/1234,Ethernet1.12345678,7,Po,Foo3,Ethernet1x");
  for (std::string name; std::getline(names, name, ',');) {
    IntfId id("Lag5");
    std::string const why = IntfId::parse(name, id).message();
    EXPECT_TRUE(why.starts_with("\"" + name + "\" is no interface name: expected one of Ethernet,")) << why;
    EXPECT_EQ(id.name(), "Lag5");
    EXPECT_THROW(id.handleInitialized(name), std::invalid_argument);
  }
}

TEST(IntfIdTest, sortsByKindAndThenByNumber) {
  IntfId const ids[] = {IntfId("Ethernet2"),   IntfId("Ethernet2.1"), IntfId("Ethernet2.10"),
                        IntfId("Ethernet10"),  IntfId("Ethernet1/2"), IntfId("Ethernet1/10"),
                        IntfId("Ethernet2/1"), IntfId("Vlan9"),       IntfId("Vlan10")};
  EXPECT_TRUE(std::is_sorted(std::begin(ids), std::end(ids)));
}

// Any 64 bits print as something, and what is a name by that is printed by its id too. Near misses come from one
// flipped bit of a true name.
TEST(IntfIdTest, everyValuePrints) {
  std::mt19937_64 random(5);
  auto digits = [&](std::size_t most) {
    std::string run;
    for (std::size_t i = 1 + random() % most; i != 0; --i) run += static_cast<char>('0' + random() % 10);
    return run;
  };
  for (int round = 0; round < 20000; ++round) {
    std::string name = random() % 2 == 0 ? "Ethernet" : "Tunnel";
    auto const kind = random() % 3;
    if (kind == 0) name += digits(9);
    if (kind == 1) name += digits(5) + '/' + digits(4);
    if (kind == 2) name += digits(3) + '/' + digits(3) + '/' + digits(3);
    if (random() % 2 == 0) name += '.' + digits(7);
    IntfId id;
    ASSERT_TRUE(IntfId::parse(name, id)) << name;
    ASSERT_EQ(id.name(), name);
    for (std::uint64_t const value :
         {id.value() ^ std::uint64_t{1} << random() % 64, std::uint64_t{random()}}) {
      std::string const other = std::bit_cast<IntfId>(value).name();
      if (!IntfId::parse(other, id)) continue;
      ASSERT_EQ(id.name(), other);
    }
  }
}

}  // namespace
