#include "activex/face.h"

#include <algorithm>

namespace plexum::activex {
namespace {

// Where the product's name ends and the display with the two live labels begins.
constexpr RECT kDisplay{10, 56, 230, 86};

struct LabelStyle {
  RECT bounds;  // in the natural size
  int font_height;
  int weight;
  UINT alignment;
};

const LabelStyle& style_of(Label label) {
  static constexpr std::array<LabelStyle, kLabels.size()> kStyles{{
      {{18, 8, 150, 34}, 24, FW_BOLD, DT_LEFT},
      {{18, 34, 150, 50}, 13, FW_NORMAL, DT_LEFT},
      {{150, 34, 230, 50}, 13, FW_NORMAL, DT_RIGHT},
      {{18, 58, 196, 84}, 15, FW_NORMAL, DT_LEFT},
      {{200, 58, 222, 84}, 15, FW_BOLD, DT_RIGHT},
  }};
  return kStyles[static_cast<std::size_t>(label)];
}

bool is_on_display(Label label) { return label == Label::kStatus || label == Label::kState; }

// A GDI object for the length of a block.
template <typename Handle>
class Owned {
 public:
  explicit Owned(Handle handle) : handle_(handle) {}
  ~Owned() {
    if (handle_ != nullptr) DeleteObject(handle_);
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  [[nodiscard]] Handle get() const { return handle_; }

 private:
  Handle handle_;
};

void fill(HDC dc, const RECT& bounds, COLORREF color) {
  const Owned brush(CreateSolidBrush(color));
  FillRect(dc, &bounds, brush.get());
}

// A text colour of less weight, which still stands out in every colour scheme.
COLORREF subdued(COLORREF front, COLORREF back) {
  const auto mixed = [](int a, int b) { return static_cast<BYTE>((2 * a + b) / 3); };
  return RGB(mixed(GetRValue(front), GetRValue(back)), mixed(GetGValue(front), GetGValue(back)),
             mixed(GetBValue(front), GetBValue(back)));
}

}  // namespace

std::wstring FaceState::caption(Label label) const {
  switch (label) {
    case Label::kProduct:
      return L"Plexum";
    case Label::kPurpose:
      return L"PLC link";
    case Label::kVersion:
      return L"Version " PLEXUM_VERSION;
    case Label::kStatus:
      return status;
    case Label::kState:
      return state;
  }
  return {};
}

Face::Face(const RECT& bounds)
    : bounds_(bounds),
      width_(std::max(1L, bounds.right - bounds.left)),
      height_(std::max(1L, bounds.bottom - bounds.top)) {}

RECT Face::bounds_of(Label label) const { return scaled(style_of(label).bounds); }

void Face::draw(HDC dc, const FaceState& state) const {
  draw_panel(dc, state);
  for (const Label label : kLabels) draw_label(dc, label, bounds_of(label), state);
}

void Face::draw_panel(HDC dc, const FaceState& state) const {
  fill(dc, bounds_, state.background);
  fill(dc, scaled({0, 0, 6, kNaturalHeight}), GetSysColor(COLOR_HIGHLIGHT));
  RECT display = scaled(kDisplay);
  fill(dc, display, GetSysColor(COLOR_WINDOW));
  const Owned frame(CreateSolidBrush(subdued(state.foreground, state.background)));
  FrameRect(dc, &display, frame.get());
  RECT edge = bounds_;
  if (state.is_flat) {
    FrameRect(dc, &edge, frame.get());
  } else {
    DrawEdge(dc, &edge, BDR_RAISEDINNER, BF_RECT);
  }
}

void Face::draw_label(HDC dc, Label label, const RECT& bounds, const FaceState& state) const {
  const LabelStyle& style = style_of(label);
  const COLORREF back = is_on_display(label) ? GetSysColor(COLOR_WINDOW) : state.background;
  const COLORREF front = is_on_display(label) ? GetSysColor(COLOR_WINDOWTEXT) : state.foreground;
  const bool is_quiet = label == Label::kPurpose || label == Label::kVersion;

  const int saved = SaveDC(dc);
  fill(dc, bounds, back);
  const Owned font(CreateFontW(-std::max(1, length(style.font_height)), 0, 0, 0, style.weight,
                               FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_TT_PRECIS,
                               CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, VARIABLE_PITCH | FF_SWISS,
                               L"Arial"));
  if (font.get() != nullptr) SelectObject(dc, font.get());
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, is_quiet ? subdued(front, back) : front);
  RECT text_bounds = bounds;
  const std::wstring text = state.caption(label);
  DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &text_bounds,
            style.alignment | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
  RestoreDC(dc, saved);
}

RECT Face::scaled(const RECT& natural) const {
  return {bounds_.left + MulDiv(natural.left, width_, kNaturalWidth),
          bounds_.top + MulDiv(natural.top, height_, kNaturalHeight),
          bounds_.left + MulDiv(natural.right, width_, kNaturalWidth),
          bounds_.top + MulDiv(natural.bottom, height_, kNaturalHeight)};
}

int Face::length(int natural) const {
  return std::min(MulDiv(natural, width_, kNaturalWidth), MulDiv(natural, height_, kNaturalHeight));
}

}  // namespace plexum::activex
