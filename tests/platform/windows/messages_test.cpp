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
  const MessageWindow window([&](UINT, WPARAM number, LPARAM) {
    EXPECT_EQ(number, static_cast<WPARAM>(handled++)) << "in their order";
  });
  for (int i = 0; i < kMessages; ++i)
    PostMessageW(window.handle(), WM_APP, static_cast<WPARAM>(i), 0);
  int slices = 0;
  for (; handled < kMessages && slices < kMessages; ++slices) {
    const int before = handled;
    ASSERT_TRUE(a_wait_ends_early());
    EXPECT_EQ(handled, before) << "a wait handles nothing";
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
  EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE));
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
  WNDCLASSW description{};
  const HMODULE module = GetModuleHandleW(nullptr);
  for (const bool last : {false, true}) {
    const MessageWindow first([](UINT, WPARAM, LPARAM) {});
    if (!last) const MessageWindow second([](UINT, WPARAM, LPARAM) {});
    EXPECT_EQ(MessageWindow::count(), 1);
    EXPECT_TRUE(GetClassInfoW(module, MessageWindow::class_name(), &description));
  }
  EXPECT_EQ(MessageWindow::count(), 0);
  EXPECT_FALSE(GetClassInfoW(module, MessageWindow::class_name(), &description));
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
