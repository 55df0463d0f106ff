#include "Jp2Builder.h"

#include <openjpeg.h>
#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

using Bytes = Jp2Builder::Bytes;

/// Bytes that grow as they are written, and a place among them.
struct GrowingStream {
  Bytes bytes;
  std::size_t place = 0;
};

OPJ_SIZE_T WriteGrowing(void* buffer, OPJ_SIZE_T count, void* user) {
  auto& stream = *static_cast<GrowingStream*>(user);
  stream.bytes.resize(std::max(stream.bytes.size(), stream.place + count));
  std::memcpy(stream.bytes.data() + stream.place, buffer, count);
  stream.place += count;
  return count;
}

OPJ_OFF_T SkipGrowing(OPJ_OFF_T count, void* user) {
  static_cast<GrowingStream*>(user)->place += static_cast<std::size_t>(count);
  return count;
}

OPJ_BOOL SeekGrowing(OPJ_OFF_T place, void* user) {
  static_cast<GrowingStream*>(user)->place = static_cast<std::size_t>(place);
  return OPJ_TRUE;
}

int CeilDivideInt(int number, int divisor) {
  return (number + divisor - 1) / divisor;
}

void Append(Bytes& to, const Bytes& bytes) {
  to.insert(to.end(), bytes.begin(), bytes.end());
}

}  // namespace

Bytes BigEndian(std::uint64_t value, int count) {
  Bytes bytes;
  for (int i = count - 1; i >= 0; --i) bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
  return bytes;
}

Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes joined;
  for (const Bytes& part : parts) Append(joined, part);
  return joined;
}

Jp2Builder& Jp2Builder::Size(int width, int height) {
  width_ = width;
  height_ = height;
  return *this;
}

Jp2Builder& Jp2Builder::Components(int count, int depth, bool isSigned) {
  forms_.assign(static_cast<std::size_t>(count), Form{depth, isSigned});
  return *this;
}

Jp2Builder& Jp2Builder::Component(int index, int depth, bool isSigned, int dx, int dy) {
  forms_[static_cast<std::size_t>(index)] = {depth, isSigned, dx, dy};
  return *this;
}

Jp2Builder& Jp2Builder::Origin(int x, int y) {
  left_ = x;
  top_ = y;
  return *this;
}

Jp2Builder& Jp2Builder::Tiles(int width, int height, int x, int y) {
  tileWidth_ = width;
  tileHeight_ = height;
  tileX_ = x;
  tileY_ = y;
  return *this;
}

Jp2Builder& Jp2Builder::Levels(int count) {
  numLevels_ = count;
  return *this;
}

Jp2Builder& Jp2Builder::Layers(std::vector<float> rates) {
  rates_ = std::move(rates);
  return *this;
}

Jp2Builder& Jp2Builder::Order(const char* order) {
  constexpr const char* kOrders[] = {"LRCP", "RLCP", "RPCL", "PCRL", "CPRL"};
  order_ = static_cast<int>(std::find_if(std::begin(kOrders), std::end(kOrders),
                                         [order](const char* each) { return std::strcmp(each, order) == 0; }) -
                            std::begin(kOrders));
  return *this;
}

Jp2Builder& Jp2Builder::Precincts(int side) {
  precinctSide_ = side;
  return *this;
}

Jp2Builder& Jp2Builder::CodeBlocks(int width, int height) {
  blockWidth_ = width;
  blockHeight_ = height;
  return *this;
}

Jp2Builder& Jp2Builder::BlockStyle(int style) {
  blockStyle_ = style;
  return *this;
}

Jp2Builder& Jp2Builder::Lossy(float rate) {
  isLossy_ = true;
  rates_ = {rate};
  return *this;
}

Jp2Builder& Jp2Builder::PacketLengths() {
  hasPacketLengths_ = true;
  return *this;
}

Jp2Builder& Jp2Builder::PacketMarks() {
  hasPacketMarks_ = true;
  return *this;
}

Jp2Builder& Jp2Builder::TileLengths() {
  hasTileLengths_ = true;
  return *this;
}

Jp2Builder& Jp2Builder::PartPerResolution() {
  hasParts_ = true;
  return *this;
}

Jp2Builder& Jp2Builder::Samples(Sampler sampler) {
  sampler_ = std::move(sampler);
  return *this;
}

