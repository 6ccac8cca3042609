// soak [JOBS [SEED]]: mixed jobs of one control against the simulated PLC, some of them struck by a
// fault. What a job says it did is held against the PLC's inside; after a fault the control finds
// its PLC again by its next jobs; memory, handles and threads stay what they were. Ends with 1, and
// with a line that names the job, at the first thing that isn't so.

#include <malloc.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <span>
#include <stdexcept>
#include <utility>

#include "base/runtime_error.h"
#include "cli/link/command_environment.h"
#include "cli/link/local_platform.h"
#include "control/plexum_link.h"
#include "sim/simulated_plc.h"
#include "tests/support/block_images.h"

namespace plexum {
namespace {

// Slices: for what comes however busy the machine is, and for what never comes.
constexpr std::int32_t kPatient = 10'000;
constexpr std::int32_t kImpatient = 8;
// One job may refuse and drop the connection, and one more may find it gone.
constexpr int kMostFailuresAfterAFault = 2;

struct Untrue : std::runtime_error {
  using runtime_error::runtime_error;
};

void demand(bool holds, const std::string& what) {
  if (!holds) throw Untrue(what);
}

template <typename Type>
bool holds(const Value& value, const Type& wanted) {
  const auto* const held = std::get_if<Type>(&value);
  return held != nullptr && *held == wanted;
}

// Leads the port that jobs dial by themselves to the simulator's.
class Redirected final : public TcpClient {
 public:
  Redirected(TcpClient& inner, std::int32_t port) : inner_(inner), port_(port) {}

  std::int16_t State() override { return inner_.State(); }
  std::int32_t BytesReceived() override { return inner_.BytesReceived(); }
  void RemoteHost(const std::string& host) override { inner_.RemoteHost(host); }
  void RemotePort(std::int32_t) override { inner_.RemotePort(port_); }
  void Connect() override { inner_.Connect(); }
  void SendData(const std::string& bytes) override { inner_.SendData(bytes); }
  std::string GetData() override { return inner_.GetData(); }
  void Close() override { inner_.Close(); }

 private:
  TcpClient& inner_;
  std::int32_t port_;
};

std::size_t entries_of(const char* folder) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    static_cast<void>(entry);
    ++count;
  }
  return count;
}

struct Resources {
  std::size_t heap = ::mallinfo2().uordblks;  // 0 where a sanitizer has the heap
  std::size_t handles = entries_of("/proc/self/fd");
  std::size_t threads = entries_of("/proc/self/task");
};

class Soak {
 public:
  explicit Soak(unsigned seed) : random_(seed) {
    environment_.on_message_box = [](const std::string&) {};
    link_.CP_IP("127.0.0.1");
    link_.TsapE("1.0");
    link_.TsapF("3.2");
    link_.Tzeit(kPatient);
    demand(download() && set_clock(), "the first jobs");
  }

  void run(int jobs) {
    for (int done = 0; done < jobs; ++done) {
      // What is made once has been made by then.
      if (done == jobs / 10) before_ = settled();
      try {
        step();
      } catch (const Untrue& untrue) {
        throw Untrue("job " + std::to_string(done + 1) + ", " + job_ + ", " + fault_ + ": " +
                     untrue.what());
      }
    }
    Resources after = settled();
    for (int waits = 0; waits < 100 && after.handles > before_.handles; ++waits) after = settled();
    demand(after.heap <= before_.heap + 64 * 1024, "memory grew");
    demand(after.handles == before_.handles, "handles are left");
    demand(after.threads == before_.threads, "threads are left");
    std::cout << jobs << " jobs, " << faults_ << " faults, of which " << harmless_
              << " did no harm; found again by the";
    for (const int count : recoveries_) std::cout << ' ' << count;
    std::cout << " (first, second, third) job after it; heap " << before_.heap << " to "
              << after.heap << " bytes, " << after.handles << " handles, " << after.threads
              << " threads\n";
  }

 private:
  // What a job does with the answer decides what a late or divided one does to it.
  enum class Kind { kExact, kWhole, kTransfer };
  struct Job {
    const char* name;
    Kind kind;
    bool (Soak::*run)();  // whether it says that it succeeded; throws where that is untrue
  };

  std::size_t below(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
  }

