#include "frame/ipv4.h"

#include <gtest/gtest.h>

#include <string>

namespace kel::nusdk::Network {
namespace {

// The first group is the lowest byte; the prefix is written only when there is one.
TEST(IPv4Test, AcceptedTextsAndTheirWrittenForm) {
  struct Case {
    const wchar_t* text;
    uint32_t address;
    uint32_t prefix;
    const wchar_t* written;
  };
  const Case cases[] = {
      {L"192.168.1.20", 0x1401A8C0u, 0, L"192.168.1.20"},
      {L"0.0.0.0", 0, 0, L"0.0.0.0"},
      {L"255.255.255.255/32", 0xFFFFFFFFu, 32, L"255.255.255.255/32"},
      {L"10.0.0.1/8", 0x0100000Au, 8, L"10.0.0.1/8"},
      {L"1.2.3.4/1", 0x04030201u, 1, L"1.2.3.4/1"},
      {L"010.001.000.009/08", 0x0900010Au, 8, L"10.1.0.9/8"},
      // Each group is read as std::stoi reads it: blanks before, a sign,
      // and text after the digits do not matter.
      {L" 1. 2.\t3.4 ", 0x04030201u, 0, L"1.2.3.4"},
      {L"1.2.+3.4", 0x04030201u, 0, L"1.2.3.4"},
      {L"1.2.3.4x/8", 0x04030201u, 8, L"1.2.3.4/8"},
      {L"1.2.3.0004", 0x04030201u, 0, L"1.2.3.4"},
  };
  for (const Case& c : cases) {
    IPv4 ip{7, 7};
    ASSERT_TRUE(IPv4::Parse(c.text, ip)) << c.text;
    EXPECT_EQ(ip.address, c.address) << c.text;
    EXPECT_EQ(ip.prefix, c.prefix) << c.text;
    EXPECT_EQ(ip.ToString().ToStd(), c.written) << c.text;
  }
}

TEST(IPv4Test, RejectedTextsLeaveTheOutputAlone) {
  const wchar_t* rejected[] = {
      L"",
      L"1.2.3",
      L"1.2.3.4.5",
      L"1..3.4",
      L".1.2.3",
      L"256.1.1.1",
      L"1.2.3.256",
      L"1.2.-3.4",
      L"1.2.3.99999999999",
      L"1.2. .4",
      L"1.2.3.4/",
      L"1.2.3.4/0",
      L"1.2.3.4/33",
      L"1.2.3.4/8x",
      L"1.2.3.4/8/8",
      L"1.2.3.4/ 8",
      L"1.2.3.4/+8",
      L"a.b.c.d",
      nullptr,
  };
  for (const wchar_t* text : rejected) {
    IPv4 ip{0x11223344u, 5};
    EXPECT_FALSE(IPv4::Parse(text, ip)) << (text ? text : L"(null)");
    EXPECT_EQ(ip.address, 0x11223344u) << (text ? text : L"(null)");
    EXPECT_EQ(ip.prefix, 5u) << (text ? text : L"(null)");
  }
}

}  // namespace
}  // namespace kel::nusdk::Network
