// plexum_soak [JOBS [SEED]]: mixed jobs of one control against the simulated PLC, some of them
// struck by a fault. What a job says it did is held against the PLC's inside; after a fault the
// control finds its PLC again by its next jobs; memory, handles and threads stay what they were.
// At the first thing that isn't so it ends with 1 and a line that names the job.

#include <malloc.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

#include "base/runtime_error.h"
#include "control/plexum_link.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/host_environment.h"
#include "platform/posix/tcp_client.h"
#include "sim/simulated_plc.h"

namespace plexum::bench {
namespace {

// Limits in slices: for what comes however busy the machine is, and for what never comes.
constexpr std::int32_t kPatient = 10'000;
constexpr std::int32_t kImpatient = 8;
// One job may refuse and drop the connection, and one more may find it gone.
constexpr int kMostFailuresAfterAFault = 2;

constexpr const char* kBlock = "5";
constexpr std::size_t kBlockSize = 1024;
constexpr sim::BlockId kCode{sim::BlockType::kFunction, 7};  // that is uploaded and downloaded

struct Untrue : std::runtime_error {
  using runtime_error::runtime_error;
};

void demand(bool holds, const std::string& what) {
  if (!holds) throw Untrue(what);
}

class SilentHost final : public posix::PosixHostEnvironment {
 public:
  using PosixHostEnvironment::PosixHostEnvironment;
  void show_message_box(const std::string&) override {}
};

// Jobs that connect by themselves dial port 102; this client leads them to the simulator's.
class RedirectedClient final : public TcpClient {
 public:
  RedirectedClient(posix::EventLoop& loop, std::int32_t port) : client_(loop), port_(port) {}

  std::int16_t State() override { return client_.State(); }
  std::int32_t BytesReceived() override { return client_.BytesReceived(); }
  void RemoteHost(const std::string& host) override { client_.RemoteHost(host); }
  void RemotePort(std::int32_t) override { client_.RemotePort(port_); }
  void Connect() override { client_.Connect(); }
  void SendData(const std::string& bytes) override { client_.SendData(bytes); }
  std::string GetData() override { return client_.GetData(); }
  void Close() override { client_.Close(); }