  void step() {
    // Downloads are slow: the PLC takes its time before its own first job.
    const Job& job = below(100) == 0 ? kDownload : kJobs[below(kJobs.size())];
    job_ = job.name;
    fault_ = "no fault";
    link_.Tzeit(kPatient);
    const bool struck = below(job.kind == Kind::kTransfer ? 40 : 8) == 0;
    const bool connecting = struck && below(8) == 0;
    const bool harmless = struck && !connecting && below(4) == 0;
    if (connecting) {
      link_.ag_exit();
      link_.s7init(false);
      strike(kConnectionFaults);
    } else if (harmless) {
      // A job that waits for less than it takes needs its answer in one piece.
      strike(job.kind == Kind::kExact ? kHarmlessFaults
                                      : std::span<const char* const>(kHarmlessFaults).first(2));
    } else if (struck) {
      // A transfer takes a telegram that comes twice for two.
      strike(job.kind == Kind::kExact ? kFaults : std::span<const char* const>(kFaults).subspan(1));
    }
    if (struck && !harmless) link_.Tzeit(kImpatient);
    const bool succeeded = ends_well(job);
    const bool raised = raised_;
    demand(succeeded || (struck && !harmless),
           "it failed without a fault, with err " + std::to_string(link_.err()));
    if (!struck) return;
    ++faults_;
    if (harmless) ++harmless_;
    plc_.clear_faults();
    link_.Tzeit(kPatient);
    // The careful host's steps after a run-time error, and where an answer that comes after its
    // time would be taken for the next one's. Nothing else needs any.
    if (raised || fault_ == "late=40" || fault_ == "double") {
      link_.ag_exit();
      link_.s7init(false);
      link_.inuse(false);
      link_.err(0);
    }
    recover();
  }

  // With one connection that stands, and time for the simulator to have closed the others.
  Resources settled() {
    link_.ag_exit();
    link_.Tzeit(kPatient);
    recover();
    link_.MsgWait(100);
    return {};
  }

  void strike(std::span<const char* const> faults) {
    fault_ = faults[below(faults.size())];
    plc_.add_fault(fault_);
  }

  bool ends_well(const Job& job) {
    raised_ = false;
    try {
      return (this->*job.run)();
    } catch (const RuntimeError& error) {
      raised_ = true;
      const std::int32_t number = error.number();
      demand(
          number == kInvalidArgument || number == kSubscriptOutOfRange || number == kTcpWrongState,
          "run-time error " + std::to_string(number));
      return false;
    }
  }

  // By jobs alone; ag_Read is one of those that drop a lost connection, which ag_ReadB isn't.
  void recover() {
    const std::string job = std::exchange(job_, job_ + " and then a read");
    for (int failures = 0; failures <= kMostFailuresAfterAFault; ++failures) {
      if (ends_well({"ag_Read", Kind::kExact, &Soak::read_numbers})) {
        demand(link_.err() == 0 && link_.s7init() && !link_.inuse(), "the state after a good job");
        ++recoveries_[static_cast<std::size_t>(failures)];
        job_ = job;
        return;
      }
    }
    throw Untrue("the PLC isn't found again");
  }

  // -- the jobs

  static constexpr const char* kBlock = "5";
  static constexpr std::size_t kBlockSize = 1024;

  std::string stored(std::size_t from, std::size_t count) {
    return plc_.access([&](sim::Plc& plc) {
      const sim::Bytes& bytes = *plc.memory.find(sim::Area::kDataBlock, 5);
      const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(from);
      return std::string(first, first + static_cast<std::ptrdiff_t>(count));
    });
  }
  sim::Mode mode() {
    return plc_.access([](sim::Plc& plc) { return plc.mode; });
  }
  std::string random_bytes(std::size_t count) {
    std::string bytes;
    while (bytes.size() < count) bytes += static_cast<char>(below(256));
    return bytes;
  }

