#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct opj_cparameters;
struct opj_image;

/// Builds JPEG 2000 codestreams with OpenJPEG's encoder, and files of boxes around them. Everything has a value from
/// the beginning on: 64 x 48 samples of one component of 8 bits, in one tile, without loss.
class Jp2Builder {
 public:
  using Bytes = std::vector<unsigned char>;
  /// The sample of a component at a column and a row of its own.
  using Sampler = std::function<int(int component, int x, int y)>;

  Jp2Builder& Size(int width, int height);
  Jp2Builder& Components(int count, int depth = 8, bool isSigned = false);
  /// One component in another form than the others.
  Jp2Builder& Component(int index, int depth, bool isSigned, int dx = 1, int dy = 1);
  /// Where the image begins on the reference grid.
  Jp2Builder& Origin(int x, int y);
  Jp2Builder& Tiles(int width, int height, int x = 0, int y = 0);
  Jp2Builder& Levels(int count);
  Jp2Builder& Layers(std::vector<float> rates);
  /// "LRCP" and its like.
  Jp2Builder& Order(const char* order);
  Jp2Builder& Precincts(int side);
  Jp2Builder& CodeBlocks(int width, int height);
  /// How code blocks are coded, by the flags of the codestream.
  Jp2Builder& BlockStyle(int style);
  Jp2Builder& Lossy(float rate);
  /// Lists of the lengths of packets in each tile-part.
  Jp2Builder& PacketLengths();
  /// A mark behind the head of each packet.
  Jp2Builder& PacketMarks();
  /// A list of the lengths of the tile-parts in the main header.
  Jp2Builder& TileLengths();
  /// Tile-parts end with each resolution.
  Jp2Builder& PartPerResolution();
  Jp2Builder& Samples(Sampler sampler);
  /// A box behind the header, in front of the codestream.
  Jp2Builder& Box(std::string_view type, const Bytes& data);
  Jp2Builder& Uuid(const std::array<unsigned char, 16>& uuid, const Bytes& data);
  /// A box within the header.
  Jp2Builder& HeaderBox(std::string_view type, const Bytes& data);

  Bytes BuildCodestream() const;
  /// A file with a signature, a file type, a header and the boxes asked for.
  Bytes Build() const;
  /// The sample that was asked for, in the middle of the range where it goes beyond.
  int SampleAt(int component, int x, int y) const;

  static Bytes MakeBox(std::string_view type, const Bytes& data);
  /// The same with a length of eight bytes.
  static Bytes MakeLongBox(std::string_view type, const Bytes& data);
  static Bytes Text(std::string_view text) { return {text.begin(), text.end()}; }

 private:
  bool IsMixable() const;
  void FillParameters(opj_cparameters& parameters) const;
  opj_image* MakeImage() const;

  struct Form {
    int depth = 8;
    bool isSigned = false;
    int dx = 1;
    int dy = 1;
  };

  int width_ = 64, height_ = 48;
  int left_ = 0, top_ = 0;
  int tileWidth_ = 0, tileHeight_ = 0, tileX_ = 0, tileY_ = 0;
  int numLevels_ = 3;
  int precinctSide_ = 0;
  int blockWidth_ = 64, blockHeight_ = 64, blockStyle_ = 0;
  std::vector<float> rates_{0.0F};
  bool isLossy_ = false;
  bool hasPacketLengths_ = false, hasPacketMarks_ = false, hasTileLengths_ = false, hasParts_ = false;
  int order_ = 0;
  std::vector<Form> forms_{Form{}};
  Sampler sampler_;
  Bytes boxes_;
  Bytes headerBoxes_;
};

/// The number as bytes, the highest first.
std::vector<unsigned char> BigEndian(std::uint64_t value, int count);

/// Puts parts behind each other.
std::vector<unsigned char> Join(std::initializer_list<std::vector<unsigned char>> parts);
