#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "activex/com_headers.h"
#include "activex/module.h"

namespace plexum::activex {

// The page of a designer's property dialog that shows and changes the four properties, of several
// controls at once if several are selected.
class PropertyPage final : public IPropertyPage {
 public:
  static HRESULT create(REFIID iid, void** object) noexcept;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  HRESULT STDMETHODCALLTYPE SetPageSite(IPropertyPageSite* site) override;
  HRESULT STDMETHODCALLTYPE Activate(HWND parent, LPCRECT position, WINBOOL modal) override;
  HRESULT STDMETHODCALLTYPE Deactivate() override;
  HRESULT STDMETHODCALLTYPE GetPageInfo(PROPPAGEINFO* information) override;
  HRESULT STDMETHODCALLTYPE SetObjects(ULONG count, IUnknown** objects) override;
  HRESULT STDMETHODCALLTYPE Show(UINT command) override;
  HRESULT STDMETHODCALLTYPE Move(LPCRECT position) override;
  HRESULT STDMETHODCALLTYPE IsPageDirty() override;
  HRESULT STDMETHODCALLTYPE Apply() override;
  HRESULT STDMETHODCALLTYPE Help(LPCOLESTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG* message) override;

 private:
  // The fields of the dialog, in its order.
  enum Field : std::size_t { kAddress, kCalling, kCalled, kTime, kFieldCount };

  // What the user has changed since it was last applied.
  struct Edits {
    std::array<std::optional<std::wstring>, kFieldCount> texts;
    std::optional<LONG> time;
  };

  PropertyPage() = default;
  ~PropertyPage();

  static INT_PTR CALLBACK dialog_procedure(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam);
  // Shows the properties of the first control.
  void show_properties();
  [[nodiscard]] std::wstring text_in(Field field) const;
  Edits take_edits();
  static void apply(const Edits& edits, _PlexumLink& link);
  void edited(int control);

  const ModuleLock module_lock_;
  std::atomic<ULONG> references_{1};
  ComPtr<IPropertyPageSite> site_;
  std::vector<ComPtr<_PlexumLink>> links_;
  HWND dialog_ = nullptr;
  bool is_filling_ = false;  // by the page itself, not by the user
  std::array<bool, kFieldCount> is_edited_{};
};

}  // namespace plexum::activex
