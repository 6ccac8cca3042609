#include "platform/windows/host_environment.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "platform/windows/message_box.h"
#include "platform/windows/message_window.h"
#include "platform/windows/windows_headers.h"

namespace plexum::windows {
namespace {

TEST(WindowsHostEnvironmentTest, AnAbandonedJobEndsAtItsNextWait) {
  WindowsHostEnvironment environment;
  const MessageWindow window([&](UINT, WPARAM, LPARAM) { environment.abandon(); });
  PostMessageW(window.handle(), WM_APP, 0, 0);
  environment.wait_for_input(20'000);
  EXPECT_FALSE(environment.abandoned());
  environment.process_messages();
  EXPECT_TRUE(environment.abandoned());
  EXPECT_THROW(environment.wait_for_input(20'000), Abandoned);
  environment.show_message_box("Nobody would close this box");
}

TEST(WindowsHostEnvironmentTest, TicksAdvance) {
  WindowsHostEnvironment environment;
  const std::uint32_t start = environment.tick_count();
  environment.wait_for_input(50);
  const std::uint32_t elapsed = environment.tick_count() - start;
  EXPECT_GE(elapsed, 30u);
  EXPECT_LT(elapsed, 20'000u);
}

TEST(WindowsHostEnvironmentTest, NumbersFollowTheUsersLocale) {
  WindowsHostEnvironment environment;
  const std::string half = environment.text_from_number(0.5);
  EXPECT_TRUE(half == "0.5" || half == "0,5") << half;
  EXPECT_EQ(environment.number_from_text(half), 0.5);
}

TEST(MessageBoxTest, ItIsNamedAfterTheProgram) {
  EXPECT_EQ(std::wstring(L"platform_windows_tests"), application_name());
}

// Whether windows that are to be seen can be made.
bool has_screen() {
  const HWND window =
      CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  return window != nullptr && DestroyWindow(window);
}

// The title of the window that is to be seen.
BOOL CALLBACK take_title(HWND window, LPARAM title) {
  std::array<wchar_t, 64> text{};
  GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  if (IsWindowVisible(window)) *reinterpret_cast<std::wstring*>(title) = text.data();
  return TRUE;
}

// Where there is no screen, the system refuses the box's window and the call returns at once.
TEST(MessageBoxTest, AbandoningClosesTheBoxThatIsOpen) {
  struct Host : WindowsHostEnvironment {
    HWND owner_window() override { return owner; }
    HWND owner = nullptr;
  } host;
  std::wstring title;
  const MessageWindow window([&](UINT, WPARAM, LPARAM) {
    EnumThreadWindows(GetCurrentThreadId(), take_title, reinterpret_cast<LPARAM>(&title));
    host.abandon();
  });
  PostMessageW(window.handle(), WM_APP, 0, 0);
  host.show_message_box("40");
  EXPECT_EQ(host.abandoned(), has_screen());
  if (host.abandoned()) {
    EXPECT_EQ(title, application_name());
  }
}

}  // namespace
}  // namespace plexum::windows
