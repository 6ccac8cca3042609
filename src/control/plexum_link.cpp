#include "control/plexum_link.h"

#include "blocks/block_list.h"
#include "blocks/clock.h"
#include "blocks/download.h"
#include "blocks/upload.h"
#include "convert/byte_strings.h"
#include "convert/float_bits.h"
#include "data/read.h"
#include "data/write.h"
#include "plc/services.h"
#include "plc/state_lists.h"
#include "protocol/connection.h"

namespace plexum {

void PlexumLink::MsgWait(std::int32_t ms) { cycle_.MsgWait(ms); }

Value PlexumLink::ag_Read(const std::string& DBNr, const std::string& anzby,
                          const std::string& startad, const std::string& Datenart,
                          const std::string& Spsarts) {
  return plexum::ag_Read(cycle_, DBNr, anzby, startad, Datenart, Spsarts);
}

Value PlexumLink::ag_ReadB(const std::string& DBNr, const std::string& anzby,
                           const std::string& startad_w, const std::string& Datenart,
                           const std::string& Spsarts) {
  return plexum::ag_ReadB(cycle_, DBNr, anzby, startad_w, Datenart, Spsarts);
}

Value PlexumLink::pg_plcstop() { return plexum::pg_plcstop(cycle_); }

Value PlexumLink::pg_plcstart() { return plexum::pg_plcstart(cycle_); }

Value PlexumLink::pg_plcErase() { return plexum::pg_plcErase(cycle_); }

Value PlexumLink::pg_Ramtorom() { return plexum::pg_Ramtorom(cycle_); }

Value PlexumLink::pg_plccompress() { return plexum::pg_plccompress(cycle_); }

Value PlexumLink::pg_plcRunMode() { return plexum::pg_plcRunMode(cycle_); }

Value PlexumLink::pg_ReadBlock(const std::string& Blocktype, const std::string& Blocknr) {
  return plexum::pg_ReadBlock(cycle_, Blocktype, Blocknr);
}

Value PlexumLink::pg_WriteBlock(const std::string& MCS7Code) {
  return plexum::pg_WriteBlock(cycle_, MCS7Code);
}

Value PlexumLink::pg_ListBlock(const std::string& Blocktype) {
  return plexum::pg_ListBlock(cycle_, Blocktype);
}

bool PlexumLink::ag_WriteX(const std::string& db, std::string& startad, const std::string& wert,
                           const std::string& Spsarts, const std::string& bitadd) {
  return plexum::ag_WriteX(cycle_, db, startad, wert, Spsarts, bitadd);
}

Value PlexumLink::ag_WriteB(const std::string& db, const std::string& startad_w,
                            const std::string& wert, const std::string& Spsarts) {
  return plexum::ag_WriteB(cycle_, db, startad_w, wert, Spsarts);
}

Value PlexumLink::ag_WriteMB(const std::string& db, std::string& startad,
                             const std::string& wertBytesstring, const std::string& Spsarts) {
  return plexum::ag_WriteMB(cycle_, db, startad, wertBytesstring, Spsarts);
}

bool PlexumLink::ag_WriteF(const std::string& DBNr, std::string& startad, std::string& wert,
                           const std::string& Spsarts) {
  return plexum::ag_WriteF(cycle_, DBNr, startad, wert, Spsarts);
}

bool PlexumLink::ag_WriteD(const std::string& DBNr, std::string& startad, std::string& wert,
                           const std::string& Spsarts) {
  return plexum::ag_WriteD(cycle_, DBNr, startad, wert, Spsarts);
}

bool PlexumLink::ag_WriteW(const std::string& DBNr, const std::string& startad,
                           const std::string& wert, const std::string& Spsarts) {
  return plexum::ag_WriteW(cycle_, DBNr, startad, wert, Spsarts);
}

bool PlexumLink::ag_ini(const std::string& TCPIPRemote, const std::string& PortRemote,
                        const std::string& TsapE, const std::string& TsapF) {
  return plexum::ag_ini(cycle_, TCPIPRemote, PortRemote, TsapE, TsapF);
}

Value PlexumLink::pg_ReadClock() { return plexum::pg_ReadClock(cycle_); }

Value PlexumLink::pg_SetClock(const std::string& strYear, const std::string& strMonth,
                              const std::string& strDay, const std::string& strHour,
                              const std::string& strMinute, const std::string& strSecond,
                              const std::string& strMsec) {
  return plexum::pg_SetClock(cycle_, strYear, strMonth, strDay, strHour, strMinute, strSecond,
                             strMsec);
}

std::string PlexumLink::wordtobeyt(const std::string& wert) {
  return plexum::wordtobeyt(wert, cycle_.environment);
}

std::string PlexumLink::dwordtobeyt(std::string& wert) {
  return plexum::dwordtobeyt(wert, cycle_.environment);
}

std::string PlexumLink::flottobeyt(std::string& wert) {
  return plexum::flottobeyt(wert, cycle_.environment);
}

std::string PlexumLink::wordtobeytadd(std::string& wert) {
  return plexum::wordtobeytadd(wert, cycle_.environment);
}

std::string PlexumLink::beyttoword(std::string& wert1, std::string& wert2) {
  return plexum::beyttoword(wert1, wert2, cycle_.environment);
}

std::int32_t PlexumLink::xor_str(const std::string& strlan) { return plexum::xor_str(strlan); }

bool PlexumLink::ag_exit() { return plexum::ag_exit(cycle_); }

Value PlexumLink::pg_DelBlock(const std::string& Blocktype, const std::string& Blocknr) {
  return plexum::pg_DelBlock(cycle_, Blocktype, Blocknr);
}

void PlexumLink::CP_IP(const std::string& value) {
  cycle_.properties.CP_IP = value;
  cycle_.environment.property_changed("CP_IP");
}

void PlexumLink::TsapF(const std::string& value) {
  cycle_.properties.TsapF = value;
  cycle_.environment.property_changed("TsapF");
}

void PlexumLink::TsapE(const std::string& value) {
  cycle_.properties.TsapE = value;
  cycle_.environment.property_changed("TsapE");
}

void PlexumLink::Tzeit(std::int32_t value) {
  cycle_.properties.Tzeit = value;
  cycle_.environment.property_changed("Tzeit");
}

Value PlexumLink::pg_SZL() { return plexum::pg_SZL(cycle_); }

void PlexumLink::Timer1_Timer() { status_label_ = cycle_.status_text; }

}  // namespace plexum
