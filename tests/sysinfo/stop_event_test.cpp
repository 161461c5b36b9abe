// The stop event's name and its access rules, read back from the system. What
// a worker can do with it by name runs in tests/host/sysinfo.jsonl.
#include <gtest/gtest.h>

#include "frame/win.h"
#include <aclapi.h>

#include <random>
#include <set>
#include <string>

#include "frame/owners.h"
#include "sysinfo/stop_event.h"

namespace {

TEST(StopEvent, NamesAre24LettersFromBToZ) {
  std::mt19937 random(12345);
  std::set<wchar_t> seen;
  for (int i = 0; i < 200; ++i) {
    const std::wstring name = SystemInfo::MakeStopEventName(random);
    ASSERT_EQ(name.size(), 24u);
    for (wchar_t c : name) {
      ASSERT_TRUE(c >= L'B' && c <= L'Z') << static_cast<int>(c);
      seen.insert(c);
    }
  }
  // 4,800 uniform draws miss one of 25 letters with a chance of about 1e-84.
  EXPECT_EQ(seen.size(), 25u);
}

TEST(StopEvent, EveryoneIsDeniedAllButWaitingThenGrantedWaiting) {
  kel::UniqueEvent event;
  std::wstring name;
  ASSERT_EQ(SystemInfo::CreateStopEvent(event, name), 0u);
  ASSERT_EQ(name.size(), 24u);

  PACL dacl = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_EQ(::GetSecurityInfo(event.get(), SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                              nullptr, &dacl, nullptr, &descriptor),
            ERROR_SUCCESS);
  const kel::UniqueLocal owner(descriptor);
  ASSERT_NE(dacl, nullptr);
  ASSERT_EQ(dacl->AceCount, 2);

  SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
  kel::UniqueSid everyone;
  ASSERT_TRUE(::AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0,
                                         everyone.put()));
  const struct {
    BYTE type;
    DWORD mask;
  } expected[2] = {{ACCESS_DENIED_ACE_TYPE, 0x000F0003}, {ACCESS_ALLOWED_ACE_TYPE, 0x00100000}};
  for (DWORD i = 0; i < 2; ++i) {
    void* ace = nullptr;
    ASSERT_TRUE(::GetAce(dacl, i, &ace));
    const auto* header = static_cast<const ACE_HEADER*>(ace);
    EXPECT_EQ(header->AceType, expected[i].type) << i;
    // Allowed and denied entries share one layout: header, mask, SID.
    const auto* entry = static_cast<const ACCESS_ALLOWED_ACE*>(ace);
    EXPECT_EQ(entry->Mask, expected[i].mask) << i;
    EXPECT_TRUE(::EqualSid(const_cast<DWORD*>(&entry->SidStart), everyone.get())) << i;
  }
}

}  // namespace
