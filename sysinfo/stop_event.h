#pragma once
// The named event through which a worker process is told to stop. Anybody may
// wait on it; only the handle its creator holds can signal it.
#include <cstdint>
#include <random>
#include <string>

#include "frame/owners.h"
#include "frame/win.h"

namespace SystemInfo {

inline constexpr size_t kStopEventNameLength = 24;
// What Everyone is denied, then granted, on the event: every event right but
// SYNCHRONIZE, then SYNCHRONIZE alone.
inline constexpr DWORD kStopEventDenied = 0x000F0003;
inline constexpr DWORD kStopEventGranted = SYNCHRONIZE;

// 24 letters, each drawn uniformly from "B" to "Z".
std::wstring MakeStopEventName(std::mt19937& random);

// A manual-reset, non-signalled event under a fresh name, with the DACL above.
// Answers a Win32 code; `event` and `name` are set only on success.
DWORD CreateStopEvent(kel::UniqueEvent& event, std::wstring& name) noexcept;

}  // namespace SystemInfo
