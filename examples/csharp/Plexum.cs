// Made by script/docs from docs/members.toml: what a reference to the type library declares. The
// order of the members is that of the interface's slots.
using System;
using System.Runtime.InteropServices;

namespace Plexum
{
    [ComImport, Guid("64643F6A-8FA8-46F5-84E0-D4FE4F73595C"), ClassInterface(ClassInterfaceType.None)]
    public class PlexumLink
    {
    }

    [ComImport, Guid("C2157FE1-6F89-4F61-B560-4E51AF201512"), InterfaceType(ComInterfaceType.InterfaceIsDual)]
    public interface _PlexumLink
    {
        [DispId(0x40030000)]
        int err { get; set; }
        [DispId(0x40030001)]
        bool inuse { get; set; }
        [DispId(0x40030002)]
        bool s7init { get; set; }
        [DispId(0x40030003)]
        short auftrag_Fehler { get; set; }
        [DispId(0x60030005)]
        void MsgWait(int ms);
        [DispId(0x60030006)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object ag_Read(ref string DBNr, ref string anzby, ref string startad, ref string Datenart, ref string Spsarts);
        [DispId(0x60030007)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object ag_ReadB(ref string DBNr, ref string anzby, ref string startad_w, ref string Datenart, ref string Spsarts);
        [DispId(0x60030008)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_plcstop();
        [DispId(0x60030009)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_plcstart();
        [DispId(0x6003000A)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_plcErase();
        [DispId(0x6003000B)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_Ramtorom();
        [DispId(0x6003000C)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_plccompress();
        [DispId(0x6003000D)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_plcRunMode();
        [DispId(0x6003000E)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_ReadBlock(ref string Blocktype, ref string Blocknr);
        [DispId(0x6003000F)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_WriteBlock(ref string MCS7Code);
        [DispId(0x60030010)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_ListBlock(ref string Blocktype);
        [DispId(0x60030011)]
        bool ag_WriteX(ref string db, ref string startad, ref string wert, ref string Spsarts, ref string bitadd);
        [DispId(0x60030012)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object ag_WriteB(ref string db, ref string startad_w, ref string wert, ref string Spsarts);
        [DispId(0x60030013)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object ag_WriteMB(ref string db, ref string startad, ref string wertBytesstring, ref string Spsarts);
        [DispId(0x60030014)]
        bool ag_WriteF(ref string DBNr, ref string startad, ref string wert, ref string Spsarts);
        [DispId(0x60030015)]
        bool ag_WriteD(ref string DBNr, ref string startad, ref string wert, ref string Spsarts);
        [DispId(0x60030016)]
        bool ag_WriteW(ref string DBNr, ref string startad, ref string wert, ref string Spsarts);
        [DispId(0x60030017)]
        bool ag_ini(ref string TCPIPRemote, ref string PortRemote, ref string TsapE, ref string TsapF);
        [DispId(0x60030018)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_ReadClock();
        [DispId(0x60030019)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_SetClock(ref string strYear, ref string strMonth, ref string strDay, ref string strHour, ref string strMinute, ref string strSecond, ref string strMsec);
        [DispId(0x6003001C)]
        string wordtobeyt(ref string wert);
        [DispId(0x6003001D)]
        string dwordtobeyt(ref string wert);
        [DispId(0x6003001E)]
        string flottobeyt(ref string wert);
        [DispId(0x6003001F)]
        string wordtobeytadd(ref string wert);
        [DispId(0x60030020)]
        string beyttoword(ref string wert1, ref string wert2);
        [DispId(0x60030021)]
        int xor_str([MarshalAs(UnmanagedType.Struct)] ref object strlan);
        [DispId(0x60030022)]
        bool ag_exit();
        [DispId(0x60030028)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_DelBlock(ref string Blocktype, ref string Blocknr);
        [DispId(0x68030004)]
        string CP_IP { get; set; }
        [DispId(0x68030003)]
        string TsapF { get; set; }
        [DispId(0x68030002)]
        string TsapE { get; set; }
        [DispId(0x68030000)]
        int Tzeit { get; set; }
        [DispId(0x6003002E)]
        [return: MarshalAs(UnmanagedType.Struct)]
        object pg_SZL();
    }
}
