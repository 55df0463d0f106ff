// What an HDF4 file holds, by all that its descriptors say. A tag and a reference name a record together. A group lists
// the records of an image (306) or of a scientific data set (720, and 700 in old files). Files of the newer interface
// name the parts of an image by equal references and have no group for it.
//
// An image has a record of dimensions, which names the type of its numbers, its samples a pixel and its compression. A
// data set has a record with the number of dimensions, their lengths, slowest first, and the type of its numbers. A tag
// with a certain bit stands for a record that lies elsewhere: compressed, in chunks, or in another file.

#include "bands/hdf4/HdfContents.h"

#include "bands/hdf4/HdfChain.h"
#include "bands/hdf4/HdfTags.h"
#include "base/Cursor.h"
#include "XDataType.h"
#include "XFile.h"
#include "XLimits.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace zrk {
namespace {

constexpr std::uint16_t kElsewhere = 0x4000;  // in a tag

constexpr std::uint8_t kLittleEndianClass = 4, kBigEndianClass = 1, kNoClass = 0;
constexpr std::int64_t kMaxRecordBytes = 4096;  // of groups and shapes

using Name = std::pair<std::uint16_t, std::uint16_t>;  // tag and reference

/// The records of something that may be a raster.
struct Candidate {
  bool isImage = false;
  std::optional<std::uint16_t> shape;
  std::optional<Name> samples;
};

class Contents {
 public:
  explicit Contents(const XFile& file) : file_(file) {}

  bool Read();
  int Find(HdfRaster& raster, XString& err) const;

 private:
  std::vector<unsigned char> ReadRecord(const Name& name) const;
  std::vector<Name> ReadGroup(const Name& name) const;
  void AddImages();
  void AddDataSets();
  bool IsVector(const Candidate& set) const;
  int TakeImage(const Candidate& image, HdfRaster& raster, XString& err) const;
  int TakeDataSet(const Candidate& set, HdfRaster& raster, XString& err) const;
  int TakeNumberType(std::uint16_t reference, HdfRaster& raster, XString& err) const;
  int TakePlace(const Candidate& candidate, HdfRaster& raster, XString& err) const;

