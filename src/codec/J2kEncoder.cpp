// A codestream has a main header, tile-parts and an end marker. A tile-part names its tile and its length, and refers
// to nothing outside of it but the main header. So each tile is coded by a codec of its own as an image of one tile,
// which lies where the tile lies on the grid of the whole image. Its tile-part then has the bytes that it would have
// among all others, but for the number of the tile, which is 0 and is set here.
//
// This way tiles are coded on many threads, although the codec writes the tiles of one image one after another. Memory
// does not grow with the image either, whereas the codec keeps some kilobytes for each tile of an image.
//
// The main header comes from an image of one pixel, since it does not depend on the samples. It gets the size of the
// image, and behind it the lengths of all tile-parts (TLM), which the codec can't know.
//
// OpenJPEG reports errors to a callback and throws nothing. What is thrown in a callback must not reach it.

#include "codec/J2kEncoder.h"

#include "base/BigEndian.h"
#include "base/Cursor.h"
#include "base/Failure.h"
#include "codec/Jp2Boxes.h"

#include <openjpeg.h>
#include <algorithm>
#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace zrk {
namespace {

using StreamBytes = J2kEncoder::Bytes;

/// The codec sizes its buffer by the size that it is told for tiles. One of a few pixels would leave too little for the
/// heads of packets.
constexpr int kLeastSide = 256;
/// What the codec collects before it hands bytes out.
constexpr OPJ_SIZE_T kChunkBytes = 64 * 1024;
/// A tile-part begins with SOT, which has 12 bytes, and SOD.
constexpr double kTilePartHeadBytes = 14.0;
/// The entries of one TLM segment, whose length is a number of 16 bits: 4 bytes stand before the entries.
constexpr std::size_t kTlmEntryBytes = 6;
constexpr std::size_t kMaxTlmEntries = (UINT16_MAX - 4) / kTlmEntryBytes;

struct CompressorFree {
  void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
};
struct OutputStreamFree {
  void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
};
struct TileImageFree {
  void operator()(opj_image_t* image) const { opj_image_destroy(image); }
};
using TileImage = std::unique_ptr<opj_image_t, TileImageFree>;

/// What the codec hands out: a codestream, or a first complaint.
struct CodecOutput {
  StreamBytes stream;
  std::string complaint;
};

OPJ_SIZE_T TakeBytes(void* bytes, OPJ_SIZE_T count, void* output) {
  StreamBytes& stream = static_cast<CodecOutput*>(output)->stream;
  const auto* const first = static_cast<const unsigned char*>(bytes);
  try {
    stream.insert(stream.end(), first, first + count);
    return count;
  } catch (const std::exception&) {
    return static_cast<OPJ_SIZE_T>(-1);
  }
}

/// Complaints are lines. What follows the first one only tells that it happened.
void TakeComplaint(const char* message, void* output) {
  std::string& complaint = static_cast<CodecOutput*>(output)->complaint;
  try {
    if (complaint.empty()) complaint.assign(message, std::string_view(message).find_last_not_of("\n. ") + 1);
  } catch (const std::exception&) {
  }
}

TileImage MakeTileImage(const J2kPlan& plan, const Window& tile) {
  std::vector<opj_image_cmptparm_t> parts(plan.components.size());
  for (std::size_t i = 0; i < parts.size(); ++i) {
    parts[i].dx = parts[i].dy = 1;
    parts[i].w = static_cast<OPJ_UINT32>(tile.Width());
    parts[i].h = static_cast<OPJ_UINT32>(tile.Height());
    parts[i].x0 = static_cast<OPJ_UINT32>(tile.x0);
    parts[i].y0 = static_cast<OPJ_UINT32>(tile.y0);
    parts[i].prec = static_cast<OPJ_UINT32>(plan.components[i].precision);
    parts[i].sgnd = plan.components[i].isSigned;
  }
  TileImage image(opj_image_tile_create(static_cast<OPJ_UINT32>(parts.size()), parts.data(), OPJ_CLRSPC_UNSPECIFIED));
  if (!image) return nullptr;
  image->x0 = static_cast<OPJ_UINT32>(tile.x0);
  image->y0 = static_cast<OPJ_UINT32>(tile.y0);
  image->x1 = image->x0 + static_cast<OPJ_UINT32>(tile.Width());
  image->y1 = image->y0 + static_cast<OPJ_UINT32>(tile.Height());
  return image;
}

/// The codec counts a rate as the ratio of the samples' bits to those of the layer, and takes all samples for as deep
/// as those of the first component. It subtracts its main header, of which a tile of a larger image has next to
/// nothing.
void SetLayers(const J2kPlan& plan, const Window& tile, std::size_t headerBytes, opj_cparameters_t& parameters) {
  parameters.cp_disto_alloc = plan.decibels.empty();
  parameters.cp_fixed_quality = !plan.decibels.empty();
  parameters.tcp_numlayers = static_cast<int>(plan.decibels.empty() ? plan.rates.size() : plan.decibels.size());
  std::ranges::transform(plan.decibels, parameters.tcp_distoratio,
                         [](double each) { return static_cast<float>(each); });
  if (!plan.decibels.empty()) return;
  const double numPixels = static_cast<double>(tile.Width()) * tile.Height();
  const double pixelBits = static_cast<double>(plan.components.size()) * plan.components.front().precision;
  std::ranges::transform(plan.rates, parameters.tcp_rates, [&](double bits) {
    const double wanted = std::max(bits * numPixels / 8.0 - kTilePartHeadBytes, 1.0) + static_cast<double>(headerBytes);
    return static_cast<float>(bits > 0.0 ? pixelBits * numPixels / 8.0 / wanted : 0.0);
  });
}

/// The progression puts the coarse resolutions of a tile first, so that a reader of those finds them in one piece.
void SetParameters(const J2kPlan& plan, const Window& tile, std::size_t headerBytes, opj_cparameters_t& parameters) {
  static char comment[] = "ZRKio";
  opj_set_default_encoder_parameters(&parameters);
  parameters.tile_size_on = OPJ_TRUE;
  parameters.cp_tx0 = tile.x0;
  parameters.cp_ty0 = tile.y0;
  // The codec wants a tile to have a pixel for each of its levels.
  parameters.cp_tdx = std::max({tile.Width(), kLeastSide, 1 << plan.numLevels});
  parameters.cp_tdy = std::max({tile.Height(), kLeastSide, 1 << plan.numLevels});
  parameters.cp_comment = comment;
  parameters.prog_order = OPJ_RLCP;
  parameters.numresolution = plan.numLevels + 1;
  parameters.irreversible = !plan.isReversible;
  parameters.tcp_mct = static_cast<char>(plan.HasColourTransform());
  SetLayers(plan, tile, headerBytes, parameters);
}

/// Codes one tile as an image. The lengths of its packets are written too (PLT).
bool Encode(const J2kPlan& plan, const Window& tile, std::size_t headerBytes, int numThreads,
            std::span<unsigned char> samples, CodecOutput& output) {
  const TileImage image = MakeTileImage(plan, tile);
  const std::unique_ptr<opj_codec_t, CompressorFree> codec(opj_create_compress(OPJ_CODEC_J2K));
  const std::unique_ptr<opj_stream_t, OutputStreamFree> stream(opj_stream_create(kChunkBytes, OPJ_FALSE));
  if (!image || !codec || !stream) return false;
  opj_set_error_handler(codec.get(), &TakeComplaint, &output);
  opj_stream_set_write_function(stream.get(), &TakeBytes);
  opj_stream_set_user_data(stream.get(), &output, nullptr);
  const auto parameters = std::make_unique<opj_cparameters_t>();
  SetParameters(plan, tile, headerBytes, *parameters);
  const char* const options[] = {"PLT=YES", nullptr};
  // The number is always set, as the environment would have a say otherwise.
  return opj_codec_set_threads(codec.get(), numThreads > 1 ? numThreads : 0) &&
         opj_setup_encoder(codec.get(), parameters.get(), image.get()) &&
         opj_encoder_set_extra_options(codec.get(), options) &&
         opj_start_compress(codec.get(), image.get(), stream.get()) &&
         opj_write_tile(codec.get(), 0, samples.data(), static_cast<OPJ_UINT32>(samples.size()), stream.get()) &&
         opj_end_compress(codec.get(), stream.get());
}

/// Where the main header of a codestream ends, which is at the first tile-part. Empty where it doesn't.
std::optional<std::size_t> FindTilePart(const StreamBytes& stream) {
  Cursor cursor(stream);
  if (cursor.U16BE() != kMarkerStart) return {};
  while (cursor.U16BE() != kMarkerTilePart) {
    const int length = cursor.U16BE();
    if (length < 2 || cursor.HasFailed()) return {};
    cursor.Skip(static_cast<std::size_t>(length) - 2);
  }
  return cursor.Position() - sizeof(std::uint16_t);
}

/// Cuts a codestream down to its one tile-part, and makes that the part of a tile.
bool CutTilePart(int tile, StreamBytes& stream) {
  const auto begin = FindTilePart(stream);
  if (!begin) return false;
  Cursor cursor(stream);
  cursor.Seek(*begin + 6);
  const std::size_t length = cursor.U32BE();
  if (cursor.HasFailed() || length == 0 || length > stream.size() - *begin) return false;
  stream.erase(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(*begin));
  stream.resize(length);
  PutBig(static_cast<std::uint16_t>(tile), stream.data() + 4);
  return true;
}

/// The size segment follows the start marker: its marker, its length, the capabilities, then the numbers that are set
/// here.
bool SetSize(const J2kPlan& plan, StreamBytes& header) {
  constexpr std::size_t kSizes = 8;
  Cursor cursor(header);
  cursor.Skip(sizeof kMarkerStart);
  if (cursor.U16BE() != kMarkerSize || header.size() < kSizes + 8 * sizeof(std::uint32_t)) return false;
  const int sizes[] = {plan.width, plan.height, 0, 0, plan.TileWidth(), plan.TileHeight(), 0, 0};
  unsigned char* place = header.data() + kSizes;
  for (const int size : sizes) {
    PutBig(static_cast<std::uint32_t>(size), place);
    place += sizeof(std::uint32_t);
  }
  return true;
}

int FailByCodec(XString& err, const CodecOutput& output) {
  err = "The JPEG 2000 codec refuses the image";
  if (!output.complaint.empty()) err += XString(": " + output.complaint);
  return 0;
}

}  // namespace

