// Codestreams through OpenJPEG. Its codec for the codestream alone is used, because the one for whole files would apply
// palettes and channel definitions that callers do not expect.
//
// OpenJPEG reads a tile whole when the first area of it is decoded, and keeps its bytes as long as areas are parts of
// the tile. Further areas then cost no reading. A decode of the whole tile gives the bytes up, and so does one that
// fails. Restricting the components changes the record that describes the image, so that such a decoder is used once.
//
// Messages go to a text. The number of threads is always set, because the environment would have a say otherwise.

#include "codec/J2kDecoder.h"

#include <openjpeg.h>
#include <memory>
#include <string>
#include <utility>

namespace zrk {
namespace {

constexpr OPJ_SIZE_T kStreamBuffer = 16 * 1024;  // larger requests go past it

struct CodecFree {
  void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
};
struct StreamFree {
  void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
};
struct ImageFree {
  void operator()(opj_image_t* image) const { opj_image_destroy(image); }
};

/// The first complaint of a call. Errors end it, and warnings tell of damage that was passed over.
struct Complaint {
  std::string text;
  bool isThere = false;

  void Note(const char* message) noexcept {
    if (isThere) return;
    isThere = true;
    try {
      text = message;
      while (!text.empty() && static_cast<unsigned char>(text.back()) <= ' ') text.pop_back();
    } catch (const std::exception&) {
      text.clear();
    }
  }
};

// OpenJPEG is C and calls the functions below, so nothing may be thrown out of them.

void OnComplaint(const char* message, void* complaint) {
  static_cast<Complaint*>(complaint)->Note(message);
}

void OnInfo(const char*, void*) {}

OPJ_SIZE_T ReadStream(void* buffer, OPJ_SIZE_T count, void* stream) {
  const std::int64_t got =
      static_cast<J2kStream*>(stream)->Read(static_cast<unsigned char*>(buffer), static_cast<std::int64_t>(count));
  return got > 0 ? static_cast<OPJ_SIZE_T>(got) : static_cast<OPJ_SIZE_T>(-1);
}

OPJ_OFF_T SkipStream(OPJ_OFF_T count, void* stream) {
  const std::int64_t passed = static_cast<J2kStream*>(stream)->Skip(count);
  return passed > 0 ? passed : -1;
}

/// The grid of a component's plane after a decode.
J2kRect RectOf(const opj_image_comp_t& component) {
  const std::int64_t step = std::int64_t{1} << component.factor;
  const std::int64_t x0 = CeilDivide(component.x0, step), y0 = CeilDivide(component.y0, step);
  return {x0, y0, x0 + component.w, y0 + component.h};
}

class OpenJpegDecoder final : public J2kDecoder {
 public:
  bool LeavesLevelShift() const override { return false; }
  int Open(std::unique_ptr<J2kStream> stream, const J2kSettings& settings, XString& err) override;
  int Decode(const J2kRect& area, std::vector<J2kPlane>& planes, XString& err) override;
  void FreePlanes() override;
  bool CanDecodeAgain() const override { return !isSpent_; }

 private:
  bool SetUp();
  bool ReadHeader();
  int Fail(XString& err);
  void TakePlanes(std::vector<J2kPlane>& planes) const;