Jp2Builder& Jp2Builder::Box(std::string_view type, const Bytes& data) {
  Append(boxes_, MakeBox(type, data));
  return *this;
}

Jp2Builder& Jp2Builder::Uuid(const std::array<unsigned char, 16>& uuid, const Bytes& data) {
  return Box("uuid", Join({{uuid.begin(), uuid.end()}, data}));
}

Jp2Builder& Jp2Builder::HeaderBox(std::string_view type, const Bytes& data) {
  Append(headerBoxes_, MakeBox(type, data));
  return *this;
}

Bytes Jp2Builder::MakeBox(std::string_view type, const Bytes& data) {
  return Join({BigEndian(data.size() + 8, 4), Text(type), data});
}

Bytes Jp2Builder::MakeLongBox(std::string_view type, const Bytes& data) {
  return Join({BigEndian(1, 4), Text(type), BigEndian(data.size() + 16, 8), data});
}

/// Smooth slopes with a texture, so that every code block has something to tell, and components differ.
int Jp2Builder::SampleAt(int component, int x, int y) const {
  const Form& form = forms_[static_cast<std::size_t>(component)];
  const int low = form.isSigned ? -(1 << (form.depth - 1)) : 0, high = low + (1 << form.depth) - 1;
  const int wanted = sampler_ ? sampler_(component, x, y)
                              : low + static_cast<int>(std::int64_t{x * 3 + y * 5 + (x * y / 7) % 11 + component * 37} *
                                                       (high - low) / 700 % (high - low + 1));
  return std::clamp(wanted, low, high);
}

/// OpenJPEG can mix the first three components where they are alike.
bool Jp2Builder::IsMixable() const {
  const auto isLikeFirst = [this](const Form& form) {
    return form.depth == forms_[0].depth && form.isSigned == forms_[0].isSigned && form.dx == forms_[0].dx &&
           form.dy == forms_[0].dy;
  };
  return forms_.size() >= 3 && isLikeFirst(forms_[1]) && isLikeFirst(forms_[2]);
}

void Jp2Builder::FillParameters(opj_cparameters& parameters) const {
  opj_set_default_encoder_parameters(&parameters);
  parameters.tcp_numlayers = static_cast<int>(rates_.size());
  std::copy(rates_.begin(), rates_.end(), parameters.tcp_rates);
  parameters.cp_disto_alloc = 1;
  parameters.numresolution = numLevels_ + 1;
  parameters.prog_order = static_cast<OPJ_PROG_ORDER>(order_);
  parameters.irreversible = isLossy_;
  parameters.cblockw_init = blockWidth_;
  parameters.cblockh_init = blockHeight_;
  parameters.mode = blockStyle_;
  parameters.image_offset_x0 = left_;
  parameters.image_offset_y0 = top_;
  parameters.tile_size_on = tileWidth_ > 0;
  parameters.cp_tdx = tileWidth_;
  parameters.cp_tdy = tileHeight_;
  parameters.cp_tx0 = tileX_;
  parameters.cp_ty0 = tileY_;
  if (precinctSide_ > 0) {
    parameters.csty |= 1;
    parameters.res_spec = 1;
    parameters.prcw_init[0] = parameters.prch_init[0] = precinctSide_;
  }
  if (hasPacketMarks_) parameters.csty |= 4;
  parameters.tp_on = hasParts_;
  parameters.tp_flag = hasParts_ ? 'R' : 0;
  parameters.tcp_mct = IsMixable() ? 1 : 0;
}

