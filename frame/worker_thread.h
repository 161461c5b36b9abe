#pragma once
// Owner of one background thread and the event that tells it to stop.
//
// The body runs on a Win32 thread and receives the stop event, a manual-reset
// event that stays signalled once set, so it can wait on it together with its
// own handles (WaitForMultipleObjects) or through a Clock:
//
//   worker.Start([&clock](HANDLE stop) {
//     while (!clock.WaitFor(stop, kPeriodMs)) Tick();
//   });
//
// One thread owns a WorkerThread and calls Start and Stop; the body may call
// neither on its own owner. Stop must not be called under the loader lock
// (from DllMain or a static destructor of a DLL): the thread could never end.
#include <functional>
#include <memory>

#include "frame/win.h"

namespace kel {

class WorkerThread {
 public:
  using Body = std::function<void(HANDLE stop)>;

  WorkerThread() noexcept;
  // Stops the thread. From the worker itself, where joining would wait for
  // ever, it signals the stop and leaves the thread to free what it uses once
  // the body returns.
  ~WorkerThread();
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;

  // Runs `body` on a new thread. An exception leaving the body ends the
  // thread, not the process. Answers ERROR_ALREADY_INITIALIZED while a thread
  // is running, ERROR_INVALID_PARAMETER for an empty body, or the code of the
  // failed call.
  DWORD Start(Body body) noexcept;

  // Signals the stop event, waits for the thread to end, then frees the
  // thread, the event and the body. Answers ERROR_SUCCESS also when nothing
  // runs, so it may be called any number of times; ERROR_POSSIBLE_DEADLOCK,
  // changing nothing, when called from the worker itself.
  DWORD Stop() noexcept;

  bool Running() const noexcept { return state_ != nullptr; }

 private:
  struct State;
  static DWORD WINAPI Run(void* state) noexcept;

  std::unique_ptr<State> state_;
};

}  // namespace kel
