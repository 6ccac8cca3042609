#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <set>

#include "cli/commands/commands.h"
#include "cli/plc/poll.h"
#include "cli/system/child_program.h"
#include "cli/system/path.h"
#include "cli/system/terminal.h"
#include "cli/text/failure.h"
#include "cli/text/iso_time.h"

namespace plexum::cli {
namespace {

struct PlotOptions {
  PollOptions poll;
  std::string output = "plot.png";
};

// One curve: a variable, or an element of an array.
struct Curve {
  std::string name;
  bool steps;        // a BOOL
  std::string data;  // a line for each poll: seconds, value; an empty line interrupts the curve
};

double number_of(const PlcValue& value) {
  if (const auto* truth = std::get_if<bool>(&value)) return *truth ? 1 : 0;
  if (const auto* integer = std::get_if<std::int64_t>(&value)) {
    return static_cast<double>(*integer);
  }
  if (const auto* real = std::get_if<float>(&value)) return static_cast<double>(*real);
  if (const auto* time = std::get_if<std::chrono::milliseconds>(&value)) {
    return std::chrono::duration<double>(*time).count();
  }
  return NAN;  // a timer or counter without decimal digits
}

class Curves final : public PollObserver {
 public:
  // Throws a usage error for texts.
  explicit Curves(const std::vector<PlcAddress>& addresses) : addresses_(addresses) {
    for (const PlcAddress& address : addresses) {
      if (address.type == PlcType::kChar || address.type == PlcType::kString) {
        throw usage_error(address.text + ": a text can't be plotted");
      }
      for (unsigned i = 0; i < address.count; ++i) {
        const std::string element = address.array ? " [" + std::to_string(i) + "]" : "";
        curves_.push_back({address.text + element, address.type == PlcType::kBool, ""});
      }
    }
  }

  void begin_progress(double duration) {
    duration_ = duration;
    if (may_animate(Stream::kError)) {
      progress_.emplace("sampling", static_cast<std::size_t>(std::ceil(duration)));
    } else {
      std::cerr << "sampling for " << text(duration) << " s\n";
    }
  }

  // A variable that can't be read leaves a gap, and is told of once.
  void on_values(PollTime time, const std::vector<PolledVariable>& variables) override {
    const double seconds = since_start(time);
    std::size_t curve = 0;
    for (std::size_t i = 0; i < variables.size(); ++i) {
      const std::vector<PlcValue>& values = variables[i].values;
      if (!variables[i].trouble.empty() && told_.insert(i).second) {
        std::cerr << addresses_[i].text << ": " << variables[i].trouble << '\n';
      }
      for (unsigned element = 0; element < addresses_[i].count; ++element) {
        const double value = values.empty() ? NAN : number_of(values[element]);
        curves_.at(curve++).data +=
            text(seconds) + ' ' + (std::isfinite(value) ? text(value) : "NaN") + '\n';
        any_value_ = any_value_ || std::isfinite(value);
      }
    }
    ++samples_;
    show_progress(seconds);
  }

  void on_failure(PollTime time, const std::string& line) override {
    for (Curve& curve : curves_) curve.data += '\n';
    progress_.reset();
    std::cerr << iso_text_utc(time) << " outage: " << line << '\n';
  }

  [[nodiscard]] std::size_t samples() const { return samples_; }
  [[nodiscard]] bool any_value() const { return any_value_; }
  [[nodiscard]] const std::vector<Curve>& curves() const { return curves_; }
  [[nodiscard]] PollTime start() const { return start_.value_or(PollTime()); }
  void end_progress() { progress_.reset(); }

  static std::string text(double number) {
    char text[40];
    std::snprintf(text, sizeof text, "%.9g", number);
    return text;
  }

 private:
  double since_start(PollTime time) {
    if (!start_) start_ = time;
    return std::chrono::duration<double>(time - *start_).count();
  }

  void show_progress(double seconds) {
    while (progress_ && shown_ < seconds && shown_ < duration_) {
      progress_->step("s");
      ++shown_;
    }
  }

