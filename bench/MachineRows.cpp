// Rows about the machine. They tell what a second thread can give at most while the other rows are timed. Processors
// that a system counts may be halves of one core, or shared with strangers: two threads that wait for their own results
// then run at full speed side by side, and two that keep a core busy do not.

#include "Rows.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

namespace {

/// A compiler takes what stands before and behind this for needed.
void KeepBytes(const void* bytes) {
  asm volatile("" : : "r"(bytes) : "memory");
}

/// Each step needs the one before.
void WaitForOwnResults() {
  constexpr int kSteps = 8'000'000;
  std::uint64_t number = 1;
  for (int i = 0; i < kSteps; ++i) {
    number = number * 6364136223846793005u + 1442695040888963407u;
    KeepBytes(&number);
  }
}

/// Copies so many bytes from one place to another, over and over.
class Copies {
 public:
  explicit Copies(std::size_t bytes) : from_(bytes, 1), to_(bytes) {}
  void Make() {
    constexpr std::size_t kTotal = std::size_t{1} << 28;
    for (std::size_t done = 0; done < kTotal; done += from_.size()) {
      std::memcpy(to_.data(), from_.data(), from_.size());
      KeepBytes(to_.data());
    }
  }

 private:
  std::vector<unsigned char> from_, to_;
};

/// The work done twice: by two threads, and by one.
void AddMachineRow(const char* key, const char* title, const std::function<void(int)>& work, std::vector<Row>& rows) {
  const auto byTwo = [work] {
    std::thread other([&] { work(1); });
    work(0);
    other.join();
  };
  const auto byOne = [work] {
    work(0);
    work(1);
  };
  rows.push_back({key, title, "one thread", byTwo, byOne, 2, 0.0});
}

void AddCopyRow(const char* key, const char* title, std::size_t bytes, std::vector<Row>& rows) {
  const auto first = std::make_shared<Copies>(bytes), second = std::make_shared<Copies>(bytes);
  AddMachineRow(
      key, title, [=](int i) { (i == 0 ? first : second)->Make(); }, rows);
}

}  // namespace

void AddMachineRows(const BenchOptions&, std::vector<Row>& rows) {
  AddMachineRow(
      "machine_steps", "steps that wait for one another, 2 threads", [](int) { WaitForOwnResults(); }, rows);
  AddCopyRow("machine_near", "copies of 8 KB, 2 threads", std::size_t{8} << 10, rows);
  AddCopyRow("machine_far", "copies of 8 MB, 2 threads", std::size_t{8} << 20, rows);
}
