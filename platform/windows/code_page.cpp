#include "platform/windows/code_page.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/runtime_error.h"

namespace plexum::windows {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool is_single_byte(UINT code_page) {
  CPINFO info{};
  return GetCPInfo(code_page, &info) && info.MaxCharSize == 1;
}

// The character of one byte; bytes that the code page leaves undefined stand for themselves.
wchar_t character_of(UINT code_page, unsigned char byte) {
  const char narrow = static_cast<char>(byte);
  wchar_t wide = 0;
  if (MultiByteToWideChar(code_page, 0, &narrow, 1, &wide, 1) == 1) return wide;
  return static_cast<wchar_t>(byte);
}

constexpr bool is_high_surrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
constexpr bool is_low_surrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

void append_utf8(std::string& out, char32_t c) {
  const auto byte = [&out](char32_t value) { out += static_cast<char>(value); };
  const auto continuation = [&byte, c](unsigned shift) { byte(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    byte(c);
  } else if (c < 0x800) {
    byte(0xC0 | (c >> 6));
    continuation(0);
  } else if (c < 0x10000) {
    byte(0xE0 | (c >> 12));
    continuation(6);
    continuation(0);
  } else {
    byte(0xF0 | (c >> 18));
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

void append_utf16(std::wstring& out, char32_t c) {
  if (c < 0x10000) {
    out += static_cast<wchar_t>(c);
    return;
  }
  out += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
  out += static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
}

// Takes one character off the front of a text that isn't empty.
char32_t take_utf8(std::string_view& text) {
  struct Form {
    unsigned char mask, lead;
    std::size_t length;
    char32_t smallest;
  };
  static constexpr Form kForms[] = {
      {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

  const auto at = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (const Form& form : kForms) {
    if ((at(0) & form.mask) != form.lead) continue;
    char32_t c = at(0) & static_cast<unsigned char>(~form.mask);
    std::size_t length = 1;
    while (length < form.length && length < text.size() && (at(length) & 0xC0) == 0x80) {
      c = (c << 6) | (at(length) & 0x3F);
      ++length;
    }
    if (length < form.length || c < form.smallest || c > 0x10FFFF) break;
    text.remove_prefix(length);
    return c;
  }
  text.remove_prefix(1);
  return kReplacement;
}

}  // namespace

CodePage::CodePage(UINT code_page) {
  const bool table = is_single_byte(code_page);
  for (unsigned byte = 0; byte < 256; ++byte) {
    const wchar_t character = table ? character_of(code_page, static_cast<unsigned char>(byte))
                                    : static_cast<wchar_t>(byte);
    characters_[byte] = character;
    bytes_.emplace_back(character, static_cast<char>(byte));
  }
  std::stable_sort(bytes_.begin(), bytes_.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
}

const CodePage& CodePage::ansi() {
  static const CodePage code_page;
  return code_page;
}

std::wstring CodePage::text_from_bytes(std::string_view bytes) const {
  std::wstring text(bytes.size(), L'\0');
  std::transform(bytes.begin(), bytes.end(), text.begin(),
                 [this](char byte) { return characters_[static_cast<unsigned char>(byte)]; });
  return text;
}

std::string CodePage::bytes_from_text(std::wstring_view text) const {
  const auto byte_of = [this](wchar_t character) {
    const auto found =
        std::lower_bound(bytes_.begin(), bytes_.end(), character,
                         [](const auto& entry, wchar_t wanted) { return entry.first < wanted; });
    if (found != bytes_.end() && found->first == character) return found->second;
    if (character > 0xFF) throw RuntimeError(kInvalidArgument);
    return static_cast<char>(character);
  };
  std::string bytes(text.size(), '\0');
  std::transform(text.begin(), text.end(), bytes.begin(), byte_of);
  return bytes;
}

std::string utf8_from_utf16(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (is_high_surrogate(c) && i + 1 < text.size() && is_low_surrogate(text[i + 1])) {
      c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(text[++i]) - 0xDC00);
    }
    append_utf8(out, c);
  }
  return out;
}

std::wstring utf16_from_utf8(std::string_view text) {
  std::wstring out;
  out.reserve(text.size());
  while (!text.empty()) append_utf16(out, take_utf8(text));
  return out;
}

}  // namespace plexum::windows
