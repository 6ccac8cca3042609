// The control's window in a container: labels, timer, focus, and how it ends.
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "activex/control_host.h"
#include "activex/display.h"
#include "activex/stub_container.h"
#include "activex/thread_timer.h"
#include "support/tcp_peer.h"

namespace plexum::test {
namespace {

using Calls = std::vector<std::string>;

// Wine's 32-bit programs can't draw where the system has no 32-bit libraries, so nothing is shown.
constexpr bool kCanDraw = sizeof(void*) == 8;
constexpr DWORD kFormVisibility = kCanDraw ? WS_VISIBLE : 0;

class FaceTest : public ControlTest {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(take_own_desktop()) << "these tests need a display"; }

  FaceTest() { link_.As(&object_); }
  ~FaceTest() override {
    close();
    link_.Reset();
    EXPECT_EQ(container_.references(), 0u);
  }

  HRESULT show(LONG verb = OLEIVERB_INPLACEACTIVATE) {
    EXPECT_EQ(object_->SetClientSite(&container_), S_OK);
    return object_->DoVerb(verb, nullptr, &container_, 0, form_, nullptr);
  }
  void close() {
    if (!object_) return;
    EXPECT_EQ(object_->Close(OLECLOSE_NOSAVE), S_OK);
    EXPECT_EQ(object_->SetClientSite(nullptr), S_OK);
    object_.Reset();
  }
  void set_ambient(DISPID id, bool value) {
    VARIANT variant;
    variant.vt = VT_BOOL;
    variant.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    container_.ambient[id] = variant;
    ambient_changed(id);
  }
  void ambient_changed(DISPID id) {
    ComPtr<IOleControl> control;
    link_.As(&control);
    control->OnAmbientPropertyChange(id);
  }
  HWND window() {
    ComPtr<IOleInPlaceObject> in_place;
    link_.As(&in_place);
    HWND window = nullptr;
    in_place->GetWindow(&window);
    return window;
  }
  std::wstring status() {
    const auto texts = texts_below(window());
    return texts.size() == 5 ? texts[3] : L"no label";
  }
  // As a host that does nothing else, until the status shows or for two seconds.
  void run_until_status(const std::wstring& wanted) {
    for (int i = 0; i < 200 && status() != wanted; ++i) link_->MsgWait(10);
  }
  HRESULT connect(TcpPeer& peer) {
    _PlexumLink* link = link_.Get();  // which the test may release meanwhile
    link->put_Tzeit(1000000);
    VARIANT_BOOL result = VARIANT_FALSE;
    return Address(peer.port()).ini(link, &result);
  }

  // The form that the control lies on. A new window on the display takes seconds, so tests share it
  // until one of them ends it.
  static HWND make_form() {
    static HWND shared = nullptr;
    if (!IsWindow(shared)) {
      shared = CreateWindowExW(0, L"STATIC", L"form", WS_POPUP | kFormVisibility, 0, 0, 400, 300,
                               nullptr, nullptr, nullptr, nullptr);
    }
    return shared;
  }

