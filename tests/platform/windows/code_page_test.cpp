#include "platform/windows/code_page.h"

#include <gtest/gtest.h>

#include <string>

#include "control/runtime_error.h"

namespace plexum::windows {
namespace {

std::string all_bytes() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

TEST(CodePageTest, EveryByteComesBackThroughEveryAnsiCodePage) {
  for (const UINT number : {874u, 932u, 936u, 949u, 950u, 1250u, 1251u, 1252u, 1253u, 1254u, 1255u,
                            1256u, 1257u, 1258u, 65001u}) {
    SCOPED_TRACE(number);
    const CodePage code_page(number);
    EXPECT_EQ(code_page.bytes_from_text(code_page.text_from_bytes(all_bytes())), all_bytes());
  }
  EXPECT_EQ(CodePage::ansi().bytes_from_text(CodePage::ansi().text_from_bytes(all_bytes())),
            all_bytes());
}

TEST(CodePageTest, BytesAreTheCharactersOfTheCodePage) {
  const std::string bytes("\x00\x7F\x80\x98\x9F\xC0\xFF", 7);
  const auto text = [&bytes](UINT number) { return CodePage(number).text_from_bytes(bytes); };
  EXPECT_EQ(text(1252), std::wstring(L"\x0000\x007F\x20AC\x02DC\x0178\x00C0\x00FF", 7));
  EXPECT_EQ(text(1251), std::wstring(L"\x0000\x007F\x0402\x0098\x045F\x0410\x044F", 7));
  // More than one byte a character: codes are bytes.
  EXPECT_EQ(text(932), std::wstring(L"\x0000\x007F\x0080\x0098\x009F\x00C0\x00FF", 7));
  EXPECT_EQ(text(65001), std::wstring(L"\x0000\x007F\x0080\x0098\x009F\x00C0\x00FF", 7));
}

TEST(CodePageTest, CharactersOutsideTheTableAreTheirOwnCodes) {
  const CodePage western(1252);
  EXPECT_EQ(western.bytes_from_text(L"\x0080\x0098\x009F"), "\x80\x98\x9F");
  // Best fits don't count: a capital A with grave is none of the Cyrillic characters.
  EXPECT_EQ(CodePage(1251).bytes_from_text(L"\x00C0\x0410"), "\xC0\xC0");
}

TEST(CodePageTest, OtherCharactersAreInvalid) {
  const auto number_of_error = [](UINT code_page, const wchar_t* text) {
    try {
      static_cast<void>(CodePage(code_page).bytes_from_text(text));
    } catch (const RuntimeError& error) {
      return error.number();
    }
    return std::int32_t{0};
  };
  EXPECT_EQ(number_of_error(1252, L"1\x0410"), kInvalidArgument);
  EXPECT_EQ(number_of_error(1252, L"\x0100"), kInvalidArgument);
  EXPECT_EQ(number_of_error(1251, L"\xFFFD"), kInvalidArgument);
  EXPECT_EQ(number_of_error(932, L"\xFF71"), kInvalidArgument);
}

TEST(Utf8Test, EveryUtf16TextComesBack) {
  const struct {
    std::wstring text;
    std::string utf8;
  } kCases[] = {
      {L"", ""},
      {std::wstring(L"a\0b", 3), std::string("a\0b", 3)},
      {L"\x007F\x0080\x07FF\x0800\xFFFF", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
      {L"\xD83D\xDE00\xDBFF\xDFFF", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
      // Unpaired: alone at the end, before a character, and in the wrong order.
      {L"\xD800", "\xED\xA0\x80"},
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
  const struct {
    std::string utf8;
    std::wstring text;
  } kCases[] = {
      {"\x80", L"\xFFFD"},
      {"a\xC3", L"a\xFFFD"},
      {"\xC3(", L"\xFFFD("},
      {"\xC0\xAF", L"\xFFFD\xFFFD"},                      // overlong
      {"\xF4\x90\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"},  // beyond the last character
      {"\xFF\xFE", L"\xFFFD\xFFFD"},
  };
  for (const auto& one : kCases) EXPECT_EQ(utf16_from_utf8(one.utf8), one.text);
}

}  // namespace
}  // namespace plexum::windows
