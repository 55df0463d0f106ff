// What is done through a row: loads, saves and questions, for callers that do not know which format they have. Each
// function looks at whether the row can do it, and leaves the rest to the row.
//
// A load is refused with a sentence in this order: there is no dataset, the format is unknown or of the other kind, a
// codec is absent, this build has no loader. The exact policy asks first whether there is a file with any bytes.

#include "base/Fence.h"
#include "base/ReadError.h"
#include "core/dispatch/FileCheck.h"
#include "core/dispatch/FormatTable.h"
#include "core/load/OtherFormats.h"
#include "core/load/Outcome.h"
#include "core/xld/ImageStamp.h"
#include "XLevelMode.h"
#include "XRSFile.h"
#include "ZRMBand.h"

namespace {

/// The compression modes of `XRSFile2ZRM`. Other writers do not look at them.
constexpr int kKeepSamples = 100, kCompressed = 3;

int FailWith(XString& err, const XString& sentence) {
  err = sentence;
  return 0;
}

/// Questions about no band are answered as those about a band of no format.
const zrk::FormatRow* RowOf(const ZRMBand* band) {
  return band ? zrk::FindRowOfBand(*band) : nullptr;
}

/// A largest error asks for compression, and without one samples are kept as they are.
zrk::SaveCall MakeSaveCall(XRSFile* file, const XString& path, const tagXSaveOptions& options, XString& err,
                           XThread* thread) {
  return {.file = file,
          .path = path,
          .x0 = options.x0,
          .x1 = options.x1,
          .y0 = options.y0,
          .y1 = options.y1,
          .err = err,
          .thread = thread,
          .level = options.levels,
          .compressionMode = options.maxError ? kCompressed : kKeepSamples,
          .quality = options.maxError.value_or(0.0),
          .writerFlag1 = 0,
          .writerFlag2 = 1,
          .layers = options.layers};
}

}  // namespace

namespace zrk {
namespace {

/// The sentence for a row that can't load just now, or an empty text. A codec is asked for first, because a row may
/// have a loader that is of no use without it.
XString WhyNotLoaded(const FormatRow& row) {
  tagXCodecState codec;
  if (row.findCodec) row.findCodec(codec);
  if (codec.isNeeded && !codec.isFound) return codec.remark;
  if (row.loadRaster || row.loadVector) return "";
  XString sentence;
  sentence.Format("%s files can't be read by this build", row.format.name);
  return sentence;
}

/// In the exact policy a load that fails has a reason, also where the loader leaves none that tells anything.
template <class Call>
int LoadWithReason(const FormatRow& row, int (*load)(const Call& call), const Call& call) {
  if (call.file->GetReadPolicy() != kReadExact) return load(call);
  if (!XfnCheckFile(call.path, call.err)) return 0;
  if (const int isLoaded = load(call)) return isLoaded;
  call.err = ExplainFailedLoad(row, call.path, call.err);
  return 0;
}

}  // namespace

int LoadRasterBy(const FormatRow* row, const RasterCall& call) {
  if (!call.file) return FailWith(call.err, kNotValidFile);
  if (!row || !row->format.isRaster) return FailWith(call.err, kNotSupportedType);
  const XString refusal = WhyNotLoaded(*row);
  if (!refusal.IsEmpty()) return FailWith(call.err, refusal);
  if (!Fenced(call.err, [&call] { return NoteOpenedImage(*call.file, call.path); })) return 0;
  return LoadWithReason(*row, row->loadRaster, call);
}

std::vector<std::unique_ptr<ZRMBand>> OpenBandsOf(int formatId, const RasterCall& call) {
  const FormatRow* const row = FindFormatRow(formatId);
  if (row && row->openBands) return row->openBands(call);
  call.err = kNotSupportedType;
  return {};
}

int LoadVectorBy(const FormatRow* row, const VectorCall& call) {
  if (!call.file) return FailWith(call.err, kNotValidFile);
  if (!row || row->format.isRaster) return FailWith(call.err, kNotSupportedType);
  const XString refusal = WhyNotLoaded(*row);
  return refusal.IsEmpty() ? LoadWithReason(*row, row->loadVector, call) : FailWith(call.err, refusal);
}

}  // namespace zrk

int XfnOpenFile(XRSFile* file, const XString& path, XString& err, XThread* thread, const tagXOpenOptions& options) {
  if (!file) return FailWith(err, zrk::kNotValidFile);
  if (file->GetReadPolicy() == kReadExact && !XfnCheckFile(path, err)) return 0;
  const zrk::FormatRow* const row = zrk::FindRowOfFile(path);
  if (!row) return FailWith(err, "The format can't be told from the file's extension or its first bytes");
  const int isLoaded =
      row->format.isRaster
          ? zrk::LoadRasterBy(row, {file, path, err, options.calcStatistics, options.levelMode, thread})
          : zrk::LoadVectorBy(row, {.file = file, .path = path, .err = err, .thread = thread, .sr = options.sr});
  // Loaders leave remarks about level data in `err` also where they succeed. Of these only those are for the caller
  // that tell of a level file which isn't used.
  if (isLoaded && err != kLevelFileIsStale && err != kLevelFileHasMeans) err.Empty();
  return isLoaded;
}

int XfnSaveFile(XRSFile* file, const XString& path, int id, const tagXSaveOptions& options, XString& err,
                XThread* thread) {
  const zrk::FormatRow* const row = zrk::FindFormatRow(id);
  if (!row || !row->save) return FailWith(err, zrk::kNotSupportedType);
  return row->save(MakeSaveCall(file, path, options, err, thread));
}

bool XfnIsDecodedWhole(ZRMBand* band) {
  const zrk::FormatRow* const row = RowOf(band);
  return row && row->isDecodedWhole && row->isDecodedWhole(*band);
}

/// A band that is not decoded as a whole is ready as it is.
int XfnDecodeWhole(ZRMBand* band, XThread* thread) {
  if (!XfnIsDecodedWhole(band)) return 1;
  return zrk::ReadPixels([&] { return RowOf(band)->decodeWhole(*band, thread); });
}

tagXCodecState XfnFindCodec(int id) {
  tagXCodecState state;
  const zrk::FormatRow* const row = zrk::FindFormatRow(id);
  if (row && row->findCodec) row->findCodec(state);
  return state;
}

tagXFormatNotes XfnDescribeFormat(ZRMBand* first, bool isVerbose) {
  tagXFormatNotes notes;
  const zrk::FormatRow* const row = RowOf(first);
  if (row && row->describe) row->describe(*first, isVerbose, notes);
  return notes;
}

tagXFormatNotes XfnDescribeFormatOfBand(ZRMBand* band) {
  tagXFormatNotes notes;
  const zrk::FormatRow* const row = RowOf(band);
  if (row && row->describeBand) row->describeBand(*band, notes);
  return notes;
}
