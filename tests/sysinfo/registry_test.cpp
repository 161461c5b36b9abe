// Opening keys through each path, and Exchange detection against scratch
// trees under HKEY_CURRENT_USER laid out the way an installation leaves them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/owners.h"
#include "sysinfo/exchange_detection.h"
#include "sysinfo/registry_key.h"

namespace {

using SystemInfo::ExchangeInstallInfo;
using SystemInfo::RegistryKey;
using SystemInfo::RegistryTransaction;

// A scratch key, removed with everything under it.
class ScratchKey {
 public:
  ScratchKey()
      : path_(L"Software\\kelagents-test\\sysinfo-" + std::to_wstring(::GetCurrentProcessId())) {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    ::RegCreateKeyExW(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                      key_.put(), nullptr);
  }
  ~ScratchKey() {
    key_.reset();
    ::RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
  }
  HKEY get() const { return key_.get(); }

  void Create(const std::wstring& path) {
    kel::UniqueHkey key;
    ASSERT_EQ(::RegCreateKeyExW(key_.get(), path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                key.put(), nullptr),
              ERROR_SUCCESS);
  }
  void Set(const std::wstring& path, const wchar_t* name, DWORD type, const void* data,
           DWORD bytes) {
    ASSERT_EQ(::RegSetKeyValueW(key_.get(), path.c_str(), name, type, data, bytes), ERROR_SUCCESS);
  }

 private:
  std::wstring path_;
  kel::UniqueHkey key_;
};

// What the seam hands out, and what the transacted open was asked.
HANDLE g_seenTransaction = nullptr;
LSTATUS WINAPI FakeTransactedOpen(HKEY parent, const wchar_t* subkey, DWORD, REGSAM access,
                                  HKEY* result, HANDLE transaction, void*) {
  g_seenTransaction = transaction;
  return ::RegOpenKeyExW(parent, subkey, 0, access, result);
}
SystemInfo::RegOpenKeyTransactedFn Present() noexcept { return &FakeTransactedOpen; }
SystemInfo::RegOpenKeyTransactedFn Missing() noexcept { return nullptr; }

TEST(RegistryKey, EachPathOpensOrRefusesAndAFailureKeepsTheHeldKey) {
  ScratchKey scratch;
  scratch.Create(L"present");
  const HANDLE kTransaction = reinterpret_cast<HANDLE>(0x1234);
  const RegistryTransaction withHandle{kTransaction, false};
  const RegistryTransaction noHandleNoFallback{nullptr, false};
  const RegistryTransaction noHandleFallback{nullptr, true};
  struct Row {
    const char* what;
    const RegistryTransaction* transaction;
    RegistryKey::Lookup lookup;
    DWORD present;  // opening "present"
    HANDLE seen;    // the transaction the transacted open received
  } rows[] = {
      {"plain", nullptr, &Present, ERROR_SUCCESS, nullptr},
      {"transacted", &withHandle, &Present, ERROR_SUCCESS, kTransaction},
      {"transacted open missing", &withHandle, &Missing, ERROR_INVALID_FUNCTION, nullptr},
      {"no handle, no fallback", &noHandleNoFallback, &Present, ERROR_INVALID_FUNCTION, nullptr},
      {"no handle, fallback", &noHandleFallback, &Present, ERROR_SUCCESS, nullptr},
  };
  for (const Row& row : rows) {
    g_seenTransaction = nullptr;
    RegistryKey key(row.transaction, row.lookup);
    EXPECT_EQ(key.Open(scratch.get(), L"present"), row.present) << row.what;
    EXPECT_EQ(g_seenTransaction, row.seen) << row.what;
    EXPECT_EQ(static_cast<bool>(key), row.present == ERROR_SUCCESS) << row.what;
    if (!key) continue;
    const HKEY held = key.get();
    EXPECT_EQ(key.Open(scratch.get(), L"absent"), static_cast<DWORD>(ERROR_FILE_NOT_FOUND))
        << row.what;
    EXPECT_EQ(key.get(), held) << row.what;
  }
  // Where the test runs, the real look-up must answer and not crash either way.
  RegistryKey real(&withHandle);
  const DWORD status = real.Open(scratch.get(), L"present");
  EXPECT_TRUE(status == ERROR_SUCCESS || status == ERROR_INVALID_FUNCTION) << status;
  if (!SystemInfo::FindRegOpenKeyTransacted()) {
    EXPECT_EQ(status, static_cast<DWORD>(ERROR_INVALID_FUNCTION));
  }
}

const std::wstring kV15 = L"SOFTWARE\\Microsoft\\ExchangeServer\\v15";

// The branches, their order and the values of each run through the system-
// information agent's script; a text without its terminator, or with a zero
// inside, is what only the API can write.
TEST(DetectExchange, TextsEndAtTheirSizeOrAtTheirFirstZero) {
  ScratchKey scratch;
  const wchar_t bare[] = {L'C', L':', L'\\', L'X'};
  scratch.Set(kV15 + L"\\Setup", L"MsiInstallPath", REG_SZ, bare, sizeof(bare));
  const wchar_t cut[] = L"D:\\Pick\0up";
  scratch.Set(kV15 + L"\\Pickup", L"Path", REG_SZ, cut, sizeof(cut));
  const ExchangeInstallInfo info = SystemInfo::DetectExchangeUnder(scratch.get());
  EXPECT_EQ(info.versionCode, 10213u);
  EXPECT_EQ(std::wstring(info.installPath.c_str()), L"C:\\X");
  EXPECT_EQ(std::wstring(info.pickupPath.c_str()), L"D:\\Pick");
}

}  // namespace
