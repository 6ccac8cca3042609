// What a container finds at a control that has no window: interfaces, site, connections, picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <tuple>

#include "activex/control_host.h"
#include "activex/metafile.h"
#include "activex/stub_container.h"

namespace plexum::test {
namespace {

using Calls = std::vector<std::string>;

class Hosting : public ControlTest {
 protected:
  template <typename Interface>
  ComPtr<Interface> as() {
    ComPtr<Interface> result;
    EXPECT_EQ(link_.As(&result), S_OK);
    return result;
  }
  template <typename Interface>
  HRESULT ask() {
    ComPtr<Interface> result;
    return link_.As(&result);
  }
  HRESULT draw(HDC dc, const RECTL* bounds, DWORD aspect = DVASPECT_CONTENT) {
    return as<IViewObject2>()->Draw(aspect, -1, nullptr, nullptr, nullptr, dc, bounds, nullptr,
                                    nullptr, 0);
  }

  ComPtr<_PlexumLink> link_ = file().create();
};

TEST_F(Hosting, EveryInterfaceIsTheSameObject) {
  ComPtr<IUnknown> identity;
  ASSERT_EQ(link_.As(&identity), S_OK);
  for (const IID* iid : {&__uuidof(IDispatch),
                         &__uuidof(_PlexumLink),
                         &__uuidof(ISupportErrorInfo),
                         &__uuidof(IProvideClassInfo),
                         &__uuidof(IOleObject),
                         &__uuidof(IOleControl),
                         &__uuidof(IOleWindow),
                         &__uuidof(IOleInPlaceObject),
                         &__uuidof(IOleInPlaceActiveObject),
                         &__uuidof(IViewObject),
                         &__uuidof(IViewObject2),
                         &__uuidof(IDataObject),
                         &__uuidof(IPersist),
                         &__uuidof(IPersistStreamInit),
                         &__uuidof(IPersistPropertyBag),
                         &__uuidof(IPersistStorage),
                         &__uuidof(IProvideClassInfo2),
                         &__uuidof(IConnectionPointContainer),
                         &__uuidof(IQuickActivate),
                         &__uuidof(ISpecifyPropertyPages)}) {
    ComPtr<IUnknown> other;
    ASSERT_EQ(link_->QueryInterface(*iid, &other), S_OK);
    ComPtr<IUnknown> back;
    ASSERT_EQ(other.As(&back), S_OK);
    EXPECT_EQ(back.Get(), identity.Get());
  }
}

TEST_F(Hosting, WhatIsNotOfferedIsRefused) {
  EXPECT_EQ(ask<IOleInPlaceObjectWindowless>(), E_NOINTERFACE);
  // IObjectSafety: a web page must never get at a PLC.
  constexpr IID kObjectSafety{
      0xCB5BDC81, 0x93C1, 0x11CF, {0x8F, 0x20, 0x00, 0x80, 0x5F, 0x2C, 0xD0, 0x64}};
  ComPtr<IUnknown> safety;
  EXPECT_EQ(link_->QueryInterface(kObjectSafety, &safety), E_NOINTERFACE);
  EXPECT_EQ(ask<IPointerInactive>(), E_NOINTERFACE);
  EXPECT_EQ(ask<IMarshal>(), E_NOINTERFACE) << "no free threads";
}

TEST_F(Hosting, SaysWhatKindOfControlItIs) {
  DWORD status = 0;
  EXPECT_EQ(as<IOleObject>()->GetMiscStatus(DVASPECT_CONTENT, &status), S_OK);
  EXPECT_EQ(status, 131473u);
  CONTROLINFO information{};
  EXPECT_EQ(as<IOleControl>()->GetControlInfo(&information), E_INVALIDARG);
  information.cb = sizeof information;
  EXPECT_EQ(as<IOleControl>()->GetControlInfo(&information), S_OK);
  EXPECT_EQ(information.cAccel, 0);
  CLSID clsid{};
  EXPECT_EQ(as<IOleObject>()->GetUserClassID(&clsid), S_OK);
  EXPECT_EQ(clsid, __uuidof(::PlexumLink));
  ComPtr<IEnumOLEVERB> verbs;
  EXPECT_EQ(as<IOleObject>()->EnumVerbs(&verbs), S_OK);
  OLEVERB verb{};
  EXPECT_EQ(verbs->Next(1, &verb, nullptr), S_OK);
  EXPECT_EQ(std::wstring(verb.lpszVerbName), L"&Properties...");
  CoTaskMemFree(verb.lpszVerbName);
  EXPECT_EQ(verbs->Next(1, &verb, nullptr), S_FALSE);
  CAUUID pages{};
  EXPECT_EQ(as<ISpecifyPropertyPages>()->GetPages(&pages), S_OK);
  EXPECT_EQ(pages.cElems, 1u);
  CoTaskMemFree(pages.pElems);
}

TEST_F(Hosting, SiteAndInitialisationComeInBothOrders) {
  for (const bool site_first : {true, false}) {
    StubContainer container;
    const auto object = as<IOleObject>();
    const auto persistence = as<IPersistStreamInit>();
    EXPECT_TRUE(!site_first || object->SetClientSite(&container) == S_OK);
    EXPECT_EQ(persistence->InitNew(), S_OK);
    EXPECT_TRUE(site_first || object->SetClientSite(&container) == S_OK);
    ComPtr<IOleClientSite> site;
    EXPECT_EQ(object->GetClientSite(&site), S_OK);
    EXPECT_EQ(site.Get(), static_cast<IOleClientSite*>(&container));
    site.Reset();
    EXPECT_EQ(object->SetClientSite(nullptr), S_OK);
    EXPECT_EQ(container.references(), 0u);
  }
}

TEST_F(Hosting, ClosingSavesWhatChanged) {
  StubContainer container;
  const auto object = as<IOleObject>();
  EXPECT_EQ(object->SetClientSite(&container), S_OK);
  DWORD connection = 0;
  EXPECT_EQ(object->Advise(&container, &connection), S_OK);
  SIZEL rounded{6349, 2541};
  EXPECT_EQ(object->SetExtent(DVASPECT_CONTENT, &rounded), S_OK);
  EXPECT_EQ(object->Close(OLECLOSE_SAVEIFDIRTY), S_OK);
  EXPECT_EQ(container.take_calls(), Calls{"OnClose"}) << "a size that was rounded is no change";
  link_->put_Tzeit(1);
  EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
  EXPECT_EQ(container.take_calls(), Calls{});
  EXPECT_EQ(object->Close(OLECLOSE_SAVEIFDIRTY), S_OK);
  EXPECT_EQ(container.take_calls(), Calls{"SaveObject"});
  EXPECT_EQ(object->SetClientSite(nullptr), S_OK);
  EXPECT_EQ(container.references(), 0u);
}

TEST_F(Hosting, EveryLetTellsItsDispid) {
  StubContainer container;
  ComPtr<IConnectionPoint> point;
  ASSERT_EQ(
      as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(IPropertyNotifySink), &point),
      S_OK);
  DWORD cookie = 0;
  EXPECT_EQ(point->Advise(static_cast<IOleClientSite*>(&container), &cookie), S_OK);
  link_->put_CP_IP(BstrVariable(L"a").get());
  link_->put_TsapF(BstrVariable(L"b").get());
  link_->put_TsapE(BstrVariable(L"c").get());
  link_->put_Tzeit(1);
  EXPECT_EQ(container.changed,
            (std::vector<DISPID>{0x68030004, 0x68030003, 0x68030002, 0x68030000}));
  EXPECT_EQ(point->Unadvise(cookie), S_OK);
  EXPECT_EQ(point->Unadvise(cookie), CONNECT_E_NOCONNECTION);
  link_->put_Tzeit(2);
  EXPECT_EQ(container.changed.size(), 4u);
  EXPECT_EQ(container.references(), 0u);
}

TEST_F(Hosting, ConnectionPointsAreEnumerated) {
  ComPtr<IEnumConnectionPoints> points;
  ASSERT_EQ(as<IConnectionPointContainer>()->EnumConnectionPoints(&points), S_OK);
  std::vector<IID> found;
  ComPtr<IConnectionPoint> point;
  while (points->Next(1, point.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
    IID iid{};
    EXPECT_EQ(point->GetConnectionInterface(&iid), S_OK);
    found.push_back(iid);
  }
  EXPECT_EQ(found, (std::vector<IID>{__uuidof(IPropertyNotifySink), __uuidof(__PlexumLink)}));
  EXPECT_EQ(as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(IOleObject), &point),
            CONNECT_E_NOCONNECTION);
}

TEST_F(Hosting, QuickActivationDoesItAllInEveryFormOfItsStructures) {
  constexpr ULONG kToday = sizeof(QACONTAINER);
  const struct {
    const char* name;
    ULONG container;
    ULONG control;
    HRESULT result;
  } kRows[] = {
      {"today's", kToday, sizeof(QACONTROL), S_OK},
      {"of VB6 and .NET", sizeof(void*) == 8 ? 96 : 56, sizeof(QACONTROL), S_OK},
      {"longer ones to come", kToday + 16, sizeof(QACONTROL) + 16, S_OK},
      {"without places for cookies", kToday, offsetof(QACONTROL, dwEventCookie), S_OK},
      {"without a sink for events", offsetof(QACONTAINER, pUnkEventSink), sizeof(QACONTROL),
       E_INVALIDARG},
      {"nothing", kToday, 0, E_INVALIDARG},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    StubContainer container;
    struct {
      QACONTAINER value;
      char more[16];
    } given{};
    std::memset(&given, 0xEE, sizeof given);  // pointers that nobody may follow
    given.value.cbSize = row.container;
    given.value.pClientSite = &container;
    given.value.pAdviseSink =
        reinterpret_cast<decltype(given.value.pAdviseSink)>(static_cast<IAdviseSink*>(&container));
    given.value.pPropertyNotifySink = &container;
    given.value.pUnkEventSink = static_cast<IDispatch*>(&container);
    struct {
      QACONTROL value;
      unsigned char more[16];
    } got{};
    std::memset(&got, 0xEE, sizeof got);
    got.value.cbSize = row.control;
    link_ = file().create();
    ASSERT_EQ(as<IQuickActivate>()->QuickActivate(&given.value, &got.value), row.result);
    const auto* bytes = reinterpret_cast<const unsigned char*>(&got);
    for (std::size_t at = std::max<std::size_t>(row.control, sizeof(ULONG)); at < sizeof got;
         ++at) {
      ASSERT_TRUE(bytes[at] == 0xEE || at >= sizeof(QACONTROL)) << at;
    }
    if (row.result == S_OK) {
      const bool has_cookies = row.control >= sizeof(QACONTROL);
      EXPECT_EQ(got.value.dwMiscStatus, 131473u);
      EXPECT_EQ(got.value.dwViewStatus, static_cast<DWORD>(VIEWSTATUS_OPAQUE));
      if (has_cookies) {
        EXPECT_NE(got.value.dwEventCookie, 0u);
      }
      link_->put_Tzeit(1);
      EXPECT_EQ(container.changed.size(), has_cookies ? 1u : 0u);
      SIZEL size{3000, 1200};
      EXPECT_EQ(as<IQuickActivate>()->SetContentExtent(&size), S_OK);
      EXPECT_EQ(container.take_calls(), Calls{"OnViewChange"});
      EXPECT_EQ(as<IOleObject>()->Close(OLECLOSE_NOSAVE), S_OK);
      EXPECT_EQ(as<IOleObject>()->SetClientSite(nullptr), S_OK);
    }
    link_.Reset();
    EXPECT_EQ(container.references(), 0u);
  }
}

// A bitmap of 32-bit pixels, all of one colour that the face hasn't got.
class Canvas {
 public:
  static constexpr std::uint32_t kUntouched = 0x00FE01FE;

