#pragma once

#include <memory>

#include "activex/face_window.h"
#include "activex/hosting_part.h"

namespace plexum::activex {

// The control as an active part of a form: its window, from the container's first "show" on.
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

 private:
  void open_window();
  void activate_ui();
  void deactivate_ui();

  // FaceWindow::Owner
  [[nodiscard]] FaceState face_state() override { return shown_; }
  void tick() noexcept override;
  void activated() noexcept override;

  // While the window exists.
  std::unique_ptr<FaceWindow> window_;
  FaceState shown_;  // what the window shows
  ComPtr<IOleInPlaceSite> site_;
  ComPtr<IOleInPlaceFrame> frame_;
  ComPtr<IOleInPlaceUIWindow> document_;  // null where the frame is the document's window
  bool is_ui_active_ = false;
};

}  // namespace plexum::activex
