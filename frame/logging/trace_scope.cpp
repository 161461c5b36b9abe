#include "frame/logging/trace_scope.h"

#include <mmsystem.h>

#include "frame/logging/log.h"

namespace {

// Copies at most `limit` characters of `text` and terminates; returns the count.
size_t CopyTruncated(wchar_t* target, const wchar_t* text, size_t limit) noexcept {
  size_t length = 0;
  if (text != nullptr) {
    while (length < limit && text[length] != L'\0') {
      target[length] = text[length];
      ++length;
    }
  }
  target[length] = L'\0';
  return length;
}

}  // namespace

TraceScope::TraceScope(const wchar_t* function) noexcept : start_(::timeGetTime()) {
  static constexpr wchar_t kSuffix[] = L"()";
  constexpr size_t kSuffixLength = sizeof(kSuffix) / sizeof(kSuffix[0]) - 1;
  const size_t length = CopyTruncated(decorated_, function, kNameCapacity - 1 - kSuffixLength);
  CopyTruncated(decorated_ + length, kSuffix, kSuffixLength);
  CopyTruncated(name_, function, kNameCapacity - 1);

  if (logging::IsActive()) {
    const uint32_t level = logging::kLevelTrace;
    LogWriteFormatted(logging::kDepthEnter, &level, logging::ThisModule(), name_, L"-> %s",
                      decorated_);
  }
}

TraceScope::~TraceScope() {
  if (logging::IsActive()) {
    const uint32_t level = logging::kLevelTrace;
    const unsigned int elapsed = ::timeGetTime() - start_;
    LogWriteFormatted(logging::kDepthLeave, &level, logging::ThisModule(), name_, L"<- %s [%d]",
                      decorated_, elapsed);
  }
}
