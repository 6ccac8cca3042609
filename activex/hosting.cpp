#include "activex/hosting.h"

#include "platform/windows/code_page.h"

namespace plexum::activex {
namespace {

// 0.01 mm of a length in pixels of 96 to an inch.
constexpr LONG himetric(int pixels) { return static_cast<LONG>(pixels) * 2540 / 96; }

}  // namespace

Hosting::Hosting(LinkObject& object)
    : object_(object),
      extent_{himetric(Face::kNaturalWidth), himetric(Face::kNaturalHeight)},
      persistence_(object, *this),
      connection_points_(object, *this),
      view_(object, *this),
      in_place_(object, *this),
      ole_(object, *this) {}

// What stands here is all that a container gets. Left out on purpose: the windowless interfaces
// (the labels' windows are how assistive tools read the status) and IObjectSafety (a web page must
// never get at a PLC).
void* Hosting::find_interface(REFIID iid) noexcept {
  if (iid == __uuidof(IOleObject)) return static_cast<IOleObject*>(&ole_);
  if (iid == __uuidof(IOleControl)) return static_cast<IOleControl*>(&ole_);
  if (iid == __uuidof(IQuickActivate)) return static_cast<IQuickActivate*>(&ole_);
  if (iid == __uuidof(ISpecifyPropertyPages)) return static_cast<ISpecifyPropertyPages*>(&ole_);
  if (iid == __uuidof(IOleWindow) || iid == __uuidof(IOleInPlaceObject)) {
    return static_cast<IOleInPlaceObject*>(&in_place_);
  }
  if (iid == __uuidof(IOleInPlaceActiveObject)) {
    return static_cast<IOleInPlaceActiveObject*>(&in_place_);
  }
  if (iid == __uuidof(IViewObject) || iid == __uuidof(IViewObject2)) {
    return static_cast<IViewObject2*>(&view_);
  }
  if (iid == __uuidof(IDataObject)) return static_cast<IDataObject*>(&view_);
  if (iid == __uuidof(IPersist) || iid == __uuidof(IPersistStreamInit)) {
    return static_cast<IPersistStreamInit*>(&persistence_);
  }
  if (iid == __uuidof(IPersistPropertyBag)) return static_cast<IPersistPropertyBag*>(&persistence_);
  if (iid == __uuidof(IPersistStorage)) return static_cast<IPersistStorage*>(&persistence_);
  if (iid == __uuidof(IConnectionPointContainer)) {
    return static_cast<IConnectionPointContainer*>(&connection_points_);
  }
  return nullptr;
}

void Hosting::notify_change(const std::string& property) {
  persistence_.mark_dirty();
  connection_points_.notify_change(object_.id_of(property));
}

HWND Hosting::window() const {
  return in_place_.window() != nullptr ? in_place_.window() : site_.window();
}

void Hosting::set_site(IOleClientSite* site) {
  if (site == nullptr) in_place_.deactivate();
  site_.set(site);
}

void Hosting::set_extent(const SIZEL& extent) {
  if (extent.cx < 0 || extent.cy < 0) throw ComError(E_INVALIDARG);
  if (extent.cx == extent_.cx && extent.cy == extent_.cy) return;
  extent_ = extent;
  view_.changed();
}

FaceState Hosting::face_state() const {
  const PlexumLink& core = object_.core();
  return {windows::utf16_from_utf8(core.StatusLabel()), windows::utf16_from_utf8(core.StateLabel()),
          site_.background(), site_.foreground(), site_.is_flat()};
}

}  // namespace plexum::activex
