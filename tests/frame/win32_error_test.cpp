// Each check against the real API style it is for: it passes the call's own
// code out of the enclosing function, and lets a success through.
#include <gtest/gtest.h>

#include "frame/owners.h"
#include "frame/win32_error.h"

namespace {

constexpr DWORD kPassed = 0xC0DE;  // answered when the check let the call through
constexpr wchar_t kMissingFile[] = L"kel-no-such-file.tmp";

DWORD IfFalse(BOOL result) {
  KEL_RETURN_IF_WIN32_BOOL_FALSE(result);
  return kPassed;
}
template <class Status>
DWORD IfError(Status status) {
  KEL_RETURN_IF_WIN32_ERROR(status());
  return kPassed;
}
template <class Value>
DWORD IfNull(const Value& value) {
  KEL_RETURN_LAST_ERROR_IF_NULL(value);
  return kPassed;
}
DWORD IfInvalid(const kel::UniqueFile& file) {
  KEL_RETURN_LAST_ERROR_IF(!file);
  return kPassed;
}

TEST(Win32Error, EachCheckAnswersTheCodeOfTheFailureItIsFor) {
  EXPECT_EQ(IfFalse(::DeleteFileW(kMissingFile)), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  ::SetLastError(ERROR_SUCCESS);
  EXPECT_EQ(IfFalse(FALSE), static_cast<DWORD>(ERROR_INTERNAL_ERROR)) << "failed, saying nothing";
  ::SetLastError(ERROR_ACCESS_DENIED);  // stale, from an earlier call
  EXPECT_EQ(IfFalse(TRUE), kPassed);

  kel::UniqueHkey key;
  const auto open = [&key](const wchar_t* path) {
    return
        [&key, path] { return ::RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, key.put()); };
  };
  EXPECT_EQ(IfError(open(L"Software\\kel-no-such-key")), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(IfError(open(L"Software")), kPassed);
  int calls = 0;
  EXPECT_EQ(IfError([&calls] {
    ++calls;
    return ERROR_ACCESS_DENIED;
  }),
            static_cast<DWORD>(ERROR_ACCESS_DENIED));
  EXPECT_EQ(calls, 1) << "a status is read once";

  EXPECT_EQ(IfNull(kel::UniqueEvent(::OpenEventW(SYNCHRONIZE, FALSE, L"kel-no-such-event"))),
            static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(IfNull(::GetModuleHandleW(nullptr)), kPassed);
  EXPECT_EQ(
      IfInvalid(kel::UniqueFile(::CreateFileW(kMissingFile, GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                              FILE_ATTRIBUTE_NORMAL, nullptr))),
      static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

}  // namespace
