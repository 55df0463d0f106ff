// The document is built as a tree and becomes text in the end. Every band element has its projection from the start, so
// that the projection of a written file can be replaced later without moving anything else.
//
// The layout of a file is a header of 16 bytes, the bodies and the text. The header is written twice: at first with -1
// where the offset of the text belongs, and last with the offset, after all else is on the medium. Whoever finds an
// offset in it has a whole file.
//
// Each call here is one group of fields. Which fields a group has, and their names, is told in the fields of bands and
// datasets, where the loader finds them too. One thread uses a saver at a time.

#include "XRSFileSaver.h"

#include "base/Failure.h"
#include "base/LittleEndian.h"
#include "core/native/BandBodies.h"
#include "core/native/BandFields.h"
#include "core/native/DatasetFields.h"
#include "core/native/NativeHeader.h"
#include "core/native/NativeXml.h"
#include "XFile.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

using zrk::XmlWriter;

namespace {

/// The offset of the text while the file is not finished.
constexpr std::int64_t kNoText = -1;

}  // namespace

struct XRSFileSaver::Document {
  pugi::xml_document xml;
  pugi::xml_node root;
  pugi::xml_node band;
  std::optional<zrk::WriterInfo> writerInfo;  // what a writer does not tell is not recorded
  XFile* file = nullptr;
  bool hasHeader = false;
  std::int64_t dataEnd = zrk::kNativeHeaderSize;

  void Open();
  void RecordWriterInfo();
  zrk::WriterInfo& TouchWriterInfo();
  /// Lets a group write to the current band, where there is one.
  template <class Write>
  void ToBand(Write write) {
    if (!band) return;
    XmlWriter writer(band);
    write(writer);
  }
  /// Lets a group write to the dataset.
  template <class Write>
  void ToDataset(Write write) {
    if (!root) Open();
    XmlWriter writer(root);
    write(writer);
  }
  /// The header of a file whose text begins at `offset`, which is -1 while there is none.
  int WriteHeader(std::int64_t textOffset) const;
};

/// The information of the writer may be told before or after the document is opened, and so it is recorded at both.
void XRSFileSaver::Document::Open() {
  xml.reset();
  band = {};
  pugi::xml_node declaration = xml.append_child(pugi::node_declaration);
  XmlWriter head(declaration);
  head.Attribute("version", XString("1.0"));
  head.Attribute("encoding", XString("ISO-8859-1"));
  root = XmlWriter(xml).Append(zrk::kTagDataset);
  RecordWriterInfo();
}

void XRSFileSaver::Document::RecordWriterInfo() {
  if (writerInfo) ToDataset([this](XmlWriter& writer) { VisitWriterInfo(writer, *writerInfo); });
}

zrk::WriterInfo& XRSFileSaver::Document::TouchWriterInfo() {
  if (!writerInfo) writerInfo.emplace();
  return *writerInfo;
}

/// All numbers are little-endian, on every machine.
int XRSFileSaver::Document::WriteHeader(std::int64_t textOffset) const {
  const auto version = zrk::LittleEndian(zrk::kNativeVersion);
  const auto offset = zrk::LittleEndian(textOffset);
  std::string header = zrk::kNativeMagic;
  header.append(version.begin(), version.end());
  header.append(offset.begin(), offset.end());
  return file->WriteAt(0, header.data(), static_cast<std::int64_t>(header.size()));
}

XRSFileSaver::XRSFileSaver() : document_(std::make_unique<Document>()) {}

XRSFileSaver::~XRSFileSaver() = default;

void XRSFileSaver::SetFileOutputData(XFile* file) {
  document_->file = file;
  document_->dataEnd = zrk::kNativeHeaderSize;
  // The failure is told by `Save`, since nothing written after it would help.
  document_->hasHeader = file && document_->WriteHeader(kNoText);
}

XFile* XRSFileSaver::GetOutputFile() const {
  return document_->file;
}

std::int64_t XRSFileSaver::GetDataEnd() const {
  return document_->dataEnd;
}

void XRSFileSaver::SetDataEnd(std::int64_t offset) {
  document_->dataEnd = offset;
}

void XRSFileSaver::SetCryptoVaildationInfo(const XString& info) {
  document_->TouchWriterInfo().cryptoVaildationInfo = info;
  document_->RecordWriterInfo();
}

void XRSFileSaver::SetWriterFlags(int first, int second) {
  document_->TouchWriterInfo().flags = {first, second};
  document_->RecordWriterInfo();
}

void XRSFileSaver::WriteInitTags() {
  document_->Open();
}

/// The empty projection holds its place in front of all other fields. `CopyBandMapInfo` fills it.
void XRSFileSaver::WriteBandTag() {
  document_->ToDataset([this](XmlWriter& writer) { document_->band = writer.Append(zrk::kTagBand); });
  document_->ToBand([](XmlWriter& writer) { writer.Field(zrk::kTagProjection, XString()); });
}

