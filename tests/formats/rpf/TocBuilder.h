#pragma once

#include "RpfBuilder.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

/// A boundary rectangle as a table of contents stores it; the corners are upright.
struct TocBoundary {
  std::string product = "CADRG";
  std::string compression = "55:1";
  std::string scale = "1:1,000,000";
  std::string zone = "2";
  std::string producer = "DMAAC";
  double west = 2.0, east = 6.0, south = 32.0, north = 36.0;
  int rows = 1;
  int columns = 1;
};

/// Builds tables of contents byte by byte: `TocBuilder().Boundary().Frame(0, 0, 0, "./ONC/", "A.ON2").Build()`.
class TocBuilder {
 public:
  TocBuilder& LittleEndian();
  TocBuilder& Boundary(const TocBoundary& boundary = {});
  /// Frames of one path share its record.
  TocBuilder& Frame(int boundary, int row, int column, const std::string& path, const std::string& name);
  /// A frame that refers to a path by an offset of its own.
  TocBuilder& FrameAt(std::uint32_t pathOffset, const std::string& name);
  TocBuilder& Colortable(const std::string& text);

  // What the subheaders claim; the truth unless set.

  TocBuilder& ClaimBoundaries(int count);
  TocBuilder& ClaimBoundaryBytes(int bytes);
  TocBuilder& ClaimFrames(std::uint32_t count);
  TocBuilder& ClaimFrameBytes(int bytes);
  TocBuilder& ClaimPaths(int count);

  /// Bytes of a frame record, filled up behind its fields; 33 unless set.
  TocBuilder& FrameBytes(int bytes);
  /// Bytes between the beginning of the subsection and the first frame record.
  TocBuilder& BeforeFrames(std::size_t bytes);
  /// Bytes between the component table and all sections.
  TocBuilder& Gap(std::size_t bytes);
  TocBuilder& Without(int componentId);
  /// Changes what all of it is wrapped in.
  RpfBuilder& Wrapper() { return wrapper_; }

  std::vector<unsigned char> Build() const;

 private:
  struct FrameRecord {
    int boundary, row, column;
    std::uint32_t pathOffset;  // where `path` is -1
    int path;
    std::string name;
  };

  std::size_t PathOffset(int path) const;
  std::vector<unsigned char> MakeBoundaries() const;
  std::vector<unsigned char> MakeFrames() const;
  std::vector<unsigned char> MakeColortables() const;

  RpfBuilder wrapper_;
  std::vector<TocBoundary> boundaries_;
  std::vector<FrameRecord> frames_;
  std::vector<std::string> paths_;
  std::vector<std::string> colortables_;
  std::set<int> without_;
  int claimedBoundaries_ = -1;
  int claimedBoundaryBytes_ = 132;
  std::int64_t claimedFrames_ = -1;
  int claimedFrameBytes_ = -1;
  int claimedPaths_ = -1;
  int frameBytes_ = 33;
  std::size_t beforeFrames_ = 0;
};
