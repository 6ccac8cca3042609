#pragma once

#include <string>
#include <vector>

namespace plexum::cli {

// The program's arguments and standard streams, the same on every system: arguments are UTF-8, and
// output bytes reach the stream unchanged. It must live as long as the program reads or writes.
class Console {
 public:
  Console(int argc, char** argv);
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  // As main has them, the program's name first.
  [[nodiscard]] int argc() const { return static_cast<int>(pointers_.size()); }
  [[nodiscard]] const char* const* argv() const { return pointers_.data(); }

 private:
  void point_to_arguments();

  std::vector<std::string> arguments_;
  std::vector<const char*> pointers_;
  unsigned previous_code_page_ = 0;  // of a Windows console, to return to; 0: nothing was changed
};

}  // namespace plexum::cli
