#include "OpjImage.h"

#include <openjpeg.h>
#include <algorithm>
#include <cstring>
#include <memory>

namespace {

struct FreeOpjCodec {
  void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
};
struct FreeOpjStream {
  void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
};
struct FreeOpjImage {
  void operator()(opj_image_t* image) const { opj_image_destroy(image); }
};
using OpjCodec = std::unique_ptr<opj_codec_t, FreeOpjCodec>;
using OpjStream = std::unique_ptr<opj_stream_t, FreeOpjStream>;
using OpjPicture = std::unique_ptr<opj_image_t, FreeOpjImage>;

/// A file in memory.
struct OpjMemory {
  std::vector<unsigned char> bytes;
  std::size_t position = 0;
};

OPJ_SIZE_T ReadMemory(void* buffer, OPJ_SIZE_T count, void* data) {
  OpjMemory& memory = *static_cast<OpjMemory*>(data);
  const std::size_t got = std::min(count, memory.bytes.size() - memory.position);
  if (got == 0) return static_cast<OPJ_SIZE_T>(-1);
  std::memcpy(buffer, memory.bytes.data() + memory.position, got);
  memory.position += got;
  return got;
}

OPJ_SIZE_T WriteMemory(void* buffer, OPJ_SIZE_T count, void* data) {
  OpjMemory& memory = *static_cast<OpjMemory*>(data);
  memory.bytes.resize(std::max(memory.bytes.size(), memory.position + count));
  std::memcpy(memory.bytes.data() + memory.position, buffer, count);
  memory.position += count;
  return count;
}

OPJ_BOOL SeekMemory(OPJ_OFF_T position, void* data) {
  OpjMemory& memory = *static_cast<OpjMemory*>(data);
  if (position < 0 || static_cast<std::size_t>(position) > memory.bytes.size()) return OPJ_FALSE;
  memory.position = static_cast<std::size_t>(position);
  return OPJ_TRUE;
}

OPJ_OFF_T SkipMemory(OPJ_OFF_T count, void* data) {
  return SeekMemory(static_cast<OPJ_OFF_T>(static_cast<OpjMemory*>(data)->position) + count, data) ? count : -1;
}

void KeepOpjLine(const char* message, void* lines) {
  static_cast<std::vector<std::string>*>(lines)->emplace_back(message);
}

OpjStream OpenOpjStream(OpjMemory& memory, bool isInput) {
  OpjStream stream(opj_stream_default_create(isInput));
  opj_stream_set_read_function(stream.get(), &ReadMemory);
  opj_stream_set_write_function(stream.get(), &WriteMemory);
  opj_stream_set_seek_function(stream.get(), &SeekMemory);
  opj_stream_set_skip_function(stream.get(), &SkipMemory);
  opj_stream_set_user_data(stream.get(), &memory, nullptr);
  opj_stream_set_user_data_length(stream.get(), memory.bytes.size());
  return stream;
}

void KeepOpjComplaints(opj_codec_t* codec, std::vector<std::string>& lines) {
  opj_set_warning_handler(codec, &KeepOpjLine, &lines);
  opj_set_error_handler(codec, &KeepOpjLine, &lines);
}

OpjImage::Component CopyComponent(const opj_image_comp_t& from) {
  OpjImage::Component component = {
      static_cast<int>(from.prec), from.sgnd != 0, static_cast<int>(from.w), static_cast<int>(from.h), {}};
  if (from.data) component.samples.assign(from.data, from.data + std::size_t{from.w} * from.h);
  return component;
}

void TellCoding(opj_codec_t* codec, OpjImage& image) {
  opj_codestream_info_v2_t* info = opj_get_cstr_info(codec);
  image.tileWidth = static_cast<int>(info->tdx);
  image.tileHeight = static_cast<int>(info->tdy);
  image.numTiles = static_cast<int>(info->tw * info->th);
  image.numLayers = static_cast<int>(info->m_default_tile_info.numlayers);
  image.hasColourTransform = info->m_default_tile_info.mct != 0;
  image.numLevels = static_cast<int>(info->m_default_tile_info.tccp_info[0].numresolutions) - 1;
  image.isReversible = info->m_default_tile_info.tccp_info[0].qmfbid == 1;
  opj_destroy_cstr_info(&info);
}

}  // namespace

