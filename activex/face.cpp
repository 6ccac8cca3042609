#include "activex/face.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace plexum::activex {
namespace {

// Where the product's name ends and the display with the two live labels begins.
constexpr RECT kDisplay{10, 56, 230, 86};

struct LabelStyle {
  RECT bounds;  // in the natural size
  int font_height;
  int weight;
  bool is_right_aligned;
};

const LabelStyle& style_of(Label label) {
  static constexpr std::array<LabelStyle, kLabels.size()> kStyles{{
      {{18, 8, 150, 34}, 24, FW_BOLD, false},
      {{18, 34, 150, 50}, 13, FW_NORMAL, false},
      {{150, 34, 230, 50}, 13, FW_NORMAL, true},
      {{18, 58, 196, 84}, 15, FW_NORMAL, false},
      {{200, 58, 222, 84}, 15, FW_BOLD, true},
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

// The face is drawn by calls that a Windows metafile can hold. FillRect, FrameRect, DrawEdge and
// DrawText aren't among them.
void fill(HDC dc, const RECT& bounds, COLORREF color) {
  const Owned brush(CreateSolidBrush(color));
  HGDIOBJ before = SelectObject(dc, brush.get());
  PatBlt(dc, bounds.left, bounds.top, bounds.right - bounds.left, bounds.bottom - bounds.top,
         PATCOPY);
  SelectObject(dc, before);
}

// Lines along the edges, inside of the bounds.
void frame(HDC dc, const RECT& bounds, COLORREF top_left, COLORREF bottom_right) {
  const auto& [left, top, right, bottom] = bounds;
  fill(dc, {left, top, right, top + 1}, top_left);
  fill(dc, {left, top, left + 1, bottom}, top_left);
  fill(dc, {left, bottom - 1, right, bottom}, bottom_right);
  fill(dc, {right - 1, top, right, bottom}, bottom_right);
}

// A text as it fits into a width, with the widths of its characters.
struct FittedText {
  std::wstring text;
  std::vector<int> advances;
  int width = 0;
  int height = 0;
};

// Measures with the font that is selected into the device.
FittedText fitted(HDC dc, const std::wstring& text, int width) {
  static constexpr wchar_t kEllipsis[] = L"...";
  const auto extent = [dc](const std::wstring& of, std::vector<int>* ends = nullptr) {
    SIZE size{};
    if (ends != nullptr) ends->resize(of.size());
    GetTextExtentExPointW(dc, of.c_str(), static_cast<int>(of.size()), 0, nullptr,
                          ends == nullptr ? nullptr : ends->data(), &size);
    return size;
  };
  FittedText result{text, {}, 0, 0};
  SIZE size = extent(text, &result.advances);
  if (size.cx > width) {
    const int room = width - static_cast<int>(extent(kEllipsis).cx);
    const auto fits = std::upper_bound(result.advances.begin(), result.advances.end(), room);
    result.text.resize(static_cast<std::size_t>(fits - result.advances.begin()));
    result.text += kEllipsis;
    size = extent(result.text, &result.advances);
  }
  // From where each character ends to how wide each is.
  std::adjacent_difference(result.advances.begin(), result.advances.end(), result.advances.begin());
  result.width = static_cast<int>(size.cx);
  result.height = static_cast<int>(size.cy);
  return result;
}

// A device to measure with: the one that is drawn on, except that a Windows metafile has no fonts.
class MeasuringDevice {
 public:
  explicit MeasuringDevice(HDC dc) : dc_(dc) {
    if (GetObjectType(dc) == OBJ_METADC) dc_ = own_ = CreateCompatibleDC(nullptr);
  }
  ~MeasuringDevice() {
    if (own_ != nullptr) DeleteDC(own_);
  }
  MeasuringDevice(const MeasuringDevice&) = delete;
  MeasuringDevice& operator=(const MeasuringDevice&) = delete;
  [[nodiscard]] HDC get() const { return dc_; }

 private:
  HDC dc_;
  HDC own_ = nullptr;
};

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
  const RECT display = scaled(kDisplay);
  fill(dc, display, GetSysColor(COLOR_WINDOW));
  const COLORREF line = subdued(state.foreground, state.background);
  frame(dc, display, line, line);
  if (state.is_flat) {
    frame(dc, bounds_, line, line);
  } else {
    frame(dc, bounds_, GetSysColor(COLOR_BTNHIGHLIGHT), GetSysColor(COLOR_BTNSHADOW));
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
  SetTextAlign(dc, TA_LEFT | TA_TOP | TA_NOUPDATECP);
  {
    const MeasuringDevice device(dc);
    HGDIOBJ before = SelectObject(device.get(), font.get());
    const FittedText fit = fitted(device.get(), state.caption(label), bounds.right - bounds.left);
    const int x = style.is_right_aligned ? bounds.right - fit.width : bounds.left;
    const int y = bounds.top + (bounds.bottom - bounds.top - fit.height) / 2;
    ExtTextOutW(dc, x, y, ETO_CLIPPED, &bounds, fit.text.c_str(),
                static_cast<UINT>(fit.text.size()), fit.advances.data());
    SelectObject(device.get(), before);
  }
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
