// A look at a drawing before a parser gets it. A reader puts the contents of a block in place of each insertion. Blocks
// may insert other blocks, many times over, and so a file of a few hundred bytes can unfold to any number of entities.
// Here only their number is computed.
//
// A DXF file is a sequence of pairs of lines, a group code and its value. Group 0 begins an entity. Group 2 is a name:
// that of the block itself for BLOCK, and that of the block shown for INSERT and DIMENSION. Groups 70 and 71 of INSERT
// are the columns and rows of a repeated insertion. Entities between BLOCK and ENDBLK belong to the block, all others
// to the sheet.
//
// One pass over the file counts, for each block, its entities and how often it inserts which other block. From these
// counts follows what each block unfolds to, each computed once. A file that is not a drawing gives counts that mean
// nothing, and is left to the reader to refuse.

#include "geo/DxfGate.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zrk {

namespace {

/// The lines of a file, without blanks at both ends. Of a line longer than the buffer only the beginning is kept, so
/// that a file without line ends takes no more memory.
class Lines {
 public:
  explicit Lines(const XFile& file) : file_(file), buffer_(1 << 16) {}

  bool Next(std::string& line) {
    line.clear();
    bool hasAny = false;
    for (int c = NextByte(); c >= 0; c = NextByte()) {
      hasAny = true;
      if (c == '\n') break;
      if (line.size() < buffer_.size()) line.push_back(static_cast<char>(c));
    }
    const std::size_t first = line.find_first_not_of(" \t\r");
    line = first == std::string::npos ? "" : line.substr(first, line.find_last_not_of(" \t\r") + 1 - first);
    return hasAny;
  }

 private:
  int NextByte() {
    if (place_ == filled_) {
      filled_ =
          static_cast<std::size_t>(file_.ReadAt(offset_, buffer_.data(), static_cast<std::int64_t>(buffer_.size())));
      offset_ += static_cast<std::int64_t>(filled_);
      place_ = 0;
      if (filled_ == 0) return -1;
    }
    return static_cast<unsigned char>(buffer_[place_++]);
  }

  const XFile& file_;
  std::vector<char> buffer_;
  std::int64_t offset_ = 0;
  std::size_t filled_ = 0;
  std::size_t place_ = 0;
};

/// A text that does not begin with a number counts as 0.
int ToNumber(std::string_view text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

/// a + times * b, at most the bound. What is beyond the bound is too much in any case, and so nothing overflows.
std::int64_t Bounded(std::int64_t a, std::int64_t times, std::int64_t b) {
  constexpr std::int64_t kBound = kMaxUnfoldedEntities + 1;
  if (times != 0 && b > kBound / times) return kBound;
  return std::min(kBound, a + times * b);
}

/// What a block, or the sheet, holds.
struct Contents {
  std::int64_t numEntities = 0;
  std::map<std::string, std::int64_t> insertions;  // how often each block is shown
};

/// The entity that is being read: only what is needed of its groups.
struct Entity {
  bool ShowsBlock() const { return type == "INSERT" || type == "DIMENSION"; }

  std::string type;
  std::string name;
  int numColumns = 1;
  int numRows = 1;
};

/// What a block becomes when all insertions in it are replaced.
struct Measure {
  std::int64_t numEntities = 0;
  int height = 0;  // levels of blocks within it, its own included
};

class Drawing {
 public:
  void Read(const XFile& file) {
    Lines lines(file);
    Entity entity;
    for (std::string code, value; lines.Next(code) && lines.Next(value);) {
      const int group = ToNumber(code);
      if (group == 0) {
        Add(entity);
        entity = Entity();
        entity.type = value;
      }
      if (group == 2 && entity.name.empty()) entity.name = value;
      if (group == 70 && entity.type == "INSERT") entity.numColumns = ToNumber(value);
      if (group == 71 && entity.type == "INSERT") entity.numRows = ToNumber(value);
    }
    // An entity is complete when the next one begins, or at the end of the file.
    Add(entity);
  }

  /// The number of entities that take the place of insertions. It is beyond the bound as well where blocks are nested
  /// too deep.
  std::int64_t CountUnfolded(int maxDepth) { return MeasureInsertions(sheet_, maxDepth).numEntities; }

 private:
  void Add(const Entity& entity) {
    if (entity.type == "BLOCK") {
      current_ = &blocks_[entity.name];
    } else if (entity.type == "ENDBLK") {
      current_ = &sheet_;
    } else {
      ++current_->numEntities;
      if (!entity.ShowsBlock()) return;
      std::int64_t& times = current_->insertions[entity.name];
      times = Bounded(times, std::max(entity.numColumns, 1), std::max(entity.numRows, 1));
    }
  }

  /// What insertions unfold to, down to `depth` levels, so that blocks which hold each other come to an end. The
  /// insertion of a block that the drawing does not have unfolds to nothing.
  Measure MeasureInsertions(const Contents& contents, int depth) {
    Measure all;
    for (const auto& [name, times] : contents.insertions) {
      const auto block = blocks_.find(name);
      if (block == blocks_.end()) continue;
      const Measure one = MeasureBlock(name, block->second, depth);
      all.numEntities = Bounded(all.numEntities, times, one.numEntities);
      all.height = std::max(all.height, one.height);
    }
    return all;
  }

  Measure MeasureBlock(const std::string& name, const Contents& contents, int depth) {
    // A block is measured once, on the way on which it is met first. Its height tells whether it is too deep on another
    // way.
    const auto known = known_.find(name);
    Measure measure = known != known_.end() ? known->second : Measure();
    if (known == known_.end() && depth > 0) {
      measure = MeasureInsertions(contents, depth - 1);
      measure.numEntities = Bounded(contents.numEntities, 1, measure.numEntities);
      ++measure.height;
      known_[name] = measure;
    }
    if (depth <= 0 || measure.height > depth) measure.numEntities = kMaxUnfoldedEntities + 1;
    return measure;
  }

  Contents sheet_;
  Contents* current_ = &sheet_;
  std::map<std::string, Contents> blocks_;
  std::map<std::string, Measure> known_;
};

}  // namespace

XString FindDxfDanger(const XFile& file, int maxDepth) {
  Drawing drawing;
  drawing.Read(file);
  return drawing.CountUnfolded(maxDepth) > kMaxUnfoldedEntities ? "blocks unfold beyond all measure" : "";
}

}  // namespace zrk
