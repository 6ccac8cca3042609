#include "platform/windows/messages.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "platform/windows/message_window.h"
#include "platform/windows/windows_headers.h"

namespace plexum::windows {
namespace {

bool a_wait_ends_early() {
  constexpr std::uint32_t kLongTime = 20'000;  // milliseconds
  const std::uint32_t start = tick_count();
  wait_for_input(kLongTime);
  return tick_count() - start < kLongTime / 2;
}

bool queue_is_empty() {
  MSG message{};
  return !PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
}

TEST(MessagesTest, AMessageEndsAWaitAndIsDispatched) {
  std::vector<UINT> seen;
  const MessageWindow window([&](UINT message, WPARAM, LPARAM) { seen.push_back(message); });
  PostMessageW(window.handle(), WM_APP, 0, 0);
  PostMessageW(window.handle(), WM_APP + 1, 0, 0);
  EXPECT_TRUE(a_wait_ends_early());
  EXPECT_TRUE(seen.empty());
  process_messages();
  EXPECT_EQ(seen, (std::vector<UINT>{WM_APP, WM_APP + 1}));
}

TEST(MessagesTest, AWaitWithoutMessagesLastsItsTime) {
  process_messages();
  const std::uint32_t start = tick_count();
  wait_for_input(50);
  EXPECT_GE(tick_count() - start, 30u);
}

// Messages that the pump has seen and left would not end a wait by themselves.
TEST(MessagesTest, WhatABoundedPumpLeavesEndsTheNextWait) {
  constexpr int kMessages = 1000;
  int handled = 0;
  int slices = 0;
  const MessageWindow window([&](UINT, WPARAM, LPARAM) { ++handled; });
  for (int i = 0; i < kMessages; ++i) PostMessageW(window.handle(), WM_APP, 0, 0);
  for (; handled < kMessages && slices < kMessages; ++slices) {
    ASSERT_TRUE(a_wait_ends_early());
    process_messages();
  }
  EXPECT_EQ(handled, kMessages);
  EXPECT_GT(slices, 1);
}

TEST(MessagesTest, AQuitStaysForTheHost) {
  PostQuitMessage(42);
  for (int slice = 0; slice < 3; ++slice) {
    EXPECT_TRUE(a_wait_ends_early());
    process_messages();
  }
  MSG message{};
  EXPECT_EQ(GetMessageW(&message, nullptr, 0, 0), 0);
  EXPECT_EQ(message.wParam, 42u);
  EXPECT_TRUE(queue_is_empty());
}

std::vector<WPARAM> characters;

LRESULT CALLBACK take_characters(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_CHAR) characters.push_back(wparam);
  return DefWindowProcW(window, message, wparam, lparam);
}

// Whoever sets a window's procedure decides whether it is a Unicode or an ANSI window.
TEST(MessagesTest, WindowsGetCharactersInTheirOwnForm) {
  const HWND window =
      CreateWindowW(L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
  SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&take_characters));
  PostMessageW(window, WM_CHAR, 0x0410, 0);
  process_messages();
  SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&take_characters));
  PostMessageA(window, WM_CHAR, 0x80, 0);
  process_messages();
  DestroyWindow(window);
  EXPECT_EQ(characters, (std::vector<WPARAM>{0x0410, 0x80}));
}

TEST(MessageWindowTest, TheClassGoesWithTheLastWindow) {
  const auto class_exists = [] {
    WNDCLASSW window_class{};
    return GetClassInfoW(GetModuleHandleW(nullptr), MessageWindow::class_name(), &window_class) !=
           FALSE;
  };
  {
    const MessageWindow first([](UINT, WPARAM, LPARAM) {});
    const MessageWindow second([](UINT, WPARAM, LPARAM) {});
    EXPECT_EQ(MessageWindow::count(), 2);
    EXPECT_TRUE(class_exists());
  }
  EXPECT_EQ(MessageWindow::count(), 0);
  EXPECT_FALSE(class_exists());
}

TEST(MessageWindowTest, AHandlerMayDestroyItsWindowAndMayThrow) {
  std::unique_ptr<MessageWindow> window;
  int handled = 0;
  window = std::make_unique<MessageWindow>([&](UINT message, WPARAM, LPARAM) {
    ++handled;
    if (message == WM_APP) throw std::runtime_error("lost");
    window.reset();
  });
  for (UINT message = WM_APP; message < WM_APP + 3; ++message) {
    PostMessageW(window->handle(), message, 0, 0);
  }
  process_messages();
  EXPECT_EQ(handled, 2);
  EXPECT_EQ(window, nullptr);
}

}  // namespace
}  // namespace plexum::windows
