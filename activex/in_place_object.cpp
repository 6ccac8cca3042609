#include "activex/in_place_object.h"

#include <utility>

#include "activex/hosting.h"
#include "activex/identity.h"
#include "platform/windows/code_page.h"

namespace plexum::activex {
namespace {

// The KEYMOD_ bits of IOleControlSite::TranslateAccelerator.
DWORD pressed_modifiers() {
  constexpr DWORD kShift = 1;
  constexpr DWORD kControl = 2;
  constexpr DWORD kAlt = 4;
  DWORD modifiers = 0;
  if (GetKeyState(VK_SHIFT) < 0) modifiers |= kShift;
  if (GetKeyState(VK_CONTROL) < 0) modifiers |= kControl;
  if (GetKeyState(VK_MENU) < 0) modifiers |= kAlt;
  return modifiers;
}

}  // namespace

HRESULT InPlaceObject::GetWindow(HWND* window) {
  if (window == nullptr) return E_POINTER;
  *window = this->window();
  return *window == nullptr ? E_FAIL : S_OK;
}

HRESULT InPlaceObject::InPlaceDeactivate() {
  return run_hosting([&] { deactivate(); });
}

HRESULT InPlaceObject::UIDeactivate() {
  return run_hosting([&] { deactivate_ui(); });
}

HRESULT InPlaceObject::SetObjectRects(LPCRECT position, LPCRECT clip) {
  return run_hosting([&] {
    const RECT& bounds = *needed(position);
    if (window_) window_->move(bounds, clip == nullptr ? bounds : *clip);
  });
}

// The face has no keys of its own; all are the container's, which goes by the modifiers that it is
// told: Shift and Tab go to the control before this one.
HRESULT InPlaceObject::TranslateAccelerator(LPMSG message) {
  return run_hosting([&] {
    const auto site = hosting_.site().as<IOleControlSite>();
    return site && message != nullptr ? site->TranslateAccelerator(message, pressed_modifiers())
                                      : S_FALSE;
  });
}

void InPlaceObject::activate(bool with_focus) {
  if (!is_active()) open_window();
  if (!is_active()) return;
  window_->show(true);
  const ComPtr<IOleClientSite> site(hosting_.site().get());
  if (site) site->ShowObject();
  if (with_focus) activate_ui();
}

void InPlaceObject::hide() {
  deactivate_ui();
  if (window_) window_->show(false);
}

void InPlaceObject::open_window() {
  const ComPtr<IOleClientSite> client(hosting_.site().get());
  const auto site = hosting_.site().as<IOleInPlaceSite>();
  if (!site) throw ComError(E_UNEXPECTED);
  if (site->CanInPlaceActivate() != S_OK) throw ComError(E_FAIL);
  check(site->OnInPlaceActivate());
  try {
    HWND parent = nullptr;
    check(site->GetWindow(&parent));
    RECT position{};
    RECT clip{};
    OLEINPLACEFRAMEINFO information{};
    information.cb = sizeof information;
    ComPtr<IOleInPlaceFrame> frame;
    ComPtr<IOleInPlaceUIWindow> document;
    check(site->GetWindowContext(&frame, &document, &position, &clip, &information));
    show_present_state();
    // Each of these calls may have closed the control, or activated it from inside.
    if (hosting_.site().get() != client.Get()) throw ComError(E_UNEXPECTED);
    if (window_) return;
    window_ = std::make_unique<FaceWindow>(parent, position, static_cast<Owner&>(*this));
    site_ = site;
    frame_ = frame;
    document_ = document;
  } catch (...) {
    site->OnInPlaceDeactivate();
    throw;
  }
  const bool is_running = hosting_.site().user_mode();
  if (window_) window_->run_timer(is_running);
}

void InPlaceObject::deactivate() {
  deactivate_ui();
  if (!is_active()) return;
  // All is left behind before the container hears of it, because it may call in again.
  window_.reset();
  frame_.Reset();
  document_.Reset();
  ComPtr<IOleInPlaceSite> site;
  site.Swap(site_);
  tell_focus(false);
  if (site) site->OnInPlaceDeactivate();
}

void InPlaceObject::activate_ui() {
  if (is_ui_active_ || hosting_.site().ui_dead() || !is_active()) return;
  is_ui_active_ = true;
  const ComPtr<IOleInPlaceSite> site = site_;
  const HRESULT accepted = site->OnUIActivate();
  if (FAILED(accepted)) {
    is_ui_active_ = false;
    throw ComError(accepted);
  }
  if (!is_active()) return;
  const HWND focus = GetFocus();
  if (focus != window() && !IsChild(window(), focus)) SetFocus(window());
  const ComPtr<IOleInPlaceFrame> frame = frame_;
  const ComPtr<IOleInPlaceUIWindow> document = document_;
  if (frame) {
    frame->SetActiveObject(this, kDescription);
    frame->SetBorderSpace(nullptr);
  }
  if (document) {
    document->SetActiveObject(this, kDescription);
    document->SetBorderSpace(nullptr);
  }
}

void InPlaceObject::deactivate_ui() {
  if (!is_ui_active_) return;
  is_ui_active_ = false;
  const ComPtr<IOleInPlaceSite> site = site_;
  const ComPtr<IOleInPlaceFrame> frame = frame_;
  const ComPtr<IOleInPlaceUIWindow> document = document_;
  if (document) document->SetActiveObject(nullptr, nullptr);
  if (frame) frame->SetActiveObject(nullptr, nullptr);
  if (site) site->OnUIDeactivate(FALSE);
}

void InPlaceObject::ambient_changed() {
  if (!window_) return;
  const bool is_running = hosting_.site().user_mode();
  if (!window_) return;  // the container closed the control while it was asked
  window_->run_timer(is_running);
  show_present_state();
  if (window_) window_->refresh();
}

void InPlaceObject::enable_modeless(bool enabled) noexcept {
  const ComPtr<IOleInPlaceFrame> frame = frame_;
  if (frame) frame->EnableModeless(enabled ? TRUE : FALSE);
}

void InPlaceObject::show_present_state() {
  state_caption_ = object_.core().StateLabel();
  shown_ = hosting_.face_state();
}

void InPlaceObject::refresh_state_label() {
  if (!is_state_label_old()) return;
  state_caption_ = object_.core().StateLabel();
  shown_.state = windows::utf16_from_utf8(state_caption_);
  is_untold_ = true;
  window_->set_caption(Label::kState, shown_.state);
}

void InPlaceObject::tick() noexcept {
  run_hosting([&] {
    object_.core().Timer1_Timer();
    if (!window_) return;
    refresh_state_label();
    const std::wstring status = hosting_.face_state().status;
    if (!window_ || (status == shown_.status && !is_untold_)) return;
    shown_.status = status;
    is_untold_ = false;
    window_->set_caption(Label::kStatus, status);
    hosting_.view().changed();
  });
}

void InPlaceObject::focus_changed(bool has_focus) noexcept {
  run_hosting([&] {
    tell_focus(has_focus);
    if (has_focus) activate_ui_by_user();
  });
}

void InPlaceObject::clicked() noexcept {
  run_hosting([&] { activate_ui_by_user(); });
}

void InPlaceObject::tell_focus(bool has_focus) {
  if (has_focus_ == has_focus) return;
  has_focus_ = has_focus;
  const auto site = hosting_.site().as<IOleControlSite>();
  if (site) site->OnFocus(has_focus ? TRUE : FALSE);
}

void InPlaceObject::activate_ui_by_user() {
  if (hosting_.site().user_mode() && is_active()) activate_ui();
}

}  // namespace plexum::activex
