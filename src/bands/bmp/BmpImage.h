#pragma once

#include "bands/bmp/BmpLayout.h"
#include "base/RowReader.h"
#include "core/model/ChannelReads.h"
#include "XThreadSafeArr.h"

#include <memory>

class XFile;

namespace zrk {

class BmpCodes;

/// An open bitmap of any kind, whose pixels are read as its headers say. Constant once it is open, for any number of
/// threads.
class BmpImage {
 public:
  BmpImage();
  ~BmpImage();

  /// Returns 1, or 0 with the reason in `err`. The file may be closed afterwards.
  int Open(const XFile& file, XString& err);
  const BmpLayout& GetLayout() const { return layout_; }
  /// The same image of a palette in one channel, which has the numbers of the entries.
  std::unique_ptr<BmpImage> MakeIndices() const;
  /// Reads a window of the image, which lies inside it, into as many channels as the image has. False, with a reason
  /// noted, where the file lacks or spoils a row of it.
  bool Read(const ReadRequest& window, ChannelReads::Record& record);

 private:
  bool ReadCodes(XString& err);
  bool ReadRows(const ReadRequest& window, ChannelReads::Record& record);
  bool ReadRunLengths(const ReadRequest& window, ChannelReads::Record& record);
  bool HoldsRows(const ReadRequest& window) const;
  std::int64_t CalcRowOffset(int y) const;

  BmpLayout layout_;
  std::shared_ptr<RowFile> file_;
  std::shared_ptr<const BmpCodes> codes_;
  XThreadSafeArr1 rooms_;
};

}  // namespace zrk
