// Tables of contents of raster map products, put together section by section for tests. The builder lays out boundary
// rectangles, folders and frames as it is told, so that a test knows all that a reader should find.

#include "TocBuilder.h"

#include <algorithm>

TocBuilder& TocBuilder::LittleEndian() {
  wrapper_.LittleEndian();
  return *this;
}

TocBuilder& TocBuilder::Boundary(const TocBoundary& boundary) {
  boundaries_.push_back(boundary);
  return *this;
}

TocBuilder& TocBuilder::Frame(int boundary, int row, int column, const std::string& path, const std::string& name) {
  const auto known = std::ranges::find(paths_, path);
  const int index = static_cast<int>(known - paths_.begin());
  if (known == paths_.end()) paths_.push_back(path);
  frames_.push_back({boundary, row, column, 0, index, name});
  return *this;
}

TocBuilder& TocBuilder::FrameAt(std::uint32_t pathOffset, const std::string& name) {
  frames_.push_back({0, 0, 0, pathOffset, -1, name});
  return *this;
}

TocBuilder& TocBuilder::Colortable(const std::string& text) {
  colortables_.push_back(text);
  return *this;
}

TocBuilder& TocBuilder::ClaimBoundaries(int count) {
  claimedBoundaries_ = count;
  return *this;
}

TocBuilder& TocBuilder::ClaimBoundaryBytes(int bytes) {
  claimedBoundaryBytes_ = bytes;
  return *this;
}

TocBuilder& TocBuilder::ClaimFrames(std::uint32_t count) {
  claimedFrames_ = count;
  return *this;
}

TocBuilder& TocBuilder::ClaimFrameBytes(int bytes) {
  claimedFrameBytes_ = bytes;
  return *this;
}

TocBuilder& TocBuilder::ClaimPaths(int count) {
  claimedPaths_ = count;
  return *this;
}

TocBuilder& TocBuilder::FrameBytes(int bytes) {
  frameBytes_ = bytes;
  return *this;
}

TocBuilder& TocBuilder::BeforeFrames(std::size_t bytes) {
  beforeFrames_ = bytes;
  return *this;
}

TocBuilder& TocBuilder::Gap(std::size_t bytes) {
  wrapper_.Gap(bytes);
  return *this;
}

TocBuilder& TocBuilder::Without(int componentId) {
  without_.insert(componentId);
  return *this;
}

std::size_t TocBuilder::PathOffset(int path) const {
  std::size_t offset = beforeFrames_ + frames_.size() * static_cast<std::size_t>(frameBytes_);
  for (int i = 0; i < path; ++i) offset += 2 + paths_[static_cast<std::size_t>(i)].size();
  return offset;
}

std::vector<unsigned char> TocBuilder::MakeBoundaries() const {
  RpfBytes bytes = wrapper_.Bytes();
  for (const TocBoundary& each : boundaries_) {
    bytes.Text(each.product, 5).Text(each.compression, 5).Text(each.scale, 12).Text(each.zone, 1);
    bytes.Text(each.producer, 5);
    bytes.F64(each.north).F64(each.west).F64(each.south).F64(each.west);
    bytes.F64(each.north).F64(each.east).F64(each.south).F64(each.east);
    bytes.F64(150.5).F64(140.25).F64(0.00135).F64(0.00178);
    bytes.U32(static_cast<std::uint32_t>(each.rows)).U32(static_cast<std::uint32_t>(each.columns));
  }
  return bytes.Get();
}

std::vector<unsigned char> TocBuilder::MakeFrames() const {
  RpfBytes bytes = wrapper_.Bytes();
  bytes.Zeros(beforeFrames_);
  for (const FrameRecord& each : frames_) {
    bytes.U16(static_cast<std::uint32_t>(each.boundary)).U16(static_cast<std::uint32_t>(each.row));
    bytes.U16(static_cast<std::uint32_t>(each.column));
    bytes.U32(each.path < 0 ? each.pathOffset : static_cast<std::uint32_t>(PathOffset(each.path)));
    bytes.Text(each.name, 12).Text("NGAA00", 6).Text("U", 1).Text("US", 2).Text("RM", 2);
    bytes.Zeros(static_cast<std::size_t>(frameBytes_) - 33);
  }
  for (const std::string& path : paths_) {
    bytes.U16(static_cast<std::uint32_t>(path.size())).Text(path, path.size());
  }
  return bytes.Get();
}

std::vector<unsigned char> TocBuilder::MakeColortables() const {
  RpfBytes bytes = wrapper_.Bytes();
  bytes.U32(0).U16(static_cast<std::uint32_t>(colortables_.size())).U16(0);
  for (const std::string& text : colortables_) bytes.Text(text, 62);
  return bytes.Get();
}

std::vector<unsigned char> TocBuilder::Build() const {
  const auto numBoundaries = static_cast<int>(boundaries_.size());
  RpfBytes boundaryHead = wrapper_.Bytes(), frameHead = wrapper_.Bytes();
  boundaryHead.U32(0).U16(static_cast<std::uint32_t>(claimedBoundaries_ < 0 ? numBoundaries : claimedBoundaries_));
  boundaryHead.U16(static_cast<std::uint32_t>(claimedBoundaryBytes_));
  frameHead.U8('U').U32(static_cast<std::uint32_t>(beforeFrames_));
  frameHead.U32(
      static_cast<std::uint32_t>(claimedFrames_ < 0 ? static_cast<std::int64_t>(frames_.size()) : claimedFrames_));
  frameHead.U16(static_cast<std::uint32_t>(claimedPaths_ < 0 ? static_cast<int>(paths_.size()) : claimedPaths_));
  frameHead.U16(static_cast<std::uint32_t>(claimedFrameBytes_ < 0 ? frameBytes_ : claimedFrameBytes_));

  RpfBuilder file = wrapper_;
  const auto add = [&](int id, const std::vector<unsigned char>& bytes) {
    if (!without_.contains(id)) file.Component(id, bytes);
  };
  add(0x94, boundaryHead.Get());
  add(0x95, MakeBoundaries());
  add(0x96, frameHead.Get());
  add(0x97, MakeFrames());
  if (!colortables_.empty()) add(0x98, MakeColortables());
  return file.Build();
}