bool J2kEncoder::Prepare(XString& err) {
  CodecOutput output;
  StreamBytes pixel(static_cast<std::size_t>(plan_.PixelBytes()));
  if (!Encode(plan_, {0, 0, 0, 0}, 0, 1, pixel, output)) return FailByCodec(err, output);
  const auto end = FindTilePart(output.stream);
  if (!end) return FailByCodec(err, output);
  output.stream.resize(*end);
  header_ = std::move(output.stream);
  codecHeaderBytes_ = header_.size();
  return SetSize(plan_, header_) || FailByCodec(err, output);
}

std::size_t J2kEncoder::CountHeaderBytes() const {
  constexpr std::size_t kSegmentHeadBytes = 6;  // with the marker
  const auto numTiles = static_cast<std::size_t>(plan_.CountTiles());
  return header_.size() + ((numTiles - 1) / kMaxTlmEntries + 1) * kSegmentHeadBytes + numTiles * kTlmEntryBytes;
}

/// An entry of TLM has the number of the tile in 16 bits and the length of its tile-part in 32.
J2kEncoder::Bytes J2kEncoder::MakeHeader(std::span<const std::uint32_t> tilePartBytes) const {
  constexpr std::uint8_t kEntryForm = 0x60;
  Bytes header = header_;
  for (std::size_t tile = 0; tile < tilePartBytes.size(); ++tile) {
    if (tile % kMaxTlmEntries == 0) {
      const std::size_t numEntries = std::min(tilePartBytes.size() - tile, kMaxTlmEntries);
      AppendBig(header, kMarkerTileLengths);
      AppendBig(header, static_cast<std::uint16_t>(4 + numEntries * kTlmEntryBytes));
      AppendBig(header, static_cast<std::uint8_t>(tile / kMaxTlmEntries));
      AppendBig(header, kEntryForm);
    }
    AppendBig(header, static_cast<std::uint16_t>(tile));
    AppendBig(header, tilePartBytes[tile]);
  }
  return header;
}

bool J2kEncoder::EncodeTile(int tile, std::span<unsigned char> samples, int numThreads, Bytes& tilePart,
                            XString& err) const {
  CodecOutput output;
  const bool isCoded = Encode(plan_, plan_.TileAt(tile), codecHeaderBytes_, numThreads, samples, output) &&
                       CutTilePart(tile, output.stream);
  if (!isCoded) return FailByCodec(err, output);
  tilePart = std::move(output.stream);
  return true;
}

J2kEncoder::Bytes J2kEncoder::MakeEnd() {
  Bytes end;
  AppendBig(end, kMarkerEnd);
  return end;
}

}  // namespace zrk
