#include "XCodecFolder.h"

#include <stdlib.h>
#include <mutex>
#include <optional>

namespace {

struct NamedFolder {
  std::mutex mutex;
  std::optional<XString> folder;
};

NamedFolder& TheNamedFolder() {
  static NamedFolder named;
  return named;
}

}  // namespace

void XfnSetCodecFolder(const XString& folder) {
  NamedFolder& named = TheNamedFolder();
  const std::lock_guard lock(named.mutex);
  named.folder = folder;
}

XString XfnGetCodecFolder() {
  NamedFolder& named = TheNamedFolder();
  const std::lock_guard lock(named.mutex);
  return named.folder ? *named.folder : XString(::secure_getenv("ZRK_CODEC_FOLDER"));
}
