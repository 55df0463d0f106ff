#pragma once

#include "base/PerThread.h"
#include "codec/J2kDecoder.h"
#include "codec/J2kReader.h"

#include <memory>
#include <span>
#include <vector>

namespace zrk {

/// A window of some components of a codestream at a level.
struct J2kRequest {
  int level = 0;
  /// By component: the samples that are wanted, on the component's grid at the level and within it. Empty for
  /// components that are not wanted.
  std::vector<J2kRect> rects;
  /// Whether tiles that are missing, cut short or damaged fail. Otherwise what is there of them is taken.
  bool isStrict = true;
  int numThreads = 1;  ///< with the calling one
};

/// Takes what is decoded of a window, a piece at a time. Pieces don't overlap, and several threads may bring some at
/// once. Nothing may be thrown.
class J2kSink {
 public:
  virtual ~J2kSink();
  /// The part of a plane that belongs to the window, which the plane covers.
  virtual void Take(const J2kPlane& plane, const J2kRect& part) = 0;
  /// A part of a component that the file lacks.
  virtual void Miss(int component, const J2kRect& part) = 0;
};

class J2kKeptTiles;

/// Reads windows of a codestream. Only the tiles that a window touches are read and decoded, and of these only what the
/// window and the level need. Any number of threads may read at once, each with decoders of its own. The last decoder
/// of a thread is kept for further windows of its tile. While callers grant memory for decoded blocks, tiles that are
/// asked for again are kept in it.
class J2kWindowReader {
 public:
  explicit J2kWindowReader(std::shared_ptr<J2kReader> reader);
  ~J2kWindowReader();
  J2kWindowReader(const J2kWindowReader&) = delete;
  J2kWindowReader& operator=(const J2kWindowReader&) = delete;

  J2kReader& GetReader() const { return *reader_; }
  /// Returns 1; or 0 with the reason in `err`, which stays empty where the word behind `cancel` ended the read.
  int Read(const J2kRequest& request, const int* cancel, J2kSink& sink, XString& err);
  /// Gives up what is kept for the calling thread.
  void Release() { kept_.Release(); }

 private:
  /// A decoder and what it has open.
  struct Session {
    int tile = -1;
    J2kSettings settings;
    std::unique_ptr<J2kDecoder> decoder;  // null for a tile that is missing
    J2kTileCoding coding;
    std::int64_t numBytes = 0;
  };
  /// Who reads a tile.
  struct Worker {
    Session& session;
    int numThreads = 1;  ///< of the decoder, with the calling one
    const int* cancel = nullptr;
  };
  /// A tile of a window.
  struct TileWork;

  TileWork PlanTile(const J2kRequest& request, int tile) const;
  int TakeTile(const J2kRequest& request, int tile, const Worker& worker, J2kSink& sink, XString& err);
  int ReadTile(const J2kRequest& request, int tile, const Worker& worker, J2kSink& sink, XString& err);
  int OpenSession(const J2kRequest& request, const TileWork& work, const Worker& worker, XString& err);
  bool MustHalve(const J2kRequest& request, const TileWork& work, const Session& session) const;
  int DecodeTile(const TileWork& work, const int* cancel, Session& session, J2kSink& sink, XString& err);
  int DecodePiece(const TileWork& work, const J2kRect& area, Session& session, J2kSink& sink, XString& err);

  std::shared_ptr<J2kReader> reader_;
  std::unique_ptr<J2kKeptTiles> tiles_;
  PerThread<Session> kept_;
};

}  // namespace zrk