  HWND form_ = make_form();
  StubContainer container_{form_};
  ComPtr<_PlexumLink> link_ = file().create();
  ComPtr<IOleObject> object_;
};

TEST_F(FaceTest, ItsLabelsAreReadableWindows) {
  EXPECT_EQ(show(), S_OK);
  EXPECT_EQ(container_.take_calls(), (Calls{"OnInPlaceActivate", "ShowObject"}));
  EXPECT_EQ(
      texts_below(window()),
      (std::vector<std::wstring>{L"Plexum", L"PLC link", L"Version " PLEXUM_VERSION, L"", L"0"}));
  EXPECT_EQ(IsWindowVisible(window()) != FALSE, kCanDraw);
  RECT bounds{};
  GetWindowRect(window(), &bounds);
  EXPECT_EQ(bounds.right - bounds.left, 240);
  EXPECT_EQ(bounds.bottom - bounds.top, 96);
}

// Without a timer, as while the form is designed, the status stays; the state doesn't wait for one.
TEST_F(FaceTest, TheTimerShowsTheStatusAndTheStateShowsAtOnce) {
  set_ambient(DISPID_AMBIENT_USERMODE, false);
  EXPECT_EQ(show(), S_OK);
  container_.take_calls();
  TcpPeer peer;
  std::vector<std::wstring> seen;
  const ThreadTimer timer(300, [&] {
    seen = texts_below(window());
    link_->put_Tzeit(0);
  });
  EXPECT_EQ(connect(peer), S_OK);
  ASSERT_EQ(seen.size(), 5u);
  EXPECT_EQ(seen[3], L"");
  EXPECT_EQ(seen[4], L"7");
  EXPECT_EQ(container_.take_calls(), Calls{});
  set_ambient(DISPID_AMBIENT_USERMODE, true);
  run_until_status(L"INI Exit");
  EXPECT_EQ(status(), L"INI Exit");
}

TEST_F(FaceTest, TheStatusShowsWhileAJobWaits) {
  EXPECT_EQ(show(), S_OK);
  TcpPeer peer;
  std::wstring seen;
  const ThreadTimer timer(500, [&] {
    seen = status();
    link_->put_Tzeit(0);
  });
  EXPECT_EQ(connect(peer), S_OK);
  EXPECT_EQ(seen, L"Connect Wait Data");
}

TEST_F(FaceTest, AnIdleControlAsksForNoAmbientProperty) {
  EXPECT_EQ(show(), S_OK);
  link_->put_Tzeit(1);
  const int asked = container_.ambient_questions;
  EXPECT_GT(asked, 0);
  const DWORD begin = GetTickCount();
  while (GetTickCount() - begin < 1100) link_->MsgWait(50);
  EXPECT_EQ(container_.ambient_questions, asked);
  ambient_changed(DISPID_AMBIENT_BACKCOLOR);
  EXPECT_EQ(container_.ambient_questions, asked + 1) << "that one, and only once";
}

TEST_F(FaceTest, FollowsTheContainersRectangles) {
  EXPECT_EQ(show(), S_OK);
  ComPtr<IOleInPlaceObject> in_place;
  link_.As(&in_place);
  const RECT position{0, 0, 480, 192};
  const RECT clip{0, 0, 100, 100};
  EXPECT_EQ(in_place->SetObjectRects(&position, &clip), S_OK);
  RECT label{};
  GetClientRect(GetWindow(window(), GW_CHILD), &label);
  EXPECT_GE(label.right, 200) << "labels grow with the face";
  HRGN region = CreateRectRgn(0, 0, 0, 0);
  RECT shown{};
  EXPECT_NE(GetWindowRgn(window(), region), ERROR);
  GetRgnBox(region, &shown);
  DeleteObject(region);
  EXPECT_EQ(shown.right, 100);
  EXPECT_EQ(in_place->SetObjectRects(nullptr, nullptr), E_POINTER);
}

TEST_F(FaceTest, TakesTheFocusUnlessTheContainersUserInterfaceIsDead) {
  set_ambient(DISPID_AMBIENT_UIDEAD, true);
  EXPECT_EQ(show(OLEIVERB_UIACTIVATE), S_OK);
  EXPECT_EQ(container_.take_calls(), (Calls{"OnInPlaceActivate", "ShowObject"}));
  set_ambient(DISPID_AMBIENT_UIDEAD, false);
  SendMessageW(window(), WM_LBUTTONDOWN, 0, 0);
  EXPECT_EQ(container_.take_calls(),
            (Calls{"OnUIActivate", "OnFocus 1", "SetActiveObject", "SetBorderSpace"}));
  EXPECT_EQ(GetFocus(), window());
  EXPECT_EQ(GetWindowLongW(window(), GWL_EXSTYLE) & WS_EX_CONTROLPARENT, 0)
      << "there is nothing in it to tab to";
  BYTE keys[256] = {};
  keys[VK_SHIFT] = 0x80;
  EXPECT_TRUE(SetKeyboardState(keys));
  ComPtr<IOleInPlaceActiveObject> active;
  link_.As(&active);
  MSG key{window(), WM_KEYDOWN, VK_TAB, 0, 0, {}};
  EXPECT_EQ(active->TranslateAccelerator(&key), S_OK);
  keys[VK_SHIFT] = 0;
  SetKeyboardState(keys);
  EXPECT_EQ(container_.take_calls(), Calls{"TranslateAccelerator 1"});
  EXPECT_EQ(object_->DoVerb(OLEIVERB_HIDE, nullptr, nullptr, 0, form_, nullptr), S_OK);
  EXPECT_EQ(container_.take_calls(),
            (Calls{"SetActiveObject null", "OnUIDeactivate", "OnFocus 0"}));
  EXPECT_FALSE(IsWindowVisible(window()));
  close();
  EXPECT_EQ(container_.take_calls(), Calls{"OnInPlaceDeactivate"});
}

TEST_F(FaceTest, ARefusedActivationLeavesNothing) {
  container_.allows_activation = false;
  EXPECT_EQ(show(), E_FAIL);
  EXPECT_EQ(window(), nullptr);
  EXPECT_EQ(container_.take_calls(), Calls{});
  EXPECT_EQ(object_->DoVerb(OLEIVERB_OPEN, nullptr, nullptr, 0, nullptr, nullptr), E_NOTIMPL);
}

TEST_F(FaceTest, SurvivesTheEndOfTheWindowAboveIt) {
  EXPECT_EQ(show(), S_OK);
  DestroyWindow(form_);
  EXPECT_EQ(window(), nullptr);
  VARIANT_BOOL result = VARIANT_FALSE;
  EXPECT_EQ(link_->ag_exit(&result), S_OK);
}

TEST_F(FaceTest, AFormMayCloseWhileAJobWaits) {
  EXPECT_EQ(show(), S_OK);
  TcpPeer peer;
  const ThreadTimer timer(150, [&] {
    close();
    DestroyWindow(form_);
    link_.Reset();
  });
  EXPECT_EQ(connect(peer), E_ABORT);
  EXPECT_TRUE(file().is_unused());
}

TEST_F(FaceTest, AControlMayGoWithoutBeingClosed) {
  EXPECT_EQ(show(), S_OK);
  object_.Reset();
  link_.Reset();
  EXPECT_TRUE(file().is_unused());
  EXPECT_EQ(GetWindow(form_, GW_CHILD), nullptr);
}

// What a host may do from inside a call that the control makes or a box that it shows.
class FaceReentry : public FaceTest {
 protected:
  struct Deed {
    const char* name;
    bool ends_box;  // without anybody's click
    std::function<void()> act;
  };

