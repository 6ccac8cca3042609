#include "platform/windows/code_page.h"

#include <gtest/gtest.h>

#include <string>

#include "base/runtime_error.h"

namespace plexum::windows {
namespace {

TEST(CodePageTest, EveryByteComesBackThroughEveryAnsiCodePage) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  for (const UINT number : {874u, 932u, 936u, 949u, 950u, 1250u, 1251u, 1252u, 1253u, 1254u, 1255u,
                            1256u, 1257u, 1258u, 65001u}) {
    const CodePage code_page(number);
    EXPECT_EQ(code_page.bytes_from_text(code_page.text_from_bytes(bytes)), bytes) << number;
  }
}

TEST(CodePageTest, BytesAreTheCharactersOfTheCodePage) {
  const struct {
    UINT code_page;
    std::wstring text;
    std::string bytes;
  } kCases[] = {
      {1252, L"\x007F\x20AC\x02DC\x00C0", "\x7F\x80\x98\xC0"},
      {1251, L"\x007F\x0402\x0098\x0410", "\x7F\x80\x98\xC0"},
      {932, L"\x007F\x0080\x0098\x00C0", "\x7F\x80\x98\xC0"},  // two bytes a character
  };
  for (const auto& one : kCases) {
    EXPECT_EQ(CodePage(one.code_page).text_from_bytes(one.bytes), one.text) << one.code_page;
  }
  EXPECT_EQ(CodePage(1252).bytes_from_text(L"\x0080\x0098\x009F"), "\x80\x98\x9F");
  // Best fits don't count: a capital A with grave is none of the Cyrillic characters.
  EXPECT_EQ(CodePage(1251).bytes_from_text(L"\x00C0\x0410"), "\xC0\xC0");
  try {
    static_cast<void>(CodePage(1252).bytes_from_text(L"1\x0100"));
    ADD_FAILURE() << "an A with macron is no A";
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.number(), kInvalidArgument);
  }
}

TEST(Utf8Test, EveryUtf16TextComesBack) {
  const struct {
    std::wstring text;
    std::string utf8;
  } kCases[] = {
      {std::wstring(L"a\0b", 3), std::string("a\0b", 3)},
      {L"\x007F\x0080\x07FF\x0800\xFFFF", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
      {L"\xD83D\xDE00\xDBFF\xDFFF", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
      // Unpaired: before a character, in the wrong order, and before a pair.
      {L"\xD800x", "\xED\xA0\x80x"},
      {L"\xDC00\xD800", "\xED\xB0\x80\xED\xA0\x80"},
      {L"\xD83D\xD83D\xDE00", "\xED\xA0\xBD\xF0\x9F\x98\x80"},
  };
  for (const auto& one : kCases) {
    EXPECT_EQ(utf8_from_utf16(one.text), one.utf8);
    EXPECT_EQ(utf16_from_utf8(one.utf8), one.text);
  }
}

TEST(Utf8Test, BytesThatAreNoUtf8BecomeReplacements) {
  EXPECT_EQ(utf16_from_utf8("\x80 \xFF \xC3( a\xC3"), L"\xFFFD \xFFFD \xFFFD( a\xFFFD");
  EXPECT_EQ(utf16_from_utf8("\xC0\xAF"), L"\xFFFD\xFFFD") << "overlong";
  EXPECT_EQ(utf16_from_utf8("\xF4\x90\x80\x80"), L"\xFFFD\xFFFD\xFFFD\xFFFD") << "too large";
}

}  // namespace
}  // namespace plexum::windows
