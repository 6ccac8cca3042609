#include "cli/plc/poll.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iostream>
#include <optional>
#include <system_error>

#include "cli/plc/round_trips.h"
#include "cli/plc/variables.h"
#include "cli/system/interrupt.h"
#include "cli/system/path.h"
#include "cli/text/failure.h"
#include "cli/text/iso_time.h"

namespace plexum::cli {
namespace {

using Clock = std::chrono::steady_clock;

// A table of comma-separated values: the time, then a column for each address.
class CsvFile {
 public:
  CsvFile(const std::string& path, const std::vector<PlcAddress>& addresses) : path_(path) {
    if (path.empty()) return;
    file_.open(path_from_utf8(path), std::ios::binary);
    std::string row = "time";
    for (const PlcAddress& address : addresses) row += ',' + cell(address.text);
    write(row);
  }

  // The cell of a variable without values is empty.
  void add(PollTime time, const std::vector<PlcAddress>& addresses,
           const std::vector<PolledVariable>& variables) {
    if (path_.empty()) return;
    std::string row = iso_text_utc(time);
    for (std::size_t i = 0; i < variables.size(); ++i) {
      row += ',' + cell(text_of_all(addresses[i], variables[i].values));
    }
    write(row);
  }

 private:
  static std::string cell(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + '"';
  }

  // Flushes after each row, so that an interrupted run leaves whole rows.
  void write(const std::string& row) {
    if (file_ << row << '\n' << std::flush) return;
    throw std::system_error(errno, std::generic_category(), path_);
  }

  const std::string path_;
  std::ofstream file_;
};

PolledVariable polled(const PlcAddress& address, const ReadResult& result) {
  if (result.refusal) return {{}, result.refusal->meaning};
  try {
    return {values_of(address, result.bytes), ""};
  } catch (const Failure& failure) {
    return {{}, failure.what()};
  }
}

std::vector<PolledVariable> poll_once(PlcConnection& plc, const std::vector<PlcAddress>& addresses,
                                      RoundTrips& times) {
  plc.connect();
  const Clock::time_point start = Clock::now();
  const std::vector<ReadResult> results = read_variables(plc, addresses);
  times.add(Clock::now() - start);
  std::vector<PolledVariable> variables;
  for (std::size_t i = 0; i < addresses.size(); ++i) {
    variables.push_back(polled(addresses[i], results[i]));
  }
  return variables;
}

}  // namespace

void add_poll_options(CLI::App& command, PollOptions& options) {
  command
      .add_option("address", options.addresses, "Variables, such as DB10.DBW4, MD104:REAL, M5.1")
      ->required()
      ->type_name("ADDRESS");
  command.add_option("--interval", options.interval, "Milliseconds from one poll to the next")
      ->check(CLI::Range(1u, 86'400'000u))
      ->capture_default_str();
  command.add_option("--csv", options.csv_path, "Write the values of every poll to a table, too")
      ->type_name("FILE");
  add_connection_options(command, options.connection);
}

std::vector<PlcAddress> polled_addresses(const PollOptions& options) {
  std::vector<PlcAddress> addresses;
  for (const std::string& text : options.addresses) {
    addresses.push_back(parse_address(text));
    require_readable(addresses.back());
  }
  return addresses;
}

std::chrono::milliseconds pause_after_failure(unsigned number) {
  constexpr std::chrono::milliseconds kFirst{1000};
  constexpr std::chrono::milliseconds kLongest{10'000};
  std::chrono::milliseconds pause = kFirst;
  for (; number > 1 && pause < kLongest; --number) pause *= 2;
  return std::min(pause, kLongest);
}

void poll(PlcConnection& plc, const std::vector<PlcAddress>& addresses, const PollOptions& options,
          PollObserver& observer) {
  const InterruptScope interrupt;
  CsvFile csv(options.csv_path, addresses);
  RoundTrips times;
  unsigned polls = 0;
  unsigned failures = 0;
  unsigned failures_in_a_row = 0;
  std::optional<Failure> outage;
  const std::chrono::duration<double> duration(options.duration);
  const Clock::time_point start = Clock::now();
  const auto over = [&] {
    return interrupt.interrupted() || (options.count > 0 && polls >= options.count) ||
           (options.duration > 0 && Clock::now() - start >= duration);
  };

  plc.cancel_when([&] { return interrupt.interrupted(); });
  const std::chrono::milliseconds interval(options.interval);
  Clock::time_point next = start;
  while (!over()) {
    std::vector<PolledVariable> variables;
    const PollTime time = std::chrono::system_clock::now();
    try {
      variables = poll_once(plc, addresses, times);
      outage.reset();
    } catch (const Failure& failure) {
      if (interrupt.interrupted()) break;
      if (polls == failures) throw;
      outage = failure;
      plc.disconnect();
    }
    ++polls;
    const Clock::time_point now = Clock::now();
    if (outage) {
      ++failures;
      observer.on_failure(time, outage->what());
      next = now + std::max(interval, pause_after_failure(++failures_in_a_row));
    } else {
      csv.add(time, addresses, variables);
      observer.on_values(time, variables);
      failures_in_a_row = 0;
      // Polls that were due meanwhile are left out.
      next += interval * (1 + std::max<Clock::rep>(0, (now - next) / interval));
    }
    plc.idle(std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()), over);
  }
  plc.cancel_when({});
  std::cerr << polls << " polls, " << failures << " failed; round trips: " << times.summary()
            << '\n';
  if (outage && !interrupt.interrupted()) throw Failure(*outage);
}

}  // namespace plexum::cli
