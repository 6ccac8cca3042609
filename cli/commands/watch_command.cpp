#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>

#include "cli/commands/commands.h"
#include "cli/plc/poll.h"
#include "cli/system/terminal.h"
#include "cli/text/iso_time.h"

namespace plexum::cli {
namespace {

std::string seconds_text(std::chrono::system_clock::duration duration) {
  char text[40];
  std::snprintf(text, sizeof text, "%.1f s", std::chrono::duration<double>(duration).count());
  return text;
}

// The values of the last poll as texts, and whether they differ from those of the poll before.
class Changes {
 public:
  explicit Changes(const std::vector<PlcAddress>& addresses) : addresses_(addresses) {}

  struct Entry {
    std::string address;
    std::string value;
    bool changed = true;
  };

  // After the first poll every value counts as changed.
  const std::vector<Entry>& take(const std::vector<PolledVariable>& variables) {
    entries_.resize(variables.size());
    for (std::size_t i = 0; i < variables.size(); ++i) {
      const PolledVariable& variable = variables[i];
      const std::string text = variable.trouble.empty()
                                   ? text_of_all(addresses_[i], variable.values)
                                   : "! " + variable.trouble;
      const bool changed = entries_[i].address.empty() || entries_[i].value != text;
      entries_[i] = {addresses_[i].text, text, changed};
    }
    return entries_;
  }

  [[nodiscard]] const std::vector<Entry>& entries() const { return entries_; }

 private:
  const std::vector<PlcAddress>& addresses_;
  std::vector<Entry> entries_;
};

// Prints a line for each change on standard output, and outages on standard error.
class ChangeLog final : public PollObserver {
 public:
  explicit ChangeLog(const std::vector<PlcAddress>& addresses) : changes_(addresses) {}

  void on_values(PollTime time, const std::vector<PolledVariable>& variables) override {
    if (lost_) {
      std::cerr << iso_text_utc(time) << " connected again after " << seconds_text(time - *lost_)
                << '\n';
      lost_.reset();
    }
    for (const Changes::Entry& entry : changes_.take(variables)) {
      if (entry.changed) {
        std::cout << iso_text_utc(time) << ' ' << entry.address << ' ' << entry.value << '\n';
      }
    }
    std::cout.flush();
  }

  void on_failure(PollTime time, const std::string& line) override {
    if (lost_) return;
    lost_ = time;
    std::cerr << iso_text_utc(time) << " outage: " << line << '\n';
  }

 private:
  Changes changes_;
  std::optional<PollTime> lost_;
};

// The first `width` characters of a text in UTF-8.
std::string fitted(const std::string& text, std::size_t width) {
  std::size_t characters = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool begins = (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80;
    if (begins && characters++ == width) return text.substr(0, i);
  }
  return text;
}

// Shows the present values on a terminal, one line for each variable, and paints over them with
// every poll. A value that has just changed is inverted.
class Screen final : public PollObserver {
 public:
  Screen(const std::vector<PlcAddress>& addresses, std::string plc, unsigned interval)
      : changes_(addresses),
        title_(std::move(plc) + ", every " + std::to_string(interval) + " ms") {
    for (const PlcAddress& address : addresses) {
      address_width_ = std::max(address_width_, address.text.size());
    }
    std::cout << "\x1B[?25l";  // no cursor
  }

  ~Screen() override { std::cout << "\x1B[?25h" << std::flush; }

  void on_values(PollTime time, const std::vector<PolledVariable>& variables) override {
    ++polls_;
    lost_.reset();
    changes_.take(variables);
    paint(time, "");
  }

  void on_failure(PollTime time, const std::string& line) override {
    ++polls_;
    ++failures_;
    if (!lost_) lost_ = time;
    paint(time, "outage for " + seconds_text(time - *lost_) + ": " + line);
  }

 private:
  void paint(PollTime time, const std::string& trouble) {
    constexpr std::size_t kLinesBeside = 3;  // title, trouble, the cursor's
    const std::size_t height = std::max<std::size_t>(terminal_height(Stream::kOutput), 6);
    width_ = terminal_width(Stream::kOutput) - 1;
    if (lines_ > 0) std::cout << "\x1B[" << lines_ << "A\r";
    lines_ = 0;
    line(title_ + "   " + iso_text_utc(time).substr(11, 8) + " UTC   " + std::to_string(polls_) +
             " polls, " + std::to_string(failures_) + " failed",
         "");
    const std::vector<Changes::Entry>& entries = changes_.entries();
    const std::size_t room = height - kLinesBeside;
    const std::size_t shown = entries.size() <= room ? entries.size() : room - 1;
    for (std::size_t i = 0; i < shown; ++i) {
      const Changes::Entry& entry = entries[i];
      std::string address = "  " + entry.address;
      address.resize(address_width_ + 4, ' ');
      line(address, entry.value, entry.changed && trouble.empty() && polls_ > 1 ? "\x1B[7m" : "");
    }
    if (shown < entries.size()) {
      line("  and " + std::to_string(entries.size() - shown) + " more: the terminal is too low",
           "");
    }
    line("", trouble, "\x1B[31m");
    std::cout << std::flush;
  }

  // Prints a line: first a part without colour, then one in the colour of the escape sequence.
  void line(const std::string& plain, const std::string& coloured, const std::string& colour = "") {
    const std::string first = fitted(plain, width_);
    std::cout << first << (coloured.empty() ? "" : colour)
              << fitted(coloured, width_ - std::min(width_, first.size()))
              << (coloured.empty() || colour.empty() ? "" : "\x1B[0m") << "\x1B[K\n";
    ++lines_;
  }

  Changes changes_;
  const std::string title_;
  std::size_t address_width_ = 0;
  std::size_t width_ = 0;
  std::size_t lines_ = 0;  // painted
  unsigned polls_ = 0;
  unsigned failures_ = 0;
  std::optional<PollTime> lost_;
};

void watch(const PollOptions& options) {
  const std::vector<PlcAddress> addresses = polled_addresses(options);
  PlcConnection plc(options.connection);
  plc.connect();
  std::unique_ptr<PollObserver> observer;
  if (may_animate(Stream::kOutput)) {
    observer = std::make_unique<Screen>(addresses, plc.plc_name(), options.interval);
  } else {
    observer = std::make_unique<ChangeLog>(addresses);
  }
  poll(plc, addresses, options, *observer);
}

}  // namespace

void add_watch_command(CLI::App& program) {
  const auto options = std::make_shared<PollOptions>();
  CLI::App& command =
      *program.add_subcommand("watch", "Shows variables as they change, until it is interrupted");
  command.footer(
      "On a terminal the values change in place; elsewhere every change is a line. A variable "
      "that\n"
      "can't be read shows why, after a \"!\". A PLC that is lost is connected to again, for as "
      "long\n"
      "as it takes.\n\n"
      "Examples:\n"
      "  plexum watch --sim MW100 MD104:REAL M110.0\n"
      "  plexum watch --ip 192.0.2.10 DB10.DBW4 IB0 --interval 100 --csv values.csv");
  command.add_option("--count", options->count, "End after so many polls")
      ->check(CLI::PositiveNumber);
  command.add_option("--duration", options->duration, "End after so many seconds")
      ->check(CLI::PositiveNumber);
  add_poll_options(command, *options);
  command.callback([options] { watch(*options); });
}

}  // namespace plexum::cli
