#include "activex/face_window.h"

#include "activex/com_error.h"
#include "platform/windows/module.h"

namespace plexum::activex {
namespace {

constexpr UINT_PTR kTimer1 = 1;
constexpr UINT kTimer1Milliseconds = 100;

// The labels' identifiers among the panel's children.
constexpr int id_of(Label label) { return 100 + static_cast<int>(label); }
constexpr Label label_of(UINT id) { return static_cast<Label>(id - 100); }

RECT client_bounds(HWND window) {
  RECT bounds{};
  GetClientRect(window, &bounds);
  return bounds;
}

}  // namespace

windows::WindowClass& FaceWindow::shared_class() {
  static windows::WindowClass shared(L"Plexum.Face.", CS_HREDRAW | CS_VREDRAW, window_procedure);
  return shared;
}

FaceWindow::FaceWindow(HWND parent, const RECT& position, Owner& owner)
    : class_(shared_class()), owner_(owner) {
  window_ = CreateWindowExW(
      0, shared_class().name(), L"Plexum PLC link", WS_CHILD | WS_CLIPCHILDREN | WS_CLIPSIBLINGS,
      position.left, position.top, position.right - position.left, position.bottom - position.top,
      parent, nullptr, windows::this_module(), this);
  if (window_ == nullptr) throw ComError(HRESULT_FROM_WIN32(GetLastError()));
  make_labels(window_);
  lay_out(window_);
}

FaceWindow::~FaceWindow() {
  if (window_ == nullptr) return;
  SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  DestroyWindow(window_);
}

void FaceWindow::move(const RECT& position, const RECT& visible) {
  if (window_ == nullptr) return;
  RECT shown{};
  IntersectRect(&shown, &position, &visible);
  HRGN region = nullptr;
  if (!EqualRect(&shown, &position)) {
    OffsetRect(&shown, -position.left, -position.top);
    region = CreateRectRgnIndirect(&shown);
  }
  SetWindowRgn(window_, region, TRUE);
  SetWindowPos(window_, nullptr, position.left, position.top, position.right - position.left,
               position.bottom - position.top, SWP_NOZORDER | SWP_NOACTIVATE);
}

void FaceWindow::show(bool visible) {
  if (window_ != nullptr) ShowWindow(window_, visible ? SW_SHOWNA : SW_HIDE);
}

void FaceWindow::set_caption(Label label, const std::wstring& caption) {
  if (window_ == nullptr) return;
  HWND child = GetDlgItem(window_, id_of(label));
  SetWindowTextW(child, caption.c_str());
  InvalidateRect(child, nullptr, FALSE);
}

void FaceWindow::refresh() {
  if (window_ == nullptr) return;
  RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN);
}

void FaceWindow::run_timer(bool running) {
  if (window_ == nullptr) return;
  if (running) {
    SetTimer(window_, kTimer1, kTimer1Milliseconds, nullptr);
  } else {
    KillTimer(window_, kTimer1);
  }
}

void FaceWindow::make_labels(HWND window) {
  const FaceState state = owner_.face_state();
  for (const Label label : kLabels) {
    CreateWindowExW(0, L"STATIC", state.caption(label).c_str(),
                    WS_CHILD | WS_VISIBLE | SS_OWNERDRAW | SS_NOPREFIX, 0, 0, 0, 0, window,
                    reinterpret_cast<HMENU>(static_cast<INT_PTR>(id_of(label))),
                    windows::this_module(), nullptr);
  }
}

void FaceWindow::lay_out(HWND window) {
  const Face face(client_bounds(window));
  for (const Label label : kLabels) {
    const RECT bounds = face.bounds_of(label);
    SetWindowPos(GetDlgItem(window, id_of(label)), nullptr, bounds.left, bounds.top,
                 bounds.right - bounds.left, bounds.bottom - bounds.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
  }
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN);
}

LRESULT CALLBACK FaceWindow::window_procedure(HWND window, UINT message, WPARAM wparam,
                                              LPARAM lparam) noexcept {
  if (message == WM_NCCREATE) {
    const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lparam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  auto* self = reinterpret_cast<FaceWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self == nullptr) return DefWindowProcW(window, message, wparam, lparam);
  try {
    return self->handle_message(window, message, wparam, lparam);
  } catch (...) {
    return 0;  // a window procedure's caller survives no exception
  }
}

// Nothing of this object may be used after a call to its owner, who may have ended it.
LRESULT FaceWindow::handle_message(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_TIMER:
      if (wparam == kTimer1) owner_.tick();
      return 0;
    case WM_SIZE:
      lay_out(window);
      return 0;
    case WM_ERASEBKGND:
      return TRUE;  // WM_PAINT fills all
    case WM_PAINT: {
      const FaceState state = owner_.face_state();
      PAINTSTRUCT paint{};
      HDC dc = BeginPaint(window, &paint);
      if (dc != nullptr) Face(client_bounds(window)).draw_panel(dc, state);
      EndPaint(window, &paint);
      return 0;
    }
    case WM_PRINTCLIENT:
      Face(client_bounds(window)).draw(reinterpret_cast<HDC>(wparam), owner_.face_state());
      return 0;
    case WM_DRAWITEM: {
      const auto& item = *reinterpret_cast<const DRAWITEMSTRUCT*>(lparam);
      Face(client_bounds(window))
          .draw_label(item.hDC, label_of(item.CtlID), item.rcItem, owner_.face_state());
      return TRUE;
    }
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
      owner_.clicked();
      return 0;
    case WM_SETFOCUS:
      owner_.focus_changed(true);
      return 0;
    case WM_KILLFOCUS:
      owner_.focus_changed(false);
      return 0;
    case WM_SETCURSOR:
      SetCursor(LoadCursorW(nullptr, MAKEINTRESOURCEW(32512)));  // the arrow
      return TRUE;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
      refresh();
      return 0;
    case WM_NCDESTROY:
      window_ = nullptr;
      SetWindowLongPtrW(window, GWLP_USERDATA, 0);
      break;
    default:
      break;
  }
  return DefWindowProcW(window, message, wparam, lparam);
}

}  // namespace plexum::activex