 private:
  posix::PosixTcpClient client_;
  std::int32_t port_;
};

std::ptrdiff_t entries_of(const char* folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

struct Resources {
  std::size_t heap = ::mallinfo2().uordblks;  // 0 where a sanitizer has the heap
  std::ptrdiff_t handles = entries_of("/proc/self/fd");
  std::ptrdiff_t threads = entries_of("/proc/self/task");
};

struct Job {
  // What a job does with its answer decides which faults it can tell from a good answer: one that
  // waits for the whole length (kExact), one that takes what has come when the least is there
  // (kOpen), one of many telegrams (kTransfer).
  enum Kind { kExact, kOpen, kTransfer };

  const char* name;
  Kind kind;
  std::function<bool()> run;  // whether it says that it succeeded; throws where that is untrue
};

using Faults = std::vector<const char*>;
// "double" comes first: a transfer, or a job with an answer of open length, takes the second answer
// for the next one, so they are struck by those behind it alone.
const Faults kFaults = {"double",     "silence",    "late=40", "length=1",   "length=5",
                        "length=18",  "length=19",  "close",   "reset",      "then-close",
                        "silence@2",  "then-reset", "close@2", "error=D209", "reset@2",
                        "error=8104", "length=12@2"};
// "pieces" comes last: only a job that waits for the whole length waits for all of them, so the
// others are struck by those before it alone.
const Faults kHarmless = {"late=2", "late=1", "pieces=9:1"};
// A set-up answer that is cut isn't among them: the job would take its rest for its own answer.
const Faults kWhileConnecting = {"confirm:silence", "confirm:length=21", "confirm:close",
                                 "confirm:reset",   "setup:silence",     "setup:close",
                                 "setup:reset",     "accept:close",      "accept:reset"};

class Soak {
 public:
  explicit Soak(unsigned seed) : random_(seed) {
    link_.CP_IP("127.0.0.1");
    link_.TsapE("1.0");
    link_.TsapF("3.2");
    link_.Tzeit(kPatient);
    demand(download() && set_clock(), "the first jobs");
  }

  void run(int jobs) {
    Resources before;
    for (int done = 0; done < jobs; ++done) {
      if (done == jobs / 10) before = settled();  // what is made once has been made by then
      try {
        step();
      } catch (const Untrue& untrue) {
        throw Untrue("job " + std::to_string(done + 1) + ", " + job_ + ", " + fault_ + ": " +
                     untrue.what());
      }
    }
    Resources after = settled();
    for (int waits = 0; waits < 100 && after.handles > before.handles; ++waits) after = settled();
    // The C library keeps some freed blocks of each size, which count as in use.
    demand(after.heap <= before.heap + 128 * 1024, "memory grew");
    demand(after.handles == before.handles, "handles are left");
    demand(after.threads == before.threads, "threads are left");
    std::cout << jobs << " jobs, " << faults_ << " faults, of which " << harmless_
              << " did no harm; found again by the";
    for (const int count : recoveries_) std::cout << ' ' << count;
    std::cout << " (first, second, third) job after it; heap " << before.heap << " to "
              << after.heap << " bytes, " << after.handles << " handles, " << after.threads
              << " threads\n";
  }

 private:
  std::size_t below(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
  }

  void strike(const Faults& faults, std::size_t from, std::size_t count) {
    fault_ = faults[from + below(count)];
    plc_.add_fault(fault_);
  }

  void step() {
    // Downloads are slow: the PLC takes its time before its own first job.
    const Job& job = below(100) == 0 ? jobs_.back() : jobs_[below(jobs_.size() - 1)];
    job_ = job.name;
    fault_ = "no fault";
    link_.Tzeit(kPatient);
    const bool exact = job.kind == Job::kExact;
    const bool struck = below(job.kind == Job::kTransfer ? 40 : 8) == 0;
    const bool connecting = struck && below(8) == 0;
    const bool harmless = struck && !connecting && below(4) == 0;
    if (connecting) {
      link_.ag_exit();
      link_.s7init(false);
      strike(kWhileConnecting, 0, kWhileConnecting.size());
    } else if (harmless) {
      strike(kHarmless, 0, kHarmless.size() - (exact ? 0 : 1));
    } else if (struck) {
      strike(kFaults, exact ? 0 : 1, kFaults.size() - (exact ? 0 : 1));
    }
    if (struck && !harmless) link_.Tzeit(kImpatient);
    const bool succeeded = ends_well(job);
    demand(succeeded || (struck && !harmless),
           "it failed without a fault, with err " + std::to_string(link_.err()));
    if (!struck) return;
    ++faults_;
    if (harmless) ++harmless_;
    plc_.clear_faults();
    link_.Tzeit(kPatient);
    // The careful host's steps after a run-time error, and where an answer that comes after its
    // time would be taken for the next one's. Nothing else needs any.
    if (raised_ || fault_ == "late=40" || fault_ == "double") {
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

  bool ends_well(const Job& job) {
    raised_ = false;
    try {
      return job.run();
    } catch (const RuntimeError& error) {
      raised_ = true;
      const std::int32_t number = error.number();
      demand(
          number == kInvalidArgument || number == kSubscriptOutOfRange || number == kTcpWrongState,
          "run-time error " + std::to_string(number));
      return false;
    }
  }

  // By jobs alone; ag_Read, the first of them, drops a lost connection, which ag_ReadB doesn't.
  void recover() {
    const std::string job = std::exchange(job_, job_ + " and then a read");
    for (int& recoveries : recoveries_) {
      if (!ends_well(jobs_.front())) continue;
      demand(link_.err() == 0 && link_.s7init() && !link_.inuse(), "the state after a good job");
      ++recoveries;
      job_ = job;
      return;
    }
    throw Untrue("the PLC isn't found again");
  }

  // -- what jobs tell, held against what the PLC holds

  static std::string text_of(const sim::Bytes& bytes) { return {bytes.begin(), bytes.end()}; }
  std::string stored(std::size_t from, std::size_t count) {
    return plc_.access([&](sim::Plc& plc) {
      return text_of(*plc.memory.find(sim::Area::kDataBlock, 5)).substr(from, count);
    });
  }
  std::string random_bytes(std::size_t count) {
    std::string bytes(count, '\0');
    for (char& byte : bytes) byte = static_cast<char>(below(256));
    return bytes;
  }

  bool read(bool as_numbers) {
    const std::size_t count = 1 + below(200);
    const std::size_t from = below(kBlockSize - count);
    const std::string size = std::to_string(count);
    const std::string start = std::to_string(from);
    const Value value = as_numbers ? link_.ag_Read(kBlock, size, start, "B", "D")
                                   : link_.ag_ReadB(kBlock, size, start, "C", "D");
    if (value.is_empty()) return false;
    const std::string bytes = stored(from, count);
    DoubleArray numbers;
    for (const char c : bytes) numbers.elements.push_back(static_cast<unsigned char>(c));
    demand(value == (as_numbers ? Value(numbers) : Value(bytes)), "other bytes than the PLC's");
    return true;
  }

  bool write(const std::string& member, std::size_t size) {
    const std::size_t from = below(kBlockSize - size);
    std::string start = std::to_string(from);
    std::string bytes = random_bytes(size);
    const bool succeeded = write(member, start, bytes) == Value(true);
    demand(succeeded == (link_.err() == 0), "result and err contradict each other");
    if (succeeded) demand(stored(from, size) == bytes, "not in the PLC what was written");
    return succeeded;
  }
  // Writes the bytes, or replaces them by those that it writes.
  Value write(const std::string& member, std::string& start, std::string& bytes) {
    std::uint32_t number = 0;
    for (const char c : bytes) number = number << 8 | static_cast<unsigned char>(c);
    std::string text = std::to_string(number);
    if (member == "ag_WriteB") return link_.ag_WriteB(kBlock, start, bytes, "D");
    if (member == "ag_WriteMB") return link_.ag_WriteMB(kBlock, start, bytes, "D");
    if (member == "ag_WriteW") return link_.ag_WriteW(kBlock, start, text, "D");
    if (member == "ag_WriteD") return link_.ag_WriteD(kBlock, start, text, "D");
    if (member == "ag_WriteF") {
      bytes = "\x40\x48\xF5\xC2";
      return link_.ag_WriteF(kBlock, start, text = "3.14", "D");
    }
    const std::size_t bit = below(8);
    bytes = stored(std::stoul(start), 1);
    bytes[0] = static_cast<char>(bytes[0] ^ 1 << bit);  // ag_WriteX
    const bool on = (bytes[0] >> bit & 1) != 0;
    return link_.ag_WriteX(kBlock, start, on ? "1" : "0", "D", std::to_string(bit));
  }

  // A service is True where an answer came, and False where it was refused.
  bool changed_mode(const Value& value, sim::Mode wanted) {
    const bool succeeded = value == Value(true);
    if (succeeded) demand(mode() == wanted, "the PLC is in another mode");
    return succeeded;
  }
  sim::Mode mode() {
    return plc_.access([](sim::Plc& plc) { return plc.mode; });
  }
  bool read_mode() {
    const Value value = link_.pg_plcRunMode();
    if (link_.err() != 0) return false;
    // The low byte of the last transition's event: 5144 runs, 4304 was stopped.
    std::string texts;
    for (const Value& bit : std::get<VariantArray>(value).elements) {
      texts.insert(0, std::get<std::string>(bit));
    }
    demand(texts == (mode() == sim::Mode::kRun ? "01000100" : "00000100"),
           "another mode than the PLC's");
    return true;
  }
  bool list_blocks() {
    const Value value = link_.pg_ListBlock("DB");
    link_.inuse(false);
    if (!link_.s7init()) return false;
    const auto& numbers = std::get<VariantArray>(value);
    if (numbers.lower == 0) return false;  // empty, and so is a refusal
    demand(numbers.elements.size() == 10, "another number of blocks than the PLC's");
    return true;
  }
  bool read_clock() {
    const Value value = link_.pg_ReadClock();
    if (!link_.s7init()) return false;
    const Value& year = std::get<VariantArray>(value).elements.at(0);
    demand(year == Value(std::string("2001")), "another year than the PLC's");
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
    demand(value == Value(image_), "another block than the PLC's");
    return true;
  }
  bool download() {
    const std::string code = random_bytes(below(700));
    const std::string image =
        text_of(sim::make_block_image(kCode, 5, "SOAK", sim::Bytes(code.begin(), code.end())));
    link_.pg_WriteBlock(image);
    const bool succeeded = link_.s7init() && link_.err() == 0;
    image_ = text_of(plc_.access([](sim::Plc& plc) { return plc.blocks.image(kCode); }));
    if (succeeded) demand(image_ == image, "not in the PLC what was downloaded");
    return succeeded;
  }

  sim::SimulatedPlc plc_{[] {
    sim::Options options;
    options.port = 0;
    options.download_pause = std::chrono::milliseconds(60);
    return options;
  }()};
  posix::EventLoop loop_;
  SilentHost host_{loop_};
  RedirectedClient client_{loop_, plc_.port()};
  PlexumLink link_{host_, client_};

  const std::vector<Job> jobs_{
      {"ag_Read", Job::kExact, [this] { return read(true); }},
      {"ag_ReadB", Job::kExact, [this] { return read(false); }},
      {"ag_WriteX", Job::kExact, [this] { return write("ag_WriteX", 1); }},
      {"ag_WriteB", Job::kExact, [this] { return write("ag_WriteB", 1); }},
      {"ag_WriteMB", Job::kExact, [this] { return write("ag_WriteMB", 1 + below(180)); }},
      {"ag_WriteW", Job::kExact, [this] { return write("ag_WriteW", 2); }},
      {"ag_WriteD", Job::kExact, [this] { return write("ag_WriteD", 4); }},
      {"ag_WriteF", Job::kExact, [this] { return write("ag_WriteF", 4); }},
      {"pg_plcstop", Job::kExact,
       [this] { return changed_mode(link_.pg_plcstop(), sim::Mode::kStop); }},
      {"pg_plcstart", Job::kExact,
       [this] { return changed_mode(link_.pg_plcstart(), sim::Mode::kRun); }},
      {"pg_plccompress", Job::kExact, [this] { return link_.pg_plccompress() == Value(true); }},
      {"pg_Ramtorom", Job::kExact, [this] { return link_.pg_Ramtorom() == Value(true); }},
      {"pg_plcRunMode", Job::kOpen, [this] { return read_mode(); }},
      {"pg_SZL", Job::kOpen, [this] { return !link_.pg_SZL().is_empty() && link_.err() == 0; }},
      {"pg_ListBlock", Job::kOpen, [this] { return list_blocks(); }},
      {"pg_ReadClock", Job::kOpen, [this] { return read_clock(); }},
      {"pg_SetClock", Job::kOpen, [this] { return set_clock(); }},
      {"pg_ReadBlock", Job::kTransfer, [this] { return upload(); }},
      {"pg_WriteBlock", Job::kTransfer, [this] { return download(); }}};

  std::mt19937 random_;
  std::string job_, fault_;
  std::string image_;  // of the block of code
  bool raised_ = false;
  int faults_ = 0;
  int harmless_ = 0;
  std::array<int, kMostFailuresAfterAFault + 1> recoveries_{};
};

}  // namespace
}  // namespace plexum::bench

int main(int argc, char** argv) {
  const int jobs = argc > 1 ? std::atoi(argv[1]) : 10'000;
  const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
  try {
    plexum::bench::Soak(seed).run(jobs);
  } catch (const std::exception& error) {
    std::cout << "seed " << seed << ": " << error.what() << '\n';
    return 1;
  }
  return 0;
}
