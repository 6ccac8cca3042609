#pragma once

#include "activex/face.h"
#include "platform/windows/window_class.h"

namespace plexum::activex {

// The control's face as a window: a panel, and on it one child window for each label, whose window
// text is its caption, so that assistive tools and other programs can read it.
class FaceWindow {
 public:
  // Every call of the owner may end the window.
  class Owner {
   public:
    [[nodiscard]] virtual FaceState face_state() = 0;
    // Timer1 has fired.
    virtual void tick() noexcept = 0;
    // The user has clicked on the face.
    virtual void clicked() noexcept = 0;
    virtual void focus_changed(bool has_focus) noexcept = 0;

   protected:
    ~Owner() = default;
  };

  // The owner must outlive the window. An error of the system where it has no window left.
  FaceWindow(HWND parent, const RECT& position, Owner& owner);
  ~FaceWindow();
  FaceWindow(const FaceWindow&) = delete;
  FaceWindow& operator=(const FaceWindow&) = delete;

  // Null once the container has destroyed the window above it.
  [[nodiscard]] HWND handle() const noexcept { return window_; }

  // `visible` is the part that the container shows; both in coordinates of the parent.
  void move(const RECT& position, const RECT& visible);
  void show(bool visible);
  void set_caption(Label label, const std::wstring& caption);
  // Draws it all again.
  void refresh();
  // Timer1: every 100 ms while it runs.
  void run_timer(bool running);

 private:
  static LRESULT CALLBACK window_procedure(HWND window, UINT message, WPARAM wparam,
                                           LPARAM lparam) noexcept;
  LRESULT handle_message(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  void make_labels(HWND window);
  void lay_out(HWND window);

  static windows::WindowClass& shared_class();

  const windows::WindowClass::Use class_;
  Owner& owner_;
  HWND window_ = nullptr;
};

}  // namespace plexum::activex