  Canvas(int width, int height) : width_(width), height_(height) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    bitmap_ = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    pixels_ = static_cast<std::uint32_t*>(bits);
    dc_ = CreateCompatibleDC(nullptr);
    SelectObject(dc_, bitmap_);
    std::fill(begin(), end(), kUntouched);
  }
  ~Canvas() {
    DeleteDC(dc_);
    DeleteObject(bitmap_);
  }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  [[nodiscard]] HDC dc() const { return dc_; }
  [[nodiscard]] std::uint32_t* begin() const { return pixels_; }
  [[nodiscard]] std::uint32_t* end() const { return pixels_ + width_ * height_; }
  [[nodiscard]] std::uint32_t at(int x, int y) const { return pixels_[y * width_ + x] & 0xFFFFFF; }

  // How many pixels within a rectangle differ from its top left one: text, say.
  [[nodiscard]] int ink(const RECT& within) const {
    int count = 0;
    for (int y = within.top; y < within.bottom; ++y) {
      for (int x = within.left; x < within.right; ++x) {
        count += at(x, y) != at(within.left, within.top);
      }
    }
    return count;
  }

 private:
  int width_;
  int height_;
  HBITMAP bitmap_ = nullptr;
  std::uint32_t* pixels_ = nullptr;
  HDC dc_ = nullptr;
};

