#include "activex/in_place_object.h"

#include <utility>

#include "activex/hosting.h"
#include "activex/identity.h"

namespace plexum::activex {

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

// The face has no keys of its own; all are the container's.
HRESULT InPlaceObject::TranslateAccelerator(LPMSG message) {
  return run_hosting([&] {
    const auto site = hosting_.site().as<IOleControlSite>();
    return site && message != nullptr ? site->TranslateAccelerator(message, 0) : S_FALSE;
  });
}

void InPlaceObject::activate(bool with_focus) {
  if (!is_active()) open_window();
  if (!is_active()) return;
  window_->show(true);
  if (hosting_.site().get() != nullptr) hosting_.site().get()->ShowObject();
  if (with_focus) activate_ui();
}

void InPlaceObject::hide() {
  deactivate_ui();
  if (window_) window_->show(false);
}

void InPlaceObject::open_window() {
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
    shown_ = hosting_.face_state();
    window_ = std::make_unique<FaceWindow>(parent, position, static_cast<Owner&>(*this));
    site_ = site;
    frame_ = frame;
    document_ = document;
  } catch (...) {
    site->OnInPlaceDeactivate();
    throw;
  }
  window_->run_timer(hosting_.site().user_mode());
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
  if (site) site->OnInPlaceDeactivate();
}

void InPlaceObject::activate_ui() {
  if (is_ui_active_ || hosting_.site().ui_dead()) return;
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
  window_->run_timer(hosting_.site().user_mode());
  shown_ = hosting_.face_state();
  window_->refresh();
}

void InPlaceObject::tick() noexcept {
  run_hosting([&] {
    object_.core().Timer1_Timer();
    if (!window_) return;
    const FaceState now = hosting_.face_state();
    const FaceState before = std::exchange(shown_, now);
    if (now.status == before.status && now.state == before.state) return;
    if (now.status != before.status) window_->set_caption(Label::kStatus, now.status);
    if (now.state != before.state) window_->set_caption(Label::kState, now.state);
    hosting_.view().changed();
  });
}

void InPlaceObject::activated() noexcept {
  run_hosting([&] {
    if (hosting_.site().user_mode() && is_active()) activate_ui();
  });
}

}  // namespace plexum::activex
