// A first signal asks the work to stop, so that it can clear up after itself. A second one ends the program at once,
// after the files that are not whole yet have been removed. A signal may come at any instruction, so the handler
// touches nothing but lock-free words and fixed buffers.

#include "Interrupt.h"

#include <unistd.h>
#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>

namespace {

constexpr int kHandledSignals[] = {SIGINT, SIGTERM, SIGHUP};

/// The state word of the job that runs. Null between jobs, when a signal has nothing to stop.
std::atomic<int*> stateWord = nullptr;
std::atomic<bool> wasAsked = false;

/// A path that the handler may unlink, or none.
struct FileSlot {
  std::atomic<bool> isSet = false;
  char path[PATH_MAX];
};
FileSlot unfinishedFile;
FileSlot companionFile;
FileSlot rewrittenCompanion;

static_assert(std::atomic<int*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

/// The signal is raised again with its own meaning, so that the starter of the program sees what ended it.
void EndAtOnce(int signalNumber) {
  for (const FileSlot* slot : {&unfinishedFile, &companionFile, &rewrittenCompanion}) {
    if (slot->isSet) ::unlink(slot->path);
  }
  std::signal(signalNumber, SIG_DFL);
  std::raise(signalNumber);
}

/// The slot is marked empty while its path changes, so that the handler never sees half of one. A path too long for it
/// is left behind rather than cut.
void SetSlot(FileSlot& slot, const std::string& path) {
  slot.isSet = false;
  if (path.empty() || path.size() >= sizeof slot.path) return;
  std::memcpy(slot.path, path.c_str(), path.size() + 1);
  slot.isSet = true;
}

/// A signal between jobs ends the program at once, because there is no work that could stop.
void OnSignal(int signalNumber) {
  int* word = stateWord;
  if (!word || wasAsked.exchange(true)) {
    EndAtOnce(signalNumber);
    return;
  }
  std::atomic_ref<int>(*word).store(XThread::kStateStop);
}

}  // namespace

void InstallInterruptHandlers() {
  // A file that outgrows its limit is a write that fails, as on a full disk.
  std::signal(SIGXFSZ, SIG_IGN);
  struct sigaction action {};
  action.sa_handler = &OnSignal;
  sigemptyset(&action.sa_mask);
  for (const int signalNumber : kHandledSignals) {
    struct sigaction before {};
    // What the starter of the program ignores, as nohup does, stays ignored.
    const bool isIgnored = sigaction(signalNumber, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
    if (!isIgnored) sigaction(signalNumber, &action, nullptr);
  }
}

/// The next signal is the first one for this file.
StoppableJob::StoppableJob(XThread& thread) {
  wasAsked = false;
  stateWord = thread.GetStatePtr();
}

StoppableJob::~StoppableJob() {
  stateWord = nullptr;
}

SignalsHeldBack::SignalsHeldBack() {
  sigset_t handled;
  sigemptyset(&handled);
  for (const int signalNumber : kHandledSignals) sigaddset(&handled, signalNumber);
  pthread_sigmask(SIG_BLOCK, &handled, &before_);
}

SignalsHeldBack::~SignalsHeldBack() {
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void SetUnfinishedFile(const std::string& path, const std::string& companion) {
  SetSlot(unfinishedFile, path);
  SetSlot(companionFile, companion);
  // What the library calls a file while it replaces one.
  SetSlot(rewrittenCompanion, companion.empty() ? companion : companion + "_tmp");
}