  const XFile& file_;
  std::map<Name, HdfDescriptor> records_;
  std::vector<Candidate> candidates_;
};

int Refuse(XString& err, const char* sentence) {
  err = sentence;
  return 0;
}

bool Contents::Read() {
  const auto take = [this](const HdfDescriptor& each) {
    records_.emplace(Name{each.tag, each.reference}, each);
    return true;
  };
  if (!WalkHdfChain(file_, take)) return false;
  AddImages();
  AddDataSets();
  return true;
}

/// Empty for a record that is not there, not in the file, or longer than those that are asked for.
std::vector<unsigned char> Contents::ReadRecord(const Name& name) const {
  const auto found = records_.find(name);
  if (found == records_.end()) return {};
  const std::int64_t length = std::min(found->second.length, kMaxRecordBytes);
  std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
  if (file_.ReadAt(found->second.offset, bytes.data(), length) != length) return {};
  return bytes;
}

std::vector<Name> Contents::ReadGroup(const Name& name) const {
  const std::vector<unsigned char> bytes = ReadRecord(name);
  Cursor cursor(bytes);
  std::vector<Name> members;
  while (cursor.Remaining() >= 4) {
    const std::uint16_t tag = cursor.U16BE();
    members.emplace_back(tag, cursor.U16BE());
  }
  return members;
}

/// Images with a group, and then those that only their dimensions tell.
void Contents::AddImages() {
  std::vector<std::uint16_t> known;
  for (const auto& [name, record] : records_) {
    if (name.first != kImageGroup) continue;
    Candidate image{true, {}, {}};
    for (const Name& member : ReadGroup(name)) {
      if (member.first == kDimensions) image.shape = member.second;
      if (member.first == kPlainRaster || member.first == kCodedRaster) image.samples = member;
    }
    if (image.shape) known.push_back(*image.shape);
    candidates_.push_back(image);
  }
  for (const auto& [name, record] : records_) {
    if (name.first != kDimensions || std::ranges::find(known, name.second) != known.end()) continue;
    const bool isCoded = records_.contains({kCodedRaster, name.second});
    candidates_.push_back({true, name.second, Name{isCoded ? kCodedRaster : kPlainRaster, name.second}});
  }
}

/// A data set of the old interface has a group of either kind, with one reference.
void Contents::AddDataSets() {
  for (const auto& [name, record] : records_) {
    const bool isOldAlone = name.first == kOldDataSet && !records_.contains({kDataSet, name.second});
    if (name.first != kDataSet && !isOldAlone) continue;
    Candidate set;
    for (const Name& member : ReadGroup(name)) {
      if (member.first == kDataShape) set.shape = member.second;
      if (member.first == kDataSamples) set.samples = member;
    }
    if (!IsVector(set)) candidates_.push_back(set);
  }
}

/// Scales of dimensions are data sets of one dimension.
bool Contents::IsVector(const Candidate& set) const {
  if (!set.shape) return false;
  const std::vector<unsigned char> shape = ReadRecord({kDataShape, *set.shape});
  return Cursor(shape).U16BE() == 1;
}

int Contents::Find(HdfRaster& raster, XString& err) const {
  if (candidates_.empty()) return Refuse(err, "The file has no raster image and no data set");
  if (candidates_.size() > 1) {
    err.Format("Not supported: a file of %d images and data sets", static_cast<int>(candidates_.size()));
    return 0;
  }
  const Candidate& only = candidates_.front();
  HdfRaster found;
  if (!only.shape) return Refuse(err, "The image has no dimensions");
  if (!(only.isImage ? TakeImage(only, found, err) : TakeDataSet(only, found, err))) return 0;
  if (found.width < 1 || found.height < 1) return Refuse(err, "The image has no pixels");
  if (std::int64_t{found.width} * found.height > XfnGetLimits().imagePixels) return Refuse(err, "Image is too large");
  if (!TakePlace(only, found, err)) return 0;
  raster = found;
  return 1;
}

int Contents::TakeImage(const Candidate& image, HdfRaster& raster, XString& err) const {
  const std::vector<unsigned char> bytes = ReadRecord({kDimensions, *image.shape});
  Cursor cursor(bytes);
  raster.width = cursor.I32BE();
  raster.height = cursor.I32BE();
  cursor.Skip(2);
  const std::uint16_t numberType = cursor.U16BE();
  const int numSamples = cursor.U16BE();
  cursor.Skip(2);  // how samples of a pixel lie
  const bool isCoded = cursor.U16BE() != 0;
  if (cursor.HasFailed()) return Refuse(err, "The image has no dimensions");
  if (isCoded || (image.samples && image.samples->first == kCodedRaster)) {
    return Refuse(err, "Not supported: a compressed image");
  }
  if (numSamples != 1) {
    err.Format("Not supported: an image of %d samples a pixel", numSamples);
    return 0;
  }
  return TakeNumberType(numberType, raster, err);
}

int Contents::TakeDataSet(const Candidate& set, HdfRaster& raster, XString& err) const {
  const std::vector<unsigned char> bytes = ReadRecord({kDataShape, *set.shape});
  Cursor cursor(bytes);
  const int numDimensions = cursor.U16BE();
  if (numDimensions != 2) {
    err.Format("Not supported: a data set of %d dimensions", numDimensions);
    return 0;
  }
  raster.height = cursor.I32BE();
  raster.width = cursor.I32BE();
  cursor.Skip(2);
  const std::uint16_t numberType = cursor.U16BE();
  if (cursor.HasFailed()) return Refuse(err, "The data set has no dimensions");
  return TakeNumberType(numberType, raster, err);
}

int TypeOfCode(int code) {
  switch (code) {
    case 3:  // unsigned characters
    case 4:  // characters
    case 21:
      return kPint08;
    case 20:
      return kSint08;
    case 22:
      return kSint16;
    case 23:
      return kPint16;
    case 24:
      return kSint32;
    case 25:
      return kPint32;
    case 5:
      return kReal32;
    case 6:
      return kReal64;
    default:
      return kDataTypeNone;
  }
}

/// A record of a version, the code of a type, its bits and how machines write it.
int Contents::TakeNumberType(std::uint16_t reference, HdfRaster& raster, XString& err) const {
  const std::vector<unsigned char> bytes = ReadRecord({kNumberType, reference});
  Cursor cursor(bytes);
  cursor.Skip(1);
  const int code = cursor.U8();
  cursor.Skip(1);
  const int way = cursor.U8();
  if (cursor.HasFailed()) return Refuse(err, "The type of the numbers is missing");
  raster.dataType = TypeOfCode(code);
  raster.isLittleEndian = way == kLittleEndianClass;
  const bool isKnown = way == kNoClass || way == kBigEndianClass || way == kLittleEndianClass;
  if (raster.dataType != kDataTypeNone && (isKnown || XfnGetDataSize(raster.dataType) == 1)) return 1;
  err.Format("Not supported: numbers of type %d and class %d", code, way);
  return 0;
}

int Contents::TakePlace(const Candidate& candidate, HdfRaster& raster, XString& err) const {
  const Name name = candidate.samples.value_or(Name{});
  if (records_.contains({static_cast<std::uint16_t>(name.first | kElsewhere), name.second})) {
    return Refuse(err, "Not supported: pixels that are compressed, in chunks or in another file");
  }
  const auto found = records_.find(name);
  if (!candidate.samples || found == records_.end()) return Refuse(err, "The file has no pixels of its image");
  raster.offset = found->second.offset;
  raster.length = found->second.length;
  return 1;
}

}  // namespace

int FindHdfRaster(const XFile& file, HdfRaster& raster, XString& err) {
  Contents contents(file);
  return contents.Read() ? contents.Find(raster, err) : Refuse(err, "The chain of descriptors is damaged");
}

}  // namespace zrk