// Drawing doesn't work in Wine's 32-bit programs without 32-bit libraries of the system.
class HostingPicture : public Hosting {
 protected:
  void SetUp() override {
    if (sizeof(void*) == 4) GTEST_SKIP() << "Wine draws in 64-bit programs only";
    SetProcessDPIAware();
    // Where the test is run at a resolution of its own.
    const char* dpi = std::getenv("PLEXUM_TEST_DPI");
    const Canvas canvas(1, 1);
    ASSERT_TRUE(dpi == nullptr || GetDeviceCaps(canvas.dc(), LOGPIXELSX) == std::atoi(dpi));
  }
};

TEST_F(HostingPicture, IsDrawnWithinItsBoundsAlone) {
  const Canvas canvas(300, 140);
  const RECTL bounds{20, 10, 260, 106};
  EXPECT_EQ(draw(canvas.dc(), &bounds), S_OK);
  for (int y = 0; y < 140; ++y) {
    for (int x = 0; x < 300; ++x) {
      const bool inside = x >= 20 && x < 260 && y >= 10 && y < 106;
      ASSERT_EQ(canvas.at(x, y) != Canvas::kUntouched, inside) << x << ", " << y;
    }
  }
  EXPECT_GT(canvas.ink({40, 18, 160, 44}), 100) << "the product's name";
  EXPECT_GT(canvas.ink({180, 44, 248, 60}), 40) << "its version";
  EXPECT_GT(canvas.ink({226, 70, 240, 92}), 10) << "the state";
}

