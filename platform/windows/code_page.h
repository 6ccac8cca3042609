#pragma once

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// Byte strings as hosts hold them: texts in which each character stands for one byte, by the table
// of a single-byte code page (what Chr and Asc of VB hosts do), or by its own code where the code
// page needs more than one byte for a character. All 256 bytes survive both ways, NUL included.
class CodePage {
 public:
  // The ANSI code page of the system unless told otherwise.
  explicit CodePage(UINT code_page = CP_ACP);

  // The shared table of the system's ANSI code page.
  static const CodePage& ansi();

  [[nodiscard]] std::wstring text_from_bytes(std::string_view bytes) const;

  // The exact inverse. A character up to 255 that the table doesn't have is its own code, so that
  // byte strings built from character codes fit too; any other is RuntimeError 5.
  [[nodiscard]] std::string bytes_from_text(std::wstring_view text) const;

 private:
  std::array<wchar_t, 256> characters_{};
  std::vector<std::pair<wchar_t, char>> bytes_;  // sorted by character
};

// Texts that are no byte strings (addresses, TSAPs, numbers) are UTF-8 inside. Every UTF-16 text
// comes back unchanged: a surrogate without its partner is encoded like any other character.
// Bytes that are not UTF-8 become U+FFFD.
std::string utf8_from_utf16(std::wstring_view text);
std::wstring utf16_from_utf8(std::string_view text);

}  // namespace plexum::windows
