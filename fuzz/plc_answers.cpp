// Whole dialogues with a PLC that answers as the fuzzer wants: truly, spoiled, with other bytes, in
// pieces, late, or with the connection's end, while the host calls in from the waits. Whatever was
// said, each job ends in its result or in a run-time error, and the host gets its PLC back.

#include <array>

#include "fuzz/hostile_plc.h"
#include "fuzz/world.h"

namespace plexum::fuzz {
namespace {

constexpr int kMostJobs = 12;
constexpr int kDeepest = 2;  // calls of the host from inside a call

class Dialogue {
 public:
  explicit Dialogue(Input input) : input_(input) {
    world_.host.on_process_messages = [this] { act_as_host(); };
  }

  void run() {
    for (int jobs = 0; jobs < kMostJobs && !input_.empty(); ++jobs) {
      world_.host.waits = 0;
      call();
    }
    recover();
  }

 private:
  void act_as_host() {
    const std::size_t what = input_.below(8);
    if (what == 1 && depth_ < kDeepest) call();
    if (what == 2) world_.link.ag_exit();
    if (what == 3) world_.link.Tzeit(static_cast<std::int32_t>(input_.below(8)));
    if (what == 4) world_.link.err(input_.byte());
    if (what == 5) {
      world_.link.s7init(input_.flag());
      world_.link.inuse(input_.flag());
      world_.link.auftrag_Fehler(input_.byte());
    }
  }

  void call() {
    ++depth_;
    const std::size_t job = input_.below(24);
    const std::size_t shown = input_.byte();
    const std::string number = std::to_string(shown);
    std::string start = "0";
    std::string value = number;
    const char* const type = std::array{"B", "W", "I", "D", "F", "X", "C", ""}[input_.below(8)];
    error_of([&] {
      PlexumLink& link = world_.link;
      // Each of them may be called with the connection down.
      // clang-format off
      switch (job) {
        default: link.ag_Read("1", number, "0", type, "D"); break;
        case 1: link.ag_ReadB("1", number, "0", type, "D"); break;
        case 2: link.ag_WriteX("2", start, "1", "D", "3"); break;
        case 3: link.ag_WriteB("2", start, "x", "D"); break;
        case 4: link.ag_WriteMB("2", start, std::string(shown, 'x'), "D"); break;
        case 5: link.ag_WriteF("2", start, value, "D"); break;
        case 6: link.ag_WriteD("2", start, value, "D"); break;
        case 7: link.ag_WriteW("2", start, value, "D"); break;
        case 8: link.pg_plcstop(); break;
        case 9: link.pg_plcstart(); break;
        case 10: link.pg_plcErase(); break;
        case 11: link.pg_Ramtorom(); break;
        case 12: link.pg_plccompress(); break;
        case 13: link.pg_plcRunMode(); break;
        case 14: link.pg_SZL(); break;
        case 15: link.pg_ReadClock(); break;
        case 16: link.pg_SetClock("2026", "1", number, "3", "4", "5", "678"); break;
        case 17: link.pg_ListBlock(shown > 100 ? "DB" : "SFC"); break;
        case 18: link.pg_ReadBlock("DB", "00001"); break;
        case 19: link.pg_DelBlock("DB", "00003"); break;
        case 20: link.pg_WriteBlock(image(shown)); break;
        case 21: link.ag_ini("127.0.0.1", "102", "1.0", "3.2"); break;
        case 22: link.ag_exit(); break;
        case 23: link.err(0); break;  // as a careful host does
      }
      // clang-format on
    });
    --depth_;
  }

  // A block of code of up to three parts.
  static std::string image(std::size_t size) {
    const sim::Bytes code(2 * size, 0x70);
    const sim::Bytes bytes = sim::make_block_image({sim::BlockType::kFunction, 7}, 5, "FUZZ", code);
    return {bytes.begin(), bytes.end()};
  }

  // The steps that a host takes after any failure: err to 0, connect, and the next job tells the
  // truth.
  void recover() {
    world_.host.on_process_messages = [] {};
    world_.host.waits = 0;
    sim::Plc sound(standing_clock());
    world_.wire.lead_to(sound);
    plc_.connects_in = 1;  // a connection that is under way comes about first
    world_.link.Tzeit(5);
    require(world_.connect(), "the PLC is found again");
    require(world_.link.ag_ReadB("1", "4", "0", "C", "D") == Value(std::string("\0\1\2\3", 4)),
            "the next job tells the truth");
    require(world_.link.err() == 0 && !world_.link.inuse() && world_.link.s7init(),
            "the state after a good job");
  }

  Input input_;
  World world_;
  HostilePlc plc_{input_, world_.host, world_.wire};
  int depth_ = 0;
};

}  // namespace

void run(Input input) { Dialogue(input).run(); }

}  // namespace plexum::fuzz
