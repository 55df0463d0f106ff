// The input is an HFA file. The first byte chooses the policy. A file of a few kilobytes can name blocks and records of
// gigabytes, for which GDAL asks for memory before it finds that the file ends. It touches none of that, but the
// address sanitizer notes each byte, which took most of the time of a run. So requests of more than some megabytes fail
// here.

#include "RasterFuzz.h"
#include "XFormatId.h"

/// Read by the address sanitizer before anything else; what stands in ASAN_OPTIONS counts more. The fuzzer itself asks
/// for 20 MB.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer gives the name
extern "C" const char* __asan_default_options() {
  return "max_allocation_size_mb=32:allocator_may_return_null=1";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadBehindPolicy(data, size, "/fuzz.img", kFormatHFA);
  return 0;
}
