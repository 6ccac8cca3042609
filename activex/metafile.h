#pragma once

#include "activex/face.h"

namespace plexum::activex {

// Where a picture of that size, in 0.01 mm, ends in the units of an enhanced metafile that is
// recorded for a device. The device says how many pixels and how many millimetres it has; what
// plays the metafile goes by these, and not by the pixels of an inch that fonts go by.
constexpr RECT metafile_bounds(const SIZEL& himetric, const SIZE& pixels, const SIZE& millimetres) {
  const auto length = [](LONG size, LONG of_pixels, LONG of_millimetres) {
    const long long unit = 100LL * of_millimetres;
    return static_cast<LONG>((1LL * size * of_pixels + unit / 2) / unit);
  };
  return {0, 0, length(himetric.cx, pixels.cx, millimetres.cx),
          length(himetric.cy, pixels.cy, millimetres.cy)};
}

// Pictures of the face, of that size in 0.01 mm, which the caller owns. Both throw ComError.
HENHMETAFILE make_enhanced_metafile(const SIZEL& size, const FaceState& state);
// A METAFILEPICT in global memory. Windows metafiles are what Office keeps of a control.
HGLOBAL make_metafile_picture(const SIZEL& size, const FaceState& state);

}  // namespace plexum::activex
