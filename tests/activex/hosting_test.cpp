// What a container finds at a control that has no window: interfaces, site, connections, picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "activex/control_host.h"
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
  EXPECT_EQ(object->Close(OLECLOSE_SAVEIFDIRTY), S_OK);
  EXPECT_EQ(container.take_calls(), Calls{"OnClose"});
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

TEST_F(Hosting, QuickActivationDoesItAll) {
  StubContainer container;
  QACONTAINER given{};
  given.cbSize = sizeof given;
  given.pClientSite = &container;
  given.pAdviseSink =
      reinterpret_cast<decltype(given.pAdviseSink)>(static_cast<IAdviseSink*>(&container));
  given.pPropertyNotifySink = &container;
  given.pUnkEventSink = static_cast<IDispatch*>(&container);
  QACONTROL got{};
  EXPECT_EQ(as<IQuickActivate>()->QuickActivate(&given, &got), E_INVALIDARG);
  got.cbSize = sizeof got;
  ASSERT_EQ(as<IQuickActivate>()->QuickActivate(&given, &got), S_OK);
  EXPECT_EQ(got.dwMiscStatus, 131473u);
  EXPECT_EQ(got.dwViewStatus, static_cast<DWORD>(VIEWSTATUS_OPAQUE));
  EXPECT_NE(got.dwEventCookie, 0u);
  link_->put_Tzeit(1);
  EXPECT_EQ(container.changed, std::vector<DISPID>{0x68030000});
  SIZEL size{3000, 1200};
  EXPECT_EQ(as<IQuickActivate>()->SetContentExtent(&size), S_OK);
  EXPECT_EQ(container.take_calls(), Calls{"OnViewChange"});
  EXPECT_EQ(as<IOleObject>()->Close(OLECLOSE_NOSAVE), S_OK);
  EXPECT_EQ(as<IOleObject>()->SetClientSite(nullptr), S_OK);
  link_.Reset();
  EXPECT_EQ(container.references(), 0u);
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

TEST_F(HostingPicture, GrowsWithItsBounds) {
  const Canvas small(240, 96);
  const Canvas large(720, 288);
  for (const Canvas* canvas : {&small, &large}) {
    const int scale = canvas == &small ? 1 : 3;
    const RECTL bounds{0, 0, 240 * scale, 96 * scale};
    EXPECT_EQ(draw(canvas->dc(), &bounds), S_OK);
  }
  // Three times the size in each direction is some nine times the ink.
  EXPECT_GT(large.ink({54, 24, 450, 102}), 5 * small.ink({18, 8, 150, 34}));
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

TEST_F(HostingPicture, TakesTheContainersColours) {
  StubContainer container;
  VARIANT color;
  color.vt = VT_I4;
  color.lVal = 0x00123456;  // BGR
  container.ambient[DISPID_AMBIENT_BACKCOLOR] = color;
  EXPECT_EQ(as<IOleObject>()->SetClientSite(&container), S_OK);
  const Canvas canvas(240, 96);
  const RECTL bounds{0, 0, 240, 96};
  EXPECT_EQ(draw(canvas.dc(), &bounds), S_OK);
  EXPECT_EQ(canvas.at(200, 20), 0x563412u);
  EXPECT_EQ(as<IOleObject>()->SetClientSite(nullptr), S_OK);
}

TEST_F(HostingPicture, IsGivenAsMetafiles) {
  const auto data = as<IDataObject>();
  ComPtr<IEnumFORMATETC> formats;
  ASSERT_EQ(data->EnumFormatEtc(DATADIR_GET, &formats), S_OK);
  FORMATETC format{};
  int count = 0;
  for (; formats->Next(1, &format, nullptr) == S_OK; ++count) {
    EXPECT_EQ(data->QueryGetData(&format), S_OK);
    STGMEDIUM medium{};
    ASSERT_EQ(data->GetData(&format, &medium), S_OK);
    EXPECT_EQ(medium.tymed, format.tymed);
    const Canvas canvas(240, 96);
    const RECT all{0, 0, 240, 96};
    if (medium.tymed == TYMED_ENHMF) {
      EXPECT_TRUE(PlayEnhMetaFile(canvas.dc(), medium.hEnhMetaFile, &all));
    } else {
      const auto* picture = static_cast<METAFILEPICT*>(GlobalLock(medium.hGlobal));
      SetMapMode(canvas.dc(), MM_ANISOTROPIC);
      SetViewportExtEx(canvas.dc(), 240, 96, nullptr);
      EXPECT_TRUE(PlayMetaFile(canvas.dc(), picture->hMF));
      GlobalUnlock(medium.hGlobal);
    }
    EXPECT_GT(canvas.ink({18, 8, 150, 34}), 100) << count;
    EXPECT_NE(canvas.at(235, 50), Canvas::kUntouched) << count;
    ReleaseStgMedium(&medium);
  }
  EXPECT_EQ(count, 2);
  format = {CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  EXPECT_EQ(data->QueryGetData(&format), DV_E_FORMATETC);
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
