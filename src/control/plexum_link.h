#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/host_environment.h"
#include "base/property_bag.h"
#include "base/tcp_client.h"
#include "base/value.h"

namespace plexum {

// How many wait slices a wait may last: factor * Tzeit + extra. A wait gives up in the slice after
// that number; a limit of 0 or less allows one slice.
struct WaitLimit {
  std::int64_t factor = 1;
  std::int64_t extra = 0;
};

// The control: one connection to one S7 PLC. Every job is synchronous: it sends a telegram and
// waits for the answer in slices of MsgWait(1), in which the host's messages are processed, so the
// host may call in again at any of them; `inuse` is the only sign of a job in progress.
//
// Text arguments hold decimal numbers or codes, byte strings one char a byte. Arguments by
// non-const reference are changed on purpose, also when the call fails. Failures are told by the
// state variables; a RuntimeError leaves a method only where arithmetic, a conversion or the TCP
// client failed, and the state is then as far as the method had got.
//
// The control must stay alive while one of its methods runs, waits included; its owner sees to
// that. Members are in the order of the dispatch interface; each is defined in the folder of its
// subsystem.
class PlexumLink {
 public:
  // Both must outlive the control.
  PlexumLink(HostEnvironment& environment, TcpClient& tcp_client);

  // -- state variables, open to the host for reading and writing

  // Result of the last connection attempt or job: 0 no error; 1 no TCP connection in time; 3 no
  // reply in time; 4 not connected when a job started; otherwise an error_number of the PLC or a
  // write's return code. A value left here makes most jobs refuse to start.
  [[nodiscard]] std::int32_t err() const { return err_; }
  void err(std::int32_t value) { err_ = value; }
  // A job is between sending its request and handling its reply.
  [[nodiscard]] bool inuse() const { return inuse_; }
  void inuse(bool value) { inuse_ = value; }
  // The connection is set up. Jobs connect by themselves while this is false.
  [[nodiscard]] bool s7init() const { return s7init_; }
  void s7init(bool value) { s7init_ = value; }
  // Error of the last data job, or repeated attempts of the clock and list jobs.
  [[nodiscard]] std::int16_t auftrag_Fehler() const { return auftrag_Fehler_; }
  void auftrag_Fehler(std::int16_t value) { auftrag_Fehler_ = value; }

  // -- methods

  // Waits up to `ms` milliseconds for a message and processes what is pending if one came.
  void MsgWait(std::int32_t ms);

  // Reads `anzby` bytes from byte address `startad` of area `Spsarts` (data block `DBNr`) as an
  // array of Double, lower bound 1. `Datenart`: "B" bytes, "W" unsigned and "I" signed words, "D"
  // signed double words, "F" floats, "X" bits (least significant first). Empty on failure (err)
  // and for other codes.
  Value ag_Read(const std::string& DBNr, const std::string& anzby, const std::string& startad,
                const std::string& Datenart, const std::string& Spsarts);

  // The same as an array of Variant, lower bound 1: "B" bytes, "W" and "I" words (Integer), "X" a
  // text of 8 bits a byte, least significant first; "C" the bytes as one byte string.
  Value ag_ReadB(const std::string& DBNr, const std::string& anzby, const std::string& startad_w,
                 const std::string& Datenart, const std::string& Spsarts);

  // Stops the CPU. True when the PLC answered in time, whatever it answered; false after a
  // time-out; empty when refused (err). The same holds for the other services below.
  Value pg_plcstop();

  // Starts the CPU (restart).
  Value pg_plcstart();

  // Erases the PLC's memory.
  Value pg_plcErase();

  // Copies the work memory (RAM) to the load memory (ROM).
  Value pg_Ramtorom();

  // Compresses the PLC's memory.
  Value pg_plccompress();

  // The bits of the run-mode byte in system state list 0x0424: 8 texts "0" or "1", lower bound 1,
  // least significant first. Error 9 when the answer has no such byte.
  Value pg_plcRunMode();

  // Uploads block `Blocknr` (five decimal digits) of type `Blocktype` ("OB", "DB", "SDB", "FC",
  // "SFC", "FB", "SFB"). The image as a byte string, as far as it came; err tells whether it is
  // whole. Empty when nothing came.
  Value pg_ReadBlock(const std::string& Blocktype, const std::string& Blocknr);

  // Downloads a block image, header first, and has the PLC insert it. Always empty; err tells.
  Value pg_WriteBlock(const std::string& MCS7Code);

  // The numbers of the PLC's blocks of a type as Doubles, lower bound 1, as far as the first part
  // of its answer has them; for an empty list one empty element with index 0 (inuse then stays
  // true). Error 9 for an answer that is no list.
  Value pg_ListBlock(const std::string& Blocktype);

