#pragma once

#include <memory>

#include "activex/face_window.h"
#include "activex/hosting_part.h"

namespace plexum::activex {

// The control while it is active on a form: its window, its focus, and what the container's frame
// knows of it.
class InPlaceObject final : public HostingPart<IOleInPlaceObject, IOleInPlaceActiveObject>,
                            private FaceWindow::Owner {
 public:
  using HostingPart::HostingPart;
  ~InPlaceObject() = default;

  // IOleWindow
  HRESULT STDMETHODCALLTYPE GetWindow(HWND* window) override;
  HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }

  // IOleInPlaceObject
  HRESULT STDMETHODCALLTYPE InPlaceDeactivate() override;
  HRESULT STDMETHODCALLTYPE UIDeactivate() override;
  HRESULT STDMETHODCALLTYPE SetObjectRects(LPCRECT position, LPCRECT clip) override;
  HRESULT STDMETHODCALLTYPE ReactivateAndUndo() override { return INPLACE_E_NOTUNDOABLE; }

  // IOleInPlaceActiveObject
  HRESULT STDMETHODCALLTYPE TranslateAccelerator(LPMSG message) override;
  HRESULT STDMETHODCALLTYPE OnFrameWindowActivate(BOOL) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnDocWindowActivate(BOOL) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE ResizeBorder(LPCRECT, IOleInPlaceUIWindow*, BOOL) override {
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE EnableModeless(BOOL) override { return S_OK; }

  [[nodiscard]] bool is_active() const noexcept { return window_ != nullptr; }
  [[nodiscard]] HWND window() const noexcept { return window_ ? window_->handle() : nullptr; }

  // Shows the window, in the site that the container has for it. `with_focus`: and makes it the
  // active one of the form. ComError where the container refuses.
  void activate(bool with_focus);
  void hide();
  void deactivate();

  // Something that the container says of itself has changed.
  void ambient_changed();

  // Tells the container's frame that a modal box comes or goes.
  void enable_modeless(bool enabled) noexcept;

  // Gives the state label the core's present caption. Only the window's text changes at once; the
  // container hears of it at the next tick, because this runs in the middle of a job.
  void refresh_state_label();
  [[nodiscard]] bool is_state_label_old() const noexcept {
    return window_ && state_caption_ != object_.core().StateLabel();
  }

 private:
  void open_window();
  void tell_focus(bool has_focus);
  void show_present_state();
  void activate_ui();
  void activate_ui_by_user();
  void deactivate_ui();

  // FaceWindow::Owner
  [[nodiscard]] FaceState face_state() override { return shown_; }
  void tick() noexcept override;
  void clicked() noexcept override;
  void focus_changed(bool has_focus) noexcept override;

  // While the window exists.
  std::unique_ptr<FaceWindow> window_;
  FaceState shown_;            // what the window shows
  std::string state_caption_;  // shown_.state, as the core has it
  bool is_untold_ = false;     // the window shows what the container hasn't been told of
  ComPtr<IOleInPlaceSite> site_;
  ComPtr<IOleInPlaceFrame> frame_;
  ComPtr<IOleInPlaceUIWindow> document_;  // null where the frame is the document's window
  bool is_ui_active_ = false;
  bool has_focus_ = false;
};

}  // namespace plexum::activex