  std::vector<Deed> deeds() {
    return {{"releases all it holds", true, [this] { release(); }},
            {"closes the control", false, [this] { close(); }},
            {"takes its site back", false, [this] { object_->SetClientSite(nullptr); }},
            {"hides the control", false, [this] { verb(OLEIVERB_HIDE); }},
            {"activates the control", false, [this] { verb(OLEIVERB_UIACTIVATE); }},
            {"has changed its colours", false, [this] { ambient_changed(DISPID_UNKNOWN); }},
            {"lets a property", false, [this] { EXPECT_EQ(link_->put_Tzeit(7), S_OK); }},
            {"quits", true, [] { PostQuitMessage(42); }},
            {"ends the connection", false, [this] {
               VARIANT_BOOL ended = VARIANT_FALSE;
               EXPECT_EQ(link_->ag_exit(&ended), S_OK);
             }}};
  }

  // All that a container does with a control, from its birth on. A deed may end it half-way.
  void live() {
    link_ = file().create();
    link_.As(&object_);
    link_.As(&points_);
    const std::function<void()> steps[] = {
        [this] { EXPECT_EQ(object_->SetClientSite(&container_), S_OK); },
        [this] {
          DWORD connection = 0;
          object_->Advise(&container_, &connection);
        },
        [this] {
          ComPtr<IConnectionPoint> point;
          points_->FindConnectionPoint(__uuidof(IPropertyNotifySink), &point);
          points_.Reset();
          DWORD cookie = 0;
          point->Advise(static_cast<IOleClientSite*>(&container_), &cookie);
        },
        [this] {
          ComPtr<IViewObject> view;
          link_.As(&view);
          view->SetAdvise(DVASPECT_CONTENT, ADVF_PRIMEFIRST, &container_);
        },
        [this] { verb(OLEIVERB_UIACTIVATE); },
        [this] { link_->put_Tzeit(5); },
        [this] { ambient_changed(DISPID_UNKNOWN); },
        [this] {
          ComPtr<IOleInPlaceActiveObject> active;
          link_.As(&active);
          MSG key{};
          active->TranslateAccelerator(&key);
        },
        [this] { verb(OLEIVERB_HIDE); },
        [this] { verb(OLEIVERB_PROPERTIES); },
        [this] { object_->Close(OLECLOSE_SAVEIFDIRTY); },
    };
    for (const auto& step : steps) {
      if (object_) step();
    }
  }
  void finish(const Deed& deed) {
    container_.on_call = nullptr;
    close();
    release();
    EXPECT_EQ(container_.references(), 0u);
    EXPECT_TRUE(file().is_unused());
    MSG message{};
    const bool quits = PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) &&
                       message.message == WM_QUIT && message.wParam == 42;
    EXPECT_EQ(quits, deed.name == std::string("quits"));
  }
  // Each as one call of an interface that the caller holds only in a variable of the host.
  void verb(LONG number) { object_->DoVerb(number, nullptr, &container_, 0, form_, nullptr); }

