#include "tiles/BlockEncoder.h"

namespace zrk {

void EncodeStrip(const BlockStrip& strip, std::uint8_t* blocks) {
  EncodeStripPlainly(strip, blocks);
}

}  // namespace zrk