  bool read_numbers() {
    const std::size_t count = 1 + below(200);
    const std::size_t from = below(kBlockSize - count);
    const Value value =
        link_.ag_Read(kBlock, std::to_string(count), std::to_string(from), "B", "D");
    if (value.is_empty()) return false;
    DoubleArray wanted;
    for (const char c : stored(from, count)) {
      wanted.elements.push_back(static_cast<unsigned char>(c));
    }
    demand(holds(value, wanted), "other numbers than the PLC's");
    return true;
  }
  bool read_bytes() {
    const std::size_t count = 1 + below(200);
    const std::size_t from = below(kBlockSize - count);
    const Value value =
        link_.ag_ReadB(kBlock, std::to_string(count), std::to_string(from), "C", "D");
    if (value.is_empty()) return false;
    demand(holds(value, stored(from, count)), "other bytes than the PLC's");
    return true;
  }
  // The bytes that a write should have left, where it says so.
  bool wrote(bool succeeded, std::size_t from, const std::string& bytes) {
    demand(succeeded == (link_.err() == 0), "result and err contradict each other");
    if (succeeded) demand(stored(from, bytes.size()) == bytes, "not in the PLC what was written");
    return succeeded;
  }
  bool write_bytes() {
    const std::string bytes = random_bytes(1 + below(180));
    const std::size_t from = below(kBlockSize - bytes.size());
    std::string start = std::to_string(from);
    return wrote(holds(link_.ag_WriteMB(kBlock, start, bytes, "D"), true), from, bytes);
  }
  bool write_byte() {
    const std::string byte = random_bytes(1);
    const std::size_t from = below(kBlockSize);
    return wrote(holds(link_.ag_WriteB(kBlock, std::to_string(from), byte, "D"), true), from, byte);
  }
  bool write_bit() {
    const std::size_t from = below(kBlockSize);
    const std::size_t bit = below(8);
    const bool on = below(2) != 0;
    std::string bytes = stored(from, 1);
    const int mask = 1 << bit;
    bytes[0] = static_cast<char>(on ? bytes[0] | mask : bytes[0] & ~mask);
    std::string start = std::to_string(from);
    return wrote(link_.ag_WriteX(kBlock, start, on ? "1" : "0", "D", std::to_string(bit)), from,
                 bytes);
  }
  bool write_word() {
    const std::size_t word = below(65536);
    const std::size_t from = below(kBlockSize - 1);
    return wrote(link_.ag_WriteW(kBlock, std::to_string(from), std::to_string(word), "D"), from,
                 {static_cast<char>(word >> 8), static_cast<char>(word & 255)});
  }
  bool write_double_word() {
    const std::size_t from = below(kBlockSize - 3);
    const std::size_t high = below(65536);
    const std::size_t low = below(65536);
    std::string start = std::to_string(from);
    std::string value = std::to_string(high * 65536 + low);
    return wrote(link_.ag_WriteD(kBlock, start, value, "D"), from,
                 {static_cast<char>(high >> 8), static_cast<char>(high & 255),
                  static_cast<char>(low >> 8), static_cast<char>(low & 255)});
  }
  bool write_float() {
    const std::size_t from = below(kBlockSize - 3);
    std::string start = std::to_string(from);
    std::string value = "3.14";
    return wrote(link_.ag_WriteF(kBlock, start, value, "D"), from, "\x40\x48\xF5\xC2");
  }
  // A refused service tells no result, one that was answered True.
  static bool served(const Value& value) { return holds(value, true); }
  bool stop() {
    const bool succeeded = served(link_.pg_plcstop());
    if (succeeded) demand(mode() == sim::Mode::kStop, "the PLC didn't stop");
    return succeeded;
  }
  bool start() {
    const bool succeeded = served(link_.pg_plcstart());
    if (succeeded) demand(mode() == sim::Mode::kRun, "the PLC didn't start");
    return succeeded;
  }
  bool compress() { return served(link_.pg_plccompress()); }
  bool copy_to_rom() { return served(link_.pg_Ramtorom()); }
  bool read_mode() {
    const Value value = link_.pg_plcRunMode();
    const auto* const bits = std::get_if<VariantArray>(&value);
    if (bits == nullptr || link_.err() != 0) return false;
    int byte = 0;
    for (std::size_t i = 0; i < bits->elements.size(); ++i) {
      byte |= holds(bits->elements[i], std::string("1")) ? 1 << i : 0;
    }
    // The low byte of the last transition's event: 5144 runs, 4304 was stopped.
    demand(byte == (mode() == sim::Mode::kRun ? 0x44 : 0x04), "another mode than the PLC's");
    return true;
  }
  bool read_lamps() {
    const Value value = link_.pg_SZL();
    return std::holds_alternative<VariantArray>(value) && link_.err() == 0;
  }
  bool list_blocks() {
    const Value value = link_.pg_ListBlock("DB");
    link_.inuse(false);
    const auto* const numbers = std::get_if<VariantArray>(&value);
    if (numbers == nullptr || !link_.s7init()) return false;
    if (numbers->lower == 0) return false;  // empty, and so is a refusal
    demand(numbers->elements.size() == 10, "another number of blocks than the PLC's");
    return true;
  }
  bool read_clock() {
    const Value value = link_.pg_ReadClock();
    const auto* const texts = std::get_if<VariantArray>(&value);
    if (texts == nullptr || !link_.s7init()) return false;
    demand(holds(texts->elements.at(0), std::string("2001")), "another year than the PLC's");
    return true;
  }
  bool set_clock() {
    link_.pg_SetClock("2001", "2", "3", "4", "5", "6", "789");
    link_.inuse(false);
    return link_.s7init() && link_.err() == 0;
  }
  bool upload() {
    const Value value = link_.pg_ReadBlock("FC", "00007");
    if (value.is_empty() || !link_.s7init() || link_.err() != 0) return false;
    demand(holds(value, image_), "another block than the PLC's");
    return true;
  }
  bool download() {
    const std::string image =
        test::block_image(0x0C, 7, 36 + below(700), static_cast<unsigned>(below(1000)));
    link_.pg_WriteBlock(image);
    const bool succeeded = link_.s7init() && link_.err() == 0;
    const std::string inside = plc_.access([](sim::Plc& plc) {
      const sim::Bytes bytes = plc.blocks.image({sim::BlockType::kFunction, 7});
      return std::string(bytes.begin(), bytes.end());
    });
    if (succeeded) demand(inside == image, "not in the PLC what was downloaded");
    image_ = inside;
    return succeeded;
  }

