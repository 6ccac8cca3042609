#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <utility>
#include <vector>

#include "activex/com_error.h"
#include "activex/com_headers.h"
#include "activex/module.h"

namespace plexum::activex {

// How an enumeration hands out an item that the caller is to own.
template <typename Item>
void hand_out(const Item& item, Item* place) {
  *place = item;
}
inline void hand_out(const ComPtr<IConnectionPoint>& item, IConnectionPoint** place) {
  item.CopyTo(place);
}
inline void hand_out(const std::pair<DWORD, ComPtr<IUnknown>>& item, CONNECTDATA* place) {
  place->dwCookie = item.first;
  item.second.CopyTo(&place->pUnk);
}

// A COM enumeration (IEnum...) over a list of its own: `Given` is what callers get, `Item` what the
// list holds.
template <typename Interface, typename Given, typename Item>
class Enumeration final : public Interface {
 public:
  static void create(std::vector<Item> items, Interface** result) {
    *result = new Enumeration(std::move(items), 0);
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != __uuidof(IUnknown) && iid != __uuidof(Interface)) return E_NOINTERFACE;
    *object = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  HRESULT STDMETHODCALLTYPE Next(ULONG count, Given* given, ULONG* fetched) override {
    if (given == nullptr || (fetched == nullptr && count != 1)) return E_POINTER;
    const std::size_t taken = std::min<std::size_t>(count, items_.size() - next_);
    for (std::size_t i = 0; i < taken; ++i) hand_out(items_[next_ + i], given + i);
    next_ += taken;
    if (fetched != nullptr) *fetched = static_cast<ULONG>(taken);
    return taken == count ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
    const std::size_t skipped = std::min<std::size_t>(count, items_.size() - next_);
    next_ += skipped;
    return skipped == count ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Reset() override {
    next_ = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(Interface** copy) override {
    if (copy == nullptr) return E_POINTER;
    *copy = nullptr;
    return guarded([&] { *copy = new Enumeration(items_, next_); });
  }

 private:
  Enumeration(std::vector<Item> items, std::size_t next) : items_(std::move(items)), next_(next) {}
  ~Enumeration() = default;

  const ModuleLock module_lock_;
  std::atomic<ULONG> references_{1};
  const std::vector<Item> items_;
  std::size_t next_;
};

}  // namespace plexum::activex
