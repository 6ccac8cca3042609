#pragma once

#include <span>
#include <string>

namespace plexum::cli {

// What hosts are told of a member of the control, as its type library says it.
struct MemberHelp {
  const char* name;
  const char* signature;  // as VB hosts read it
  const char* help;
};

// Every member, in the order of the dispatch interface.
std::span<const MemberHelp> member_help();

// All of it as text of at most `width` columns.
std::string members_as_text(std::size_t width);

}  // namespace plexum::cli
