#pragma once

#include <cstdint>
#include <string>

#include "base/host_environment.h"
#include "base/property_bag.h"
#include "base/tcp_client.h"
#include "base/value.h"
#include "protocol/request_cycle.h"

namespace plexum {

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
// that. Members are in the order of the dispatch interface. What each does stands in the folder of
// its subsystem: data/, plc/, blocks/, convert/, protocol/.
class PlexumLink {
 public:
  // Both must outlive the control.
  PlexumLink(HostEnvironment& environment, TcpClient& tcp_client)
      : cycle_(environment, tcp_client) {}

  // -- state variables, open to the host for reading and writing

  // Result of the last connection attempt or job: 0 no error; 1 no TCP connection in time; 3 no
  // reply in time; 4 not connected when a job started; otherwise an error_number of the PLC or a
  // write's return code. A value left here makes most jobs refuse to start.
  [[nodiscard]] std::int32_t err() const { return cycle_.err; }
  void err(std::int32_t value) { cycle_.err = value; }
  // A job is between sending its request and handling its reply.
  [[nodiscard]] bool inuse() const { return cycle_.inuse; }
  void inuse(bool value) { cycle_.inuse = value; }
  // The connection is set up. Jobs connect by themselves while this is false.
  [[nodiscard]] bool s7init() const { return cycle_.s7init; }
  void s7init(bool value) { cycle_.s7init = value; }
  // How often the clock and list jobs repeated their request; data jobs set it to 0.
  [[nodiscard]] std::int16_t auftrag_Fehler() const { return cycle_.auftrag_Fehler; }
  void auftrag_Fehler(std::int16_t value) { cycle_.auftrag_Fehler = value; }

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

  // Copies the work memory (RAM) to the load memory (ROM). The telegram's TPKT header promises two
  // bytes more than it has; a PLC that waits for them answers after the next job, or never.
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
  // true). Error 9 for an answer that ends before the list or in the middle of a number.
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
  // remainder below 65535 as text when it was above 65534.
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

  [[nodiscard]] std::string CP_IP() const { return cycle_.properties.CP_IP; }
  void CP_IP(const std::string& value);
  [[nodiscard]] std::string TsapF() const { return cycle_.properties.TsapF; }
  void TsapF(const std::string& value);
  [[nodiscard]] std::string TsapE() const { return cycle_.properties.TsapE; }
  void TsapE(const std::string& value);
  // The time-out of every wait, in slices of MsgWait(1).
  [[nodiscard]] std::int32_t Tzeit() const { return cycle_.properties.Tzeit; }
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
  [[nodiscard]] const std::string& status_text() const { return cycle_.status_text; }
  [[nodiscard]] const std::string& StatusLabel() const { return status_label_; }
  [[nodiscard]] const std::string& StateLabel() const { return cycle_.state_label; }

 private:
  RequestCycle cycle_;
  std::string status_label_;
};

}  // namespace plexum