TEST_F(HostingPicture, FollowsTheContainersWorldTransform) {
  const RECTL bounds{10, 5, 130, 53};
  const XFORM doubled{2, 0, 0, 2, 0, 0};
  const XFORM turned{0, 1, -1, 0, 96, 0};  // by a quarter, to the right
  for (const auto& [world, canvas_size, wanted] :
       {std::tuple(doubled, SIZE{300, 140}, RECT{20, 10, 260, 106}),
        std::tuple(turned, SIZE{100, 140}, RECT{43, 10, 91, 130})}) {
    const Canvas canvas(canvas_size.cx, canvas_size.cy);
    SetGraphicsMode(canvas.dc(), GM_ADVANCED);
    SetWorldTransform(canvas.dc(), &world);
    EXPECT_EQ(draw(canvas.dc(), &bounds), S_OK);
    EXPECT_NE(canvas.at(wanted.left + 2, wanted.top + 2), Canvas::kUntouched);
    EXPECT_NE(canvas.at(wanted.right - 3, wanted.bottom - 3), Canvas::kUntouched);
    EXPECT_EQ(canvas.at(wanted.left - 2, wanted.top), Canvas::kUntouched);
    EXPECT_EQ(canvas.at(wanted.right + 1, wanted.bottom + 1), Canvas::kUntouched);
    if (world.eM11 == 2) {
      EXPECT_GT(canvas.ink({40, 18, 160, 44}), 100) << "texts grow, too";
    }
  }
}