  // Writes one bit: `wert` (0 or 1) to bit `bitadd` of byte `startad`. `startad` is left with the
  // bit address as text. True when the PLC took it; else err is its return code.
  bool ag_WriteX(const std::string& db, std::string& startad, const std::string& wert,
                 const std::string& Spsarts, const std::string& bitadd);

  // Writes one byte, the character `wert`, to byte `startad_w`.
  Value ag_WriteB(const std::string& db, const std::string& startad_w, const std::string& wert,
                  const std::string& Spsarts);

  // Writes a byte string from byte `startad` on. `startad` is left with the bit address as text.
  Value ag_WriteMB(const std::string& db, std::string& startad, const std::string& wertBytesstring,
                   const std::string& Spsarts);

  // Writes a single-precision float, truncated. `startad` is left with the bit address, `wert` with
  // the remainder of the mantissa.
  bool ag_WriteF(const std::string& DBNr, std::string& startad, std::string& wert,
                 const std::string& Spsarts);

  // Writes an unsigned double word. `startad` is left with the bit address, `wert` with the low
  // word.
  bool ag_WriteD(const std::string& DBNr, std::string& startad, std::string& wert,
                 const std::string& Spsarts);

  // Writes an unsigned word.
  bool ag_WriteW(const std::string& DBNr, const std::string& startad, const std::string& wert,
                 const std::string& Spsarts);

  // Connects to `TCPIPRemote`, port `PortRemote` (decimal), with the calling TSAP `TsapE` and the
  // called TSAP `TsapF`, and sets up S7 communication. True when complete; else err and s7init
  // tell.
  bool ag_ini(const std::string& TCPIPRemote, const std::string& PortRemote,
              const std::string& TsapE, const std::string& TsapF);

  // The PLC's clock: 7 texts, lower bound 1: year (4 digits), month, day, hour, minute, second, and
  // milliseconds (3 digits) with the weekday. Error 9 when the answer is too short for it.
  Value pg_ReadClock();

  // Sets the PLC's clock from decimal digits: a year of four, `strMsec` of two or more. Always
  // empty; a refusal of the PLC is not seen. inuse stays true.
  Value pg_SetClock(const std::string& strYear, const std::string& strMonth,
                    const std::string& strDay, const std::string& strHour,
                    const std::string& strMinute, const std::string& strSecond,
                    const std::string& strMsec);

  // Decimal text to 2 bytes, big-endian; 0 to 65535, else error 5.
  std::string wordtobeyt(const std::string& wert);

  // Decimal text to 4 bytes, big-endian; 0 to 4294967295. `wert` is left with the remainder below
  // 65536 as text.
  std::string dwordtobeyt(std::string& wert);

  // Decimal text to the 4 bytes of an IEEE 754 single, big-endian, truncated. `wert` is left with
  // the remainder of the mantissa as text.
  std::string flottobeyt(std::string& wert);

  // Decimal text to 3 bytes, big-endian, the form of an S7 bit address. `wert` is left with the
  // remainder as text when it was above 65534.
  std::string wordtobeytadd(std::string& wert);

  // The decimal texts of two bytes (`wert2` and 256 times `wert1`) joined, as a number minus 65536
  // when above 32767. Both arguments are changed.
  std::string beyttoword(std::string& wert1, std::string& wert2);

  // The exclusive-or of all character codes.
  std::int32_t xor_str(const std::string& strlan);

  // Closes the connection; always true. s7init stays, so the next job fails once with err 4.
  bool ag_exit();

  // Deletes block `Blocknr` (five decimal digits) of type `Blocktype`. A service like pg_plcstop.
  Value pg_DelBlock(const std::string& Blocktype, const std::string& Blocknr);

  // -- properties; a let tells the container

  [[nodiscard]] std::string CP_IP() const { return CP_IP_; }
  void CP_IP(const std::string& value);
  [[nodiscard]] std::string TsapF() const { return TsapF_; }
  void TsapF(const std::string& value);
  [[nodiscard]] std::string TsapE() const { return TsapE_; }
  void TsapE(const std::string& value);
  // The time-out of every wait, in slices of MsgWait(1).
  [[nodiscard]] std::int32_t Tzeit() const { return Tzeit_; }
  void Tzeit(std::int32_t value);

  // Reads system state list 0x0119 (the lamps), shows the answer's length in a message box and
  // returns its bytes from the data field on, as Integers, lower bound 1. Error 9 when there are
  // none.
  Value pg_SZL();

  // -- for the container that holds the control, not for its host

  void UserControl_InitProperties();
  void UserControl_ReadProperties(PropertyBag& bag);
  void UserControl_WriteProperties(PropertyBag& bag) const;

