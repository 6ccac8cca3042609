#include "platform/windows/host_environment.h"

#include <gtest/gtest.h>

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

// Whether windows that are to be seen can be made.
bool has_screen() {
  const HWND window =
      CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  return window != nullptr && DestroyWindow(window);
}

// Where there is no screen, the system refuses the box's window and the call returns at once.
TEST(WindowsHostEnvironmentTest, AbandoningClosesTheBoxThatIsOpen) {
  WindowsHostEnvironment environment;
  HWND box = nullptr;
  const MessageWindow window([&](UINT, WPARAM, LPARAM) {
    box = FindWindowW(L"#32770", L"platform_windows_tests");
    environment.abandon();
  });
  PostMessageW(window.handle(), WM_APP, 0, 0);
  environment.show_message_box("40");
  EXPECT_EQ(environment.abandoned(), has_screen());
  EXPECT_EQ(box != nullptr, has_screen()) << "named after the program";
  EXPECT_EQ(application_name(), L"platform_windows_tests");
}

}  // namespace
}  // namespace plexum::windows
