#pragma once

#include "codec/J2kWindowReader.h"
#include "tagXArr2.h"

#include <vector>

namespace zrk {

/// How the samples of a component become those of a channel.
struct Jp2SampleForm {
  int depth = 8;  ///< in bits
  bool isSigned = false;
  friend bool operator==(const Jp2SampleForm&, const Jp2SampleForm&) = default;
};

/// One channel of a window: where its samples come from and where they go.
struct Jp2Target {
  int component = 0;
  J2kRect rect;          ///< of the component's samples, at the level
  Jp2SampleForm stored;  ///< of the component
  Jp2SampleForm wanted;  ///< of the channel
  tagXArr2* result = nullptr;
};

/// Takes the planes of a window into results of one or two bytes a sample.
class Jp2Sink final : public J2kSink {
 public:
  explicit Jp2Sink(std::vector<Jp2Target> targets) : targets_(std::move(targets)) {}
  void Take(const J2kPlane& plane, const J2kRect& part) override;
  void Miss(int component, const J2kRect& part) override;

 private:
  std::vector<Jp2Target> targets_;  // by component; those without a result are not wanted
};

/// Which sample of a smaller component lies under each of `count` samples, of which the first is number `first` on the
/// grid of a component with a sample at every `distance`-th place. The smaller one has samples at every
/// `otherDistance`-th, from `from` up to `end`.
std::vector<int> MapSamples(std::int64_t first, int count, int distance, int otherDistance, std::int64_t from,
                            std::int64_t end);

/// Fills a result from a smaller one: its columns and rows are those of the lists.
void RepeatSamples(const tagXArr2& source, const std::vector<int>& columns, const std::vector<int>& rows,
                   tagXArr2& result);

}  // namespace zrk