/// The end moves only where all went well, so that a body that failed is written over by the next one.
int XRSFileSaver::CopyBandData(ZRMBand* band, int level, int x0, int x1, int y0, int y1, int mode, XThread* thread,
                               int percentStart, int percentSpan, XString& err) {
  XFile* const file = GetOutputFile();
  if (!band || !file || !file->IsOpen()) return 0;
  std::vector<zrk::BandBody> bodies;
  std::int64_t end = GetDataEnd();
  const zrk::BodyRequest request = {{x0, x1, y0, y1}, level, mode, 0.0, thread, percentStart, percentSpan};
  const zrk::PyramidResult result = zrk::WriteBodies(*file, end, {band}, request, bodies);
  if (result == zrk::PyramidResult::kStopped) return 0;
  if (result != zrk::PyramidResult::kDone) return zrk::FailWith(err, zrk::GetSentence(result));
  SetDataEnd(end);
  zrk::RecordBody(*this, *band, bodies.front());
  return 1;
}

void XRSFileSaver::WriteBandDataPlace(std::int64_t offset, std::int64_t size) {
  zrk::BandPlace place{offset, size};
  document_->ToBand([&](XmlWriter& writer) { VisitPlace(writer, place); });
}

/// The band has nothing to say here: layout and statistics are those of the body that was written.
void XRSFileSaver::CopyBandInfo(ZRMBand*, long levels, long xTile, long yTile, long width, long height, long dataType,
                                int compression, double min, double max, double mean, double stdDev,
                                const std::int64_t* histogram) {
  zrk::BandLayout layout{levels, xTile, yTile, width, height, dataType, compression};
  document_->ToBand([&](XmlWriter& writer) { VisitLayout(writer, layout); });
  zrk::BandStatistics statistics{min, max, mean, stdDev};
  document_->ToBand([&](XmlWriter& writer) { VisitStatistics(writer, statistics); });
  if (!histogram) return;
  zrk::BandHistogram counts{};
  std::copy_n(histogram, counts.size(), counts.begin());
  document_->ToBand([&](XmlWriter& writer) { VisitHistogram(writer, counts); });
}

void XRSFileSaver::CopyBandBasicInfo(ZRMBand* band) {
  if (band) document_->ToBand([band](XmlWriter& writer) { VisitBasicInfo(writer, *band); });
}

/// Only the upper left corner counts. The other one follows from the sizes.
void XRSFileSaver::CopyBandCoord(ZRMBand* band, int x0, int, int y0, int) {
  if (!band) return;
  double ulx = x0;
  double uly = y0;
  band->ConvPixelToWorldCoord(ulx, uly);
  WriteBandCoordInfo(ulx, uly, band->GetXPixelSize(), band->GetYPixelSize());
}

void XRSFileSaver::WriteBandCoordInfo(double ULX, double ULY, double xPixelSize, double yPixelSize) {
  zrk::BandCorner corner{ULX, ULY};
  zrk::BandPixelSize size{xPixelSize, yPixelSize};
  document_->ToBand([&](XmlWriter& writer) {
    VisitCorner(writer, corner);
    VisitPixelSize(writer, size);
  });
}

void XRSFileSaver::CopyBandMapInfo(ZRMBand* band) {
  if (!band) return;
  XString wkt;
  // A system that can't be told whole is left out, and not told in part.
  if (!band->GetSR()->exportToWkt(wkt)) wkt.Empty();
  zrk::BandMapInfo info{band->GetCoordinateKind(), band->GetSR()->GetCoordinateKind(), band->IsNormalizedWorld()};
  document_->ToBand([&](XmlWriter& writer) {
    writer.Field(zrk::kTagProjection, wkt);
    VisitMapInfo(writer, info);
  });
}

void XRSFileSaver::CopyBandPixelSize(ZRMBand* band) {
  if (!band) return;
  zrk::BandPixelSize size{band->GetXPixelSize(), band->GetYPixelSize()};
  document_->ToBand([&](XmlWriter& writer) {
    // The sizes that came with the coordinates are those of the image written.
    if (!writer.Has(zrk::kTagXPixelSize)) VisitPixelSize(writer, size);
  });
}

void XRSFileSaver::CopyBandSceneOrient(ZRMBand* band) {
  if (band) document_->ToBand([band](XmlWriter& writer) { VisitSceneOrient(writer, *band); });
}

/// The model is that of the whole band. A save of a window writes the group again, with the offset of the window.
void XRSFileSaver::CopyBasicSensorParams(ZRMBand* band) {
  if (!band) return;
  zrk::SensorModel model = zrk::SensorModelOf(*band);
  document_->ToBand([&](XmlWriter& writer) {
    VisitBasicSensorParams(writer, *band);
    VisitSensorModel(writer, model);
  });
  WriteScanSensorParams(band->GetScanSensorParam());
}

