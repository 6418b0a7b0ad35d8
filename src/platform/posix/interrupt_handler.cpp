// Only generic POSIX code here: SIGINT through a self-pipe to a watcher thread.
#include "platform/interrupt_handler.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <stdexcept>
#include <thread>

namespace lmk {
namespace {

constexpr char kInterrupt = 'i';
constexpr char kQuit = 'q';

// The write end of the pipe for the signal handler; -1 when no handler is installed.
std::atomic<int> g_writeEnd{-1};

struct HandlerState {
  int readEnd = -1;
  int writeEnd = -1;
  struct sigaction previous {};
  std::thread watcher;
  std::atomic<bool> restored{false};
};
std::unique_ptr<HandlerState> g_state;

extern "C" void OnSignal(int /*signal*/) {
  const int saved = errno;
  const int fd = g_writeEnd.load();
  if (fd >= 0) {
    const char byte = kInterrupt;
    [[maybe_unused]] const ssize_t written = ::write(fd, &byte, 1);
  }
  errno = saved;
}

void WriteByte(int fd, char byte) {
  while (::write(fd, &byte, 1) < 0 && errno == EINTR) {
  }
}

}  // namespace

InterruptHandler::InterruptHandler(std::function<void()> onInterrupt) {
  if (g_state != nullptr) throw std::logic_error("an interrupt handler is already installed");
  auto state = std::make_unique<HandlerState>();
  int fds[2];
  if (::pipe(fds) != 0) throw std::runtime_error("cannot create the interrupt pipe");
  ::fcntl(fds[0], F_SETFD, FD_CLOEXEC);
  ::fcntl(fds[1], F_SETFD, FD_CLOEXEC);
  state->readEnd = fds[0];
  state->writeEnd = fds[1];
  HandlerState* raw = state.get();
  state->watcher = std::thread([raw, callback = std::move(onInterrupt)] {
    for (;;) {
      char byte = 0;
      const ssize_t got = ::read(raw->readEnd, &byte, 1);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0 || byte == kQuit) return;
      // The first interrupt cancels; the next one gets the program's usual handling.
      if (!raw->restored.exchange(true)) {
        ::sigaction(SIGINT, &raw->previous, nullptr);
        if (callback) callback();
      }
    }
  });
  g_writeEnd.store(state->writeEnd);
  struct sigaction action {};
  action.sa_handler = &OnSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  ::sigaction(SIGINT, &action, &state->previous);
  g_state = std::move(state);
}

InterruptHandler::~InterruptHandler() {
  const std::unique_ptr<HandlerState> state = std::move(g_state);
  if (!state->restored.exchange(true)) ::sigaction(SIGINT, &state->previous, nullptr);
  g_writeEnd.store(-1);
  WriteByte(state->writeEnd, kQuit);
  state->watcher.join();
  ::close(state->readEnd);
  ::close(state->writeEnd);
}

void InterruptHandler::Raise() { ::raise(SIGINT); }

}  // namespace lmk
