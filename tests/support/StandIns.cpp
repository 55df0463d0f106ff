#include "StandIns.h"

#include "XCodecFolder.h"

#include <dlfcn.h>
#include <gdal_priv.h>
#include <stdexcept>

namespace {

template <class Function>
Function* FunctionOf(const std::string& path, const char* name) {
  void* const library = ::dlopen(path.c_str(), RTLD_NOW);
  void* const found = library ? ::dlsym(library, name) : nullptr;
  if (!found) throw std::runtime_error("no stand-in " + path);
  return reinterpret_cast<Function*>(found);
}

}  // namespace

std::string StandInFolder(const std::string& kind) {
  return ZRK_STAND_INS "/" + kind;
}

int CountOfStandIn(const std::string& library, const std::string& name) {
  return FunctionOf<int(const char*)>(StandInFolder("whole") + "/" + library, "ZrkStandInCount")(name.c_str());
}

ScopedCodecFolder::ScopedCodecFolder(const std::string& folder) : before_(XfnGetCodecFolder()) {
  XfnSetCodecFolder(folder);
}

ScopedCodecFolder::~ScopedCodecFolder() {
  XfnSetCodecFolder(before_);
}

ScopedStandInDriver::ScopedStandInDriver(const std::string& name) : name_(name) {
  FunctionOf<void()>(StandInFolder("gdal") + "/gdal_" + name + ".so", "GDALRegisterMe")();
}

ScopedStandInDriver::~ScopedStandInDriver() {
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(name_.c_str());
  GetGDALDriverManager()->DeregisterDriver(driver);
  delete driver;
}
