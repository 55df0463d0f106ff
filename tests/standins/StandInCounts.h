#pragma once

#include <atomic>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "StandInPicture.h"

// What a stand-in library counts, so that tests can look at how it was used.

struct StandInCounts {
  std::atomic<int> opened = 0;
  std::atomic<int> closed = 0;
  std::atomic<int> shared = 0;  ///< calls for an image that another thread was using
  std::atomic<int> inits = 0;
  std::atomic<int> decodes = 0;
};

inline StandInCounts& Counts() {
  static StandInCounts counts;
  return counts;
}

/// An image that a library has open.
struct StandInImage {
  StandInFile file;
  std::atomic<std::thread::id> user{};
};

/// Counts a call for the image while another thread is in one.
class StandInUse {
 public:
  explicit StandInUse(StandInImage& image) : image_(image) {
    const std::thread::id before = image_.user.exchange(std::this_thread::get_id());
    if (before != std::thread::id()) ++Counts().shared;
  }
  ~StandInUse() { image_.user = std::thread::id(); }
  StandInUse(const StandInUse&) = delete;
  StandInUse& operator=(const StandInUse&) = delete;

 private:
  StandInImage& image_;
};

/// Whether this opening of the path is the one that shall fail.
inline bool IsFailingOpen(const std::string& path, int failOpen) {
  static std::mutex mutex;
  static std::map<std::string, int> openings;
  const std::lock_guard lock(mutex);
  return ++openings[path] == failOpen;
}

inline bool OpenStandIn(const char* path, const char* function, StandInFile& file) {
  std::ifstream stream(path, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(stream), {});
  return ReadStandIn(text, file) && file.fail != function && !IsFailingOpen(path, file.failOpen);
}

/// What a test asks by name; see `CountOfStandIn`.
inline int CountByName(const std::string& name) {
  const StandInCounts& counts = Counts();
  if (name == "open") return counts.opened - counts.closed;
  if (name == "opened") return counts.opened;
  if (name == "shared") return counts.shared;
  if (name == "inits") return counts.inits;
  return counts.decodes;
}
