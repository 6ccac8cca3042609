' Writes a word, a double word and a bit into data block 10 of a PLC.
'
'   cscript //nologo write.vbs [ADDRESS [PORT [OWN_TSAP PLC_TSAP]]]
Option Explicit

Function Argument(index, default)
  Argument = default
  If WScript.Arguments.Count > index Then Argument = WScript.Arguments(index)
End Function

' What a write came to. err is the PLC's return code where it refused: 5 no such address, 10 no
' such block, 3 no answer in time.
Sub Report(link, what, done)
  If done Then
    WScript.Echo what & ": written"
  Else
    WScript.Echo what & ": refused, err " & link.err
    link.err = 0 ' most jobs refuse to start while an old error stands here
  End If
End Sub

Dim link
Set link = CreateObject("Plexum.PlexumLink")
link.Tzeit = 1000
If Not link.ag_ini(Argument(0, "127.0.0.1"), Argument(1, "102"), _
                   Argument(2, "1.0"), Argument(3, "3.2")) Then
  WScript.Echo "no connection, err " & link.err
  WScript.Quit 1
End If

Report link, "word 4660 at byte 0        ", link.ag_WriteW("10", "0", "4660", "D")
Report link, "double word 70000 at byte 4", link.ag_WriteD("10", "4", "70000", "D")
Report link, "bit 3 of byte 2            ", link.ag_WriteX("10", "2", "1", "D", "3")
Report link, "byte in a missing block    ", link.ag_WriteB("99", "0", Chr(1), "D")

link.ag_exit
WScript.Echo "disconnected"
WScript.Quit 0
