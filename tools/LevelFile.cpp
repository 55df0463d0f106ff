// What the program asks of level files. The library attaches them to bands; here they are looked for behind bands,
// taken off, and asked for the level that fits a picture.

#include "LevelFile.h"

#include "XRSFileIO.h"
#include "ZRMBandDRIO.h"

namespace {

ZRMBandXLD* AttachedTo(ZRMBand* band) {
  const ZRMBandDRIO* const source = band ? band->GetLevelSource() : nullptr;
  return source ? source->GetBandXLD() : nullptr;
}

}  // namespace

/// All bands of a dataset have their levels from one file, so the first band tells.
LevelFileKind GetLevelFileKind(const XRSFile& file) {
  const ZRMBandXLD* levels = AttachedTo(file.GetBandAt(0));
  if (!levels) return LevelFileKind::kNone;
  return levels->GetFile() ? LevelFileKind::kFull : LevelFileKind::kShort;
}

std::string LevelFileName(const std::string& path) {
  return XRSFileIO::GetFileNameXLD(path).AsStdString();
}

/// The short form has statistics and no levels to read.
ZRMBandXLD* FindLevelBand(ZRMBand& band) {
  ZRMBandXLD* levels = AttachedTo(&band);
  return levels && levels->GetFile() ? levels : nullptr;
}

/// Bands answer from the image again when nothing is attached.
void DetachLevelFile(XRSFile& file) {
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    if (ZRMBandDRIO* const source = file.GetBandAt(i)->GetLevelSource()) source->SetBandXLD(nullptr);
  }
}

/// Level data knows its own levels; without it the format answers.
int FindLevelFor(ZRMBand& band, const Window& window, int width, int height) {
  ZRMBand* levels = FindLevelBand(band);
  return (levels ? *levels : band).GetHighestLevelForTarget(window.x0, window.x1, window.y0, window.y1, width, height);
}
