' The shortest careful host: writes a word into data block 10 and reads it back.
'   cscript //nologo first.vbs ADDRESS PORT
Set plc = CreateObject("Plexum.PlexumLink")
plc.Tzeit = 1000                                ' time-out, in slices of up to a millisecond
If plc.ag_ini(WScript.Arguments(0), WScript.Arguments(1), "1.0", "3.2") Then
  If plc.ag_WriteW("10", "0", "4660", "D") Then ' DB 10, byte 0; numbers go in as texts
    words = plc.ag_ReadB("10", "2", "0", "W", "D")  ' 2 bytes from byte 0, as words
    If plc.err = 0 Then WScript.Echo "read back:", words(1)
  End If
End If
If plc.err <> 0 Then WScript.Echo "err", plc.err
plc.ag_exit                                     ' a PLC has few connections: close them
