// The handler touches nothing but lock-free words and a fixed buffer.

#include "Interrupt.h"

#include <unistd.h>
#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>

namespace {

std::atomic<int*> stateWord = nullptr;
std::atomic<bool> wasAsked = false;
std::atomic<bool> hasUnfinishedFile = false;
char unfinishedFile[PATH_MAX];

static_assert(std::atomic<int*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

void EndAtOnce(int signalNumber) {
  if (hasUnfinishedFile) ::unlink(unfinishedFile);
  std::signal(signalNumber, SIG_DFL);
  std::raise(signalNumber);
}

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
  struct sigaction action {};
  action.sa_handler = &OnSignal;
  sigemptyset(&action.sa_mask);
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before {};
    // What the starter of the program ignores, as nohup does, stays ignored.
    const bool isIgnored = sigaction(signalNumber, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
    if (!isIgnored) sigaction(signalNumber, &action, nullptr);
  }
}

StoppableJob::StoppableJob(XThread& thread) {
  wasAsked = false;
  stateWord = thread.GetStatePtr();
}

StoppableJob::~StoppableJob() {
  stateWord = nullptr;
}

void SetUnfinishedFile(const std::string& path) {
  hasUnfinishedFile = false;
  if (path.empty() || path.size() >= sizeof unfinishedFile) return;
  std::memcpy(unfinishedFile, path.c_str(), path.size() + 1);
  hasUnfinishedFile = true;
}
