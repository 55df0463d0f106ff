// What the library asks of the machine, and the settings that hold for the whole process. The questions are answered
// anew at each call, because memory, room and interfaces change. Where memory or room can't be told the reply is the
// one that stops nobody: all memory is free, and the disk has room. Settings are atomic and may be changed from any
// thread; an operation that is under way may or may not notice.

#include "XSystem.h"

#include "base/Disk.h"
#include "base/RowReader.h"
#include "XFile.h"

#include <fcntl.h>
#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/types.h>
#include <unistd.h>
#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace {

std::atomic<int> cryptoMethod = 0;
std::atomic<int> workerCount = 1;

constexpr int kMacBytes = 6;

/// The usual form of an address: six octets in capitals, with dashes between them.
XString FormatAddress(const sockaddr_ll& address) {
  XString text;
  const unsigned char* octets = address.sll_addr;
  text.Format("%02X-%02X-%02X-%02X-%02X-%02X", octets[0], octets[1], octets[2], octets[3], octets[4], octets[5]);
  return text;
}

/// The number behind a key in the kernel's table of memory, which has a line "Key: number kB" for each figure. The unit
/// does not matter, since the figures are only divided by each other.
std::optional<double> FindMemoryFigure(std::string_view table, std::string_view key) {
  const std::size_t hit = table.find(key);
  if (hit == std::string_view::npos) return std::nullopt;
  const std::string_view text = table.substr(std::min(table.find_first_not_of(" :\t", hit + key.size()), table.size()));
  double figure = 0.0;
  if (std::from_chars(text.data(), text.data() + text.size(), figure).ec != std::errc()) return std::nullopt;
  return figure;
}

}  // namespace

double XfnGetAvailablePhysicalMemoryInPercent() {
  XFile file;
  if (!file.Open("/proc/meminfo", XFile::kRead)) return 100.0;
  // The two lines stand at the top of the table, so that its beginning is enough.
  char text[4096];
  const std::string_view table(text, static_cast<std::size_t>(file.Read(text, sizeof(text))));
  const std::optional<double> total = FindMemoryFigure(table, "MemTotal:");
  const std::optional<double> available = FindMemoryFigure(table, "MemAvailable:");
  return total && available && *total > 0.0 ? 100.0 * *available / *total : 100.0;
}

/// A disk that can't count its room must not forbid a save, which may well succeed.
int XfnIsDiskSpaceEnough(const XString& path, std::int64_t bytes) {
  std::int64_t freeBytes = 0;
  return zrk::CurrentDisk().CountFreeBytes(path.AsStdString(), freeBytes) != 0 || bytes <= freeBytes;
}

/// The file is created together with its name, so that no other process gets the same one.
XString XfnGetTempFileName(const XString& prefix) {
  const char* folder = std::getenv("TMPDIR");
  std::string name = std::string(folder && *folder ? folder : "/tmp") + "/" + prefix.AsStdString() + "XXXXXX";
  const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) return {};
  ::close(descriptor);
  return XString(std::move(name));
}

int XfnGetCryptoMethod() {
  return cryptoMethod;
}
void XfnSetCryptoMethod(int method) {
  cryptoMethod = method;
}

int XfnGetMacAddress(XStringList& addresses) {
  ifaddrs* interfaces = nullptr;
  if (::getifaddrs(&interfaces) != 0) return 0;
  int numFound = 0;
  for (const ifaddrs* each = interfaces; each; each = each->ifa_next) {
    if (!each->ifa_addr || each->ifa_addr->sa_family != AF_PACKET || (each->ifa_flags & IFF_LOOPBACK)) continue;
    // The family was looked at before, and says that the record is of this kind.
    const auto& address = *reinterpret_cast<const sockaddr_ll*>(each->ifa_addr);
    // Tunnels and some fabrics have addresses of other lengths. These name no machine in this form.
    if (address.sll_halen != kMacBytes) continue;
    addresses.AddTail(FormatAddress(address));
    ++numFound;
  }
  ::freeifaddrs(interfaces);
  return numFound;
}

void XfnSetMappedReads(bool areMapped) {
  zrk::SetMappedReads(areMapped);
}

bool XfnAreReadsMapped() {
  return zrk::AreReadsMapped();
}

void XfnSetWorkerCount(int count) {
  workerCount = std::max(count, 1);
}
int XfnGetWorkerCount() {
  return workerCount;
}

/// A block has 2 MB at most, unless one row alone is longer. A row is cut to that size before it is multiplied, since
/// the numbers may be large; such a block has one row.
int XfnCalcBlockHeight(long width, long height, long bytesPerSample, long wantedRows) {
  constexpr long kBlockBytes = 2L << 20;
  const long rowBytes = std::max(width, 1L) > kBlockBytes / std::max(bytesPerSample, 1L)
                            ? kBlockBytes
                            : std::max(width, 1L) * std::max(bytesPerSample, 1L);
  const long rows = std::min({wantedRows, height, kBlockBytes / rowBytes});
  return static_cast<int>(std::max(rows, 1L));
}
