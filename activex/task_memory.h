#pragma once

#include <cstddef>
#include <cwchar>
#include <string_view>

#include "activex/com_error.h"

namespace plexum::activex {

// Memory for a caller who frees it by CoTaskMemFree.
inline void* task_memory(std::size_t size) {
  void* memory = CoTaskMemAlloc(size);
  if (memory == nullptr) throw ComError(E_OUTOFMEMORY);
  return memory;
}

inline LPOLESTR task_text(std::wstring_view text) {
  auto* copy = static_cast<wchar_t*>(task_memory((text.size() + 1) * sizeof(wchar_t)));
  std::wmemcpy(copy, text.data(), text.size());
  copy[text.size()] = L'\0';
  return copy;
}

}  // namespace plexum::activex
