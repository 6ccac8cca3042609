#pragma once

#include <string>

#include "activex/connection_points.h"
#include "activex/container_site.h"
#include "activex/in_place_object.h"
#include "activex/ole_object.h"
#include "activex/persistence.h"
#include "activex/view_object.h"

namespace plexum::activex {

// The interfaces by which a container shows the control, saves it and asks about it. Each group of
// them is a part; what the parts share is here.
class Hosting {
 public:
  // The object must outlive it.
  explicit Hosting(LinkObject& object);
  ~Hosting() = default;
  Hosting(const Hosting&) = delete;
  Hosting& operator=(const Hosting&) = delete;

  // The interface without a reference added; null where the control has no such interface.
  [[nodiscard]] void* find_interface(REFIID iid) noexcept;

  // A property has a new value.
  void notify_change(const std::string& property);
  // The window that message boxes belong to; null where there is none.
  [[nodiscard]] HWND window() const;

  [[nodiscard]] const ContainerSite& site() const noexcept { return site_; }
  // Null takes the site away, and deactivates the control first.
  void set_site(IOleClientSite* site);

  void ambient_changed(DISPID property) { site_.ambient_changed(property); }

  // The size that the container gives the control, in 0.01 mm. A new one isn't a change that has to
  // be saved: containers round it, and would ask to save at every close.
  [[nodiscard]] const SIZEL& extent() const noexcept { return extent_; }
  void set_extent(const SIZEL& extent);

  // What the face shows now, in the colours that the container wishes.
  [[nodiscard]] FaceState face_state() const;

  [[nodiscard]] Persistence& persistence() noexcept { return persistence_; }
  [[nodiscard]] ConnectionPoints& connection_points() noexcept { return connection_points_; }
  [[nodiscard]] ViewObject& view() noexcept { return view_; }
  [[nodiscard]] InPlaceObject& in_place() noexcept { return in_place_; }

 private:
  LinkObject& object_;
  ContainerSite site_;
  SIZEL extent_;

  Persistence persistence_;
  ConnectionPoints connection_points_;
  ViewObject view_;
  InPlaceObject in_place_;
  OleObject ole_;
};

}  // namespace plexum::activex