 private:
  void release() {
    points_.Reset();
    object_.Reset();
    link_.Reset();
  }

  ComPtr<IConnectionPointContainer> points_;
};

TEST_F(FaceReentry, AHostMayDoAnythingFromEveryCall) {
  std::vector<std::string> calls;
  container_.on_call = [&](const std::string& call) { calls.push_back(call); };
  live();
  finish({"nothing", false, {}});
  const std::set<std::string> kinds(calls.begin(), calls.end());
  for (const char* kind : {"ambient", "OnInPlaceActivate", "ShowObject", "OnUIActivate",
                           "OnFocus 1", "OnFocus 0", "SetActiveObject", "SetActiveObject null",
                           "OnChanged", "OnViewChange", "OnUIDeactivate", "TranslateAccelerator 0",
                           "ShowPropertyFrame", "SaveObject", "OnInPlaceDeactivate", "OnClose"}) {
    EXPECT_TRUE(kinds.contains(kind)) << kind;
  }
  for (const Deed& deed : deeds()) {
    for (std::size_t at = 0; at < calls.size(); ++at) {
      SCOPED_TRACE(deed.name + (" from " + calls[at]) + ", call " + std::to_string(at));
      std::size_t count = 0;
      container_.on_call = [&](const std::string&) {
        if (count++ != at || !object_) return;
        deed.act();
        EXPECT_FALSE(file().is_unused()) << "the call holds the control";
      };
      live();
      finish(deed);
    }
  }
}

TEST_F(FaceReentry, AHostMayDoAnythingWhileABoxIsOpen) {
  for (const Deed& deed : deeds()) {
    SCOPED_TRACE(deed.name);
    link_ = file().create();
    link_.As(&object_);
    EXPECT_EQ(show(), S_OK);
    container_.take_calls();
    Calls before;
    HWND box = nullptr;
    const ThreadTimer timer(50, [&] {
      before = container_.take_calls();
      box = FindWindowW(L"#32770", L"face_tests");
      deed.act();
      EXPECT_FALSE(file().is_unused()) << "the call holds the control";
      if (!deed.ends_box) PostMessageW(box, WM_COMMAND, IDOK, 0);
    });
    _PlexumLink* link = link_.Get();
    BstrVariable number(L"1E40");
    BstrVariable bytes;
    EXPECT_EQ(link->flottobeyt(&number, &bytes), S_OK);
    EXPECT_NE(box, nullptr);
    EXPECT_FALSE(IsWindow(box));
    EXPECT_EQ(before, Calls{"EnableModeless 0"});
    const Calls after = container_.take_calls();
    if (link_ && object_ && deed.name == std::string("ends the connection")) {
      EXPECT_EQ(after, Calls{"EnableModeless 1"});
    }
    finish(deed);
  }
}

