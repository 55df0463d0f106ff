// The two files of a new store, published so that a reader never meets an index beside the data of another store. The
// old index is put aside first, then the data file takes its name, and the new index comes last. A reader that opens
// the store meanwhile finds no index. If a step fails, the old files come back.

#include "tiles/txid/TxidOutput.h"

#include "base/Disk.h"
#include "base/LittleEndian.h"

#include <bit>

namespace zrk {
namespace {

XString IndexName(const XString& base) {
  return base + ".txi";
}

XString DataName(const XString& base) {
  return base + ".txd";
}

bool FailToWrite(const XString& path, XString& err) {
  err = "Can't write file : " + path;
  return false;
}

template <class Value>
void Put(std::vector<unsigned char>& bytes, Value value) {
  const auto numbers = LittleEndian(value);
  bytes.insert(bytes.end(), numbers.begin(), numbers.end());
}

/// What a symbolic link leads to, since the new file takes that one's place.
XString FollowLink(const XString& path) {
  std::string target;
  return CurrentDisk().FollowLink(path.AsStdString(), target) == 0 ? XString(target) : path;
}

/// A file that is out of the way for a while. It comes back unless it is let go.
class SetAside {
 public:
  explicit SetAside(const XString& path)
      : path_(FollowLink(path)), isAside_(XFile::Exists(path_) && XFile::Rename(path_, Aside())) {}
  ~SetAside() {
    if (isAside_) XFile::Rename(Aside(), path_);
  }
  SetAside(const SetAside&) = delete;
  SetAside& operator=(const SetAside&) = delete;

  bool IsFree() const { return isAside_ || !XFile::Exists(path_); }
  void LetGo() {
    if (isAside_) XFile::Remove(Aside());
    isAside_ = false;
  }

 private:
  XString Aside() const { return path_ + "_old"; }

  XString path_;
  bool isAside_;
};

}  // namespace

bool TxidOutput::Begin(const XString& base, XString& err) {
  base_ = base;
  if (!data_.Begin(DataName(base))) return FailToWrite(DataName(base), err);
  return index_.Begin(IndexName(base)) || FailToWrite(IndexName(base), err);
}

bool TxidOutput::Add(std::int32_t key, std::span<const unsigned char> packed, XString& err) {
  if (!data_.File().WriteAt(numBytes_, packed.data(), std::ssize(packed))) return FailToWrite(DataName(base_), err);
  Put(records_, key);
  Put(records_, numBytes_);
  Put(records_, static_cast<std::int32_t>(packed.size()));
  numBytes_ += std::ssize(packed);
  return true;
}

bool TxidOutput::WriteIndex(const tagTxiInfo& info, XString& err) {
  std::vector<unsigned char> header = {'T', 'X', 'I', 'D'};
  for (const int number : {info.numXTiles, info.numYTiles, info.tileSize}) Put(header, number);
  for (const std::int64_t size : {info.xPixelSize, info.yPixelSize}) Put(header, size);
  for (const double place : {info.x, info.y}) Put(header, std::bit_cast<std::uint64_t>(place));
  XFile& file = index_.File();
  const bool isWritten = file.Write(header.data(), std::ssize(header)) &&
                         (records_.empty() || file.Write(records_.data(), std::ssize(records_)));
  return isWritten || FailToWrite(IndexName(base_), err);
}

bool TxidOutput::Publish(const tagTxiInfo& info, XString& err) {
  if (!WriteIndex(info, err)) return false;
  if (!data_.File().Flush()) return FailToWrite(DataName(base_), err);
  if (!index_.File().Flush()) return FailToWrite(IndexName(base_), err);
  SetAside oldIndex(IndexName(base_)), oldData(DataName(base_));
  if (!oldIndex.IsFree() || !oldData.IsFree()) return FailToWrite(base_, err);
  if (!data_.Publish()) return FailToWrite(DataName(base_), err);
  if (!index_.Publish()) {
    XFile::Remove(DataName(base_));
    return FailToWrite(IndexName(base_), err);
  }
  oldIndex.LetGo();
  oldData.LetGo();
  return true;
}

}  // namespace zrk
