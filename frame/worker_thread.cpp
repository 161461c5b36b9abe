#include "frame/worker_thread.h"

#include <new>
#include <utility>

#include "frame/owners.h"
#include "frame/win32_error.h"

namespace kel {

// Everything the thread uses. It lives on the heap, apart from the owner, so
// that a worker which destroys its own owner can still finish with it.
struct WorkerThread::State {
  Body body;
  UniqueEvent stop;
  UniqueThread thread;
  DWORD thread_id = 0;
  // Set only by the worker itself, when its owner died on this thread: the
  // thread then frees the state when the body returns.
  bool orphaned = false;
};

WorkerThread::WorkerThread() noexcept = default;

WorkerThread::~WorkerThread() {
  if (!state_) return;
  if (::GetCurrentThreadId() == state_->thread_id) {
    ::SetEvent(state_->stop.get());
    state_->orphaned = true;
    static_cast<void>(state_.release());
    return;
  }
  if (Stop() != ERROR_SUCCESS) {
    // Not joined: leave the thread what it may still be using rather than free
    // it under it.
    static_cast<void>(state_.release());
  }
}

DWORD WINAPI WorkerThread::Run(void* parameter) noexcept {
  State* state = static_cast<State*>(parameter);
  try {
    state->body(state->stop.get());
  } catch (...) {
    // Nobody to report to on this thread; the thread ends as if the body returned.
  }
  // Read on this thread after the body returned: the owner, if alive, frees the
  // state only after joining, so the flag is still there to read.
  if (state->orphaned) delete state;
  return 0;
}

DWORD WorkerThread::Start(Body body) noexcept {
  if (state_) return ERROR_ALREADY_INITIALIZED;
  if (!body) return ERROR_INVALID_PARAMETER;
  std::unique_ptr<State> state(new (std::nothrow) State);
  if (!state) return ERROR_NOT_ENOUGH_MEMORY;
  try {
    state->body = std::move(body);
  } catch (...) {
    return ERROR_NOT_ENOUGH_MEMORY;  // a callable whose move allocates and failed
  }
  state->stop.reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  KEL_RETURN_LAST_ERROR_IF_NULL(state->stop);
  // Suspended until state_ is set, so that a body calling Stop at once is
  // recognised as the worker.
  state->thread.reset(
      ::CreateThread(nullptr, 0, &Run, state.get(), CREATE_SUSPENDED, &state->thread_id));
  KEL_RETURN_LAST_ERROR_IF_NULL(state->thread);
  state_ = std::move(state);
  if (::ResumeThread(state_->thread.get()) == static_cast<DWORD>(-1)) {
    // The body never ran and never will: end the thread where it stands.
    const DWORD error = LastErrorCode();
    ::TerminateThread(state_->thread.get(), error);
    ::WaitForSingleObject(state_->thread.get(), INFINITE);
    state_.reset();
    return error;
  }
  return ERROR_SUCCESS;
}

DWORD WorkerThread::Stop() noexcept {
  if (!state_) return ERROR_SUCCESS;
  if (::GetCurrentThreadId() == state_->thread_id) return ERROR_POSSIBLE_DEADLOCK;
  // Signal, join, then free. The body may be waiting on the event and using
  // what it captured until the very moment it returns, so neither the event nor
  // the body may go before the join; and without the signal first, the join
  // would wait for ever on a body that waits for the stop. Once joined, the
  // handles go in the reverse order of their creation, the body last.
  KEL_RETURN_IF_WIN32_BOOL_FALSE(::SetEvent(state_->stop.get()));
  if (::WaitForSingleObject(state_->thread.get(), INFINITE) != WAIT_OBJECT_0) {
    return LastErrorCode();  // still running, maybe: keep everything it uses
  }
  state_->thread.reset();
  state_->stop.reset();
  state_.reset();
  return ERROR_SUCCESS;
}

}  // namespace kel
