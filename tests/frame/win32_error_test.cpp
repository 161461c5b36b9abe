// Each check against the real API style it is for: it must pass the call's
// own code out of the enclosing function, and let a success through.
#include <cstdint>

#include <gtest/gtest.h>

#include "frame/owners.h"
#include "frame/win32_error.h"

namespace {

constexpr DWORD kPassed = 0xC0DE;  // answered when the check let the call through
constexpr wchar_t kMissingFile[] = L"kel-no-such-file.tmp";

BOOL FailWithoutLastError() {
  ::SetLastError(ERROR_SUCCESS);
  return FALSE;
}

struct CheckCase {
  const char* name;
  DWORD (*run)();
  DWORD expected;
};

TEST(Win32Error, EachCheckAnswersTheCodeOfTheFailureItIsFor) {
  const CheckCase cases[] = {
      {"BOOL false",
       []() -> DWORD {
         KEL_RETURN_IF_WIN32_BOOL_FALSE(::DeleteFileW(kMissingFile));
         return kPassed;
       },
       ERROR_FILE_NOT_FOUND},
      {"BOOL false with no last error",
       []() -> DWORD {
         KEL_RETURN_IF_WIN32_BOOL_FALSE(FailWithoutLastError());
         return kPassed;
       },
       ERROR_INTERNAL_ERROR},
      {"BOOL true",
       []() -> DWORD {
         ::SetLastError(ERROR_ACCESS_DENIED);  // stale: must not be taken for a failure
         LARGE_INTEGER counter{};
         KEL_RETURN_IF_WIN32_BOOL_FALSE(::QueryPerformanceCounter(&counter));
         return kPassed;
       },
       kPassed},
      {"status",
       []() -> DWORD {
         kel::UniqueHkey key;
         KEL_RETURN_IF_WIN32_ERROR(::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\kel-no-such-key",
                                                   0, KEY_READ, key.put()));
         return kPassed;
       },
       ERROR_FILE_NOT_FOUND},
      {"status success",
       []() -> DWORD {
         kel::UniqueHkey key;
         ::SetLastError(ERROR_ACCESS_DENIED);
         KEL_RETURN_IF_WIN32_ERROR(
             ::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, key.put()));
         return kPassed;
       },
       kPassed},
      {"null handle",
       []() -> DWORD {
         const kel::UniqueEvent event(::OpenEventW(SYNCHRONIZE, FALSE, L"kel-no-such-event"));
         KEL_RETURN_LAST_ERROR_IF_NULL(event);
         return kPassed;
       },
       ERROR_FILE_NOT_FOUND},
      {"non-null pointer",
       []() -> DWORD {
         KEL_RETURN_LAST_ERROR_IF_NULL(::GetModuleHandleW(nullptr));
         return kPassed;
       },
       kPassed},
      {"invalid file handle",
       []() -> DWORD {
         const kel::UniqueFile file(::CreateFileW(kMissingFile, GENERIC_READ, 0, nullptr,
                                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
         KEL_RETURN_LAST_ERROR_IF(!file);
         return kPassed;
       },
       ERROR_FILE_NOT_FOUND},
  };
  for (const CheckCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.run(), c.expected);
  }
}

TEST(Win32Error, EachCheckEvaluatesItsArgumentOnce) {
  static int calls = 0;
  using Run = DWORD (*)();
  const Run runs[] = {
      []() -> DWORD {
        KEL_RETURN_IF_WIN32_BOOL_FALSE((++calls, FALSE));
        return kPassed;
      },
      []() -> DWORD {
        KEL_RETURN_IF_WIN32_ERROR((++calls, ERROR_ACCESS_DENIED));
        return kPassed;
      },
      []() -> DWORD {
        KEL_RETURN_LAST_ERROR_IF_NULL((++calls, static_cast<void*>(nullptr)));
        return kPassed;
      },
  };
  for (const Run run : runs) {
    calls = 0;
    EXPECT_NE(run(), kPassed);
    EXPECT_EQ(calls, 1);
  }
}

}  // namespace
