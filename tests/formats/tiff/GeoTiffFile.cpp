#include "GeoTiffFile.h"

#include "XFile.h"

#include <bit>
#include <utility>

namespace {

using Bytes = GeoTiffFile::Bytes;

constexpr int kAsciiType = 2, kShortType = 3, kLongType = 4, kDoubleType = 12;

void AppendNumber(Bytes& bytes, std::uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

Bytes BytesOf(const std::vector<double>& values) {
  Bytes bytes;
  for (const double value : values) AppendNumber(bytes, std::bit_cast<std::uint64_t>(value), 8);
  return bytes;
}

Bytes BytesOf(const std::vector<std::uint16_t>& values) {
  Bytes bytes;
  for (const std::uint16_t value : values) AppendNumber(bytes, value, 2);
  return bytes;
}

/// The entries of a directory and the values behind it.
struct Entries {
  explicit Entries(std::size_t numEntries) : valuesAt(8 + 2 + 12 * numEntries + 4) {}

  void Add(int tag, int type, std::size_t count, const Bytes& value) {
    AppendNumber(entries, static_cast<std::uint64_t>(tag), 2);
    AppendNumber(entries, static_cast<std::uint64_t>(type), 2);
    AppendNumber(entries, count, 4);
    if (value.size() > 4) {
      AppendNumber(entries, valuesAt + values.size(), 4);
      values.insert(values.end(), value.begin(), value.end());
      values.resize((values.size() + 7) / 8 * 8);
    } else {
      entries.insert(entries.end(), value.begin(), value.end());
      entries.resize(entries.size() + 4 - value.size());
    }
  }
  void Add(int tag, std::size_t number) {
    Bytes bytes;
    AppendNumber(bytes, number, 4);
    Add(tag, kLongType, 1, bytes);
  }

  std::size_t valuesAt;
  Bytes entries;
  Bytes values;
};

}  // namespace

GeoTiffFile& GeoTiffFile::Size(int width, int height) {
  width_ = width;
  height_ = height;
  return *this;
}

GeoTiffFile& GeoTiffFile::Scale(std::vector<double> scale) {
  scale_ = std::move(scale);
  return *this;
}

GeoTiffFile& GeoTiffFile::TiePoints(std::vector<double> points) {
  tiePoints_ = std::move(points);
  return *this;
}

GeoTiffFile& GeoTiffFile::Matrix(std::vector<double> matrix) {
  matrix_ = std::move(matrix);
  return *this;
}

GeoTiffFile& GeoTiffFile::Key(int id, int value) {
  return RawKey(id, 0, 1, value);
}

GeoTiffFile& GeoTiffFile::Key(int id, const std::vector<double>& values) {
  const int place = static_cast<int>(keyDoubles_.size());
  keyDoubles_.insert(keyDoubles_.end(), values.begin(), values.end());
  return RawKey(id, 34736, static_cast<int>(values.size()), place);
}

GeoTiffFile& GeoTiffFile::Key(int id, const std::string& text) {
  const int place = static_cast<int>(keyTexts_.size());
  keyTexts_ += text + '|';
  return RawKey(id, 34737, static_cast<int>(text.size()) + 1, place);
}

GeoTiffFile& GeoTiffFile::RawKey(int id, int tag, int count, int place) {
  for (const int word : {id, tag, count, place}) entries_.push_back(static_cast<std::uint16_t>(word));
  return *this;
}

GeoTiffFile& GeoTiffFile::Version(int version, int major, int minor) {
  version_ = {static_cast<std::uint16_t>(version), static_cast<std::uint16_t>(major),
              static_cast<std::uint16_t>(minor)};
  return *this;
}

GeoTiffFile& GeoTiffFile::ClaimKeys(int count) {
  claimedKeys_ = count;
  return *this;
}

GeoTiffFile& GeoTiffFile::Directory(std::vector<std::uint16_t> words) {
  directory_ = std::move(words);
  return *this;
}

std::vector<std::uint16_t> GeoTiffFile::MakeDirectory() const {
  if (!directory_.empty() || entries_.empty()) return directory_;
  std::vector<std::uint16_t> words = version_;
  words.push_back(static_cast<std::uint16_t>(claimedKeys_ >= 0 ? claimedKeys_ : static_cast<int>(entries_.size() / 4)));
  words.insert(words.end(), entries_.begin(), entries_.end());
  return words;
}

Bytes GeoTiffFile::Build() const {
  const auto imageBytes = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
  const std::vector<std::uint16_t> directory = MakeDirectory();
  const std::size_t count = 9 + !scale_.empty() + !tiePoints_.empty() + !matrix_.empty() + !directory.empty() +
                            !keyDoubles_.empty() + !keyTexts_.empty();
  Entries all(count);
  all.Add(256, static_cast<std::size_t>(width_));
  all.Add(257, static_cast<std::size_t>(height_));
  all.Add(258, kShortType, 1, {8, 0});
  all.Add(259, kShortType, 1, {1, 0});
  all.Add(262, kShortType, 1, {1, 0});
  all.values.resize((imageBytes + 7) / 8 * 8);
  all.Add(273, all.valuesAt);
  all.Add(277, kShortType, 1, {1, 0});
  all.Add(278, static_cast<std::size_t>(height_));
  all.Add(279, imageBytes);
  if (!scale_.empty()) all.Add(33550, kDoubleType, scale_.size(), BytesOf(scale_));
  if (!tiePoints_.empty()) all.Add(33922, kDoubleType, tiePoints_.size(), BytesOf(tiePoints_));
  if (!matrix_.empty()) all.Add(34264, kDoubleType, matrix_.size(), BytesOf(matrix_));
  if (!directory.empty()) all.Add(34735, kShortType, directory.size(), BytesOf(directory));
  if (!keyDoubles_.empty()) all.Add(34736, kDoubleType, keyDoubles_.size(), BytesOf(keyDoubles_));
  if (!keyTexts_.empty()) {
    Bytes texts(keyTexts_.begin(), keyTexts_.end());
    texts.push_back(0);
    all.Add(34737, kAsciiType, texts.size(), texts);
  }

  Bytes file = {'I', 'I', 42, 0, 8, 0, 0, 0};
  AppendNumber(file, count, 2);
  file.insert(file.end(), all.entries.begin(), all.entries.end());
  AppendNumber(file, 0, 4);
  file.insert(file.end(), all.values.begin(), all.values.end());
  return file;
}

std::unique_ptr<zrk::TiffHandle> OpenTiff(const std::string& path) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return nullptr;
  return zrk::TiffHandle::Open(file.GetDiskFile(), path, std::make_shared<zrk::TiffMessages>(), 1 << 24);
}
