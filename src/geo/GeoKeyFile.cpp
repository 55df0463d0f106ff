// Writes geokeys, and the tags that place an image, into a TIFF file of one pixel in memory, and reads keys back out of
// such a file. OGC 19-008, the GeoTIFF standard, and the TIFF 6.0 specification have the two layouts.
//
// Geokeys lie in three tags. The first is a directory of 16-bit words: four for its version and the number of keys,
// then four for each key in order of the ids. The other two hold all reals and all texts, each text with a bar at its
// end. The words of a key are its id, the tag of its values or 0, the number of values, and the index of the first
// value in that tag. A single 16-bit value has the tag 0 and stands in place of the index.
//
// The file is little-endian: a mark, the offset of the one directory, the directory in order of the tags, and then the
// values that are longer than the four bytes of an entry. Only files that GDAL has written are read here. Reading is
// still bounded everywhere, since GDAL copies texts of strangers' files into them.

#include "geo/GeoKeyFile.h"

#include "base/Cursor.h"
#include "base/LittleEndian.h"

#include <bit>
#include <cstddef>
#include <utility>

namespace zrk {
namespace {

constexpr std::uint16_t kTypeAscii = 2;
constexpr std::uint16_t kTypeShort = 3;
constexpr std::uint16_t kTypeLong = 4;
constexpr std::uint16_t kTypeDouble = 12;

constexpr std::uint16_t kTagPixelScale = 33550;
constexpr std::uint16_t kTagTiePoints = 33922;
constexpr std::uint16_t kTagMatrix = 34264;
constexpr std::uint16_t kTagDirectory = 34735;
constexpr std::uint16_t kTagDoubles = 34736;
constexpr std::uint16_t kTagTexts = 34737;

using Bytes = std::vector<unsigned char>;

template <class Value>
void Append(Bytes& bytes, Value value) {
  // The order of bytes is the file's, whatever the machine's is.
  const auto encoded = LittleEndian(value);
  bytes.insert(bytes.end(), encoded.begin(), encoded.end());
}

/// The contents of the three tags for a set of keys.
class KeyTables {
 public:
  explicit KeyTables(const GeoKeySet& set) {
    for (const GeoKey& key : set.keys) {
      std::visit([&](const auto& value) { Add(key.id, value); }, key.value);
    }
    for (const std::uint16_t word : {set.version, set.majorRevision, set.minorRevision, numKeys_}) {
      Append(directory_, word);
    }
    directory_.insert(directory_.end(), entries_.begin(), entries_.end());
    // A text tag of TIFF ends with a zero.
    if (!texts_.empty()) texts_.push_back('\0');
  }

  const Bytes& GetDirectory() const { return directory_; }
  const Bytes& GetDoubles() const { return doubles_; }
  const Bytes& GetTexts() const { return texts_; }

 private:
  void Add(std::uint16_t id, std::uint16_t value) { AddEntry(id, 0, 1, value); }
  void Add(std::uint16_t id, const std::vector<double>& values) {
    if (!AddEntry(id, kTagDoubles, values.size(), doubles_.size() / sizeof(double))) return;
    for (const double value : values) Append(doubles_, std::bit_cast<std::uint64_t>(value));
  }
  void Add(std::uint16_t id, const std::string& text) {
    if (!AddEntry(id, kTagTexts, text.size() + 1, texts_.size())) return;
    texts_.insert(texts_.end(), text.begin(), text.end());
    texts_.push_back('|');
  }

  bool AddEntry(std::uint16_t id, std::uint16_t tag, std::size_t count, std::size_t place) {
    // Number and index have 16 bits. A key that needs more is left out, and its values with it.
    if (count > UINT16_MAX || place + count > UINT16_MAX + std::size_t{1}) return false;
    const auto place16 = static_cast<std::uint16_t>(place), count16 = static_cast<std::uint16_t>(count);
    for (const std::uint16_t word : {id, tag, count16, place16}) Append(entries_, word);
    ++numKeys_;
    return true;
  }

