#pragma once

#include "activex/automation_value.h"
#include "activex/com_headers.h"

namespace plexum::activex {

// The container's site for the control, and what the container says of itself by its ambient
// properties. Without a site, or where it says nothing, the usual holds.
class ContainerSite {
 public:
  void set(IOleClientSite* site) { site_ = site; }
  [[nodiscard]] IOleClientSite* get() const noexcept { return site_.Get(); }

  // Another interface of the site; null where it has none.
  template <typename Interface>
  [[nodiscard]] ComPtr<Interface> as() const {
    ComPtr<Interface> result;
    if (site_) site_.As(&result);
    return result;
  }

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
  [[nodiscard]] long ambient(DISPID id, VARTYPE type, long otherwise) const;

  ComPtr<IOleClientSite> site_;
};

}  // namespace plexum::activex
