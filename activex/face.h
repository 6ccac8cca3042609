#pragma once

#include <array>
#include <string>

#include "activex/com_headers.h"

namespace plexum::activex {

// The labels on the control's face: three fixed captions and the two that change.
enum class Label { kProduct, kPurpose, kVersion, kStatus, kState };
inline constexpr std::array kLabels{Label::kProduct, Label::kPurpose, Label::kVersion,
                                    Label::kStatus, Label::kState};

// What is on the face at the moment.
struct FaceState {
  std::wstring status;  // the caption of StatusLabel
  std::wstring state;   // the caption of StateLabel
  COLORREF background = 0;
  COLORREF foreground = 0;
  bool is_flat = false;

  [[nodiscard]] std::wstring caption(Label label) const;
};

// Where everything on the face lies, within bounds in the units of whatever it is drawn on. All is
// in proportion to the bounds, the fonts too, so the face is sharp at every size and resolution.
class Face {
 public:
  // The size that the face is designed for, in pixels of 96 to an inch.
  static constexpr int kNaturalWidth = 240;
  static constexpr int kNaturalHeight = 96;

  explicit Face(const RECT& bounds);

  [[nodiscard]] RECT bounds_of(Label label) const;

  // All of it.
  void draw(HDC dc, const FaceState& state) const;
  // What is behind the labels.
  void draw_panel(HDC dc, const FaceState& state) const;
  // One label, over all of its bounds; `bounds` are those in the coordinates of `dc`.
  void draw_label(HDC dc, Label label, const RECT& bounds, const FaceState& state) const;

 private:
  // A rectangle of the natural size, moved and scaled to the bounds.
  [[nodiscard]] RECT scaled(const RECT& natural) const;
  // A length that must keep its proportion to the fonts.
  [[nodiscard]] int length(int natural) const;

  RECT bounds_;
  int width_;
  int height_;
};

}  // namespace plexum::activex
