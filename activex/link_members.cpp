// The members of the interface: where each leads in the core, which arguments are texts and which
// are byte strings.
#include "activex/link_object.h"

namespace plexum::activex {

using Core = plexum::PlexumLink;

// -- state variables

HRESULT LinkObject::get_err(LONG* result) {
  return run_member(result, [](Core& link) { return link.err(); });
}

HRESULT LinkObject::put_err(LONG value) {
  return run_member([&] { link_.err(value); });
}

HRESULT LinkObject::get_inuse(VARIANT_BOOL* result) {
  return run_member(result, [](Core& link) { return link.inuse(); });
}

HRESULT LinkObject::put_inuse(VARIANT_BOOL value) {
  return run_member([&] { link_.inuse(value != VARIANT_FALSE); });
}

HRESULT LinkObject::get_s7init(VARIANT_BOOL* result) {
  return run_member(result, [](Core& link) { return link.s7init(); });
}

HRESULT LinkObject::put_s7init(VARIANT_BOOL value) {
  return run_member([&] { link_.s7init(value != VARIANT_FALSE); });
}

HRESULT LinkObject::get_auftrag_Fehler(SHORT* result) {
  return run_member(result, [](Core& link) { return link.auftrag_Fehler(); });
}

HRESULT LinkObject::put_auftrag_Fehler(SHORT value) {
  return run_member([&] { link_.auftrag_Fehler(value); });
}

// -- methods

HRESULT LinkObject::MsgWait(LONG ms) {
  return run_member([&] { link_.MsgWait(ms); });
}

HRESULT LinkObject::ag_Read(BSTR* DBNr, BSTR* anzby, BSTR* startad, BSTR* Datenart, BSTR* Spsarts,
                            VARIANT* result) {
  return run_member(result, &Core::ag_Read, text(DBNr), text(anzby), text(startad), text(Datenart),
                    text(Spsarts));
}

HRESULT LinkObject::ag_ReadB(BSTR* DBNr, BSTR* anzby, BSTR* startad_w, BSTR* Datenart,
                             BSTR* Spsarts, VARIANT* result) {
  return run_member(result, &Core::ag_ReadB, text(DBNr), text(anzby), text(startad_w),
                    text(Datenart), text(Spsarts));
}

HRESULT LinkObject::pg_plcstop(VARIANT* result) { return run_member(result, &Core::pg_plcstop); }

HRESULT LinkObject::pg_plcstart(VARIANT* result) { return run_member(result, &Core::pg_plcstart); }

HRESULT LinkObject::pg_plcErase(VARIANT* result) { return run_member(result, &Core::pg_plcErase); }

HRESULT LinkObject::pg_Ramtorom(VARIANT* result) { return run_member(result, &Core::pg_Ramtorom); }

HRESULT LinkObject::pg_plccompress(VARIANT* result) {
  return run_member(result, &Core::pg_plccompress);
}

HRESULT LinkObject::pg_plcRunMode(VARIANT* result) {
  return run_member(result, &Core::pg_plcRunMode);
}

HRESULT LinkObject::pg_ReadBlock(BSTR* Blocktype, BSTR* Blocknr, VARIANT* result) {
  return run_member(result, &Core::pg_ReadBlock, text(Blocktype), bytes(Blocknr));
}

HRESULT LinkObject::pg_WriteBlock(BSTR* MCS7Code, VARIANT* result) {
  return run_member(result, &Core::pg_WriteBlock, bytes(MCS7Code));
}

HRESULT LinkObject::pg_ListBlock(BSTR* Blocktype, VARIANT* result) {
  return run_member(result, &Core::pg_ListBlock, text(Blocktype));
}

HRESULT LinkObject::ag_WriteX(BSTR* db, BSTR* startad, BSTR* wert, BSTR* Spsarts, BSTR* bitadd,
                              VARIANT_BOOL* result) {
  return run_member(result, &Core::ag_WriteX, text(db), text(startad), text(wert), text(Spsarts),
                    text(bitadd));
}

HRESULT LinkObject::ag_WriteB(BSTR* db, BSTR* startad_w, BSTR* wert, BSTR* Spsarts,
                              VARIANT* result) {
  return run_member(result, &Core::ag_WriteB, text(db), text(startad_w), bytes(wert),
                    text(Spsarts));
}

HRESULT LinkObject::ag_WriteMB(BSTR* db, BSTR* startad, BSTR* wertBytesstring, BSTR* Spsarts,
                               VARIANT* result) {
  return run_member(result, &Core::ag_WriteMB, text(db), text(startad), bytes(wertBytesstring),
                    text(Spsarts));
}

HRESULT LinkObject::ag_WriteF(BSTR* DBNr, BSTR* startad, BSTR* wert, BSTR* Spsarts,
                              VARIANT_BOOL* result) {
  return run_member(result, &Core::ag_WriteF, text(DBNr), text(startad), text(wert), text(Spsarts));
}

HRESULT LinkObject::ag_WriteD(BSTR* DBNr, BSTR* startad, BSTR* wert, BSTR* Spsarts,
                              VARIANT_BOOL* result) {
  return run_member(result, &Core::ag_WriteD, text(DBNr), text(startad), text(wert), text(Spsarts));
}

HRESULT LinkObject::ag_WriteW(BSTR* DBNr, BSTR* startad, BSTR* wert, BSTR* Spsarts,
                              VARIANT_BOOL* result) {
  return run_member(result, &Core::ag_WriteW, text(DBNr), text(startad), text(wert), text(Spsarts));
}

HRESULT LinkObject::ag_ini(BSTR* TCPIPRemote, BSTR* PortRemote, BSTR* TsapE, BSTR* TsapF,
                           VARIANT_BOOL* result) {
  return run_member(result, &Core::ag_ini, text(TCPIPRemote), text(PortRemote), text(TsapE),
                    text(TsapF));
}

HRESULT LinkObject::pg_ReadClock(VARIANT* result) {
  return run_member(result, &Core::pg_ReadClock);
}

HRESULT LinkObject::pg_SetClock(BSTR* strYear, BSTR* strMonth, BSTR* strDay, BSTR* strHour,
                                BSTR* strMinute, BSTR* strSecond, BSTR* strMsec, VARIANT* result) {
  return run_member(result, &Core::pg_SetClock, text(strYear), text(strMonth), text(strDay),
                    text(strHour), text(strMinute), text(strSecond), text(strMsec));
}

HRESULT LinkObject::wordtobeyt(BSTR* wert, BSTR* result) {
  return run_member(result, &Core::wordtobeyt, text(wert));
}

HRESULT LinkObject::dwordtobeyt(BSTR* wert, BSTR* result) {
  return run_member(result, &Core::dwordtobeyt, text(wert));
}

HRESULT LinkObject::flottobeyt(BSTR* wert, BSTR* result) {
  return run_member(result, &Core::flottobeyt, text(wert));
}

HRESULT LinkObject::wordtobeytadd(BSTR* wert, BSTR* result) {
  return run_member(result, &Core::wordtobeytadd, text(wert));
}

HRESULT LinkObject::beyttoword(BSTR* wert1, BSTR* wert2, BSTR* result) {
  return run_member(result, &Core::beyttoword, bytes(wert1), bytes(wert2));
}

HRESULT LinkObject::xor_str(VARIANT* strlan, LONG* result) {
  return run_member(result, &Core::xor_str, bytes(strlan));
}

HRESULT LinkObject::ag_exit(VARIANT_BOOL* result) { return run_member(result, &Core::ag_exit); }

HRESULT LinkObject::pg_DelBlock(BSTR* Blocktype, BSTR* Blocknr, VARIANT* result) {
  return run_member(result, &Core::pg_DelBlock, text(Blocktype), bytes(Blocknr));
}

// -- properties

HRESULT LinkObject::get_CP_IP(BSTR* result) {
  return run_member(TextResult{result}, [](Core& link) { return link.CP_IP(); });
}

HRESULT LinkObject::put_CP_IP(BSTR value) {
  return run_member([&] { link_.CP_IP(text_of(value)); });
}

HRESULT LinkObject::get_TsapF(BSTR* result) {
  return run_member(TextResult{result}, [](Core& link) { return link.TsapF(); });
}

HRESULT LinkObject::put_TsapF(BSTR value) {
  return run_member([&] { link_.TsapF(text_of(value)); });
}

HRESULT LinkObject::get_TsapE(BSTR* result) {
  return run_member(TextResult{result}, [](Core& link) { return link.TsapE(); });
}

HRESULT LinkObject::put_TsapE(BSTR value) {
  return run_member([&] { link_.TsapE(text_of(value)); });
}

HRESULT LinkObject::get_Tzeit(LONG* result) {
  return run_member(result, [](Core& link) { return link.Tzeit(); });
}

HRESULT LinkObject::put_Tzeit(LONG value) {
  return run_member([&] { link_.Tzeit(value); });
}

HRESULT LinkObject::pg_SZL(VARIANT* result) { return run_member(result, &Core::pg_SZL); }

}  // namespace plexum::activex