  J2kSettings settings_;
  std::unique_ptr<J2kStream> source_;
  Complaint error_;
  Complaint warning_;
  std::unique_ptr<opj_stream_t, StreamFree> stream_;
  std::unique_ptr<opj_image_t, ImageFree> image_;
  std::unique_ptr<opj_codec_t, CodecFree> codec_;
  J2kRect whole_;
  bool isSpent_ = true;
};

bool OpenJpegDecoder::SetUp() {
  stream_.reset(opj_stream_create(kStreamBuffer, OPJ_STREAM_READ));
  codec_.reset(opj_create_decompress(OPJ_CODEC_J2K));
  if (!stream_ || !codec_) return false;
  opj_stream_set_user_data(stream_.get(), source_.get(), nullptr);
  opj_stream_set_user_data_length(stream_.get(), static_cast<OPJ_UINT64>(source_->CountBytes()));
  opj_stream_set_read_function(stream_.get(), &ReadStream);
  opj_stream_set_skip_function(stream_.get(), &SkipStream);
  opj_set_error_handler(codec_.get(), &OnComplaint, &error_);
  opj_set_warning_handler(codec_.get(), &OnComplaint, &warning_);
  opj_set_info_handler(codec_.get(), &OnInfo, nullptr);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  parameters.cp_reduce = static_cast<OPJ_UINT32>(settings_.level);
  const int numOthers = settings_.numThreads > 1 ? settings_.numThreads : 0;
  return opj_setup_decoder(codec_.get(), &parameters) &&
         opj_decoder_set_strict_mode(codec_.get(), settings_.isStrict ? OPJ_TRUE : OPJ_FALSE) &&
         opj_codec_set_threads(codec_.get(), numOthers);
}

bool OpenJpegDecoder::ReadHeader() {
  opj_image_t* image = nullptr;
  const bool isRead = opj_read_header(stream_.get(), codec_.get(), &image);
  image_.reset(image);
  if (!isRead || !image) return false;
  whole_ = {image->x0, image->y0, image->x1, image->y1};
  if (settings_.components.empty()) return true;
  const std::vector<OPJ_UINT32> wanted(settings_.components.begin(), settings_.components.end());
  return opj_set_decoded_components(codec_.get(), static_cast<OPJ_UINT32>(wanted.size()), wanted.data(), OPJ_FALSE);
}

/// OpenJPEG's words stand behind ours. A disk that fails is told first, since OpenJPEG only sees a stream that ends.
int OpenJpegDecoder::Fail(XString& err) {
  isSpent_ = true;
  if (source_->HasFailed()) {
    err = "The disk fails within the codestream";
  } else if (error_.isThere || warning_.isThere) {
    err.Format("The codestream can't be decoded : %s", (error_.isThere ? error_ : warning_).text.c_str());
  } else {
    err = "The codestream can't be decoded";
  }
  return 0;
}

int OpenJpegDecoder::Open(std::unique_ptr<J2kStream> stream, const J2kSettings& settings, XString& err) {
  settings_ = settings;
  source_ = std::move(stream);
  isSpent_ = !SetUp() || !ReadHeader();
  return isSpent_ ? Fail(err) : 1;
}

int OpenJpegDecoder::Decode(const J2kRect& area, std::vector<J2kPlane>& planes, XString& err) {
  if (isSpent_) return Fail(err);
  warning_ = {};
  const bool isDecoded =
      opj_set_decode_area(codec_.get(), image_.get(), static_cast<OPJ_INT32>(area.x0), static_cast<OPJ_INT32>(area.y0),
                          static_cast<OPJ_INT32>(area.x1), static_cast<OPJ_INT32>(area.y1)) &&
      opj_decode(codec_.get(), stream_.get(), image_.get());
  if (!isDecoded || source_->HasFailed() || (settings_.isStrict && warning_.isThere)) return Fail(err);
  isSpent_ = area == whole_ || !settings_.components.empty();
  TakePlanes(planes);
  return 1;
}

void OpenJpegDecoder::TakePlanes(std::vector<J2kPlane>& planes) const {
  planes.clear();
  for (OPJ_UINT32 i = 0; i < image_->numcomps; ++i) {
    const opj_image_comp_t& component = image_->comps[i];
    const int number = settings_.components.empty() ? static_cast<int>(i) : settings_.components[i];
    planes.push_back({number, RectOf(component), component.data});
  }
}

void OpenJpegDecoder::FreePlanes() {
  for (OPJ_UINT32 i = 0; image_ && i < image_->numcomps; ++i) {
    opj_image_data_free(image_->comps[i].data);
    image_->comps[i].data = nullptr;
  }
}

}  // namespace

std::unique_ptr<J2kDecoder> MakeOpenJpegDecoder() {
  return std::make_unique<OpenJpegDecoder>();
}

}  // namespace zrk
