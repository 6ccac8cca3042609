#include "activex/container_site.h"

#include "activex/automation_value.h"

namespace plexum::activex {
namespace {

// An OLE colour, which may mean one of the system's.
COLORREF color_of(OLE_COLOR ole_color) {
  COLORREF color = 0;
  return SUCCEEDED(OleTranslateColor(ole_color, nullptr, &color)) ? color
                                                                  : GetSysColor(COLOR_BTNFACE);
}

constexpr OLE_COLOR system_color(int index) { return 0x80000000UL | static_cast<ULONG>(index); }

}  // namespace

void ContainerSite::set(IOleClientSite* site) {
  ComPtr<IOleClientSite> old(site);
  old.Swap(site_);  // released at the end, because its end may call in again
  ambients_.clear();
}

void ContainerSite::ambient_changed(DISPID property) {
  if (property == DISPID_UNKNOWN) {
    ambients_.clear();
  } else {
    ambients_.erase(property);
  }
}

bool ContainerSite::user_mode() const { return ambient(DISPID_AMBIENT_USERMODE, VT_BOOL, 1) != 0; }

bool ContainerSite::ui_dead() const { return ambient(DISPID_AMBIENT_UIDEAD, VT_BOOL, 0) != 0; }

bool ContainerSite::is_flat() const { return ambient(DISPID_AMBIENT_APPEARANCE, VT_I2, 1) == 0; }

COLORREF ContainerSite::background() const {
  return color_of(ambient(DISPID_AMBIENT_BACKCOLOR, VT_UI4, system_color(COLOR_BTNFACE)));
}

COLORREF ContainerSite::foreground() const {
  return color_of(ambient(DISPID_AMBIENT_FORECOLOR, VT_UI4, system_color(COLOR_BTNTEXT)));
}

HWND ContainerSite::window() const {
  HWND window = nullptr;
  const ComPtr<IOleInPlaceSite> in_place = as<IOleInPlaceSite>();
  if (in_place && SUCCEEDED(in_place->GetWindow(&window))) return window;
  const ComPtr<IOleWindow> plain = as<IOleWindow>();
  if (plain && SUCCEEDED(plain->GetWindow(&window))) return window;
  return nullptr;
}

ULONG ContainerSite::ambient(DISPID property, VARTYPE type, ULONG otherwise) const {
  const auto known = ambients_.find(property);
  if (known != ambients_.end()) return known->second;
  const ComPtr<IOleClientSite> asked = site_;
  const ULONG value = ask(property, type, otherwise);
  // The container may have taken its site back while it was asked.
  if (asked && asked == site_) ambients_[property] = value;
  return value;
}

ULONG ContainerSite::ask(DISPID property, VARTYPE type, ULONG otherwise) const {
  const ComPtr<IDispatch> properties = as<IDispatch>();
  if (!properties) return otherwise;
  DISPPARAMS none{};
  OwnedVariant value;
  if (FAILED(properties->Invoke(property, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                                &none, &value.get(), nullptr, nullptr))) {
    return otherwise;
  }
  // A colour comes signed or unsigned; those of the system have the highest bit set, which a
  // conversion from one to the other takes for an overflow.
  if (type == VT_UI4 && value.get().vt == VT_I4) return static_cast<ULONG>(value.get().lVal);
  if (FAILED(VariantChangeType(&value.get(), &value.get(), 0, type))) return otherwise;
  switch (type) {
    case VT_BOOL:
      return value.get().boolVal != VARIANT_FALSE ? 1 : 0;
    case VT_I2:
      return static_cast<ULONG>(value.get().iVal);
    default:
      return value.get().ulVal;
  }
}

}  // namespace plexum::activex