void XRSFileSaver::CopyGainBias(ZRMBand* band) {
  if (band) document_->ToBand([band](XmlWriter& writer) { VisitGainBias(writer, *band); });
}

void XRSFileSaver::CopySunParams(ZRMBand* band) {
  if (band) document_->ToBand([band](XmlWriter& writer) { VisitSunParams(writer, *band); });
}

void XRSFileSaver::CopyGISDataSet(ZRMBand* band) {
  if (band) document_->ToBand([band](XmlWriter& writer) { VisitGISDataSet(writer, *band); });
}

void XRSFileSaver::CopyImageCenter(ZRMBand* band) {
  if (band) document_->ToBand([band](XmlWriter& writer) { VisitImageCenter(writer, *band); });
}

void XRSFileSaver::CopyBandSarParam(ZRMBand* band) {
  if (!band) return;
  zrk::SarSubset subset = zrk::SarSubsetOf(*band);
  document_->ToBand([&](XmlWriter& writer) { VisitSarParam(writer, *band, subset); });
}

void XRSFileSaver::WriteAdditionalSensorParams(int useSensorModel, double focalLength, double cellSize,
                                               XString originCorner, double offsetX, double offsetY, double scaleX,
                                               double scaleY) {
  zrk::SensorModel model{useSensorModel, focalLength, cellSize, std::move(originCorner),
                         offsetX,        offsetY,     scaleX,   scaleY};
  document_->ToBand([&](XmlWriter& writer) { VisitSensorModel(writer, model); });
}

/// A band without such a sensor leaves no trace in the text.
void XRSFileSaver::WriteScanSensorParams(XRSScanSensorParam* param) {
  if (!param) return;
  document_->ToBand([param](XmlWriter& writer) {
    writer.Group(zrk::kTagScanSensor, [param](XmlWriter& inner) { VisitScanSensor(inner, *param); });
  });
}

/// A matrix of another number of bands belongs to a dataset that was changed since. It says nothing of the bands that
/// there are now.
void XRSFileSaver::CopyFileDescription(XRSFile* dataset) {
  if (!dataset) return;
  const auto numBands = static_cast<std::size_t>(dataset->GetNumOfBands());
  document_->ToDataset([&](XmlWriter& writer) {
    VisitFileDescription(writer, *dataset);
    if (zrk::FieldAccess::CorrelationMatrix(*dataset).size() == numBands * numBands) {
      VisitCorrelationMatrix(writer, *dataset);
    }
    if (zrk::FieldAccess::CovarianceMatrix(*dataset).size() == numBands * numBands) {
      VisitCovarianceMatrix(writer, *dataset);
    }
  });
}

void XRSFileSaver::CopyGCPDataSet(XRSFile* dataset) {
  if (dataset) document_->ToDataset([dataset](XmlWriter& writer) { VisitGCPDataSet(writer, *dataset); });
}

void XRSFileSaver::CopyROIDataSetAll(XRSFile* dataset) {
  if (dataset) document_->ToDataset([dataset](XmlWriter& writer) { VisitROIDataSet(writer, *dataset); });
}

void XRSFileSaver::CopySIGDataSetAll(XRSFile* dataset) {
  if (dataset) document_->ToDataset([dataset](XmlWriter& writer) { VisitSIGDataSet(writer, *dataset); });
}

void XRSFileSaver::WriteLevelImage(std::int64_t length, std::int64_t modified, std::int64_t changed,
                                   std::uint64_t fingerprint) {
  zrk::ImageStamp stamp{{length, modified, changed}, fingerprint};
  document_->ToDataset([&stamp](XmlWriter& writer) { VisitImage(writer, stamp); });
}

void XRSFileSaver::WriteLevelClasses() {
  document_->ToBand([](XmlWriter& writer) { writer.Field(zrk::kTagLevelClasses, 1); });
}

XString XRSFileSaver::GetXML() const {
  return zrk::FormatNativeXml(document_->xml);
}

/// The order is what makes the file safe: the text, the length, which cuts what an older text may have left behind it,
/// a sync, and only then the offset. A header that may be on the medium or not is taken back, so that the file does not
/// count as whole.
int XRSFileSaver::Save() {
  XFile* file = document_->file;
  if (!file || !document_->root || !document_->hasHeader || document_->dataEnd < zrk::kNativeHeaderSize) return 0;
  const std::int64_t offset = document_->dataEnd;
  const std::string text = GetXML().AsStdString();
  const auto bytes = static_cast<std::int64_t>(text.size());
  if (!file->WriteAt(offset, text.data(), bytes) || !file->SetLength(offset + bytes) || !file->Flush()) return 0;
  if (document_->WriteHeader(offset) && file->Flush()) return 1;
  document_->WriteHeader(kNoText);
  return 0;
}
