// What --trace shows: every kind of telegram by name, and no more than there is in anything else.

#include "cli/watching/trace.h"

#include <sstream>

#include "support/whole_stack.h"

namespace plexum::cli {
namespace {

// The parts, which | divides, one after the other in `text`.
void expect_in_order(const std::string& text, const std::string& parts) {
  std::istringstream stream(parts);
  std::size_t from = 0;
  for (std::string part; std::getline(stream, part, '|');) {
    const std::size_t found = text.find(part, from);
    if (found == std::string::npos) {
      ADD_FAILURE() << "no '" << part << "' behind byte " << from << " of\n" << text;
      return;
    }
    from = found + 1;
  }
}

class Dialogue : public test::WholeStack {
 protected:
  std::vector<std::string> telegrams;

  void SetUp() override {
    const auto keep = [this](const std::string& bytes) {
      if (!bytes.empty()) telegrams.push_back(bytes);
    };
    local.watched.on_sent = keep;
    local.watched.on_taken = keep;
    ASSERT_TRUE(connect_anew());
  }

  void every_job() {
    link.ag_ReadB("10", "20", "4", "C", "D");
    std::string start = "12";
    link.ag_WriteX("0", start, "1", "M", "3");
    link.pg_plcstop();
    link.pg_plcstart();
    link.pg_Ramtorom();
    link.pg_plccompress();
    link.pg_plcRunMode();
    link.pg_SZL();
    link.pg_ListBlock("FC");
    const std::string image = std::get<std::string>(link.pg_ReadBlock("FC", "00002"));
    link.pg_DelBlock("FC", "00002");
    link.pg_WriteBlock(image);
    link.pg_SetClock("2031", "05", "06", "07", "08", "09", "12");
    link.pg_ReadClock();
    link.ag_Read("0", "2", "5", "B", "T");
    link.pg_plcErase();
    link.Tzeit(test::kShort);
    link.ag_ReadB("77", "2", "5", "C", "D");
  }
};

TEST_F(Dialogue, NamesWhatEveryJobExchanges) {
  every_job();
  std::string text;
  for (const std::string& telegram : telegrams) text += annotated(telegram);
  expect_in_order(
      text,
      "TPKT  version 3, length 22|COTP  connection request (CR)|"
      "called TSAP 03 02 (basic, rack 0, slot 2)|calling TSAP 01 00|TPDU size 512|"
      "connection confirm (CC)|setup communication|PDU of 960 bytes|PDU of 240 bytes|"
      "S7    job, PDU reference 0x0200, parameters 14 bytes, data 0 bytes|read variable, 1 item|"
      "item 1: P#DB10.DBX4.0 BYTE 20|  0000  03 00 00 1F|no error|"
      "item 1: success, BYTE/WORD/DWORD, 160 bits: 00 00| ...|write variable|"
      "item 1: P#M 12.3 BOOL 1|item 1: BIT, 1 bit: 01|item 1: success|stop|P_PROGRAM|"
      "program invocation|P_PROGRAM (start)|length 37, 2 bytes of it missing|"
      "_MODU (copy RAM to ROM)|argument 'EP'|_GARB (compress)|userdata, PDU reference|"
      "request, CPU functions: read a state list|list 0x0424 (modes)|answer, CPU functions|"
      "no error|success, 28 bytes of data|1 record of 20 bytes|list 0x0119 (lamps)|"
      "list the blocks of a type|FC|numbers 1 2|start upload|FC 2, file system A|start upload|"
      "the block's length is 0|upload|of the block, the last ones|end upload|"
      "_DELE (delete blocks)|FC 2, file system B|request download|FC 2, file system P|"
      "lengths: image 0|download block|FC 2, file system P|of the block, the last ones|"
      "download ended|_INSE (take blocks into use)|set the clock|2031-05-06 07:08:09|"
      "read the clock|2031-05-06 07:08:09|P#T 5.0 BYTE 2|request, programmer commands: erase|"
      "answer, programmer commands: erase|no data|P#DB77.DBX5.0 BYTE 2|"
      "no such block or area (0x0A)");
  EXPECT_EQ(text.find("ends too soon"), std::string::npos);
  EXPECT_EQ(text.find("unknown"), std::string::npos);
}

// Cut off anywhere, with any byte made the largest or smallest: something is shown, in bounds.
TEST_F(Dialogue, TakesDamagedTelegrams) {
  every_job();
  for (const std::string& telegram : telegrams) {
    const std::string whole = annotated(telegram);
    for (std::size_t size = 0; size < telegram.size(); ++size) {
      const std::string text = annotated(telegram.substr(0, size));
      const bool says_so = text.find("missing") != std::string::npos ||
                           text.find("ends too soon") != std::string::npos;
      EXPECT_TRUE(size == 0 || says_so) << text;
      for (const char byte : {'\x00', '\xFF'}) {
        std::string damaged = telegram;
        damaged[size] = byte;
        EXPECT_FALSE(annotated(damaged).empty());
      }
    }
  }
}

TEST(Trace, TellsErrorsAndOddities) {
  const struct {
    const char *what, *bytes, *lines;
  } cases[] = {
      {"a refused job", "03 00 00 13 02 F0 80 32 02 00 00 00 07 00 00 00 00 81 04",
       "S7    acknowledgement, PDU reference 0x0007|"
       "error 0x8104: the PLC doesn't permit this function"},
      {"a disconnect", "03 00 00 0B 06 80 00 2E 00 03 80", "disconnect request (DR)|reason 128"},
      {"a timer by its number",
       "03 00 00 1F 02 F0 80 32 01 00 00 02 00 00 0E 00 00 04 01 12 0A 10 1D 00 01 00 00 1D 00 00 "
       "28",
       "item 1: P#T 40 TIMER 1"},
      {"two telegrams of another protocol, with bytes that would move a cursor",
       "03 00 00 08 02 F0 80 72 03 00 00 09 02 F0 00 1B 9B",
       "length 8|protocol 0x72|length 9|more follows|protocol 0x1B|.......r......."},
      {"no telegram", "48 54 54 50 2F 31 2E 31", "8 bytes that no telegram begins with|HTTP/1.1"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::string bytes;
    std::istringstream stream(c.bytes);
    for (std::string byte; stream >> byte;) {
      bytes += static_cast<char>(std::stoi(byte, nullptr, 16));
    }
    const std::string text = annotated(bytes);
    expect_in_order(text, c.lines);
    for (const char byte : text) EXPECT_TRUE(byte == '\n' || (byte >= ' ' && byte <= '~'));
  }
}

}  // namespace
}  // namespace plexum::cli
