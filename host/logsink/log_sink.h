#pragma once
// A stand-in for the product's logging library: a "log.dll" that records what it
// is told instead of writing a log. Besides the library's own entry points it
// exports the functions below, through which a test or the simulated service
// host reads and empties the records.
//
// Records kept, in arrival order, under one lock:
// - lines: one per "LogWrite", {level, depth change, function, message}; the
//   message is formatted with the Microsoft meaning of %s (a wide string);
// - calls: the names of the other entry points called, each followed by its
//   arguments, if any, after colons (texts as UTF-8, numbers in decimal), e.g.
//   "LogInit", "LogDeinit", "LogRemoveModule:logging::CLogDLL::~CLogDLL".
//
// The variant built with LOG_SINK_WITHOUT_WRITE lacks "LogWrite" and so never
// records a line.
#include <cstdint>

#include "frame/win.h"

#if defined(LOG_SINK_BUILD)
#define LOG_SINK_API __declspec(dllexport)
#else
#define LOG_SINK_API __declspec(dllimport)
#endif

extern "C" {

// Called once per record, in order; the texts live only for the call. A
// callback must not throw.
typedef void (*LogSinkLineCallback)(void* context, uint32_t level, uint16_t depthChange,
                                    const wchar_t* function, const wchar_t* message);
typedef void (*LogSinkCallCallback)(void* context, const char* call);

// Hand every line (or call) recorded so far to `callback`, oldest first, and
// forget them; return how many there were. A null callback only empties.
typedef uint32_t (*LogSinkDrainLinesFn)(LogSinkLineCallback callback, void* context);
typedef uint32_t (*LogSinkDrainCallsFn)(LogSinkCallCallback callback, void* context);
LOG_SINK_API uint32_t LogSinkDrainLines(LogSinkLineCallback callback, void* context);
LOG_SINK_API uint32_t LogSinkDrainCalls(LogSinkCallCallback callback, void* context);

// From now on also append each line to the text file `path` (created if
// missing), as UTF-8 "level<TAB>function<TAB>message" and CR LF. A null or empty
// path stops that. Returns FALSE only if the path could not be kept.
typedef BOOL (*LogSinkSetOutputFileFn)(const wchar_t* path);
LOG_SINK_API BOOL LogSinkSetOutputFile(const wchar_t* path);

}  // extern "C"
