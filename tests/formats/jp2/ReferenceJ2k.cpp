#include "ReferenceJ2k.h"

#include <openjpeg.h>
#include <algorithm>
#include <cstring>
#include <memory>

namespace {

struct FixedStream {
  const unsigned char* bytes;
  std::size_t count;
  std::size_t place = 0;
};

OPJ_SIZE_T ReadFixed(void* buffer, OPJ_SIZE_T count, void* user) {
  auto& stream = *static_cast<FixedStream*>(user);
  const std::size_t got = std::min<std::size_t>(count, stream.count - stream.place);
  if (got == 0) return static_cast<OPJ_SIZE_T>(-1);
  std::memcpy(buffer, stream.bytes + stream.place, got);
  stream.place += got;
  return got;
}

OPJ_OFF_T SkipFixed(OPJ_OFF_T count, void* user) {
  auto& stream = *static_cast<FixedStream*>(user);
  stream.place = std::min(stream.count, stream.place + static_cast<std::size_t>(count));
  return count;
}

OPJ_BOOL SeekFixed(OPJ_OFF_T place, void* user) {
  static_cast<FixedStream*>(user)->place = static_cast<std::size_t>(place);
  return OPJ_TRUE;
}

void SayNothing(const char*, void*) {}

int CeilShift(int number, int level) {
  return (number + (1 << level) - 1) >> level;
}

ReferenceJ2k::Plane TakeComponent(const opj_image_comp_t& component, int level) {
  ReferenceJ2k::Plane plane;
  plane.left = CeilShift(static_cast<int>(component.x0), level);
  plane.top = CeilShift(static_cast<int>(component.y0), level);
  plane.width = static_cast<int>(component.w);
  plane.height = static_cast<int>(component.h);
  plane.dx = static_cast<int>(component.dx);
  plane.dy = static_cast<int>(component.dy);
  plane.samples.assign(component.data, component.data + std::size_t{component.w} * component.h);
  return plane;
}

}  // namespace

int ReferenceJ2k::Plane::At(long x, long y) const {
  const long column = std::clamp(x - left, 0L, long{width} - 1), row = std::clamp(y - top, 0L, long{height} - 1);
  return samples[static_cast<std::size_t>(row * width + column)];
}

ReferenceJ2k DecodeWithOpenJpeg(const std::vector<unsigned char>& file, int level) {
  constexpr unsigned char kStart[] = {0xFF, 0x4F, 0xFF, 0x51};
  const auto found = std::search(file.begin(), file.end(), std::begin(kStart), std::end(kStart));
  const auto offset = static_cast<std::size_t>(found - file.begin());
  FixedStream fixed{file.data() + offset, file.size() - offset};
  const std::unique_ptr<opj_codec_t, void (*)(opj_codec_t*)> codec(opj_create_decompress(OPJ_CODEC_J2K),
                                                                   &opj_destroy_codec);
  const std::unique_ptr<opj_stream_t, void (*)(opj_stream_t*)> stream(opj_stream_create(1 << 16, OPJ_STREAM_READ),
                                                                      &opj_stream_destroy);
  opj_set_error_handler(codec.get(), &SayNothing, nullptr);
  opj_set_warning_handler(codec.get(), &SayNothing, nullptr);
  opj_set_info_handler(codec.get(), &SayNothing, nullptr);
  opj_stream_set_user_data(stream.get(), &fixed, nullptr);
  opj_stream_set_user_data_length(stream.get(), fixed.count);
  opj_stream_set_read_function(stream.get(), &ReadFixed);
  opj_stream_set_skip_function(stream.get(), &SkipFixed);
  opj_stream_set_seek_function(stream.get(), &SeekFixed);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  parameters.cp_reduce = static_cast<OPJ_UINT32>(level);
  opj_setup_decoder(codec.get(), &parameters);
  opj_image_t* header = nullptr;
  const bool isRead = opj_read_header(stream.get(), codec.get(), &header);
  const std::unique_ptr<opj_image_t, void (*)(opj_image_t*)> image(header, &opj_image_destroy);
  ReferenceJ2k decoded;
  if (!isRead || !opj_decode(codec.get(), stream.get(), image.get())) return decoded;
  for (OPJ_UINT32 c = 0; c < image->numcomps; ++c) decoded.planes.push_back(TakeComponent(image->comps[c], level));
  return decoded;
}