  std::uint16_t numKeys_ = 0;
  Bytes entries_;
  Bytes directory_;
  Bytes doubles_;
  Bytes texts_;
};

/// A TIFF file of one directory. Values that don't fit in an entry follow the directory. Tags are added in ascending
/// order, as TIFF wants them.
class OneDirectory {
 public:
  template <class Value>
  void Add(std::uint16_t tag, std::uint16_t type, Value value) {
    Bytes bytes;
    Append(bytes, value);
    AddBytes(tag, type, sizeof(Value), bytes);
  }
  void AddDoubles(std::uint16_t tag, const std::vector<double>& values) {
    Bytes bytes;
    for (const double value : values) Append(bytes, std::bit_cast<std::uint64_t>(value));
    AddBytes(tag, kTypeDouble, sizeof(double), bytes);
  }
  /// A tag without values is left out.
  void AddBytes(std::uint16_t tag, std::uint16_t type, std::size_t valueSize, const Bytes& bytes) {
    if (!bytes.empty()) fields_.push_back({tag, type, static_cast<std::uint32_t>(bytes.size() / valueSize), bytes});
  }

  Bytes Build() const {
    constexpr std::uint32_t kPlace = 8;
    Bytes file = {'I', 'I', 42, 0};
    Append(file, kPlace);
    Append(file, static_cast<std::uint16_t>(fields_.size()));
    // The number of entries, 12 bytes for each, and an offset of 0 for a next directory.
    const std::size_t end = kPlace + 2 + 12 * fields_.size() + 4;
    Bytes values;
    for (const Field& field : fields_) {
      Append(file, field.tag);
      Append(file, field.type);
      Append(file, field.count);
      Bytes slot = field.bytes;
      if (slot.size() > 4) {
        slot.clear();
        Append(slot, static_cast<std::uint32_t>(end + values.size()));
        values.insert(values.end(), field.bytes.begin(), field.bytes.end());
        // Values begin at even offsets.
        values.resize((values.size() + 1) / 2 * 2);
      }
      slot.resize(4);
      file.insert(file.end(), slot.begin(), slot.end());
    }
    Append(file, std::uint32_t{0});
    file.insert(file.end(), values.begin(), values.end());
    return file;
  }

