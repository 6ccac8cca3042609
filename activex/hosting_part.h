#pragma once

#include <type_traits>

#include "activex/com_error.h"
#include "activex/link_object.h"

namespace plexum::activex {

class Hosting;

// A part of the control's object that implements some of the hosting interfaces. The part has no
// identity of its own: QueryInterface and the reference count are the whole object's.
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

  // Runs the body of an entry point that calls the container; the body returns nothing, or its
  // HRESULT. See link_object.h.
  template <typename Body>
  HRESULT run_hosting(Body&& body) noexcept {
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

// Throws E_POINTER for a null pointer.
template <typename Pointer>
Pointer needed(Pointer pointer) {
  if (pointer == nullptr) throw ComError(E_POINTER);
  return pointer;
}

}  // namespace plexum::activex
