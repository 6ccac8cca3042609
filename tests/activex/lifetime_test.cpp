#include "activex/control_host.h"
#include "activex/thread_timer.h"
#include "support/tcp_peer.h"

namespace plexum::test {
namespace {

// A control whose PLC takes the connection and then says nothing: every job waits for minutes.
class Lifetime : public ControlTest {
 protected:
  Lifetime() { EXPECT_EQ(link_->put_Tzeit(1000000), S_OK); }

  // ag_ini to the silent PLC.
  HRESULT connect(_PlexumLink* link, VARIANT_BOOL* result) {
    return Address(peer_.port()).ini(link, result);
  }

  TcpPeer peer_;
  ComPtr<_PlexumLink> link_ = file().create();
};

TEST_F(Lifetime, TheLastReleaseEndsAWait) {
  VARIANT_BOOL result = VARIANT_TRUE;
  {
    _PlexumLink* link = link_.Detach();
    const ThreadTimer timer(50, [link] { link->Release(); });
    EXPECT_EQ(connect(link, &result), E_ABORT);
  }
  EXPECT_EQ(result, VARIANT_FALSE);
  EXPECT_TRUE(file().is_unused());
  _PlexumLink* late = file().create().Detach();
  late->put_Tzeit(1000000);
  const ThreadTimer timer(50, [late] { late->Release(); });
  EXPECT_EQ(
      invoke(late, L"ag_ini", DISPATCH_METHOD, list(L"127.0.0.1", peer_.port(), L"1.0", L"3.2"))
          .error,
      E_ABORT);
}

TEST_F(Lifetime, AReleaseThatIsNotTheLastLetsTheWaitGoOn) {
  link_->AddRef();
  const ThreadTimer timer(50, [this] {
    link_->Release();
    link_->put_Tzeit(0);  // takes effect at once
  });
  VARIANT_BOOL result = VARIANT_TRUE;
  EXPECT_EQ(connect(link_.Get(), &result), S_OK);
  LONG err = 0;
  EXPECT_EQ(link_->get_err(&err), S_OK);
  EXPECT_EQ(err, 3);
}

TEST_F(Lifetime, AHostMayFreeItsArgumentsInAWait) {
  Address address(peer_.port());
  const ThreadTimer timer(50, [&] {
    for (BSTR* text : {&address.host, &address.port, &address.calling, &address.called}) {
      SysFreeString(*text);
      *text = SysAllocString(L"changed by the host meanwhile, and longer than it was");
    }
    link_->put_Tzeit(0);
  });
  VARIANT_BOOL result = VARIANT_TRUE;
  EXPECT_EQ(address.ini(link_.Get(), &result), S_OK);
  EXPECT_EQ(address.host.text(), L"changed by the host meanwhile, and longer than it was");
}

TEST_F(Lifetime, AHostMayCallInFromAWait) {
  const ThreadTimer timer(50, [this] {
    VARIANT_BOOL busy = VARIANT_TRUE;
    BstrVariable number(L"x");
    BstrVariable bytes;
    // An error inside is the inner call's own.
    EXPECT_EQ(link_->wordtobeyt(&number, &bytes), static_cast<HRESULT>(0x800A000D));
    EXPECT_EQ(link_->ag_exit(&busy), S_OK);
    EXPECT_EQ(link_->put_Tzeit(0), S_OK);
  });
  VARIANT_BOOL result = VARIANT_TRUE;
  EXPECT_EQ(connect(link_.Get(), &result), S_OK);
  EXPECT_EQ(result, VARIANT_FALSE);
}

// Inside the wait of one control another one waits; the outer wait can only end after the inner.
TEST_F(Lifetime, WaitsOfTwoControlsNest) {
  const auto inner = file().create();
  inner->put_Tzeit(1000000);
  _PlexumLink* outer = link_.Detach();
  VARIANT_BOOL inner_result = VARIANT_TRUE;
  bool ended = false;
  const ThreadTimer timer(20, [&] {
    const ThreadTimer nested(20, [&] {
      outer->Release();  // the last one, while its own wait is below on the stack
      inner->put_Tzeit(0);
    });
    EXPECT_EQ(connect(inner.Get(), &inner_result), S_OK);
    ended = true;
  });
  VARIANT_BOOL outer_result = VARIANT_TRUE;
  EXPECT_EQ(connect(outer, &outer_result), E_ABORT);
  EXPECT_TRUE(ended);
  EXPECT_EQ(inner_result, VARIANT_FALSE);
  EXPECT_EQ(outer_result, VARIANT_FALSE);
}

TEST_F(Lifetime, QuitIsLeftToTheHost) {
  const ThreadTimer timer(50, [this] {
    PostQuitMessage(42);
    link_->put_Tzeit(0);
  });
  VARIANT_BOOL result = VARIANT_TRUE;
  EXPECT_EQ(connect(link_.Get(), &result), S_OK);
  MSG message{};
  EXPECT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 42u);
}

}  // namespace
}  // namespace plexum::test
