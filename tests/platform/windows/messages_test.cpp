#include "platform/windows/messages.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/windows/message_window.h"
#include "platform/windows/windows_headers.h"

namespace plexum::windows {
namespace {

constexpr std::uint32_t kLongTime = 20'000;  // milliseconds; a wait that lasts so long has failed

bool ends_early(const std::function<void()>& wait) {
  const std::uint32_t start = tick_count();
  wait();
  return tick_count() - start < kLongTime / 2;
}

// A window as an ANSI or a Unicode program makes it, which records the characters that it gets.
class CharacterWindow {
 public:
  explicit CharacterWindow(bool unicode) : unicode_(unicode) {
    if (unicode) {
      WNDCLASSW window_class{};
      window_class.lpfnWndProc = procedure;
      window_class.lpszClassName = L"CharactersW";
      RegisterClassW(&window_class);
      window_ = CreateWindowW(L"CharactersW", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                              nullptr);
    } else {
      WNDCLASSA window_class{};
      window_class.lpfnWndProc = procedure;
      window_class.lpszClassName = "CharactersA";
      RegisterClassA(&window_class);
      window_ =
          CreateWindowA("CharactersA", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    }
  }
  CharacterWindow(const CharacterWindow&) = delete;
  CharacterWindow& operator=(const CharacterWindow&) = delete;
  ~CharacterWindow() {
    DestroyWindow(window_);
    if (unicode_) {
      UnregisterClassW(L"CharactersW", nullptr);
    } else {
      UnregisterClassA("CharactersA", nullptr);
    }
  }

  [[nodiscard]] HWND handle() const { return window_; }
  static std::vector<WPARAM> take_characters() { return std::exchange(characters, {}); }

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_CHAR) characters.push_back(wparam);
    return IsWindowUnicode(window) ? DefWindowProcW(window, message, wparam, lparam)
                                   : DefWindowProcA(window, message, wparam, lparam);
  }

  static inline std::vector<WPARAM> characters;
  bool unicode_;
  HWND window_;
};

bool queue_is_empty() {
  MSG message{};
  return !PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
}

TEST(MessagesTest, AMessageEndsAWaitAndIsDispatched) {
  std::vector<UINT> seen;
  const MessageWindow window([&](UINT message, WPARAM, LPARAM) { seen.push_back(message); });
  PostMessageW(window.handle(), WM_APP, 0, 0);
  PostMessageW(window.handle(), WM_APP + 1, 0, 0);
  EXPECT_TRUE(ends_early([] { wait_for_input(kLongTime); }));
  EXPECT_TRUE(seen.empty());
  process_messages();
  EXPECT_EQ(seen, (std::vector<UINT>{WM_APP, WM_APP + 1}));
  process_messages();  // harmless when there is nothing
}

TEST(MessagesTest, AWaitWithoutMessagesLastsItsTime) {
  process_messages();
  const std::uint32_t start = tick_count();
  wait_for_input(50);
  EXPECT_GE(tick_count() - start, 30u);
}

// A host whose every message begets another.
TEST(MessagesTest, AFloodEnds) {
  int handled = 0;
  bool flooding = true;
  const MessageWindow window([&](UINT message, WPARAM, LPARAM) {
    ++handled;
    if (flooding) PostMessageW(window.handle(), message, 0, 0);
  });
  PostMessageW(window.handle(), WM_APP, 0, 0);
  process_messages();
  EXPECT_GT(handled, 1);
  flooding = false;
  process_messages();
  EXPECT_TRUE(queue_is_empty());
}

// Messages that the pump has seen and left would not end a wait by themselves.
TEST(MessagesTest, WhatABoundedPumpLeavesEndsTheNextWait) {
  constexpr int kMessages = 1000;
  int handled = 0;
  int slices = 0;
  const MessageWindow window([&](UINT, WPARAM, LPARAM) { ++handled; });
  for (int i = 0; i < kMessages; ++i) PostMessageW(window.handle(), WM_APP, 0, 0);
  for (; handled < kMessages && slices < kMessages; ++slices) {
    ASSERT_TRUE(ends_early([] { wait_for_input(kLongTime); }));
    process_messages();
  }
  EXPECT_EQ(handled, kMessages);
  EXPECT_GT(slices, 1);
  process_messages();
  EXPECT_TRUE(queue_is_empty());
}

TEST(MessagesTest, AQuitStaysForTheHost) {
  int handled = 0;
  const MessageWindow window([&](UINT, WPARAM, LPARAM) { ++handled; });
  PostMessageW(window.handle(), WM_APP, 0, 0);
  PostQuitMessage(42);
  for (int slice = 0; slice < 3; ++slice) {
    EXPECT_TRUE(ends_early([] { wait_for_input(kLongTime); }));
    process_messages();
  }
  EXPECT_EQ(handled, 1);
  MSG message{};
  EXPECT_EQ(GetMessageW(&message, nullptr, 0, 0), 0);
  EXPECT_EQ(message.wParam, 42u);
  EXPECT_TRUE(queue_is_empty());
}

TEST(MessagesTest, WindowsGetCharactersInTheirOwnForm) {
  {
    const CharacterWindow window(true);
    PostMessageW(window.handle(), WM_CHAR, 0x20AC, 0);
    process_messages();
    EXPECT_EQ(CharacterWindow::take_characters(), std::vector<WPARAM>{0x20AC});
  }
  {
    const CharacterWindow window(false);
    PostMessageA(window.handle(), WM_CHAR, 0x80, 0);
    process_messages();
    EXPECT_EQ(CharacterWindow::take_characters(), std::vector<WPARAM>{0x80});
  }
}

TEST(MessageWindowTest, TheClassGoesWithTheLastWindow) {
  const auto class_exists = [] {
    WNDCLASSEXW window_class{};
    window_class.cbSize = sizeof window_class;
    return GetClassInfoExW(GetModuleHandleW(nullptr), MessageWindow::class_name(), &window_class) !=
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
  SendMessageW(window->handle(), WM_APP, 0, 0);
  PostMessageW(window->handle(), WM_APP + 1, 0, 0);
  PostMessageW(window->handle(), WM_APP + 2, 0, 0);
  process_messages();
  EXPECT_EQ(handled, 2);
  EXPECT_EQ(window, nullptr);
}

}  // namespace
}  // namespace plexum::windows