// A frame of property pages.
class PageSite final : public IPropertyPageSite {
 public:
  int changes = 0;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE OnStatusChange(DWORD) override {
    ++changes;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetLocaleID(LCID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetPageContainer(IUnknown**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG*) override { return S_FALSE; }
};

TEST_F(FaceTest, ThePropertyPageChangesWhatTheUserEdits) {
  if (!kCanDraw) GTEST_SKIP() << "a dialog draws as it is made";
  ComPtr<ISpecifyPropertyPages> pages;
  ASSERT_EQ(link_.As(&pages), S_OK);
  CAUUID ids{};
  ASSERT_EQ(pages->GetPages(&ids), S_OK);
  ComPtr<IPropertyPage> page = file().create<IPropertyPage>(ids.pElems[0]);
  CoTaskMemFree(ids.pElems);
  link_->put_TsapF(BstrVariable(L"3.2").get());
  const auto second = file().create();

  PageSite site;
  EXPECT_EQ(page->SetPageSite(&site), S_OK);
  PROPPAGEINFO information{};
  EXPECT_EQ(page->GetPageInfo(&information), S_OK);
  EXPECT_EQ(std::wstring(information.pszTitle), L"Connection");
  EXPECT_GT(information.size.cx, 100);
  CoTaskMemFree(information.pszTitle);
  IUnknown* links[] = {link_.Get(), second.Get()};
  EXPECT_EQ(page->SetObjects(2, links), S_OK);
  const RECT position{0, 0, 300, 200};
  EXPECT_EQ(page->Activate(form_, &position, FALSE), S_OK);
  EXPECT_EQ(page->Show(SW_SHOW), S_OK);
  HWND dialog = GetWindow(form_, GW_CHILD);
  const auto texts = texts_below(dialog);
  ASSERT_EQ(texts.size(), 8u);
  EXPECT_EQ(texts[5], L"3.2");
  EXPECT_EQ(texts[7], L"100");
  EXPECT_EQ(page->IsPageDirty(), S_FALSE);
  EXPECT_EQ(site.changes, 0);

  SetDlgItemTextW(dialog, 204, L"soon");
  EXPECT_EQ(page->IsPageDirty(), S_OK);
  EXPECT_EQ(page->Apply(), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(page->IsPageDirty(), S_OK);
  SetDlgItemTextW(dialog, 204, L"250");
  SetDlgItemTextW(dialog, 201, L"10.0.0.1");
  EXPECT_GE(site.changes, 3);
  EXPECT_EQ(page->Apply(), S_OK);
  EXPECT_EQ(page->IsPageDirty(), S_FALSE);
  LONG time = 0;
  EXPECT_EQ(second->get_Tzeit(&time), S_OK);
  EXPECT_EQ(time, 250);
  BstrVariable called;
  EXPECT_EQ(second->get_TsapF(&called), S_OK);
  EXPECT_EQ(called.text(), L"0") << "what nobody edited";
  BstrVariable address;
  EXPECT_EQ(link_->get_CP_IP(&address), S_OK);
  EXPECT_EQ(address.text(), L"10.0.0.1");
  EXPECT_EQ(page->Deactivate(), S_OK);
  EXPECT_EQ(page->SetObjects(0, nullptr), S_OK);
  EXPECT_EQ(page->SetPageSite(nullptr), S_OK);
}

}  // namespace
}  // namespace plexum::test
