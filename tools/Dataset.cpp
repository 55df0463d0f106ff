// Files are opened for all subcommands in one way: by content, whatever the format. A reason that the library leaves is
// passed on. What the library can't tell apart, such as a file that does not exist, is told before.

#include "Dataset.h"

#include "LevelFile.h"
#include "Notes.h"
#include "output/Text.h"
#include "ZRKio.h"

#include <cstdio>

namespace {

/// What the reason says of a level file that isn't used, if it says so.
std::string WhyLevelFileIsNotUsed(const XString& reason) {
  if (reason != kLevelFileIsStale && reason != kLevelFileHasMeans) return "";
  return reason.AsStdString().substr(std::string("The level file").size());
}

/// The image is read without its levels, which takes longer and gives other pixels on levels above 0.
void TellUnusedLevelFile(const std::string& path, const std::string& why) {
  std::fprintf(stderr, "zrkio: the level file %s%s; zrkio levels rebuilds it\n", Printable(LevelFileName(path)).c_str(),
               why.c_str());
}

}  // namespace

/// What is wrong with the file itself is told first, since no format would be found for it either.
std::unique_ptr<XRSFile> OpenDataset(const std::string& path, XThread& thread, std::string& err) {
  XString wrong;
  if (!XfnCheckFile(path, wrong)) {
    err = WithoutCapital(wrong.AsStdString());
    return nullptr;
  }
  if (!XfnFindFormatOfFile(path)) {
    err =
        "the format can't be told from the file's extension or its first bytes; zrkio formats lists those that are "
        "known";
    return nullptr;
  }
  auto file = std::make_unique<XRSFile>();
  XString reason;
  if (XfnOpenFile(file.get(), path, reason, &thread)) {
    const std::string why = WhyLevelFileIsNotUsed(reason);
    if (!why.empty() && !IsQuiet()) TellUnusedLevelFile(path, why);
    return file;
  }
  err = reason.AsStdString();
  return nullptr;
}

std::unique_ptr<XRSFile> OpenRaster(const std::string& path, XThread& thread, std::string& err) {
  std::unique_ptr<XRSFile> file = OpenDataset(path, thread, err);
  if (!file || file->GetBandAt(0)) return file;
  err = "the file holds no raster";
  return nullptr;
}

/// People count channels from 1.
ZRMBand* FindBand(const XRSFile& file, int number, std::string& err) {
  ZRMBand* band = file.GetBandAt(number - 1);
  if (!band) {
    err = "there is no band " + std::to_string(number) + ", only 1 to " + std::to_string(file.GetNumOfBands());
  }
  return band;
}

std::string WhyNotRead(const std::string& otherwise) {
  XString reason;
  return XfnGetLastReadError(reason) ? WithoutCapital(reason.AsStdString()) : otherwise;
}

/// The decode of a whole image may take longer than what follows. It gets its own share of the percentages, so that the
/// bar moves from the start.
bool DecodeAhead(ZRMBand& band, int lastPercent, XThread& thread, std::string& err) {
  if (!XfnIsDecodedWhole(&band)) return true;
  thread.SetPercentRange(0, lastPercent);
  XfnForgetLastReadError();
  if (!XfnDecodeWhole(&band, &thread)) {
    err = WhyNotRead();
    return false;
  }
  thread.SetPercentRange(lastPercent, 100);
  return true;
}
