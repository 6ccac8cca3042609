#pragma once

#include <map>

#include "activex/com_headers.h"

namespace plexum::activex {

// The container's site for the control, and what the container says of itself by its ambient
// properties. Without a site, and where the container has no answer, the usual holds.
//
// Each ambient property is asked for when it is first needed, and again after the container has
// said that it changed: containers built on .NET raise and catch an exception for each one that
// they don't have.
class ContainerSite {
 public:
  void set(IOleClientSite* site);
  [[nodiscard]] IOleClientSite* get() const noexcept { return site_.Get(); }

  // Another interface of the site; null where it has none.
  template <typename Interface>
  [[nodiscard]] ComPtr<Interface> as() const {
    ComPtr<Interface> result;
    if (site_) site_.As(&result);
    return result;
  }

  // The container says that an ambient property changed; DISPID_UNKNOWN: any of them.
  void ambient_changed(DISPID property);

  // Whether the form runs, rather than being designed.
  [[nodiscard]] bool user_mode() const;
  // Whether the user's input is to be ignored.
  [[nodiscard]] bool ui_dead() const;
  // Whether controls are drawn flat, rather than with a sunken edge.
  [[nodiscard]] bool is_flat() const;
  [[nodiscard]] COLORREF background() const;
  [[nodiscard]] COLORREF foreground() const;

  // The window that the site lies in; null where there is none.
  [[nodiscard]] HWND window() const;

 private:
  // An ambient property of that type; `otherwise` where the container has no answer.
  [[nodiscard]] ULONG ambient(DISPID property, VARTYPE type, ULONG otherwise) const;
  [[nodiscard]] ULONG ask(DISPID property, VARTYPE type, ULONG otherwise) const;

  ComPtr<IOleClientSite> site_;
  mutable std::map<DISPID, ULONG> ambients_;  // those that were asked for
};

}  // namespace plexum::activex
