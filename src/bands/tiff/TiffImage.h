#pragma once

#include "bands/tiff/TiffDecoder.h"
#include "tagXTiffDirectory.h"
#include "XReadPolicy.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace zrk {

class TiffImage;

/// An image of the same file that holds a level of its first one.
struct TiffReduced {
  int level = 0;
  std::shared_ptr<TiffImage> image;
};

/// The first image of an open TIFF file, shared by its bands. For many threads at once: each read takes a decoder out
/// of a pool, which grows to as many as there are readers at one time.
class TiffImage {
 public:
  /// Reads the tags and plans the reads by the policy. Returns null with the reason in `err`, or without a reason where
  /// the operator has been told.
  static std::shared_ptr<TiffImage> Open(const XString& path, XReadPolicy policy, XString& err);

  /// An image for exact reads of the directory that a handle on the file stands on. The name, the file and the messages
  /// are those of `file`. Returns null where it can't be read.
  static std::shared_ptr<TiffImage> OpenDirectory(TIFF* tiff, const TiffSource& file);

  /// The same image with the samples of a palette as they are stored. Returns null where the file can't be opened anew.
  std::shared_ptr<TiffImage> OpenIndices() const;

  /// A decoder for the time of a read.
  class Loan {
   public:
    explicit Loan(TiffImage& image) : image_(image), decoder_(image.Take()) {}
    ~Loan() { image_.Return(std::move(decoder_)); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    explicit operator bool() const { return decoder_ != nullptr; }
    TiffDecoder& operator*() const { return *decoder_; }
    TiffDecoder* operator->() const { return decoder_.get(); }

   private:
    TiffImage& image_;
    std::unique_ptr<TiffDecoder> decoder_;
  };

  const TiffSource& GetSource() const { return *source_; }
  const TiffLayout& GetLayout() const { return source_->layout; }
  /// Callers may hold its arrays, and none of them writes.
  TiffPalette& GetPalette() const { return source_->layout.palette; }
  /// The handle that the tags were read with.
  TIFF* GetHandle() const { return handle_->Get(); }
  /// Before anything is read.
  void SetNullSample(const std::optional<double>& nullSample) { source_->layout.nullSample = nullSample; }
  /// The reduced images that exact reads use, in the order of their levels. They are looked for at the first call.
  const std::vector<TiffReduced>& GetReducedImages();
  /// Why the file of reduced images beside this one is not used; empty where it is used, and without one.
  const XString& WhyNotBeside() {
    GetReducedImages();
    return whyNotBeside_;
  }
  /// The coarsest of these up to a level, or null.
  const TiffReduced* FindReduced(int level);
  /// The images behind the first one, up to `most` of them.
  std::vector<tagXTiffDirectory> ListDirectories(int most) const;
  /// Gives up the decoders that nobody uses.
  void FreeDecoders();

 private:
  bool Plan(TIFF* tiff, XReadPolicy policy, XString& err);
  std::unique_ptr<TiffDecoder> Take();
  void Return(std::unique_ptr<TiffDecoder> decoder);

  std::shared_ptr<TiffSource> source_ = std::make_shared<TiffSource>();
  std::unique_ptr<TiffHandle> handle_;
  std::once_flag isLookedFor_;
  std::vector<TiffReduced> reduced_;
  XString whyNotBeside_;
  std::atomic<bool> areReducedKnown_ = false;
  std::mutex mutex_;
  std::vector<std::unique_ptr<TiffDecoder>> decoders_;  // that are not lent, with room for all
  std::size_t numDecoders_ = 0;                         // lent or not
};

}  // namespace zrk
