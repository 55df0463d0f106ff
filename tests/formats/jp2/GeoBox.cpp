#include "GeoBox.h"

#include <bit>
#include <cstring>

namespace {

using Bytes = std::vector<unsigned char>;

void Put(Bytes& bytes, std::uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

/// A little-endian directory, whose entries are told in order of their tags, and what is too long for them.
class Directory {
 public:
  void Short(int tag, int value) { Entry(tag, 3, 1, static_cast<std::uint64_t>(value)); }
  void Doubles(int tag, const std::vector<double>& values) {
    if (values.empty()) return;
    Entry(tag, 12, values.size(), kFarAt + far_.size());
    for (const double value : values) Put(far_, std::bit_cast<std::uint64_t>(value), 8);
  }
  void Shorts(int tag, const std::vector<int>& values) {
    if (values.empty()) return;
    Entry(tag, 3, values.size(), kFarAt + far_.size());
    for (const int value : values) Put(far_, static_cast<std::uint64_t>(value), 2);
  }
  Bytes Build() const {
    Bytes file = {'I', 'I', 42, 0, 8, 0, 0, 0};
    Put(file, static_cast<std::uint64_t>(numEntries_), 2);
    file.insert(file.end(), entries_.begin(), entries_.end());
    Put(file, 0, 4);
    file.resize(kFarAt);
    file.insert(file.end(), far_.begin(), far_.end());
    return file;
  }

 private:
  static constexpr std::size_t kFarAt = 512;
  void Entry(int tag, int type, std::uint64_t count, std::uint64_t value) {
    Put(entries_, static_cast<std::uint64_t>(tag), 2);
    Put(entries_, static_cast<std::uint64_t>(type), 2);
    Put(entries_, count, 4);
    Put(entries_, value, 4);
    ++numEntries_;
  }
  Bytes entries_;
  Bytes far_;
  int numEntries_ = 0;
};

}  // namespace

std::vector<unsigned char> GeoBox::Build() const {
  Directory directory;
  directory.Short(256, 1);
  directory.Short(257, 1);
  directory.Short(258, 8);
  directory.Short(259, 1);
  directory.Short(262, 1);
  directory.Short(273, 0);
  directory.Short(277, 1);
  directory.Short(278, 1);
  directory.Short(279, 1);
  directory.Doubles(33550, pixelScale);
  directory.Doubles(33922, tiePoints);
  directory.Doubles(34264, matrix);
  // The keys: a projected model, what a pixel is, and the code of the system.
  if (epsg != 0) {
    directory.Shorts(34735, {1, 1, 0, 3, 1024, 0, 1, 1, 1025, 0, 1, isPoint ? 2 : 1, 3072, 0, 1, epsg});
  }
  return directory.Build();
}

std::vector<unsigned char> MakeMsig(double columnX, double columnY, double rowX, double rowY, double x, double y,
                                    std::size_t numBytes) {
  Bytes data = {'M', 'S', 'I', 'G', '/'};
  data.resize(22);
  for (const double number : {columnX, columnY, rowX, rowY, x, y}) Put(data, std::bit_cast<std::uint64_t>(number), 8);
  data.resize(numBytes);
  return data;
}
