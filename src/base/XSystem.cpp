#include "XSystem.h"

#include "base/Disk.h"

#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/types.h>
#include <unistd.h>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

std::atomic<int> cryptoMethod = 0;
std::atomic<int> workerCount = 1;

XString FormatAddress(const sockaddr_ll& address) {
  XString text, octet;
  for (int i = 0; i < address.sll_halen; ++i) {
    octet.Format(i == 0 ? "%02X" : "-%02X", address.sll_addr[i]);
    text += octet;
  }
  return text;
}

}  // namespace

double XfnGetAvailablePhysicalMemoryInPercent() {
  std::ifstream file("/proc/meminfo");
  double total = 0.0, available = -1.0;
  std::string key, rest;
  for (double value; file >> key >> value && std::getline(file, rest);) {
    if (key == "MemTotal:") total = value;
    if (key == "MemAvailable:") available = value;
  }
  return total > 0.0 && available >= 0.0 ? 100.0 * available / total : 100.0;
}

XString XfnGetTempFileName(const XString& prefix) {
  const char* folder = std::getenv("TMPDIR");
  std::string name = std::string(folder && *folder ? folder : "/tmp") + "/" + prefix.AsStdString() + "XXXXXX";
  const int descriptor = ::mkstemp(name.data());
  if (descriptor < 0) return {};
  ::close(descriptor);
  return XString(name);
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
    const auto& address = *reinterpret_cast<const sockaddr_ll*>(each->ifa_addr);
    if (address.sll_halen == 0) continue;
    addresses.AddTail(FormatAddress(address));
    ++numFound;
  }
  ::freeifaddrs(interfaces);
  return numFound;
}

void XfnSetWorkerCount(int count) {
  workerCount = std::max(count, 1);
}
int XfnGetWorkerCount() {
  return workerCount;
}

int XfnCalcBlockHeight(long width, long height, long bytesPerSample, long wantedRows) {
  constexpr long kBlockBytes = 32L << 20;
  const long rowBytes = std::max(width, 1L) > kBlockBytes / std::max(bytesPerSample, 1L)
                            ? kBlockBytes
                            : std::max(width, 1L) * std::max(bytesPerSample, 1L);
  const long rows = std::min({wantedRows, height, kBlockBytes / rowBytes});
  return static_cast<int>(std::max(rows, 1L));
}
