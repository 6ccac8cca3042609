#pragma once

#include <type_traits>

#include "activex/com_error.h"
#include "activex/link_object.h"

namespace plexum::activex {

class Hosting;

// Some of the interfaces of a visible control, as a part of its object: whoever asks the part for
// another interface, or counts references, deals with the whole object.
template <typename... Interfaces>
class HostingPart : public Interfaces... {
 public:
  HostingPart(LinkObject& object, Hosting& hosting) : object_(object), hosting_(hosting) {}
  HostingPart(const HostingPart&) = delete;
  HostingPart& operator=(const HostingPart&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) final {
    return object_.QueryInterface(iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() final { return object_.AddRef(); }
  ULONG STDMETHODCALLTYPE Release() final { return object_.Release(); }

 protected:
  ~HostingPart() = default;

  // Runs the body of an entry point; it returns nothing, or its HRESULT. The container may release
  // the object meanwhile. Nothing here computes with floating point, so the processor's state stays
  // the host's throughout.
  template <typename Body>
  HRESULT run(Body&& body) noexcept {
    const LinkObject::Reference reference(object_);
    HRESULT result = S_OK;
    const HRESULT failure = guarded([&] {
      if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
        body();
      } else {
        result = body();
      }
    });
    return FAILED(failure) ? failure : result;
  }

  LinkObject& object_;
  Hosting& hosting_;
};

// Throws E_POINTER for a place that a caller has to give and didn't.
template <typename Pointer>
Pointer needed(Pointer pointer) {
  if (pointer == nullptr) throw ComError(E_POINTER);
  return pointer;
}

}  // namespace plexum::activex
