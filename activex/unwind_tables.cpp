// In 32-bit code C++ exceptions are unwound by tables, which the compiler's start-up code
// registers. In a host that has loaded libgcc_s_dw2-1.dll it registers them with that DLL. The
// run-time library that is linked into this file doesn't look there, so the first exception would
// end the host. Therefore the tables are then registered with this file's own library as well.
#include <array>
#include <cstring>

#include "platform/windows/module.h"

extern "C" {
void __register_frame_info(const void* tables, void* object);
void* __deregister_frame_info(const void* tables);
}

namespace plexum::activex {
namespace {

// The section of this module that holds the tables, .eh_frame by a name of eight characters.
const void* tables_of_this_module() {
  const auto* const base = reinterpret_cast<const char*>(windows::this_module());
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const auto* const sections = reinterpret_cast<const IMAGE_SECTION_HEADER*>(
      reinterpret_cast<const char*>(&headers->OptionalHeader) +
      headers->FileHeader.SizeOfOptionalHeader);
  for (WORD i = 0; i < headers->FileHeader.NumberOfSections; ++i) {
    if (std::memcmp(sections[i].Name, ".eh_fram", sizeof sections[i].Name) == 0) {
      return base + sections[i].VirtualAddress;
    }
  }
  return nullptr;
}

class Registration {
 public:
  Registration() {
    if (GetModuleHandleW(L"libgcc_s_dw2-1.dll") == nullptr) return;
    tables_ = tables_of_this_module();
    if (tables_ != nullptr) __register_frame_info(tables_, object_.data());
  }
  ~Registration() {
    if (tables_ != nullptr) __deregister_frame_info(tables_);
  }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

 private:
  const void* tables_ = nullptr;
  std::array<void*, 8> object_{};  // the library's own record, of six words
};

const Registration registration;

}  // namespace
}  // namespace plexum::activex