  const std::vector<PlcAddress>& addresses_;
  std::set<std::size_t> told_;  // places of the variables whose trouble was told
  bool any_value_ = false;
  double duration_ = 0;
  std::vector<Curve> curves_;
  std::optional<Progress> progress_;
  std::optional<PollTime> start_;
  std::size_t samples_ = 0;
  double shown_ = 0;  // seconds
};

// A text for gnuplot in quotes that keep every character as it is.
std::string quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "''" : std::string(1, c);
  return quoted + "'";
}

// gnuplot's terminal for the picture that a file's name asks for.
std::string picture_of(const std::string& file) {
  for (const char c : file) {
    if (static_cast<unsigned char>(c) < ' ') throw usage_error("a file's name on one line, please");
  }
  const std::string suffix = path_from_utf8(file).extension().string();
  if (suffix == ".png") return "pngcairo size 1000,500";
  if (suffix == ".svg") return "svg size 1000,500 background rgb 'white'";
  throw usage_error("--output " + file + ": only .png and .svg can be made");
}

std::string gnuplot_script(const std::string& picture, const std::string& file,
                           const std::string& title, const std::vector<Curve>& curves) {
  std::string script = "set encoding utf8\nset terminal " + picture +
                       " noenhanced\n"
                       "set output " +
                       quoted(file) + "\nset title " + quoted(title) +
                       "\n"
                       "set xlabel 'seconds'\n"
                       "set key outside right top\n"
                       "set grid\n"
                       "set offsets graph 0, 0, 0.05, 0.05\n";
  std::string plots;
  for (std::size_t i = 0; i < curves.size(); ++i) {
    const std::string block = "$curve" + std::to_string(i);
    script += block + " << END\n" + curves[i].data + "END\n";
    plots += (i == 0 ? "plot " : ", ") + block + " using 1:2 with " +
             (curves[i].steps ? "steps" : "lines") + " linewidth 2 title " + quoted(curves[i].name);
  }
  return script + plots + "\nset output\n";
}

// Runs gnuplot. With an empty script this only checks that there is one.
void run_gnuplot(const std::string& script) {
  const std::optional<int> code = run_with_input("gnuplot", script);
  if (!code) {
    throw Failure("gnuplot isn't there, which draws the plot: install it (on Debian gnuplot-nox)");
  }
  if (*code != 0) {
    throw Failure("gnuplot failed with exit code " + std::to_string(*code) +
                  "; what it said stands above");
  }
}

// Draws under another name and renames the picture when it is whole.
void draw(const std::string& picture, const std::filesystem::path& file, const std::string& title,
          const std::vector<Curve>& curves) {
  std::filesystem::path part = file;
  part += ".part";
  try {
    run_gnuplot(gnuplot_script(picture, utf8_from_path(part), title, curves));
  } catch (const Failure&) {
    std::error_code none;
    std::filesystem::remove(part, none);
    throw;
  }
  std::filesystem::rename(part, file);
}

void plot(const PlotOptions& options) {
  // Everything that can be wrong is checked before the sampling begins.
  const std::string picture = picture_of(options.output);
  const std::filesystem::path file = std::filesystem::absolute(path_from_utf8(options.output));
  if (!std::filesystem::is_directory(file.parent_path())) {
    throw Failure("--output " + options.output + ": there is no such folder");
  }
  const std::vector<PlcAddress> addresses = polled_addresses(options.poll);
  Curves curves(addresses);
  run_gnuplot("");
  PlcConnection plc(options.poll.connection);
  plc.connect();
  curves.begin_progress(options.poll.duration);
  poll(plc, addresses, options.poll, curves);
  curves.end_progress();
  if (curves.samples() == 0) throw Failure("interrupted before anything was sampled");
  if (!curves.any_value()) throw Failure("no variable has a value that can be drawn");
  draw(picture, file, plc.plc_name() + " from " + iso_text_utc(curves.start()), curves.curves());
  std::cerr << curves.samples() << " samples, drawn in " << options.output << '\n';
}

}  // namespace

void add_plot_command(CLI::App& program) {
  const auto options = std::make_shared<PlotOptions>();
  options->poll.interval = 100;
  options->poll.duration = 10;
  CLI::App& command =
      *program.add_subcommand("plot", "Draws the values of variables over time (with gnuplot)");
  command.footer(
      "Examples:\n"
      "  plexum plot --sim MD104:REAL MW108 M110.0 --duration 30\n"
      "  plexum plot --ip 192.0.2.10 DB10.DBD8:REAL --interval 1000 --output level.svg");
  command.add_option("--duration", options->poll.duration, "Seconds to sample for")
      ->check(CLI::Range(0.1, 86'400.0))
      ->capture_default_str();
  command.add_option("--output", options->output, "The picture: .png or .svg")
      ->type_name("FILE")
      ->capture_default_str();
  add_poll_options(command, options->poll);
  command.callback([options] { plot(*options); });
}

}  // namespace plexum::cli
