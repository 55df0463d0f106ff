#include "writers/NewJp2.h"

#include "base/Disk.h"

namespace zrk {

bool NewJp2::Begin(const XRSFile& dataset, const XString& path, std::int64_t headBytes) {
  replaced_ = ReplacedImage(path);
  headBytes_ = offset_ = headBytes;
  return MayReplace(dataset, path) && file_.BeginOrFill(path);
}

bool NewJp2::Write(std::int64_t offset, std::span<const unsigned char> bytes) {
  return file_.File().GetDiskFile()->WriteAt(offset, bytes.data(), std::ssize(bytes)) == 0;
}

/// The file is synced in the end, which has less to wait for where its bytes are on their way before.
bool NewJp2::Append(std::span<const unsigned char> bytes) {
  if (!Write(offset_, bytes)) return false;
  file_.File().GetDiskFile()->StartSync(offset_, std::ssize(bytes));
  offset_ += std::ssize(bytes);
  return true;
}

/// Until the head is there, nothing takes the bytes for an image.
bool NewJp2::Publish(std::span<const unsigned char> head) {
  if (std::ssize(head) != headBytes_ || !Write(0, head) || !file_.Publish()) return false;
  replaced_.RemoveLevelFile();
  return true;
}

}  // namespace zrk