  static const std::array<Job, 18> kJobs;
  static const Job kDownload;
  static constexpr const char* kHarmlessFaults[] = {"late=2", "late=1", "pieces=9:1"};
  static constexpr const char* kFaults[] = {
      "double",    "silence",    "late=40", "length=1",   "length=5",    "length=18",
      "length=19", "close",      "reset",   "then-close", "then-reset",  "silence@2",
      "close@2",   "error=D209", "reset@2", "error=8104", "length=12@2",
  };
  // Without a setup answer that is cut: the job goes on with the rest of it in its own answer.
  static constexpr const char* kConnectionFaults[] = {
      "confirm:silence", "confirm:length=21", "confirm:close", "confirm:reset", "setup:silence",
      "setup:close",     "setup:reset",       "accept:close",  "accept:reset",
  };

  sim::SimulatedPlc plc_{[] {
    sim::Options options;
    options.port = 0;
    options.download_pause = std::chrono::milliseconds(60);
    return options;
  }()};
  cli::LocalPlatform platform_;
  cli::CommandEnvironment environment_{platform_.environment()};
  Redirected tcp_client_{platform_.tcp_client(), plc_.port()};
  PlexumLink link_{environment_, tcp_client_};

  std::mt19937 random_;
  std::string job_, fault_;
  std::string image_;  // of FC 7
  Resources before_;
  bool raised_ = false;
  int faults_ = 0;
  int harmless_ = 0;
  std::array<int, kMostFailuresAfterAFault + 1> recoveries_{};
};

const std::array<Soak::Job, 18> Soak::kJobs{{
    {"ag_Read", Kind::kExact, &Soak::read_numbers},
    {"ag_Read", Kind::kExact, &Soak::read_numbers},
    {"ag_WriteMB", Kind::kExact, &Soak::write_bytes},
    {"ag_WriteB", Kind::kExact, &Soak::write_byte},
    {"ag_WriteX", Kind::kExact, &Soak::write_bit},
    {"ag_WriteW", Kind::kExact, &Soak::write_word},
    {"ag_WriteD", Kind::kExact, &Soak::write_double_word},
    {"ag_WriteF", Kind::kExact, &Soak::write_float},
    {"pg_plcstop", Kind::kExact, &Soak::stop},
    {"pg_plcstart", Kind::kExact, &Soak::start},
    {"pg_plccompress", Kind::kExact, &Soak::compress},
    {"pg_Ramtorom", Kind::kExact, &Soak::copy_to_rom},
    {"pg_plcRunMode", Kind::kWhole, &Soak::read_mode},
    {"pg_SZL", Kind::kWhole, &Soak::read_lamps},
    {"pg_ListBlock", Kind::kWhole, &Soak::list_blocks},
    {"pg_ReadClock", Kind::kWhole, &Soak::read_clock},
    {"pg_SetClock", Kind::kWhole, &Soak::set_clock},
    {"pg_ReadBlock", Kind::kTransfer, &Soak::upload},
}};
const Soak::Job Soak::kDownload{"pg_WriteBlock", Kind::kTransfer, &Soak::download};

}  // namespace
}  // namespace plexum

int main(int argc, char** argv) {
  const int jobs = argc > 1 ? std::atoi(argv[1]) : 10'000;
  const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
  try {
    plexum::Soak(seed).run(jobs);
  } catch (const std::exception& error) {
    std::cout << "seed " << seed << ": " << error.what() << '\n';
    return 1;
  }
  return 0;
}
