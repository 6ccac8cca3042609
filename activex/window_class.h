#pragma once

#include <string>

#include "activex/com_headers.h"

namespace plexum::activex {

// A window class of this module for as long as anyone owns one of these, so that none is left
// behind when the module is unloaded. Its name is unique to the module.
class FaceWindowClass {
 public:
  // ComError where the system refuses it.
  explicit FaceWindowClass(WNDPROC procedure);
  ~FaceWindowClass();
  FaceWindowClass(const FaceWindowClass&) = delete;
  FaceWindowClass& operator=(const FaceWindowClass&) = delete;

  [[nodiscard]] static const wchar_t* name();
};

}  // namespace plexum::activex
