#pragma once

#include "bands/nitf/NitfFile.h"
#include "core/model/ChannelReads.h"

namespace zrk {

/// A window of a band. Its pixels are those at x0 + i * 2^n and y0 + j * 2^n.
struct NitfWindow {
  int band = 0;
  ReadRequest request;
  bool isExact = false;  ///< blocks that are damaged or cut short fail; otherwise they are taken as they come
};

/// Fills a result of the window's size. False with a noted reason where a block can't be read or the word behind
/// `cancel`, which may be null, asks to stop.
bool ReadNitfWindow(NitfFile& file, const NitfWindow& window, tagXArr2& out, const int* cancel);

}  // namespace zrk
