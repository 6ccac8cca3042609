#include "activex/container_site.h"

namespace plexum::activex {
namespace {

// An OLE colour, which may mean one of the system's.
COLORREF color_of(long ole_color) {
  COLORREF color = 0;
  const auto value = static_cast<OLE_COLOR>(ole_color);
  return SUCCEEDED(OleTranslateColor(value, nullptr, &color)) ? color : GetSysColor(COLOR_BTNFACE);
}

constexpr long system_color(int index) {
  return static_cast<long>(0x80000000UL | static_cast<unsigned long>(index));
}

}  // namespace

bool ContainerSite::user_mode() const { return ambient(DISPID_AMBIENT_USERMODE, VT_BOOL, 1) != 0; }

bool ContainerSite::ui_dead() const { return ambient(DISPID_AMBIENT_UIDEAD, VT_BOOL, 0) != 0; }

bool ContainerSite::is_flat() const { return ambient(DISPID_AMBIENT_APPEARANCE, VT_I2, 1) == 0; }

COLORREF ContainerSite::background() const {
  return color_of(ambient(DISPID_AMBIENT_BACKCOLOR, VT_I4, system_color(COLOR_BTNFACE)));
}

COLORREF ContainerSite::foreground() const {
  return color_of(ambient(DISPID_AMBIENT_FORECOLOR, VT_I4, system_color(COLOR_BTNTEXT)));
}

HWND ContainerSite::window() const {
  HWND window = nullptr;
  const ComPtr<IOleInPlaceSite> in_place = as<IOleInPlaceSite>();
  if (in_place && SUCCEEDED(in_place->GetWindow(&window))) return window;
  const ComPtr<IOleWindow> plain = as<IOleWindow>();
  if (plain && SUCCEEDED(plain->GetWindow(&window))) return window;
  return nullptr;
}

long ContainerSite::ambient(DISPID id, VARTYPE type, long otherwise) const {
  const ComPtr<IDispatch> properties = as<IDispatch>();
  if (!properties) return otherwise;
  DISPPARAMS none{};
  OwnedVariant value;
  if (FAILED(properties->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                                &value.get(), nullptr, nullptr)) ||
      FAILED(VariantChangeType(&value.get(), &value.get(), 0, type))) {
    return otherwise;
  }
  switch (type) {
    case VT_BOOL:
      return value.get().boolVal != VARIANT_FALSE;
    case VT_I2:
      return value.get().iVal;
    default:
      return value.get().lVal;
  }
}

}  // namespace plexum::activex