  // The tick of the face's timer, every 100 ms: copies the status text to StatusLabel.
  void Timer1_Timer();

  // The name of the current step, and the captions of the two labels that change.
  [[nodiscard]] const std::string& status_text() const { return status_text_; }
  [[nodiscard]] const std::string& StatusLabel() const { return status_label_; }
  [[nodiscard]] const std::string& StateLabel() const { return state_label_; }

 private:
  // -- the pieces of the request cycle that jobs compose (protocol/request_cycle.cpp)

  // Connects if s7init is false. False: err tells why, the job ends with its empty result.
  bool connect_on_demand();
  // Whether the TCP client is connected.
  bool connected();
  // err becomes 4 while not connected. False: err, also one of an earlier job, forbids to send.
  bool ready();
  // The guard of the writes and control jobs: connects on demand, and drops the connection's state
  // when it refuses.
  bool guard();
  // The guard of the block and clock jobs: besides, clears auftrag_Fehler and err, and begins.
  bool guard_and_begin();
  // The refusal and the end of a time-out: no job in progress, and the next job reconnects.
  void drop_connection_state();
  void send_if_connected(const std::string& telegram);
  // Waits in slices of MsgWait(1) until `done`. False: the limit ran out.
  bool wait_until(const std::function<bool()>& done, WaitLimit limit = {});
  // Waits until `wanted` bytes have arrived and are not taken yet.
  bool wait_for_bytes(double wanted, WaitLimit limit = {});
  // Everything that has arrived, or nothing while not connected.
  std::string take_if_connected();
  // The same, but while not connected `answer` stays what it was.
  void take_if_connected(std::string& answer);
  // Takes the `fragment` of an answer; the err of the time-out: its error_number, or 3.
  std::int32_t err_of_fragment(std::string& fragment);
  // The common ending of a time-out. The fragment that had arrived, for jobs that look at an answer
  // all the same.
  std::string end_after_timeout();
  // The ending of a time-out in an upload or download, whose err may be 0.
  void end_transfer_after_timeout();
  // The whole cycle of the services and state lists. The answer, after a time-out usually an empty
  // one; nothing when the guard refused.
  std::optional<std::string> control_job(const std::string& telegram, const char* waiting_text,
                                         double answer_length);
  // The exchange of the clock and list jobs: up to three attempts, counted in auftrag_Fehler, until
  // an answer of some length comes. `telegram` is made anew for each.
  std::string exchange_with_repeats(const std::function<std::string()>& telegram,
                                    double answer_length);

  // -- parts of the jobs

  // Takes a write's answer, in place of what a time-out left, and err from its return code
  // (data/write.cpp).
  void take_return_code(std::string answer);
  // True when the service was answered in time; empty when the guard refused (plc/services.cpp).
  Value service(const std::string& telegram, const char* waiting_text, double answer_length);
  // The answer to the PLC's download-block job `reference`, with the part of `image` from `offset`
  // on; and the err of a refused download, shown in two message boxes (blocks/download.cpp).
  std::string part_answer(const std::string& image, std::size_t offset,
                          const std::string& reference);
  std::int32_t shown_refusal(const std::string& answer);
  // Asks for the PLC's messages to programming devices; no member of the interface needs it. Raises
  // error 424 in the end (plc/state_lists.cpp).
  void pg_MessageService();
  friend class MessageServiceTest;

  // -- numbers in texts, by the host's locale

  double number(const std::string& text) { return environment_.number_from_text(text); }
  std::string text(double number) { return environment_.text_from_number(number); }

  // -- private conversions

  // wordtobeyt of the integer part (data/read.cpp).
  std::string integer_to_bytes(const std::string& wert);
  // The two bytes of a TSAP text "a.b" (protocol/connection.cpp).
  std::string tsap_bytes(const std::string& tsap);
  std::int16_t tsap_byte(const std::string& part);
  // 8 bits as text, most significant first; a message box and an empty text from 256 on
  // (convert/float_bits.cpp).
  std::string bits_from_byte(std::int32_t value);

  HostEnvironment& environment_;
  TcpClient& tcp_client_;

  std::int32_t err_ = 0;
  bool inuse_ = false;
  bool s7init_ = false;
  std::int16_t auftrag_Fehler_ = 0;

  std::string CP_IP_ = "0.0.0.0";
  std::string TsapE_ = "0";
  std::string TsapF_ = "0";
  std::int32_t Tzeit_ = 100;

  std::string status_text_;
  std::string status_label_;
  std::string state_label_ = "0";
  // The fixed head of a read request; empty until ag_ini has run once.
  std::string readhead_;
};

}  // namespace plexum
