' Reads data block 10 of a PLC and shows it in every form.
'
'   cscript //nologo read.vbs [ADDRESS [PORT [OWN_TSAP PLC_TSAP]]]
'
' Without arguments: 127.0.0.1, port 102, own TSAP 1.0, the PLC's 3.2 (rack 0, slot 2).
Option Explicit

' An argument of the command line, or its default.
Function Argument(index, default)
  Argument = default
  If WScript.Arguments.Count > index Then Argument = WScript.Arguments(index)
End Function

' A byte string in hex. Asc gives a character's byte.
Function HexOf(bytes)
  Dim i
  HexOf = ""
  For i = 1 To Len(bytes)
    HexOf = HexOf & Right("0" & Hex(Asc(Mid(bytes, i, 1))), 2) & " "
  Next
End Function

' Reads `count` bytes from byte 0 of DB 10 as `form` and shows them. A read that failed is empty;
' err tells why.
Sub ShowRead(link, title, count, form)
  Dim values, line, i
  On Error Resume Next ' a word above 32767 doesn't fit an Integer: error 6
  values = link.ag_ReadB("10", count, "0", form, "D")
  If Err.Number <> 0 Then
    WScript.Echo title & ": error " & Err.Number & ", " & Err.Description
    Exit Sub
  End If
  On Error GoTo 0
  If link.err <> 0 Then
    WScript.Echo title & ": no answer, err " & link.err
    Exit Sub
  End If
  If VarType(values) = vbString Then
    line = HexOf(values)
  Else
    line = ""
    For i = LBound(values) To UBound(values)
      line = line & values(i) & " "
    Next
  End If
  WScript.Echo title & ": " & line
End Sub

Dim link, connected
' ag_ReadB suits scripts: they can't index the arrays of Double that ag_Read makes.
Set link = CreateObject("Plexum.PlexumLink")
link.CP_IP = Argument(0, "127.0.0.1")
link.TsapE = Argument(2, "1.0")
link.TsapF = Argument(3, "3.2")
link.Tzeit = 1000 ' slices of up to a millisecond each

' A job connects by itself, to port 102. For any other port the host connects before.
connected = link.ag_ini(link.CP_IP, Argument(1, "102"), link.TsapE, link.TsapF)
If Not connected Then
  WScript.Echo "no connection to " & link.CP_IP & ", err " & link.err
  WScript.Quit 1
End If
WScript.Echo "connected to " & link.CP_IP

ShowRead link, "8 bytes raw ", "8", "C"
ShowRead link, "4 bytes     ", "4", "B"
ShowRead link, "2 words     ", "4", "W"
ShowRead link, "16 bits     ", "2", "X"

link.ag_exit
WScript.Echo "disconnected"
WScript.Quit 0
