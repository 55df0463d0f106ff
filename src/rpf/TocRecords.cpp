#include "rpf/TocRecords.h"

#include "XCIBtoc.h"

#include <algorithm>
#include <string_view>

namespace zrk {

/// The order of the fields is their order on disk, as in all parsers here. Texts have fixed lengths and no end mark.
tagBoundaryRectangleRecordRPF ParseTocBoundary(RpfBlocks::Bytes bytes, bool littleEndian) {
  tagBoundaryRectangleRecordRPF record{};
  RpfFields fields(bytes, littleEndian);
  fields.Text(record.productDataType);
  fields.Text(record.compressionRatio);
  fields.Text(record.scale);
  fields.Text(record.zone);
  fields.Text(record.producer);
  for (double* const number :
       {&record.nwLatitude, &record.nwLongitude, &record.swLatitude, &record.swLongitude, &record.neLatitude,
        &record.neLongitude, &record.seLatitude, &record.seLongitude, &record.verticalResolution,
        &record.horizontalResolution, &record.verticalInterval, &record.horizontalInterval}) {
    *number = fields.F64();
  }
  record.numFramesNorthSouth = fields.U32();
  record.numFramesEastWest = fields.U32();
  return record;
}

/// The path stands elsewhere, and a frame refers to it by its offset in the subsection.
tagFrameFileIndexRecordRPF ParseTocFrame(RpfBlocks::Bytes bytes, bool littleEndian) {
  tagFrameFileIndexRecordRPF record{};
  RpfFields fields(bytes, littleEndian);
  record.boundaryIndex = fields.U16();
  record.frameRow = fields.U16();
  record.frameColumn = fields.U16();
  record.pathOffset = fields.U32();
  fields.Text(record.fileName);
  fields.Text(record.geographicLocation);
  fields.Text(record.classification);
  fields.Text(record.country);
  fields.Text(record.releaseMarking);
  return record;
}

/// What is behind the text is kept as bytes, since nobody here takes it apart. The byte order therefore does not
/// matter.
tagColortableIndexRecordRPF ParseTocColortable(RpfBlocks::Bytes bytes) {
  tagColortableIndexRecordRPF record{};
  RpfFields(bytes, false).Text(record.text);
  std::ranges::copy(bytes.subspan(sizeof(record.text) - 1, sizeof(record.rest)), record.rest);
  return record;
}

int FindProductDataType(const char* text) {
  struct Product {
    std::string_view word;
    int code;
  };
  // The first word that occurs anywhere counts: "CADRG" contains "ADRG", and so comes before it.
  constexpr Product kProducts[] = {{"CADRG", XCIBtoc::kProductCADRG}, {"ADRG", XCIBtoc::kProductADRG},
                                   {"ADRI", XCIBtoc::kProductADRI},   {"CIB", XCIBtoc::kProductCIB},
                                   {"CDTED", XCIBtoc::kProductCDTED}, {"DTED ", XCIBtoc::kProductDTED}};
  const std::string_view whole = text;
  for (const auto& [word, code] : kProducts) {
    if (whole.find(word) != std::string_view::npos) return code;
  }
  return XCIBtoc::kProductUnknown;
}

}  // namespace zrk
