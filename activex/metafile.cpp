#include "activex/metafile.h"

#include "activex/com_error.h"

namespace plexum::activex {
namespace {

// The units of a Windows metafile are its own: some more than pixels, for smooth fonts.
constexpr RECT kPicture{0, 0, Face::kNaturalWidth * 4, Face::kNaturalHeight * 4};

}  // namespace

HENHMETAFILE make_enhanced_metafile(const SIZEL& size, const FaceState& state) {
  const RECT frame{0, 0, size.cx, size.cy};
  HDC dc = CreateEnhMetaFileW(nullptr, nullptr, &frame, nullptr);
  if (dc == nullptr) throw ComError(E_OUTOFMEMORY);
  const SIZE pixels{GetDeviceCaps(dc, HORZRES), GetDeviceCaps(dc, VERTRES)};
  const SIZE millimetres{GetDeviceCaps(dc, HORZSIZE), GetDeviceCaps(dc, VERTSIZE)};
  if (millimetres.cx > 0 && millimetres.cy > 0) {
    Face(metafile_bounds(size, pixels, millimetres)).draw(dc, state);
  }
  HENHMETAFILE metafile = CloseEnhMetaFile(dc);
  if (metafile == nullptr) throw ComError(E_OUTOFMEMORY);
  return metafile;
}

HGLOBAL make_metafile_picture(const SIZEL& size, const FaceState& state) {
  HDC dc = CreateMetaFileW(nullptr);
  if (dc == nullptr) throw ComError(E_OUTOFMEMORY);
  SetMapMode(dc, MM_ANISOTROPIC);
  SetWindowOrgEx(dc, 0, 0, nullptr);
  SetWindowExtEx(dc, kPicture.right, kPicture.bottom, nullptr);
  Face(kPicture).draw(dc, state);
  HMETAFILE metafile = CloseMetaFile(dc);
  HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE | GMEM_SHARE, sizeof(METAFILEPICT));
  if (metafile == nullptr || memory == nullptr) {
    if (metafile != nullptr) DeleteMetaFile(metafile);
    if (memory != nullptr) GlobalFree(memory);
    throw ComError(E_OUTOFMEMORY);
  }
  *static_cast<METAFILEPICT*>(GlobalLock(memory)) = {MM_ANISOTROPIC, size.cx, size.cy, metafile};
  GlobalUnlock(memory);
  return memory;
}

}  // namespace plexum::activex
