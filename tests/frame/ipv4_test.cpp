#include "frame/ipv4.h"

#include <gtest/gtest.h>

#include <string>

namespace kel::nusdk::Network {
namespace {

TEST(IPv4Test, FirstGroupIsTheLowestByte) {
  IPv4 ip;
  ASSERT_TRUE(IPv4::Parse(L"192.168.1.20", ip));
  EXPECT_EQ(ip.address, 0x1401A8C0u);
  EXPECT_EQ(ip.prefix, 0u);
  EXPECT_EQ(ip.ToString().ToStd(), L"192.168.1.20");
}

TEST(IPv4Test, WritesThePrefixOnlyWhenThereIsOne) {
  EXPECT_EQ((IPv4{0x0100000Au, 8}).ToString().ToStd(), L"10.0.0.1/8");
  EXPECT_EQ((IPv4{0, 0}).ToString().ToStd(), L"0.0.0.0");
  EXPECT_EQ((IPv4{0xFFFFFFFFu, 32}).ToString().ToStd(), L"255.255.255.255/32");
}

TEST(IPv4Test, AcceptedTexts) {
  struct Case {
    const wchar_t* text;
    uint32_t address;
    uint32_t prefix;
  };
  const Case cases[] = {
      {L"0.0.0.0", 0, 0},
      {L"255.255.255.255", 0xFFFFFFFFu, 0},
      {L"10.0.0.0/8", 0x0000000Au, 8},
      {L"1.2.3.4/32", 0x04030201u, 32},
      {L"1.2.3.4/1", 0x04030201u, 1},
      {L"010.001.000.009/08", 0x0900010Au, 8},
      // Each group is read as std::stoi reads it: blanks before, a sign,
      // and text after the digits do not matter.
      {L" 1.2.3.4", 0x04030201u, 0},
      {L"1. 2.\t3.4", 0x04030201u, 0},
      {L"1.2.3.4 ", 0x04030201u, 0},
      {L"1.2.+3.4", 0x04030201u, 0},
      {L"1.2.3.4x/8", 0x04030201u, 8},
      {L"1.2.3.0004", 0x04030201u, 0},
  };
  for (const Case& c : cases) {
    IPv4 ip{7, 7};
    ASSERT_TRUE(IPv4::Parse(c.text, ip)) << c.text;
    EXPECT_EQ(ip.address, c.address) << c.text;
    EXPECT_EQ(ip.prefix, c.prefix) << c.text;
  }
}

TEST(IPv4Test, RejectedTextsLeaveTheOutputAlone) {
  const wchar_t* rejected[] = {
      L"",
      L"1.2.3",
      L"1.2.3.4.5",
      L"1..3.4",
      L"1.2.3.",
      L".1.2.3",
      L"256.1.1.1",
      L"1.2.3.256",
      L"1.2.3.1000",
      L"1.2.-3.4",
      L"1.2.3.99999999999",
      L"1.2. .4",
      L"1.2.3.4/",
      L"1.2.3.4/0",
      L"1.2.3.4/33",
      L"1.2.3.4/100",
      L"1.2.3.4/8x",
      L"1.2.3.4/8/8",
      L"1.2.3.4/ 8",
      L"1.2.3.4/+8",
      L"a.b.c.d",
      L"1,2,3,4",
  };
  for (const wchar_t* text : rejected) {
    IPv4 ip{0x11223344u, 5};
    EXPECT_FALSE(IPv4::Parse(text, ip)) << text;
    EXPECT_EQ(ip.address, 0x11223344u) << text;
    EXPECT_EQ(ip.prefix, 5u) << text;
  }
  IPv4 ip;
  EXPECT_FALSE(IPv4::Parse(nullptr, ip));
}

}  // namespace
}  // namespace kel::nusdk::Network