 private:
  struct Field {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    Bytes bytes;
  };
  std::vector<Field> fields_;
};

using View = std::span<const unsigned char>;

/// `count` bytes from `place` on; empty where they are not all there.
std::optional<View> Part(View bytes, std::size_t place, std::size_t count) {
  Cursor cursor(bytes);
  cursor.Seek(place);
  const View part = cursor.Bytes(count);
  if (cursor.HasFailed()) return {};
  return part;
}

/// The bytes of a tag's values. A file without the tag gives a view of no bytes. The answer is empty where the type is
/// another one, and where the values do not lie within the file.
std::optional<View> FindValues(View file, std::uint16_t tag, std::uint16_t type, std::size_t valueSize) {
  constexpr std::uint32_t kMark = 0x002A4949;
  Cursor cursor(file);
  if (cursor.U32LE() != kMark) return {};
  cursor.Seek(cursor.U32LE());
  for (int numLeft = cursor.U16LE(); numLeft > 0 && !cursor.HasFailed(); --numLeft) {
    const std::uint16_t fieldTag = cursor.U16LE(), fieldType = cursor.U16LE();
    const std::size_t numBytes = std::size_t{cursor.U32LE()} * valueSize;
    const View slot = cursor.Bytes(4);
    if (fieldTag != tag || cursor.HasFailed()) continue;
    if (fieldType != type) return {};
    // Values of up to four bytes stand in the entry itself, longer ones at the offset that it gives.
    return numBytes <= slot.size() ? slot.first(numBytes) : Part(file, Cursor(slot).U32LE(), numBytes);
  }
  if (cursor.HasFailed()) return {};
  return View();
}

/// The tags that the keys of a directory have their values in.
struct ValueTables {
  View doubles;
  View texts;
};

std::optional<GeoKey> ReadDoubles(std::uint16_t id, View doubles, std::size_t place, std::size_t count) {
  const std::optional<View> bytes = Part(doubles, place * sizeof(double), count * sizeof(double));
  if (!bytes) return {};
  Cursor cursor(*bytes);
  std::vector<double> values(count);
  for (double& value : values) value = cursor.F64LE();
  return GeoKey{id, std::move(values)};
}

std::optional<GeoKey> ReadText(std::uint16_t id, View texts, std::size_t place, std::size_t count) {
  const std::optional<View> bytes = Part(texts, place, count);
  // The bar is counted in a text's length.
  if (!bytes || bytes->empty() || bytes->back() != '|') return {};
  return GeoKey{id, std::string(bytes->begin(), bytes->end() - 1)};
}

std::optional<GeoKey> ReadEntry(Cursor& directory, const ValueTables& tables) {
  const std::uint16_t id = directory.U16LE(), tag = directory.U16LE();
  const std::uint16_t count = directory.U16LE(), place = directory.U16LE();
  if (directory.HasFailed()) return {};
  if (tag == kTagDoubles) return ReadDoubles(id, tables.doubles, place, count);
  if (tag == kTagTexts) return ReadText(id, tables.texts, place, count);
  if (tag != 0 || count != 1) return {};
  return GeoKey{id, place};
}

std::optional<GeoKeySet> ReadDirectory(View words, const ValueTables& tables) {
  Cursor directory(words);
  GeoKeySet set;
  set.version = directory.U16LE();
  set.majorRevision = directory.U16LE();
  set.minorRevision = directory.U16LE();
  for (int numLeft = directory.U16LE(); numLeft > 0; --numLeft) {
    std::optional<GeoKey> key = ReadEntry(directory, tables);
    if (!key) return {};
    set.keys.push_back(*std::move(key));
  }
  if (directory.HasFailed()) return {};
  return set;
}

}  // namespace

std::optional<GeoKeySet> ReadGeoKeyFile(std::span<const unsigned char> file) {
  const std::optional<View> words = FindValues(file, kTagDirectory, kTypeShort, sizeof(std::uint16_t));
  const std::optional<View> doubles = FindValues(file, kTagDoubles, kTypeDouble, sizeof(double));
  const std::optional<View> texts = FindValues(file, kTagTexts, kTypeAscii, 1);
  if (!words || !doubles || !texts) return {};
  return ReadDirectory(*words, {*doubles, *texts});
}

GeoPlaceTags PlaceByTransform(const double transform[6]) {
  const double* const t = transform;
  if (t[2] == 0.0 && t[4] == 0.0 && t[1] > 0.0 && t[5] < 0.0) {
    return {{t[1], -t[5], 0.0}, {0.0, 0.0, 0.0, t[0], t[3], 0.0}, {}};
  }
  return {{}, {}, {t[1], t[2], 0.0, t[0], t[4], t[5], 0.0, t[3], 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0}};
}

std::vector<unsigned char> MakeGeoKeyFile(const GeoKeySet& set, const GeoPlaceTags& place) {
  constexpr std::uint16_t kOne = 1, kBits = 8, kBlackIsZero = 1;
  constexpr std::uint32_t kPixelAt = 0, kPixelBytes = 1;  // the first byte of the file serves as the pixel
  // Width, height, bits, no compression, photometric, strip offset, samples, rows of a strip, bytes of the strip: the
  // least that a reader takes for an image.
  OneDirectory file;
  file.Add(256, kTypeShort, kOne);
  file.Add(257, kTypeShort, kOne);
  file.Add(258, kTypeShort, kBits);
  file.Add(259, kTypeShort, kOne);
  file.Add(262, kTypeShort, kBlackIsZero);
  file.Add(273, kTypeLong, kPixelAt);
  file.Add(277, kTypeShort, kOne);
  file.Add(278, kTypeShort, kOne);
  file.Add(279, kTypeLong, kPixelBytes);
  file.AddDoubles(kTagPixelScale, place.pixelScale);
  file.AddDoubles(kTagTiePoints, place.tiePoint);
  file.AddDoubles(kTagMatrix, place.matrix);
  const KeyTables tables(set);
  file.AddBytes(kTagDirectory, kTypeShort, sizeof(std::uint16_t), tables.GetDirectory());
  file.AddBytes(kTagDoubles, kTypeDouble, sizeof(double), tables.GetDoubles());
  file.AddBytes(kTagTexts, kTypeAscii, 1, tables.GetTexts());
  return file.Build();
}

}  // namespace zrk