TEST_F(HostingPicture, FollowsTheContainersUnits) {
  const Canvas canvas(120, 48);
  SetMapMode(canvas.dc(), MM_ANISOTROPIC);
  SetWindowExtEx(canvas.dc(), 1200, 480, nullptr);
  SetViewportExtEx(canvas.dc(), 120, 48, nullptr);
  const RECTL bounds{0, 0, 1200, 480};
  EXPECT_EQ(draw(canvas.dc(), &bounds), S_OK);
  EXPECT_EQ(GetMapMode(canvas.dc()), MM_ANISOTROPIC);
  EXPECT_NE(canvas.at(0, 0), Canvas::kUntouched);
  EXPECT_NE(canvas.at(119, 47), Canvas::kUntouched);
  EXPECT_GT(canvas.ink({9, 4, 75, 17}), 30);
}

TEST_F(HostingPicture, TakesTheContainersColoursInEveryFormAndTheUsualOtherwise) {
  const COLORREF usual = GetSysColor(COLOR_BTNFACE);
  const auto of_type = [](VARTYPE type, ULONG value) {
    VARIANT variant{};
    variant.vt = type;
    variant.ulVal = value;
    return variant;
  };
  const struct {
    const char* name;
    VARIANT color;
    COLORREF drawn;
  } kRows[] = {
      {"signed", of_type(VT_I4, 0x00123456), 0x00123456},
      {"unsigned", of_type(VT_UI4, 0x00123456), 0x00123456},
      {"of the system, signed", of_type(VT_I4, 0x80000000 | COLOR_WINDOW),
       GetSysColor(COLOR_WINDOW)},
      {"of the system, unsigned", of_type(VT_UI4, 0x80000000 | COLOR_WINDOW),
       GetSysColor(COLOR_WINDOW)},
      {"of no system", of_type(VT_UI4, 0x8000FFFF), usual},
      {"no object", of_type(VT_DISPATCH, 0), usual},
      {"an error", of_type(VT_ERROR, 1), usual},
      {"nothing", of_type(VT_EMPTY, 1), 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    StubContainer container;
    container.ambient_failure = E_NOTIMPL;
    container.ambient[DISPID_AMBIENT_BACKCOLOR] = row.color;
    EXPECT_EQ(as<IOleObject>()->SetClientSite(&container), S_OK);
    const Canvas canvas(240, 96);
    const RECTL bounds{0, 0, 240, 96};
    EXPECT_EQ(draw(canvas.dc(), &bounds), S_OK);
    const std::uint32_t pixel = canvas.at(200, 20);
    EXPECT_EQ(RGB(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF), row.drawn);
    EXPECT_EQ(as<IOleObject>()->SetClientSite(nullptr), S_OK);
  }
}

// The texts within metafiles, whatever plays them.
int CALLBACK add_windows_text(HDC, HANDLETABLE*, METARECORD* record, int, LPARAM list) {
  if (record->rdFunction == META_EXTTEXTOUT) {
    // y, x, length and options come first, then the clipping rectangle.
    const WORD* words = record->rdParm;
    const auto* text = reinterpret_cast<const char*>(words + (words[3] & ETO_CLIPPED ? 8 : 4));
    reinterpret_cast<std::vector<std::string>*>(list)->emplace_back(text, words[2]);
  }
  return 1;
}
int CALLBACK add_enhanced_text(HDC, HANDLETABLE*, const ENHMETARECORD* record, int, LPARAM list) {
  if (record->iType == EMR_EXTTEXTOUTW) {
    const auto& text = reinterpret_cast<const EMREXTTEXTOUTW*>(record)->emrtext;
    const auto* first =
        reinterpret_cast<const wchar_t*>(reinterpret_cast<const char*>(record) + text.offString);
    reinterpret_cast<std::vector<std::string>*>(list)->emplace_back(first, first + text.nChars);
  }
  return 1;
}

TEST_F(HostingPicture, IsGivenAsMetafilesWithAllItsTexts) {
  const auto data = as<IDataObject>();
  ComPtr<IEnumFORMATETC> formats;
  ASSERT_EQ(data->EnumFormatEtc(DATADIR_GET, &formats), S_OK);
  FORMATETC format{};
  int count = 0;
  for (; formats->Next(1, &format, nullptr) == S_OK; ++count) {
    SCOPED_TRACE(count);
    EXPECT_EQ(data->QueryGetData(&format), S_OK);
    STGMEDIUM medium{};
    ASSERT_EQ(data->GetData(&format, &medium), S_OK);
    EXPECT_EQ(medium.tymed, format.tymed);
    const Canvas canvas(240, 96);
    const RECT all{0, 0, 240, 96};
    std::vector<std::string> texts;
    const auto list = reinterpret_cast<LPARAM>(&texts);
    if (medium.tymed == TYMED_ENHMF) {
      EXPECT_TRUE(PlayEnhMetaFile(canvas.dc(), medium.hEnhMetaFile, &all));
      EnumEnhMetaFile(nullptr, medium.hEnhMetaFile, add_enhanced_text, &texts, nullptr);
    } else {
      const auto* picture = static_cast<METAFILEPICT*>(GlobalLock(medium.hGlobal));
      SetMapMode(canvas.dc(), MM_ANISOTROPIC);
      SetViewportExtEx(canvas.dc(), 240, 96, nullptr);
      EXPECT_TRUE(PlayMetaFile(canvas.dc(), picture->hMF));
      EnumMetaFile(canvas.dc(), picture->hMF, add_windows_text, list);
      GlobalUnlock(medium.hGlobal);
    }
    std::erase(texts, "");
    EXPECT_EQ(texts, (Calls{"Plexum", "PLC link", "Version " PLEXUM_VERSION, "0"}));
    EXPECT_GT(canvas.ink({40, 18, 150, 34}), 50) << "the product's name";
    EXPECT_GT(canvas.ink({160, 34, 228, 50}), 40) << "its version";
    EXPECT_GT(canvas.ink({206, 60, 220, 82}), 10) << "the state";
    for (const auto& [x, y] : {std::pair(1, 1), {238, 1}, {1, 94}, {238, 94}}) {
      EXPECT_NE(canvas.at(x, y), Canvas::kUntouched) << "the face fills its frame";
    }
    ReleaseStgMedium(&medium);
  }
  EXPECT_EQ(count, 2);
  format = {CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  EXPECT_EQ(data->QueryGetData(&format), DV_E_FORMATETC);
}

TEST(Metafile, IsMappedByTheScreensPixelsAndMillimetres) {
  const struct {
    const char* name;
    SIZE pixels;
    SIZE millimetres;
    SIZE end;  // of a face of 63.5 by 25.4 mm
  } kRows[] = {
      {"96 dpi, true to size", {1920, 1080}, {508, 286}, {240, 96}},
      {"a laptop of 344 mm that says 96 dpi", {1920, 1080}, {344, 194}, {354, 141}},
      {"a wall of 2 m", {1920, 1080}, {2000, 1125}, {61, 24}},
      {"one whose height is another's", {1024, 768}, {320, 180}, {203, 108}},
  };
  for (const auto& row : kRows) {
    const RECT bounds = activex::metafile_bounds({6350, 2540}, row.pixels, row.millimetres);
    EXPECT_EQ(bounds.right, row.end.cx) << row.name;
    EXPECT_EQ(bounds.bottom, row.end.cy) << row.name;
  }
}

TEST_F(Hosting, IsNotShownWithoutASite) {
  EXPECT_EQ(as<IOleObject>()->DoVerb(OLEIVERB_SHOW, nullptr, nullptr, 0, nullptr, nullptr),
            E_UNEXPECTED);
}

TEST_F(Hosting, AnotherAspectIsRefused) {
  SIZEL size{};
  const RECTL bounds{0, 0, 10, 10};
  EXPECT_EQ(as<IOleObject>()->GetExtent(DVASPECT_ICON, &size), DV_E_DVASPECT);
  EXPECT_EQ(draw(nullptr, &bounds, DVASPECT_ICON), DV_E_DVASPECT);
  EXPECT_EQ(draw(nullptr, nullptr), E_INVALIDARG);
}

}  // namespace
}  // namespace plexum::test