/// The image with all samples; the caller destroys it.
opj_image* Jp2Builder::MakeImage() const {
  std::vector<opj_image_cmptparm_t> forms;
  for (const Form& form : forms_) {
    opj_image_cmptparm_t one{};
    one.dx = static_cast<OPJ_UINT32>(form.dx);
    one.dy = static_cast<OPJ_UINT32>(form.dy);
    one.w = static_cast<OPJ_UINT32>(CeilDivideInt(left_ + width_, form.dx) - CeilDivideInt(left_, form.dx));
    one.h = static_cast<OPJ_UINT32>(CeilDivideInt(top_ + height_, form.dy) - CeilDivideInt(top_, form.dy));
    one.x0 = static_cast<OPJ_UINT32>(left_);
    one.y0 = static_cast<OPJ_UINT32>(top_);
    one.prec = static_cast<OPJ_UINT32>(form.depth);
    one.sgnd = form.isSigned;
    forms.push_back(one);
  }
  opj_image_t* const image =
      opj_image_create(static_cast<OPJ_UINT32>(forms.size()), forms.data(), OPJ_CLRSPC_UNSPECIFIED);
  image->x0 = static_cast<OPJ_UINT32>(left_);
  image->y0 = static_cast<OPJ_UINT32>(top_);
  image->x1 = static_cast<OPJ_UINT32>(left_ + width_);
  image->y1 = static_cast<OPJ_UINT32>(top_ + height_);
  for (std::size_t c = 0; c < forms.size(); ++c) {
    const int columns = static_cast<int>(forms[c].w), rows = static_cast<int>(forms[c].h);
    for (int i = 0; i < columns * rows; ++i) {
      image->comps[c].data[i] = SampleAt(static_cast<int>(c), i % columns, i / columns);
    }
  }
  return image;
}

Bytes Jp2Builder::BuildCodestream() const {
  opj_cparameters_t parameters;
  FillParameters(parameters);
  const std::unique_ptr<opj_image_t, void (*)(opj_image_t*)> image(MakeImage(), &opj_image_destroy);
  GrowingStream grown;
  const std::unique_ptr<opj_codec_t, void (*)(opj_codec_t*)> codec(opj_create_compress(OPJ_CODEC_J2K),
                                                                   &opj_destroy_codec);
  const std::unique_ptr<opj_stream_t, void (*)(opj_stream_t*)> stream(opj_stream_create(1 << 16, OPJ_STREAM_WRITE),
                                                                      &opj_stream_destroy);
  opj_stream_set_user_data(stream.get(), &grown, nullptr);
  opj_stream_set_write_function(stream.get(), &WriteGrowing);
  opj_stream_set_skip_function(stream.get(), &SkipGrowing);
  opj_stream_set_seek_function(stream.get(), &SeekGrowing);
  std::vector<const char*> options;
  if (hasPacketLengths_) options.push_back("PLT=YES");
  if (hasTileLengths_) options.push_back("TLM=YES");
  options.push_back(nullptr);
  const bool isBuilt = opj_setup_encoder(codec.get(), &parameters, image.get()) &&
                       opj_encoder_set_extra_options(codec.get(), options.data()) &&
                       opj_start_compress(codec.get(), image.get(), stream.get()) &&
                       opj_encode(codec.get(), stream.get()) && opj_end_compress(codec.get(), stream.get());
  if (!isBuilt) throw std::runtime_error("the codestream could not be built");
  return grown.bytes;
}

Bytes Jp2Builder::Build() const {
  const bool areAlike = std::all_of(forms_.begin(), forms_.end(), [this](const Form& form) {
    return form.depth == forms_[0].depth && form.isSigned == forms_[0].isSigned;
  });
  const auto depthByte = [](const Form& form) {
    return static_cast<unsigned char>((form.depth - 1) | (form.isSigned ? 0x80 : 0));
  };
  const Bytes header = Join({BigEndian(static_cast<std::uint64_t>(height_), 4),
                             BigEndian(static_cast<std::uint64_t>(width_), 4),
                             BigEndian(forms_.size(), 2),
                             {areAlike ? depthByte(forms_[0]) : static_cast<unsigned char>(255), 7, 0, 0}});
  Bytes depths;
  for (const Form& form : forms_) depths.push_back(depthByte(form));
  const unsigned char space = forms_.size() < 3 ? 17 : 16;
  const Bytes inHeader = Join({MakeBox("ihdr", header), areAlike ? Bytes() : MakeBox("bpcc", depths),
                               MakeBox("colr", {1, 0, 0, 0, 0, 0, space}), headerBoxes_});
  return Join({MakeBox("jP  ", {0x0D, 0x0A, 0x87, 0x0A}), MakeBox("ftyp", Text(std::string("jp2 \0\0\0\0jp2 ", 12))),
               MakeBox("jp2h", inHeader), boxes_, MakeBox("jp2c", BuildCodestream())});
}