OpjImage DecodeByOpj(std::vector<unsigned char> bytes, const OpjRequest& request) {
  OpjImage result;
  OpjMemory memory{std::move(bytes), 0};
  const OpjStream stream = OpenOpjStream(memory, true);
  const OpjCodec codec(opj_create_decompress(request.hasBoxes ? OPJ_CODEC_JP2 : OPJ_CODEC_J2K));
  KeepOpjComplaints(codec.get(), result.complaints);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  parameters.cp_reduce = static_cast<OPJ_UINT32>(request.level);
  parameters.cp_layer = static_cast<OPJ_UINT32>(request.numLayers);
  opj_image_t* opened = nullptr;
  if (!opj_setup_decoder(codec.get(), &parameters) || !opj_read_header(stream.get(), codec.get(), &opened)) {
    return result;
  }
  const OpjPicture image(opened);
  TellCoding(codec.get(), result);
  result.isOpen = opj_decode(codec.get(), stream.get(), opened) && opj_end_decompress(codec.get(), stream.get());
  result.width = static_cast<int>(opened->x1 - opened->x0);
  result.height = static_cast<int>(opened->y1 - opened->y0);
  for (OPJ_UINT32 i = 0; i < opened->numcomps; ++i) result.components.push_back(CopyComponent(opened->comps[i]));
  return result;
}

namespace {

OpjPicture MakeImageOf(const std::vector<OpjImage::Component>& components) {
  std::vector<opj_image_cmptparm_t> parts;
  for (const OpjImage::Component& component : components) {
    opj_image_cmptparm_t part = {};
    part.dx = part.dy = 1;
    part.w = static_cast<OPJ_UINT32>(component.width);
    part.h = static_cast<OPJ_UINT32>(component.height);
    part.prec = static_cast<OPJ_UINT32>(component.precision);
    part.sgnd = component.isSigned;
    parts.push_back(part);
  }
  OpjPicture image(opj_image_create(static_cast<OPJ_UINT32>(parts.size()), parts.data(), OPJ_CLRSPC_UNSPECIFIED));
  image->x1 = parts[0].w;
  image->y1 = parts[0].h;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    std::ranges::copy(components[i].samples, image->comps[i].data);
  }
  return image;
}

}  // namespace

std::vector<unsigned char> EncodeByOpj(const std::vector<OpjImage::Component>& components, const OpjWriting& how) {
  OpjMemory memory;
  const OpjPicture image = MakeImageOf(components);
  const OpjCodec codec(opj_create_compress(OPJ_CODEC_J2K));
  const auto parameters = std::make_unique<opj_cparameters_t>();
  opj_set_default_encoder_parameters(parameters.get());
  parameters->tile_size_on = OPJ_TRUE;
  parameters->cp_tdx = parameters->cp_tdy = how.tileSide;
  parameters->tcp_numlayers = 1;
  parameters->cp_disto_alloc = 1;
  parameters->prog_order = OPJ_RLCP;
  parameters->numresolution = how.numLevels + 1;
  parameters->irreversible = !how.isReversible;
  parameters->tcp_mct = components.size() >= 3;
  const char* const options[] = {"PLT=YES", nullptr};
  const OpjStream stream = OpenOpjStream(memory, false);
  const bool isDone = opj_setup_encoder(codec.get(), parameters.get(), image.get()) &&
                      opj_encoder_set_extra_options(codec.get(), options) &&
                      opj_start_compress(codec.get(), image.get(), stream.get()) &&
                      opj_encode(codec.get(), stream.get()) && opj_end_compress(codec.get(), stream.get());
  return isDone ? memory.bytes : std::vector<unsigned char>();
}
