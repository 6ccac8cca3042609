#include "cli/help/member_help.h"

#include <sstream>

namespace plexum::cli {
namespace {

constexpr MemberHelp kMembers[] = {
#include "member_help.inc"
};

// A paragraph in lines that begin with `indent` spaces.
std::string wrapped(const std::string& paragraph, std::size_t indent, std::size_t width) {
  std::string text;
  std::string line;
  std::istringstream words(paragraph);
  for (std::string word; words >> word;) {
    if (!line.empty() && indent + line.size() + 1 + word.size() > width) {
      text += std::string(indent, ' ') + line + '\n';
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
  }
  return text + std::string(indent, ' ') + line + '\n';
}

}  // namespace

std::span<const MemberHelp> member_help() { return kMembers; }

std::string members_as_text(std::size_t width) {
  std::string text;
  for (const MemberHelp& member : kMembers) {
    text += wrapped(member.signature, 2, width);
    text += wrapped(member.help, 6, width);
  }
  return text;
}

}  // namespace plexum::cli
